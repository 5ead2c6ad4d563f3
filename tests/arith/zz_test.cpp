#include "arith/zz.h"

#include "qq_reference.h"
#include "test_seed.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace latopt {
namespace {

using qq_reference::Int128;
using qq_reference::magnitude;
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
    return (value < 0 ? "-" : "") + qq_reference::toText(magnitude(value));
}

// The value of x from its limbs, independent of the text form.
Int128 toInt128(const ZZ& x)
{
    Int128 value = 0;
    for (long i = x.MN; i >= 1; --i)
        value = value * ZZ::BASE + x.data[i];
    return x.isPositive ? value : -value;
}

// x with the limbs of value, written directly.
ZZ fromInt128(Int128 value)
{
    ZZ x;
    x.setDimension(5, false);
    long n = 0;
    for (auto m = magnitude(value); n == 0 || m != 0; m /= ZZ::BASE)
        x.data[++n] = static_cast<long long>(m % ZZ::BASE);
    x.setDimension(n, false);
    x.isPositive = value >= 0;
    return x;
}

struct RandomZZ {
    explicit RandomZZ(unsigned long long seed) : engine(seed) {}
    // A normal value of exactly `count` limbs and random sign; limbs are often 0, BASE - 1 or a
    // single digit, so that carries and quotient estimates meet their edges.
    ZZ limbs(long count)
    {
        ZZ x;
        x.setDimension(count, false);
        for (long i = 1; i <= count; ++i)
            x.data[i] = limb();
        while (x.data[count] == 0)
            x.data[count] = limb();
        x.isPositive = coin();
        return x;
    }
    long between(long low, long high) { return std::uniform_int_distribution<long>(low, high)(engine); }
    bool coin() { return engine() & 1; }
    long long limb()
    {
        const unsigned long long kind = engine() % 8;
        if (kind < 2) return kind == 0 ? 0 : ZZ::BASE - 1;
        return static_cast<long long>(engine() % (kind == 2 ? 10 : ZZ::BASE));
    }
    std::mt19937_64 engine;
};

ZZ parse(const char* text)
{
    ZZ x;
    x = text;
    return x;
}

ZZ power(const ZZ& base, const ZZ& exponent)
{
    ZZ result;
    ZZ::pow(base, exponent, result);
    return result;
}

std::string str(const ZZ& x)
{
    return x.getStringRepresentation();
}

TEST(ZzText, ParserDropsNonDigitsAndReadsTheExtremes)
{
    // Only a leading "-" makes a sign; "-0" is a negative zero and written so.
    for (auto [text, written] : {std::pair{"1,000", "1000"},
                                 {"12a3", "123"},
                                 {"12-3", "123"},
                                 {" -5", "5"},
                                 {"-000000000000000000000042", "-42"},
                                 {"000000000000000000000000", "0"},
                                 {"-9223372036854775808", "-9223372036854775808"},
                                 {"-0", "-0"}}) {
        EXPECT_EQ(str(parse(text)), written);
        EXPECT_TRUE(std::string(text) == "-0" || isNormal(parse(text))) << text;
    }
    EXPECT_EQ(str(ZZ(std::numeric_limits<long long>::min())), "-9223372036854775808");
    EXPECT_EQ(str(ZZ(std::numeric_limits<long long>::max())), "9223372036854775807");
    EXPECT_TRUE(isNormal(ZZ(0LL)));
}

TEST(ZzText, RoundTripsThroughParserAndStream)
{
    RandomZZ random(testSeed() + 7);
    SCOPED_TRACE(seedTrace(testSeed() + 7));
    for (long round = 0; round < rounds(200); ++round) {
        const ZZ x = random.limbs(random.between(1, 50));
        const std::string text = str(x);
        const ZZ back = parse(text.c_str());
        EXPECT_EQ(back, x);
        EXPECT_EQ(back.MN, x.MN);
        std::ostringstream stream;
        stream << x;
        EXPECT_EQ(stream.str(), text);
        EXPECT_EQ(x.digits(), static_cast<long>(text.size()) - (x.isPositive ? 0 : 1));
    }
}

