#include "lattice/lattice.h"

#include "arith/qq.h"
#include "test_seed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <sstream>
#include <utility>
#include <vector>

namespace latopt {
namespace {

template <class L>
class Deviations : public ::testing::Test {
};
using LatticeTypes = ::testing::Types<Lattice<QQ, QQ>, Lattice<long double, long double>>;
TYPED_TEST_SUITE(Deviations, LatticeTypes);

template <class R1, class R2>
R1 numberOf(const Lattice<R1, R2>&);

// min x1 + x2, x1 in [0, 4], x2 in [0, 3], -1 <= x1 - x2 <= 1; with bounded, the target sum in
// [-6, 5] (tu = 1), which puts the target column first.
template <class L>
std::unique_ptr<L> embedded(bool bounded)
{
    using T = decltype(numberOf(std::declval<L>()));
    auto lattice = std::make_unique<L>();
    Vorm<QQ> read;
    std::istringstream stream(
        "[ -inf ] [ [ 1 1 ] ] [ ] [ ] [ [ 1 -1 ] ] [ -1 ] [ 1 ] [ 0 0 ] [ 0 0 ] [ 4 3 ]");
    stream >> read;
    lattice->unprepared._assign(read);
    lattice->unprepared.slackStage(false, false);
    if (bounded) {
        Precision::conv(QQ(-6L), lattice->unprepared.ltu, false);
        Precision::conv(QQ(5L), lattice->unprepared.rtu, false);
        lattice->unprepared.tu = 1;
    }
    static_cast<Vorm<T>&>(*lattice)._assign(lattice->unprepared);
    lattice->prepareVorm(false);
    EXPECT_TRUE(lattice->opt2lat());
    return lattice;
}

// How far y lies outside [low, high].
long outside(long y, long low, long high)
{
    return std::max({low - y, y - high, 0L});
}

// For x1, x2 in a box wider than the bounds, the deviations of the lattice vector of x against
// those of x from the program's bounds: a quantity of width w runs over [-R, R] in its column, so
// it deviates there by 2 R / w times its distance from its bounds. The target sum, when bounded,
// counts in the program's units and only without skipTargetRow. The heuristic deviation sums them
// (the target left out); a vector inside everything is feasible just when there are target bounds.
TYPED_TEST(Deviations, MatchTheBoundViolationsOfTheProgram)
{
    using R1 = decltype(numberOf(std::declval<TypeParam>()));
    for (const bool bounded : {false, true}) {
        const auto lattice = embedded<TypeParam>(bounded);
        const long h = bounded ? 1 : 0;
        ASSERT_EQ(lattice->dimN, h + 4);
        const QQ R(lattice->R);
        for (long x1 = -2; x1 <= 6; ++x1)
            for (long x2 = -2; x2 <= 5; ++x2) {
                SCOPED_TRACE(testing::Message() << "bounded " << bounded << ", x " << x1 << " " << x2);
                Vector<R1> x(2), u;
                Precision::conv(QQ(x1), x[1], false);
                Precision::conv(QQ(x2), x[2], false);
                lattice->opt2lat(x, u, false);
                // (deviation, coordinate) expected: inequation, variables, target sum.
                std::vector<std::pair<QQ, long>> expected;
                const QQ ineq = R * QQ(outside(x1 - x2, -1, 1));
                const QQ var1 = R * QQ(outside(x1, 0, 4)) / QQ(2);
                const QQ var2 = R * QQ(2 * outside(x2, 0, 3)) / QQ(3);
                for (const auto& [value, coordinate] :
                     {std::pair(ineq, h + 1), std::pair(var1, h + 2), std::pair(var2, h + 3)})
                    if (!value.isZero()) expected.emplace_back(value, coordinate);
                for (const bool skip : {true, false}) {
                    std::vector<std::pair<QQ, long>> want = expected;
                    const long target = outside(x1 + x2, -6, 5);
                    if (bounded && !skip && target != 0) want.emplace_back(QQ(target), 1);
                    const auto pairs = lattice->computeDeviations(u, skip, false);
                    std::vector<std::pair<QQ, long>> got;
                    for (long i = 1; i <= pairs.dimension(); ++i) {
                        got.emplace_back(QQ(pairs[i].right), pairs[i].left);
                        if (i > 1) {
                            EXPECT_FALSE(pairs[i - 1].right < pairs[i].right) << "largest first";
                        }
                    }
                    std::sort(want.begin(), want.end());
                    std::sort(got.begin(), got.end());
                    ASSERT_EQ(got.size(), want.size());
                    for (std::size_t i = 0; i < got.size(); ++i) {
                        EXPECT_EQ(got[i].second, want[i].second);
                        EXPECT_TRUE(got[i].first - want[i].first <= QQ("1/1000000") &&
                                    want[i].first - got[i].first <= QQ("1/1000000"))
                            << got[i].first << " " << want[i].first;
                    }
                }
                const HeuristicDeviation<R1> d = lattice->computeHeuristicDeviation(u, false);
                EXPECT_EQ(d.type, DEVIATION_INHOMOGENOUS);
                EXPECT_EQ(d.deviationCount, static_cast<long>(expected.size()));
                EXPECT_EQ(d.feasible, bounded && expected.empty());
                if (d.feasible) {
                    EXPECT_EQ(QQ(d.targetNorm), QQ(x1 + x2));
                }
                QQ sum, max;
                for (const auto& [value, coordinate] : expected) {
                    sum += value;
                    max = std::max(max, value);
                }
                EXPECT_EQ(QQ(d.sumDeviation), sum);
                EXPECT_EQ(QQ(d.maxDeviation), max);
                EXPECT_EQ(QQ(d.squaredNorm), QQ(u * u));
            }
    }
}

HeuristicVector<QQ, QQ> element(const char* v, long count, long max)
{
    HeuristicDeviation<QQ> d(DEVIATION_INHOMOGENOUS, false);
    d.feasible = false;
    d.deviationCount = count;
    d.maxDeviation = QQ(max);
    return HeuristicVector<QQ, QQ>(TimeVector<QQ>(Vector<QQ>(v), 0), d);
}

// The sets stand worst first; a full set drops its worst; a vector already in a set is refused,
// a vector longer than the lattice allows is dropped; homogenous vectors go to the other set.
TEST(CollectionSets, KeepTheBestDistinctVectorsWorstFirst)
{
    const unsigned long long seed = test::testSeed();
    SCOPED_TRACE(test::seedTrace(seed));
    std::mt19937_64 random(seed);
    Lattice<QQ, QQ> lattice;
    lattice.maxUnscaledLatVecSquaredEuclideanNorm = QQ(10000L);
    lattice.bestVectors.limit = 4;
    // Distinct deviation ranks (count, then max) and distinct vectors, in random order.
    std::vector<long> ranks = {1, 2, 3, 4, 5, 6, 7, 8};
    std::shuffle(ranks.begin(), ranks.end(), random);
    for (const long rank : ranks) {
        const std::string v = "[ " + std::to_string(rank) + " 1 ]";
        EXPECT_TRUE(lattice.collect(element(v.c_str(), rank / 3, rank % 3), nullptr, nullptr) || rank > 4);
    }
    ASSERT_EQ(lattice.bestVectors.size, 4UL);
    long expected = 4;
    for (const auto* e = lattice.bestVectors.first; e != nullptr; e = e->next, --expected)
        EXPECT_EQ((*e)[1], QQ(expected)) << "the four best, worst first";
    EXPECT_FALSE(lattice.collect(element("[ 3 1 ]", 0, 0), nullptr, nullptr)) << "duplicate";
    EXPECT_FALSE(lattice.collect(element("[ 100 1 ]", 0, 0), nullptr, nullptr)) << "too long";
    EXPECT_TRUE(lattice.collect(element("[ 99 1 ]", 0, 0), nullptr, nullptr));
    EXPECT_EQ((*lattice.bestVectors.last)[1], QQ(99L));
    EXPECT_EQ(lattice.bestVectors.size, 4UL);
    Lattice<QQ, QQ>::CollectionSet own;
    HeuristicVector<QQ, QQ> homogenous = element("[ 1 0 ]", 0, 0);
    homogenous.deviation.type = DEVIATION_HOMOGENOUS;
    EXPECT_TRUE(lattice.collect(homogenous, &own, nullptr));
    EXPECT_TRUE(lattice.collect(homogenous, nullptr, &own));
    EXPECT_EQ(own.size, 1UL);
    EXPECT_EQ(lattice.goodVectors.size, 1UL);
}

} // namespace
} // namespace latopt
