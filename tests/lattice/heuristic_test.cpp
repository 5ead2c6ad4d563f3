#include "lattice/heuristic.h"

#include "arith/precision.h"
#include "arith/qq.h"
#include "test_seed.h"

#include <gtest/gtest.h>

#include <random>
#include <tuple>
#include <vector>

namespace latopt {
namespace {

template <class T>
class DeviationOrder : public ::testing::Test {
};
using NumberTypes = ::testing::Types<long double, QQ>;
TYPED_TEST_SUITE(DeviationOrder, NumberTypes);

// Numbers on a grid of 1/2, so that two of them are equal or apart by far more than 10^-9; one in
// eight with the worst values of its type.
template <class T>
HeuristicDeviation<T> randomDeviation(std::mt19937_64& random)
{
    auto grid = [&random] { return T(static_cast<long>(random() % 5)) / T(2L); };
    HeuristicDeviation<T> d(random() % 2 ? DEVIATION_HOMOGENOUS : DEVIATION_INHOMOGENOUS, random() % 8 == 0);
    if (d.deviationCount == Constant<long>::MAX()) return d;
    d.feasible = random() % 3 == 0;
    d.deviationCount = static_cast<long>(random() % 3);
    d.targetNorm = grid();
    d.maxDeviation = grid();
    d.sumDeviation = grid();
    d.squaredNorm = grid();
    return d;
}

// The order as a lexicographic key, written apart from the operator: inhomogenous first; the
// squared length first among homogenous vectors; then feasible before infeasible, two feasible
// ones by their target norm alone; else count, largest deviation, sum, squared length.
template <class T>
bool referenceLess(const HeuristicDeviation<T>& a, const HeuristicDeviation<T>& b)
{
    if (a.type != b.type) return a.type == DEVIATION_INHOMOGENOUS;
    auto key = [](const HeuristicDeviation<T>& d) {
        const QQ zero;
        return std::make_tuple(d.type == DEVIATION_HOMOGENOUS ? QQ(d.squaredNorm) : zero, !d.feasible,
                               d.feasible ? QQ(d.targetNorm) : zero, d.feasible ? 0L : d.deviationCount,
                               d.feasible ? zero : QQ(d.maxDeviation), d.feasible ? zero : QQ(d.sumDeviation),
                               d.feasible ? zero : QQ(d.squaredNorm));
    };
    return key(a) < key(b);
}

// On random tuples: the operator agrees with the key order, is irreflexive, asymmetric and
// transitive; == means neither is better; the worst values of a type come after every real
// deviation of that type, the best before.
TYPED_TEST(DeviationOrder, IsTheLexicographicOrderOfTheTuple)
{
    using T = TypeParam;
    const unsigned long long seed = test::testSeed();
    SCOPED_TRACE(test::seedTrace(seed));
    std::mt19937_64 random(seed);
    std::vector<HeuristicDeviation<T>> all;
    for (long i = 0; i < test::rounds(60); ++i)
        all.push_back(randomDeviation<T>(random));
    for (const auto& a : all) {
        const HeuristicDeviation<T> copy = a;
        EXPECT_FALSE(a < copy);
        EXPECT_TRUE(a == copy);
        HeuristicDeviation<T> worst(a.type, true), best(a.type, false);
        if (a.deviationCount != Constant<long>::MAX()) {
            EXPECT_TRUE(a < worst);
        }
        EXPECT_FALSE(a < best);
        for (const auto& b : all) {
            ASSERT_EQ(a < b, referenceLess(a, b)) << "types " << a.type << " " << b.type;
            EXPECT_EQ(a == b, !(a < b) && !(b < a));
            for (const auto& c : all)
                EXPECT_TRUE(!(a < b) || (!(b < a) && (!(b < c) || a < c))) << "asymmetric, transitive";
        }
    }
}

TEST(DeviationOrderDeathTest, UninitialisedAgainstAnotherTypeIsFatal)
{
    const HeuristicDeviation<QQ> uninitialised;
    const HeuristicDeviation<QQ> other(DEVIATION_INHOMOGENOUS, false);
    const char* text = "^\n\\*\\*\\* FAIL: Heuristic deviation is not initialized!\n$";
    EXPECT_EXIT((void)(uninitialised < other), testing::ExitedWithCode(1), text);
    EXPECT_EXIT((void)(other == uninitialised), testing::ExitedWithCode(1), text);
}

} // namespace
} // namespace latopt
