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

// A standalone reduction: no offers, a budget that doesn't cut, lll(1, 0, 0) until every row
// has passed its exchange test. Under consistency TT[1] collects U.
template <class R1, class R2>
void reduceFully(Lattice<R1, R2>& lattice)
{
    lattice.offerCandidates = false;
    for (long call = 0; call < 1000; ++call) {
        lattice.lllStepBudget = 1000000;
        lattice.lll(1, 0, 0);
        bool done = true;
        for (long i = 1; i <= lattice.dimB; ++i)
            done = done && (lattice.rowState[i] & Lattice<R1, R2>::EXCHANGE_TESTED) != 0;
        if (done) return;
    }
    FAIL() << "lll did not finish";
}

template <class T>
class LllInvariants : public ::testing::Test {
};
using LatticeTypes = ::testing::Types<Types<long double, long double>, Types<QQ, long double>, Types<QQ, QQ>>;
TYPED_TEST_SUITE(LllInvariants, LatticeTypes);

// Knapsack, q-ary and uniform bases, deep insertion off and on: the output passes the exact
// checker with U = TT[1] (strictly where the Gram-Schmidt data are exact), and the input did not.
TYPED_TEST(LllInvariants, ReducedBasisPassesExactChecker)
{
    using R1 = typename TypeParam::R1;
    using R2 = typename TypeParam::R2;
    constexpr bool exact = std::is_same_v<R2, QQ>;
    const unsigned long long seed = test::testSeed();
    SCOPED_TRACE(test::seedTrace(seed));
    std::mt19937_64 random(seed);
    const long d = exact ? 7 : 16;
    for (long round = 0; round < test::rounds(2); ++round) {
        const Matrix<QQ> inputs[] = {
            contract::knapsackBasis(random, d, 30),
            contract::qaryBasis(random, d, d / 2, 33554393),
            contract::uniformBasis(random, d, d + 2, 12),
            // Beyond the integers of a long double: only an exact basis can hold it. Deep
            // insertion never shortens its first row of 2^90, which no long double Gram-Schmidt
            // survives, so this one goes without.
            contract::knapsackBasis(random, d, std::is_same_v<R1, QQ> ? 90 : 40),
        };
        for (const Matrix<QQ>& input : inputs) {
            for (bool deep : {false, true}) {
                if (deep && &input == &inputs[3]) continue;
                SCOPED_TRACE(std::string(deep ? "deep " : "") + input.toString());
                const Matrix<R1> basis(input);
                Lattice<R1, R2> lattice(&basis);
                lattice.params.consistency = true;
                lattice.params.deep = deep;
                reduceFully(lattice);
                contract::Options options;
                options.tolerant = !exact;
                options.deep = deep;
                EXPECT_FALSE(contract::reducedHolds(contract::exactMatrix(input),
                                                    contract::exactMatrix(input), options));
                EXPECT_TRUE(contract::lllContract(input, lattice.B, lattice.TT[1], options));
                EXPECT_GT(lattice.exchangeTestCount, 0);
            }
        }
    }
}

// Dependent input: the rows are kept, the dependent ones behind the independent rows and marked;
// U stays unimodular and the independent rows come first. A zero row goes to the back too. After
// a blending the call is careful, so |mu| > 1/2 may remain: the exchange condition is what holds.
TYPED_TEST(LllInvariants, DependentRowsGoBehindTheIndependentOnes)
{
    using R1 = typename TypeParam::R1;
    using R2 = typename TypeParam::R2;
    const Matrix<QQ> inputs[] = {
        Matrix<QQ>("[ [ 3 1 4 1 5 ] [ 7 0 2 5 1 ] [ 10 1 6 6 6 ] [ 2 7 1 8 2 ] [ 5 2 8 2 9 ] ]"),
        Matrix<QQ>("[ [ 0 0 0 ] [ 4 1 3 ] [ 1 5 9 ] ]"),
    };
    const size_t independent[] = {4, 2};
    for (int c = 0; c < 2; ++c) {
        const Matrix<QQ>& input = inputs[c];
        SCOPED_TRACE(input.toString());
        const Matrix<R1> basis(input);
        Lattice<R1, R2> lattice(&basis);
        lattice.params.consistency = true;
        lattice.offerCandidates = false;
        lattice.lllStepBudget = 1000000;
        lattice.lll(1, 0, 0);
        const Matrix<QQ> u(lattice.TT[1]);
        EXPECT_EQ(u * input, Matrix<QQ>(lattice.B));
        const QQ det = u.determinant();
        EXPECT_TRUE(det == QQ(1) || det == QQ(-1));
        const contract::GramSchmidt gs = contract::gramSchmidt(contract::exactMatrix(lattice.B));
        EXPECT_EQ(gs.rank, independent[c]);
        for (size_t k = 1; k < gs.rank; ++k) {
            const QQ left = gs.norm[k] + gs.mu[k][k - 1] * gs.mu[k][k - 1] * gs.norm[k - 1];
            EXPECT_GE(left, (Constant<QQ>::DELTA() - QQ(ZZ(1), ZZ(1000000))) * gs.norm[k - 1]) << k;
        }
        for (long i = static_cast<long>(independent[c]) + 1; i <= lattice.dimB; ++i)
            EXPECT_EQ(lattice.rowState[i], (Lattice<R1, R2>::ROW_DEPENDENT)) << "row " << i;
        EXPECT_FALSE(lattice.rowState.allowPostCommaLoss); // no dependency marks kept after lll
    }
}

