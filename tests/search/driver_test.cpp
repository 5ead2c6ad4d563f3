// driver_test.cpp: the trimming a search applies after an iteration without progress. It moves
// the box, never the lattice: the untrimmed basis stays as it was, the factors of the columns in
// which the best vector deviates double their growth with every step (1 + 1 + 2 + 4 ...), kept
// across a regenerated lattice, and a translated box is centred on 0.
#include "search/driver.h"

#include "arith/qq.h"
#include "lattice/found_vectors.h"

#include "test_seed.h"

#include <gtest/gtest.h>

#include <random>
#include <set>

namespace latopt {
namespace {

template <class T>
class Trim : public ::testing::Test {
};
using Pairs = ::testing::Types<Lattice<long double, long double>, Lattice<QQ, QQ>>;
TYPED_TEST_SUITE(Trim, Pairs);

TYPED_TEST(Trim, MovesTheBoxNotTheLattice)
{
    using L = TypeParam;
    using R1 = std::remove_reference_t<decltype(std::declval<L>().B[1][1])>;
    const auto seed = test::testSeed();
    std::mt19937_64 random(seed);
    SCOPED_TRACE(test::seedTrace(seed));
    for (long round = 0; round < test::rounds(6); ++round) {
        auto lattice = test::preparedSmallProgram<L>();
        lattice->offerCandidates = false;
        lattice->opt2lat();
        lattice->setTrimming(true, round % 2 == 0);
        const Matrix<R1> untrimmed = lattice->removeTranslationAndScaling(lattice->B);
        // A random lattice vector as the best vector, and the columns in which it deviates.
        Vector<R1> v(lattice->dimN);
        for (long i = 1; i <= lattice->dimB; ++i) {
            const R1 q(static_cast<long>(random() % 7) - 3);
            for (long c = 1; c <= lattice->dimN; ++c)
                v[c] += q * untrimmed[i][c];
        }
        static_cast<Vector<R1>&>(lattice->bestVector) = v;
        std::set<long> deviating; // mostly all columns; none in some rounds
        const auto deviations = lattice->computeDeviations(v, true, false);
        for (long k = 1; k <= deviations.dimension(); ++k)
            if (deviations[k].left < lattice->dimN) deviating.insert(deviations[k].left);
        Trimming<R1> kept;
        for (long step = 1; step <= 3; ++step) {
            if (step == 3) { // a regenerated lattice starts untrimmed: the kept factors come back
                lattice->opt2lat();
                lattice->setTrimming(true, round % 2 == 0);
                static_cast<Vector<R1>&>(lattice->bestVector) = v;
            }
            const bool centred = round % 2 == 0 && step != 2;
            EXPECT_EQ(trimTowardsFeasibility(*lattice, kept), !deviating.empty() || centred);
            EXPECT_TRUE(lattice->removeTranslationAndScaling(lattice->B) == untrimmed);
            for (long i = 1; i < lattice->dimN; ++i) {
                const R1 factor = deviating.count(i) ? R1(1L << step) : R1(1L);
                EXPECT_TRUE(lattice->trimming[i] == factor) << "column " << i << ", step " << step;
                if (round % 2 == 0 && lattice->r[i] != Constant<R1>::INF()) {
                    EXPECT_TRUE(lattice->lTrimmed[i] == -lattice->rTrimmed[i]) << "column " << i;
                }
            }
        }
    }
}

} // namespace
} // namespace latopt
