// dependent_rows.cpp: removal of dependent rows that keeps the integer row span
// (eliminateDependentRows) and the Euclid on rows behind it (zerofyRow, zerofyColAboveRow), for
// long double and QQ; see matrix.h.
#include "linalg/matrix.h"

#include "arith/math.h"
#include "arith/precision.h"
#include "arith/qq.h"
#include "arith/zz.h"
#include "base/const.h"
#include "base/exceptions.h"
#include "base/log.h"
#include "linalg/kernel.h"

#include <cmath>
#include <string>
#include <utility>
#include <vector>

namespace latopt {

namespace {

// The zero test of the Euclid: exact in QQ (while truncation is off, which the engine never
// switches on), within EPSILON in long double. A tolerance in QQ could take a row for zero that
// is not and so lose a vector of the span.
bool isZero(const long double& x)
{
    return Precision::equalsZero(x, QQ::enableTruncate);
}

bool isZero(const QQ& x)
{
    return Precision::equalsZero(x, QQ::enableTruncate);
}

long double floorOf(const long double& x)
{
    return floorl(x);
}

QQ floorOf(const QQ& x)
{
    return floor(x);
}

// A Euclid quotient beyond the trusted range of a long double; an exact number has none.
bool overflows(const long double& x)
{
    return Precision::overflows(x);
}

bool overflows(const QQ&)
{
    return false;
}

// A stop that is final in exact arithmetic; in long double the exact redo may still succeed.
[[noreturn]] void stop(const std::string& message, const long double&)
{
    throw PrecisionException(message);
}

[[noreturn]] void stop(const std::string& message, const QQ&)
{
    fatal(message);
}

// The row as integers for the exact search: image = scale * row. A long double row must hold
// integers of at most 10^18, which it holds exactly, and has scale 1; a QQ row is multiplied by
// the least common multiple of its denominators.
void integerImage(const Vector<long double>& row, long columns, std::vector<ZZ>& image, ZZ& scale)
{
    scale = 1;
    for (long j = 1; j <= columns; ++j) {
        const long double x = row[j];
        if (!(fabsl(x) <= Const::DOUBLE_FATAL_OVERFLOW()) || x != floorl(x))
            throw PrecisionException("eliminateDependentRows: an entry is not an integer of at most 10^18");
        image[j - 1] = static_cast<long long>(x);
    }
}

void integerImage(const Vector<QQ>& row, long columns, std::vector<ZZ>& image, ZZ& scale)
{
    scale = 1;
    for (long j = 1; j <= columns; ++j) {
        if (row[j].isInf) fatal("eliminateDependentRows: infinite entry");
        if (!row[j].zaehler.isZero()) scale = Math::kgv(scale, row[j].nenner);
    }
    const QQ factor(scale);
    QQ product;
    for (long j = 1; j <= columns; ++j) {
        QQ::mul(product, row[j], factor);
        image[j - 1] = product.signedInteger();
    }
}

// Fraction-free elimination (Bareiss) over ZZ of the rows of a matrix, taken one at a time in
// their order, with the identity appended to record how each row came about. Pivot i is row i as
// elimination steps 1..i-1 left it: step l turns a row v into (a v - b p) / a', where p is pivot
// l, a its entry in its pivot column, b the entry of v there and a' the pivot entry of pivot
// l - 1 (1 for l = 1). Every entry is then a minor of the matrix with the identity appended, so
// every division is exact (Sylvester's identity) and the numbers stay as short as minors. A row
// that the steps reduce to zero is a combination of the rows before it: its appended part y
// gives sum y_l row_l = 0 with y_d, a minor of the independent rows before it, nonzero.
// Pivot columns follow the rows' order, not the columns': a new pivot takes the first column
// where it is nonzero, which no earlier pivot has taken (those entries are zero after the steps).
class DependencySearch {
public:
    explicit DependencySearch(long columns) : columns(columns), image(columns) {}

    // Forgets the pivots from row count + 1 on: those rows have changed.
    void keep(long count)
    {
        if (count < static_cast<long>(pivots.size())) pivots.resize(count);
    }