using ExactLattice = Lattice<QQ, QQ>;
using FastLattice = Lattice<long double, long double>;

TEST(LllEdges, CoefficientOfExactlyOneHalfStaysAndOneRowIsLeftAlone)
{
    const Matrix<long double> basis("[ [ 2 0 ] [ 1 5 ] [ -1 3 ] ]");
    FastLattice lattice(&basis);
    lattice.offerCandidates = false;
    lattice.lll(1, 2, 0);
    EXPECT_EQ(lattice.B[2], Vector<long double>("[ 1 5 ]"));
    const Matrix<long double> single("[ [ 4 -6 ] ]");
    FastLattice one(&single);
    one.offerCandidates = false;
    EXPECT_EQ(one.lll(1, 0, 0), 1);
    EXPECT_EQ(one.B[1], single[1]);
    EXPECT_EQ(one.deep_reduce(1), 2);
    EXPECT_EQ(one.lovasz_reduce(1), 2);
    EXPECT_NE(one.rowState[1] & FastLattice::EXCHANGE_TESTED, 0);
}

// An empty interval costs one step of budget and touches nothing; a budget of zero or less only
// size-reduces (no exchange test) and doesn't recover by itself.
TEST(LllEdges, BudgetSemantics)
{
    std::mt19937_64 random(test::testSeed());
    const Matrix<QQ> input = contract::knapsackBasis(random, 8, 20);
    ExactLattice lattice(&input);
    lattice.offerCandidates = false;
    EXPECT_EQ(lattice.lll(5, 3, 0), 5);
    EXPECT_EQ(lattice.lllStepBudget, 99);
    EXPECT_EQ(lattice.B, input);
    lattice.lllStepBudget = 0;
    lattice.lll(1, 0, 0);
    EXPECT_EQ(lattice.exchangeTestCount, 0);
    EXPECT_LE(lattice.lllStepBudget, 0);
    const contract::GramSchmidt gs = contract::gramSchmidt(contract::exactMatrix(lattice.B));
    for (size_t k = 1; k < gs.mu.size(); ++k)
        for (size_t j = 0; j < k; ++j)
            EXPECT_LE(Math::abs(gs.mu[k][j]), Constant<QQ>::HALF()) << k << " " << j;
    EXPECT_NE(lattice.B, input);
}

// A budgeted call leaves the rest size-reduced; deep insertion never moves row 1 and counts its
// insertions.
TEST(LllEdges, DeepInsertionKeepsTheFirstRowAndIsCounted)
{
    std::mt19937_64 random(test::testSeed());
    const Matrix<QQ> input = contract::knapsackBasis(random, 10, 30);
    const Matrix<long double> basis(input);
    FastLattice lattice(&basis);
    lattice.params.deep = true;
    const long before = FastLattice::statistics.d;
    reduceFully(lattice);
    EXPECT_EQ(lattice.B[1], basis[1]);
    EXPECT_GT(FastLattice::statistics.d, before);
}

// sortEuklid orders by squared length, and each row's value and stage travel with it.
TEST(LllEdges, SortEuklidSortsAscendingWithTheRowValues)
{
    std::mt19937_64 random(test::testSeed());
    const Matrix<QQ> input = contract::uniformBasis(random, 9, 4, 6);
    ExactLattice lattice(&input);
    for (long i = 1; i <= 9; ++i)
        lattice.rowValues[i] = QQ(i);
    lattice.sortEuklid(0);
    for (long i = 1; i <= 9; ++i) {
        const auto from = static_cast<long>(lattice.rowValues[i].integerToDbl());
        EXPECT_EQ(lattice.B[i], input[from]);
        if (i > 1) {
            EXPECT_LE(lattice.B[i - 1] * lattice.B[i - 1], lattice.B[i] * lattice.B[i]);
        }
    }
}

} // namespace
} // namespace latopt
