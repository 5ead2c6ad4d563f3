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

using testing_support::randomMatrix;
using testing_support::randomVector;
using testing_support::rounds;
using testing_support::same;
using testing_support::seedTrace;
using testing_support::testSeed;

template <class T>
std::string written(const Matrix<T>& m)
{
    std::ostringstream stream;
    m.serialize(stream);
    return stream.str();
}

template <class T>
Matrix<T> identity(long n)
{
    Matrix<T> m(n, n);
    for (long i = 1; i <= n; ++i)
        m[i][i] = Constant<T>::ONE();
    return m;
}

template <class T>
class MatrixAlgebra : public ::testing::Test {
};
using NumberTypes = ::testing::Types<long double, QQ>;
TYPED_TEST_SUITE(MatrixAlgebra, NumberTypes);

TYPED_TEST(MatrixAlgebra, ProductIsAssociativeAndTransposesInReverse)
{
    using T = TypeParam;
    const unsigned long long seed = testSeed();
    SCOPED_TRACE(seedTrace(seed));
    std::mt19937_64 random(seed + 10);
    for (long round = 0; round < rounds(20); ++round) {
        const long m = 1 + round % 4;
        const long n = 1 + (round / 4) % 4;
        const long p = 1 + round % 3;
        const long q = 1 + round % 5;
        const Matrix<T> A = randomMatrix<T>(random, m, n);
        const Matrix<T> B = randomMatrix<T>(random, n, p);
        const Matrix<T> C = randomMatrix<T>(random, p, q);
        EXPECT_TRUE(same((A * B) * C, A * (B * C)));
        EXPECT_TRUE(same((A * B).transpose(), B.transpose() * A.transpose()));
        EXPECT_TRUE(same(A * identity<T>(n), A));
        EXPECT_TRUE(same(identity<T>(m) * A, A));
        EXPECT_TRUE(same(A.transpose().transpose(), A));
    }
}

TYPED_TEST(MatrixAlgebra, VectorProductsAgreeWithMatrixProducts)
{
    using T = TypeParam;
    const unsigned long long seed = testSeed();
    SCOPED_TRACE(seedTrace(seed));
    std::mt19937_64 random(seed + 11);
    for (long round = 0; round < rounds(20); ++round) {
        const long m = 1 + round % 5;
        const long n = 1 + (round / 5) % 4;
        const Matrix<T> A = randomMatrix<T>(random, m, n);
        const Vector<T> x = randomVector<T>(random, n);
        const Vector<T> y = randomVector<T>(random, m);
        // A x as the product with a one-column matrix, y A as the product with a one-row matrix.
        Matrix<T> column(n, 1);
        for (long j = 1; j <= n; ++j)
            column[j][1] = x[j];
        Matrix<T> row(1, m);
        row[1] = y;
        const Matrix<T> Ax = A * column;
        const Vector<T> product = A * x;
        ASSERT_EQ(product.MN, m);
        for (long i = 1; i <= m; ++i)
            EXPECT_TRUE(same(product[i], Ax[i][1]));
        EXPECT_TRUE(same(y * A, (row * A)[1]));
        EXPECT_TRUE(same(y * A, A.transpose() * y));
        // <y, A x> = <y A, x>
        EXPECT_TRUE(same(y * (A * x), (y * A) * x));
    }
}

TYPED_TEST(MatrixAlgebra, RowsAndColumnsReassemble)
{
    using T = TypeParam;
    const unsigned long long seed = testSeed();
    SCOPED_TRACE(seedTrace(seed));
    std::mt19937_64 random(seed + 12);
    const Matrix<T> A = randomMatrix<T>(random, 5, 4);
    const Matrix<T> top = A.rows(1, 2);
    const Matrix<T> bottom = A.rows(3, 5);
    EXPECT_EQ(top.rowCount, 2);
    EXPECT_EQ(bottom.colCount, 4);
    for (long i = 1; i <= 5; ++i)
        EXPECT_TRUE(same(i <= 2 ? top[i] : bottom[i - 2], A[i]));
    const Matrix<T> left = A.cols(1, 1);
    const Matrix<T> right = A.cols(2, 4);
    EXPECT_EQ(left.colCount, 1);
    EXPECT_EQ(right.colCount, 3);
    for (long i = 1; i <= 5; ++i)
        for (long j = 1; j <= 4; ++j)
            EXPECT_TRUE(same(j == 1 ? left[i][1] : right[i][j - 1], A[i][j]));
    EXPECT_EQ(A.rows(3, 2).rowCount, 0);
}

