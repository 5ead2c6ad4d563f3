#include "arith/precision.h"

#include "arith/qq.h"
#include "base/exceptions.h"
#include "base/log.h"
#include "linalg/matrix.h"
#include "linalg/vector.h"

#include "test_seed.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>
#include <sstream>
#include <string>

namespace latopt {
namespace {

using test::rounds;
using test::seedTrace;
using test::testSeed;

std::string seventeenDigits(long double x)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.17Lg", x);
    return text;
}

// The significant digits of a %g text hold no zero. Both decimal readings of the system (the
// QQ parser and toDbl) join decimal limbs without padding, so a digit string with a zero in the
// wrong place loses digits on the way (see DigitStringsWithZeroesAcrossALimbLoseDigits); without
// zeroes both are exact.
bool zeroFreeDigits(const std::string& text)
{
    std::string digits;
    for (char c : text.substr(0, text.find_first_of("eE"))) {
        if (c >= '0' && c <= '9') digits += c;
    }
    digits.erase(0, digits.find_first_not_of('0'));
    return digits.find('0') == std::string::npos;
}

TEST(QqToDbl, FractionsThatDoNotFitThrowOnlyWhenAsked)
{
    const QQ third("1/3");
    const long double allowed = third.toDbl(true, true);
    EXPECT_EQ(allowed, third.toDbl(false, false));
    EXPECT_LE(fabsl(allowed - 1.0L / 3.0L), 1e-18L);
    try {
        (void)third.toDbl(true, false);
        ADD_FAILURE() << "no exception";
    } catch (const PostCommaPrecisionException& e) {
        EXPECT_STREQ(e.what(), "PostCommaPrecision exception: QQ is not representable as dbl_t");
    }
    // An integer part beyond 18 digits throws whatever the second flag says.
    const QQ big("1234567890123456789:1/2");
    EXPECT_THROW((void)big.toDbl(true, false), PreCommaPrecisionException);
    EXPECT_THROW((void)big.toDbl(true, true), PreCommaPrecisionException);
    EXPECT_EQ(big.toDbl(false, false), 1234567890123456789.0L);
    EXPECT_EQ(QQ("-123456789012345678:1/2").toDbl(true, true), -123456789012345678.5L);
}

// Eighteen significant digits arrive exactly; behind a zero integer part leading zeroes are free,
// behind a nonzero one they count.
TEST(QqToDbl, EighteenSignificantDigitsIsTheBudget)
{
    const long double infinity = std::numeric_limits<long double>::infinity();
    for (auto [text, value] : {std::pair{"-1/20", -0.05L},
                               {"3:1/1000000", 3.000001L},
                               {"inf", infinity},
                               {"-inf", -infinity},
                               {"0.123456789123456789", 0.123456789123456789L},
                               {"0.000000123456789123456789", 0.000000123456789123456789L},
                               {"123456789.123456789", 123456789.123456789L},
                               {"1.00000000000000001", 1.00000000000000001L}})
        EXPECT_EQ(QQ(text).toDbl(true, false), value) << text;
    for (const char* text : {"0.1234567891234567891", "123456789.1234567891", "1.000000000000000001"})
        EXPECT_THROW((void)QQ(text).toDbl(true, false), PostCommaPrecisionException) << text;
}

// Below 10^-9 a zero, infinities as such, a normal result (the reading of 17 significant digits
// over the whole range is the random run below).
TEST(QqFromLongDouble, SeventeenDigitsAndTheFlushBelowEpsilon)
{
    const long double infinity = std::numeric_limits<long double>::infinity();
    for (auto [x, text] :
         {std::pair{1e-10L, "0"}, {-1e-10L, "0"}, {infinity, "inf"}, {-infinity, "-inf"}, {2.75L, "2:3/4"}}) {
        QQ assigned;
        assigned = x;
        EXPECT_EQ(assigned, QQ(text)) << text;
        EXPECT_TRUE(assigned.isNormal()) << text;
        EXPECT_EQ(QQ(x), QQ(text)) << text;
    }
}

// Across the whole exponent range a long double crosses as the text a stream writes with 17 digits
// reads. Decimal texts of at most 18 significant digits (no zero behind the point, which the
// reader may join across limbs) come down as the stream reads them, at every magnitude; a value
// beyond the range reads as the stream reads it, the largest finite value.
TEST(PrecisionConv, ValuesCrossAsTheStreamsText)
{
    const unsigned long long seed = testSeed() + 1;
    SCOPED_TRACE(seedTrace(seed));
    std::mt19937_64 random(seed);
    auto digits = [&](int count, bool zeroes) {
        std::string text;
        for (int k = 0; k < count; ++k)
            text += static_cast<char>(zeroes ? '0' + random() % 10 : '1' + random() % 9);
        return text;
    };
    for (long round = 0; round < rounds(1000); ++round) {
        long double x =
            std::ldexp(static_cast<long double>(random()), static_cast<int>(random() % 16000) - 8064);
        if (random() % 2 == 0) x = -x;
        std::ostringstream written;
        DBL_OSTREAM_PREC(written) << x;
        SCOPED_TRACE(written.str());
        if (fabsl(x) > 1e-9L) {
            EXPECT_EQ(QQ(x), QQ(written.str().c_str()));
        }
        // length significant digits, the point after the first point of them (before them when
        // point <= 0); zeroes only before the point.
        const int length = 1 + static_cast<int>(random() % 18);
        const int point = static_cast<int>(random() % 60) - 30;
        std::string text;
        if (point <= 0) {
            text = "0." + std::string(static_cast<size_t>(-point), '0') + digits(length, false);
        } else if (point >= length) {
            text = digits(1, false) + digits(length - 1, true) +
                   std::string(static_cast<size_t>(point - length), '0');
        } else {
            text = digits(1, false) + digits(point - 1, true) + "." + digits(length - point, false);
        }
        SCOPED_TRACE(text);
        std::istringstream stream(text);
        long double read = 0;
        stream >> read;
        EXPECT_EQ(QQ(text.c_str()).toDbl(false, false), read);
    }
    EXPECT_EQ(QQ(("1" + std::string(5000, '0')).c_str()).toDbl(false, false),
              std::numeric_limits<long double>::max());
}

// Integers cross without text; the result must be the text's reading all the same. Digits are
// drawn zero-heavy, so that limbs with leading zeroes are frequent.
TEST(PrecisionConv, IntegersCrossAsTheirDecimalTextReads)
{
    const unsigned long long seed = testSeed();
    SCOPED_TRACE(seedTrace(seed));
    std::mt19937_64 random(seed);
    for (long round = 0; round < rounds(3000); ++round) {
        const int length = std::uniform_int_distribution<int>(1, 18)(random);
        std::string digits(1, static_cast<char>('1' + random() % 9));
        for (int k = 1; k < length; ++k)
            digits += random() % 3 == 0 ? static_cast<char>('0' + random() % 10) : '0';
        const std::string text = (random() % 2 == 0 ? "-" : "") + digits;
        SCOPED_TRACE(text);
        const long double value = std::strtold(text.c_str(), nullptr);
        EXPECT_EQ(QQ(text.c_str()).toDbl(true, false), value);
        EXPECT_EQ(length <= 17 ? QQ(value) : QQ(text.c_str()), QQ(text.c_str())); // 17 digits cross exactly
    }
}

// Integers of any length from the limbs round as the text route reads them, ties included (the
// sums of two powers of two put the rounding bit right behind the 64 bits of the significand).
TEST(QqToDblRounded, LimbPathEqualsTheTextRoute)
{
    const unsigned long long seed = testSeed();
    SCOPED_TRACE(seedTrace(seed));
    std::mt19937_64 random(seed);
    for (long round = 0; round < rounds(2000); ++round) {
        QQ value;
        if (round % 2 == 0) {
            std::string digits(1, static_cast<char>('1' + random() % 9));
            const int length = std::uniform_int_distribution<int>(1, 60)(random);
            for (int k = 1; k < length; ++k)
                digits += static_cast<char>('0' + random() % 10);
            value = QQ(digits.c_str());
        } else {
            const int high = std::uniform_int_distribution<int>(60, 200)(random);
            const int low = std::uniform_int_distribution<int>(0, high - 1)(random);
            ZZ a;
            ZZ b;
            ZZ::pow(ZZ(2), ZZ(high), a);
            ZZ::pow(ZZ(2), ZZ(low), b);
            ZZ sum;
            ZZ::add(a, b, sum);
            if (random() % 2 == 0) ZZ::add(sum, ZZ(1), sum);
            value = QQ(sum);
        }
        if (random() % 2 == 0) value = -value;
        SCOPED_TRACE(::testing::PrintToString(value));
        EXPECT_EQ(value.toDblRounded(), value.toDbl(false, false));
    }
    EXPECT_EQ(QQ("1/3").toDblRounded(), QQ("1/3").toDbl(false, false));
}

TEST(PrecisionConv, ScalarsWithAndWithoutProbe)
{
    long double d = 0;
    EXPECT_THROW(Precision::conv(QQ("1/3"), d, true, false), PostCommaPrecisionException);
    EXPECT_NO_THROW(Precision::conv(QQ("1/3"), d, true, true));
    EXPECT_LE(fabsl(d - 1.0L / 3.0L), 1e-18L);
    EXPECT_NO_THROW(Precision::conv(QQ("1/3"), d, false, false));
    EXPECT_THROW(Precision::conv(QQ("100000000000000000000:1/2"), d, true, true), PreCommaPrecisionException);
    EXPECT_EQ(Precision::conv(QQ("100000000000000000000:1/2"), d, false, false), 1e20L);

    QQ q;
    EXPECT_EQ(Precision::conv(1e-10L, q, true), QQ(0));
    EXPECT_EQ(Precision::conv(0.375L, q, true), QQ("3/8"));
    try {
        Precision::conv(12345678901.234567891L, q, true);
        FAIL() << "no exception";
    } catch (const PrecisionException& e) {
        EXPECT_STREQ(e.what(), "Precision lost during conversion");
    }
    // The target keeps the unfaithful value, the source is untouched.
    EXPECT_EQ(q, QQ("12345678901.234568"));
    EXPECT_NO_THROW(Precision::conv(12345678901.234567891L, q, false));
}

TEST(PrecisionConv, VectorsFollowTheTargetFlags)
{
    const Vector<QQ> exact("[ 1/4 1/3 ]");
    Vector<long double> lenient;
    EXPECT_NO_THROW(lenient = exact);
    Vector<long double> strict;
    strict.throwOnLoss = true;
    EXPECT_THROW(strict = exact, PostCommaPrecisionException);
    EXPECT_EQ(strict[1], 0.25L); // half written
    strict.allowPostCommaLoss = true;
    EXPECT_NO_THROW(strict = exact);
    EXPECT_TRUE(Vector<QQ>(strict) == exact);

    // A probe through Precision::conv: 10^-10 vanishes in QQ, but within the tolerance.
    const Vector<long double> tiny("[ 1e-10 5 ]");
    Vector<QQ> converted;
    EXPECT_NO_THROW(Precision::conv(tiny, converted, true));
    EXPECT_TRUE(converted[1].isZero());
    const Vector<long double> large("[ 123456789012.25390625 ]");
    EXPECT_THROW(Precision::conv(large, converted, true), PrecisionException);
    EXPECT_NO_THROW(Precision::conv(large, converted, false));
}

TEST(PrecisionConv, PairsConvertTheirNumbers)
{
    const Pair<long, QQ> exact(7, QQ("1/8"));
    Pair<long, long double> standard;
    Precision::conv(exact, standard, true);
    EXPECT_EQ(standard.left, 7);
    EXPECT_EQ(standard.right, 0.125L);
    const SerializablePair<long double, long double> both(0.5L, -2.0L);
    SerializablePair<QQ, QQ> exactBoth;
    Precision::conv(both, exactBoth, true);
    EXPECT_EQ(exactBoth.left, QQ("1/2"));
    EXPECT_EQ(exactBoth.right, QQ(-2));
}

TEST(PrecisionConv, DigitStringsWithZeroesAcrossALimbLoseDigits)
{
    // The decimal readers join limb texts without padding: 0.1000000001 reads as 0.11 and a
    // fraction whose digits 12000000012 span two limbs is written as 0.1212. The probe is what
    // catches such a crossing.
    EXPECT_EQ(QQ("0.1000000001"), QQ("11/100"));
    QQ q;
    EXPECT_THROW(Precision::conv(0.1000000001L, q, true), PrecisionException);
    EXPECT_EQ(QQ("12000000012/100000000000").toDbl(false, false), 0.1212L);
    long double d = 0;
    EXPECT_THROW(Precision::conv(QQ("12000000012/100000000000"), d, true, true), PrecisionException);
}

TEST(PrecisionConv, RandomSeventeenDigitRoundTripsAreExact)
{
    const unsigned long long seed = testSeed();
    SCOPED_TRACE(seedTrace(seed));
    std::mt19937_64 random(seed + 20);
    std::uniform_int_distribution<int> digit(1, 9);
    std::uniform_int_distribution<int> length(1, 17);
    std::uniform_int_distribution<int> exponent(-8, 17);
    for (long round = 0; round < rounds(2000); ++round) {
        // d.ddd...e<exponent> with up to 17 nonzero digits, within 10^-8 .. 10^18.
        std::string text = (round % 2 ? "-" : "");
        const int digits = length(random);
        for (int i = 0; i < digits; ++i) {
            text += static_cast<char>('0' + digit(random));
            if (i == 0 && digits > 1) text += '.';
        }
        text += "e" + std::to_string(exponent(random));
        const long double source = std::strtold(text.c_str(), nullptr);
        QQ exact;
        Precision::conv(source, exact, true);
        EXPECT_EQ(exact, QQ(text.c_str())) << text;
        long double back = 0;
        Precision::conv(exact, back, true, false);
        EXPECT_EQ(back, source) << text;
    }
}

TEST(PrecisionConv, ProbeThrowsExactlyWhenTheRoundTripMissesByMoreThanEpsilon)
{
    const unsigned long long seed = testSeed();
    SCOPED_TRACE(seedTrace(seed));
    std::mt19937_64 random(seed + 21);
    std::uniform_real_distribution<long double> mantissa(1.0L, 10.0L);
    std::uniform_int_distribution<int> exponent(-12, 20);
    long thrown = 0;
    long kept = 0;
    for (long round = 0; kept + thrown < rounds(1000); ++round) {
        const long double source = (round % 2 ? -1 : 1) * mantissa(random) * powl(10.0L, exponent(random));
        const std::string text = seventeenDigits(source);
        if (!zeroFreeDigits(text)) continue;
        // The way back is the 17-digit reading of the source (values within 10^-9 of zero go
        // to zero and stay within the tolerance).
        const long double back = std::strtold(text.c_str(), nullptr);
        const bool faithful = back == source || fabsl(back - source) <= Constant<long double>::EPSILON();
        QQ exact;
        bool threw = false;
        try {
            Precision::conv(source, exact, true);
        } catch (const PrecisionException&) {
            threw = true;
        }
        EXPECT_EQ(threw, !faithful) << text;
        (threw ? thrown : kept)++;
    }
    // Both sides were exercised.
    EXPECT_GT(thrown, rounds(1000) / 10);
    EXPECT_GT(kept, rounds(1000) / 10);
}

TEST(PrecisionIntegerMakingFactor, FromTheSeventeenDigitText)
{
    for (auto [x, factor] : {std::pair{0.25L, 4.0L},
                             {3.0L, 1.0L},
                             {-0.5L, 2.0L},
                             {1.375L, 8.0L},
                             {0.0L, 1.0L},
                             {std::numeric_limits<long double>::infinity(), 1.0L},
                             {0.2L, 5.0L}})
        EXPECT_EQ(Precision::getIntegerMakingFactor(x), factor) << static_cast<double>(x);
    EXPECT_EQ(Precision::getIntegerMakingFactor(QQ("2:3/4")), QQ(4));
    EXPECT_EQ(Precision::getIntegerMakingFactor(QQ(-5)), QQ(1));
    EXPECT_EQ(Precision::getIntegerMakingFactor(Constant<QQ>::INF()), QQ(1));
}

TEST(PrecisionTruncate, CutsTheDenominatorToEighteenDigits)
{
    QQ x("1/1234567891234567891234");
    Precision::truncateDecimal(x);
    EXPECT_TRUE(x.isZero());
    QQ y("7:123456789123456789123/987654321987654321987");
    const QQ before = y;
    Precision::truncateDecimal(y);
    EXPECT_LE(y.nenner.digits(), 18);
    EXPECT_TRUE(Precision::equalsZero(QQ(y - before), true));
    QQ z("1/3");
    Precision::truncateDecimal(z);
    EXPECT_EQ(z, QQ("1/3"));
    long double d = 1.0L / 3.0L;
    Precision::truncateDecimal(d);
    EXPECT_EQ(d, 1.0L / 3.0L);
}

} // namespace
} // namespace latopt
