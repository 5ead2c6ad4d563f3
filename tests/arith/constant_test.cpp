#include "arith/constant.h"
#include "arith/math.h"
#include "arith/precision.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numeric>
#include <random>
#include <string>

namespace latopt {
namespace {

using LD = long double;

TEST(ConstLimits, PowersOfTen)
{
    EXPECT_EQ(Const::DBL_DIGITS(), 18);
    EXPECT_EQ(Const::HALFDBL_DIGITS(), 9);
    EXPECT_EQ(Const::DOUBLE_OVERFLOW(), 1000000000.0L);
    EXPECT_EQ(Const::DOUBLE_FATAL_OVERFLOW(), 1000000000000000000.0L);
}

TEST(ConstantLongDouble, NamedValues)
{
    EXPECT_EQ(Constant<LD>::HALF(), 0.5L);
    EXPECT_EQ(Constant<LD>::EPSILON(), 1.0L / 1000000000.0L);
    EXPECT_EQ(Constant<LD>::DELTA(), 1.0L - Constant<LD>::EPSILON());
    EXPECT_LT(Constant<LD>::DELTA(), 1.0L);
    EXPECT_TRUE(std::isinf(Constant<LD>::INF()));
    EXPECT_GT(Constant<LD>::INF(), 0.0L);
    EXPECT_EQ(Constant<LD>::SCALE_LIMIT_DEFAULT(), 1000.0L);
    EXPECT_EQ(Constant<long>::INF(), 9223372036854775807L);
    EXPECT_EQ(Constant<long>::MAX(), 9223372036854775807L);
    EXPECT_EQ(Constant<long>::EPSILON(), 0);
    EXPECT_EQ(Constant<long long>::EPSILON(), 0);
}

TEST(PrecisionOverflows, TrustedRangeFatalRangeAndInfinity)
{
    EXPECT_FALSE(Precision::overflows(1e9L));
    EXPECT_FALSE(Precision::overflows(-1e9L));
    EXPECT_TRUE(Precision::overflows(1000000001.0L));
    EXPECT_TRUE(Precision::overflows(-1000000001.0L));
    EXPECT_FALSE(Precision::overflows(Constant<LD>::INF()));
    EXPECT_FALSE(Precision::overflows(-Constant<LD>::INF()));
    EXPECT_FALSE(Precision::overflows(std::numeric_limits<LD>::quiet_NaN()));
    bool result = false;
    EXPECT_NO_THROW(result = Precision::overflows(1e18L));
    EXPECT_TRUE(result);
    EXPECT_NO_THROW(result = Precision::overflows(-1e18L));
    EXPECT_TRUE(result);
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
        EXPECT_TRUE(Precision::equalsZero(0.0L, flag));
        EXPECT_TRUE(Precision::equalsZero(1e-9L, flag));
        EXPECT_TRUE(Precision::equalsZero(-1e-9L, flag));
        EXPECT_FALSE(Precision::equalsZero(2e-9L, flag));
        EXPECT_FALSE(Precision::equalsZero(-2e-9L, flag));
        EXPECT_FALSE(Precision::equalsZero(Constant<LD>::INF(), flag));
    }
    EXPECT_TRUE(Math::equalsEpsilonZero(1e-9L));
    EXPECT_FALSE(Math::equalsEpsilonZero(1.5e-9L));
    EXPECT_TRUE(Math::areEpsilonEqual(1.0L, 1.0L + 5e-10L));
    EXPECT_FALSE(Math::areEpsilonEqual(1.0L, 1.0L + 5e-9L));
    // Integer types have a zero tolerance.
    EXPECT_TRUE(Math::equalsEpsilonZero(0L));
    EXPECT_FALSE(Math::equalsEpsilonZero(-1L));
}

TEST(MathAbs, SignsAndInfinity)
{
    EXPECT_EQ(Math::abs(-3.5L), 3.5L);
    EXPECT_EQ(Math::abs(3.5L), 3.5L);
    EXPECT_EQ(Math::abs(-7L), 7L);
    EXPECT_EQ(Math::abs(-Constant<LD>::INF()), Constant<LD>::INF());
}

// ggt and kgv on integral long doubles against std::gcd and std::lcm.
TEST(MathGgtKgv, IntegralLongDoublesAgreeWithStdGcd)
{
    const unsigned seed = 99991;
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937_64 random(seed);
    for (int round = 0; round < 2000; ++round) {
        const long long a = static_cast<long long>(random() % 2000001) - 1000000;
        const long long b = static_cast<long long>(random() % 2000001) - 1000000;
        SCOPED_TRACE(std::to_string(a) + ", " + std::to_string(b));
        EXPECT_EQ(Math::ggt(static_cast<LD>(a), static_cast<LD>(b)), static_cast<LD>(std::gcd(a, b)));
        if (a != 0 && b != 0) {
            // The product carries the sign: (a * b) / ggt.
            EXPECT_EQ(Math::kgv(static_cast<LD>(a), static_cast<LD>(b)),
                      static_cast<LD>(a) * static_cast<LD>(b) / static_cast<LD>(std::gcd(a, b)));
            EXPECT_EQ(Math::abs(Math::kgv(static_cast<LD>(a), static_cast<LD>(b))),
                      static_cast<LD>(std::lcm(a, b)));
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