TYPED_TEST(MatrixAlgebra, ProductInPlaceTakesTheNewColumnCount)
{
    using T = TypeParam;
    Matrix<T> A("[ [ 1 2 3 ] [ 4 5 6 ] ]");
    A.throwOnLoss = true;
    const Matrix<T> B("[ [ 1 0 ] [ 0 1 ] [ 1 1 ] ]");
    A *= B;
    EXPECT_EQ(A.rowCount, 2);
    EXPECT_EQ(A.colCount, 2);
    EXPECT_TRUE(same(A, Matrix<T>("[ [ 4 5 ] [ 10 11 ] ]")));
    EXPECT_TRUE(A.throwOnLoss);
}

TYPED_TEST(MatrixAlgebra, MakeEqualAndMakeZeroDefaultToSquare)
{
    using T = TypeParam;
    Matrix<T> A;
    A.makeZero(3, 0);
    EXPECT_EQ(A.rowCount, 3);
    EXPECT_EQ(A.colCount, 3);
    EXPECT_TRUE(same(A, Matrix<T>("[ [ 0 0 0 ] [ 0 0 0 ] [ 0 0 0 ] ]")));
    A.makeEqual(T(7), 0, 2);
    EXPECT_TRUE(same(A, Matrix<T>("[ [ 7 7 ] [ 7 7 ] [ 7 7 ] ]")));
    A.makeEqual(T(1));
    EXPECT_EQ(A.colCount, 3);
    EXPECT_TRUE(A.isInitialized());
}

TYPED_TEST(MatrixAlgebra, ZeroConstantIsEmptyWithCommaSeparator)
{
    using T = TypeParam;
    const Matrix<T> zero = Constant<Matrix<T>>::ZERO();
    EXPECT_EQ(zero.rowCount, 0);
    EXPECT_EQ(zero.colCount, 0);
    EXPECT_FALSE(zero.isInitialized());
    EXPECT_EQ(zero.separators, ", ");
}

// Storage.

TEST(MatrixStorage, AliasesFollowReallocationCopyAndMove)
{
    Matrix<QQ> A(2, 3);
    A[2][3] = QQ(5);
    const Vector<QQ>* before = A.rowData;
    A.setDimensions(500, 3, false);
    EXPECT_NE(A.rowData, before);
    EXPECT_EQ(A.rowData, A.data);
    EXPECT_EQ(A.rowCount, 500);
    EXPECT_EQ(A.rowData[2][3], QQ(5));
    EXPECT_EQ(A.rowData[500].MN, 3);

    Matrix<QQ> B("[ [ 1 ] ]");
    B = std::move(A);
    EXPECT_EQ(B.rowCount, 500);
    EXPECT_EQ(B.rowData, B.data);
    EXPECT_EQ(B.rowData[2][3], QQ(5));
    EXPECT_EQ(A.rowCount, 0);
    EXPECT_EQ(A.colCount, 0);
    EXPECT_EQ(A.rowData, A.data);
    A.setDimensions(2, 2, false); // the moved-from side stays usable
    EXPECT_EQ(A.rowData, A.data);
    EXPECT_EQ(A.rowCount, 2);

    Matrix<QQ> C(std::move(B));
    EXPECT_EQ(C.rowData, C.data);
    EXPECT_EQ(C.rowCount, 500);
    EXPECT_EQ(B.rowCount, 0);
    const Matrix<QQ> D(C);
    EXPECT_EQ(D.rowData, D.data);
    EXPECT_NE(D.rowData, C.rowData);
    EXPECT_TRUE(D == C);
}

TEST(MatrixStorage, GrowingColumnsAddsZeroes)
{
    Matrix<long double> A("[ [ 1 2 ] [ 3 4 ] ]");
    A.setDimensions(3, 3, false);
    EXPECT_TRUE(same(A, Matrix<long double>("[ [ 1 2 0 ] [ 3 4 0 ] [ 0 0 0 ] ]")));
    A.setDimension(1);
    EXPECT_EQ(A.rowCount, 1);
    EXPECT_EQ(A.colCount, 3);
}

