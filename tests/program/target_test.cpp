#include "program/vorm.h"

#include "arith/constant.h"
#include "arith/math.h"
#include "arith/qq.h"

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

template <class T>
void read(Matrix<T>& matrix, const char* text)
{
    std::istringstream stream(text);
    matrix.unserialize(stream);
}

unsigned long long testSeed()
{
    const char* text = std::getenv("LATOPT_TEST_SEED");
    return text != nullptr ? std::strtoull(text, nullptr, 10) : 20261121ULL;
}

TYPED_TEST(TargetTyped, SignIsMinusOneOnlyForMaximisedTargets)
{
    using T = TypeParam;
    Vorm<T> program;
    program.dt = Vector<T>("[ 4 -inf inf -0.4 ]");
    EXPECT_EQ(program.targetSummationSign(1), T(1L));
    EXPECT_EQ(program.targetSummationSign(2), T(1L));
    EXPECT_EQ(program.targetSummationSign(3), T(-1L));
    EXPECT_EQ(program.targetSummationSign(4), T(1L));
}

TYPED_TEST(TargetTyped, MinimisedAndMaximisedTargetsAddTheirSignedValues)
{
    using T = TypeParam;
    Vorm<T> program;
    program.dt = Vector<T>("[ -inf inf ]");
    T slackNorm = T(99L);
    EXPECT_EQ(program.computeTargetNorm(Vector<T>("[ 3 4 ]"), Vector<T>("[ 1 ]"), slackNorm), T(-1L));
    EXPECT_EQ(slackNorm, T(0L));
    // No targets: both norms are zero.
    program.dt.setDimension(0);
    EXPECT_EQ(program.computeTargetNorm(Vector<T>(), Vector<T>("[ 1 ]"), slackNorm), T(0L));
    EXPECT_EQ(slackNorm, T(0L));
}

TYPED_TEST(TargetTyped, SlackValueIsTheResidualOfTheEquationOverLeadingColumns)
{
    using T = TypeParam;
    Vorm<T> program;
    read(program.Ag, "[ [ 1 2 3 ] [ -1 0 5 ] ]");
    program.bg = Vector<T>("[ 4 0.5 ]");
    const Vector<T> x("[ 2 -1 7 ]");
    EXPECT_EQ(program.computeSlackValue(1, x, 3), T(17L));
    EXPECT_EQ(program.computeSlackValue(1, x, 2), T(-4L));
    EXPECT_EQ(program.computeSlackValue(2, x, 0), -T(1L) / T(2L));
}

// The norms computed directly: the targets before the first finite one count with their sign;
// from the first finite one on, every target counts as its distance to its desired value (which
// is infinite for an infinite one). Slackified, the signed values count, and the slack norm is
// the residual of the equations Ag[i] x = bg[i] over the original variables, for the replaced
// targets at the end of the list.
template <class T>
void referenceNorms(const Vorm<T>& program, const Vector<T>& values, const Vector<T>& x, T& norm,
                    T& slackNorm)
{
    const long m = program.dt.dimension();
    const T inf = Constant<T>::INF();
    long firstFinite = m + 1;
    for (long i = m; i >= 1; --i)
        if (Math::abs(program.dt[i]) != inf) firstFinite = i;
    norm = T(0L);
    slackNorm = T(0L);
    for (long i = 1; i <= m; ++i) {
        const T signedValue = program.dt[i] == inf ? -values[i] : values[i];
        if (program.slackified || i < firstFinite) {
            norm += signedValue;
        } else {
            const T distance = Math::abs(signedValue - program.dt[i]);
            norm += distance;
            slackNorm += distance;
        }
    }
    if (!program.slackified || program.slackTargetVariableCount == 0) return;
    const long columns = x.dimension() - program.slackInequationCount - program.slackTargetVariableCount;
    Vector<T> original(columns);
    for (long j = 1; j <= columns; ++j)
        original[j] = x[j];
    const Vector<T> rows = program.Ag.cols(1, columns) * original;
    for (long i = m - program.slackTargetVariableCount / 2 + 1; i <= m; ++i)
        slackNorm += Math::abs(rows[i] - program.bg[i]);
}

