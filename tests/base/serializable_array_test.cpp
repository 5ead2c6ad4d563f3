#include "arith/constant.h"
#include "base/serializable_array.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace latopt {
namespace {

template <class T>
SerializableArray<T> readArray(const std::string& text, const std::string& separators = " ",
                               bool allowComments = false)
{
    SerializableArray<T> array(separators, allowComments);
    array.pushBack(T()); // reading replaces the old contents
    std::istringstream stream(text);
    array.unserialize(stream);
    return array;
}

template <class T>
std::vector<T> elements(const Array<T>& array)
{
    std::vector<T> result;
    for (long i = 1; i <= array.MN; ++i)
        result.push_back(array[i]);
    return result;
}

// A line feed among the separators makes the margin a line feed; the first separator divides.
TEST(SerializableArrayText, FormsOfTheBracketsAndCopiesKeepTheSettings)
{
    SerializableArray<long> numbers;
    EXPECT_EQ(numbers.toString(), "[ ]");
    for (long value : {1L, -2L, 3L})
        numbers.pushBack(value);
    EXPECT_EQ(numbers.toString(), "[ 1 -2 3 ]");
    SerializableArray<long> lines("\n");
    EXPECT_EQ(lines.toString(), "[\n]");
    lines.pushBack(4);
    lines.pushBack(5);
    EXPECT_EQ(lines.separators, "\n ");
    EXPECT_EQ(lines.toString(), "[\n4\n5\n]");
}

// Blanks are lenient, other separators divide as well, a missing "]" ends at end of input, and
// with comments allowed an element ends only at the bracket.
TEST(SerializableArrayText, ReadsTheseForms)
{
    struct Case {
        const char* text;
        const char* separators;
        bool comments;
        std::vector<long> expected;
    };
    const Case cases[] = {
        {"[ ]", " ", false, {}},
        {"[]", " ", false, {}},
        {"  \n\t[    ]", " ", false, {}},
        {"[\n\n]", "\n", false, {}},
        {"[1 2   3]", " ", false, {1, 2, 3}},
        {"\r\n [ 7 ]", " ", false, {7}},
        {"[ 1,2 , 3 ]", ",", false, {1, 2, 3}},
        {"[ 1 2", " ", false, {1, 2}},
        {"[ /* first */ 12 ]", " ", true, {12}},
        {"[ 1 // note\n 2 ]", "\n", true, {12}},
        {"[ /* nothing */ ]", " ", true, {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(elements(readArray<long>(c.text, c.separators, c.comments)), c.expected);
    }
    std::istringstream stream("[ 1 2 ] rest"); // the reader stops right behind the bracket
    SerializableArray<long>().unserialize(stream);
    std::string rest;
    stream >> rest;
    EXPECT_EQ(rest, "rest");
    SerializableArray<long> original(",", true, true);
    const SerializableArray<long> copy(original);
    EXPECT_EQ(copy.separators, ", ");
    EXPECT_TRUE(copy.allowComments && copy.lineBased);
}

// Long doubles travel as 17 significant digits: the value comes back to within that, and the
// text is a fixed point.
TEST(SerializableArrayText, RandomLongDoublesRoundTrip)
{
    const unsigned seed = 20240611;
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937_64 random(seed);
    std::uniform_real_distribution<long double> value(-1e9L, 1e9L);
    for (int round = 0; round < 50; ++round) {
        SerializableArray<long double> array;
        const long count = static_cast<long>(random() % 12);
        for (long i = 0; i < count; ++i)
            array.pushBack(value(random));
        SerializableArray<long double> back = readArray<long double>(array.toString());
        ASSERT_EQ(back.MN, array.MN) << array.toString();
        for (long i = 1; i <= array.MN; ++i)
            EXPECT_LE(fabsl(back[i] - array[i]), 1e-16L * fabsl(array[i])) << array.toString();
        EXPECT_EQ(back.toString(), array.toString());
    }
}

// Separators "|;" become "|; ": the blank and ";" are escaped, "|" (the first) never is; the
// blank inside a pair is escaped too.
TEST(SerializableArrayText, SeparatorsInsideElementsAreEscapedButTheFirst)
{
    SerializableArray<String> strings("|;");
    for (const char* text : {"a b", "c;d", "e"})
        strings.pushBack(text);
    EXPECT_EQ(strings.toString(), "[ a\\ b|c\\;d|e ]");
    EXPECT_EQ(elements(readArray<String>(strings.toString(), "|;")), elements(strings));
    SerializableArray<String> first("|");
    first.pushBack("x|y");
    EXPECT_EQ(first.toString(), "[ x|y ]");
    EXPECT_EQ(elements(readArray<String>(first.toString(), "|")), (std::vector<String>{"x", "y"}));
    using Entry = RightOrderPair<long, long double>;
    SerializableArray<Entry> pairs("\n");
    pairs.pushBack(Entry(3, 2.5L));
    pairs.pushBack(Entry(1, -0.125L));
    EXPECT_EQ(pairs.toString(), "[\n(3,\\ 2.5)\n(1,\\ -0.125)\n]");
    SerializableArray<Entry> back = readArray<Entry>(pairs.toString(), "\n");
    ASSERT_EQ(back.MN, 2);
    EXPECT_TRUE(back[1].left == 3 && back[1].right == 2.5L);
    EXPECT_TRUE(back[2].left == 1 && back[2].right == -0.125L);
}

TEST(SerializableArrayDeathTest, TextWithoutBracketIsFatal)
{
    EXPECT_EXIT(readArray<long>("  1 2 ]"), testing::ExitedWithCode(1),
                "\n\\*\\*\\* FAIL: SerializableArray: no start found\n$");
}

} // namespace
} // namespace latopt
