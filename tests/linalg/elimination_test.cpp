// Echelon forms, the kernel basis and solve, determinant and unimodularity, against the plain
// references of elimination_reference.h, in both number types.
#include "linalg/matrix.h"

#include "arith/math.h"
#include "arith/precision.h"
#include "arith/qq.h"
#include "base/exceptions.h"
#include "linalg/elimination_reference.h"
#include "linalg/random_entries.h"

#include <gtest/gtest.h>

#include <cmath>

namespace latopt {
namespace {

using testing_support::cofactorDeterminant;
using testing_support::expectFail;
using testing_support::randomExactVector;
using testing_support::randomMatrixOfRank;
using testing_support::referenceRank;
using testing_support::referenceRref;
using testing_support::rounds;
using testing_support::same;
using testing_support::seedTrace;
using testing_support::testSeed;
using testing_support::toNumbers;

// Elimination on small fractions keeps long doubles within 10^-9 relative.
constexpr long double TOLERANCE = 1e-9L;

template <class T>
T fromExact(const QQ& x)
{
    return testing_support::toNumber(x, static_cast<T*>(nullptr));
}

template <class T>
class Elimination : public ::testing::Test {
};
using NumberTypes = ::testing::Types<long double, QQ>;
TYPED_TEST_SUITE(Elimination, NumberTypes);

// Random shapes and ranks, fractions and integers: the reduced form and its pivots equal the reference (the
// form is unique); Tr A = R; the rank is right; Nr spans the kernel. The plain form is an echelon form with
// Tr A = it, and the sign of its result is the sign of det(Tr).
TYPED_TEST(Elimination, EchelonFormsAgreeWithReference)
{
    using T = TypeParam;
    const unsigned long long seed = testSeed();
    SCOPED_TRACE(seedTrace(seed));
    std::mt19937_64 random(seed + 41);
    for (long round = 0; round < rounds(60); ++round) {
        const long m = 1 + round % 5, n = 1 + (round / 5) % 5, r = 1 + round % 3;
        const Matrix<QQ> drawn = randomMatrixOfRank<T>(random, m, n, r);
        const Matrix<QQ> exactA = round % 2 == 0 ? drawn : testing_support::integerMultiple(drawn);
        const Matrix<T> A = toNumbers<T>(exactA);
        const testing_support::ReferenceForm reference = referenceRref(exactA);
        const long rank = static_cast<long>(reference.pivots.size());
        Matrix<T> R(A), Tr, Nr;
        Array<long> pivots;
        const long result = R.normierte_zeilenstufenform(Tr, Nr, pivots);
        EXPECT_EQ(std::labs(result), rank);
        EXPECT_TRUE(same(R, toNumbers<T>(reference.R), TOLERANCE));
        EXPECT_TRUE(same(Tr * A, R, TOLERANCE));
        ASSERT_EQ(pivots.MN, rank);
        for (long i = 1; i <= rank; ++i)
            EXPECT_EQ(pivots[i], reference.pivots[i - 1]);
        ASSERT_EQ(Nr.rowCount, n - rank);
        if (n > rank) {
            EXPECT_TRUE(same(A * Nr.transpose(), Matrix<T>(m, n - rank), TOLERANCE));
        }

        Matrix<T> E(A), S;
        const long signedRank = E.row_echelon_form(S, false);
        EXPECT_EQ(std::labs(signedRank), rank);
        EXPECT_TRUE(same(S * A, E, TOLERANCE));
        long previous = 0;
        for (long i = 1; i <= m; ++i) {
            long leading = 1;
            while (leading <= n && Precision::equalsZero(E[i][leading], false))
                ++leading;
            EXPECT_GT(leading, i > rank ? n : previous) << "row " << i;
            previous = leading;
        }
        // Tr of the plain form is a product of exchanges and unit lower eliminations.
        const T detTr = cofactorDeterminant(S);
        EXPECT_TRUE(same(Math::abs(detTr), Constant<T>::ONE(), TOLERANCE));
        if (rank > 0) {
            EXPECT_EQ(signedRank < 0, detTr < Constant<T>::ZERO());
        }
    }
}

// determinant against cofactor expansion, on full-rank and singular matrices; unimodularCheck
// against |det| = 1 on integer matrices, among them products of integer shears and exchanges.
TYPED_TEST(Elimination, DeterminantAgreesWithCofactorExpansion)
{
    using T = TypeParam;
    const unsigned long long seed = testSeed();
    SCOPED_TRACE(seedTrace(seed));
    std::mt19937_64 random(seed + 42);
    std::uniform_int_distribution<long> small(-3, 3);
    for (long round = 0; round < rounds(40); ++round) {
        const long n = 1 + round % 5;
        const Matrix<QQ> exactA = randomMatrixOfRank<T>(random, n, n, round % 4 == 0 ? n - 1 : n);
        const Matrix<T> A = toNumbers<T>(exactA);
        const QQ expected = cofactorDeterminant(exactA);
        const T computed = A.determinant();
        EXPECT_TRUE(same(computed, fromExact<T>(expected), TOLERANCE)) << "n = " << n;
        if (expected.isZero()) {
            EXPECT_TRUE(computed == Constant<T>::ZERO());
        }

        Matrix<T> U(n, n);
        for (long i = 1; i <= n; ++i)
            U[i][i] = Constant<T>::ONE();
        for (long step = 0; step < 3 * n; ++step) {
            const long i = 1 + static_cast<long>(random() % n), j = 1 + static_cast<long>(random() % n);
            if (i == j)
                U.swapRows(i, 1 + (i % n));
            else
                for (long c = 1, factor = small(random); c <= n; ++c)
                    U[i][c] = U[i][c] + U[j][c] * T(factor);
        }
        Matrix<T> B(n, n);
        for (long i = 1; i <= n; ++i)
            for (long j = 1; j <= n; ++j)
                B[i][j] = T(small(random));
        for (const Matrix<T>* M : {&U, &B}) {
            T determinant;
            const T exact = cofactorDeterminant(*M); // of integers: exact in long double too
            EXPECT_EQ(M->unimodularCheck(determinant), Math::abs(exact) == Constant<T>::ONE());
            // The determinant of the last row order tried: its sign may differ.
            EXPECT_TRUE(same(Math::abs(determinant), Math::abs(exact), TOLERANCE));
        }
    }
}

// The counted exchange of the pivot search: [[1, 0], [2, 1]] has determinant 1 (the row with the
// greater leading entry is exchanged into first place). A zero matrix has rank 0, Tr the identity.
TYPED_TEST(Elimination, SignFollowsEveryExchange)
{
    using T = TypeParam;
    EXPECT_TRUE(Matrix<T>("[ [ 1 0 ] [ 2 1 ] ]").determinant() == Constant<T>::ONE());
    EXPECT_TRUE(Matrix<T>("[ [ 0 1 ] [ 1 0 ] ]").determinant() == -Constant<T>::ONE());
    Matrix<T> Z(2, 3), Tr;
    EXPECT_EQ(Z.row_echelon_form(Tr, true), 0);
    EXPECT_TRUE(same(Tr, Matrix<T>("[ [ 1 0 ] [ 0 1 ] ]"), TOLERANCE));
    EXPECT_TRUE(Matrix<T>(3, 3).determinant() == Constant<T>::ZERO());
}

// The transformation of an LLL run on a ten-row knapsack basis: unimodular, entries of two
// digits, but the last pivot of its elimination in long double is 4e-11, below the zero tolerance
// (the checkpoint of the transformation stack took it for singular).
TYPED_TEST(Elimination, UnimodularCheckOfATenRowTransformation)
{
    using T = TypeParam;
    const Matrix<T> U(
        "[ [ 0 -6 0 -10 -8 4 8 5 3 5 ] [ 0 8 -6 -8 -8 8 0 4 -2 -3 ] [ -6 3 1 0 7 -6 11 -7 -2 -2 ]"
        " [ -11 7 -7 8 -4 -2 -9 6 1 -3 ] [ -7 -1 -1 6 2 3 -10 2 -6 12 ] [ 5 3 16 0 -1 -8 -1 -2 -1 -7 ]"
        " [ 1 5 -4 1 -19 -8 3 -4 -1 -2 ] [ -1 1 -12 6 -5 -6 2 4 -13 -7 ] [ -7 8 4 -11 -2 -6 -3 3 1 10 ]"
        " [ 1 -8 -11 0 0 -11 -3 9 1 4 ] ]");
    T determinant;
    EXPECT_TRUE(U.unimodularCheck(determinant));
    EXPECT_TRUE(determinant == Constant<T>::ONE());
}

// solve gives A x = b whenever rank A = rank [A | b], and false otherwise.
TYPED_TEST(Elimination, SolveIsRightExactlyWhenConsistent)
{
    using T = TypeParam;
    const unsigned long long seed = testSeed();
    SCOPED_TRACE(seedTrace(seed));
    std::mt19937_64 random(seed + 43);
    for (long round = 0; round < rounds(40); ++round) {
        const long m = 1 + round % 4, n = 1 + (round / 4) % 4;
        const Matrix<QQ> exactA = randomMatrixOfRank<T>(random, m, n, 1 + round % 2);
        // Half of the right sides lie in the column space.
        const Vector<QQ> exactB =
            round % 2 == 0 ? exactA * randomExactVector<T>(random, n) : randomExactVector<T>(random, m);
        const Matrix<T> A = toNumbers<T>(exactA);
        const Vector<T> b = toNumbers<T>(exactB);
        Matrix<QQ> augmented(m, n + 1);
        for (long i = 1; i <= m; ++i) {
            for (long j = 1; j <= n; ++j)
                augmented[i][j] = exactA[i][j];
            augmented[i][n + 1] = exactB[i];
        }
        const bool consistent = referenceRank(exactA) == referenceRank(augmented);
        Matrix<T> Tr;
        Vector<T> x;
        ASSERT_EQ(A.solve(Tr, x, b), consistent) << "round " << round;
        if (!consistent) continue;
        ASSERT_EQ(x.MN, n);
        const Vector<T> product = A * x;
        for (long i = 1; i <= m; ++i)
            EXPECT_TRUE(same(product[i], b[i], TOLERANCE));
    }
}

// Exact data is decided exactly: [[10^10, 1], [1, 0]] has rank 2 in QQ, and a right side that
// misses consistency by 10^-10 has no solution. In long double the same matrix is within the
// tolerance of the echelon form too, but the tiny difference is not.
TEST(EliminationExact, TinyAgainstHugeIsNotZero)
{
    Matrix<QQ> A("[ [ 10000000000 1 ] [ 1 0 ] ]"), Tr;
    EXPECT_EQ(std::labs(Matrix<QQ>(A).row_echelon_form(Tr, true)), 2);
    EXPECT_EQ(A.determinant(), QQ(-1));
    Vector<QQ> x;
    EXPECT_FALSE(Matrix<QQ>("[ [ 1 ] [ 1 ] ]").solve(Tr, x, Vector<QQ>("[ 1 1.0000000001 ]")));
    Matrix<long double> standardTr;
    Vector<long double> standardX;
    EXPECT_TRUE(Matrix<long double>("[ [ 1 ] [ 1 ] ]")
                    .solve(standardTr, standardX, Vector<long double>("[ 1 1.0000000001 ]")));
}

// In long double a multiplier or pivot beyond the trusted range throws for the exact redo; QQ
// has no such range. A determinant of a non-square matrix is fatal.
TEST(EliminationFailures, OverflowsThrowAndShapesStop)
{
    for (const char* text : {"[ [ 1 10000000000 ] [ 0 1 ] ]", "[ [ 10000000000 ] ]"}) {
        SCOPED_TRACE(text);
        Matrix<long double> A(text), Tr;
        EXPECT_THROW(A.row_echelon_form(Tr, true), PrecisionException);
        Matrix<long double> B(text);
        EXPECT_NO_THROW(B.row_echelon_form(Tr, false));
        Matrix<QQ> exact(text), exactTr;
        EXPECT_NO_THROW(exact.row_echelon_form(exactTr, true));
    }
    try {
        Matrix<long double> A("[ [ 1 10000000000 ] [ 0 1 ] ]"), Tr;
        A.row_echelon_form(Tr, true);
    } catch (const PrecisionException& exception) {
        EXPECT_STREQ(exception.what(), "q overflow");
    }
    try {
        Matrix<long double> A("[ [ 10000000000 ] ]"), Tr;
        A.row_echelon_form(Tr, true);
    } catch (const PrecisionException& exception) {
        EXPECT_STREQ(exception.what(), "q2 overflow");
    }
    expectFail([] { Matrix<QQ>("[ [ 1 2 ] ]").determinant(); },
               "Matrix: a non-quadratic matrix determinant is not defined");
}

} // namespace
} // namespace latopt
