#include "lattice/lattice.h"

#include "arith/qq.h"
#include "lattice/lll_contract.h"

#include "test_seed.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <type_traits>

namespace latopt {
namespace {

namespace contract = lll_contract;

using contract::Types;

template <class T>
class GramSchmidtData : public ::testing::Test {
};
using LatticeTypes = contract::AllLatticeTypes;
TYPED_TEST_SUITE(GramSchmidtData, LatticeTypes);

// Against the checker's exact Gram-Schmidt from the Gram matrix: the recurrence and the modified
// factorisation give the same mu and gsNorm (exactly where both sides are exact), rowNorm is
// <b_k, b_k>, and the words carry their masks.
TYPED_TEST(GramSchmidtData, BothRoutinesMatchTheExactReference)
{
    using R1 = typename TypeParam::R1;
    using R2 = typename TypeParam::R2;
    using L = Lattice<R1, R2>;
    constexpr bool exact = std::is_same_v<R1, QQ> && std::is_same_v<R2, QQ>;
    const unsigned long long seed = test::testSeed();
    SCOPED_TRACE(test::seedTrace(seed));
    std::mt19937_64 random(seed);
    for (long round = 0; round < test::rounds(4); ++round) {
        const Matrix<QQ> input = contract::uniformBasis(random, 6, 8, 20);
        const contract::GramSchmidt reference = contract::gramSchmidt(contract::exactMatrix(input));
        ASSERT_EQ(reference.rank, 6U);
        const Matrix<R1> basis(input);
        for (bool modified : {false, true}) {
            L lattice(&basis);
            if (modified)
                EXPECT_EQ(lattice.compute_gs_mod(1, 0, true), 0);
            else
                EXPECT_TRUE(lattice.compute_gs_classic(1, 0));
            const short mask = modified ? 22 : 2;
            for (long k = 1; k <= 6; ++k) {
                EXPECT_EQ(lattice.rowState[k], mask);
                EXPECT_EQ(contract::exactValue(lattice.rowNorm[k]), input[k] * input[k]);
                for (long j = 1; j <= 6; ++j) {
                    const QQ expected = j <= k ? reference.mu[k - 1][j - 1] : QQ(0);
                    const QQ got = contract::exactValue(lattice.mu[k][j]);
                    if (exact)
                        EXPECT_EQ(got, expected) << k << " " << j;
                    else
                        EXPECT_LE(Math::abs(QQ(got - expected)), QQ(ZZ(1), ZZ(1000000))) << k << " " << j;
                }
                const QQ norm = contract::exactValue(lattice.gsNorm[k]);
                if (exact)
                    EXPECT_EQ(norm, reference.norm[k - 1]);
                else
                    EXPECT_LE(Math::abs(QQ(norm / reference.norm[k - 1] - QQ(1))), QQ(ZZ(1), ZZ(1000000000)));
            }
        }
    }
}

// A row that depends on the rows before it: the recurrence marks it with the whole word 1 and
// leaves the rows behind it alone; the factorisation reports its index; a current row isn't
// recomputed; empty ranges; zero rows.
TEST(GramSchmidtEdges, DependentRowsAndLaziness)
{
    const Matrix<QQ> basis("[ [ 1 2 0 ] [ 0 1 1 ] [ 1 3 1 ] [ 5 0 1 ] ]");
    Lattice<QQ, long double> lattice(&basis);
    EXPECT_TRUE(lattice.compute_gs_classic(3, 2));
    EXPECT_EQ(lattice.compute_gs_mod(3, 2, true), 0);
    EXPECT_FALSE(lattice.compute_gs_classic(1, 0));
    EXPECT_EQ(lattice.rowState[3], 1);
    EXPECT_EQ(lattice.rowState[4], 0);
    EXPECT_EQ(lattice.compute_gs_mod(1, 0, false), 3);
    // Row 1 is current: a change behind the back of its word goes unseen.
    lattice.B[1][1] = QQ(7);
    EXPECT_TRUE(lattice.compute_gs_classic(1, 2));
    EXPECT_EQ(lattice.gsNorm[1], 5.0L);
    const Matrix<long double> zero("[ [ 0 0 ] [ 1 1 ] ]");
    Lattice<long double, long double> zeroLattice(&zero);
    EXPECT_FALSE(zeroLattice.compute_gs_classic(1, 0));
    EXPECT_EQ(zeroLattice.rowState[1], 1);
    EXPECT_EQ(zeroLattice.compute_gs_mod(1, 0, false), 1);
}

TEST(GramSchmidtEdgesDeathTest, FactorisationStopsOnDependencyWhenAsked)
{
    const Matrix<QQ> basis("[ [ 1 2 ] [ 2 4 ] ]");
    Lattice<QQ, QQ> lattice(&basis);
    EXPECT_EXIT(lattice.compute_gs_mod(1, 0, true), ::testing::ExitedWithCode(1),
                "\\*\\*\\* FAIL: Linear dependency detected - remove these first!");
}

} // namespace
} // namespace latopt
