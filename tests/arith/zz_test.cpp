#include "arith/zz.h"
#include "base/const.h"

#include "test_seed.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <numeric>
#include <random>
#include <sstream>
#include <string>

namespace latopt {
namespace {

__extension__ typedef __int128 Int128;
__extension__ typedef unsigned __int128 UInt128;

using test::rounds;
using test::seedTrace;
using test::testSeed;

// Normal form: at least one limb, every limb in [0, BASE), nonzero top limb unless the value is
// the single limb 0, which then is positive.
::testing::AssertionResult isNormal(const ZZ& x)
{
    if (x.MN < 1) return ::testing::AssertionFailure() << "no limbs";
    for (long i = 1; i <= x.MN; ++i)
        if (x.data[i] < 0 || x.data[i] >= ZZ::BASE)
            return ::testing::AssertionFailure() << "limb " << i << " out of range: " << x.data[i];
    if (x.MN > 1 && x.data[x.MN] == 0) return ::testing::AssertionFailure() << "zero top limb";
    if (x.MN == 1 && x.data[1] == 0 && !x.isPositive) return ::testing::AssertionFailure() << "negative zero";
    return ::testing::AssertionSuccess();
}

std::string toText(Int128 value)
{
    if (value == 0) return "0";
    const bool negative = value < 0;
    UInt128 magnitude = negative ? -static_cast<UInt128>(value) : value;
    std::string text;
    while (magnitude != 0) {
        text.insert(text.begin(), static_cast<char>('0' + static_cast<int>(magnitude % 10)));
        magnitude /= 10;
    }
    return negative ? "-" + text : text;
}

// The value of x from its limbs, independent of the text form.
Int128 toInt128(const ZZ& x)
{
    Int128 value = 0;
    for (long i = x.MN; i >= 1; --i)
        value = value * ZZ::BASE + x.data[i];
    return x.isPositive ? value : -value;
}

Int128 gcd128(Int128 a, Int128 b)
{
    a = a < 0 ? -a : a;
    b = b < 0 ? -b : b;
    while (b != 0) {
        const Int128 t = a % b;
        a = b;
        b = t;
    }
    return a;
}

ZZ fromInt128(Int128 value)
{
    ZZ x;
    const bool negative = value < 0;
    UInt128 magnitude = negative ? -static_cast<UInt128>(value) : value;
    long n = 0;
    x.setDimension(5, false);
    do {
        x.data[++n] = static_cast<long long>(magnitude % ZZ::BASE);
        magnitude /= ZZ::BASE;
    } while (magnitude != 0);
    x.setDimension(n, false);
    x.isPositive = !negative;
    return x;
}

class RandomZZ {
public:
    explicit RandomZZ(unsigned long long seed) : engine(seed) {}
    // A normal value of exactly `limbs` limbs and random sign; top limbs are often small or
    // extreme, so that carries and estimates meet their edges.
    ZZ limbs(long limbs)
    {
        ZZ x;
        x.setDimension(limbs, false);
        for (long i = 1; i <= limbs; ++i)
            x.data[i] = limb();
        while (x.data[limbs] == 0)
            x.data[limbs] = limb();
        x.isPositive = coin();
        return x;
    }
    // Below 10^digits in magnitude, random sign (may be zero).
    Int128 below(int digits)
    {
        Int128 bound = 1;
        for (int i = 0; i < digits; ++i)
            bound *= 10;
        Int128 value = (static_cast<Int128>(engine()) << 64 | engine()) % bound;
        if (value < 0) value = -value;
        return coin() ? value : -value;
    }
    long between(long low, long high) { return std::uniform_int_distribution<long>(low, high)(engine); }
    bool coin() { return engine() & 1; }

private:
    long long limb()
    {
        switch (engine() % 8) {
        case 0:
            return 0;
        case 1:
            return ZZ::BASE - 1;
        case 2:
            return static_cast<long long>(engine() % 10);
        default:
            return static_cast<long long>(engine() % ZZ::BASE);
        }
    }
    std::mt19937_64 engine;
};

ZZ parse(const char* text)
{
    ZZ x;
    x = text;
    return x;
}

// ---------------------------------------------------------------------------------------------

TEST(ZzRepresentation, LimbBaseAndConstantsMatchConst)
{
    EXPECT_EQ(ZZ::BASE, Const::ZZ_BASE());
    EXPECT_EQ(ZZ::LIMB_DIGITS, Const::HALFLLONG_DIGITS());
    EXPECT_EQ(Constant<ZZ>::ZERO(), ZZ(0));
    EXPECT_TRUE(isNormal(Constant<ZZ>::ZERO()));
    EXPECT_EQ(Constant<ZZ>::ONE().getStringRepresentation(), "1");
    EXPECT_EQ(Constant<ZZ>::TWO().getStringRepresentation(), "2");
    EXPECT_EQ(Constant<ZZ>::TEN().getStringRepresentation(), "10");
}

TEST(ZzRepresentation, CarryIntoNewLimb)
{
    ZZ sum;
    ZZ::add(ZZ(999999999), ZZ(1), sum);
    ASSERT_EQ(sum.MN, 2);
    EXPECT_EQ(sum.data[1], 0);
    EXPECT_EQ(sum.data[2], 1);
    EXPECT_EQ(sum.getStringRepresentation(), "1000000000");
}

TEST(ZzRepresentation, LongLongExtremes)
{
    ZZ x;
    x = std::numeric_limits<long long>::min();
    EXPECT_EQ(x.getStringRepresentation(), "-9223372036854775808");
    EXPECT_TRUE(isNormal(x));
    x = std::numeric_limits<long long>::max();
    EXPECT_EQ(x.getStringRepresentation(), "9223372036854775807");
    x = 0LL;
    EXPECT_TRUE(isNormal(x));
    EXPECT_EQ(x.MN, 1);
}

TEST(ZzParse, NonDigitsAreDroppedWhereverTheyStand)
{
    EXPECT_EQ(parse("1,000"), ZZ(1000));
    EXPECT_EQ(parse("12a3"), ZZ(123));
    EXPECT_EQ(parse("12-3"), ZZ(123)); // only a leading "-" makes a sign
    EXPECT_EQ(parse(" -5").getStringRepresentation(), "5");
    EXPECT_EQ(parse("-000000000000000000000042").getStringRepresentation(), "-42");
    EXPECT_TRUE(isNormal(parse("000000000000000000000000")));
}

TEST(ZzParse, AbnormalZeroesAreToleratedEverywhere)
{
    const ZZ minus = parse("-");
    const ZZ minusZero = parse("-0");
    EXPECT_FALSE(minus.isPositive);
    EXPECT_FALSE(minusZero.isPositive);
    EXPECT_TRUE(minus.isZero());
    EXPECT_EQ(minusZero.getStringRepresentation(), "-0");
    ZZ noLimbs(5);
    noLimbs.base_rshift(1);
    EXPECT_EQ(noLimbs.MN, 0);
    EXPECT_EQ(noLimbs.getStringRepresentation(), "");

    for (const ZZ* zero : std::initializer_list<const ZZ*>{&minus, &minusZero, &noLimbs}) {
        EXPECT_EQ(zero->compare(ZZ(0)), 0);
        EXPECT_EQ(ZZ(0).compare(*zero), 0);
        EXPECT_LT(*zero, ZZ(1));
        EXPECT_GT(*zero, ZZ(-1));
        EXPECT_EQ(*zero + ZZ(7), ZZ(7));
        EXPECT_EQ(ZZ(7) - *zero, ZZ(7));
        EXPECT_EQ(*zero - ZZ(7), ZZ(-7));
        ZZ product;
        ZZ::mul(*zero, ZZ(-3), product);
        EXPECT_TRUE(isNormal(product));
        EXPECT_TRUE(isNormal(Math::abs(*zero)));
        EXPECT_TRUE(isNormal(-*zero));
        ZZ q;
        ZZ r;
        ZZ::div(*zero, ZZ(3), q, r);
        EXPECT_TRUE(isNormal(q));
        EXPECT_TRUE(r.isZero());
        EXPECT_EQ(*zero % ZZ(3), ZZ(0)); // not negative: no divisor added
        ZZ power;
        ZZ::pow(ZZ(5), *zero, power);
        EXPECT_EQ(power, ZZ(1));
    }
}

TEST(ZzCompare, LimbCountDecidesFirst)
{
    EXPECT_LT(ZZ(999999999), parse("1000000000"));
    EXPECT_GT(parse("-999999999"), parse("-1000000000"));
    EXPECT_EQ(parse("1000000000").compare(parse("1000000000")), 0);
    const ZZ x = parse("123456789123456789");
    EXPECT_EQ(x.compare(x), 0);
}

TEST(ZzDiv, TruncatesTowardZeroAndPercentFollowsTheDivisorRule)
{
    ZZ q;
    ZZ r;
    ZZ::div(ZZ(-7), ZZ(2), q, r);
    EXPECT_EQ(q, ZZ(-3));
    EXPECT_EQ(r, ZZ(-1));
    EXPECT_EQ(ZZ(-7) % ZZ(2), ZZ(1));
    EXPECT_EQ(ZZ(7) % ZZ(-2), ZZ(1));
    // A negative remainder with a negative divisor moves further from zero.
    EXPECT_EQ(ZZ(-7) % ZZ(-2), ZZ(-3));
    EXPECT_EQ(ZZ(-7) / ZZ(2), ZZ(-3));
    ZZ::div(ZZ(6), ZZ(-3), q, r);
    EXPECT_TRUE(isNormal(r)); // a zero remainder is positive, whatever the sign of a
    ZZ::div(ZZ(-6), ZZ(3), q, r);
    EXPECT_TRUE(isNormal(r));
}

TEST(ZzDiv, SameObjectForQuotientAndRemainderDeliversTheQuotient)
{
    const ZZ a = parse("-123456789012345678901234567890");
    const ZZ b = parse("9876543210987");
    ZZ q;
    ZZ r;
    ZZ::div(a, b, q, r);
    ZZ both;
    ZZ::div(a, b, both, both);
    EXPECT_EQ(both, q);
    ZZ::div(ZZ(3), ZZ(5), both, both);
    EXPECT_EQ(both, ZZ(0));
}

TEST(ZzDigits, CountsAndTheLimbwiseMeasure)
{
    EXPECT_EQ(parse("1000000000").digits(), 10);
    EXPECT_EQ(parse("1000000000").digitsWithoutTrailingZeroes(), 2); // the text "01"
    EXPECT_EQ(ZZ(0).digits(), 1);
    EXPECT_EQ(ZZ(0).digitsWithoutTrailingZeroes(), 1);
    EXPECT_EQ(ZZ(-120).digits(), 3);
    EXPECT_EQ(ZZ(-120).digitsWithoutTrailingZeroes(), 2);
    // Limbs [12, 3] write as "123"; [1200, 5] as "12005".
    EXPECT_EQ(parse("3000000012").digitsWithoutTrailingZeroes(), 3);
    EXPECT_EQ(parse("5000001200").digitsWithoutTrailingZeroes(), 5);
}

TEST(ZzDigitSurgery, RemoveZeroTrailerJoinsUnpaddedLimbTexts)
{
    const auto trailer = [](const char* text) {
        return parse(text).removeZeroTrailer().getStringRepresentation();
    };
    EXPECT_EQ(trailer("12000000012"), "1212");
    EXPECT_EQ(trailer("-12000000012"), "-1212");
    EXPECT_EQ(trailer("1000"), "1");
    EXPECT_EQ(trailer("-500"), "-5");
    EXPECT_EQ(trailer("1000000000"), "1");
    EXPECT_EQ(trailer("123456789000000000000000000"), "123456789");
    EXPECT_EQ(trailer("120000000000000000000"), "12");
    EXPECT_EQ(trailer("-0"), "0");
    ZZ noLimbs(4);
    noLimbs.base_rshift(1);
    noLimbs.removeZeroTrailer();
    EXPECT_EQ(noLimbs.MN, 0);
}

TEST(ZzDigitSurgery, AddTrailingZeroesKeepsMagnitudeAndDropsTheSign)
{
    ZZ x(-5);
    x.addTrailingZeroes(3);
    EXPECT_EQ(x, ZZ(5));
    EXPECT_TRUE(isNormal(x));
    x.addTrailingZeroes(0);
    EXPECT_EQ(x, ZZ(5));
}

TEST(ZzShift, DecimalShiftsFollowTheText)
{
    RandomZZ random(testSeed());
    SCOPED_TRACE(seedTrace(testSeed()));
    for (long round = 0; round < rounds(300); ++round) {
        const ZZ x = random.limbs(random.between(1, 6));
        const std::string text = x.getStringRepresentation();
        const long n = random.between(0, 60);
        ZZ left(x);
        left.decimal_lshift(n);
        EXPECT_EQ(left.getStringRepresentation(), text + std::string(n, '0'));
        ZZ right(x);
        right.decimal_rshift(static_cast<unsigned long>(n));
        const std::string cut = static_cast<long>(text.size()) <= n ? "0" : text.substr(0, text.size() - n);
        EXPECT_EQ(right, parse(cut.c_str())) << text << " >> " << n;
        EXPECT_EQ(right.isPositive, parse(cut.c_str()).isPositive);
        if (cut != "-") {
            EXPECT_TRUE(isNormal(right));
        }
    }
    ZZ minus(-123);
    minus.decimal_rshift(3);
    EXPECT_TRUE(minus.isZero());
    EXPECT_FALSE(minus.isPositive);
    ZZ zero(0);
    zero.decimal_lshift(5);
    EXPECT_TRUE(isNormal(zero));
}

TEST(ZzShift, BaseShiftsMultiplyAndDivideByPowersOfTheBase)
{
    RandomZZ random(testSeed() + 1);
    SCOPED_TRACE(seedTrace(testSeed() + 1));
    for (long round = 0; round < rounds(100); ++round) {
        const ZZ x = random.limbs(random.between(1, 8));
        const long n = random.between(0, 5);
        ZZ power;
        ZZ::pow(ZZ(ZZ::BASE), ZZ(n), power);
        ZZ shifted(x);
        shifted.base_lshift(n);
        EXPECT_EQ(shifted, x * power);
        shifted.base_rshift(n);
        EXPECT_EQ(shifted, x);
    }
}

TEST(ZzAgainstInt128, ArithmeticCompareAndTextOfValuesThatFit)
{
    RandomZZ random(testSeed() + 2);
    SCOPED_TRACE(seedTrace(testSeed() + 2));
    for (long round = 0; round < rounds(4000); ++round) {
        // Up to 36 digits for sums and quotients, up to 18 per factor for products.
        const Int128 a = random.below(static_cast<int>(random.between(1, 36)));
        const Int128 b = random.below(static_cast<int>(random.between(1, 36)));
        const Int128 c = random.below(static_cast<int>(random.between(1, 18)));
        const Int128 d = random.below(static_cast<int>(random.between(1, 18)));
        const ZZ za = fromInt128(a);
        const ZZ zb = fromInt128(b);
        SCOPED_TRACE(toText(a) + " " + toText(b) + " " + toText(c) + " " + toText(d));
        ZZ result;
        ZZ::add(za, zb, result);
        EXPECT_EQ(toInt128(result), a + b);
        EXPECT_TRUE(isNormal(result));
        ZZ::sub(za, zb, result);
        EXPECT_EQ(toInt128(result), a - b);
        EXPECT_TRUE(isNormal(result));
        ZZ::mul(fromInt128(c), fromInt128(d), result);
        EXPECT_EQ(toInt128(result), c * d);
        EXPECT_TRUE(isNormal(result));
        EXPECT_EQ(za.compare(zb), (a > b) - (a < b));
        EXPECT_EQ(toInt128(Math::ggt(za, zb)), gcd128(a, b));
        EXPECT_EQ(za.getStringRepresentation(), toText(a));
        EXPECT_EQ(toInt128(parse(toText(a).c_str())), a);
        if (b != 0) {
            ZZ q;
            ZZ r;
            ZZ::div(za, zb, q, r);
            EXPECT_EQ(toInt128(q), a / b); // C++ division truncates, as ZZ::div
            EXPECT_EQ(toInt128(r), a % b);
            EXPECT_TRUE(isNormal(q));
            EXPECT_TRUE(isNormal(r));
            const Int128 percent = a % b < 0 ? a % b + b : a % b;
            EXPECT_EQ(toInt128(za % zb), percent);
        }
    }
}

TEST(ZzDiv, RebuildsTheDividendWithSignedRemainderBelowTheDivisor)
{
    RandomZZ random(testSeed() + 3);
    SCOPED_TRACE(seedTrace(testSeed() + 3));
    for (long round = 0; round < rounds(400); ++round) {
        const ZZ a = random.limbs(random.between(1, 120));
        const ZZ b = random.limbs(random.between(1, 60));
        ZZ q;
        ZZ r;
        ZZ::div(a, b, q, r);
        EXPECT_TRUE(isNormal(q));
        EXPECT_TRUE(isNormal(r));
        EXPECT_EQ(q * b + r, a);
        EXPECT_LT(Math::abs(r), Math::abs(b));
        if (!r.isZero()) {
            EXPECT_EQ(r.isPositive, a.isPositive);
        }
        if (!q.isZero()) {
            EXPECT_EQ(q.isPositive, a.isPositive == b.isPositive);
        }
    }
}

TEST(ZzDiv, DivisorsThatForceDigitCorrections)
{
    // Divisors whose scaled top limbs sit at the edges of the digit estimate.
    const char* divisors[] = {"999999999999999999999999999", "1000000000000000000000000001",
                              "500000000000000000000000000", "499999999999999999999999999",
                              "1000000000000000000",         "999999999000000000000000001"};
    for (const char* text : divisors) {
        const ZZ b = parse(text);
        ZZ a;
        ZZ::pow(b, ZZ(3), a);
        for (const ZZ& dividend : {a, a - ZZ(1), a + ZZ(1), a + b - ZZ(1), a - b}) {
            ZZ q;
            ZZ r;
            ZZ::div(dividend, b, q, r);
            EXPECT_EQ(q * b + r, dividend) << text;
            EXPECT_LT(r, b) << text;
            EXPECT_GE(r, ZZ(0)) << text;
        }
    }
}

TEST(ZzDiv, QuotientAndRemainderAtTheEdgesComeBack)
{
    // a = q b + r with chosen q and r, so that the expected results are known independently;
    // many of these have a and b of the same length (a one-limb quotient).
    RandomZZ random(testSeed() + 10);
    SCOPED_TRACE(seedTrace(testSeed() + 10));
    for (long round = 0; round < rounds(300); ++round) {
        ZZ b = random.limbs(random.between(3, 12));
        b.isPositive = true;
        const ZZ quotients[] = {ZZ(1), ZZ(2), ZZ(ZZ::BASE - 1), random.limbs(1),
                                random.limbs(random.between(1, 4))};
        for (ZZ quotient : quotients) {
            quotient.isPositive = true;
            for (const ZZ& remainder : {ZZ(0), ZZ(1), b - ZZ(1), b / ZZ(2)}) {
                const ZZ a = quotient * b + remainder;
                ZZ q;
                ZZ r;
                ZZ::div(a, b, q, r);
                EXPECT_EQ(q, quotient);
                EXPECT_EQ(r, remainder);
            }
        }
    }
}

TEST(ZzMul, KaratsubaEqualsSchoolOnBothSidesOfTheThreshold)
{
    RandomZZ random(testSeed() + 4);
    SCOPED_TRACE(seedTrace(testSeed() + 4));
    const long sizes[][2] = {{1, 1},   {14, 14}, {15, 14}, {14, 15}, {1, 300},
                             {2, 150}, {40, 7},  {64, 64}, {97, 33}, {250, 251}};
    for (const auto& size : sizes) {
        for (long round = 0; round < rounds(5); ++round) {
            const ZZ a = random.limbs(size[0]);
            const ZZ b = random.limbs(size[1]);
            ZZ school;
            ZZ karatsuba;
            ZZ product;
            ZZ::schul_mul(a, b, school);
            ZZ::karatsuba_mul(a, b, karatsuba);
            ZZ::mul(a, b, product);
            EXPECT_EQ(school, karatsuba) << size[0] << "x" << size[1];
            EXPECT_EQ(product, school);
            EXPECT_TRUE(isNormal(karatsuba));
            EXPECT_TRUE(isNormal(school));
            EXPECT_EQ(product / b, a);
        }
    }
}

TEST(ZzMul, DifferenceProductsExpand)
{
    RandomZZ random(testSeed() + 5);
    SCOPED_TRACE(seedTrace(testSeed() + 5));
    for (long round = 0; round < rounds(60); ++round) {
        const ZZ a = random.limbs(random.between(1, 80));
        const ZZ b = random.limbs(random.between(1, 80));
        const ZZ c = random.limbs(random.between(1, 80));
        const ZZ d = random.limbs(random.between(1, 80));
        EXPECT_EQ((a - b) * (c - d), a * c - a * d - b * c + b * d);
        EXPECT_EQ((a + b) * (a + b), a * a + ZZ(2) * a * b + b * b);
    }
}

TEST(ZzMul, SchoolKeepsTheSignOfAZeroProduct)
{
    ZZ product;
    ZZ::schul_mul(ZZ(0), ZZ(-5), product);
    EXPECT_TRUE(product.isZero());
    EXPECT_FALSE(product.isPositive);
    ZZ::mul(ZZ(0), ZZ(-5), product); // mul tests for zero first
    EXPECT_TRUE(isNormal(product));
    ZZ::karatsuba_mul(ZZ(0), ZZ(-5), product);
    EXPECT_TRUE(isNormal(product));
}

// Every three-operand operation gives the same result when the result object is an operand.
TEST(ZzAliasing, ResultMayBeAnyOperand)
{
    RandomZZ random(testSeed() + 6);
    SCOPED_TRACE(seedTrace(testSeed() + 6));
    using Operation = void (*)(ZZ const&, ZZ const&, ZZ&);
    const Operation operations[] = {ZZ::add, ZZ::sub, ZZ::mul, ZZ::schul_mul, ZZ::karatsuba_mul};
    for (long round = 0; round < rounds(40); ++round) {
        const ZZ a = random.limbs(random.between(1, 40));
        const ZZ b = random.coin() ? random.limbs(random.between(1, 40)) : a;
        for (Operation operation : operations) {
            ZZ fresh;
            operation(a, b, fresh);
            ZZ first(a);
            operation(first, b, first);
            EXPECT_EQ(first, fresh);
            ZZ second(b);
            operation(a, second, second);
            EXPECT_EQ(second, fresh);
            ZZ both(a);
            ZZ square;
            operation(a, a, square);
            operation(both, both, both);
            EXPECT_EQ(both, square);
        }
        ZZ q;
        ZZ r;
        ZZ::div(a, b, q, r);
        ZZ qa(a);
        ZZ rb(b);
        ZZ::div(qa, rb, qa, rb);
        EXPECT_EQ(qa, q);
        EXPECT_EQ(rb, r);
        ZZ ra(a);
        ZZ qb(b);
        ZZ::div(ra, qb, qb, ra);
        EXPECT_EQ(qb, q);
        EXPECT_EQ(ra, r);
        ZZ negated(a);
        ZZ::negate(negated, negated);
        EXPECT_EQ(negated + a, ZZ(0));
        ZZ power(a);
        ZZ exponent(3);
        ZZ::pow(power, exponent, power);
        EXPECT_EQ(power, a * a * a);
        ZZ::pow(ZZ(2), exponent, exponent);
        EXPECT_EQ(exponent, ZZ(8));
    }
}

TEST(ZzText, RoundTripsThroughParserAndStream)
{
    RandomZZ random(testSeed() + 7);
    SCOPED_TRACE(seedTrace(testSeed() + 7));
    for (long round = 0; round < rounds(200); ++round) {
        const ZZ x = random.limbs(random.between(1, 50));
        const std::string text = x.getStringRepresentation();
        const ZZ back = parse(text.c_str());
        EXPECT_EQ(back, x);
        EXPECT_EQ(back.MN, x.MN);
        std::ostringstream stream;
        stream << x;
        EXPECT_EQ(stream.str(), text);
        EXPECT_EQ(x.digits(), static_cast<long>(text.size()) - (x.isPositive ? 0 : 1));
    }
}

TEST(ZzPow, MatchesRepeatedMultiplication)
{
    RandomZZ random(testSeed() + 8);
    SCOPED_TRACE(seedTrace(testSeed() + 8));
    for (long round = 0; round < rounds(40); ++round) {
        const ZZ base = random.limbs(random.between(1, 3));
        const long exponent = random.between(0, 40);
        ZZ expected(1);
        for (long i = 0; i < exponent; ++i)
            expected = expected * base;
        ZZ power;
        ZZ::pow(base, ZZ(exponent), power);
        EXPECT_EQ(power, expected);
    }
    ZZ power;
    ZZ::pow(ZZ(0), ZZ(0), power);
    EXPECT_EQ(power, ZZ(1));
    ZZ::pow(ZZ(-2), ZZ(63), power);
    EXPECT_EQ(power.getStringRepresentation(), "-9223372036854775808");
}

TEST(ZzMath, GgtAndKgv)
{
    RandomZZ random(testSeed() + 9);
    SCOPED_TRACE(seedTrace(testSeed() + 9));
    for (long round = 0; round < rounds(100); ++round) {
        const long long x = random.between(-1000000, 1000000);
        const long long y = random.between(-1000000, 1000000);
        EXPECT_EQ(Math::ggt(ZZ(x), ZZ(y)), ZZ(std::gcd(x, y)));
        const ZZ g = random.limbs(random.between(1, 10));
        const ZZ a = random.limbs(random.between(1, 20));
        const ZZ b = random.limbs(random.between(1, 20));
        const ZZ common = Math::ggt(a * g, b * g);
        EXPECT_TRUE(common.isPositive);
        EXPECT_TRUE(((a * g) % common).isZero());
        EXPECT_TRUE(((b * g) % common).isZero());
        EXPECT_TRUE((common % Math::abs(g)).isZero());
        // The cofactors share nothing more.
        EXPECT_EQ(Math::ggt(a * g / common, b * g / common), ZZ(1));
        const ZZ multiple = Math::kgv(a, b);
        EXPECT_EQ(multiple.isPositive, a.isPositive == b.isPositive);
        EXPECT_EQ(multiple * Math::ggt(a, b), a * b);
    }
    EXPECT_EQ(Math::ggt(ZZ(0), ZZ(0)), ZZ(0));
    EXPECT_EQ(Math::ggt(ZZ(0), ZZ(-12)), ZZ(12));
    EXPECT_EQ(Math::abs(ZZ(-12)), ZZ(12));
    EXPECT_EQ(floor(ZZ(-12)), ZZ(-12));
}

TEST(ZzDeathTest, FatalStopsWithTheirMessages)
{
    EXPECT_EXIT(ZZ(1) / ZZ(0), testing::ExitedWithCode(1), "\n\\*\\*\\* FAIL: ZZ::div -- division by zero\n");
    EXPECT_EXIT(ZZ(1) / parse("-"), testing::ExitedWithCode(1),
                "\\*\\*\\* FAIL: ZZ::div -- division by zero");
    EXPECT_EXIT(
        {
            ZZ power;
            ZZ::pow(ZZ(2), ZZ(-1), power);
        },
        testing::ExitedWithCode(1), "\n\\*\\*\\* FAIL: \\[ ZZ::operator \\^ \\] Exponent < 0\n");
    EXPECT_EXIT(
        {
            ZZ x = parse("1000000000");
            x.base_rshift(3);
        },
        testing::ExitedWithCode(1), "\n\\*\\*\\* FAIL: ZZ::base_rshift steps > N\n");
}

} // namespace
} // namespace latopt
