#include "linalg/matrix.h"

#include "arith/qq.h"
#include "base/exceptions.h"
#include "linalg/random_entries.h"
#include "linalg/vector.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace latopt {
namespace {

using testing_support::expectFail;
using testing_support::identity;
using testing_support::randomMatrix;
using testing_support::randomVector;
using testing_support::rounds;
using testing_support::same;
using testing_support::seedTrace;
using testing_support::testSeed;
using testing_support::written;

template <class T>
class MatrixAlgebra : public ::testing::Test {
};
using NumberTypes = ::testing::Types<long double, QQ>;
TYPED_TEST_SUITE(MatrixAlgebra, NumberTypes);

// On random shapes: the product is associative, transposes in reverse, has the identity as unit;
// entry i of A x is row i times x, y A is the transpose of A times y; rows and cols split A.
TYPED_TEST(MatrixAlgebra, ProductIdentitiesOnRandomMatrices)
{
    using T = TypeParam;
    const unsigned long long seed = testSeed();
    SCOPED_TRACE(seedTrace(seed));
    std::mt19937_64 random(seed + 10);
    for (long round = 0; round < rounds(20); ++round) {
        const long m = 1 + round % 4, n = 1 + (round / 4) % 4, p = 1 + round % 3, q = 1 + round % 5;
        const Matrix<T> A = randomMatrix<T>(random, m, n);
        const Matrix<T> B = randomMatrix<T>(random, n, p);
        const Matrix<T> C = randomMatrix<T>(random, p, q);
        EXPECT_TRUE(same((A * B) * C, A * (B * C)));
        EXPECT_TRUE(same((A * B).transpose(), B.transpose() * A.transpose()));
        EXPECT_TRUE(same(A * identity<T>(n), A));
        EXPECT_TRUE(same(identity<T>(m) * A, A));
        const Vector<T> x = randomVector<T>(random, n);
        const Vector<T> y = randomVector<T>(random, m);
        const Vector<T> product = A * x;
        ASSERT_EQ(product.MN, m);
        for (long i = 1; i <= m; ++i)
            EXPECT_TRUE(same(product[i], A[i] * x));
        EXPECT_TRUE(same(y * A, A.transpose() * y));
        // Split at k and l (the second part may be empty), the rows and the columns reassemble A.
        const long k = 1 + round % m, l = 1 + round % n;
        const Matrix<T> top = A.rows(1, k), bottom = A.rows(k + 1, m), left = A.cols(1, l),
                        right = A.cols(l + 1, n);
        ASSERT_TRUE(top.rowCount == k && bottom.rowCount == m - k && left.colCount == l &&
                    right.colCount == n - l);
        for (long i = 1; i <= m; ++i) {
            EXPECT_TRUE(same(i <= k ? top[i] : bottom[i - k], A[i]));
            for (long j = 1; j <= n; ++j)
                EXPECT_TRUE(same(j <= l ? left[i][j] : right[i][j - l], A[i][j]));
        }
    }
}

TYPED_TEST(MatrixAlgebra, ProductInPlaceTakesTheNewColumnCount)
{
    using T = TypeParam;
    Matrix<T> A("[ [ 1 2 3 ] [ 4 5 6 ] ]");
    A.throwOnLoss = true;
    A *= Matrix<T>("[ [ 1 0 ] [ 0 1 ] [ 1 1 ] ]");
    EXPECT_EQ(A.colCount, 2);
    EXPECT_TRUE(same(A, Matrix<T>("[ [ 4 5 ] [ 10 11 ] ]")));
    EXPECT_TRUE(A.throwOnLoss);
}

// makeZero and makeEqual default to square; the zero constant is empty with separator ", ".
TYPED_TEST(MatrixAlgebra, MakeEqualMakeZeroAndTheZeroConstant)
{
    using T = TypeParam;
    Matrix<T> A;
    A.makeZero(3, 0);
    EXPECT_TRUE(same(A, Matrix<T>("[ [ 0 0 0 ] [ 0 0 0 ] [ 0 0 0 ] ]")));
    A.makeEqual(T(7), 0, 2);
    EXPECT_TRUE(same(A, Matrix<T>("[ [ 7 7 ] [ 7 7 ] [ 7 7 ] ]")));
    A.makeEqual(T(1));
    EXPECT_EQ(A.colCount, 3);
    const Matrix<T> zero = Constant<Matrix<T>>::ZERO();
    EXPECT_TRUE(zero.rowCount == 0 && zero.colCount == 0 && !zero.isInitialized());
    EXPECT_EQ(zero.separators, ", ");
}

// The row alias follows reallocation, copy and move; the moved-from side stays usable.
TEST(MatrixStorage, AliasesFollowReallocationCopyAndMove)
{
    Matrix<QQ> A(2, 3);
    A[2][3] = QQ(5);
    A.setDimensions(500, 3, false);
    EXPECT_EQ(A.rowData, A.data);
    EXPECT_EQ(A.rowData[2][3], QQ(5));
    EXPECT_EQ(A.rowData[500].MN, 3);
    Matrix<QQ> B("[ [ 1 ] ]");
    B = std::move(A);
    EXPECT_EQ(B.rowData, B.data);
    EXPECT_EQ(B.rowData[2][3], QQ(5));
    EXPECT_TRUE(A.rowCount == 0 && A.colCount == 0 && A.rowData == A.data);
    A.setDimensions(2, 2, false);
    EXPECT_TRUE(A.rowData == A.data && A.rowCount == 2);
    Matrix<QQ> C(std::move(B));
    EXPECT_TRUE(C.rowData == C.data && C.rowCount == 500 && B.rowCount == 0);
    const Matrix<QQ> D(C);
    EXPECT_TRUE(D.rowData == D.data && D.rowData != C.rowData && D == C);
}

TEST(MatrixStorage, GrowShrinkSwapAndRemoveRows)
{
    Matrix<long double> A("[ [ 1 2 ] [ 3 4 ] ]");
    A.setDimensions(3, 3, false); // new columns are zero
    EXPECT_TRUE(same(A, Matrix<long double>("[ [ 1 2 0 ] [ 3 4 0 ] [ 0 0 0 ] ]")));
    A.setDimension(1);
    EXPECT_TRUE(A.rowCount == 1 && A.colCount == 3);
    Matrix<QQ> B("[ [ 1 ] [ 2 ] [ 3 ] [ 4 ] ]");
    B.swapRows(1, 4);
    B.swapRows(0, 1); // the spare row is within reach
    EXPECT_EQ(B[0][1], QQ(4));
    B.swapRows(0, 1);
    B.removeRow(2);
    EXPECT_EQ(written(B), "[\n[ 4 ]\n[ 3 ]\n[ 1 ]\n]");
    B.removeRow(B.rowCount + 5); // beyond the last: the last goes
    EXPECT_EQ(written(B), "[\n[ 4 ]\n[ 3 ]\n]");
    B.removeRow(2);
    B.removeRow(1);
    B.removeRow(1);
    EXPECT_EQ(B.rowCount, 0);
}

TEST(MatrixStorage, EqualityIsTolerantAndShapeAwareOverflowOnlyInLongDouble)
{
    EXPECT_TRUE(Matrix<QQ>("[ [ 1 2 ] ]") == Matrix<QQ>("[ [ 1.0000000001 2 ] ]"));
    EXPECT_FALSE(Matrix<QQ>("[ [ 1 2 ] ]") == Matrix<QQ>("[ [ 1.000000002 2 ] ]"));
    EXPECT_FALSE(Matrix<QQ>("[ [ 1 2 ] ]") == Matrix<QQ>("[ [ 1 2 ] [ 1 2 ] ]"));
    EXPECT_FALSE(Matrix<QQ>("[ [ 1 2 ] ]") == Matrix<QQ>("[ [ 1 ] [ 2 ] ]"));
    EXPECT_TRUE(Matrix<long double>("[ [ 1 2 ] [ 3 2000000000 ] ]").hasOverflowEntry());
    EXPECT_FALSE(Matrix<long double>("[ [ 1 2 ] [ 3 -1000000000 ] ]").hasOverflowEntry());
    EXPECT_FALSE(Matrix<QQ>("[ [ 1 2 ] [ 3 2000000000000000000000 ] ]").hasOverflowEntry());
}

// A probing target accepts what comes back within 10^-9 and refuses the rest.
TEST(MatrixConversion, AcrossNumberTypesWithTheRowProbe)
{
    const Matrix<QQ> exact("[ [ 1/4 -3 ] [ 5:1/2 1/3 ] ]");
    Matrix<long double> standard(exact);
    EXPECT_EQ(written(standard), "[\n[ 0.25 -3 ]\n[ 5.5 0.333333 ]\n]");
    EXPECT_TRUE(Matrix<QQ>(standard) == exact);
    Matrix<long double> probing;
    probing.throwOnLoss = true;
    probing = exact;
    EXPECT_EQ(probing.colCount, 2);
    EXPECT_THROW(probing = Matrix<QQ>("[ [ 100000000000000000000:1/2 ] ]"), PrecisionException);
}

// One row a line; every empty form reads as the empty matrix; without "[" the stream stays.
TEST(MatrixText, WrittenAndEmptyForms)
{
    EXPECT_EQ(written(Matrix<long double>("[ [ 1 2 ] [ 3 4 ] ]")), "[\n[ 1 2 ]\n[ 3 4 ]\n]");
    EXPECT_EQ(written(Matrix<QQ>("[[-1/2 inf]]")), "[\n[ -1/2 inf ]\n]");
    for (const char* text : {"[ ]", "[\n]", "[]", "[ [ ] ]", "[ [ ] [ ] ]", "  // none\n [ ]"}) {
        const Matrix<long double> m(text);
        EXPECT_TRUE(m.rowCount == 0 && m.colCount == 0 && !m.isInitialized()) << text;
        EXPECT_EQ(written(m), "[\n]");
    }
    std::istringstream stream("x");
    Matrix<QQ> m("[ [ 1 ] ]");
    m.unserialize(stream);
    EXPECT_EQ(m.rowCount, 0);
    EXPECT_EQ(stream.peek(), 'x');
}

// A short last row stays short; a short row before another is padded with zeroes; empty rows
// before the first entries take its length.
TEST(MatrixText, FirstRowFixesTheColumnCount)
{
    const Matrix<QQ> shortLast("[ [ 1 2 ] [ 3 ] ]");
    EXPECT_TRUE(shortLast.rowCount == 2 && shortLast.colCount == 2 && shortLast[2].MN == 1);
    EXPECT_EQ(written(Matrix<QQ>("[ [ 1 2 ] [ 3 ] [ 4 5 ] ]")), "[\n[ 1 2 ]\n[ 3 0 ]\n[ 4 5 ]\n]");
    EXPECT_EQ(written(Matrix<QQ>("[ [ ] [ 1 2 ] ]")), "[\n[ 0 0 ]\n[ 1 2 ]\n]");
}

TEST(MatrixText, RandomRoundTripsAreExactInQQ)
{
    const unsigned long long seed = testSeed();
    SCOPED_TRACE(seedTrace(seed));
    std::mt19937_64 random(seed + 13);
    for (long round = 0; round < rounds(30); ++round) {
        const Matrix<QQ> m = randomMatrix<QQ>(random, 1 + round % 4, 1 + round % 3);
        EXPECT_TRUE(same(Matrix<QQ>(m.toString().c_str()), m)) << m.toString();
    }
}

TEST(MatrixDeathTest, ShapeMismatchesAndMalformedText)
{
    Matrix<long double> A("[ [ 1 2 3 ] [ 4 5 6 ] ]");
    const Vector<long double> two("[ 1 2 ]"), three("[ 1 2 3 ]");
    expectFail([&] { (void)(A * two); }, "Matrix: mat-vec multiplication dimension mismatch");
    expectFail([&] { (void)(three * A); }, "vector-matrix dimension mismatch");
    expectFail([&] { (void)(A * A); }, "Matrix: dimension mismatch6");
    expectFail([&] { A *= A; }, "Matrix: dimension mismatch3");
    expectFail([&] { A.setDimensions(-1, 2); }, "Matrix: invalid size");
    expectFail([&] { A.setDimensions(2, -1); }, "Matrix: invalid size");
    expectFail([&] { A.swapRows(0, 3); }, "Matrix: row swap index out of range");
    expectFail([&] { A.swapRows(-1, 1); }, "Matrix: row swap index out of range");
    expectFail([&] { A.removeRow(-1); }, "Invalid row index!");
    expectFail([] { Matrix<long double>("[ [ 1 2 ] [ 3 4 5 ] ]"); }, "Matrix row dimension mismatch");
    expectFail([] { Matrix<QQ>("[ [ 1 2 ]"); }, "Matrix: bad input");
    expectFail([] { Matrix<QQ>("[ 1 2 ]"); }, "Matrix: bad input");
    std::istringstream bad("[ ]");
    bad.setstate(std::ios::badbit);
    expectFail([&] { Matrix<QQ>().unserialize(bad); }, "Matrix: bad stream");
}

} // namespace
} // namespace latopt