TYPED_TEST(TargetTyped, TargetNormMatchesTheDirectFormula)
{
    using T = TypeParam;
    const unsigned long long seed = testSeed();
    SCOPED_TRACE("seed " + std::to_string(seed) + " (LATOPT_TEST_SEED to replay)");
    std::mt19937_64 random(seed);
    std::uniform_int_distribution<long> entry(-20, 20);
    std::uniform_int_distribution<int> kind(0, 3);
    const T inf = Constant<T>::INF();
    for (int round = 0; round < 300; ++round) {
        Vorm<T> program;
        const long m = 1 + round % 5;
        const long n = 1 + kind(random);
        program.slackified = round % 2 == 1;
        program.dt.setDimension(m);
        Vector<T> values(m);
        for (long i = 1; i <= m; ++i) {
            const int k = kind(random);
            // A slackified program has only infinite targets left.
            program.dt[i] = k == 0 ? inf : (k == 1 || program.slackified ? -inf : T(entry(random)));
            values[i] = T(entry(random));
        }
        Vector<T> x(n);
        if (program.slackified) {
            program.slackInequationCount = kind(random) % 2;
            program.slackTargetVariableCount = 2 * (kind(random) % (m + 1));
            x.setDimension(n + program.slackInequationCount + program.slackTargetVariableCount);
            program.Ag.setDimensions(m, x.dimension());
            program.bg.setDimension(m);
            for (long i = 1; i <= m; ++i) {
                program.bg[i] = T(entry(random));
                for (long j = 1; j <= x.dimension(); ++j)
                    program.Ag[i][j] = T(entry(random));
            }
        }
        for (long j = 1; j <= x.dimension(); ++j)
            x[j] = T(entry(random));
        T slackNorm, expectedNorm, expectedSlack;
        const T norm = program.computeTargetNorm(values, x, slackNorm);
        referenceNorms(program, values, x, expectedNorm, expectedSlack);
        EXPECT_EQ(norm, expectedNorm) << "dt " << program.dt << " values " << values;
        EXPECT_EQ(slackNorm, expectedSlack) << "dt " << program.dt << " values " << values << " x " << x;
    }
}

TYPED_TEST(TargetTyped, ASingleFiniteTargetMeasuresTheDistanceToIt)
{
    using T = TypeParam;
    Vorm<T> program;
    program.dt = Vector<T>("[ -inf 5 ]");
    T slackNorm;
    EXPECT_EQ(program.computeTargetNorm(Vector<T>("[ -2 3 ]"), Vector<T>(), slackNorm), T(0L));
    EXPECT_EQ(slackNorm, T(2L));
    // Once a finite target was met, an infinite one behind it is infinitely far from its goal.
    program.dt = Vector<T>("[ 5 -inf ]");
    EXPECT_EQ(program.computeTargetNorm(Vector<T>("[ 3 -2 ]"), Vector<T>(), slackNorm), Constant<T>::INF());
    EXPECT_EQ(slackNorm, Constant<T>::INF());
}

TYPED_TEST(TargetTyped, SumOfAbsoluteValuesOverInfiniteTargets)
{
    using T = TypeParam;
    Vorm<T> program;
    program.dt = Vector<T>("[ inf -inf -inf ]");
    EXPECT_EQ(program.sumTargetAbsValues(Vector<T>("[ -3 4 -0.5 ]")), T(15L) / T(2L));
}

TEST(TargetEvaluationDeathTest, FiniteTargetInASlackifiedProgram)
{
    Vorm<QQ> program;
    program.dt = Vector<QQ>("[ -inf 3 ]");
    program.slackified = true;
    bool finite = false;
    EXPECT_EQ(program.targetComponentDeviation(Vector<QQ>("[ 1 2 ]"), 1, finite), QQ(1));
    EXPECT_FALSE(finite);
    EXPECT_EXIT(program.targetComponentDeviation(Vector<QQ>("[ 1 2 ]"), 2, finite),
                testing::ExitedWithCode(1), "^\n\\*\\*\\* FAIL: preparation inconsistency\n$");
}

TEST(TargetEvaluationDeathTest, FiniteTargetLeftWhenSummingAbsoluteValues)
{
    Vorm<long double> program;
    program.dt = Vector<long double>("[ inf 0 ]");
    EXPECT_EXIT(program.sumTargetAbsValues(Vector<long double>("[ 1 2 ]")), testing::ExitedWithCode(1),
                "^\n\\*\\*\\* FAIL: This should not be the case anymore!\n$");
}

