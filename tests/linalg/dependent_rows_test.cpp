#include "linalg/matrix.h"

#include "arith/qq.h"
#include "base/exceptions.h"
#include "linalg/hermite_form.h"
#include "linalg/random_entries.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace latopt {
namespace {

using testing_support::expectFail;
using testing_support::hermiteForm;
using testing_support::identity;
using testing_support::rounds;
using testing_support::seedTrace;
using testing_support::testSeed;
using testing_support::written;

// Integer rows with dependencies of every kind, in random order: random rows, integer
// combinations of rows drawn before, multiples (so that a row may come after a multiple of
// itself and depend on it with a fraction), copies and zero rows.
Matrix<QQ> rowsWithDependencies(std::mt19937_64& random)
{
    std::uniform_int_distribution<long> small(-6, 6);
    const long cols = 1 + random() % 6;
    const long count = 1 + random() % 8;
    std::vector<std::vector<long>> rows;
    for (long r = 0; r < count; ++r) {
        std::vector<long> row(cols, 0);
        const long kind = rows.empty() ? 0 : random() % 6;
        if (kind <= 1) {
            for (long& x : row)
                x = small(random);
        } else if (kind == 2 || kind == 3) {
            for (int terms = 0; terms < 2; ++terms) {
                const std::vector<long>& other = rows[random() % rows.size()];
                const long factor = small(random) / 2;
                for (long j = 0; j < cols; ++j)
                    row[j] += factor * other[j];
            }
        } else if (kind == 4) {
            const long factor = 2 + random() % 3;
            for (long j = 0; j < cols; ++j)
                row[j] = factor * rows[random() % rows.size()][j];
        }
        rows.push_back(row);
    }
    std::shuffle(rows.begin(), rows.end(), random);
    Matrix<QQ> A(count, cols);
    for (long i = 1; i <= count; ++i)
        for (long j = 1; j <= cols; ++j)
            A[i][j] = QQ(rows[i - 1][j - 1]);
    return A;
}

Matrix<QQ> scaled(const Matrix<QQ>& A, const QQ& factor)
{
    Matrix<QQ> B(A);
    for (long i = 1; i <= B.rowCount; ++i)
        for (long j = 1; j <= B.colCount; ++j)
            B[i][j] = B[i][j] * factor;
    return B;
}

// The integer span stays and the rows left are independent (as many as the rank); an
// independent matrix comes back as it was. long double does the same steps on these small
// integers and must give the same rows, or throw PrecisionException where they grow too large.
// Rows with fractions (the whole matrix divided by D) keep their span too.
TEST(EliminateDependentRows, KeepsTheIntegerSpanAndLeavesIndependentRows)
{
    const unsigned long long seed = testSeed();
    SCOPED_TRACE(seedTrace(seed));
    std::mt19937_64 random(seed + 42);
    long overflows = 0;
    for (long round = 0; round < rounds(150); ++round) {
        const Matrix<QQ> A = rowsWithDependencies(random);
        SCOPED_TRACE(written(A));
        const Matrix<QQ> form = hermiteForm(A);
        Matrix<QQ> exact(A);
        exact.eliminateDependentRows();
        EXPECT_EQ(written(hermiteForm(exact)), written(form));
        EXPECT_EQ(exact.rowCount, form.rowCount);
        if (form.rowCount == A.rowCount) {
            EXPECT_EQ(written(exact), written(A));
        }

        Matrix<long double> standard(A);
        try {
            standard.eliminateDependentRows();
            EXPECT_EQ(written(Matrix<QQ>(standard)), written(exact));
        } catch (const PrecisionException&) {
            ++overflows;
        }

        const QQ D(2 + round % 5);
        Matrix<QQ> fractions = scaled(A, QQ(1) / D);
        fractions.eliminateDependentRows();
        EXPECT_EQ(fractions.rowCount, form.rowCount);
        EXPECT_EQ(written(hermiteForm(scaled(fractions, D))), written(form));
    }
    // The Euclid may pass 10^9 on the way even here, and long double then hands over to QQ;
    // rarely, about once in a thousand of these matrices.
    EXPECT_LE(overflows, rounds(150) / 20);
}

template <class T>
class DependentRowCases : public ::testing::Test {
};
using NumberTypes = ::testing::Types<long double, QQ>;
TYPED_TEST_SUITE(DependentRowCases, NumberTypes);

// [2] and [3] depend by a fraction only: the Euclid leaves [1]. An equal row goes without row
// operations, and so does a zero row, the first row too; the last row takes the place.
TYPED_TEST(DependentRowCases, NamedCases)
{
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"[ [ 2 ] [ 3 ] ]", "[\n[ 1 ]\n]"},
        {"[ [ 1 2 ] [ 1 2 ] [ 3 4 ] ]", "[\n[ 1 2 ]\n[ 3 4 ]\n]"},
        {"[ [ 1 2 ] [ 0 0 ] [ 3 5 ] ]", "[\n[ 1 2 ]\n[ 3 5 ]\n]"},
        {"[ [ 0 0 ] [ 1 2 ] [ 3 5 ] ]", "[\n[ 3 5 ]\n[ 1 2 ]\n]"},
        {"[ [ 0 0 ] ]", "[\n]"},
        {"[ [ 4 6 ] [ 6 9 ] ]", "[\n[ 2 3 ]\n]"},
    };
    for (const auto& [input, expected] : cases) {
        Matrix<TypeParam> A(input.c_str());
        A.eliminateDependentRows();
        EXPECT_EQ(written(A), expected) << input;
    }
}

// long double gives up where exactness isn't assured; QQ carries on.
TEST(EliminateDependentRows, LongDoubleThrowsWhereOnlyExactArithmeticHelps)
{
    for (const char* input :
         {"[ [ 1 1/2 ] ]", "[ [ 2000000000000000000 ] ]", "[ [ 2000000002 ] [ 3000000003 ] ]"}) {
        Matrix<long double> standard{Matrix<QQ>(input)};
        EXPECT_THROW(standard.eliminateDependentRows(), PrecisionException) << input;
    }
    Matrix<QQ> exact("[ [ 2000000002 ] [ 3000000003 ] ]");
    exact.eliminateDependentRows();
    EXPECT_EQ(written(exact), "[\n[ 1000000001 ]\n]");
    expectFail([] { Matrix<QQ>("[ [ 1 inf ] ]").eliminateDependentRows(); },
               "eliminateDependentRows: infinite entry");
}

// The mirrored transformation takes the rows as they were to the rows as they are; rows of
// rank one less than their number end with a zero row, independent rows with none.
TYPED_TEST(DependentRowCases, ZerofyRowMirrorsOnTheTransformation)
{
    using T = TypeParam;
    const unsigned long long seed = testSeed();
    SCOPED_TRACE(seedTrace(seed));
    std::mt19937_64 random(seed + 7);
    for (long round = 0; round < rounds(40); ++round) {
        Matrix<QQ> exact = rowsWithDependencies(random);
        const Matrix<T> original(exact);
        Matrix<T> C(original), transform = identity<T>(C.rowCount);
        const long z = C.zerofyRow(&transform);
        EXPECT_EQ(written(Matrix<QQ>(transform * original)), written(Matrix<QQ>(C)));
        const long rank = hermiteForm(exact).rowCount;
        if (rank < C.rowCount) {
            ASSERT_GT(z, 0);
            EXPECT_EQ(written(C[z]), written(Vector<T>(C.colCount)));
        } else {
            EXPECT_EQ(z, 0);
        }
    }
}

} // namespace
} // namespace latopt
