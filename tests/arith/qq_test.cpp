#include "arith/precision.h"
#include "arith/qq.h"
#include "base/exceptions.h"
#include "qq_reference.h"

#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <string>
#include <vector>

namespace latopt {
namespace {

using namespace qq_reference;

class QqArithmetic : public QqSwitches {};

using Operation = void (*)(QQ&, QQ const&, QQ const&);
const Operation OPERATIONS[] = {QQ::add, QQ::sub, QQ::mul, QQ::div};

// The operation with the word paths, checked field by field against the limb algorithms.
QQ wordResultAsLimbs(Operation operation, const QQ& a, const QQ& b)
{
    QQ word, limb;
    QQ::enableFastPaths = true;
    operation(word, a, b);
    QQ::enableFastPaths = false;
    operation(limb, a, b);
    EXPECT_TRUE(sameQQ(word, limb));
    return word;
}
class QqTruncate : public QqSwitches {};

// ---------------------------------------------------------------------------------------------
// Against an independent reference

// Every operation, with the word paths and with the limb algorithms alone, on fractions whose
// cross products fit __int128; the fields must be the reference's normal form.
TEST_F(QqArithmetic, MatchesInt128FractionsOnBothPaths)
{
    const unsigned long long seed = testSeed();
    SCOPED_TRACE(seedTrace(seed));
    std::mt19937_64 engine(seed);
    for (bool fast : {true, false}) {
        QQ::enableFastPaths = fast;
        SCOPED_TRACE(fast ? "word paths" : "limb algorithms");
        for (long round = 0; round < rounds(fast ? 3000 : 800); ++round) {
            const int digits = 1 + static_cast<int>(engine() % 18);
            const Fraction fa = randomFraction(engine, digits);
            const Fraction fb = randomFraction(engine, digits);
            const QQ a = expectedQQ(fa);
            const QQ b = expectedQQ(fb);
            SCOPED_TRACE(fields(a) + " and " + fields(b));
            QQ r;
            QQ::add(r, a, b);
            EXPECT_TRUE(sameQQ(r, expectedQQ(fa + fb)));
            QQ::sub(r, a, b);
            EXPECT_TRUE(sameQQ(r, expectedQQ(fa - fb)));
            QQ::mul(r, a, b);
            EXPECT_TRUE(sameQQ(r, expectedQQ(fa * fb)));
            if (fb.num != 0) {
                QQ::div(r, a, b);
                EXPECT_TRUE(sameQQ(r, expectedQQ(fa / fb)));
            }
            EXPECT_EQ(QQ::compare(a, b), compare(fa, fb));
            QQ::negate(r, a);
            EXPECT_TRUE(sameQQ(r, expectedQQ(Fraction(-fa.num, fa.den))));
        }
    }
}

// Values far beyond __int128, on both sides of the word paths' reach: the word paths must give
// the limb algorithms' fields, the result may be either operand, and the field identities hold.
TEST_F(QqArithmetic, WordPathsEqualLimbAlgorithmsAliasingAndFieldIdentities)
{
    const unsigned long long seed = testSeed() + 1;
    SCOPED_TRACE(seedTrace(seed));
    std::mt19937_64 engine(seed);
    for (long round = 0; round < rounds(300); ++round) {
        const int digits = round % 3 == 0 ? 170 : 70;
        const QQ a(randomFractionText(engine, digits).c_str());
        QQ b(randomFractionText(engine, digits).c_str());
        if (b.isZero()) b = 3;
        SCOPED_TRACE(fields(a) + " and " + fields(b));
        for (Operation operation : OPERATIONS) {
            const QQ word = wordResultAsLimbs(operation, a, b);
            QQ::enableFastPaths = round % 2 == 0;
            QQ first = a, second = b, both = b, square;
            operation(first, first, b);
            EXPECT_TRUE(sameQQ(first, word));
            operation(second, a, second);
            EXPECT_TRUE(sameQQ(second, word));
            operation(both, both, both);
            operation(square, b, b);
            EXPECT_TRUE(sameQQ(both, square));
        }
        QQ negated = a;
        QQ::negate(negated, negated);
        EXPECT_TRUE(sameQQ(negated, -a));
        EXPECT_TRUE(sameQQ((a + b) - b, a));
        EXPECT_TRUE(sameQQ((a * b) / b, a));
        EXPECT_TRUE(sameQQ(a - a, QQ(0)));
        const QQ difference = a - b;
        EXPECT_EQ(QQ::compare(a, b), difference.isZero() ? 0 : (difference.isPositive ? 1 : -1));
        EXPECT_EQ(QQ::compare(b, a), -QQ::compare(a, b));
    }
}

// Operands built from extreme 64-bit words (0, 1, 2^63 - 1, 2^63, 2^64 - 1), which random decimal
// digits hardly ever produce: they drive the long division of the word paths into its rare
// corrections (the trial quotient word at its maximum, the add-back step), and consecutive
// Fibonacci numbers give the greatest common divisor its longest run of small quotients. Each case
// is a reduction (the constructor's kuerzen) and a sum and product, against the limb algorithms.
TEST_F(QqArithmetic, WordPathsAgreeOnExtremeWords)
{
    ZZ wordBase, topBit;
    ZZ::pow(ZZ(2), ZZ(64), wordBase);
    ZZ::pow(ZZ(2), ZZ(63), topBit);
    const ZZ maximum = wordBase - ZZ(1);
    const ZZ patterns[] = {ZZ(0), ZZ(1), topBit - ZZ(1), topBit, maximum};
    const unsigned long long seed = testSeed() + 4;
    SCOPED_TRACE(seedTrace(seed));
    std::mt19937_64 engine(seed);
    // Below 10^144, the reach of the word paths: up to seven words and a part of an eighth.
    auto fromWords = [&](int words) {
        ZZ value(static_cast<long long>(engine() % 4096));
        for (int i = 0; i < words; ++i)
            value = value * wordBase + patterns[engine() % 5];
        return value;
    };
    std::vector<std::pair<ZZ, ZZ>> cases;
    for (long round = 0; round < rounds(400); ++round) {
        ZZ numerator = fromWords(1 + static_cast<int>(engine() % 7));
        ZZ denominator = fromWords(1 + static_cast<int>(engine() % 7));
        if (denominator.isZero()) denominator = maximum;
        cases.emplace_back(numerator, denominator);
        // A remainder whose top word equals the divisor's: the trial quotient word saturates.
        cases.emplace_back(denominator * wordBase - ZZ(1), denominator);
    }
    ZZ previous(1);
    ZZ current(1);
    for (int k = 2; k < 680; ++k) { // F(680) < 10^142
        const ZZ next = previous + current;
        previous = current;
        current = next;
        if (k % 6 == 0) cases.emplace_back(current * ZZ(6), previous * ZZ(4));
    }
    for (auto const& [numerator, denominator] : cases) {
        QQ::enableFastPaths = true;
        const QQ word(numerator, denominator);
        const QQ wordSum = word + QQ(denominator, numerator + ZZ(1));
        const QQ wordProduct = word * QQ(denominator + ZZ(1), numerator + ZZ(3));
        QQ::enableFastPaths = false;
        const QQ limb(numerator, denominator);
        SCOPED_TRACE(fields(limb));
        EXPECT_TRUE(sameQQ(word, limb));
        EXPECT_TRUE(sameQQ(wordSum, limb + QQ(denominator, numerator + ZZ(1))));
        EXPECT_TRUE(sameQQ(wordProduct, limb * QQ(denominator + ZZ(1), numerator + ZZ(3))));
    }
}

// A form that is not normal (as truncate leaves it: improper, unreduced, a negative zero) is a
// legal operand; the result is normal and exact.
TEST_F(QqArithmetic, OperandsOutOfNormalFormGiveNormalResults)
{
    QQ improper;
    improper.ganze = 1;
    improper.zaehler = 10;
    improper.nenner = 4; // 1 + 10/4 = 7/2
    QQ negativeZero;
    negativeZero.isPositive = false;
    // Random operands cut by truncate, against the limb algorithms and the exact sum.
    const unsigned long long seed = testSeed() + 5;
    SCOPED_TRACE(seedTrace(seed));
    std::mt19937_64 engine(seed);
    for (long round = 0; round < rounds(200); ++round) {
        QQ a(randomFractionText(engine, 40).c_str());
        QQ b(randomFractionText(engine, 40).c_str());
        a.truncate(1 + engine() % 25);
        b.truncate(1 + engine() % 25);
        if (b.isZero()) b = QQ("1/7");
        SCOPED_TRACE(fields(a) + " and " + fields(b));
        for (Operation operation : OPERATIONS)
            wordResultAsLimbs(operation, a, b);
        QQ::enableFastPaths = true;
        // a + 0 normalises a without changing its value.
        const QQ normal = a + QQ(0);
        EXPECT_TRUE(normal.isNormal());
        EXPECT_TRUE((normal - a).isZero());
    }
    for (bool fast : {true, false}) {
        QQ::enableFastPaths = fast;
        for (auto [result, expected] : {std::pair{improper + QQ("1/2"), QQ(4)},
                                        {improper * QQ("2/7"), QQ(1)},
                                        {QQ(1) / improper, QQ("2/7")},
                                        {improper - QQ(4), QQ("-1/2")},
                                        {negativeZero + QQ("-1/3"), QQ("-1/3")},
                                        {QQ("1/3") - negativeZero, QQ("1/3")},
                                        {negativeZero * QQ(5), QQ(0)}})
            EXPECT_TRUE(sameQQ(result, expected));
    }
}

// ---------------------------------------------------------------------------------------------
// Named cases

TEST_F(QqArithmetic, InfinitiesAbsorbAndCarrySigns)
{
    const QQ plus = inf(true);
    const QQ minus = inf(false);
    const QQ large("123456789012345678901234567890");
    for (auto [result, expected] : {std::pair{plus + plus, plus},
                                    {minus + minus, minus},
                                    {plus - minus, plus},
                                    {minus - plus, minus},
                                    {plus + QQ(-5), plus},
                                    {QQ(5) - plus, minus},
                                    {QQ(5) / plus, QQ(0)},
                                    {QQ(0) / plus, QQ(0)},
                                    {QQ(-5) * plus, minus},
                                    {minus * minus, plus},
                                    {minus / QQ("-1/2"), plus},
                                    {-minus, plus},
                                    {Math::abs(minus), plus},
                                    {Constant<QQ>::INF(), plus}})
        EXPECT_TRUE(sameQQ(result, expected));
    EXPECT_EQ(QQ::compare(plus, plus), 0);
    EXPECT_EQ(QQ::compare(minus, plus), -1);
    EXPECT_EQ(QQ::compare(large, plus), -1);
    EXPECT_EQ(QQ::compare(minus, -large), -1);
}

TEST_F(QqArithmetic, DivisionByZeroIsAPrecisionEventAndLeavesTheResult)
{
    for (bool fast : {true, false}) {
        QQ::enableFastPaths = fast;
        for (QQ const& dividend : {QQ(3), QQ("-2:1/7"), inf(true)}) {
            QQ r(42);
            try {
                QQ::div(r, dividend, QQ(0));
                ADD_FAILURE() << "no exception";
            } catch (PrecisionException const& exception) {
                EXPECT_STREQ(exception.what(), "QQ: division by zero3");
            }
            EXPECT_TRUE(sameQQ(r, QQ(42)));
        }
    }
}

TEST_F(QqArithmetic, GgtAndKgvOfRationals)
{
    for (auto [result, expected] : {std::pair{Math::ggt(QQ("1/2"), QQ("1/3")), QQ("1/6")},
                                    {Math::kgv(QQ("1/2"), QQ("1/3")), QQ(1)},
                                    {Math::ggt(QQ(-12), QQ(18)), QQ(6)},
                                    {Math::ggt(QQ(0), QQ("-3/4")), QQ("3/4")},
                                    {Math::abs(QQ("-2:1/3")), QQ("2:1/3")}})
        EXPECT_TRUE(sameQQ(result, expected));
    const unsigned long long seed = testSeed() + 3;
    SCOPED_TRACE(seedTrace(seed));
    std::mt19937_64 engine(seed);
    for (long round = 0; round < rounds(100); ++round) {
        const QQ a = expectedQQ(randomFraction(engine, 4));
        const QQ b = expectedQQ(randomFraction(engine, 4));
        if (a.isZero() || b.isZero()) continue;
        const QQ g = Math::ggt(a, b);
        // g divides both, and no larger rational does: a / g and b / g are coprime integers.
        const QQ x = a / g;
        const QQ y = b / g;
        ASSERT_TRUE(x.zaehler.isZero() && y.zaehler.isZero()) << a << " " << b << " " << g;
        EXPECT_EQ(Math::ggt(x.ganze, y.ganze), ZZ(1));
        EXPECT_TRUE(sameQQ(Math::abs(Math::kgv(a, b)), Math::abs(a * b) / g));
    }
}

// EPSILON is exactly 1/10^9: the tolerant zero test holds at it and fails just beyond.
TEST_F(QqArithmetic, EpsilonAndZeroTests)
{
    const QQ epsilon = Constant<QQ>::EPSILON();
    EXPECT_TRUE(sameQQ(epsilon, expectedQQ(Fraction(1, 1000000000))));
    EXPECT_TRUE(sameQQ(Constant<QQ>::DELTA(), expectedQQ(Fraction(999999999, 1000000000))));
    const QQ beyond = epsilon + QQ("1/1000000000000000000");
    EXPECT_TRUE(Precision::equalsZero(epsilon, true));
    EXPECT_TRUE(Precision::equalsZero(-epsilon, true));
    EXPECT_FALSE(Precision::equalsZero(beyond, true));
    EXPECT_FALSE(Precision::equalsZero(-beyond, true));
    EXPECT_FALSE(Precision::equalsZero(epsilon, false));
    EXPECT_TRUE(Precision::equalsZero(QQ(0), false));
    EXPECT_FALSE(Precision::equalsZero(inf(false), true));
}

// ---------------------------------------------------------------------------------------------
// The truncating product

TEST_F(QqTruncate, ProductSumsTheTruncatedTermsAndTheGuardRestoresTheSwitch)
{
    // Denominators of 20 and 25 digits: the three fractional terms each lose digits.
    const QQ a("7:12345678901234567891/98765432109876543211");
    const QQ b("-3:1111111111111111111111111/3333333333333333333333337");
    QQ expected = QQ(a.signedInteger() * b.signedInteger());
    for (QQ term : {QQ(a.signedInteger() * b.signedNumerator(), b.nenner),
                    QQ(b.signedInteger() * a.signedNumerator(), a.nenner),
                    QQ(a.signedNumerator() * b.signedNumerator(), a.nenner * b.nenner)}) {
        term.truncate(18);
        expected += term;
    }
    QQ truncated;
    {
        const TruncateGuard guard(true);
        EXPECT_TRUE(QQ::enableTruncate);
        truncated = a * b;
    }
    EXPECT_FALSE(QQ::enableTruncate);
    EXPECT_TRUE(sameQQ(truncated, expected));
    const QQ exact = a * b;
    EXPECT_NE(truncated, exact);
    EXPECT_TRUE(Math::equalsEpsilonZero(truncated - exact));
    // Small denominators are not touched.
    const TruncateGuard guard(true);
    EXPECT_TRUE(sameQQ(QQ("1/3") * QQ("1/3"), QQ("1/9")));
}

// ---------------------------------------------------------------------------------------------
// Fatal stops

TEST(QqArithmeticDeathTest, UndefinedOperationsStopWithTheirText)
{
    const char* const signSet = "A ganze / zaehler / nenner sign has been set, though it should not be used";
    const struct {
        void (*run)();
        const char* message;
    } cases[] = {
        {[] { (void)(inf(true) - inf(true)); }, "INF - INF is not defined"},
        {[] { (void)(inf(false) + inf(true)); }, "INF - INF is not defined"},
        {[] { (void)(inf(true) + inf(false)); }, "INF - INF is not defined"},
        {[] { (void)(inf(true) * QQ(0)); }, "qq: INF * 0 is not defined!"},
        {[] { (void)(QQ(0) * inf(false)); }, "qq: 0 * INF is not defined!"},
        {[] { (void)(inf(true) / inf(false)); }, "QQ: +-INF / +-INF is not defined"},
        {[] {
             QQ signedField("1/3");
             signedField.nenner.isPositive = false;
             signedField.kuerzen();
         },
         signSet},
        {[] {
             QQ signedField("2:1/3");
             signedField.ganze.isPositive = false;
             (void)(signedField + QQ("1/3"));
         },
         signSet},
        {[] {
             ZZ x, d;
             QQ::com_denom(x, x, d, QQ(1), QQ(2));
         },
         "QQ: The ZZs have the same address"},
        {[] {
             ZZ x, y, d;
             QQ::com_denom(x, y, d, QQ(1), inf(true));
         },
         "a_z, b_z can not be set to ZZ::INF -- isInf is logic only available in QQ class"},
    };
    for (const auto& c : cases)
        EXPECT_EXIT(c.run(), testing::ExitedWithCode(1), fatalText(c.message));
}

} // namespace
} // namespace latopt
