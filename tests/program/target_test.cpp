#include "program/vorm.h"

#include "arith/constant.h"
#include "arith/math.h"
#include "arith/precision.h"
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
class TargetTyped : public testing::Test {
};
using NumberTypes = testing::Types<long double, QQ>;
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

template <class T>
std::pair<T, T> bounds(const Vorm<T>& program)
{
    return {program.ltu, program.rtu};
}

// The norms computed directly (in QQ, then brought to T): targets before the first finite one
// count with their sign, from there on as their distance to the desired value. Slackified, the
// signed values count, and the slack norm is the residual of Ag[i] x = bg[i] over the original
// variables, for the replaced targets at the end of the list.
TYPED_TEST(TargetTyped, NormMatchesTheDirectFormulaOnRandomPrograms)
{
    using T = TypeParam;
    const unsigned long long seed = test::testSeed();
    SCOPED_TRACE(test::seedTrace(seed));
    std::mt19937_64 random(seed);
    const auto entry = [&] { return QQ(std::uniform_int_distribution<long>(-20, 20)(random)); };
    const auto kind = [&] { return std::uniform_int_distribution<long>(0, 3)(random); };
    const QQ inf = Constant<QQ>::INF();
    for (int round = 0; round < 300; ++round) {
        Vorm<QQ> program;
        const long m = 1 + round % 5;
        program.slackified = round % 2 == 1;
        program.dt.setDimension(m);
        Vector<QQ> values(m);
        long firstFinite = m + 1;
        for (long i = m; i >= 1; --i) {
            const long k = kind();
            program.dt[i] = k == 0 ? inf : (k == 1 || program.slackified ? -inf : entry());
            values[i] = entry();
            if (Math::abs(program.dt[i]) != inf) firstFinite = i;
        }
        const long columns = 1 + kind();
        Vector<QQ> x(columns);
        if (program.slackified) {
            program.slackInequationCount = kind() % 2;
            program.slackTargetVariableCount = 2 * (kind() % (m + 1));
            x.setDimension(columns + program.slackInequationCount + program.slackTargetVariableCount);
            program.Ag.setDimensions(m, x.dimension());
            program.bg.setDimension(m);
            for (long i = 1; i <= m; ++i) {
                program.bg[i] = entry();
                for (long j = 1; j <= x.dimension(); ++j)
                    program.Ag[i][j] = entry();
            }
        }
        for (long j = 1; j <= x.dimension(); ++j)
            x[j] = entry();
        QQ expectedNorm, expectedSlack;
        for (long i = 1; i <= m; ++i) {
            const QQ signedValue = program.dt[i] == inf ? -values[i] : values[i];
            const QQ distance =
                i < firstFinite || program.slackified ? signedValue : Math::abs(signedValue - program.dt[i]);
            expectedNorm += distance;
            if (!program.slackified && i >= firstFinite) expectedSlack += distance;
        }
        if (program.slackified && program.slackTargetVariableCount > 0) {
            Vector<QQ> original = x;
            original.setDimension(columns);
            const Vector<QQ> rows = program.Ag.cols(1, columns) * original;
            for (long i = m - program.slackTargetVariableCount / 2 + 1; i <= m; ++i)
                expectedSlack += Math::abs(rows[i] - program.bg[i]);
        }
        Vorm<T> typed;
        typed._assign(program);
        Vector<T> typedValues, typedX;
        T expected[2], slackNorm = T(99L); // the slack norm is always set
        Precision::conv(values, typedValues, false);
        Precision::conv(x, typedX, false);
        Precision::conv(expectedNorm, expected[0], false);
        Precision::conv(expectedSlack, expected[1], false);
        EXPECT_EQ(typed.computeTargetNorm(typedValues, typedX, slackNorm), expected[0])
            << program.dt << values;
        EXPECT_EQ(slackNorm, expected[1]) << program.dt << values << x;
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
    EXPECT_EQ(bounds(program), std::pair(T(-7L), T(9L)));
    EXPECT_EQ(program.tu, 1);
    // A larger bound doesn't raise rtu; a larger sum lowers ltu.
    EXPECT_TRUE(program.initOrAdaptTargetBnds(Vector<T>("[ 5 -4 ]"), T(20L)));
    EXPECT_EQ(bounds(program), std::pair(T(-9L), T(9L)));
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
    EXPECT_EQ(bounds(program), std::pair(T(-3L), T(-3L)));
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
    EXPECT_EQ(bounds(program), std::pair(T(-11L), T(11L)));
    EXPECT_EQ(program.tu, 0);
    // At lx the targets are -14 and -7: the wider estimate wins, but real bounds keep rtu.
    program.lx = Vector<T>("[ -4 -5 ]");
    program.tu = 1;
    program.adaptTargetBoundsByXBounds();
    EXPECT_EQ(bounds(program), std::pair(T(-21L), T(11L)));
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