// A negative zero ("-", "-0") and a value without limbs behave as zero in every operation.
TEST(ZzAbnormalZero, ToleratedEverywhere)
{
    ZZ noLimbs(5);
    noLimbs.base_rshift(1);
    EXPECT_EQ(noLimbs.MN, 0);
    EXPECT_EQ(str(noLimbs), "");
    EXPECT_FALSE(parse("-").isPositive);
    EXPECT_TRUE(parse("-").isZero());
    for (const ZZ& zero : {parse("-"), parse("-0"), noLimbs}) {
        EXPECT_EQ(zero.compare(ZZ(0)), 0);
        EXPECT_EQ(ZZ(0).compare(zero), 0);
        EXPECT_LT(zero, ZZ(1));
        EXPECT_GT(zero, ZZ(-1));
        EXPECT_EQ(zero + ZZ(7), ZZ(7));
        EXPECT_EQ(ZZ(7) - zero, ZZ(7));
        EXPECT_EQ(zero - ZZ(7), ZZ(-7));
        EXPECT_TRUE(isNormal(zero * ZZ(-3)));
        EXPECT_TRUE(isNormal(Math::abs(zero)));
        EXPECT_TRUE(isNormal(-zero));
        ZZ q, r;
        ZZ::div(zero, ZZ(3), q, r);
        EXPECT_TRUE(isNormal(q));
        EXPECT_TRUE(r.isZero());
        EXPECT_EQ(zero % ZZ(3), ZZ(0)); // not negative: no divisor added
        EXPECT_EQ(power(ZZ(5), zero), ZZ(1));
    }
}

TEST(ZzAgainstInt128, ArithmeticCompareGcdAndTextOfValuesThatFit)
{
    RandomZZ random(testSeed() + 2);
    SCOPED_TRACE(seedTrace(testSeed() + 2));
    auto below = [&](int digits) {
        return qq_reference::randomBelow(random.engine, static_cast<int>(random.between(1, digits)));
    };
    for (long round = 0; round < rounds(4000); ++round) {
        // Up to 36 digits for sums and quotients, up to 18 per factor for products.
        const Int128 a = below(36);
        const Int128 b = below(36);
        const Int128 c = below(18);
        const Int128 d = below(18);
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
        EXPECT_EQ(toInt128(Math::ggt(za, zb)), qq_reference::gcd(a, b));
        EXPECT_EQ(str(za), toText(a));
        EXPECT_EQ(toInt128(parse(toText(a).c_str())), a);
        if (b != 0) {
            ZZ q, r;
            ZZ::div(za, zb, q, r);
            EXPECT_EQ(toInt128(q), a / b); // C++ division truncates, as ZZ::div
            EXPECT_EQ(toInt128(r), a % b);
            EXPECT_TRUE(isNormal(q));
            EXPECT_TRUE(isNormal(r));
            // % adds the divisor to a negative remainder, also a negative divisor.
            EXPECT_EQ(toInt128(za % zb), a % b < 0 ? a % b + b : a % b);
        }
    }
    EXPECT_EQ(ZZ(-7) % ZZ(-2), ZZ(-3));
}

// a = q b + r with chosen q and r: divisors whose scaled top limbs sit at the edges of the digit
// estimate, and random ones; quotients of one limb and remainders 0, 1, b - 1 drive the
// corrections of the estimate.
TEST(ZzDiv, ChosenQuotientAndRemainderComeBack)
{
    RandomZZ random(testSeed() + 10);
    SCOPED_TRACE(seedTrace(testSeed() + 10));
    std::vector<ZZ> divisors;
    for (const char* text :
         {"999999999999999999999999999", "1000000000000000000000000001", "500000000000000000000000000",
          "499999999999999999999999999", "1000000000000000000", "999999999000000000000000001"})
        divisors.push_back(parse(text));
    for (long round = 0; round < rounds(300); ++round)
        divisors.push_back(Math::abs(random.limbs(random.between(3, 12))));
    for (const ZZ& b : divisors) {
        for (const ZZ& quotient : {ZZ(1), ZZ(2), ZZ(ZZ::BASE - 1), Math::abs(random.limbs(1)),
                                   Math::abs(random.limbs(random.between(1, 4))), b * b, b * b - ZZ(1)}) {
            for (const ZZ& remainder : {ZZ(0), ZZ(1), b - ZZ(1), b / ZZ(2)}) {
                ZZ q, r;
                ZZ::div(quotient * b + remainder, b, q, r);
                EXPECT_EQ(q, quotient) << str(b);
                EXPECT_EQ(r, remainder) << str(b);
                // A negative dividend: both negate, a zero remainder stays positive.
                ZZ::div(-(quotient * b + remainder), b, q, r);
                EXPECT_EQ(q, -quotient);
                EXPECT_EQ(r, -remainder);
                EXPECT_TRUE(isNormal(r));
            }
        }
    }
}

