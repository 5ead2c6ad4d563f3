// star_test.cpp: the solution records: defaults and conversions, the text line and its reader
// (round trips, comments, short and unusable records), the order against a reference, the version
// comparison, and the removal of duplicates against the pairwise walk.
#include "program/star.h"

#include "arith/precision.h"
#include "arith/qq.h"
#include "base/exceptions.h"

#include "test_seed.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdlib>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace latopt {
namespace {

using test::rounds;
using test::seedTrace;
using test::testSeed;

template <class T>
Star<T> makeStar(const char* x, const char* targetValues, T targetNorm, T slackNorm, long seconds,
                 std::string params, std::string version)
{
    return Star<T>(Vector<T>(x), Vector<T>(targetValues), std::move(targetNorm), std::move(slackNorm),
                   seconds, std::move(params), std::move(version));
}

// The records of a text as the file reader takes them: one object reused, dimension 0 dropped.
template <class T>
std::vector<Star<T>> readAll(const std::string& text, std::vector<bool>* results = nullptr)
{
    std::stringstream stream(text);
    Star<T> star;
    std::vector<Star<T>> records;
    while (stream.good()) {
        const bool result = star.fromStream(stream);
        if (star.MN == 0) continue;
        if (results != nullptr) results->push_back(result);
        records.push_back(star);
    }
    return records;
}

TEST(StarRecord, DefaultsOfTheThreeRecords)
{
    const TimeVector<long double> time;
    EXPECT_EQ(time.MN, 0);
    EXPECT_EQ(time.secondsUntilDiscovered, -1);
    EXPECT_TRUE(time.isNew);

    const TargetVector<QQ> target;
    EXPECT_EQ(target.slackNorm, QQ(-1L));
    EXPECT_EQ(target.targetNorm, Constant<QQ>::INF());
    EXPECT_EQ(target.targetValue, Constant<QQ>::INF());
    const TargetVector<long double> targetDbl;
    EXPECT_EQ(targetDbl.slackNorm, -1.0L);
    EXPECT_TRUE(std::isinf(targetDbl.targetNorm) && targetDbl.targetNorm > 0);

    const Star<QQ> star;
    EXPECT_EQ(star.MN, 0);
    EXPECT_EQ(star.targetValues.MN, 0);
    EXPECT_EQ(star.slackNorm, QQ(0L));
    EXPECT_EQ(star.targetNorm, QQ(0L));
    EXPECT_EQ(star.secondsUntilDiscovered, -1);
    EXPECT_TRUE(star.isNew);
    EXPECT_TRUE(star.params.empty() && star.version.empty());
    for (const Vector<QQ>* vector : {static_cast<const Vector<QQ>*>(&star), &star.targetValues}) {
        EXPECT_EQ(vector->separators, " ");
        EXPECT_TRUE(vector->allowComments && vector->lineBased);
    }
}

TEST(StarRecord, ResetAllMembersRestoresTheTimeVectorDefaults)
{
    TimeVector<QQ> time(Vector<QQ>("[ 1 2 ]"), 42);
    time.isNew = false;
    Array<QQ>& asArray = time; // the reset is virtual
    asArray.resetAllMembers();
    EXPECT_EQ(time.MN, 0);
    EXPECT_EQ(time.secondsUntilDiscovered, -1);
    EXPECT_TRUE(time.isNew);
}

TEST(StarAssign, CrossesNumberTypesAndBack)
{
    Star<QQ> exact =
        makeStar<QQ>("[ 1/4 -3 inf ]", "[ 5/2 -1/20 ]", QQ("7/8"), QQ("1/2"), 17, "--beta=20", "2.2.3");
    exact.isNew = false;
    Star<long double> standard;
    Precision::conv(exact, standard, true);
    EXPECT_EQ(standard.MN, 3);
    EXPECT_EQ(standard[1], 0.25L);
    EXPECT_EQ(standard[2], -3.0L);
    EXPECT_TRUE(std::isinf(standard[3]));
    EXPECT_EQ(standard.targetValues[2], -0.05L);
    EXPECT_EQ(standard.targetNorm, 0.875L);
    EXPECT_EQ(standard.slackNorm, 0.5L);
    EXPECT_EQ(standard.secondsUntilDiscovered, 17);
    EXPECT_FALSE(standard.isNew);
    EXPECT_EQ(standard.params, "--beta=20");
    EXPECT_EQ(standard.version, "2.2.3");

    Star<QQ> back;
    back._assign(standard);
    EXPECT_EQ(back.toString(), exact.toString());
    EXPECT_FALSE(back.isNew);

    Star<long double> copy;
    copy._assign(standard);
    EXPECT_EQ(copy.toString(), standard.toString());
    copy._assign(copy);
    EXPECT_EQ(copy.toString(), standard.toString());

    TargetVector<QQ> target;
    target.setDimension(1);
    target[1] = QQ("3/2");
    target.secondsUntilDiscovered = 5;
    target.slackNorm = QQ("1/4");
    TargetVector<long double> targetDbl;
    targetDbl._assign(target);
    EXPECT_EQ(targetDbl[1], 1.5L);
    EXPECT_EQ(targetDbl.secondsUntilDiscovered, 5);
    EXPECT_EQ(targetDbl.slackNorm, 0.25L);
    EXPECT_TRUE(std::isinf(targetDbl.targetNorm) && std::isinf(targetDbl.targetValue));
}

TEST(StarAssign, LossThrowsWhenTheTargetAsksForFaithfulValues)
{
    const Star<QQ> third = makeStar<QQ>("[ 1 ]", "[ ]", QQ("1/3"), QQ(0L), -1, "", "");
    Star<long double> standard;
    EXPECT_NO_THROW(standard._assign(third)); // rounded silently by default
    EXPECT_NEAR(static_cast<double>(standard.targetNorm), 1.0 / 3.0, 1e-15);
    // The figures round whatever the flags say; the vector must arrive faithfully.
    standard.throwOnLoss = true;
    EXPECT_NO_THROW(standard._assign(third));
    const Star<QQ> xThird = makeStar<QQ>("[ 1/3 ]", "[ ]", QQ(0L), QQ(0L), -1, "", "");
    EXPECT_THROW(standard._assign(xThird), PrecisionException);
    // Without the flag a value must still come back within 10^-9: 1/3 does, 10^21 + 1 doesn't.
    standard.throwOnLoss = false;
    EXPECT_NO_THROW(standard._assign(xThird));
    const Star<QQ> huge = makeStar<QQ>("[ 1000000000000000000001 ]", "[ ]", QQ(0L), QQ(0L), -1, "", "");
    EXPECT_THROW(standard._assign(huge), PrecisionException);
}

TEST(StarText, LineFormOfBothNumberTypes)
{
    EXPECT_EQ(makeStar<QQ>("[ 1 0 1 ]", "[ 3 ]", QQ(3L), QQ(0L), 17, "--beta=20 --sol=1", "2.2.3").toString(),
              "[ 1 0 1 ] | 3 | [ 3 ] | 0 | 17 | --beta=20 --sol=1 | 2.2.3");
    EXPECT_EQ(makeStar<QQ>("[ -1/2 ]", "[ ]", QQ("2:3/4"), QQ(-1L), -1, "--beta=20", "").toString(),
              "[ -1/2 ] | 2:3/4 | [ ] | -1 | -1 | --beta=20");
    EXPECT_EQ(makeStar<QQ>("[ 1 ]", "[ ]", QQ(1L), QQ(0L), 3, "", "").toString(),
              "[ 1 ] | 1 | [ ] | 0 | 3 | ");

    // x in 17 significant digits; norms and target values in the line's default 6.
    Star<long double> standard;
    standard.setDimension(2);
    standard[1] = 1.0L / 3.0L;
    standard[2] = 2.0L;
    standard.targetValues.setDimension(1);
    standard.targetValues[1] = 2.0L / 3.0L;
    standard.targetNorm = 1234567.0L;
    standard.slackNorm = 0.1L;
    standard.secondsUntilDiscovered = 9;
    EXPECT_EQ(standard.toString(), "[ 0.33333333333333333 2 ] | 1.23457e+06 | [ 0.666667 ] | 0.1 | 9 | ");
}

// Random exact records: every column, with and without version.
Star<QQ> randomExactRecord(std::mt19937_64& random)
{
    static const char* const NUMBERS[] = {"0",
                                          "1",
                                          "-1",
                                          "17",
                                          "3/4",
                                          "-5/12",
                                          "2:1/3",
                                          "-7:2/9",
                                          "inf",
                                          "-inf",
                                          "123456789012345678901/7",
                                          "1000000000"};
    static const char* const PARAMS[] = {"--beta=20 --sol=1", "--beta=10", "--verb=1 --bench=0.5", "x"};
    static const char* const VERSIONS[] = {"", "", "2.2.3", "1.0", "10.4.1"};
    auto pick = [&](auto& table) { return table[random() % (sizeof(table) / sizeof(table[0]))]; };
    auto randomVector = [&](long dimension) {
        Vector<QQ> v(dimension);
        for (long i = 1; i <= dimension; ++i)
            v[i] = QQ(pick(NUMBERS));
        return v;
    };
    Star<QQ> star(randomVector(1 + static_cast<long>(random() % 5)),
                  randomVector(static_cast<long>(random() % 4)), QQ(pick(NUMBERS)), QQ(pick(NUMBERS)),
                  static_cast<long>(random() % 100000) - 1, pick(PARAMS), pick(VERSIONS));
    return star;
}

TEST(StarText, ExactRecordsReadBackAsWritten)
{
    const unsigned long long seed = testSeed();
    SCOPED_TRACE(seedTrace(seed));
    std::mt19937_64 random(seed);
    std::vector<Star<QQ>> written;
    std::string file;
    for (long k = 0; k < rounds(200); ++k) {
        written.push_back(randomExactRecord(random));
        file += written.back().toString() + "\n";
    }
    std::vector<bool> results;
    const std::vector<Star<QQ>> read = readAll<QQ>(file, &results);
    ASSERT_EQ(read.size(), written.size());
    for (size_t k = 0; k < read.size(); ++k) {
        EXPECT_TRUE(results[k]);
        // QQ's text is its normal form, so equal lines mean equal fields. Where a record has no
        // version column the reused object keeps the version of the record before.
        Star<QQ> expected = written[k];
        if (expected.version.empty() && k > 0) expected.version = read[k - 1].version;
        EXPECT_EQ(read[k].toString(), expected.toString()) << "record " << k;
    }
}

TEST(StarText, StandardRecordsReadBackToTheirOwnText)
{
    const unsigned long long seed = testSeed();
    SCOPED_TRACE(seedTrace(seed));
    std::mt19937_64 random(seed);
    std::uniform_real_distribution<double> mantissa(-10.0, 10.0);
    std::uniform_int_distribution<int> exponent(-40, 40);
    auto value = [&]() -> long double {
        switch (random() % 8) {
        case 0:
            return Constant<long double>::INF();
        case 1:
            return static_cast<long double>(static_cast<long>(random() % 2001) - 1000);
        case 2:
            return ldexpl(static_cast<long double>(random() % 1000003), -40) * 3.0L;
        default:
            return static_cast<long double>(mantissa(random)) * powl(10.0L, exponent(random)) / 3.0L;
        }
    };
    std::string file;
    for (long k = 0; k < rounds(200); ++k) {
        Star<long double> star;
        star.setDimension(1 + static_cast<long>(random() % 4));
        for (long i = 1; i <= star.MN; ++i)
            star[i] = value();
        star.targetValues.setDimension(static_cast<long>(random() % 3));
        for (long i = 1; i <= star.targetValues.MN; ++i)
            star.targetValues[i] = value();
        star.targetNorm = value();
        star.slackNorm = value();
        star.secondsUntilDiscovered = static_cast<long>(random() % 5000);
        star.params = "--run=" + std::to_string(k);
        star.version = "2.2.3";
        file += star.toString() + "\n";
    }
    const std::vector<Star<long double>> read = readAll<long double>(file);
    std::istringstream lines(file);
    std::string line;
    for (const Star<long double>& star : read) {
        ASSERT_TRUE(std::getline(lines, line));
        EXPECT_EQ(star.toString(), line);
        // x comes back as the nearest long double of its 17-digit text.
        std::istringstream text(line);
        char bracket;
        text >> bracket;
        for (long i = 1; i <= star.MN; ++i) {
            std::string token;
            text >> token;
            EXPECT_EQ(star[i], std::strtold(token.c_str(), nullptr)) << token;
        }
    }
    EXPECT_FALSE(std::getline(lines, line));
}

TEST(StarRead, NumberTokensAreExactWithExponents)
{
    struct Case {
        const char* token;
        QQ value;
        bool scalar; // also a norm: the sign of a vector entry may stand apart, that of a norm not
    };
    const std::vector<Case> cases = {
        {"+3", QQ("3"), true},
        {"2,5", QQ("5/2"), true},
        {".5", QQ("1/2"), true},
        {"5.", QQ("5"), true},
        {"1E3", QQ("1000"), true},
        {"25e-1", QQ("5/2"), true},
        {"1.23457e+06", QQ("1234570"), true},
        {"3/4e2", QQ("75"), true},
        {"-2:3/4", QQ("-11/4"), true},
        {"007", QQ("7"), true},
        {"0.050", QQ("1/20"), true},
        {"0.1000000001", QQ("1000000001/10000000000"), true},
        {"1.0000000000000001e-05", QQ("10000000000000001/1000000000000000000000"), true},
        {"4e-5000", QQ(("4/1" + std::string(5000, '0')).c_str()), true},
        {"-0", QQ("0"), true},
        {"-inf", -Constant<QQ>::INF(), true},
        {"- 4", QQ("-4"), false},
        {"--4", QQ("4"), false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.token);
        const std::string norm = c.scalar ? c.token : "0";
        std::stringstream stream(std::string("[ ") + c.token + " ] | " + norm + " | [ " + c.token +
                                 " ] | 0 | 1 | p\n");
        Star<QQ> star;
        EXPECT_TRUE(star.fromStream(stream));
        ASSERT_EQ(star.MN, 1);
        EXPECT_EQ(star[1], c.value);
        EXPECT_EQ(star.targetValues[1], c.value);
        if (c.scalar) {
            EXPECT_EQ(star.targetNorm, c.value);
        }
    }
}

TEST(StarRead, CommentsBeforeFieldsAndRecordsOverSeveralLines)
{
    const std::string text =
        "/* head */ // line\n  [ 1 /* in */ 2\n 3 ] /*a*/ | // c\n 4 /*b*/ | /*c*/ [ 5 ] |"
        " 6 | 7 | --p=1 | 1.0\n// trailing\n[ 8 ] | 1 | [ ] | 0 | -1 | q\n";
    std::vector<bool> results;
    const std::vector<Star<QQ>> read = readAll<QQ>(text, &results);
    ASSERT_EQ(read.size(), 2U);
    EXPECT_EQ(read[0].toString(), "[ 1 2 3 ] | 4 | [ 5 ] | 6 | 7 | --p=1 | 1.0");
    // One piece: the version column is absent and the reused record keeps "1.0".
    EXPECT_EQ(read[1].toString(), "[ 8 ] | 1 | [ ] | 0 | -1 | q | 1.0");
    EXPECT_TRUE(results[0] && results[1]);
}

TEST(StarRead, VersionAndParamsColumnRules)
{
    Star<QQ> star;
    auto readLine = [&star](const std::string& line) {
        std::stringstream stream(line);
        EXPECT_TRUE(star.fromStream(stream));
        EXPECT_EQ(star.MN, 1);
    };
    readLine("[ 1 ] | 1 | [ ] | 0 | 1 | a | 2.0\n");
    EXPECT_EQ(star.params, "a");
    EXPECT_EQ(star.version, "2.0");
    readLine("[ 1 ] | 1 | [ ] | 0 | 1 | b\n");
    EXPECT_EQ(star.params, "b");
    EXPECT_EQ(star.version, "2.0");
    readLine("[ 1 ] | 1 | [ ] | 0 | 1 | c | 3.0 | x\n");
    EXPECT_EQ(star.params, "c");
    EXPECT_EQ(star.version, "2.0");
    readLine("[ 1 ] | 1 | [ ] | 0 | 1 |  d \f |\t3.1 \v\r\n");
    EXPECT_EQ(star.params, "d");
    EXPECT_EQ(star.version, "3.1");
    readLine("[ 1 ] | 1 | [ ] | 0 | 1 | | 4.0\n");
    EXPECT_EQ(star.params, "");
    EXPECT_EQ(star.version, "4.0");
    // No piece at all at the end of input: params and version stay.
    readLine("[ 1 ] | 1 | [ ] | 0 | 1 |");
    EXPECT_EQ(star.params, "");
    EXPECT_EQ(star.version, "4.0");
    // Empty params at a line end: the skip passes the line end and the next line is the column.
    std::vector<bool> results;
    const auto read =
        readAll<QQ>("[ 1 ] | 1 | [ ] | 0 | 1 | \n[ 2 ] | 1 | [ ] | 0 | 1 | e\n[ 3 ]\n", &results);
    ASSERT_EQ(read.size(), 2U);
    EXPECT_EQ(read[0].params, "[ 2 ]");
    EXPECT_EQ(read[1].toString(), "[ 3 ] | 1 | [ ] | 0 | 1 | ");
    EXPECT_FALSE(results[1]);
}

TEST(StarRead, ShortRecordKeepsTheOtherFields)
{
    Star<QQ> star;
    std::stringstream stream("[ 5 ] | 3 | [ 2 ] | 1 | 17 | --beta=20 | 2.2.3\n[ 1 2 ]\n[ 7 ]");
    EXPECT_TRUE(star.fromStream(stream));
    EXPECT_FALSE(star.fromStream(stream));
    EXPECT_EQ(star.toString(), "[ 1 2 ] | 3 | [ 2 ] | 1 | 17 | ");
    EXPECT_FALSE(star.fromStream(stream)); // also without a line end
    EXPECT_EQ(star.toString(), "[ 7 ] | 3 | [ 2 ] | 1 | 17 | ");
    // The empty vector is no solution: unusable rather than short.
    std::stringstream empty("[ ]\n");
    EXPECT_TRUE(star.fromStream(empty));
    EXPECT_EQ(star.MN, 0);
}

TEST(StarRead, UnusableRecordCostsOnlyItsLine)
{
    const std::string good = "[ 9 ] | 1 | [ 2 ] | 3 | 4 | good | 1.0";
    const std::vector<std::string> corrupt = {
        "[ 1 abc ] | 1 | [ ] | 0 | 1 | p",
        "[ 1 2 ] | x | [ ] | 0 | 1 | p",
        "[ 1 2 ] | 1 | [ 1/0 ] | 0 | 1 | p",
        "[ 1 2 ] | 1 | [ ] | 2:5/4 | 1 | p",
        "[ 1 2:0.5 ] | 1 | [ ] | 0 | 1 | p",
        "[ 1 2:0/3 ] | 1 | [ ] | 0 | 1 | p",
        "[ 1 ix ] | 1 | [ ] | 0 | 1 | p",
        "[ 1 nan ] | 1 | [ ] | 0 | 1 | p",
        "[ 1 2.3.4 ] | 1 | [ ] | 0 | 1 | p",
        "[ 1 0x10 ] | 1 | [ ] | 0 | 1 | p",
        "[ 1 1e ] | 1 | [ ] | 0 | 1 | p",
        "[ 1 e5 ] | 1 | [ ] | 0 | 1 | p",
        "[ 1 3/ ] | 1 | [ ] | 0 | 1 | p",
        "[ 1 /3 ] | 1 | [ ] | 0 | 1 | p",
        "[ 1 + ] | 1 | [ ] | 0 | 1 | p",
        "[ 1 - ] | 1 | [ ] | 0 | 1 | p",
        "[ 1 4e1/2 ] | 1 | [ ] | 0 | 1 | p",
        "[ 1 1e5001 ] | 1 | [ ] | 0 | 1 | p",
        "[ 1 2 ] | 1 | [ ] | 0 | 1.5 | p",
        "[ 1 2 ] | 1 | [ ] | 0 | +-1 | p",
        "[ 1 2 ] | 1 | [ ] | 0 | 99999999999999999999 | p",
        "[ 1 2 | 1 | [ ] | 0 | 1 | p",
        "hello world",
        "] | 1",
        // Cut short: the failing text begins the next line, and reading resumes there.
        "[ 1 2 ] | 1 | [ ] | 0 |",
        "[ 1 2 ] | 1 | [ 3",
        "[ 1 2 ] | 1",
    };
    for (const std::string& line : corrupt) {
        SCOPED_TRACE(line);
        std::stringstream stream(line + "\n" + good + "\n");
        Star<QQ> star;
        EXPECT_TRUE(star.fromStream(stream));
        EXPECT_EQ(star.MN, 0);
        EXPECT_FALSE(stream.fail());
        EXPECT_TRUE(star.fromStream(stream));
        EXPECT_EQ(star.toString(), good);
    }
    // The same for long double records, and at the end of input.
    std::stringstream stream("[ 1 abc ] | 1\n" + good + "\n[ 1 /* never closed");
    Star<long double> star;
    EXPECT_TRUE(star.fromStream(stream));
    EXPECT_EQ(star.MN, 0);
    EXPECT_TRUE(star.fromStream(stream));
    EXPECT_EQ(star.toString(), good);
    EXPECT_TRUE(star.fromStream(stream));
    EXPECT_EQ(star.MN, 0);
    EXPECT_FALSE(stream.good());
}

TEST(StarVersion, ComparesComponentByComponent)
{
    EXPECT_EQ(Star<QQ>::compareVersion("", ""), 0);
    EXPECT_EQ(Star<QQ>::compareVersion("2.2.3", "2.2.3"), 0);
    EXPECT_EQ(Star<QQ>::compareVersion("2.10", "2.9"), 1);
    EXPECT_EQ(Star<QQ>::compareVersion("2.9", "2.10"), -1);
    EXPECT_EQ(Star<QQ>::compareVersion("2.2", "2.2.0"), 0);
    EXPECT_EQ(Star<QQ>::compareVersion("2.2.1", "2.2"), 1);
    EXPECT_EQ(Star<QQ>::compareVersion("", "1"), -1);
    EXPECT_EQ(Star<QQ>::compareVersion("", "0.0"), 0);
    EXPECT_EQ(Star<QQ>::compareVersion("a", ""), 1); // 'a' - '0' = 49
    EXPECT_EQ(Star<QQ>::compareVersion("2.", "2"), 0);
    EXPECT_EQ(Star<long double>::compareVersion("3..1", "3.0.0"), 1);
    // Components too long for a machine word saturate instead of overflowing.
    EXPECT_EQ(Star<QQ>::compareVersion(std::string(40, '9'), std::string(41, '9')), 0);
    EXPECT_EQ(Star<QQ>::compareVersion(std::string(40, '9') + ".2", std::string(41, '9') + ".1"), 1);
}

// The order as its criteria read, one after the other.
template <class T>
bool referenceBefore(const Star<T>& a, const Star<T>& b)
{
    if (a.targetNorm != b.targetNorm) return a.targetNorm < b.targetNorm;
    if (a.slackNorm != b.slackNorm) return a.slackNorm < b.slackNorm;
    const auto rank = [](long seconds) { return std::pair<bool, long>(seconds == -1, seconds); };
    if (rank(a.secondsUntilDiscovered) != rank(b.secondsUntilDiscovered))
        return rank(a.secondsUntilDiscovered) < rank(b.secondsUntilDiscovered);
    // Versions of digits and dots: the newer first.
    auto components = [](const std::string& version) {
        std::vector<long> parts;
        std::stringstream stream(version);
        std::string part;
        while (std::getline(stream, part, '.'))
            parts.push_back(part.empty() ? 0 : std::stol(part));
        return parts;
    };
    std::vector<long> va = components(a.version), vb = components(b.version);
    const size_t length = std::max(va.size(), vb.size());
    va.resize(length, 0);
    vb.resize(length, 0);
    if (va != vb) return va > vb;
    const std::string xa = a.Serializable::toString(), xb = b.Serializable::toString();
    if (xa < xb) return true;
    return a.params < b.params;
}

TYPED_TEST_SUITE_P(StarOrder);
template <class T>
class StarOrder : public ::testing::Test {
};

TYPED_TEST_P(StarOrder, AgreesWithTheCriteriaInTheirSequence)
{
    using T = TypeParam;
    const unsigned long long seed = testSeed();
    SCOPED_TRACE(seedTrace(seed));
    std::mt19937_64 random(seed);
    static const char* const VERSIONS[] = {"", "2.2.3", "2.10", "2.9", "1", "2.2.3.0"};
    static const char* const PARAMS[] = {"", "a", "b"};
    static const char* const XS[] = {"[ 1 2 ]", "[ 1 10 ]", "[ -1 2 ]", "[ 0.5 2 ]", "[ 1 ]", "[ inf 2 ]"};
    static const long SECONDS[] = {-1, -1, 0, 5, 17};
    auto record = [&]() {
        Star<T> star(Vector<T>(XS[random() % 6]), Vector<T>("[ 1 ]"), T(static_cast<long>(random() % 3)),
                     T(static_cast<long>(random() % 3) - 1), SECONDS[random() % 5], PARAMS[random() % 3],
                     VERSIONS[random() % 6]);
        return star;
    };
    // b is a with each field drawn anew at even odds, so that every criterion is often a tie.
    auto variant = [&](const Star<T>& a) {
        Star<T> b = a;
        const Star<T> other = record();
        if (random() % 2) static_cast<Vector<T>&>(b) = other;
        if (random() % 2) b.targetNorm = other.targetNorm;
        if (random() % 2) b.slackNorm = other.slackNorm;
        if (random() % 2) b.secondsUntilDiscovered = other.secondsUntilDiscovered;
        if (random() % 2) b.version = other.version;
        if (random() % 2) b.params = other.params;
        return b;
    };
    long bothWays = 0;
    long byText = 0;
    for (long k = 0; k < rounds(4000); ++k) {
        const Star<T> a = record();
        const Star<T> b = variant(a);
        ASSERT_EQ(a < b, referenceBefore(a, b)) << a.toString() << "  vs  " << b.toString();
        ASSERT_EQ(b < a, referenceBefore(b, a)) << b.toString() << "  vs  " << a.toString();
        bothWays += (a < b) && (b < a);
        byText += a.targetNorm == b.targetNorm && a.slackNorm == b.slackNorm &&
                  a.secondsUntilDiscovered == b.secondsUntilDiscovered && a.version == b.version;
    }
    EXPECT_GT(byText, rounds(4000) / 20); // the text of x and params are reached often
    EXPECT_GT(bothWays, 0);               // step 6 after a higher text of x: the order isn't antisymmetric
}

REGISTER_TYPED_TEST_SUITE_P(StarOrder, AgreesWithTheCriteriaInTheirSequence);
using NumberTypes = ::testing::Types<long double, QQ>;
INSTANTIATE_TYPED_TEST_SUITE_P(BothTypes, StarOrder, NumberTypes);

TEST(StarOrder, NamedCases)
{
    Star<QQ> versioned = makeStar<QQ>("[ 1 ]", "[ ]", QQ(1L), QQ(0L), -1, "", "2.2.3");
    Star<QQ> plain = versioned;
    plain.version.clear();
    EXPECT_TRUE(versioned < plain);
    EXPECT_FALSE(plain < versioned);
    Star<QQ> known = plain;
    known.secondsUntilDiscovered = 5;
    EXPECT_TRUE(known < plain);
    EXPECT_FALSE(plain < known);
    Star<QQ> lowerNorm = plain;
    lowerNorm.targetNorm = QQ("1/2");
    lowerNorm.secondsUntilDiscovered = -1;
    EXPECT_TRUE(lowerNorm < known);
}

// The removal as its definition walks: all pairs i < j, j faster, j staying after a removal.
template <class T>
void referenceRemoval(std::vector<Star<T>>& stars, bool compareParams)
{
    for (size_t i = 0; i < stars.size(); ++i) {
        size_t j = i + 1;
        while (j < stars.size()) {
            if (static_cast<const Vector<T>&>(stars[i]) == static_cast<const Vector<T>&>(stars[j]) &&
                (!compareParams || stars[i].params == stars[j].params)) {
                stars[i].isNew = stars[i].isNew && stars[j].isNew;
                stars.erase(stars.begin() + static_cast<long>(j));
            } else {
                ++j;
            }
        }
    }
}

// Values where the tolerance matters: integers, cell edges of the duplicate grid, long doubles
// where their spacing passes 10^-9, each moved by nothing, half the tolerance, the tolerance, or
// a little more.
// With edgesOnly every value is a cell edge, moved: records with many components near an edge.
template <class T>
T nearValue(std::mt19937_64& random, bool edgesOnly);

template <>
QQ nearValue<QQ>(std::mt19937_64& random, bool edgesOnly)
{
    static const QQ SHIFT(DUPLICATE_GRID_SHIFT);
    static const QQ SCALE(DUPLICATE_GRID_SCALE);
    static const char* const MOVES[] = {"0",
                                        "0",
                                        "1/2000000000",
                                        "-1/2000000000",
                                        "1/1000000000",
                                        "-1/1000000000",
                                        "1000000001/1000000000000000000",
                                        "-1000000001/1000000000000000000"};
    QQ base;
    switch (edgesOnly ? 1 : random() % 4) {
    case 0:
        base = QQ(static_cast<long>(random() % 3));
        break;
    case 1:
        base = (QQ(static_cast<long>(random() % 5) - 2) - SHIFT) / SCALE;
        break; // an edge
    case 2:
        base = Constant<QQ>::INF();
        return random() % 2 ? base : -base;
    default:
        base = QQ(ZZ(static_cast<long>(random() % 7)), ZZ(3));
        break;
    }
    return base + QQ(MOVES[random() % 8]);
}

template <>
long double nearValue<long double>(std::mt19937_64& random, bool edgesOnly)
{
    const long double epsilon = Constant<long double>::EPSILON();
    const long double moves[] = {0,       0,        epsilon / 2,      -epsilon / 2,
                                 epsilon, -epsilon, epsilon * 1.001L, -epsilon * 1.001L};
    long double base;
    switch (edgesOnly ? 1 : random() % 5) {
    case 0:
        base = static_cast<long double>(random() % 3);
        break;
    case 1:
        base = (static_cast<long double>(static_cast<long>(random() % 5) - 2) -
                std::strtold(DUPLICATE_GRID_SHIFT, nullptr)) /
               DUPLICATE_GRID_SCALE;
        break;
    case 2: { // around 2^34 and 2^35, a few representable steps apart
        long double big = ldexpl(1.0L, 34 + static_cast<int>(random() % 2));
        for (long steps = static_cast<long>(random() % 4); steps > 0; --steps)
            big = random() % 2 ? nextafterl(big, 0.0L) : nextafterl(big, ldexpl(1.0L, 40));
        return big;
    }
    case 3:
        return random() % 2 ? Constant<long double>::INF() : -Constant<long double>::INF();
    default:
        base = static_cast<long double>(random() % 7) / 3.0L;
        break;
    }
    return base + moves[random() % 8];
}

TYPED_TEST_SUITE_P(StarDublettes);
template <class T>
class StarDublettes : public ::testing::Test {
};

TYPED_TEST_P(StarDublettes, SameResultAsThePairwiseWalk)
{
    using T = TypeParam;
    const unsigned long long seed = testSeed();
    SCOPED_TRACE(seedTrace(seed));
    std::mt19937_64 random(seed);
    long removedTotal = 0;
    for (long trial = 0; trial < rounds(150); ++trial) {
        const bool edgesOnly = trial % 10 == 5;
        const long dimension = edgesOnly ? 14 : 1 + static_cast<long>(random() % (trial % 10 == 0 ? 16 : 3));
        const long count = static_cast<long>(random() % 60);
        const bool compareParams = random() % 2;
        // A few prototypes and their near copies.
        std::vector<Vector<T>> prototypes;
        for (long p = 0; p < 4; ++p) {
            Vector<T> v(dimension);
            for (long i = 1; i <= dimension; ++i)
                v[i] = nearValue<T>(random, edgesOnly);
            prototypes.push_back(v);
        }
        Array<Star<T>> stars;
        std::vector<Star<T>> expected;
        for (long k = 1; k <= count; ++k) {
            Star<T> star;
            static_cast<Vector<T>&>(star) = prototypes[random() % 4];
            for (long i = 1; i <= dimension; ++i)
                if (random() % (edgesOnly ? 40 : 3) == 0) star[i] = nearValue<T>(random, edgesOnly);
            star.secondsUntilDiscovered = k; // identifies the record
            star.params = random() % 2 ? "a" : "b";
            star.isNew = random() % 4 != 0;
            stars.pushBack(star);
            expected.push_back(star);
        }
        Star<T>::removeStarDublettes(stars, compareParams);
        referenceRemoval(expected, compareParams);
        ASSERT_EQ(stars.MN, static_cast<long>(expected.size())) << "trial " << trial;
        for (long k = 1; k <= stars.MN; ++k) {
            ASSERT_EQ(stars[k].secondsUntilDiscovered, expected[k - 1].secondsUntilDiscovered)
                << "trial " << trial;
            ASSERT_EQ(stars[k].isNew, expected[k - 1].isNew) << "trial " << trial;
            ASSERT_EQ(stars[k].toString(), expected[k - 1].toString());
        }
        removedTotal += count - stars.MN;
    }
    EXPECT_GT(removedTotal, 0);
}

TYPED_TEST_P(StarDublettes, ParamsDecideOnlyWhenAsked)
{
    using T = TypeParam;
    Array<Star<T>> stars;
    stars.pushBack(makeStar<T>("[ 1 2 ]", "[ ]", T(1L), T(0L), 1, "--beta=10", ""));
    stars.pushBack(makeStar<T>("[ 1 2 ]", "[ ]", T(1L), T(0L), 2, "--beta=20", ""));
    stars[2].isNew = false;
    Array<Star<T>> withParams = stars;
    Star<T>::removeStarDublettes(withParams, true);
    EXPECT_EQ(withParams.MN, 2);
    Star<T>::removeStarDublettes(stars, false);
    ASSERT_EQ(stars.MN, 1);
    EXPECT_EQ(stars[1].secondsUntilDiscovered, 1);
    EXPECT_FALSE(stars[1].isNew);
    Array<Star<T>> empty;
    Star<T>::removeStarDublettes(empty, false);
    EXPECT_EQ(empty.MN, 0);
}

REGISTER_TYPED_TEST_SUITE_P(StarDublettes, SameResultAsThePairwiseWalk, ParamsDecideOnlyWhenAsked);
INSTANTIATE_TYPED_TEST_SUITE_P(BothTypes, StarDublettes, NumberTypes);

TEST(StarDublettesDeathTest, RecordsOfAnotherDimensionStopAsTheirComparisonDoes)
{
    Array<Star<QQ>> stars;
    stars.pushBack(makeStar<QQ>("[ 1 2 ]", "[ ]", QQ(1L), QQ(0L), 1, "", ""));
    stars.pushBack(makeStar<QQ>("[ 3 4 ]", "[ ]", QQ(1L), QQ(0L), 2, "", ""));
    stars.pushBack(makeStar<QQ>("[ 1 ]", "[ ]", QQ(1L), QQ(0L), 3, "", ""));
    EXPECT_EXIT(Star<QQ>::removeStarDublettes(stars, true), ::testing::ExitedWithCode(1),
                "\\*\\*\\* FAIL: Vector: dimension mismatch9");
}

} // namespace
} // namespace latopt
