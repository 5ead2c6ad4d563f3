#include "base/string.h"

#include <gtest/gtest.h>

#include <vector>

namespace latopt {
namespace {

std::vector<std::string> pieces(const Array<String>& array)
{
    std::vector<std::string> result;
    for (long i = 1; i <= array.MN; ++i)
        result.push_back(array[i]);
    return result;
}

using Pieces = std::vector<std::string>;

TEST(StringExplode, ByCharacterAsGetlineTakesThemByExpressionBetweenMatches)
{
    EXPECT_EQ(pieces(String("a|b|").explode('|')), (Pieces{"a", "b"}));
    EXPECT_EQ(pieces(String("a||b").explode('|')), (Pieces{"a", "", "b"}));
    EXPECT_EQ(pieces(String("|a").explode('|')), (Pieces{"", "a"}));
    EXPECT_EQ(pieces(String("abc").explode('|')), (Pieces{"abc"}));
    EXPECT_EQ(String("").explode('|').MN, 0);
    EXPECT_EQ(pieces(String("|").explode('|')), (Pieces{""}));
    EXPECT_EQ(pieces(String("a, b,c").explode(String(",\\s*"))), (Pieces{"a", "b", "c"}));
    EXPECT_EQ(pieces(String("--x=1 --y=2").explode(String(" +"))), (Pieces{"--x=1", "--y=2"}));
    // The token iterator drops a trailing empty piece but keeps a leading one.
    EXPECT_EQ(pieces(String(",a,").explode(String(","))), (Pieces{"", "a"}));
    // Unlike the form by character, an empty text is one empty piece: the whole text as suffix.
    EXPECT_EQ(pieces(String("").explode(String(","))), (Pieces{""}));
}

TEST(StringReplace, AllOccurrencesLeftToRightWithoutRescanningInsertedText)
{
    EXPECT_EQ(String("a.b.c").replaceAll(".", "\\."), "a\\.b\\.c");
    // The inserted text contains from: the search goes on behind it, so this terminates.
    EXPECT_EQ(String("aa").replaceAll("a", "aa"), "aaaa");
    // Non-overlapping, from the left.
    EXPECT_EQ(String("aaa").replaceAll("aa", "b"), "ba");
    EXPECT_EQ(String("abc").replaceAll("", "x"), "abc");
    EXPECT_EQ(String("x1y22").replaceRegex("[0-9]+", "#"), "x#y#");
    EXPECT_EQ(String("a-b").replaceRegex("(a)-(b)", "$2-$1"), "b-a");
}

TEST(StringMatch, SearchAnywhereWithGroupsAndCase)
{
    const String text("--beta=20 --sol=1");
    EXPECT_TRUE(text.matches("sol=[0-9]"));
    EXPECT_FALSE(text.matches("^sol"));
    std::smatch groups;
    ASSERT_TRUE(text.matches("--beta=([0-9]+)", true, &groups));
    EXPECT_EQ(groups[1].str(), "20");
    EXPECT_FALSE(text.matches("BETA", true));
    EXPECT_TRUE(text.matches("BETA", false));
    EXPECT_TRUE(text.matchesCaseInsensitive("--BeTa=(\\d+)", &groups));
    EXPECT_EQ(groups[1].str(), "20");
}

TEST(StringTrimEndsWithCase, SetsSuffixesAndCharacterWiseCase)
{
    const String padded(" \t\n\r\f\vcore \v\f\r\n\t ");
    EXPECT_EQ(padded.trim(), "core");
    EXPECT_EQ(padded.ltrim(), "core \v\f\r\n\t ");
    EXPECT_EQ(padded.rtrim(), " \t\n\r\f\vcore");
    EXPECT_EQ(String("xxaxx").trim("x"), "a");
    EXPECT_EQ(String("   ").trim(), "");
    EXPECT_TRUE(String("run.sol").endsWith(".sol"));
    EXPECT_TRUE(String(".sol").endsWith(".sol"));
    EXPECT_FALSE(String("sol").endsWith(".sol"));
    EXPECT_FALSE(String("run.sol.bak").endsWith(".sol"));
    EXPECT_TRUE(String("x").endsWith(""));
    EXPECT_EQ(String("MiXed 1-z").toLower(), "mixed 1-z");
    EXPECT_EQ(String("MiXed 1-z").toUpper(), "MIXED 1-Z");
}

} // namespace
} // namespace latopt
