#include "arith/constant.h"
#include "arith/qq.h"
#include "base/exceptions.h"
#include "program/program_text.h"
#include "program/vorm.h"
#include "test_seed.h"

#include <gtest/gtest.h>

#include <numeric>
#include <random>
#include <sstream>
#include <string>

namespace latopt {
namespace {

using testing_support::parse;
using testing_support::written;

// Programs as .opt text: dt (= kt) At Ag bg Au lu ru dx lx rx.
TEST(Normalisation, VariablesAndRowsBecomeIntegral)
{
    // x1 in hundredths with rx 1.239 -> 123 and its entry 3 -> 3/100, the row then times 100;
    // x2 in [1/3, 5/2] -> [1, 2]; the known value 7/3 of a minimised target with K = 2 rounds up
    // to 5; 1/2 <= x3 <= 7/2 keeps K = 1 and becomes 1 <= x3 <= 3.
    Vorm<QQ> p = parse("[ -inf ] = [ 7/3 ] [ [ 0 1/2 0 ] ] [ [ 3 0 0 ] ] [ 1 ] [ [ 0 0 1 ] ] [ 1/2 ] [ 7/2 ]"
                       "[ 2 0 0 ] [ 0 1/3 0 ] [ 1.239 5/2 9 ]");
    p.applyPrecision();
    EXPECT_EQ(written(p.rx), "[ 123 2 9 ]");
    EXPECT_EQ(written(p.lx), "[ 0 1 0 ]");
    EXPECT_EQ(written(p.Ag), "[ [ 3/100 0 0 ] ]");
    p.removeFloatingPointEntries();
    EXPECT_EQ(written(p.Ag), "[ [ 3 0 0 ] ]");
    EXPECT_EQ(written(p.bg), "[ 100 ]");
    EXPECT_EQ(written(p.At), "[ [ 0 1 0 ] ]");
    EXPECT_EQ(written(p.kt), "[ 5 ]");
    EXPECT_EQ(written(p.lu) + written(p.ru), "[ 1 ][ 3 ]");
    // One factor for all targets: rows 1/2, 1/3 and 1/5 give 30.
    p = parse("[ -inf inf ] [ [ 1/2 1/3 ] [ 1/5 0 ] ] [ ] [ ] [ ] [ ] [ ] [ 0 0 ] [ 0 0 ] [ 1 1 ]");
    p.removeFloatingPointEntries();
    EXPECT_EQ(written(p.At), "[ [ 15 10 ] [ 6 0 ] ]");
}

TEST(Normalisation, DecreasingTheLeftBoundFindsTheSmallestMultiple)
{
    Vorm<QQ> p;
    // Widths 7..12 give multiples 84, 24, 36, 60, 132, 12 of 12; the search stops at 12.
    QQ left(3L);
    EXPECT_EQ(p.decreaseLeftTargetBoundUntilKgvIsMinimal(QQ(12L), QQ(10L), left), QQ(12L));
    EXPECT_EQ(left, QQ(-2L));
    // A fractional width is first widened to an integer, so the search ends: 14/3 -> 5 -> 6.
    left = QQ(0L);
    EXPECT_EQ(p.decreaseLeftTargetBoundUntilKgvIsMinimal(QQ(2L), QQ(14L) / QQ(3L), left), QQ(6L));
    // Against the plain search over integer widths: the first width that divides kgv or is a
    // multiple of it ends it, the smallest least common multiple on the way wins.
    const unsigned long long seed = test::testSeed();
    SCOPED_TRACE(test::seedTrace(seed));
    std::mt19937_64 random(seed);
    for (long round = 1; round <= test::rounds(200); ++round) {
        const long kgv = 1 + static_cast<long>(random() % 60);
        const long right = static_cast<long>(random() % 40) - 10;
        const long start = right - 1 - static_cast<long>(random() % 50);
        long best = right - start;
        for (long w = right - start;; ++w) {
            if (std::lcm(kgv, w) < std::lcm(kgv, best)) best = w;
            if (std::gcd(kgv, w) == w || std::gcd(kgv, w) == kgv) break;
        }
        QQ l(start);
        EXPECT_EQ(p.decreaseLeftTargetBoundUntilKgvIsMinimal(QQ(kgv), QQ(right), l), QQ(best))
            << kgv << " " << right << " " << start;
        EXPECT_EQ(l, QQ(right - best));
    }
}

TEST(Normalisation, BoundsKgVIsAMultipleOfEveryWidth)
{
    // x1 bounded of width 4; x2 right-free with an artificial rx 5, raised to 8 (lcm 8, not 20);
    // an inequation of width 6; the target sum in [3, 10], whose left bound goes to 2 (width 8).
    Vorm<QQ> p = parse("[ ] [ ] [ ] [ ] [ [ 1 1 ] ] [ 0 ] [ 6 ] [ 0 0 ] [ 0 0 ] [ 4 inf ]");
    p.rx[2] = QQ(5L);
    p.tu = 1;
    p.ltu = QQ(3L);
    p.rtu = QQ(10L);
    EXPECT_EQ(p.computeBoundsKgV(false), QQ(24L));
    EXPECT_EQ(written(p.rx), "[ 4 8 ]");
    EXPECT_EQ(p.ltu, QQ(2L));
    EXPECT_EQ(p.computeBoundsKgV(true), QQ(8L));
}

// Target sums of grid points step by 1/K: x1 with entry 1/2 and x2 in tenths give steps of 1/10,
// and a new solution must beat the bound 5 by that step, not by 1.
TEST(Normalisation, TargetBoundIsBeatenByOneStepOfTheSum)
{
    Vorm<QQ> p = parse("[ -inf -inf ] [ [ 1/2 0 ] [ 0 1 ] ] [ ] [ ] [ ] [ ] [ ] [ 0 1 ] [ 0 0 ] [ 4 1 ]");
    EXPECT_EQ(p.targetStep(), QQ(1L) / QQ(10L));
    EXPECT_TRUE(p.initOrAdaptTargetBnds(Vector<QQ>("[ 2 3 ]"), QQ(5L)));
    EXPECT_EQ(p.rtu, QQ(49L) / QQ(10L));
}

// In long double a scaled bound that misses an integer by a rounding error (12.4 * 10 may give
// 123.99...) must not be floored: the result is the exact one or a PrecisionException.
TEST(Normalisation, LongDoubleBoundsAreExactOrRefused)
{
    const unsigned long long seed = test::testSeed();
    SCOPED_TRACE(test::seedTrace(seed));
    std::mt19937_64 random(seed);
    long refused = 0;
    const long count = test::rounds(300);
    for (long round = 1; round <= count; ++round) {
        // Hundredths 01..99 that don't end in 0 (the number reader refuses a trailing zero).
        long hundredths = 1 + static_cast<long>(random() % 99);
        if (hundredths % 10 == 0) ++hundredths;
        const std::string bound = std::to_string(random() % 100000) + "." + (hundredths < 10 ? "0" : "") +
                                  std::to_string(hundredths);
        Vorm<QQ> exact = parse("[ ] [ ] [ ] [ ] [ [ 1 ] ] [ 0 ] [ 1 ] [ 2 ] [ 0 ] [ " + bound + " ]");
        Vorm<long double> standard;
        standard._assign(exact);
        exact.applyPrecision();
        try {
            standard.applyPrecision();
            EXPECT_EQ(QQ(standard.rx[1]), exact.rx[1]) << bound;
        } catch (const PrecisionException&) {
            ++refused;
        }
    }
    EXPECT_LT(refused, count);
}

TEST(NormalisationDeathTest, InequationOfWidthZeroStops)
{
    // 5 <= x <= 10 with x in [0, 5] sharpens to width 0: feasible, yet refused.
    Vorm<QQ> p = parse("[ ] [ ] [ ] [ ] [ [ 1 ] ] [ 5 ] [ 10 ] [ 0 ] [ 0 ] [ 5 ]");
    p.slackStage(false, false);
    p.prepareVorm(false);
    EXPECT_EXIT(p.computeBoundsKgV(false), testing::ExitedWithCode(1), "\\*\\*\\* FAIL: ineq bounds error1");
}

} // namespace
} // namespace latopt