    // Runs the row after the kept ones (index d = count + 1) through the elimination. Returns
    // true when it depends on the rows before it, with coordinates[i] its coefficient of row i
    // (d - 1 entries, exact); otherwise it becomes pivot d and false is returned.
    template <class T>
    bool dependent(const Vector<T>& row, Vector<QQ>& coordinates)
    {
        const long d = static_cast<long>(pivots.size()) + 1;
        Pivot candidate;
        integerImage(row, columns, image, candidate.scale);
        candidate.entries = image;
        candidate.combination.assign(d, ZZ(0));
        candidate.combination[d - 1] = 1;
        // 1. Steps 1..d-1.
        for (long l = 1; l < d; ++l) {
            const Pivot& pivot = pivots[l - 1];
            const ZZ& a = pivot.entries[pivot.column];
            const ZZ b = candidate.entries[pivot.column];
            const ZZ* divisor = l == 1 ? nullptr : &pivots[l - 2].entries[pivots[l - 2].column];
            eliminate(candidate.entries, pivot.entries, a, b, divisor);
            eliminate(candidate.combination, pivot.combination, a, b, divisor);
        }
        // 2. Something left: a new pivot.
        for (long j = 0; j < columns; ++j)
            if (!candidate.entries[j].isZero()) {
                candidate.column = j;
                pivots.push_back(std::move(candidate));
                return false;
            }
        // 3. Zero: y · (scale_l row_l) = 0, so row_d = sum over l < d of -(y_l scale_l) / (y_d scale_d)
        // row_l.
        const std::vector<ZZ>& y = candidate.combination;
        ZZ denominator;
        ZZ::mul(y[d - 1], candidate.scale, denominator);
        ZZ::negate(denominator, denominator);
        coordinates.makeZero(d - 1);
        ZZ numerator;
        for (long l = 1; l < d; ++l) {
            if (y[l - 1].isZero()) continue;
            ZZ::mul(y[l - 1], pivots[l - 1].scale, numerator);
            coordinates[l] = QQ(numerator, denominator);
        }
        return true;
    }

private:
    struct Pivot {
        std::vector<ZZ> entries;     // the row after the steps before it
        std::vector<ZZ> combination; // its coefficients of the (scaled) rows 1..its index
        long column = 0;             // its pivot column, 0-based
        ZZ scale;                    // the factor that made the row integral
    };

    // v = (a v - b p) / divisor (no division for a null divisor); p may be shorter than v, its
    // missing entries being zero.
    void eliminate(std::vector<ZZ>& v, const std::vector<ZZ>& p, const ZZ& a, const ZZ& b, const ZZ* divisor)
    {
        const long shared = static_cast<long>(p.size());
        for (long j = 0; j < static_cast<long>(v.size()); ++j) {
            const bool otherZero = j >= shared || p[j].isZero() || b.isZero();
            if (v[j].isZero() && otherZero) continue;
            ZZ::mul(a, v[j], left);
            if (!otherZero) {
                ZZ::mul(b, p[j], right);
                ZZ::sub(left, right, left);
            }
            if (divisor == nullptr) {
                std::swap(v[j], left);
            } else {
                ZZ::div(left, *divisor, quotient, remainder);
                std::swap(v[j], quotient);
            }
        }
    }

