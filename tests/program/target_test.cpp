#include "program/vorm.h"

#include "arith/constant.h"
#include "arith/math.h"
#include "arith/qq.h"

#include "test_seed.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <sstream>
#include <string>

namespace latopt {
namespace {

template <class T>
class TargetTyped : public ::testing::Test {
};
using NumberTypes = ::testing::Types<long double, QQ>;
TYPED_TEST_SUITE(TargetTyped, NumberTypes);

// A program with the given desired values and target matrix (long double reads no fractions).
template <class T>
Vorm<T> targets(const char* dt, const char* At = "[ ]")
{
    Vorm<T> program;
    std::istringstream dtText(dt), AtText(At);
    program.dt.unserialize(dtText);
    program.At.unserialize(AtText);
    return program;
}

TYPED_TEST(TargetTyped, SignIsMinusOneOnlyForMaximisedTargets)
{
    using T = TypeParam;
    const Vorm<T> program = targets<T>("[ 4 -inf inf ]");
    EXPECT_EQ(program.targetSummationSign(1), T(1L));
    EXPECT_EQ(program.targetSummationSign(2), T(1L));
    EXPECT_EQ(program.targetSummationSign(3), T(-1L));
}

TYPED_TEST(TargetTyped, NormAddsSignedValuesUntilTheFirstFiniteTarget)
{
    using T = TypeParam;
    T slackNorm = T(99L);
    EXPECT_EQ(targets<T>("[ -inf inf ]").computeTargetNorm(Vector<T>("[ 3 4 ]"), Vector<T>(), slackNorm),
              T(-1L));
    EXPECT_EQ(slackNorm, T(0L));
    EXPECT_EQ(targets<T>("[ -inf 5 ]").computeTargetNorm(Vector<T>("[ -2 3 ]"), Vector<T>(), slackNorm),
              T(0L));
    EXPECT_EQ(slackNorm, T(2L));
    // Once a finite target was met, an infinite one behind it is infinitely far from its goal.
    const T inf = Constant<T>::INF();
    EXPECT_EQ(targets<T>("[ 5 -inf ]").computeTargetNorm(Vector<T>("[ 3 -2 ]"), Vector<T>(), slackNorm), inf);
    EXPECT_EQ(slackNorm, inf);
}

// The norms computed directly: targets before the first finite one count with their sign, from
// there on as their distance to the desired value. Slackified, the signed values count, and the
// slack norm is the residual of Ag[i] x = bg[i] over the original variables, for the replaced
// targets at the end of the list.
TEST(TargetNorm, MatchesTheDirectFormulaOnRandomPrograms)
{
    const unsigned long long seed = test::testSeed();
    SCOPED_TRACE(test::seedTrace(seed));
    std::mt19937_64 random(seed);
    std::uniform_int_distribution<long> entry(-20, 20);
    std::uniform_int_distribution<long> kind(0, 3);
    const QQ inf = Constant<QQ>::INF();
    for (int round = 0; round < 300; ++round) {
        Vorm<QQ> program;
        const long m = 1 + round % 5;
        program.slackified = round % 2 == 1;
        program.dt.setDimension(m);
        Vector<QQ> values(m);
        long firstFinite = m + 1;
        for (long i = m; i >= 1; --i) {
            const long k = kind(random);
            program.dt[i] = k == 0 ? inf : (k == 1 || program.slackified ? -inf : QQ(entry(random)));
            values[i] = QQ(entry(random));
            if (Math::abs(program.dt[i]) != inf) firstFinite = i;
        }
        const long columns = 1 + kind(random);
        Vector<QQ> x(columns);
        if (program.slackified) {
            program.slackInequationCount = kind(random) % 2;
            program.slackTargetVariableCount = 2 * (kind(random) % (m + 1));
            x.setDimension(columns + program.slackInequationCount + program.slackTargetVariableCount);
            program.Ag.setDimensions(m, x.dimension());
            program.bg.setDimension(m);
            for (long i = 1; i <= m; ++i) {
                program.bg[i] = QQ(entry(random));
                for (long j = 1; j <= x.dimension(); ++j)
                    program.Ag[i][j] = QQ(entry(random));
            }
        }
        for (long j = 1; j <= x.dimension(); ++j)
            x[j] = QQ(entry(random));
        QQ expectedNorm, expectedSlack;
        for (long i = 1; i <= m; ++i) {
            const QQ signedValue = program.dt[i] == inf ? -values[i] : values[i];
            const QQ distance =
                i < firstFinite || program.slackified ? signedValue : Math::abs(signedValue - program.dt[i]);
            expectedNorm += distance;
            if (!program.slackified && i >= firstFinite) expectedSlack += distance;
        }
        if (program.slackified && program.slackTargetVariableCount > 0) {
            Vector<QQ> original(columns);
            for (long j = 1; j <= columns; ++j)
                original[j] = x[j];
            const Vector<QQ> rows = program.Ag.cols(1, columns) * original;
            for (long i = m - program.slackTargetVariableCount / 2 + 1; i <= m; ++i)
                expectedSlack += Math::abs(rows[i] - program.bg[i]);
        }
        QQ slackNorm;
        EXPECT_EQ(program.computeTargetNorm(values, x, slackNorm), expectedNorm) << program.dt << values;
        EXPECT_EQ(slackNorm, expectedSlack) << program.dt << values << x;
    }
}

TEST(TargetEvaluationDeathTest, FiniteTargetsThatShouldBeGone)
{
    Vorm<QQ> program = targets<QQ>("[ -inf 3 ]");
    program.slackified = true;
    bool finite = false;
    EXPECT_EQ(program.targetComponentDeviation(Vector<QQ>("[ 1 2 ]"), 1, finite), QQ(1));
    EXPECT_FALSE(finite);
    EXPECT_EXIT(program.targetComponentDeviation(Vector<QQ>("[ 1 2 ]"), 2, finite),
                testing::ExitedWithCode(1), "^\n\\*\\*\\* FAIL: preparation inconsistency\n$");
    EXPECT_EQ(targets<QQ>("[ inf -inf ]").sumTargetAbsValues(Vector<QQ>("[ -3 1/2 ]")), QQ("7/2"));
    EXPECT_EXIT(targets<QQ>("[ inf 0 ]").sumTargetAbsValues(Vector<QQ>("[ 1 2 ]")),
                testing::ExitedWithCode(1), "^\n\\*\\*\\* FAIL: This should not be the case anymore!\n$");
}

TYPED_TEST(TargetTyped, BoundsOnTheSumOnlyEverGoDown)
{
    using T = TypeParam;
    Vorm<T> program = targets<T>("[ -inf inf ]");
    program.finiteTargetsOnly = false;
    EXPECT_TRUE(program.initOrAdaptTargetBnds(Vector<T>("[ 3 -4 ]"), T(10L)));
    EXPECT_EQ(program.ltu, T(-7L));
    EXPECT_EQ(program.rtu, T(9L));
    EXPECT_EQ(program.tu, 1);
    // A larger bound doesn't raise rtu; a larger sum lowers ltu.
    EXPECT_TRUE(program.initOrAdaptTargetBnds(Vector<T>("[ 5 -4 ]"), T(20L)));
    EXPECT_EQ(program.ltu, T(-9L));
    EXPECT_EQ(program.rtu, T(9L));
    // Nothing moves: false, and tu stays as it was.
    program.tu = 0;
    EXPECT_FALSE(program.initOrAdaptTargetBnds(Vector<T>("[ 1 1 ]"), T(15L)));
    EXPECT_EQ(program.tu, 0);
    // With deviations only the left bound stays at 0; an empty interval shrinks to its right end.
    program.finiteTargetsOnly = true;
    program.resetTargets();
    program.dt = Vector<T>("[ -inf ]");
    EXPECT_TRUE(program.initOrAdaptTargetBnds(Vector<T>("[ -6 ]"), T(4L)));
    EXPECT_EQ(program.ltu, T(0L));
    EXPECT_TRUE(program.initOrAdaptTargetBnds(Vector<T>("[ 0 ]"), T(-2L)));
    EXPECT_EQ(program.ltu, T(-3L));
    EXPECT_EQ(program.rtu, T(-3L));
}

TYPED_TEST(TargetTyped, BoxCornersWidenTheBounds)
{
    using T = TypeParam;
    Vorm<T> program = targets<T>("[ -inf inf ]", "[ [ 1 2 ] [ 3 -1 ] ]");
    program.finiteTargetsOnly = false;
    program.lx = Vector<T>("[ -inf 0 ]");
    program.rx = Vector<T>("[ 2 3 ]");
    // The corner lx is at infinity; at rx the targets are 8 and 3.
    program.adaptTargetBoundsByXBounds();
    EXPECT_EQ(program.ltu, T(-11L));
    EXPECT_EQ(program.rtu, T(11L));
    EXPECT_EQ(program.tu, 0);
    // At lx the targets are -14 and -7: the wider estimate wins, but real bounds keep rtu.
    program.lx = Vector<T>("[ -4 -5 ]");
    program.tu = 1;
    program.adaptTargetBoundsByXBounds();
    EXPECT_EQ(program.ltu, T(-21L));
    EXPECT_EQ(program.rtu, T(11L));
    program.tu = 0;
    program.adaptTargetBoundsByXBounds();
    EXPECT_EQ(program.rtu, T(21L));
    // Without target rows nothing happens.
    Vorm<T> empty = targets<T>("[ ]");
    empty.lx = program.lx;
    empty.rx = program.rx;
    empty.adaptTargetBoundsByXBounds();
    EXPECT_EQ(empty.rtu, Constant<T>::INF());
}

} // namespace
} // namespace latopt