TEST(ZzDiv, SameObjectForQuotientAndRemainderDeliversTheQuotient)
{
    const ZZ a = parse("-123456789012345678901234567890");
    const ZZ b = parse("9876543210987");
    ZZ both;
    ZZ::div(a, b, both, both);
    EXPECT_EQ(both, a / b);
    ZZ::div(ZZ(3), ZZ(5), both, both);
    EXPECT_EQ(both, ZZ(0));
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
            ZZ school, karatsuba;
            ZZ::schul_mul(a, b, school);
            ZZ::karatsuba_mul(a, b, karatsuba);
            EXPECT_EQ(school, karatsuba) << size[0] << "x" << size[1];
            EXPECT_EQ(a * b, school);
            EXPECT_TRUE(isNormal(karatsuba));
            EXPECT_TRUE(isNormal(school));
            EXPECT_EQ(school / b, a);
        }
    }
    // schul_mul keeps the sign of a zero product; mul and karatsuba_mul give the normal zero.
    ZZ product;
    ZZ::schul_mul(ZZ(0), ZZ(-5), product);
    EXPECT_TRUE(product.isZero());
    EXPECT_FALSE(product.isPositive);
    EXPECT_TRUE(isNormal(ZZ(0) * ZZ(-5)));
    ZZ::karatsuba_mul(ZZ(0), ZZ(-5), product);
    EXPECT_TRUE(isNormal(product));
}

// On operands of up to 80 limbs: every three-operand operation gives the same result when the
// result object is an operand, and the division rebuilds the dividend with a remainder below the
// divisor (dividends shorter and longer than the divisor, or the divisor itself).
TEST(ZzAliasing, ResultMayBeAnyOperandAndDivisionRebuildsTheDividend)
{
    RandomZZ random(testSeed() + 6);
    SCOPED_TRACE(seedTrace(testSeed() + 6));
    using Operation = void (*)(ZZ const&, ZZ const&, ZZ&);
    const Operation operations[] = {ZZ::add, ZZ::sub, ZZ::mul, ZZ::schul_mul, ZZ::karatsuba_mul};
    for (long round = 0; round < rounds(200); ++round) {
        const ZZ a = random.limbs(random.between(1, 80));
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
        // Division: a = q b + r, |r| < |b|, r with the sign of a, q with the sign of a b.
        ZZ q, r;
        ZZ::div(a, b, q, r);
        EXPECT_TRUE(isNormal(q) && isNormal(r));
        EXPECT_EQ(q * b + r, a);
        EXPECT_LT(Math::abs(r), Math::abs(b));
        EXPECT_TRUE(r.isZero() || r.isPositive == a.isPositive);
        EXPECT_TRUE(q.isZero() || q.isPositive == (a.isPositive == b.isPositive));
        ZZ qa(a), rb(b);
        ZZ::div(qa, rb, qa, rb);
        EXPECT_EQ(qa, q);
        EXPECT_EQ(rb, r);
        ZZ ra(a), qb(b);
        ZZ::div(ra, qb, qb, ra);
        EXPECT_EQ(qb, q);
        EXPECT_EQ(ra, r);
        ZZ negated(a);
        ZZ::negate(negated, negated);
        EXPECT_EQ(negated + a, ZZ(0));
        ZZ cube(a), exponent(3);
        ZZ::pow(cube, exponent, cube);
        EXPECT_EQ(cube, a * a * a);
        ZZ::pow(ZZ(2), exponent, exponent);
        EXPECT_EQ(exponent, ZZ(8));
    }
}

