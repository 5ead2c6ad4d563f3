#include "base/map.h"

#include "arith/constant.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>
#include <vector>

namespace latopt {
namespace {

template <class K, class V>
std::vector<K> keys(const Map<K, V>& map)
{
    std::vector<K> result;
    for (long i = 1; i <= map.dimension(); ++i)
        result.push_back(map[i].left);
    return result;
}

TEST(MapLookup, AbsentKeyCreatesExactlyOneEntryInCreationOrder)
{
    Map<long, long> map;
    map(30) = 3;
    EXPECT_EQ(map(10), 0);
    // Repeated reads, of both keys, create nothing.
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(map(30), 3);
        EXPECT_EQ(map(10), 0);
    }
    map(20) = 2;
    EXPECT_EQ(keys(map), std::vector<long>({30, 10, 20}));
    EXPECT_EQ(map.indexOf(20), 3);
    EXPECT_EQ(map.indexOf(40), 0);
    EXPECT_EQ(map.dimension(), 3);
}

TEST(MapLookup, EntryMadeAfterShrinkingStartsFromTheDefault)
{
    Map<long, std::string> map;
    map(1) = "old";
    map(2) = "older";
    map.resetAllMembers();
    EXPECT_EQ(map(7), "");
    EXPECT_EQ(map(8), "");
    EXPECT_EQ(keys(map), std::vector<long>({7, 8}));
}

TEST(HashGrowth, NewEntriesAreZero)
{
    Hash<long double> hash;
    hash("a") = 1.5L;
    hash("b") = 2.5L;
    hash.setDimension(0, false);
    hash.setDimension(2, false);
    EXPECT_EQ(hash[1].right, 0.0L);
    EXPECT_EQ(hash[2].right, 0.0L);

    Hash<int*> pointers;
    int target = 0;
    pointers("p") = &target;
    pointers.resetAllMembers();
    pointers.setDimension(1, true);
    EXPECT_EQ(pointers[1].right, nullptr);
}

// Counting words through the hash against std::map, and the order of first appearance.
TEST(HashCounting, AgreesWithStdMap)
{
    const unsigned long seed = 424242;
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    Hash<long> hash;
    std::map<std::string, long> reference;
    std::vector<std::string> firstSeen;
    for (int i = 0; i < 500; ++i) {
        const std::string word(1 + random() % 2, static_cast<char>('a' + random() % 5));
        if (reference.find(word) == reference.end()) firstSeen.push_back(word);
        ++reference[word];
        ++hash(word);
    }
    EXPECT_EQ(keys(hash), firstSeen);
    for (const auto& [word, count] : reference)
        EXPECT_EQ(hash(word), count) << word;
}

} // namespace
} // namespace latopt
