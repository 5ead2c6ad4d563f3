#include "base/stream.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace latopt {
namespace {

std::string rest(std::istream& stream)
{
    std::string text, line;
    while (std::getline(stream, line)) {
        if (!text.empty() || !line.empty() || !stream.eof()) text += line + (stream.eof() ? "" : "\n");
    }
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

TEST(StreamComments, EndOfInputEndsAnOpenComment)
{
    for (const char* input : {"/* never closed", "/* ends in star *", "// last line", "/*", "//"}) {
        SCOPED_TRACE(input);
        std::istringstream stream(input);
        char next = 0;
        EXPECT_TRUE(skipOverComments(stream, next));
        EXPECT_EQ(next, END_OF_INPUT);
        EXPECT_FALSE(peekNextCharacter(stream, next));
    }
}

TEST(StreamSeparators, OneOrAll)
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

TEST(StreamSeparators, PipeIsTakenOnlyWhenItIsNext)
{
    std::istringstream stream(" /* c */ | 12 x");
    EXPECT_TRUE(skipOverPipeSeparators(stream));
    long value = 0;
    stream >> value;
    EXPECT_EQ(value, 12);
    EXPECT_FALSE(skipOverPipeSeparators(stream));
    EXPECT_EQ(stream.get(), 'x');
    EXPECT_FALSE(skipOverPipeSeparators(stream));
}

TEST(StreamPeek, FalseOnlyAtEndOfInput)
{
    std::istringstream stream("a");
    char next = 0;
    EXPECT_TRUE(peekNextCharacter(stream, next));
    EXPECT_EQ(next, 'a');
    stream.get();
    EXPECT_FALSE(peekNextCharacter(stream, next));
    EXPECT_EQ(static_cast<unsigned char>(next), 255);
}

TEST(StreamStrstring, FindsTheFirstOccurrence)
{
    char haystack[] = "a--b--c";
    EXPECT_EQ(strstring(haystack, "--"), haystack + 1);
    EXPECT_EQ(strstring(haystack, "x"), nullptr);
    EXPECT_EQ(strstring(haystack, ""), haystack);
}

} // namespace
} // namespace latopt