TEST(MatrixStorage, SwapAndRemoveRows)
{
    Matrix<QQ> A("[ [ 1 ] [ 2 ] [ 3 ] [ 4 ] ]");
    A.swapRows(1, 4);
    EXPECT_EQ(written(A), "[\n[ 4 ]\n[ 2 ]\n[ 3 ]\n[ 1 ]\n]");
    A.swapRows(0, 1); // the spare row is within reach
    EXPECT_EQ(A[0][1], QQ(4));
    A.swapRows(0, 1);
    A.removeRow(2);
    EXPECT_EQ(written(A), "[\n[ 4 ]\n[ 3 ]\n[ 1 ]\n]");
    A.removeRow(A.rowCount + 5);
    EXPECT_EQ(written(A), "[\n[ 4 ]\n[ 3 ]\n]");
    A.removeRow(2);
    A.removeRow(1);
    EXPECT_EQ(A.rowCount, 0);
    A.removeRow(1);
    EXPECT_EQ(A.rowCount, 0);
}

TEST(MatrixStorage, EqualityIsTolerantAndShapeAware)
{
    EXPECT_TRUE(Matrix<QQ>("[ [ 1 2 ] ]") == Matrix<QQ>("[ [ 1.0000000001 2 ] ]"));
    EXPECT_FALSE(Matrix<QQ>("[ [ 1 2 ] ]") == Matrix<QQ>("[ [ 1.000000002 2 ] ]"));
    EXPECT_FALSE(Matrix<QQ>("[ [ 1 2 ] ]") == Matrix<QQ>("[ [ 1 2 ] [ 1 2 ] ]"));
    EXPECT_FALSE(Matrix<QQ>("[ [ 1 2 ] ]") == Matrix<QQ>("[ [ 1 ] [ 2 ] ]"));
}

TEST(MatrixStorage, OverflowEntriesOnlyInLongDouble)
{
    EXPECT_TRUE(Matrix<long double>("[ [ 1 2 ] [ 3 2000000000 ] ]").hasOverflowEntry());
    EXPECT_FALSE(Matrix<long double>("[ [ 1 2 ] [ 3 -1000000000 ] ]").hasOverflowEntry());
    EXPECT_FALSE(Matrix<QQ>("[ [ 1 2 ] [ 3 2000000000000000000000 ] ]").hasOverflowEntry());
}

TEST(MatrixConversion, AcrossNumberTypesWithTheRowProbe)
{
    const Matrix<QQ> exact("[ [ 1/4 -3 ] [ 5:1/2 1/3 ] ]");
    Matrix<long double> standard(exact);
    EXPECT_EQ(written(standard), "[\n[ 0.25 -3 ]\n[ 5.5 0.333333 ]\n]");
    EXPECT_TRUE(Matrix<QQ>(standard) == exact);
    // A probing target accepts what comes back within 10^-9 and refuses the rest.
    Matrix<long double> probing;
    probing.throwOnLoss = true;
    probing = exact;
    EXPECT_EQ(probing.colCount, 2);
    EXPECT_THROW(probing = Matrix<QQ>("[ [ 100000000000000000000:1/2 ] ]"), PrecisionException);
}

// Text form.

TEST(MatrixText, WritesOneRowALine)
{
    EXPECT_EQ(written(Matrix<long double>("[ [ 1 2 ] [ 3 4 ] ]")), "[\n[ 1 2 ]\n[ 3 4 ]\n]");
    EXPECT_EQ(written(Matrix<QQ>()), "[\n]");
    EXPECT_EQ(written(Matrix<QQ>("[[-1/2 inf]]")), "[\n[ -1/2 inf ]\n]");
}

TEST(MatrixText, EmptyForms)
{
    for (const char* text : {"[ ]", "[\n]", "[]", "[ [ ] ]", "[ [ ] [ ] ]", "  // none\n [ ]"}) {
        const Matrix<long double> m(text);
        EXPECT_EQ(m.rowCount, 0) << text;
        EXPECT_EQ(m.colCount, 0) << text;
        EXPECT_FALSE(m.isInitialized()) << text;
    }
    std::istringstream stream("x");
    Matrix<QQ> m("[ [ 1 ] ]");
    m.unserialize(stream);
    EXPECT_EQ(m.rowCount, 0);
    EXPECT_EQ(stream.peek(), 'x');
}

