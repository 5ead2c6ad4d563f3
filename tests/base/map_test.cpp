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

// Counting words through the hash against std::map: one entry per word, in the order of first
// appearance, found by indexOf; reading a present or absent key creates nothing more.
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
    for (std::size_t i = 0; i < firstSeen.size(); ++i)
        EXPECT_EQ(hash.indexOf(firstSeen[i]), static_cast<long>(i + 1));
    EXPECT_EQ(hash.indexOf("f"), 0);
    EXPECT_EQ(hash("f"), 0);
    EXPECT_EQ(hash.dimension(), static_cast<long>(firstSeen.size()) + 1);
}

// The array keeps the places of a shrunk map: an entry made there again must not show the old
// value, in a Map (default value) and in a Hash (zero, null for pointers) alike.
TEST(MapLookup, EntryMadeAfterShrinkingStartsFromTheDefault)
{
    Map<long, std::string> map;
    map(1) = "old";
    map(2) = "older";
    map.resetAllMembers();
    EXPECT_EQ(map(7), "");
    EXPECT_EQ(map(8), "");
    EXPECT_EQ(keys(map), std::vector<long>({7, 8}));
    Hash<long double> hash;
    hash("a") = 1.5L;
    hash("b") = 2.5L;
    hash.setDimension(0, false);
    hash.setDimension(2, false);
    EXPECT_TRUE(hash[1].right == 0.0L && hash[2].right == 0.0L);
    Hash<int*> pointers;
    int target = 0;
    pointers("p") = &target;
    pointers.resetAllMembers();
    pointers.setDimension(1, true);
    EXPECT_EQ(pointers[1].right, nullptr);
}

} // namespace
} // namespace latopt
