#include "search/sampling.h"

#include "arith/qq.h"
#include "lattice/found_vectors.h"
#include "lattice/lll_contract.h"

#include "test_seed.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <vector>

namespace latopt {
namespace {

namespace contract = lll_contract;

template <class T>
class Sampling : public ::testing::Test {
};
using LatticeTypes = contract::AllLatticeTypes;
TYPED_TEST_SUITE(Sampling, LatticeTypes);

// The deviations of a set, best first.
template <class R1, class R2>
std::vector<HeuristicDeviation<R1>> deviations(const typename Lattice<R1, R2>::CollectionSet& set)
{
    std::vector<HeuristicDeviation<R1>> result;
    for (auto* element = set.last; element != nullptr; element = element->previous)
        result.push_back(element->deviation);
    return result;
}

// Every vector of the set is one the gate proves a lattice vector, unchanged.
template <class R1, class R2>
bool allInLattice(Lattice<R1, R2>& lattice, const typename Lattice<R1, R2>::CollectionSet& set)
{
    for (auto* element = set.last; element != nullptr; element = element->previous) {
        Vector<R1> proved;
        if (!lattice.containsVector(*element, proved) || !(proved == *element)) return false;
    }
    return true;
}

// Sampling on the lattice of a small program offers exactly the vectors asked for, or one when
// the stop request says so at once, and what it offers is proved to lie in the lattice (the gate
// collects it; the points it accepts are feasible). Sieving then never makes the i-th best vector
// of a set worse, and leaves lattice vectors only.
TYPED_TEST(Sampling, SamplesAndSievesLatticeVectors)
{
    using R1 = typename TypeParam::R1;
    using R2 = typename TypeParam::R2;
    const unsigned long long seed = test::testSeed();
    SCOPED_TRACE(test::seedTrace(seed));
    std::srand(static_cast<unsigned>(seed));
    std::mt19937_64 random(seed);
    auto lattice = test::embeddedSmallProgram<Lattice<R1, R2>>();
    lattice->params.sieve = true;
    EXPECT_EQ(sampleVectors(*lattice, 0, nullptr), 0);
    EXPECT_EQ(sampleVectors(*lattice, 40, [] { return true; }), 1);
    const long collected = lattice->collectedCount;
    EXPECT_EQ(sampleVectors(*lattice, 200, nullptr), 200);
    EXPECT_GT(lattice->collectedCount, collected);
    for (long i = 1; i <= lattice->solutions.dimension(); ++i) {
        Vector<R1> x;
        lattice->lat2opt(lattice->solutions[i], x, true, false);
        EXPECT_TRUE(test::feasible({static_cast<long>(contract::exactValue(x[1]).toDblRounded()),
                                    static_cast<long>(contract::exactValue(x[2]).toDblRounded()),
                                    static_cast<long>(contract::exactValue(x[3]).toDblRounded())}));
    }
    // Points far outside the box and differences of such points fill both sets with material.
    std::uniform_int_distribution<long> entry(-9, 12);
    for (long round = 0; round < 30; ++round) {
        const test::Point a = {entry(random), entry(random), entry(random)};
        const test::Point b = {entry(random), entry(random), entry(random)};
        const Vector<R1> u = test::latticeVector(*lattice, a), w = test::latticeVector(*lattice, b);
        lattice->checkSolution(u, false, 0, false);
        lattice->checkSolution(u - w, false, 0, false);
    }
    const auto good = deviations<R1, R2>(lattice->goodVectors);
    const auto best = deviations<R1, R2>(lattice->bestVectors);
    ASSERT_GT(good.size(), 1U);
    ASSERT_GT(best.size(), 1U);
    EXPECT_GT(sieveCollections(*lattice, nullptr), 0);
    const auto goodAfter = deviations<R1, R2>(lattice->goodVectors);
    const auto bestAfter = deviations<R1, R2>(lattice->bestVectors);
    ASSERT_GE(goodAfter.size(), good.size());
    ASSERT_GE(bestAfter.size(), best.size());
    for (size_t i = 0; i < good.size(); ++i)
        EXPECT_FALSE(good[i] < goodAfter[i]) << "homogenous vector " << i + 1;
    for (size_t i = 0; i < best.size(); ++i)
        EXPECT_FALSE(best[i] < bestAfter[i]) << "inhomogenous vector " << i + 1;
    EXPECT_TRUE(allInLattice(*lattice, lattice->goodVectors));
    EXPECT_TRUE(allInLattice(*lattice, lattice->bestVectors));
}

// Re-insertion of a random primitive vector of a lattice of even entries (bestVector, with another
// one in bestVectors) makes it (up to its sign) row 1, kept there by the deep reduction after it,
// and keeps the lattice: U = TT[1] and the U solved from the bases are integral and unimodular. A vector with
// an odd entry lies outside that lattice and leaves B as it is.
TYPED_TEST(Sampling, ReinsertionKeepsTheLatticeAndPutsTheVectorFirst)
{
    using R1 = typename TypeParam::R1;
    using R2 = typename TypeParam::R2;
    const unsigned long long seed = test::testSeed();
    SCOPED_TRACE(test::seedTrace(seed));
    std::mt19937_64 random(seed);
    std::uniform_int_distribution<long> coefficient(-3, 3);
    for (long round = 0; round < test::rounds(4); ++round) {
        const long d = 3 + round;
        Matrix<QQ> input = contract::uniformBasis(random, d, d + 1, 4);
        for (long i = 1; i <= d; ++i)
            for (long j = 1; j <= d + 1; ++j)
                input[i][j] = input[i][j] * QQ(2);
        SCOPED_TRACE(input.toString());
        const Matrix<R1> basis(input);
        Lattice<R1, R2> lattice(&basis);
        lattice.offerCandidates = false;
        lattice.params.consistency = true;
        lattice.params.deep = true;
        lattice.lllStepBudget = 1L << 40;
        lattice.lll(1, 0, 0);
        Vector<R1> v(d + 1), other(d + 1);
        for (long i = 1; i <= d; ++i) {
            const long x = i == d ? 1 : coefficient(random), y = i == 1 ? 1 : coefficient(random);
            for (long j = 1; j <= d + 1; ++j) {
                v[j] += R1(x) * lattice.B[i][j];
                other[j] += R1(y) * lattice.B[i][j];
            }
        }
        Vector<R1> outside = v;
        outside[1] += R1(1);
        static_cast<Vector<R1>&>(lattice.bestVector) = outside;
        const Matrix<R1> kept = lattice.B;
        EXPECT_FALSE(reinsertBestVectors(lattice, nullptr));
        EXPECT_TRUE(contract::exactMatrix(lattice.B) == contract::exactMatrix(kept));

        static_cast<Vector<R1>&>(lattice.bestVector) = v;
        lattice.bestVectors.insert(HeuristicVector<R1, R2>(
            TimeVector<R1>(other, 0), HeuristicDeviation<R1>(DEVIATION_INHOMOGENOUS, false)));
        reinsertBestVectors(lattice, nullptr);
        EXPECT_TRUE(lattice.B[1] == v || lattice.B[1] == -v) << lattice.B.toString();
        const contract::Rows in = contract::exactMatrix(input), out = contract::exactMatrix(lattice.B);
        const contract::Rows u = contract::exactMatrix(lattice.TT[1]);
        EXPECT_TRUE(contract::transformHolds(in, out, &u));
        EXPECT_TRUE(contract::transformHolds(in, out, nullptr));
    }
}

} // namespace
} // namespace latopt
