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

// The deviations of a set, best first; false in ok when the gate does not prove a vector of it
// a lattice vector, unchanged.
template <class R1, class R2>
std::vector<HeuristicDeviation<R1>> deviations(Lattice<R1, R2>& lattice,
                                               const typename Lattice<R1, R2>::CollectionSet& set, bool& ok)
{
    std::vector<HeuristicDeviation<R1>> result;
    for (auto* element = set.last; element != nullptr; element = element->previous) {
        Vector<R1> proved;
        ok = ok && lattice.containsVector(*element, proved) && proved == *element;
        result.push_back(element->deviation);
    }
    return result;
}

// Sampling on the lattice of a small program offers the vectors asked for (one when the stop
// request says so at once), which the gate proves lattice vectors and collects. Sieving then never
// makes the i-th best vector of a set worse, and leaves lattice vectors only.
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
    EXPECT_EQ(sampleVectors(*lattice, 40, [] { return true; }), 1);
    const long collected = lattice->collectedCount;
    EXPECT_EQ(sampleVectors(*lattice, 200, nullptr), 200);
    EXPECT_GT(lattice->collectedCount, collected);
    // Points far outside the box, and differences of such points, as material for both sets.
    std::uniform_int_distribution<long> entry(-9, 12);
    for (long round = 0; round < 30; ++round) {
        const Vector<R1> u = test::latticeVector(*lattice, {entry(random), entry(random), entry(random)});
        lattice->checkSolution(u, false, 0, false);
        lattice->checkSolution(
            u - test::latticeVector(*lattice, {entry(random), entry(random), entry(random)}), false, 0,
            false);
    }
    bool ok = true;
    const auto good = deviations(*lattice, lattice->goodVectors, ok);
    const auto best = deviations(*lattice, lattice->bestVectors, ok);
    ASSERT_TRUE(good.size() > 1 && best.size() > 1);
    EXPECT_GT(sieveCollections(*lattice, nullptr), 0);
    const auto goodAfter = deviations(*lattice, lattice->goodVectors, ok);
    const auto bestAfter = deviations(*lattice, lattice->bestVectors, ok);
    EXPECT_TRUE(ok);
    ASSERT_TRUE(goodAfter.size() >= good.size() && bestAfter.size() >= best.size());
    for (size_t i = 0; i < good.size(); ++i)
        EXPECT_FALSE(good[i] < goodAfter[i]) << "homogenous vector " << i + 1;
    for (size_t i = 0; i < best.size(); ++i)
        EXPECT_FALSE(best[i] < bestAfter[i]) << "inhomogenous vector " << i + 1;
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
        static_cast<Vector<R1>&>(lattice.bestVector) = v;
        lattice.bestVector[1] += R1(1);
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
        EXPECT_TRUE(contract::transformHolds(in, out, &u) && contract::transformHolds(in, out, nullptr));
    }
}

} // namespace
} // namespace latopt
