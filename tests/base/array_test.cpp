#include "arith/constant.h"
#include "base/array.h"
#include "base/serializable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace latopt {
namespace {

std::vector<long> elements(const Array<long>& array)
{
    std::vector<long> result;
    for (long i = 1; i <= array.MN; ++i)
        result.push_back(array[i]);
    return result;
}

Array<long> arrayOf(const std::vector<long>& values)
{
    Array<long> array;
    for (long value : values)
        array.pushBack(value);
    return array;
}

TEST(ArrayDimension, ShrinkingKeepsTheElementsAboveTheNewDimension)
{
    Array<long> array = arrayOf({10, 20, 30, 40, 50});
    long* storage = array.data;
    array.setDimension(2, false);
    EXPECT_EQ(elements(array), (std::vector<long>{10, 20}));
    array.setDimension(5, false);
    EXPECT_EQ(elements(array), (std::vector<long>{10, 20, 30, 40, 50}));
    EXPECT_EQ(array.data, storage); // memory is never given back, so nothing moved
    array.setDimension(0, false);
    EXPECT_FALSE(array.isInitialized());
    array.setDimension(3, false);
    EXPECT_EQ(elements(array), (std::vector<long>{10, 20, 30}));
}

TEST(ArrayDimension, GrowthSizesTheCapacityAndKeepsElementsAndSpareSlot)
{
    Array<long> array(4);
    EXPECT_EQ(array.capacity, 5);
    for (long i = 0; i <= 4; ++i)
        array[i] = 100 + i;
    // capacity n - 1 to n without reserve: n + 1 places.
    array.setDimension(6, false);
    EXPECT_EQ(array.capacity, 7);
    array.setDimension(7, false); // fits the capacity: no new storage
    EXPECT_EQ(array.capacity, 7);
    array.setDimension(8, true);
    EXPECT_EQ(array.capacity, 108);
    for (long i = 0; i <= 4; ++i)
        EXPECT_EQ(array[i], 100 + i);
    EXPECT_EQ(array.MN, 8);
}

TEST(ArrayDimension, ReserveMakesRoomWithoutChangingDimensionOrElements)
{
    Array<long> array(3);
    for (long i = 0; i <= 3; ++i)
        array[i] = 7 + i;
    array.reserve(2); // less than there is: nothing happens
    EXPECT_EQ(array.capacity, 4);
    array.reserve(50);
    EXPECT_EQ(array.capacity, 50);
    EXPECT_EQ(array.MN, 3);
    const long* storage = array.data;
    array.setDimension(50, false); // within the room: the storage stays
    EXPECT_EQ(array.data, storage);
    for (long i = 0; i <= 3; ++i)
        EXPECT_EQ(array[i], 7 + i);
    EXPECT_EQ(array[50], 0);
}

TEST(ArrayDimension, GrowthDefaultConstructsTheNewElements)
{
    Array<std::string> array(1);
    array[1] = "kept";
    array.setDimension(3, false);
    EXPECT_EQ(array[1], "kept");
    EXPECT_EQ(array[2], "");
    EXPECT_EQ(array[3], "");
}

TEST(ArraySpareSlot, ReachableOnEveryArray)
{
    Array<long> fresh;
    fresh[0] = 7; // allocated on demand
    EXPECT_EQ(fresh[0], 7);
    EXPECT_EQ(fresh.MN, 0);
    const Array<long> constant;
    EXPECT_EQ(constant[0], 0);
    Array<long> emptied = arrayOf({1, 2});
    emptied.setDimension(0, false);
    emptied[0] = 3;
    EXPECT_EQ(emptied[0], 3);
    // Copies of arrays that never had storage are empty arrays too.
    Array<long> copy(fresh);
    copy = constant;
    EXPECT_EQ(copy.MN, 0);
}

TEST(ArrayCopy, CopiesAreIndependentAndMovesSteal)
{
    Array<long> original = arrayOf({1, 2, 3});
    original.throwOnLoss = true;
    Array<long> copy(original);
    copy[2] = 20;
    EXPECT_EQ(elements(original), (std::vector<long>{1, 2, 3}));
    EXPECT_TRUE(copy.throwOnLoss);
    Array<long> assigned = arrayOf({9, 9, 9, 9, 9, 9});
    assigned = original;
    EXPECT_EQ(elements(assigned), (std::vector<long>{1, 2, 3}));
    long* storage = original.data;
    Array<long> moved(std::move(original));
    EXPECT_EQ(moved.data, storage);
    EXPECT_EQ(elements(moved), (std::vector<long>{1, 2, 3}));
    EXPECT_TRUE(moved.throwOnLoss);
    assigned.allowPostCommaLoss = true;
    assigned = std::move(moved);
    EXPECT_EQ(assigned.data, storage);
    EXPECT_EQ(assigned.MN, 3);
    // A move assignment leaves the conversion flags of the target as they were.
    EXPECT_TRUE(assigned.throwOnLoss);
    EXPECT_TRUE(assigned.allowPostCommaLoss);
    Array<long> unmarked;
    unmarked = arrayOf({1});
    EXPECT_FALSE(unmarked.throwOnLoss);
    assigned = std::move(unmarked);
    EXPECT_TRUE(assigned.throwOnLoss);
}

TEST(ArrayZero, MakeZeroZerofyAndIsZero)
{
    Array<long> array = arrayOf({1, 2, 3, 4});
    EXPECT_FALSE(array.isZero());
    array.zerofy(2, 3);
    EXPECT_EQ(elements(array), (std::vector<long>{1, 0, 0, 4}));
    array.zerofy(0, 3); // a bound of 0 means the whole array
    EXPECT_TRUE(array.isZero());
    Array<long double> reals;
    reals.makeZero(3);
    EXPECT_EQ(reals.MN, 3);
    EXPECT_TRUE(reals.isZero());
    reals[2] = 0.5L;
    reals.makeZero();
    EXPECT_EQ(reals.MN, 3);
    EXPECT_TRUE(reals.isZero());
    EXPECT_TRUE(Array<long>().isZero());
}

// insertComponent, removeComponent and lshift against std::vector on random operations.
TEST(ArrayEdit, RandomEditsAgreeWithVector)
{
    const unsigned seed = 4711;
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    Array<long> array;
    std::vector<long> reference;
    for (int step = 0; step < 2000; ++step) {
        const long dimension = static_cast<long>(reference.size());
        const unsigned kind = random() % 5;
        if (kind <= 2 || dimension == 0) {
            const long index = 1 + static_cast<long>(random() % (dimension + 1));
            array.insertComponent(index, step);
            reference.insert(reference.begin() + (index - 1), step);
        } else if (kind == 3) {
            const long index = 1 + static_cast<long>(random() % dimension);
            array.removeComponent(index);
            reference.erase(reference.begin() + (index - 1));
        } else {
            const long count = static_cast<long>(random() % 3);
            array.lshift(count);
            reference.erase(reference.begin(), reference.begin() + std::min(count, dimension));
        }
        ASSERT_EQ(elements(array), reference) << "step " << step;
    }
}

TEST(ArrayEdit, IndexZeroMovesThroughTheSpareSlot)
{
    Array<long> array = arrayOf({1, 2});
    array[0] = 5;
    array.insertComponent(0, 9); // 9 goes to the spare slot, 5 becomes element 1
    EXPECT_EQ(array[0], 9);
    EXPECT_EQ(elements(array), (std::vector<long>{5, 1, 2}));
    array.removeComponent(0); // element 1 moves into the spare slot
    EXPECT_EQ(array[0], 5);
    EXPECT_EQ(elements(array), (std::vector<long>{1, 2}));
    array.lshift(5); // more than there are: all go
    EXPECT_EQ(array.MN, 0);
}

// Records the swaps that heapSort announces; replaying them on a parallel array must bring it
// into the same order.
struct SwapRecorder {
    std::vector<std::pair<long, long>> swaps;
    void swapped(long i, long j) { swaps.emplace_back(i, j); }
};

TEST(ArrayHeapSort, AgreesWithStdSortAndAnnouncesEverySwap)
{
    const unsigned seed = 1234567;
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    for (int round = 0; round < 200; ++round) {
        const long dimension = static_cast<long>(random() % 40);
        std::vector<long> values;
        for (long i = 0; i < dimension; ++i)
            values.push_back(static_cast<long>(random() % 25) - 12); // many ties
        Array<long> array = arrayOf(values);
        SwapRecorder recorder;
        const long adjustment = round % 3;
        array.heapSort(&recorder, &SwapRecorder::swapped, adjustment);
        std::vector<long> expected = values;
        std::sort(expected.begin(), expected.end());
        ASSERT_EQ(elements(array), expected);
        // Position k of the parallel array holds the original position of element k.
        std::vector<long> origin(dimension + 1);
        for (long k = 0; k <= dimension; ++k)
            origin[k] = k;
        for (const auto& [i, j] : recorder.swaps) {
            ASSERT_GE(i - adjustment, 1);
            ASSERT_LE(j - adjustment, dimension);
            std::swap(origin[i - adjustment], origin[j - adjustment]);
        }
        for (long k = 1; k <= dimension; ++k)
            ASSERT_EQ(values[origin[k] - 1], array[k]) << "position " << k;
    }
}

TEST(ArrayHeapSort, PairsSortByRightAndKeepTheirLeft)
{
    using Entry = RightOrderPair<long, long double>;
    Array<Entry> entries;
    const long double rights[] = {0.5L, -2.0L, 0.5L, 7.25L, -2.0L, 0.0L};
    for (long i = 1; i <= 6; ++i)
        entries.pushBack(Entry(i, rights[i - 1]));
    entries.heapSort();
    std::vector<long> lefts;
    for (long k = 1; k <= 6; ++k) {
        EXPECT_EQ(entries[k].right, rights[entries[k].left - 1]);
        if (k > 1) {
            EXPECT_LE(entries[k - 1].right, entries[k].right);
        }
        lefts.push_back(entries[k].left);
    }
    std::sort(lefts.begin(), lefts.end());
    EXPECT_EQ(lefts, (std::vector<long>{1, 2, 3, 4, 5, 6}));
}

TEST(ArrayHeapSort, WithoutCallbackOnlyElementsMove)
{
    Array<long> two = arrayOf({3, 3});
    two.heapSort();
    EXPECT_EQ(elements(two), (std::vector<long>{3, 3}));
    Array<long> one = arrayOf({8});
    SwapRecorder recorder;
    one.heapSort(&recorder, &SwapRecorder::swapped);
    EXPECT_TRUE(recorder.swaps.empty());
    Array<long> reversed = arrayOf({5, 4, 3, 2, 1});
    reversed.heapSort<SwapRecorder>(&recorder, nullptr);
    EXPECT_EQ(elements(reversed), (std::vector<long>{1, 2, 3, 4, 5}));
    EXPECT_TRUE(recorder.swaps.empty());
}

// A stand-in for the precision layer that records what the conversion is given.
struct RecordingConversion {
    static std::vector<bool> probes;
    static void conv(const int& source, long& target, bool probe, bool flag)
    {
        EXPECT_FALSE(flag);
        probes.push_back(probe);
        target = 10L * source;
    }
};
std::vector<bool> RecordingConversion::probes;

TEST(ConversionArrayAssign, ConvertsEachElementWithTheTargetFlags)
{
    Array<int> source;
    source.pushBack(1);
    source.pushBack(-2);
    ConversionArray<long> target;
    target.throwOnLoss = true;
    RecordingConversion::probes.clear();
    target._assign<int, RecordingConversion>(source);
    EXPECT_EQ(elements(target), (std::vector<long>{10, -20}));
    EXPECT_EQ(RecordingConversion::probes, (std::vector<bool>{true, true}));
    // The same element type copies, and keeps the target's flags.
    ConversionArray<long> same;
    same._assign(arrayOf({4, 5}));
    EXPECT_EQ(elements(same), (std::vector<long>{4, 5}));
    same._assign(same);
    EXPECT_EQ(elements(same), (std::vector<long>{4, 5}));
}

TEST(ArrayDeathTest, FatalMessages)
{
    Array<long> array = arrayOf({1, 2, 3});
    array.setDimension(2, false); // capacity still holds a third element
    EXPECT_EXIT(array[3], testing::ExitedWithCode(1), "\n\\*\\*\\* FAIL: Array: index out of range\n$");
    EXPECT_EXIT(array[-1], testing::ExitedWithCode(1), "\n\\*\\*\\* FAIL: Array: index out of range\n$");
    EXPECT_EXIT(array.setDimension(-1, false), testing::ExitedWithCode(1),
                "\n\\*\\*\\* FAIL: array: dimension < 0\n$");
    EXPECT_EXIT(array.swapComponents(1, 3), testing::ExitedWithCode(1),
                "\n\\*\\*\\* FAIL: Array: swap index out of range\n$");
    EXPECT_EXIT(array.insertComponent(4, 0), testing::ExitedWithCode(1),
                "\n\\*\\*\\* FAIL: insertComponent: invalid index\n$");
    EXPECT_EXIT(array.insertComponent(-1, 0), testing::ExitedWithCode(1),
                "\n\\*\\*\\* FAIL: insertComponent: invalid index\n$");
}

TEST(ArraySwap, EqualIndicesAndTheSpareSlot)
{
    Array<long> array = arrayOf({1, 2});
    array.swapComponents(3, 3); // equal indices do nothing, not even the range check
    array[0] = 9;
    array.swapComponents(0, 2);
    EXPECT_EQ(array[0], 2);
    EXPECT_EQ(elements(array), (std::vector<long>{1, 9}));
}

} // namespace
} // namespace latopt
