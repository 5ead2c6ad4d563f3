// hermite_form.h: the Hermite normal form of the integer row span of a matrix, as a reference for
// the linalg tests: two integer matrices span the same integers exactly when their forms agree,
// and the number of rows of the form is the rank. Written plainly, apart from the library's
// algorithms: column by column, a Euclid with nearest-integer quotients among the rows not yet
// used gathers the column's greatest common divisor in one row, made positive; the rows above
// are reduced modulo it.
#pragma once

#include "arith/qq.h"
#include "linalg/matrix.h"

#include <utility>
#include <vector>

namespace latopt::testing_support {

// The rows of the form (zero rows dropped), in QQ; entries of A must be integers.
inline Matrix<QQ> hermiteForm(const Matrix<QQ>& A)
{
    std::vector<std::vector<QQ>> rows;
    for (long i = 1; i <= A.rowCount; ++i) {
        std::vector<QQ> row;
        for (long j = 1; j <= A.colCount; ++j)
            row.push_back(A[i][j]);
        rows.push_back(row);
    }
    const auto subtract = [](std::vector<QQ>& row, const QQ& factor, const std::vector<QQ>& other) {
        for (std::size_t j = 0; j < row.size(); ++j)
            row[j] = row[j] - factor * other[j];
    };
    std::size_t used = 0;
    for (long col = 0; col < A.colCount && used < rows.size(); ++col) {
        while (true) {
            std::size_t best = rows.size();
            for (std::size_t i = used; i < rows.size(); ++i)
                if (!rows[i][col].isZero() &&
                    (best == rows.size() || Math::abs(rows[i][col]) < Math::abs(rows[best][col])))
                    best = i;
            if (best == rows.size()) break;
            bool alone = true;
            for (std::size_t i = used; i < rows.size(); ++i)
                if (i != best && !rows[i][col].isZero()) {
                    subtract(rows[i], round(rows[i][col] / rows[best][col]), rows[best]);
                    alone = false;
                }
            if (!alone) continue;
            std::swap(rows[used], rows[best]);
            if (rows[used][col] < QQ(0))
                for (QQ& x : rows[used])
                    x = -x;
            for (std::size_t i = 0; i < used; ++i)
                subtract(rows[i], floor(rows[i][col] / rows[used][col]), rows[used]);
            ++used;
            break;
        }
    }
    Matrix<QQ> form(static_cast<long>(used), A.colCount);
    for (std::size_t i = 0; i < used; ++i)
        for (long j = 1; j <= A.colCount; ++j)
            form[static_cast<long>(i) + 1][j] = rows[i][j - 1];
    return form;
}

} // namespace latopt::testing_support
