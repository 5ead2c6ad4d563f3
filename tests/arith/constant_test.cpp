#include "arith/constant.h"
#include "arith/math.h"
#include "arith/precision.h"

#include "test_seed.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numeric>
#include <random>
#include <string>

namespace latopt {
namespace {

using LD = long double;

TEST(PrecisionOverflows, TrustedRangeFatalRangeAndInfinity)
{
    // Up to 10^9 trusted, beyond it flagged up to 10^18 inclusive; infinities and NaN never overflow.
    for (LD x :
         {1e9L, -1e9L, Constant<LD>::INF(), -Constant<LD>::INF(), std::numeric_limits<LD>::quiet_NaN()})
        EXPECT_FALSE(Precision::overflows(x)) << static_cast<double>(x);
    for (LD x : {1000000001.0L, -1000000001.0L, 1e18L, -1e18L})
        EXPECT_TRUE(Precision::overflows(x)) << static_cast<double>(x);
}

TEST(PrecisionOverflows, BeyondTenToTheEighteenThrowsFatal)
{
    for (LD x : {2e18L, -2e18L, std::nextafter(1e18L, 2e18L), std::numeric_limits<LD>::max()}) {
        SCOPED_TRACE(std::to_string(static_cast<double>(x)));
        try {
            Precision::overflows(x);
            ADD_FAILURE() << "no exception";
        } catch (const FatalPrecisionException& exception) {
            EXPECT_STREQ(exception.what(),
                         "FatalPrecisionException exception: Uncorrectable precision overflow "
                         "detected - probably more overflow / precision checks are needed ...");
        }
    }
    // The retry protocol catches it as a PrecisionException.
    EXPECT_THROW(Precision::overflows(2e18L), PrecisionException);
}

TEST(PrecisionEqualsZero, ToleranceOfTenToTheMinusNineWhateverTheFlag)
{
    for (bool flag : {true, false}) {
        for (LD x : {0.0L, 1e-9L, -1e-9L})
            EXPECT_TRUE(Precision::equalsZero(x, flag)) << static_cast<double>(x);
        for (LD x : {2e-9L, -2e-9L, Constant<LD>::INF()})
            EXPECT_FALSE(Precision::equalsZero(x, flag)) << static_cast<double>(x);
    }
    EXPECT_TRUE(Math::equalsEpsilonZero(1e-9L));
    EXPECT_FALSE(Math::equalsEpsilonZero(1.5e-9L));
    EXPECT_TRUE(Math::areEpsilonEqual(1.0L, 1.0L + 5e-10L));
    EXPECT_FALSE(Math::areEpsilonEqual(1.0L, 1.0L + 5e-9L));
    // Integer types have a zero tolerance.
    EXPECT_TRUE(Math::equalsEpsilonZero(0L));
    EXPECT_FALSE(Math::equalsEpsilonZero(-1L));
    EXPECT_EQ(Math::abs(-Constant<LD>::INF()), Constant<LD>::INF());
}

// ggt and kgv on integral long doubles against std::gcd and std::lcm.
TEST(MathGgtKgv, IntegralLongDoublesAgreeWithStdGcd)
{
    const unsigned long long seed = test::testSeed();
    SCOPED_TRACE(test::seedTrace(seed));
    std::mt19937_64 random(seed);
    for (long round = 0; round < test::rounds(2000); ++round) {
        const long long a = static_cast<long long>(random() % 2000001) - 1000000;
        const long long b = static_cast<long long>(random() % 2000001) - 1000000;
        SCOPED_TRACE(std::to_string(a) + ", " + std::to_string(b));
        EXPECT_EQ(Math::ggt(static_cast<LD>(a), static_cast<LD>(b)), static_cast<LD>(std::gcd(a, b)));
        if (a != 0 && b != 0) {
            // The product carries the sign: (a * b) / ggt.
            const LD kgv = Math::kgv(static_cast<LD>(a), static_cast<LD>(b));
            EXPECT_EQ(Math::abs(kgv), static_cast<LD>(std::lcm(a, b)));
            EXPECT_EQ(kgv < 0, (a < 0) != (b < 0));
        }
    }
    EXPECT_EQ(Math::ggt(0.0L, 0.0L), 0.0L);
    EXPECT_EQ(Math::ggt(0.0L, -6.0L), 6.0L);
    // Dyadic fractions divide exactly, so Euclid works on them too.
    EXPECT_EQ(Math::ggt(0.75L, 0.5L), 0.25L);
    EXPECT_EQ(Math::kgv(0.75L, 0.5L), 1.5L);
}

} // namespace
} // namespace latopt