TEST(MatrixText, FirstRowFixesTheColumnCount)
{
    const Matrix<QQ> shortLast("[ [ 1 2 ] [ 3 ] ]");
    EXPECT_EQ(shortLast.rowCount, 2);
    EXPECT_EQ(shortLast.colCount, 2);
    EXPECT_EQ(shortLast[2].MN, 1);
    // A short row before another row is brought to full length, with zeroes.
    const Matrix<QQ> shortInside("[ [ 1 2 ] [ 3 ] [ 4 5 ] ]");
    EXPECT_EQ(written(shortInside), "[\n[ 1 2 ]\n[ 3 0 ]\n[ 4 5 ]\n]");
    // Empty rows before the first entries take its length.
    EXPECT_EQ(written(Matrix<QQ>("[ [ ] [ 1 2 ] ]")), "[\n[ 0 0 ]\n[ 1 2 ]\n]");
}

TEST(MatrixText, RandomRoundTripsAreExactInQQ)
{
    const unsigned long long seed = testSeed();
    SCOPED_TRACE(seedTrace(seed));
    std::mt19937_64 random(seed + 13);
    for (long round = 0; round < rounds(30); ++round) {
        const Matrix<QQ> m = randomMatrix<QQ>(random, 1 + round % 4, 1 + round % 3);
        const Matrix<QQ> back(m.toString().c_str());
        EXPECT_TRUE(same(back, m)) << m.toString();
        const Matrix<QQ> assigned = Matrix<QQ>(written(m).c_str());
        EXPECT_TRUE(same(assigned, m));
    }
}

// Fatal paths.

TEST(MatrixDeathTest, ShapeMismatches)
{
    const Matrix<long double> A("[ [ 1 2 3 ] [ 4 5 6 ] ]");
    const Vector<long double> two("[ 1 2 ]");
    const Vector<long double> three("[ 1 2 3 ]");
    EXPECT_EXIT(A * two, ::testing::ExitedWithCode(1),
                "\\*\\*\\* FAIL: Matrix: mat-vec multiplication dimension mismatch\n");
    EXPECT_EXIT(three * A, ::testing::ExitedWithCode(1),
                "\\*\\*\\* FAIL: vector-matrix dimension mismatch\n");
    EXPECT_EXIT(A * A, ::testing::ExitedWithCode(1), "\\*\\*\\* FAIL: Matrix: dimension mismatch6\n");
    Matrix<long double> B = A;
    EXPECT_EXIT(B *= A, ::testing::ExitedWithCode(1), "\\*\\*\\* FAIL: Matrix: dimension mismatch3\n");
    EXPECT_EXIT(B.setDimensions(-1, 2), ::testing::ExitedWithCode(1),
                "\\*\\*\\* FAIL: Matrix: invalid size\n");
    EXPECT_EXIT(B.setDimensions(2, -1), ::testing::ExitedWithCode(1),
                "\\*\\*\\* FAIL: Matrix: invalid size\n");
    EXPECT_EXIT(B.swapRows(0, 3), ::testing::ExitedWithCode(1),
                "\\*\\*\\* FAIL: Matrix: row swap index out of range\n");
    EXPECT_EXIT(B.swapRows(-1, 1), ::testing::ExitedWithCode(1),
                "\\*\\*\\* FAIL: Matrix: row swap index out of range\n");
    EXPECT_EXIT(B.removeRow(-1), ::testing::ExitedWithCode(1), "\\*\\*\\* FAIL: Invalid row index!\n");
}

TEST(MatrixDeathTest, MalformedText)
{
    EXPECT_EXIT(Matrix<long double>("[ [ 1 2 ] [ 3 4 5 ] ]"), ::testing::ExitedWithCode(1),
                "\\*\\*\\* FAIL: Matrix row dimension mismatch\n");
    EXPECT_EXIT(Matrix<QQ>("[ [ 1 2 ]"), ::testing::ExitedWithCode(1), "\\*\\*\\* FAIL: Matrix: bad input\n");
    EXPECT_EXIT(Matrix<QQ>("[ 1 2 ]"), ::testing::ExitedWithCode(1), "\\*\\*\\* FAIL: Matrix: bad input\n");
    std::istringstream bad("[ ]");
    bad.setstate(std::ios::badbit);
    Matrix<QQ> m;
    EXPECT_EXIT(m.unserialize(bad), ::testing::ExitedWithCode(1), "\\*\\*\\* FAIL: Matrix: bad stream\n");
}

} // namespace
} // namespace latopt