TYPED_TEST(TargetTyped, FirstBoundsComeFromTheValuesAndTheBoundToBeat)
{
    using T = TypeParam;
    Vorm<T> program;
    program.dt = Vector<T>("[ -inf inf ]");
    program.finiteTargetsOnly = false;
    EXPECT_TRUE(program.initOrAdaptTargetBnds(Vector<T>("[ 3 -4 ]"), T(10L)));
    EXPECT_EQ(program.ltu, T(-7L));
    EXPECT_EQ(program.rtu, T(9L));
    EXPECT_EQ(program.tu, 1);
    // A larger bound doesn't raise rtu, and a larger sum lowers ltu.
    EXPECT_TRUE(program.initOrAdaptTargetBnds(Vector<T>("[ 5 -4 ]"), T(20L)));
    EXPECT_EQ(program.ltu, T(-9L));
    EXPECT_EQ(program.rtu, T(9L));
    // Neither moves: false.
    EXPECT_FALSE(program.initOrAdaptTargetBnds(Vector<T>("[ 1 1 ]"), T(15L)));
    EXPECT_EQ(program.ltu, T(-9L));
    EXPECT_EQ(program.rtu, T(9L));
}

TYPED_TEST(TargetTyped, NothingMovedLeavesTuAsItWas)
{
    using T = TypeParam;
    Vorm<T> program;
    program.dt = Vector<T>("[ -inf ]");
    program.ltu = T(-2L);
    program.rtu = T(5L);
    EXPECT_FALSE(program.initOrAdaptTargetBnds(Vector<T>("[ 1 ]"), T(10L)));
    EXPECT_EQ(program.tu, 0);
    EXPECT_EQ(program.rtu, T(5L));
}

TYPED_TEST(TargetTyped, DeviationsOnlyKeepTheLeftBoundAtZeroAndAnEmptyIntervalShrinks)
{
    using T = TypeParam;
    Vorm<T> program;
    program.dt = Vector<T>("[ -inf ]");
    ASSERT_TRUE(program.finiteTargetsOnly);
    EXPECT_TRUE(program.initOrAdaptTargetBnds(Vector<T>("[ -6 ]"), T(4L)));
    EXPECT_EQ(program.ltu, T(0L));
    EXPECT_EQ(program.rtu, T(3L));
    // rtu below ltu: ltu follows it down.
    EXPECT_TRUE(program.initOrAdaptTargetBnds(Vector<T>("[ 0 ]"), T(-2L)));
    EXPECT_EQ(program.rtu, T(-3L));
    EXPECT_EQ(program.ltu, T(-3L));
}

TYPED_TEST(TargetTyped, CornerOfTheBoxAtInfinityIsSkipped)
{
    using T = TypeParam;
    Vorm<T> program;
    program.dt = Vector<T>("[ -inf inf ]");
    program.finiteTargetsOnly = false;
    read(program.At, "[ [ 1 2 ] [ 3 -1 ] ]");
    program.lx = Vector<T>("[ -inf 0 ]");
    program.rx = Vector<T>("[ 2 3 ]");
    program.adaptTargetBoundsByXBounds();
    // At rx the targets are 8 and 3: sum of absolute values 11.
    EXPECT_EQ(program.ltu, T(-11L));
    EXPECT_EQ(program.rtu, T(11L));
    EXPECT_EQ(program.tu, 0);
    // Both corners finite: the wider estimate wins on either side.
    program.resetTargets();
    program.dt = Vector<T>("[ -inf inf ]");
    read(program.At, "[ [ 1 2 ] [ 3 -1 ] ]");
    program.lx = Vector<T>("[ -4 -5 ]");
    program.adaptTargetBoundsByXBounds();
    // At lx: -14 and -7, sum 21; targets are all infinite, finiteTargetsOnly is as reset: true.
    EXPECT_EQ(program.ltu, T(0L));
    EXPECT_EQ(program.rtu, T(21L));
}

TYPED_TEST(TargetTyped, RealBoundsKeepTheirRightEnd)
{
    using T = TypeParam;
    Vorm<T> program;
    program.dt = Vector<T>("[ -inf ]");
    program.finiteTargetsOnly = false;
    read(program.At, "[ [ 1 1 ] ]");
    program.lx = Vector<T>("[ -3 -4 ]");
    program.rx = Vector<T>("[ 1 1 ]");
    program.ltu = T(-2L);
    program.rtu = T(1L);
    program.tu = 1;
    program.adaptTargetBoundsByXBounds();
    EXPECT_EQ(program.ltu, T(-7L));
    EXPECT_EQ(program.rtu, T(1L));
    // Without target rows nothing happens.
    Vorm<T> empty;
    empty.lx = Vector<T>("[ 1 ]");
    empty.rx = Vector<T>("[ 2 ]");
    empty.adaptTargetBoundsByXBounds();
    EXPECT_EQ(empty.ltu, -Constant<T>::INF());
    EXPECT_EQ(empty.rtu, Constant<T>::INF());
}

} // namespace
} // namespace latopt