    long columns;
    std::vector<ZZ> image;
    std::vector<Pivot> pivots;
    ZZ left, right, quotient, remainder; // reused by every step
};

} // namespace

template <class T>
long Matrix<T>::zerofyColAboveRow(long row, long column, Matrix<T>* transform)
{
    kernel::Scratch<T> scratch;
    T quotient;
    for (;;) {
        // 1. The pivot: the smallest nonzero absolute entry; a later row wins only if it is
        //    strictly smaller.
        long pivot = 0;
        long nonzero = 0;
        T smallest;
        for (long i = 1; i <= row; ++i) {
            const T& x = rowData[i][column];
            if (isZero(x)) continue;
            ++nonzero;
            const T magnitude = Math::abs(x);
            if (pivot == 0 || magnitude < smallest) {
                pivot = i;
                smallest = magnitude;
            }
        }
        if (pivot == 0) return 0;
        // 2. The only nonzero entry left: the Euclid is done.
        if (nonzero == 1) return pivot;
        // 3. Every other row keeps the remainder of its entry by the pivot.
        const T divisor = rowData[pivot][column];
        for (long i = 1; i <= row; ++i) {
            if (i == pivot || isZero(rowData[i][column])) continue;
            kernel::div(quotient, rowData[i][column], divisor);
            quotient = floorOf(quotient);
            if (overflows(quotient)) throw PrecisionException("factor overflow");
            kernel::subtractMultiple(rowData[i].data, quotient, rowData[pivot].data, 1, rowData[i].MN,
                                     scratch);
            if (rowData[i].hasOverflowEntry()) throw PrecisionException("row overflow");
            if (transform != nullptr) {
                kernel::subtractMultiple(transform->rowData[i].data, quotient, transform->rowData[pivot].data,
                                         1, transform->rowData[i].MN, scratch);
                if (transform->rowData[i].hasOverflowEntry()) throw PrecisionException("T->row overflow");
            }
        }
    }
}

template <class T>
long Matrix<T>::zerofyRow(Matrix<T>* transform)
{
    if (transform != nullptr && transform->rowCount != rowCount) fatal("zerofyRow: dimension mismatch");
    // 1. From the last row and column upward: each column's Euclid leaves one nonzero entry
    //    among the rows still open, which moves into the lowest of them and is closed.
    long row = rowCount;
    for (long column = colCount; column >= 1 && row >= 1; --column) {
        const long i = zerofyColAboveRow(row, column, transform);
        if (i == 0) continue;
        swapRows(i, row);
        if (transform != nullptr) transform->swapRows(i, row);
        --row;
    }
    // 2. The first row that came out zero.
    for (long i = 1; i <= rowCount; ++i) {
        bool zero = true;
        for (long j = 1; zero && j <= colCount; ++j)
            zero = isZero(rowData[i][j]);
        if (zero) return i;
    }
    return 0;
}

template <class T>
void Matrix<T>::eliminateDependentRows()
{
    DependencySearch search(colCount);
    Vector<QQ> coordinates;
    // Rows before next are independent and known to the search.
    long next = 1;
    while (next <= rowCount) {
        // 1.-3. Whether row next depends on the rows before it, and its coordinates, exactly.
        //       They are unique, as the rows before it are independent.
        if (!search.dependent(rowData[next], coordinates)) {
            ++next;
            continue;
        }
        const long d = next;
        // 4. Integer coordinates: the row is an integer combination of the rows before it and
        //    goes; the last row takes its place and is looked at next. (Rounded coordinates
        //    give the row back exactly when they are integers already.) A zero row, and a
        //    first row that is zero, have coordinates zero and go here.
        bool integral = true;
        for (long i = 1; integral && i < d; ++i)
            integral = coordinates[i].zaehler.isZero();
        if (integral) {
            swapRows(d, rowCount);
            removeRow(rowCount);
            continue;
        }
        // 5. The rows with a nonzero coordinate (tested exactly, before any rounding), then the
        //    row itself.
        Array<long> noted;
        for (long i = 1; i < d; ++i)
            if (!coordinates[i].isZero()) noted.pushBack(i);
        noted.pushBack(d);
        Matrix<T> C(noted.MN, colCount);
        for (long k = 1; k <= noted.MN; ++k)
            C[k] = rowData[noted[k]];
        // 6. They have rank one less than their number: the Euclid leaves one of them zero.
        const long z = C.zerofyRow(nullptr);
        if (z == 0) stop("Dependent row could not be eliminated!", Constant<T>::ZERO());
        // 7. The others, which span the same integers, go back to their places; the place of
        //    the zero row goes, the last row taking it.
        for (long k = 1; k <= noted.MN; ++k)
            if (k != z) rowData[noted[k]] = C[k];
        swapRows(noted[z], rowCount);
        removeRow(rowCount);
        // Rows from the first noted place on have changed: the search goes back there.
        next = noted[1];
        search.keep(next - 1);
    }
}

// The members defined here, for both number types.
template void Matrix<long double>::eliminateDependentRows();
template void Matrix<QQ>::eliminateDependentRows();
template long Matrix<long double>::zerofyRow(Matrix<long double>*);
template long Matrix<QQ>::zerofyRow(Matrix<QQ>*);
template long Matrix<long double>::zerofyColAboveRow(long, long, Matrix<long double>*);
template long Matrix<QQ>::zerofyColAboveRow(long, long, Matrix<QQ>*);

} // namespace latopt
