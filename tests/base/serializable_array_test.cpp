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

TEST(SerializableArrayText, FormsOfTheBrackets)
{
    SerializableArray<long> numbers;
    EXPECT_EQ(numbers.toString(), "[ ]");
    for (long value : {1L, -2L, 3L})
        numbers.pushBack(value);
    EXPECT_EQ(numbers.toString(), "[ 1 -2 3 ]");
    // A line feed among the separators makes the margin a line feed; the first separator divides.
    SerializableArray<long> lines("\n");
    lines.pushBack(4);
    lines.pushBack(5);
    EXPECT_EQ(lines.separators, "\n ");
    EXPECT_EQ(lines.toString(), "[\n4\n5\n]");
    SerializableArray<long> empty("\n");
    EXPECT_EQ(empty.toString(), "[\n]");
}

TEST(SerializableArrayText, EmptyFormsReadAsEmpty)
{
    for (const char* text : {"[ ]", "[]", "  \n\t[ ]", "[    ]"}) {
        SCOPED_TRACE(text);
        EXPECT_EQ(readArray<long>(text).MN, 0);
    }
    EXPECT_EQ(readArray<long>("[\n\n]", "\n").MN, 0);
}

TEST(SerializableArrayText, ReadingIsLenientAboutBlanks)
{
    EXPECT_EQ(elements(readArray<long>("[1 2   3]")), (std::vector<long>{1, 2, 3}));
    EXPECT_EQ(elements(readArray<long>("\r\n [ 7 ]")), (std::vector<long>{7}));
    // Other separators than the blank divide as well.
    EXPECT_EQ(elements(readArray<long>("[ 1,2 , 3 ]", ",")), (std::vector<long>{1, 2, 3}));
}

TEST(SerializableArrayText, ReaderConsumesExactlyUpToTheClosingBracket)
{
    std::istringstream stream("[ 1 2 ] rest");
    SerializableArray<long> array;
    array.unserialize(stream);
    std::string rest;
    stream >> rest;
    EXPECT_EQ(rest, "rest");
    // A missing "]" ends at end of input with the elements read so far.
    EXPECT_EQ(elements(readArray<long>("[ 1 2")), (std::vector<long>{1, 2}));
}

TEST(SerializableArrayText, ReadingReplacesTheOldContents)
{
    SerializableArray<long> array;
    array.pushBack(9);
    array.pushBack(9);
    std::istringstream stream("[ 4 ]");
    array.unserialize(stream);
    EXPECT_EQ(elements(array), (std::vector<long>{4}));
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

TEST(SerializableArrayText, SeparatorsInsideStringsAreEscaped)
{
    // Separators "|;" become "|; ": the blank and ";" are escaped, "|" (the first) never is.
    SerializableArray<String> strings("|;");
    strings.pushBack("a b");
    strings.pushBack("c;d");
    strings.pushBack("e");
    EXPECT_EQ(strings.toString(), "[ a\\ b|c\\;d|e ]");
    EXPECT_EQ(elements(readArray<String>(strings.toString(), "|;")), elements(strings));
}

TEST(SerializableArrayText, TheFirstSeparatorIsNeverEscaped)
{
    SerializableArray<String> strings("|");
    strings.pushBack("x|y");
    EXPECT_EQ(strings.toString(), "[ x|y ]");
    EXPECT_EQ(elements(readArray<String>(strings.toString(), "|")), (std::vector<String>{"x", "y"}));
}

TEST(SerializableArrayText, PairsRoundTripWhereTheBlankIsEscaped)
{
    using Entry = RightOrderPair<long, long double>;
    SerializableArray<Entry> pairs("\n");
    pairs.pushBack(Entry(3, 2.5L));
    pairs.pushBack(Entry(1, -0.125L));
    EXPECT_EQ(pairs.toString(), "[\n(3,\\ 2.5)\n(1,\\ -0.125)\n]");
    SerializableArray<Entry> back = readArray<Entry>(pairs.toString(), "\n");
    ASSERT_EQ(back.MN, 2);
    EXPECT_EQ(back[1].left, 3);
    EXPECT_EQ(back[1].right, 2.5L);
    EXPECT_EQ(back[2].left, 1);
    EXPECT_EQ(back[2].right, -0.125L);
}

TEST(SerializableArrayText, WithCommentsAnElementEndsOnlyAtTheBracket)
{
    // Comments and separators are dropped between characters without dividing elements.
    EXPECT_EQ(elements(readArray<long>("[ /* first */ 12 ]", " ", true)), (std::vector<long>{12}));
    EXPECT_EQ(elements(readArray<long>("[ 1 // note\n 2 ]", "\n", true)), (std::vector<long>{12}));
    EXPECT_EQ(readArray<long>("[ /* nothing */ ]", " ", true).MN, 0);
}

TEST(SerializableArrayText, CopiesKeepTheTextSettings)
{
    SerializableArray<long> original(",", true, true);
    original.pushBack(1);
    SerializableArray<long> copy(original);
    EXPECT_EQ(copy.separators, ", ");
    EXPECT_TRUE(copy.allowComments);
    EXPECT_TRUE(copy.lineBased);
    EXPECT_EQ(copy.toString(), "[ 1 ]");
}

TEST(SerializableArrayDeathTest, TextWithoutBracketIsFatal)
{
    EXPECT_EXIT(readArray<long>("  1 2 ]"), testing::ExitedWithCode(1),
                "\n\\*\\*\\* FAIL: SerializableArray: no start found\n$");
}

} // namespace
} // namespace latopt
