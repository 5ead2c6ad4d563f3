#include "linalg/matrix.h"

#include "arith/qq.h"
#include "linalg/hermite_form.h"
#include "linalg/random_entries.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <string>

namespace latopt {
namespace {

using testing_support::expectFail;
using testing_support::hermiteForm;
using testing_support::identity;
using testing_support::rounds;
using testing_support::same;
using testing_support::seedTrace;
using testing_support::testSeed;
using testing_support::written;

// Small integer rows, some of them integer combinations of rows before them.
Matrix<QQ> randomRows(std::mt19937_64& random, long rows, long cols)
{
    std::uniform_int_distribution<long> small(-5, 5);
    Matrix<QQ> B(rows, cols);
    for (long i = 1; i <= rows; ++i) {
        const bool dependent = i > 1 && random() % 4 == 0;
        for (long j = 1; j <= cols; ++j)
            B[i][j] = dependent ? QQ(0) : QQ(small(random));
        if (dependent)
            for (long k = 1; k < i; ++k) {
                const QQ factor(small(random) / 2);
                for (long j = 1; j <= cols; ++j)
                    B[i][j] = B[i][j] + factor * B[k][j];
            }
    }
    return B;
}

// Independent rows (at most as many as columns), then integer combinations of them.
Matrix<QQ> independentThenDependent(std::mt19937_64& random, long rows, long cols)
{
    const long independent = 1 + random() % std::min(rows, cols);
    Matrix<QQ> B;
    do
        B = randomRows(random, independent, cols);
    while (hermiteForm(B).rowCount < independent);
    const Matrix<QQ> combinations =
        randomRows(random, rows - independent, independent).rows(1, rows - independent);
    B.setDimensions(rows, cols, false);
    for (long i = 1; i <= rows - independent; ++i)
        B[independent + i] = Vector<QQ>(combinations[i]) * B.rows(1, independent);
    return B;
}

// The first row that depends on the rows before it, by the rank of the leading rows; 0 if none.
long firstDependentRow(const Matrix<QQ>& B)
{
    for (long k = 1; k <= B.rowCount; ++k)
        if (hermiteForm(B.rows(1, k)).rowCount < k) return k;
    return 0;
}

long double magnitude(const long double& x)
{
    return fabsl(x);
}

long double magnitude(const QQ& x)
{
    return fabsl(Math::abs(x).toDbl());
}

// Every entry of A within tolerance of B.
template <class U>
::testing::AssertionResult near(const Matrix<U>& A, const Matrix<U>& B, long double tolerance)
{
    if (A.rowCount != B.rowCount || A.colCount != B.colCount)
        return ::testing::AssertionFailure() << "shapes";
    for (long i = 1; i <= A.rowCount; ++i)
        for (long j = 1; j <= A.colCount; ++j)
            if (magnitude(A[i][j] - B[i][j]) > tolerance)
                return ::testing::AssertionFailure()
                       << "entry " << i << ", " << j << ": " << A[i][j] << " against " << B[i][j];
    return ::testing::AssertionSuccess();
}

template <class R, class U>
struct TypePair {
    using Input = R;
    using Output = U;
};

template <class P>
class Lq : public ::testing::Test {
};
using Pairs = ::testing::Types<TypePair<QQ, QQ>, TypePair<QQ, long double>, TypePair<long double, QQ>,
                               TypePair<long double, long double>>;
TYPED_TEST_SUITE(Lq, Pairs);

// Modified Gram-Schmidt on random rows: B = L Q (exactly in QQ), L unit lower triangular, the
// rows of Q orthogonal with squared lengths d, the first dependent row found; a restart at any
// row up to there, from the stages of the first run, gives the same factors.
TYPED_TEST(Lq, ReducedFactorsOrthogonallyAndRestartsFromKeptStages)
{
    using R = typename TypeParam::Input;
    using U = typename TypeParam::Output;
    const unsigned long long seed = testSeed();
    SCOPED_TRACE(seedTrace(seed));
    std::mt19937_64 random(seed + 3);
    for (long round = 0; round < rounds(40); ++round) {
        const Matrix<QQ> exact = randomRows(random, 1 + random() % 6, 1 + random() % 7);
        SCOPED_TRACE(written(exact));
        const Matrix<R> B(exact);
        Matrix<U> L, Q;
        Array<Matrix<U>> P;
        Vector<U> d;
        const long dependent = B.lq_reduced(L, Q, P, d, 1, 0);
        ASSERT_EQ(dependent, firstDependentRow(exact));
        const long complete = dependent == 0 ? B.rowCount : dependent - 1;
        for (long j = 1; j <= complete; ++j) {
            EXPECT_TRUE(same(Q[j] * Q[j], d[j]));
            Vector<U> sum(B.colCount);
            for (long k = 1; k <= complete; ++k) {
                if (k >= j) {
                    EXPECT_TRUE(same(L[j][k], k == j ? Constant<U>::ONE() : Constant<U>::ZERO()));
                }
                if (k != j) {
                    EXPECT_TRUE(same(Q[j] * Q[k], Constant<U>::ZERO()));
                }
                for (long col = 1; col <= B.colCount; ++col)
                    sum[col] = sum[col] + L[j][k] * Q[k][col];
            }
            EXPECT_TRUE(same(sum, Vector<U>(Matrix<U>(exact)[j])));
        }
        const Matrix<U> L1(L), Q1(Q);
        const Vector<U> d1(d);
        const long last = dependent == 0 ? B.rowCount : dependent;
        const long kk = 1 + random() % last;
        EXPECT_EQ(B.lq_reduced(L, Q, P, d, kk, 0), dependent) << "restart at " << kk;
        EXPECT_TRUE(same(L.rows(1, complete), L1.rows(1, complete)));
        EXPECT_TRUE(same(Q.rows(1, complete), Q1.rows(1, complete)));
        for (long k = 1; k <= complete; ++k)
            EXPECT_TRUE(same(d[k], d1[k]));
    }
}

// Householder on random rows, more rows than columns too: B = L Q within tolerance, Q
// orthonormal, L lower triangular; a restart gives the same factors. The rank counts the nonzero
// diagonal entries among the first min(rows, cols) rows: without pivoting that is the rank of B
// when its dependent rows follow the independent ones, as here, and a tall matrix of full column
// rank has rank cols, not its row count.
TYPED_TEST(Lq, FullFactorsOrthonormallyWithTheRankAndRestarts)
{
    using R = typename TypeParam::Input;
    using U = typename TypeParam::Output;
    const unsigned long long seed = testSeed();
    SCOPED_TRACE(seedTrace(seed));
    std::mt19937_64 random(seed + 5);
    for (long round = 0; round < rounds(30); ++round) {
        const Matrix<QQ> exact = independentThenDependent(random, 1 + random() % 6, 1 + random() % 6);
        SCOPED_TRACE(written(exact));
        const Matrix<R> B(exact);
        Matrix<U> L, Q;
        Array<Matrix<U>> P;
        const long rank = B.lq_full(L, Q, P, 1, 0);
        EXPECT_EQ(rank, hermiteForm(exact).rowCount);
        ASSERT_TRUE(L.rowCount == B.rowCount && L.colCount == B.colCount && Q.rowCount == B.colCount);
        EXPECT_TRUE(near(L * Q, Matrix<U>(exact), 1e-8L));
        EXPECT_TRUE(near(Q * Q.transpose(), identity<U>(Q.rowCount), 1e-8L));
        for (long i = 1; i <= L.rowCount; ++i)
            for (long j = i + 1; j <= L.colCount; ++j)
                EXPECT_EQ(L[i][j], Constant<U>::ZERO());
        const Matrix<U> L1(L), Q1(Q);
        const long kk = 1 + random() % B.rowCount;
        EXPECT_EQ(B.lq_full(L, Q, P, kk, 0), rank) << "restart at " << kk;
        EXPECT_TRUE(same(L, L1));
        EXPECT_TRUE(same(Q, Q1));
    }
}

template <class T>
class LqCases : public ::testing::Test {
};
using NumberTypes = ::testing::Types<long double, QQ>;
TYPED_TEST_SUITE(LqCases, NumberTypes);

// A reflector maps its row part onto the first axis and is its own inverse, and a part within the
// tolerance of zero gets the identity.
TYPED_TEST(LqCases, Reflector)
{
    using T = TypeParam;
    Matrix<T> H;
    const Matrix<T> B("[ [ 9 9 9 ] [ 5 3 -4 ] ]");
    B.lq_ps_matrix(H, 2);
    EXPECT_TRUE(near(H, H.transpose(), 1e-15L));
    EXPECT_TRUE(near(H * H, identity<T>(2), 1e-15L));
    EXPECT_TRUE(near(Matrix<T>("[ [ 3 -4 ] ]") * H, Matrix<T>("[ [ -5 0 ] ]"), 1e-15L));
    Matrix<T>("[ [ 0 0 0 ] [ 1 0.0000000001 0.0000000001 ] ]").lq_ps_matrix(H, 2);
    EXPECT_EQ(written(H), "[\n[ 1 0 ]\n[ 0 1 ]\n]");
}

TEST(LqDeathTest, ArgumentErrorsStop)
{
    const Matrix<QQ> B("[ [ 1 2 ] [ 3 4 ] [ 5 6 ] ]");
    Matrix<QQ> L, Q;
    Array<Matrix<QQ>> P;
    Vector<QQ> d;
    expectFail([&] { B.lq_reduced(L, Q, P, d, 0, 0); }, "lq_reduced: kk is invalid \\(< 1\\)");
    expectFail([&] { B.lq_reduced(L, Q, P, d, 1, 4); }, "lq_reduced: end index overflow");
    expectFail([&] { B.lq_reduced(L, Q, P, d, 3, 2); }, "lq_reduced: dimension mismatch");
    expectFail([&] { B.lq_reduced(L, Q, P, d, 2, 0); }, "lq_reduced: no earlier stages to restart from");
    expectFail([&] { B.lq_full(L, Q, P, 0, 0); }, "lq_full: kk is invalid \\(< 1\\)");
    expectFail([&] { B.lq_full(L, Q, P, 1, 4); }, "lq_full: end index overflow");
    expectFail([&] { B.lq_full(L, Q, P, 3, 2); }, "lq_full: dimension mismatch");
    expectFail([&] { B.lq_full(L, Q, P, 2, 0); }, "lq_full: no earlier stages to restart from");
    Matrix<QQ> H;
    expectFail([&] { B.lq_ps_matrix(H, 3); }, "lq_ps_matrix: k is invalid");
}

} // namespace
} // namespace latopt
