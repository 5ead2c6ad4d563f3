// candidate_check_test.cpp: the gate against brute force. Random small programs without targets,
// some with an equation, are embedded; every point of the box goes through the gate as a lattice vector, and
// the gate must accept exactly the feasible ones, refuse what is off the lattice, and store nothing but exact
// lattice vectors of solutions, however close to the lattice the offered vector was.
#include "arith/precision.h"
#include "arith/qq.h"
#include "lattice/lattice.h"
#include "lattice/small_program.h"
#include "test_seed.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

namespace latopt {
namespace {

long integerValue(const long double& value)
{
    EXPECT_EQ(value, std::nearbyintl(value));
    return std::lround(value);
}

long integerValue(const QQ& value)
{
    EXPECT_EQ(value, round(value));
    long double converted = 0;
    Precision::conv(value, converted, false);
    return std::lround(converted);
}

template <class R>
std::unique_ptr<Lattice<R, R>> embed(const test::SmallProgram& program)
{
    Vorm<QQ> read;
    std::istringstream stream(program.text());
    stream >> read;
    auto lattice = std::make_unique<Lattice<R, R>>();
    lattice->unprepared._assign(read);
    lattice->params.sol = 0L;
    lattice->params.hostedRun = true;
    lattice->prepareVormByUnprepared(false, true);
    lattice->opt2lat();
    return lattice;
}

template <class R>
Vector<R> latticeVector(const Lattice<R, R>& lattice, const std::vector<long>& x, bool trim)
{
    Vector<R> opt(static_cast<long>(x.size()));
    for (size_t j = 0; j < x.size(); ++j)
        opt[static_cast<long>(j) + 1] = R(x[j]);
    Vector<R> v;
    lattice.opt2lat(opt, v, trim);
    return v;
}

// Exact arithmetic pays for every checkpoint of the gate: fewer rounds.
template <class R>
long exactRounds(long rounds)
{
    return std::is_same_v<R, QQ> ? rounds / 3 : rounds;
}

template <class R>
class CandidateCheck : public testing::Test {
};
using NumberTypes = testing::Types<long double, QQ>;
TYPED_TEST_SUITE(CandidateCheck, NumberTypes);

// Each point of the box: accepted as a solution exactly when feasible, with either sign; the
// midpoint of two neighbours is not in the lattice.
TYPED_TEST(CandidateCheck, AcceptsExactlyTheFeasiblePoints)
{
    using L = Lattice<TypeParam, TypeParam>;
    const unsigned long long seed = test::testSeed();
    std::mt19937_64 random(seed);
    for (long round = 0; round < test::rounds(exactRounds<TypeParam>(12)); ++round) {
        const test::SmallProgram program = test::randomSmallProgram(random);
        SCOPED_TRACE(test::seedTrace(seed) + ", program " + program.text());
        const auto lattice = embed<TypeParam>(program);
        long feasibleCount = 0;
        for (const auto& x : program.box()) {
            const Vector<TypeParam> v = latticeVector(*lattice, x, true);
            const long bits = lattice->checkSolution(round % 2 == 0 ? v : -v, true, 0, false);
            feasibleCount += program.feasible(x) ? 1 : 0;
            EXPECT_EQ(program.feasible(x), (bits & L::CHECK_IN_BOUNDS) != 0);
            EXPECT_EQ(program.feasible(x), (bits & L::CHECK_FOUND) != 0);
        }
        EXPECT_EQ(lattice->solutions.dimension(), feasibleCount);
        std::vector<long> x(program.width.size(), 0);
        const Vector<TypeParam> a = latticeVector(*lattice, x, false);
        x[0] = 1;
        const Vector<TypeParam> b = latticeVector(*lattice, x, false);
        Vector<TypeParam> midpoint = a;
        for (long i = 1; i <= a.dimension(); ++i)
            midpoint[i] = (a[i] + b[i]) / TypeParam(2L);
        EXPECT_EQ(lattice->checkSolution(midpoint, false, 0, false), L::CHECK_NOT_IN_LATTICE);
    }
}

// A vector off a solution by less than the rounding of long double is stored as the exact
// lattice vector, never as offered.
TEST(CandidateCheck, StoresTheExactLatticeVector)
{
    using LD = Lattice<long double, long double>;
    std::mt19937_64 random(test::testSeed());
    for (long round = 0; round < test::rounds(8); ++round) {
        const test::SmallProgram program = test::randomSmallProgram(random);
        const auto lattice = embed<long double>(program);
        for (const auto& x : program.box()) {
            if (!program.feasible(x)) continue;
            const Vector<long double> exact = latticeVector(*lattice, x, false);
            Vector<long double> near = exact;
            near[near.dimension() - 1] += 1e-12L;
            const long bits = lattice->checkSolution(near, false, 0, false);
            ASSERT_NE(bits & LD::CHECK_FOUND, 0);
            const Vector<long double>& stored = lattice->solutions[lattice->solutions.dimension()];
            for (long i = 1; i <= exact.dimension(); ++i)
                EXPECT_EQ(stored[i], exact[i]) << "entry " << i;
            break;
        }
    }
}

// The reduction offers its rows: whatever it finds is feasible.
TYPED_TEST(CandidateCheck, ReductionFindsOnlyFeasiblePoints)
{
    std::mt19937_64 random(test::testSeed() + 1);
    for (long round = 0; round < test::rounds(exactRounds<TypeParam>(10)); ++round) {
        const test::SmallProgram program = test::randomSmallProgram(random);
        SCOPED_TRACE(program.text());
        const auto lattice = embed<TypeParam>(program);
        lattice->lllStepBudget = 1L << 30;
        lattice->lll(1, 0, 0);
        EXPECT_GT(lattice->offeredCount, 0);
        for (long i = 1; i <= lattice->solutions.dimension(); ++i) {
            Vector<TypeParam> x;
            ASSERT_EQ(lattice->lat2opt(lattice->solutions[i], x, true, false), 1);
            std::vector<long> point;
            for (long j = 1; j <= x.dimension(); ++j)
                point.push_back(integerValue(x[j]));
            EXPECT_TRUE(program.feasible(point));
        }
    }
}

} // namespace
} // namespace latopt
