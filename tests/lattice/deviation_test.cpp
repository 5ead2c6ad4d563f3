#include "lattice/lattice.h"

#include "arith/qq.h"
#include "test_seed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <sstream>
#include <type_traits>
#include <utility>
#include <vector>

namespace latopt {
namespace {

template <class L>
class Deviations : public ::testing::Test {
};
using LatticeTypes = ::testing::Types<Lattice<QQ, QQ>, Lattice<long double, long double>>;
TYPED_TEST_SUITE(Deviations, LatticeTypes);

long outside(long y, long low, long high)
{
    return std::max({low - y, y - high, 0L});
}

// min x1 + x2, x1 in [0, 4], x2 in [0, 3], -1 <= x1 - x2 <= 1, embedded; with bounded the target
// sum lies in [-6, 5] (tu = 1) and has the first column. For x in a wider box, the deviations of
// its lattice vector are those of x from the program's bounds: a quantity of width w runs over
// [-R, R], so it deviates by 2 R / w times its distance from its bounds; the target sum counts in
// the program's units and only without skipTargetRow. The heuristic deviation sums the rest, and
// is feasible just when nothing deviates and there are target bounds.
TYPED_TEST(Deviations, AreTheBoundViolationsOfTheProgram)
{
    using R1 = std::remove_reference_t<decltype(std::declval<TypeParam>().R)>;
    for (const bool bounded : {false, true}) {
        TypeParam lattice;
        Vorm<QQ> read;
        std::istringstream(
            "[ -inf ] [ [ 1 1 ] ] [ ] [ ] [ [ 1 -1 ] ] [ -1 ] [ 1 ] [ 0 0 ] [ 0 0 ] [ 4 3 ]") >>
            read;
        lattice.unprepared._assign(read);
        lattice.unprepared.slackStage(false, false);
        lattice.unprepared.ltu = R1(-6);
        lattice.unprepared.rtu = R1(5);
        lattice.unprepared.tu = bounded ? 1 : 0;
        static_cast<Vorm<R1>&>(lattice)._assign(lattice.unprepared);
        lattice.prepareVorm(false);
        lattice.opt2lat();
        const long h = bounded ? 1 : 0;
        const QQ R(lattice.R);
        for (long x1 = -2; x1 <= 6; ++x1)
            for (long x2 = -2; x2 <= 5; ++x2) {
                SCOPED_TRACE(testing::Message() << "bounded " << bounded << ", x " << x1 << " " << x2);
                Vector<R1> u, x(2);
                x[1] = R1(x1);
                x[2] = R1(x2);
                lattice.opt2lat(x, u, false);
                std::map<long, QQ> expected = {{h + 1, R * QQ(outside(x1 - x2, -1, 1))},
                                               {h + 2, R * QQ(outside(x1, 0, 4)) / QQ(2)},
                                               {h + 3, R * QQ(2 * outside(x2, 0, 3)) / QQ(3)}};
                std::erase_if(expected, [](const auto& entry) { return entry.second.isZero(); });
                for (const bool skip : {true, false}) {
                    std::map<long, QQ> want = expected;
                    if (bounded && !skip && outside(x1 + x2, -6, 5) != 0)
                        want[1] = QQ(outside(x1 + x2, -6, 5));
                    const auto pairs = lattice.computeDeviations(u, skip, false);
                    std::map<long, QQ> got;
                    for (long i = 1; i <= pairs.dimension(); ++i) {
                        got[pairs[i].left] = QQ(pairs[i].right);
                        EXPECT_TRUE(i == 1 || !(pairs[i - 1].right < pairs[i].right)) << "largest first";
                    }
                    EXPECT_EQ(got, want);
                }
                const HeuristicDeviation<R1> d = lattice.computeHeuristicDeviation(u, false);
                QQ sum, max;
                for (const auto& entry : expected) {
                    sum += entry.second;
                    max = std::max(max, entry.second);
                }
                EXPECT_EQ(d.type, DEVIATION_INHOMOGENOUS);
                EXPECT_EQ(d.deviationCount, static_cast<long>(expected.size()));
                EXPECT_EQ(QQ(d.sumDeviation), sum);
                EXPECT_EQ(QQ(d.maxDeviation), max);
                EXPECT_EQ(d.feasible, bounded && expected.empty());
                EXPECT_TRUE(!d.feasible || QQ(d.targetNorm) == QQ(x1 + x2));
            }
    }
}

HeuristicVector<QQ, QQ> element(long first, long second, long count, long max)
{
    HeuristicDeviation<QQ> d(second == 0 ? DEVIATION_HOMOGENOUS : DEVIATION_INHOMOGENOUS, true);
    d.deviationCount = count;
    d.maxDeviation = QQ(max);
    Vector<QQ> v(2);
    v[1] = QQ(first);
    v[2] = QQ(second);
    return HeuristicVector<QQ, QQ>(TimeVector<QQ>(v, 0), d);
}

// A set stands worst first and, full, drops its worst; a vector already in it is refused, one
// longer than the lattice allows is dropped; a homogenous vector goes to the other set.
TEST(CollectionSets, KeepTheBestDistinctVectorsWorstFirst)
{
    std::mt19937_64 random(test::testSeed());
    Lattice<QQ, QQ> lattice;
    lattice.maxUnscaledLatVecSquaredEuclideanNorm = QQ(10000L);
    lattice.bestVectors.limit = 4;
    std::vector<long> ranks = {1, 2, 3, 4, 5, 6, 7, 8}; // (count, max) rises with the rank
    std::shuffle(ranks.begin(), ranks.end(), random);
    for (const long rank : ranks)
        EXPECT_TRUE(lattice.collect(element(rank, 1, rank / 3, rank % 3), nullptr, nullptr) || rank > 4);
    std::vector<QQ> order;
    for (const auto* e = lattice.bestVectors.first; e != nullptr; e = e->next)
        order.push_back((*e)[1]);
    EXPECT_EQ(order, (std::vector<QQ>{QQ(4), QQ(3), QQ(2), QQ(1)}));
    EXPECT_FALSE(lattice.collect(element(3, 1, 0, 0), nullptr, nullptr)) << "duplicate";
    EXPECT_FALSE(lattice.collect(element(100, 1, 0, 0), nullptr, nullptr)) << "too long";
    EXPECT_TRUE(lattice.collect(element(99, 1, 0, 0), nullptr, nullptr));
    EXPECT_EQ((*lattice.bestVectors.last)[1], QQ(99));
    EXPECT_EQ(lattice.bestVectors.size, 4UL);
    Lattice<QQ, QQ>::CollectionSet own;
    EXPECT_TRUE(lattice.collect(element(1, 0, 0, 0), &own, nullptr));
    EXPECT_TRUE(lattice.collect(element(1, 0, 0, 0), nullptr, &own));
    EXPECT_EQ(own.size + lattice.goodVectors.size, 2UL);
}

} // namespace
} // namespace latopt
