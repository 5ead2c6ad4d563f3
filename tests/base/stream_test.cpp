#include "base/stream.h"

#include "test_seed.h"

#include <gtest/gtest.h>

#include <cmath>
#include <iomanip>
#include <limits>
#include <random>
#include <sstream>
#include <string>

namespace latopt {
namespace {

// What is left to read; nothing once the stream has failed.
std::string rest(std::istream& stream)
{
    std::string text;
    std::getline(stream, text, '\0');
    return text;
}

struct CommentCase {
    const char* input;
    bool taken;
    char next;
    const char* rest;
};

TEST(StreamComments, TakesOneCommentAndReportsTheNextCharacter)
{
    const CommentCase cases[] = {
        {"/* a */7", true, '7', "7"},
        {"/***/x", true, 'x', "x"},                          // "*/" right behind "/*"
        {"/* a **/x", true, 'x', "x"},                       // "**/" closes too
        {"/* a * / b */x", true, 'x', "x"},                  // "* /" doesn't
        {"/* /* inner */ after */", true, ' ', " after */"}, // no nesting
        {"// line /* not a block\nnext", true, '\n', "\nnext"},
        {"/ 3", false, '/', "/ 3"},
        {"/", false, '/', "/"},
        {"x/* c */", false, 'x', "x/* c */"},
        {"**/", false, '*', "**/"},
        {"/* never closed", true, END_OF_INPUT, ""}, // end of input ends an open comment
        {"/* ends in star *", true, END_OF_INPUT, ""},
        {"// last line", true, END_OF_INPUT, ""},
        {"/*", true, END_OF_INPUT, ""},
        {"//", true, END_OF_INPUT, ""},
    };
    for (const CommentCase& c : cases) {
        SCOPED_TRACE(c.input);
        std::istringstream stream(c.input);
        char next = 0;
        EXPECT_EQ(skipOverComments(stream, next), c.taken);
        EXPECT_EQ(next, c.next);
        EXPECT_EQ(rest(stream), c.rest);
    }
}

TEST(StreamSeparators, OneOrAllAndThePipe)
{
    std::istringstream stream(" \t 5");
    char next = 0;
    EXPECT_TRUE(skipOverSeparators(stream, " \t", false, &next));
    EXPECT_EQ(next, '\t');
    EXPECT_FALSE(skipOverSeparators(stream, " \t", true, &next));
    EXPECT_EQ(next, '5');
    EXPECT_FALSE(skipOverSeparators(stream, " \t", false, nullptr));
    EXPECT_EQ(stream.get(), '5');
    EXPECT_FALSE(skipOverSeparators(stream, " \t", true, &next));
    EXPECT_EQ(next, END_OF_INPUT);
    // The pipe is taken only when it is next.
    std::istringstream pipe(" /* c */ | 12 x");
    EXPECT_TRUE(skipOverPipeSeparators(pipe));
    long value = 0;
    pipe >> value;
    EXPECT_EQ(value, 12);
    EXPECT_FALSE(skipOverPipeSeparators(pipe));
    EXPECT_EQ(pipe.get(), 'x');
    EXPECT_FALSE(skipOverPipeSeparators(pipe));
}

TEST(StreamSeparators, CommentsAndSeparatorsTogether)
{
    struct Case {
        const char* input;
        char next;
    };
    const Case cases[] = {
        {"  /* a */ // b\n  7", '7'}, {"/* a *//* b */\n\n// c\n/", '/'},    {"/ 3", '/'},
        {"", END_OF_INPUT},           {"  // only a comment", END_OF_INPUT}, {" /* open", END_OF_INPUT},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.input);
        std::istringstream stream(c.input);
        char next = 0;
        EXPECT_FALSE(skipOverCommentsAndSeparators(stream, " \t\r\n", &next));
        EXPECT_EQ(next, c.next);
        char peeked = 0;
        peekNextCharacter(stream, peeked);
        EXPECT_EQ(peeked, c.next);
    }
    // next may be null; without the line feed among the separators the skip stops at it.
    std::istringstream stream("  /* a */ // b\n  7");
    skipOverCommentsAndSeparators(stream, " ", nullptr);
    EXPECT_EQ(stream.peek(), '\n');
}

// The text of a value is what a stream of the same format writes: random integers of every length
// near the powers of ten, fractions, signed zeroes and special values, random precisions and flags.
TEST(StreamFormattedText, EqualsWhatTheStreamWrites)
{
    const unsigned long long seed = test::testSeed(4711);
    SCOPED_TRACE(test::seedTrace(seed));
    std::mt19937_64 random(seed);
    const long double inf = std::numeric_limits<long double>::infinity();
    const long double nan = std::numeric_limits<long double>::quiet_NaN();
    const long double special[] = {0.0L, -0.0L,  inf, -inf, nan, 1e18L, -1e18L, 999999999999999999.0L,
                                   2.5L, -1e-12L};
    const std::ios_base::fmtflags flagChoices[] = {std::ios_base::fmtflags{}, std::ios_base::fixed,
                                                   std::ios_base::scientific, std::ios_base::showpos,
                                                   std::ios_base::showpoint};
    for (int round = 0; round < 20000; ++round) {
        long double value;
        if (round < 10 * 20) {
            value = special[round % 10];
        } else {
            const int length = std::uniform_int_distribution<int>(0, 19)(random);
            value = truncl(std::uniform_real_distribution<long double>(0, 1)(random) * powl(10.0L, length));
            value += std::uniform_int_distribution<int>(-1, 1)(random);
            if (random() % 2 == 0) value = -value;
            if (random() % 8 == 0) value /= 8;
        }
        std::ostringstream format;
        format.precision(std::uniform_int_distribution<int>(0, 20)(random));
        if (random() % 4 == 0) format.flags(flagChoices[random() % 5]);
        if (random() % 16 == 0) format.width(30);
        std::ostringstream reference;
        reference.copyfmt(format);
        reference << value;
        ASSERT_EQ(formattedText(format, value), reference.str())
            << "precision " << format.precision() << ", flags " << format.flags() << ", width "
            << format.width();
    }
}

} // namespace
} // namespace latopt
