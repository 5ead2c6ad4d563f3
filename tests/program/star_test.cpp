// star_test.cpp: the solution records: conversions, the text line and its reader (round trips,
// comments, short and unusable records), the order against a reference, the version comparison,
// and the removal of duplicates against the pairwise walk.
#include "program/star.h"

#include "arith/precision.h"
#include "arith/qq.h"
#include "base/exceptions.h"

#include "test_seed.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <iterator>
#include <random>
#include <sstream>
#include <string>
#include <type_traits>
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

std::vector<std::string> words(const std::string& text)
{
    std::istringstream stream(text);
    return {std::istream_iterator<std::string>(stream), std::istream_iterator<std::string>()};
}

template <class T>
class StarTyped : public testing::Test {
};
using NumberTypes = testing::Types<long double, QQ>;
TYPED_TEST_SUITE(StarTyped, NumberTypes);

TEST(StarRecord, ResetIsVirtualAndRestoresTheTimeVectorDefaults)
{
    TimeVector<QQ> time(Vector<QQ>("[ 1 2 ]"), 42);
    time.isNew = false;
    static_cast<Array<QQ>&>(time).resetAllMembers();
    EXPECT_TRUE(time.MN == 0 && time.secondsUntilDiscovered == -1 && time.isNew);
}

TEST(StarAssign, CrossesNumberTypesAndBack)
{
    Star<QQ> exact =
        makeStar<QQ>("[ 1/4 -3 inf ]", "[ 5/2 -1/20 ]", QQ("7/8"), QQ("1/2"), 17, "--beta=20", "2.2.3");
    exact.isNew = false;
    Star<long double> standard;
    Precision::conv(exact, standard, true);
    const std::string line = "[ 0.25 -3 inf ] | 0.875 | [ 2.5 -0.05 ] | 0.5 | 17 | --beta=20 | 2.2.3";
    EXPECT_EQ(standard.toString(), line);
    EXPECT_FALSE(standard.isNew);
    Star<QQ> back;
    back._assign(standard);
    EXPECT_EQ(back.toString(), exact.toString());
    EXPECT_FALSE(back.isNew);
    standard._assign(standard);
    EXPECT_EQ(standard.toString(), line);

    TargetVector<QQ> target;
    target.setDimension(1);
    target[1] = QQ("3/2");
    target.secondsUntilDiscovered = 5;
    target.slackNorm = QQ("1/4");
    TargetVector<long double> targetDbl;
    targetDbl._assign(target);
    EXPECT_TRUE(targetDbl[1] == 1.5L && targetDbl.secondsUntilDiscovered == 5 &&
                targetDbl.slackNorm == 0.25L);
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

// The exact line of QQ records, with and without params and version, is pinned end to end in
// tests/tool/run_test.cpp; a long double record writes x in 17 significant digits, norms and target
// values in the line's default 6.
TEST(StarText, LongDoubleLineForm)
{
    Star<long double> standard = makeStar<long double>("[ 0 2 ]", "[ 0 ]", 1234567.0L, 0.1L, 9, "", "");
    standard[1] = 1.0L / 3.0L;
    standard.targetValues[1] = 2.0L / 3.0L;
    EXPECT_EQ(standard.toString(), "[ 0.33333333333333333 2 ] | 1.23457e+06 | [ 0.666667 ] | 0.1 | 9 | ");
}

// Random numbers for records: in QQ every kind of token the writer makes; in long double
// infinity, integers, dyadic fractions and thirds over 80 decades.
template <class T>
T randomNumber(std::mt19937_64& random)
{
    if constexpr (std::is_same_v<T, QQ>) {
        static const std::vector<std::string> NUMBERS =
            words("0 1 -1 17 3/4 -5/12 2:1/3 -7:2/9 inf -inf 123456789012345678901/7 1000000000");
        return QQ(NUMBERS[random() % NUMBERS.size()].c_str());
    } else {
        switch (random() % 8) {
        case 0:
            return Constant<long double>::INF();
        case 1:
            return static_cast<long double>(static_cast<long>(random() % 2001) - 1000);
        case 2:
            return ldexpl(static_cast<long double>(random() % 1000003), -40) * 3.0L;
        default:
            const long double mantissa = std::uniform_real_distribution<double>(-10.0, 10.0)(random);
            return mantissa * powl(10.0L, std::uniform_int_distribution<int>(-40, 40)(random)) / 3.0L;
        }
    }
}

// Written records read back to their own lines (in QQ that is equal fields, its text being its
// normal form); a long double x comes back as the nearest long double of its 17-digit text.
TYPED_TEST(StarTyped, RecordsReadBackToTheirOwnLines)
{
    using T = TypeParam;
    const unsigned long long seed = testSeed();
    SCOPED_TRACE(seedTrace(seed));
    std::mt19937_64 random(seed);
    static const char* const PARAMS[] = {"--beta=20 --sol=1", "--beta=10", "--verb=1 --bench=0.5", "x"};
    static const char* const VERSIONS[] = {"", "", "2.2.3", "1.0", "10.4.1"};
    const auto randomVector = [&](long dimension) {
        Vector<T> v(dimension);
        for (long i = 1; i <= dimension; ++i)
            v[i] = randomNumber<T>(random);
        return v;
    };
    std::vector<Star<T>> written;
    std::string file;
    for (long k = 0; k < rounds(200); ++k) {
        Vector<T> x = randomVector(1 + static_cast<long>(random() % 5));
        Vector<T> targetValues = randomVector(static_cast<long>(random() % 4));
        T targetNorm = randomNumber<T>(random), slackNorm = randomNumber<T>(random);
        written.emplace_back(std::move(x), std::move(targetValues), std::move(targetNorm),
                             std::move(slackNorm), static_cast<long>(random() % 100000) - 1,
                             PARAMS[random() % 4], VERSIONS[random() % 5]);
        file += written.back().toString() + "\n";
    }
    std::vector<bool> results;
    const std::vector<Star<T>> read = readAll<T>(file, &results);
    ASSERT_EQ(read.size(), written.size());
    for (size_t k = 0; k < read.size(); ++k) {
        SCOPED_TRACE("record " + std::to_string(k));
        EXPECT_TRUE(results[k]);
        // Where a record has no version column the reused object keeps the version before.
        Star<T> expected = written[k];
        if (expected.version.empty() && k > 0) expected.version = read[k - 1].version;
        EXPECT_EQ(read[k].toString(), expected.toString());
        if constexpr (std::is_same_v<T, long double>) {
            std::istringstream text(expected.toString());
            std::string token;
            text >> token; // "["
            for (long i = 1; i <= read[k].MN && text >> token; ++i)
                EXPECT_EQ(read[k][i], std::strtold(token.c_str(), nullptr)) << token;
        }
    }
}

// "token=value" items. The sign of a vector entry may stand apart, that of a norm not: the last
// two tokens are read in the vectors only.
TEST(StarRead, NumberTokensAreExactWithExponents)
{
    std::stringstream list("+3=3|2,5=5/2|.5=1/2|5.=5|1E3=1000|25e-1=5/2|1.23457e+06=1234570|3/4e2=75|"
                           "-2:3/4=-11/4|007=7|0.050=1/20|0.1000000001=1000000001/10000000000|-0=0|-inf=-inf|"
                           "1.0000000000000001e-05=10000000000000001/1000000000000000000000|- 4=-4|--4=4");
    std::vector<std::pair<std::string, std::string>> cases = {{"4e-5000", "4/1" + std::string(5000, '0')}};
    for (std::string item; std::getline(list, item, '|');)
        cases.emplace_back(item.substr(0, item.find('=')), item.substr(item.find('=') + 1));
    for (size_t k = 0; k < cases.size(); ++k) {
        const auto& [token, text] = cases[k];
        SCOPED_TRACE(token);
        const bool scalar = k + 2 < cases.size();
        std::stringstream stream("[ " + token + " ] | " + (scalar ? token : "0") + " | [ " + token +
                                 " ] | 0 | 1 | p\n");
        Star<QQ> star;
        EXPECT_TRUE(star.fromStream(stream));
        ASSERT_EQ(star.MN, 1);
        EXPECT_EQ(star[1], QQ(text.c_str()));
        EXPECT_EQ(star.targetValues[1], QQ(text.c_str()));
        EXPECT_TRUE(!scalar || star.targetNorm == QQ(text.c_str()));
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

// One record object reads the lines in turn: one piece after params or three and more keep the
// version; no piece at all at the end of input keeps params too.
TEST(StarRead, VersionAndParamsColumnRules)
{
    struct Case {
        const char* tail;
        const char* params;
        const char* version;
    };
    const Case cases[] = {{" a | 2.0\n", "a", "2.0"},     {" b\n", "b", "2.0"},
                          {" c | 3.0 | x\n", "c", "2.0"}, {"  d \f |\t3.1 \v\r\n", "d", "3.1"},
                          {" | 4.0\n", "", "4.0"},        {"", "", "4.0"}};
    Star<QQ> star;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.tail);
        std::stringstream stream(std::string("[ 1 ] | 1 | [ ] | 0 | 1 |") + c.tail);
        EXPECT_TRUE(star.fromStream(stream));
        EXPECT_EQ(star.MN, 1);
        EXPECT_EQ(star.params, c.params);
        EXPECT_EQ(star.version, c.version);
    }
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
    std::vector<std::string> corrupt = {
        "[ 1 2 ] | x | [ ] | 0 | 1 | p", "[ 1 2 ] | 1 | [ 1/0 ] | 0 | 1 | p",
        "[ 1 2 ] | 1 | [ ] | 2:5/4 | 1 | p", "[ 1 2 ] | 1 | [ ] | 0 | 1.5 | p",
        "[ 1 2 ] | 1 | [ ] | 0 | +-1 | p", "[ 1 2 ] | 1 | [ ] | 0 | 99999999999999999999 | p",
        "[ 1 2 | 1 | [ ] | 0 | 1 | p", "hello world", "] | 1",
        // Cut short: the failing text begins the next line, and reading resumes there.
        "[ 1 2 ] | 1 | [ ] | 0 |", "[ 1 2 ] | 1 | [ 3", "[ 1 2 ] | 1"};
    for (const std::string& token : words("abc 2:0.5 2:0/3 ix nan 2.3.4 0x10 1e e5 3/ /3 + - 4e1/2 1e5001"))
        corrupt.push_back("[ 1 " + token + " ] | 1 | [ ] | 0 | 1 | p");
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
    EXPECT_TRUE(star.fromStream(stream) && star.MN == 0);
    EXPECT_TRUE(star.fromStream(stream) && star.toString() == good);
    EXPECT_TRUE(star.fromStream(stream) && star.MN == 0);
    EXPECT_FALSE(stream.good());
}

// The cases the random order test below doesn't draw.
TEST(StarVersion, ComparesComponentByComponent)
{
    EXPECT_EQ(Star<QQ>::compareVersion("2.2.1", "2.2"), 1);
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

TYPED_TEST(StarTyped, OrderAgreesWithTheCriteriaInTheirSequence)
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

template <class T>
T fromText(const char* text)
{
    if constexpr (std::is_same_v<T, QQ>)
        return QQ(text);
    else
        return std::strtold(text, nullptr);
}

// Values where the tolerance matters: integers, cell edges of the duplicate grid, thirds,
// infinities, and in long double values near 2^34 and 2^35 where the spacing passes 10^-9; each
// moved by nothing, half the tolerance, the tolerance, or a little more. With edgesOnly every
// value is a moved cell edge: records with many components near an edge.
template <class T>
T nearValue(std::mt19937_64& random, bool edgesOnly)
{
    if constexpr (std::is_same_v<T, long double>) {
        if (!edgesOnly && random() % 5 == 4) {
            long double big = ldexpl(1.0L, 34 + static_cast<int>(random() % 2));
            for (long steps = static_cast<long>(random() % 4); steps > 0; --steps)
                big = random() % 2 ? nextafterl(big, 0.0L) : nextafterl(big, ldexpl(1.0L, 40));
            return big;
        }
    }
    const T eps = Constant<T>::EPSILON();
    // Exact numbers pass the tolerance by 10^-18, long doubles by a thousandth of it.
    const T more = eps * fromText<T>(std::is_same_v<T, QQ> ? "1000000001/1000000000" : "1.001");
    const T moves[] = {T(0L), T(0L), eps / T(2L), -eps / T(2L), eps, -eps, more, -more};
    T base;
    switch (edgesOnly ? 1 : random() % 4) {
    case 0:
        base = T(static_cast<long>(random() % 3));
        break;
    case 1:
        base = (T(static_cast<long>(random() % 5) - 2) - fromText<T>(DUPLICATE_GRID_SHIFT)) /
               T(DUPLICATE_GRID_SCALE);
        break;
    case 2:
        return random() % 2 ? Constant<T>::INF() : -Constant<T>::INF();
    default:
        base = T(static_cast<long>(random() % 7)) / T(3L);
        break;
    }
    return base + moves[random() % 8];
}

TYPED_TEST(StarTyped, DublettesRemovedAsByThePairwiseWalk)
{
    using T = TypeParam;
    const unsigned long long seed = testSeed();
    SCOPED_TRACE(seedTrace(seed));
    std::mt19937_64 random(seed);
    long removedTotal = 0;
    for (long trial = 0; trial < rounds(150); ++trial) {
        SCOPED_TRACE("trial " + std::to_string(trial));
        const bool edgesOnly = trial % 10 == 5;
        const long dimension = edgesOnly ? 14 : 1 + static_cast<long>(random() % (trial % 10 == 0 ? 16 : 3));
        const long count = trial == 1 ? 0 : static_cast<long>(random() % 60);
        const bool compareParams = random() % 2;
        // A few prototypes and their near copies.
        std::vector<Vector<T>> prototypes(4, Vector<T>(dimension));
        for (Vector<T>& v : prototypes)
            for (long i = 1; i <= dimension; ++i)
                v[i] = nearValue<T>(random, edgesOnly);
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
        ASSERT_EQ(stars.MN, static_cast<long>(expected.size()));
        for (long k = 1; k <= stars.MN; ++k) {
            ASSERT_EQ(stars[k].secondsUntilDiscovered, expected[k - 1].secondsUntilDiscovered);
            ASSERT_EQ(stars[k].isNew, expected[k - 1].isNew);
            ASSERT_EQ(stars[k].toString(), expected[k - 1].toString());
        }
        removedTotal += count - stars.MN;
    }
    EXPECT_GT(removedTotal, 0);
}

TEST(StarDublettesDeathTest, RecordsOfAnotherDimensionStopAsTheirComparisonDoes)
{
    Array<Star<QQ>> stars;
    stars.pushBack(makeStar<QQ>("[ 1 2 ]", "[ ]", QQ(1L), QQ(0L), 1, "", ""));
    stars.pushBack(makeStar<QQ>("[ 3 4 ]", "[ ]", QQ(1L), QQ(0L), 2, "", ""));
    stars.pushBack(makeStar<QQ>("[ 1 ]", "[ ]", QQ(1L), QQ(0L), 3, "", ""));
    EXPECT_EXIT(Star<QQ>::removeStarDublettes(stars, true), testing::ExitedWithCode(1),
                "\\*\\*\\* FAIL: Vector: dimension mismatch9");
}

} // namespace
} // namespace latopt
