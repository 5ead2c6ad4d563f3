// gauss and the solvers built on it: P A = L U with factors of the right form, and rsolve/lsolve
// right exactly when the system is consistent (by the reference rank), in both number types.
#include "linalg/matrix.h"

#include "arith/qq.h"
#include "linalg/elimination_reference.h"
#include "linalg/random_entries.h"

#include <gtest/gtest.h>

#include <cmath>

namespace latopt {
namespace {

using testing_support::randomExactVector;
using testing_support::randomMatrixOfRank;
using testing_support::referenceRank;
using testing_support::rounds;
using testing_support::same;
using testing_support::seedTrace;
using testing_support::testSeed;
using testing_support::toNumbers;

// Elimination on small fractions keeps long doubles within 10^-9 relative.
constexpr long double TOLERANCE = 1e-9L;

template <class T>
class Gauss : public ::testing::Test {
};
using NumberTypes = ::testing::Types<long double, QQ>;
TYPED_TEST_SUITE(Gauss, NumberTypes);

// Random shapes and ranks: permutation is a permutation, L is unit lower, U upper, P A = L U. The
// rank counts the columns whose pivot lands on the diagonal: never above the true rank, and equal
// to it when the columns are independent.
TYPED_TEST(Gauss, FactorsReproduceThePermutedMatrix)
{
    using T = TypeParam;
    const unsigned long long seed = testSeed();
    SCOPED_TRACE(seedTrace(seed));
    std::mt19937_64 random(seed + 51);
    for (long round = 0; round < rounds(60); ++round) {
        const long m = 1 + round % 5, n = 1 + (round / 5) % 5;
        const Matrix<QQ> exactA = randomMatrixOfRank<T>(random, m, n, 1 + round % 3);
        const Matrix<T> A = toNumbers<T>(exactA);
        Matrix<T> L, U;
        Array<long> permutation;
        const long rank = A.gauss(L, U, permutation);
        const long trueRank = referenceRank(exactA);
        EXPECT_LE(rank, trueRank) << "round " << round;
        if (trueRank == n) {
            EXPECT_EQ(rank, n) << "round " << round;
        }
        ASSERT_TRUE(L.rowCount == m && L.colCount == n && U.rowCount == n && U.colCount == n);
        ASSERT_EQ(permutation.MN, m);
        Matrix<T> PA(m, n);
        std::vector<bool> seen(m + 1, false);
        for (long i = 1; i <= m; ++i) {
            ASSERT_TRUE(permutation[i] >= 1 && permutation[i] <= m && !seen[permutation[i]]);
            seen[permutation[i]] = true;
            PA[i] = A[permutation[i]];
            for (long j = i; j <= n; ++j)
                EXPECT_TRUE(L[i][j] == (i == j ? Constant<T>::ONE() : Constant<T>::ZERO()));
        }
        for (long i = 2; i <= n; ++i)
            for (long j = 1; j < i; ++j)
                EXPECT_TRUE(U[i][j] == Constant<T>::ZERO());
        EXPECT_TRUE(same(L * U, PA, TOLERANCE)) << "round " << round;
        long pivots = 0;
        for (long j = 1; j <= n; ++j)
            pivots += U[j][j] == Constant<T>::ZERO() ? 0 : 1;
        EXPECT_EQ(rank, pivots) << "round " << round;
    }
}

// rsolve and lsolve refuse every inconsistent system (rank A < rank [A | b], of A transposed for
// lsolve), solve every consistent one whose columns are independent, and whatever they accept
// they solve. (With dependent columns a pivot can miss the diagonal, and a consistent system may
// be refused.)
TYPED_TEST(Gauss, SolversAreRightExactlyWhenConsistent)
{
    using T = TypeParam;
    const unsigned long long seed = testSeed();
    SCOPED_TRACE(seedTrace(seed));
    std::mt19937_64 random(seed + 52);
    for (long round = 0; round < rounds(60); ++round) {
        const long m = 1 + round % 4, n = 1 + (round / 4) % 4;
        const bool left = round % 3 == 0;
        const Matrix<QQ> exactA = randomMatrixOfRank<T>(random, m, n, 1 + round % 4);
        const long equations = left ? n : m, unknowns = left ? m : n;
        const Matrix<QQ> system = left ? exactA.transpose() : exactA; // system x = b either way
        // Half of the right sides lie in the column space.
        const Vector<QQ> exactB = round % 2 == 0 ? system * randomExactVector<T>(random, unknowns)
                                                 : randomExactVector<T>(random, equations);
        Matrix<QQ> augmented(equations, unknowns + 1);
        for (long i = 1; i <= equations; ++i) {
            for (long j = 1; j <= unknowns; ++j)
                augmented[i][j] = system[i][j];
            augmented[i][unknowns + 1] = exactB[i];
        }
        const bool consistent = referenceRank(system) == referenceRank(augmented);
        const Matrix<T> A = toNumbers<T>(exactA);
        const Vector<T> b = toNumbers<T>(exactB);
        Vector<T> x;
        const bool solved = left ? A.lsolve(b, x, false) : A.rsolve(b, x, false);
        if (!consistent) {
            EXPECT_FALSE(solved) << "round " << round;
        }
        if (consistent && referenceRank(system) == unknowns) {
            EXPECT_TRUE(solved) << "round " << round;
        }
        if (!solved) continue;
        ASSERT_EQ(x.MN, unknowns);
        const Vector<T> product = left ? x * A : A * x;
        for (long i = 1; i <= equations; ++i)
            EXPECT_TRUE(same(product[i], b[i], TOLERANCE)) << "round " << round << ", entry " << i;
    }
}

// A column without a pivot in long double leaves exact zeros: [[1, 1], [1, 1 + 10^-12]] has
// rank 1, U[2][2] is exactly 0 (not 10^-12, which back substitution would divide by), and the
// system with right side [2, 2] is solved with the free variable 0. toInteger rounds a solution;
// a rounded one that misses the system is refused.
TEST(GaussExactZeros, SkippedColumnLeavesExactZeros)
{
    Matrix<long double> A(2, 2), L, U;
    A[1][1] = A[1][2] = A[2][1] = 1;
    A[2][2] = 1 + 1e-12L;
    Array<long> permutation;
    EXPECT_EQ(A.gauss(L, U, permutation), 1);
    EXPECT_EQ(U[2][2], 0.0L);
    EXPECT_EQ(L[2][1], 1.0L);
    Vector<long double> x;
    ASSERT_TRUE(A.rsolve(Vector<long double>("[ 2 2 ]"), x, false));
    EXPECT_EQ(x[1], 2.0L);
    EXPECT_EQ(x[2], 0.0L);

    const Matrix<QQ> B("[ [ 2 0 ] [ 0 4 ] ]");
    Vector<QQ> y;
    EXPECT_TRUE(B.rsolve(Vector<QQ>("[ 4 8 ]"), y, true));
    EXPECT_FALSE(B.rsolve(Vector<QQ>("[ 4 6 ]"), y, true));
    EXPECT_TRUE(B.rsolve(Vector<QQ>("[ 4 6 ]"), y, false));
}

} // namespace
} // namespace latopt