// digitsWithoutTrailingZeroes and removeZeroTrailer work on the text of the unpadded limbs, low
// limb first: 1000000000 is "01", 5000001200 is "12005"; removeZeroTrailer joins the remaining
// limbs' text with limb 1's text stripped of its trailing zeroes, so 12000000012 becomes 1212.
TEST(ZzDigits, CountsAndTheUnpaddedLimbTexts)
{
    const struct {
        const char* text;
        long digits;
        long withoutTrailingZeroes;
        const char* trailerRemoved;
    } cases[] = {{"1000000000", 10, 2, "1"},
                 {"0", 1, 1, "0"},
                 {"-120", 3, 2, "-12"},
                 {"-500", 3, 1, "-5"},
                 {"3000000012", 10, 3, "312"},
                 {"5000001200", 10, 5, "512"},
                 {"12000000012", 11, 4, "1212"},
                 {"-12000000012", 11, 4, "-1212"},
                 {"-0", 1, 1, "0"},
                 {"120000000000000000000", 21, 4, "12"},
                 {"123456789000000000000000000", 27, 11, "123456789"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(parse(c.text).digits(), c.digits);
        EXPECT_EQ(parse(c.text).digitsWithoutTrailingZeroes(), c.withoutTrailingZeroes);
        EXPECT_EQ(str(parse(c.text).removeZeroTrailer()), c.trailerRemoved);
    }
    ZZ noLimbs(4);
    noLimbs.base_rshift(1);
    EXPECT_EQ(noLimbs.removeZeroTrailer().MN, 0);
    // addTrailingZeroes keeps the magnitude and drops the sign.
    ZZ x(-5);
    x.addTrailingZeroes(3);
    EXPECT_EQ(x, ZZ(5));
    EXPECT_TRUE(isNormal(x));
}

TEST(ZzShift, DecimalShiftsFollowTheText)
{
    RandomZZ random(testSeed());
    SCOPED_TRACE(seedTrace(testSeed()));
    for (long round = 0; round < rounds(300); ++round) {
        const ZZ x = random.limbs(random.between(1, 6));
        const std::string text = str(x);
        const long n = random.between(0, 60);
        ZZ left(x);
        left.decimal_lshift(n);
        EXPECT_EQ(str(left), text + std::string(n, '0'));
        ZZ right(x);
        right.decimal_rshift(static_cast<unsigned long>(n));
        const std::string cut = static_cast<long>(text.size()) <= n ? "0" : text.substr(0, text.size() - n);
        EXPECT_EQ(right, parse(cut.c_str())) << text << " >> " << n;
        EXPECT_EQ(right.isPositive, parse(cut.c_str()).isPositive);
        EXPECT_TRUE(cut == "-" || isNormal(right));
        // A limb is nine digits: shifting by whole limbs is shifting by nine times as many digits.
        ZZ limbs(x);
        limbs.base_lshift(n / 9);
        EXPECT_EQ(str(limbs), text + std::string(n / 9 * 9, '0'));
        limbs.base_rshift(n / 9);
        EXPECT_EQ(limbs, x);
    }
    ZZ zero(0);
    zero.decimal_lshift(5);
    EXPECT_TRUE(isNormal(zero));
}

TEST(ZzPow, MatchesRepeatedMultiplication)
{
    RandomZZ random(testSeed() + 8);
    SCOPED_TRACE(seedTrace(testSeed() + 8));
    for (long round = 0; round < rounds(10); ++round) {
        const ZZ base = random.limbs(random.between(1, 3));
        ZZ expected(1);
        for (long exponent = 0; exponent <= 40; ++exponent, expected *= base)
            EXPECT_EQ(power(base, ZZ(exponent)), expected);
    }
    EXPECT_EQ(power(ZZ(0), ZZ(0)), ZZ(1));
}

TEST(ZzMath, GgtAndKgv)
{
    RandomZZ random(testSeed() + 9);
    SCOPED_TRACE(seedTrace(testSeed() + 9));
    for (long round = 0; round < rounds(100); ++round) {
        const ZZ g = random.limbs(random.between(1, 10));
        const ZZ a = random.limbs(random.between(1, 20));
        const ZZ b = random.limbs(random.between(1, 20));
        const ZZ common = Math::ggt(a * g, b * g);
        // A positive common divisor, a multiple of g, whose cofactors share nothing more.
        EXPECT_TRUE(common.isPositive);
        EXPECT_TRUE(((a * g) % common).isZero());
        EXPECT_TRUE(((b * g) % common).isZero());
        EXPECT_TRUE((common % Math::abs(g)).isZero());
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
    const struct {
        void (*run)();
        const char* message;
    } cases[] = {
        {[] { (void)(ZZ(1) / ZZ(0)); }, "ZZ::div -- division by zero"},
        {[] { (void)(ZZ(1) / parse("-")); }, "ZZ::div -- division by zero"},
        {[] { (void)(ZZ(1) / ZZ(5).base_rshift(1)); }, "ZZ::div -- division by zero"},
        {[] { (void)power(ZZ(2), ZZ(-1)); }, "\\[ ZZ::operator \\^ \\] Exponent < 0"},
        {[] { (void)parse("1000000000").base_rshift(3); }, "ZZ::base_rshift steps > N"},
    };
    for (const auto& c : cases)
        EXPECT_EXIT(c.run(), testing::ExitedWithCode(1),
                    std::string("\n\\*\\*\\* FAIL: ") + c.message + "\n");
}

} // namespace
} // namespace latopt
