#include "program/print_time.h"
#include "program/vorm.h"

#include "arith/constant.h"
#include "arith/qq.h"
#include "base/exceptions.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <sstream>
#include <string>
#include <type_traits>

namespace latopt {
namespace {

template <class T>
class SolutionCheckTyped : public ::testing::Test {
};
using NumberTypes = ::testing::Types<long double, QQ>;
TYPED_TEST_SUITE(SolutionCheckTyped, NumberTypes);

unsigned long long testSeed()
{
    const char* text = std::getenv("LATOPT_TEST_SEED");
    return text != nullptr ? std::strtoull(text, nullptr, 10) : 20261122ULL;
}

template <class T>
void read(Matrix<T>& matrix, const char* text)
{
    std::istringstream stream(text);
    matrix.unserialize(stream);
}

// The program of the tool's example: minimise 2 x1 + 3 x2 + x3 subject to x1 + x2 + x3 = 6,
// 1 <= x1 - x2 <= 4, 0 <= x <= (5, 5, 3).
template <class T>
Vorm<T> exampleProgram()
{
    Vorm<T> program;
    program.dt = Vector<T>("[ -inf ]");
    program.kt = program.dt;
    read(program.At, "[ [ 2 3 1 ] ]");
    read(program.Ag, "[ [ 1 1 1 ] ]");
    program.bg = Vector<T>("[ 6 ]");
    read(program.Au, "[ [ 1 -1 0 ] ]");
    program.lu = Vector<T>("[ 1 ]");
    program.ru = Vector<T>("[ 4 ]");
    program.dx = Vector<T>("[ 0 0 0 ]");
    program.lx = Vector<T>("[ 0 0 0 ]");
    program.rx = Vector<T>("[ 5 5 3 ]");
    program.finiteTargetsOnly = false;
    return program;
}

template <class T>
Star<T> record(const char* x, const char* targetValues, long targetNorm, long slackNorm, long seconds)
{
    return Star<T>(Vector<T>(x), Vector<T>(targetValues), T(targetNorm), T(slackNorm), seconds, "--beta=20",
                   "");
}

TYPED_TEST(SolutionCheckTyped, PassingRecordGetsItsFiguresRecomputed)
{
    using T = TypeParam;
    Vorm<T> program = exampleProgram<T>();
    // The figures in a file are not trusted: 99 and 7 are replaced.
    Star<T> star = record<T>("[ 3 0 3 ]", "[ 99 ]", 99, 7, 12);
    ASSERT_TRUE(program.checkStar(star));
    EXPECT_TRUE(star.targetValues == Vector<T>("[ 9 ]"));
    EXPECT_EQ(star.targetNorm, T(9L));
    EXPECT_EQ(star.slackNorm, T(0L));
    EXPECT_EQ(star.secondsUntilDiscovered, 12);
    EXPECT_EQ(star.params, "--beta=20");
}

TYPED_TEST(SolutionCheckTyped, EachFailingTestRejectsAndLeavesTheRecord)
{
    using T = TypeParam;
    Vorm<T> program = exampleProgram<T>();
    // Below a lower bound; above an upper bound; equation broken; inequation below; above.
    for (const char* x : {"[ -1 4 3 ]", "[ 6 0 0 ]", "[ 3 0 2 ]", "[ 2 2 2 ]", "[ 5 0 1 ]"}) {
        SCOPED_TRACE(x);
        Star<T> star = record<T>(x, "[ 99 ]", 99, 7, 12);
        EXPECT_FALSE(program.checkStar(star));
        EXPECT_TRUE(star.targetValues == Vector<T>("[ 99 ]"));
        EXPECT_EQ(star.targetNorm, T(99L));
        EXPECT_EQ(star.slackNorm, T(7L));
    }
}

TYPED_TEST(SolutionCheckTyped, WithoutTargetsOnlyTheConstraintsDecide)
{
    using T = TypeParam;
    Vorm<T> program = exampleProgram<T>();
    program.resetTargets();
    Star<T> star = record<T>("[ 3 0 3 ]", "[ 5 6 ]", 42, 0, -1);
    ASSERT_TRUE(program.checkStar(star));
    EXPECT_TRUE(star.targetValues == Vector<T>("[ 5 6 ]"));
    EXPECT_EQ(star.targetNorm, T(42L));
    // The report runs over the program's targets, so none are shown.
    program.stars.setDimension(1);
    program.stars[1] = star;
    EXPECT_EQ(program.outputOptStarSolutions(),
              "\nx = [ 3 0 3 ]\n\nTarget values: [ ]\nTarget Norm: 42\nSlack Norm: 0\n");
}

// The verdict against an independent evaluation in 64-bit integers, on random small programs
// with a minimised, a maximised and a finite target.
TYPED_TEST(SolutionCheckTyped, VerdictAndFiguresMatchAnIntegerEvaluation)
{
    using T = TypeParam;
    const unsigned long long seed = testSeed();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937_64 random(seed);
    const auto draw = [&](long low, long high) {
        return std::uniform_int_distribution<long>(low, high)(random);
    };
    const auto vectorText = [](const long* values, long n) {
        std::string text = "[ ";
        for (long j = 0; j < n; ++j)
            text += std::to_string(values[j]) + " ";
        return text + "]";
    };
    constexpr long n = 3;
    int passed = 0;
    for (int round = 0; round < 300; ++round) {
        long ag[n], au[n], at[3][n], lx[n], rx[n], x0[n], x[n];
        for (long j = 0; j < n; ++j) {
            ag[j] = draw(-3, 3);
            au[j] = draw(-3, 3);
            for (auto& row : at)
                row[j] = draw(-3, 3);
            lx[j] = draw(-3, 0);
            rx[j] = draw(0, 3);
            x0[j] = draw(lx[j], rx[j]);
        }
        const auto dot = [](const long* a, const long* b) {
            long sum = 0;
            for (long j = 0; j < n; ++j)
                sum += a[j] * b[j];
            return sum;
        };
        const long bg = dot(ag, x0);
        const long lu = dot(au, x0) - draw(0, 2);
        const long ru = dot(au, x0) + draw(0, 2);
        const long goal = draw(-5, 5);
        const bool nearX0 = draw(0, 1) == 1;
        for (long j = 0; j < n; ++j)
            x[j] = nearX0 ? x0[j] + draw(-1, 1) * draw(0, 1) : draw(-4, 4);

        Vorm<T> program;
        program.dt = Vector<T>(("[ -inf inf " + std::to_string(goal) + " ]").c_str());
        read(program.At,
             ("[ " + vectorText(at[0], n) + vectorText(at[1], n) + vectorText(at[2], n) + " ]").c_str());
        read(program.Ag, ("[ " + vectorText(ag, n) + " ]").c_str());
        program.bg = Vector<T>(("[ " + std::to_string(bg) + " ]").c_str());
        read(program.Au, ("[ " + vectorText(au, n) + " ]").c_str());
        program.lu = Vector<T>(("[ " + std::to_string(lu) + " ]").c_str());
        program.ru = Vector<T>(("[ " + std::to_string(ru) + " ]").c_str());
        program.lx = Vector<T>(vectorText(lx, n).c_str());
        program.rx = Vector<T>(vectorText(rx, n).c_str());

        bool expected = true;
        for (long j = 0; j < n; ++j)
            expected = expected && lx[j] <= x[j] && x[j] <= rx[j];
        expected = expected && dot(ag, x) == bg && lu <= dot(au, x) && dot(au, x) <= ru;

        Star<T> star = record<T>(vectorText(x, n).c_str(), "[ 0 0 0 ]", -5, -5, 3);
        SCOPED_TRACE("round " + std::to_string(round) + ", x = " + vectorText(x, n));
        ASSERT_EQ(program.checkStar(star), expected);
        if (!expected) {
            EXPECT_EQ(star.targetNorm, T(-5L));
            continue;
        }
        ++passed;
        // Minimised counts as is, maximised negated, finite as the distance to its goal, which
        // is also the slack.
        const long v1 = dot(at[0], x), v2 = dot(at[1], x), v3 = dot(at[2], x);
        const long distance = v3 > goal ? v3 - goal : goal - v3;
        EXPECT_TRUE(star.targetValues == Vector<T>(("[ " + std::to_string(v1) + " " + std::to_string(v2) +
                                                    " " + std::to_string(v3) + " ]")
                                                       .c_str()));
        EXPECT_EQ(star.targetNorm, T(v1 - v2 + distance));
        EXPECT_EQ(star.slackNorm, T(distance));
    }
    // The family must exercise both verdicts.
    EXPECT_GT(passed, 20);
    EXPECT_LT(passed, 280);
}

TYPED_TEST(SolutionCheckTyped, ArrayPassSkipsTheRecordThatMovesIntoAFreedPlace)
{
    using T = TypeParam;
    Vorm<T> program = exampleProgram<T>();
    EXPECT_TRUE(program.checkStars());
    const char* xs[] = {"[ 3 0 3 ]", "[ 9 9 9 ]", "[ 8 8 8 ]", "[ 2 0 4 ]", "[ 4 1 1 ]", "[ 7 7 7 ]"};
    program.stars.setDimension(6);
    for (long i = 1; i <= 6; ++i)
        program.stars[i] = record<T>(xs[i - 1], "[ 0 ]", 0, 0, i);
    EXPECT_FALSE(program.checkStars());
    // [ 9 9 9 ] goes, [ 8 8 8 ] takes its place and is skipped; [ 2 0 4 ] breaks x3 <= 3 and
    // goes, [ 4 1 1 ] moves up unchecked; [ 7 7 7 ] is checked and goes.
    ASSERT_EQ(program.stars.dimension(), 3);
    EXPECT_TRUE(program.stars[1] == Vector<T>("[ 3 0 3 ]"));
    EXPECT_TRUE(program.stars[2] == Vector<T>("[ 8 8 8 ]"));
    EXPECT_TRUE(program.stars[3] == Vector<T>("[ 4 1 1 ]"));
    // Checked records have their figures; skipped ones keep theirs.
    EXPECT_EQ(program.stars[1].targetNorm, T(9L));
    EXPECT_EQ(program.stars[3].targetNorm, T(0L));
    // The next pass removes [ 8 8 8 ], and [ 4 1 1 ] moves into its place unchecked again; the
    // third pass checks it.
    EXPECT_FALSE(program.checkStars());
    ASSERT_EQ(program.stars.dimension(), 2);
    EXPECT_EQ(program.stars[2].targetNorm, T(0L));
    EXPECT_TRUE(program.checkStars());
    ASSERT_EQ(program.stars.dimension(), 2);
    EXPECT_EQ(program.stars[2].targetNorm, T(12L));
}

TEST(SolutionCheckPrecision, LongDoubleBeyondTheTrustedRangeThrowsAndQqDecides)
{
    // x1 may reach 10^10; x1 + x2 is the target.
    const auto build = [](auto& program) {
        using T = std::decay_t<decltype(program.dt[1])>;
        program.dt = Vector<T>("[ -inf ]");
        read(program.At, "[ [ 1 1 ] ]");
        read(program.Au, "[ [ 100000 0 ] ]");
        program.lu = Vector<T>("[ -inf ]");
        program.ru = Vector<T>("[ inf ]");
        program.lx = Vector<T>("[ 0 0 ]");
        program.rx = Vector<T>("[ 10000000000 10000000000 ]");
    };
    Vorm<long double> standard;
    Vorm<QQ> exact;
    build(standard);
    build(exact);
    struct Case {
        const char* x;
        const char* what;
        bool holds; // the exact verdict
    };
    for (const Case& c :
         {Case{"[ 2000000000 0 ]", "an entry of x", true}, Case{"[ 20000 0 ]", "a product (2 * 10^9)", true},
          Case{"[ 0 1200000000 ]", "the other entry", true},
          Case{"[ 10000000000000000000 0 ]", "an entry beyond 10^18", false}}) {
        SCOPED_TRACE(c.what);
        Star<long double> inStandard = record<long double>(c.x, "[ 0 ]", 0, 0, 1);
        Star<QQ> inExact = record<QQ>(c.x, "[ 0 ]", 0, 0, 1);
        EXPECT_THROW(standard.checkStar(inStandard), PrecisionException);
        // The record is left as it was.
        EXPECT_EQ(inStandard.targetNorm, 0.0L);
        EXPECT_EQ(exact.checkStar(inExact), c.holds);
    }
    // A running sum: both products fit, their sum doesn't.
    read(standard.Au, "[ [ 1 1 ] ]");
    read(exact.Au, "[ [ 1 1 ] ]");
    Star<long double> inStandard = record<long double>("[ 600000000 600000000 ]", "[ 0 ]", 0, 0, 1);
    Star<QQ> inExact = record<QQ>("[ 600000000 600000000 ]", "[ 0 ]", 0, 0, 1);
    EXPECT_THROW(standard.checkStar(inStandard), PrecisionException);
    ASSERT_TRUE(exact.checkStar(inExact));
    EXPECT_EQ(inExact.targetNorm, QQ(1200000000L));
    // Within the range the two agree.
    Star<long double> small = record<long double>("[ 6000 9000 ]", "[ 0 ]", 0, 0, 1);
    ASSERT_TRUE(standard.checkStar(small));
    EXPECT_EQ(small.targetNorm, 15000.0L);
}

TYPED_TEST(SolutionCheckTyped, ReportGivesEachRecordWithItsGoals)
{
    using T = TypeParam;
    Vorm<T> program;
    program.dt = Vector<T>("[ 2 ]");
    EXPECT_EQ(program.outputOptStarSolutions(), "\n");
    program.stars.setDimension(1);
    program.stars[1] = record<T>("[ 1 0 1 ]", "[ 3 ]", 1, 0, 17);
    const std::string first = "x = [ 1 0 1 ]\n\nTarget values: [ 3\xE2\x86\x92"
                              "2 ]\nTarget Norm: 1\nSlack Norm: 0\nFound after: 17 sec(s)\n";
    EXPECT_EQ(program.outputOptStarSolution(1), first);
    EXPECT_EQ(program.outputOptStarSolutions(), "\n" + first);

    // Maximised and minimised goals; a record of unknown time; a record without figures.
    program.dt = Vector<T>("[ inf -inf ]");
    program.stars.setDimension(3);
    program.stars[1] = record<T>("[ 4 ]", "[ 5 -6 ]", -11, 0, -1);
    program.stars[2] = record<T>("[ 2 ]", "[ 7 8 ]", 1, -1, 3725);
    program.stars[3] = record<T>("[ 1 ]", "[ 1 1 ]", 0, 2, 125);
    const std::string expected =
        "\n"
        "x = [ 4 ]\n\nTarget values: [ 5\xE2\x86\x91 -6\xE2\x86\x93 ]\n"
        "Target Norm: -11\nSlack Norm: 0\n"
        "\n---\n\n"
        "x = [ 2 ]\n\n"
        "\n---\n\n"
        "x = [ 1 ]\n\nTarget values: [ 1\xE2\x86\x91 1\xE2\x86\x93 ]\n"
        "Target Norm: 0\nSlack Norm: 2\nFound after: 2:05 min(s):sec(s) == 125 secs\n";
    EXPECT_EQ(program.outputOptStarSolutions(), expected);
}

TEST(PrintTime, WritesHoursMinutesAndSeconds)
{
    const auto text = [](long long seconds) {
        std::ostringstream stream;
        printTime(stream, seconds);
        return stream.str();
    };
    EXPECT_EQ(text(3723), "1:02:03 hour(s):min(s):sec(s) == 3723 secs");
    EXPECT_EQ(text(125), "2:05 min(s):sec(s) == 125 secs");
    EXPECT_EQ(text(7), "7 sec(s)");
    EXPECT_EQ(text(3600), "1:00:00 hour(s):min(s):sec(s) == 3600 secs");
    EXPECT_EQ(text(60), "1:00 min(s):sec(s) == 60 secs");
    EXPECT_EQ(text(0), "0 sec(s)");
    EXPECT_EQ(text(-1), "-1 sec(s)");
    EXPECT_EQ(text(3599), "59:59 min(s):sec(s) == 3599 secs");
    EXPECT_EQ(text(36610), "10:10:10 hour(s):min(s):sec(s) == 36610 secs");
    // Whole numbers stay whole, also where a long double would be written with an exponent.
    EXPECT_EQ(text(3600000000LL), "1000000:00:00 hour(s):min(s):sec(s) == 3600000000 secs");
}

} // namespace
} // namespace latopt
