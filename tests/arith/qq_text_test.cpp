#include "arith/qq.h"
#include "qq_reference.h"

#include <gtest/gtest.h>

#include <random>
#include <sstream>
#include <string>

namespace latopt {
namespace {

using namespace qq_reference;

std::string written(QQ const& q)
{
    std::ostringstream out;
    out << q;
    return out.str();
}

// |x - y| <= bound
bool near(QQ const& x, QQ const& y, char const* bound)
{
    return Math::abs(x - y) <= QQ(bound);
}

// ---------------------------------------------------------------------------------------------
// Parser and writer

TEST(QqText, EveryFormReadsToItsValue)
{
    const struct {
        char const* text;
        Fraction value;
    } cases[] = {
        {"17", Fraction(17)},
        {"+17", Fraction(17)},
        {"3/4", Fraction(3, 4)},
        {"3/-4", Fraction(-3, 4)},
        {"-3/-4", Fraction(3, 4)},
        {"6/8", Fraction(3, 4)},
        {"2.5", Fraction(5, 2)},
        {"2,5", Fraction(5, 2)},
        {".5", Fraction(1, 2)},
        {"-.25", Fraction(-1, 4)},
        {"  -2:3/4", Fraction(-11, 4)},
        {"0.050", Fraction(1, 20)},
        {"1e3", Fraction(1000)},
        {"25e-1", Fraction(5, 2)},
        {"1,5E1", Fraction(15)},
        {"-3/4e2", Fraction(-75)},
        {"-0", Fraction(0)},
        {"12a3", Fraction(123)},
        // The digits behind the point join their limbs without padding: 1000000001 becomes 11.
        {"0.1000000001", Fraction(11, 100)},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_TRUE(sameQQ(QQ(c.text), expectedQQ(c.value)));
    }
    EXPECT_TRUE(sameQQ(QQ("-inf"), inf(false)));
    EXPECT_TRUE(sameQQ(QQ("inf"), inf(true)));
    EXPECT_TRUE(sameQQ(QQ("+infinity"), inf(true)));
    EXPECT_EQ(QQ::eliminateScientificNotation("  1.5e3"), "1500");
    EXPECT_EQ(QQ::eliminateScientificNotation("25e-1"), "2:1/2");
    EXPECT_EQ(QQ::eliminateScientificNotation("\t-3/4"), "-3/4");
    EXPECT_EQ(QQ::eliminateScientificNotation(" inf"), "inf");
    // A fractional exponent goes through root(): 4 * 10^(1/2) squared is 160, approximately.
    const QQ root = QQ("4e1/2");
    EXPECT_TRUE(near(root * root, QQ(160), "1/100000000"));
}

// Long decimals against the reduction of their fraction by Euclid: integer + D / 10^(k + digits of
// D), D the digits behind the point and its k leading zeroes with its low zeroes removed. D is
// often a multiple of a high power of 2 or 5, which the reader divides out without a Euclid.
TEST(QqText, LongDecimalsMatchTheirReducedFractions)
{
    const unsigned long long seed = testSeed() + 11;
    SCOPED_TRACE(seedTrace(seed));
    std::mt19937_64 engine(seed);
    auto randomDigits = [&](long count) {
        std::string digits;
        for (long i = 0; i < count; ++i)
            digits += static_cast<char>('0' + engine() % 10);
        return digits;
    };
    auto zz = [](const std::string& digits) {
        ZZ value;
        value = digits.c_str();
        return value;
    };
    for (long round = 0; round < rounds(60); ++round) {
        ZZ numerator = zz(randomDigits(1 + static_cast<long>(engine() % 40)));
        ZZ power;
        ZZ::pow(ZZ(engine() % 2 == 0 ? 2 : 5), ZZ(static_cast<long>(engine() % 400)), power);
        if (engine() % 3 != 0) numerator = numerator * power;
        if (numerator.isZero()) numerator = 7;
        const std::string zeroes(engine() % 20, '0');
        const std::string integer = randomDigits(static_cast<long>(engine() % 30));
        const bool negative = engine() % 2 == 0;
        const std::string text =
            (negative ? "-" : "") + integer + "." + zeroes + numerator.getStringRepresentation();
        SCOPED_TRACE(text);
        numerator.removeZeroTrailer();
        ZZ denominator;
        ZZ::pow(ZZ(10), ZZ(static_cast<long>(zeroes.size()) + numerator.digits()), denominator);
        QQ expected = QQ(zz(integer)) + QQ(numerator, denominator);
        if (negative) expected = -expected;
        EXPECT_TRUE(sameQQ(QQ(text.c_str()), expected));
    }
}

// Number text nests behind points, colons and exponent letters; no depth of nesting costs stack.
// Long runs of dots, commas, colons and exponent letters, read and refused, run end to end in
// tests/tool/long_token_test.cpp; here the forms that test doesn't spell.
TEST(QqText, DeeplyNestedTextReadsWithoutRecursion)
{
    const long depth = 200000;
    std::string exponents = "3";
    for (long i = 0; i < depth / 2; ++i)
        exponents += "e0";
    EXPECT_TRUE(sameQQ(QQ(exponents.c_str()), QQ(3)));
    EXPECT_EXIT(QQ{(std::string(depth, '.') + "0").c_str()}, testing::ExitedWithCode(1),
                fatalText("QQ: parse error1"));
    // The checks keep the order of the nesting: a colon's "0" is seen on the way in, before the
    // inner "2:5" fails on the way out.
    EXPECT_EXIT(QQ{"1:2:5:0"}, testing::ExitedWithCode(1), fatalText("QQ: malformed number1"));
    EXPECT_EXIT(QQ{"1:2:5"}, testing::ExitedWithCode(1), fatalText("QQ: malformed number2"));
}

TEST(QqText, WrittenFormsReadBackThroughParserAndStream)
{
    EXPECT_EQ(written(QQ(0)), "0");
    EXPECT_EQ(written(QQ(5)), "5");
    EXPECT_EQ(written(QQ("-1/2")), "-1/2");
    EXPECT_EQ(written(QQ("11/4")), "2:3/4");
    EXPECT_EQ(written(QQ("-11/4")), "-2:3/4");
    EXPECT_EQ(written(QQ("-1000000000000")), "-1000000000000");
    EXPECT_EQ(written(inf(true)), "inf");
    EXPECT_EQ(written(inf(false)), "-inf");
    const unsigned long long seed = testSeed() + 11;
    SCOPED_TRACE(seedTrace(seed));
    std::mt19937_64 engine(seed);
    std::vector<QQ> values = {inf(true), inf(false), QQ(0)};
    for (long round = 0; round < rounds(300); ++round)
        values.push_back(round % 2 == 0 ? expectedQQ(randomFraction(engine, 18))
                                        : QQ(randomFractionText(engine, 60).c_str()));
    // Each written form through the parser, and all of them through one stream with comments and
    // every kind of separator between them.
    std::stringstream stream;
    const char* separators[] = {" ", "\t", "\r\n", " /* block */ ", " // line\n"};
    for (size_t i = 0; i < values.size(); ++i) {
        const std::string text = written(values[i]);
        EXPECT_TRUE(sameQQ(QQ(text.c_str()), values[i])) << text;
        stream << text << separators[i % 5];
    }
    for (QQ const& value : values) {
        QQ read;
        stream >> read;
        EXPECT_TRUE(sameQQ(read, value));
    }
}

TEST(QqText, StreamTokenEndsAtTheFirstForeignCharacter)
{
    std::istringstream stream("12abc -inf] 3e5 -2:3/4,x inx");
    QQ q;
    stream >> q;
    EXPECT_TRUE(sameQQ(q, QQ(12)));
    EXPECT_EQ(stream.get(), 'a');
    stream.ignore(2);
    stream >> q;
    EXPECT_TRUE(sameQQ(q, inf(false)));
    EXPECT_EQ(stream.get(), ']');
    stream >> q; // no exponent in a stream: "e" ends the token
    EXPECT_TRUE(sameQQ(q, QQ(3)));
    EXPECT_EQ(stream.get(), 'e');
    stream.ignore(1);
    stream >> q; // "," belongs to the token: "-2:3/4," reads as -2:3/4
    EXPECT_TRUE(sameQQ(q, QQ("-11/4")));
    EXPECT_EQ(stream.get(), 'x');
    // A broken "inf" stays consumed as far as it went.
    EXPECT_EXIT(stream >> q, testing::ExitedWithCode(1), fatalText("QQ: parse error1"));
}

// Malformed text, and roots that are not defined, stop the process with their own text.
TEST(QqTextDeathTest, MalformedTextAndUndefinedRootsStop)
{
    // The digits behind a point are read as a number of their own, and nothing is no number:
    // "2.0" and "1e" fail to parse.
    const std::pair<char const*, char const*> texts[] = {{"2:0.5", "QQ: malformed number1"},
                                                         {"2:-1/2", "QQ: malformed number1"},
                                                         {"2:1:1/2", "QQ: malformed number2"},
                                                         {"2:5", "QQ: malformed number2"},
                                                         {"1/0", "QQ: division by zero1"},
                                                         {"ix", "QQ: parse error2"},
                                                         {"-in", "QQ: parse error3"},
                                                         {"", "QQ: parse error1"},
                                                         {"  -", "QQ: parse error1"},
                                                         {"2.0", "QQ: parse error1"},
                                                         {"1e", "QQ: parse error1"}};
    for (auto const& [text, message] : texts)
        EXPECT_EXIT(QQ{text}, testing::ExitedWithCode(1), fatalText(message)) << text;
    std::istringstream stream("ix");
    QQ q;
    EXPECT_EXIT(stream >> q, testing::ExitedWithCode(1), fatalText("QQ: parse error1"));
    EXPECT_EXIT(QQ::root(q, QQ(2), ZZ(0)), testing::ExitedWithCode(1),
                fatalText("QQ: zero-th roots are not defined"));
    EXPECT_EXIT(QQ::root(q, QQ(-4), ZZ(2)), testing::ExitedWithCode(1),
                fatalText("QQ: complex roots are not implemented"));
    EXPECT_EXIT(QQ::root(q, QQ(0), ZZ(-2)), testing::ExitedWithCode(1), fatalText("QQ: division by zero"));
    EXPECT_EXIT(sqrt(QQ("-1/4")), testing::ExitedWithCode(1),
                fatalText("QQ: complex roots are not implemented"));
}

// ---------------------------------------------------------------------------------------------
// Rounding and truncation

TEST(QqRounding, FloorCeilRoundMatchIntegerArithmetic)
{
    for (QQ const& infinity : {inf(true), inf(false)}) {
        EXPECT_TRUE(sameQQ(floor(infinity), infinity));
        EXPECT_TRUE(sameQQ(ceil(infinity), infinity));
        EXPECT_TRUE(sameQQ(round(infinity), infinity));
    }
    const unsigned long long seed = testSeed() + 12;
    SCOPED_TRACE(seedTrace(seed));
    std::mt19937_64 engine(seed);
    for (long round = 0; round < rounds(1000); ++round) {
        // Small denominators make halves and integers frequent.
        const Fraction f =
            round % 2 == 0 ? randomFraction(engine, 15) : Fraction(randomBelow(engine, 4), 1 + engine() % 4);
        const QQ q = expectedQQ(f);
        SCOPED_TRACE(fields(q));
        const Int128 lower = f.floor();
        const Int128 upper = lower * f.den == f.num ? lower : lower + 1;
        const Int128 away =
            f.num >= 0 ? (2 * f.num + f.den) / (2 * f.den) : -((2 * -f.num + f.den) / (2 * f.den));
        EXPECT_TRUE(sameQQ(floor(q), expectedQQ(lower)));
        EXPECT_TRUE(sameQQ(ceil(q), expectedQQ(upper)));
        EXPECT_TRUE(sameQQ(latopt::round(q), expectedQQ(away)));
    }
}

TEST(QqRounding, TruncateCutsBothFractionPartsAlike)
{
    QQ negativeSmall("-1/12345");
    negativeSmall.truncate(3);
    EXPECT_TRUE(sameQQ(negativeSmall, QQ(0))); // a zero is positive
    QQ mixed("-2:12345/123457");
    mixed.truncate(3); // s = 3 digits go from both: 12/123, not reduced
    EXPECT_FALSE(mixed.isPositive);
    EXPECT_EQ(mixed.ganze, ZZ(2));
    EXPECT_EQ(mixed.zaehler, ZZ(12));
    EXPECT_EQ(mixed.nenner, ZZ(123));
    QQ within("5/123");
    within.truncate(3);
    EXPECT_TRUE(sameQQ(within, QQ("5/123")));
}

// ---------------------------------------------------------------------------------------------
// Powers and roots

TEST(QqPow, IntegerExponentsAreExact)
{
    const unsigned long long seed = testSeed() + 13;
    SCOPED_TRACE(seedTrace(seed));
    std::mt19937_64 engine(seed);
    for (long round = 0; round < rounds(200); ++round) {
        Fraction base = randomFraction(engine, 3);
        const int exponent = static_cast<int>(engine() % 11) - 5;
        if (base.num == 0 && exponent < 0) base = Fraction(2, 3);
        Fraction expected(1);
        for (int i = 0; i < (exponent < 0 ? -exponent : exponent); ++i)
            expected = expected * base;
        if (exponent < 0) expected = Fraction(expected.den, expected.num);
        SCOPED_TRACE(toText(magnitude(base.num)) + "/" + toText(base.den) + " ^ " + std::to_string(exponent));
        EXPECT_TRUE(sameQQ(pow(expectedQQ(base), QQ(exponent)), expectedQQ(expected)));
    }
}

TEST(QqPow, InfiniteExponentsAndBases)
{
    EXPECT_TRUE(sameQQ(pow(QQ("1/2"), inf(true)), QQ(0)));
    EXPECT_TRUE(sameQQ(pow(QQ(-1), inf(true)), QQ(-1)));
    EXPECT_TRUE(sameQQ(pow(QQ("-3/2"), inf(true)), inf(false)));
    EXPECT_TRUE(sameQQ(pow(QQ(3), inf(false)), QQ(0)));
    EXPECT_TRUE(sameQQ(pow(inf(false), QQ(3)), inf(false)));
    EXPECT_TRUE(sameQQ(pow(inf(false), QQ(2)), inf(true)));
    EXPECT_TRUE(sameQQ(pow(inf(true), QQ(0)), QQ(1)));
    EXPECT_TRUE(sameQQ(pow(inf(true), QQ("-1/2")), QQ(0)));
}

TEST(QqRoot, NewtonRootsAreWithinTheTolerance)
{
    QQ r;
    QQ::root(r, QQ(-27), ZZ(3));
    EXPECT_TRUE(near(r, QQ(-3), "1/1000000000"));
    QQ::root(r, QQ(4), ZZ(-2));
    EXPECT_TRUE(near(r, QQ("1/2"), "1/1000000000"));
    QQ::root(r, QQ("5/7"), ZZ(1));
    EXPECT_TRUE(sameQQ(r, QQ("5/7")));
    QQ::root(r, inf(true), ZZ(2));
    EXPECT_TRUE(sameQQ(r, inf(true)));
    EXPECT_TRUE(near(pow(QQ(8), QQ("2/3")), QQ(4), "1/100000000"));
    EXPECT_TRUE(near(pow(QQ(-8), QQ("1/3")), QQ(-2), "1/100000000"));
    const unsigned long long seed = testSeed() + 14;
    SCOPED_TRACE(seedTrace(seed));
    std::mt19937_64 engine(seed);
    for (long round = 0; round < rounds(40); ++round) {
        const Fraction f = randomFraction(engine, 6);
        const QQ a = Math::abs(expectedQQ(f));
        // Zero only for orders 2 and 3: from the fourth order on, the truncated power of the iterate
        // vanishes before the steps get small, and the Newton step divides by zero.
        const long order = 2 + static_cast<long>(engine() % (a.isZero() ? 2 : 3));
        SCOPED_TRACE(fields(a) + " root " + std::to_string(order));
        QQ::root(r, a, ZZ(order));
        EXPECT_TRUE(r.isPositive);
        EXPECT_TRUE(r.isNormal());
        EXPECT_LE(r.nenner.digits(), 18);
        EXPECT_TRUE(near(pow(r, QQ(order)), a, "2/1000000000"));
        if (order == 2) {
            EXPECT_TRUE(sameQQ(sqrt(a), r));
        }
        // The result may be the operand.
        QQ same = a;
        QQ::root(same, same, ZZ(order));
        EXPECT_TRUE(sameQQ(same, r));
    }
}

} // namespace
} // namespace latopt
