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

using Longs = std::vector<long>;

// Elements from..MN (from 0 takes the spare slot too).
Longs elements(const Array<long>& array, long from = 1)
{
    Longs result;
    for (long i = from; i <= array.MN; ++i)
        result.push_back(array[i]);
    return result;
}

Array<long> arrayOf(const Longs& values)
{
    Array<long> array;
    for (long value : values)
        array.pushBack(value);
    return array;
}

// Shrinking keeps the elements above the new dimension; growth allocates n + 1 places, n + 100
// with reserve, and default constructs; reserve changes neither dimension nor elements.
TEST(ArrayDimension, ShrinkKeepsGrowthAndReserveSizeTheCapacity)
{
    Array<long> array = arrayOf({10, 20, 30, 40, 50});
    long* storage = array.data;
    array.setDimension(0, false);
    EXPECT_FALSE(array.isInitialized());
    array.setDimension(5, false);
    EXPECT_EQ(elements(array), (Longs{10, 20, 30, 40, 50}));
    EXPECT_EQ(array.data, storage);

    Array<long> grown(4);
    grown.setDimension(6, false);
    grown.setDimension(8, true);
    grown.reserve(2); // less than there is: nothing happens
    EXPECT_EQ(grown.capacity, 108);
    grown.reserve(150);
    EXPECT_EQ(grown.capacity, 150);
    EXPECT_EQ(grown.MN, 8);

    Array<std::string> strings(1);
    strings[1] = "kept";
    strings.setDimension(3, false);
    EXPECT_EQ(strings[1], "kept");
    EXPECT_EQ(strings[3], "");
}

// Random edits against a std::vector whose front stands for the spare slot (index 0 moves
// through it); growth on the way must keep every element, the spare slot included.
TEST(ArrayEdit, RandomEditsAgreeWithVector)
{
    const unsigned seed = 4711;
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    Array<long> array;
    Longs reference{0};
    for (int step = 0; step < 3000; ++step) {
        const long dimension = static_cast<long>(reference.size()) - 1;
        const unsigned kind = random() % 6;
        if (kind <= 2 || dimension == 0) {
            const long index = static_cast<long>(random() % (dimension + 2));
            array.insertComponent(index, step);
            reference.insert(reference.begin() + index, step);
        } else if (kind == 3) {
            const long index = static_cast<long>(random() % (dimension + 1));
            array.removeComponent(index);
            reference.erase(reference.begin() + index);
        } else if (kind == 4) {
            const long a = static_cast<long>(random() % (dimension + 1));
            const long b = static_cast<long>(random() % (dimension + 1));
            array.swapComponents(a, b);
            std::swap(reference[a], reference[b]);
        } else {
            const long count = static_cast<long>(random() % 4) - 1;
            array.lshift(count);
            if (count > 0)
                reference.erase(reference.begin() + 1, reference.begin() + 1 + std::min(count, dimension));
        }
        ASSERT_EQ(elements(array, 0), reference) << "step " << step;
    }
    array.swapComponents(array.MN + 1, array.MN + 1); // equal indices: not even the range check
}

// Copies are independent and take the flags; a move assignment steals the storage but keeps
// the target's conversion flags.
TEST(ArrayCopy, CopiesAreIndependentAndMovesSteal)
{
    Array<long> original = arrayOf({1, 2, 3});
    original.throwOnLoss = true;
    Array<long> assigned = arrayOf({9, 9, 9, 9, 9, 9});
    assigned = original;
    assigned[2] = 20;
    EXPECT_EQ(elements(original), (Longs{1, 2, 3}));
    EXPECT_EQ(elements(assigned), (Longs{1, 20, 3}));
    EXPECT_TRUE(assigned.throwOnLoss);
    long* storage = original.data;
    Array<long> moved(std::move(original));
    EXPECT_EQ(moved.data, storage);
    EXPECT_TRUE(moved.throwOnLoss);
    assigned.allowPostCommaLoss = true;
    assigned = std::move(moved);
    EXPECT_EQ(assigned.data, storage);
    EXPECT_EQ(elements(assigned), (Longs{1, 2, 3}));
    assigned = arrayOf({1});
    EXPECT_TRUE(assigned.throwOnLoss && assigned.allowPostCommaLoss);
    const Array<long> never; // an array without storage copies as an empty one
    Array<long> copy(never);
    assigned = never;
    EXPECT_EQ(copy.MN + assigned.MN, 0);
}

TEST(ArrayZero, MakeZeroZerofyAndIsZero)
{
    Array<long> array = arrayOf({1, 2, 3, 4});
    EXPECT_FALSE(array.isZero());
    array.zerofy(2, 3);
    EXPECT_EQ(elements(array), (Longs{1, 0, 0, 4}));
    array.zerofy(0, 3); // a bound of 0 means the whole array
    EXPECT_TRUE(array.isZero());
    Array<long double> reals(2);
    reals[2] = 0.5L;
    reals.makeZero(3);
    EXPECT_EQ(reals.MN, 3);
    EXPECT_TRUE(reals.isZero());
}

// Records the swaps heapSort announces; replayed on a parallel array they give the same order.
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
        Longs values;
        for (long i = 0; i < dimension; ++i)
            values.push_back(static_cast<long>(random() % 25) - 12); // many ties
        Array<long> array = arrayOf(values);
        SwapRecorder recorder;
        const long adjustment = round % 3;
        array.heapSort(&recorder, &SwapRecorder::swapped, adjustment);
        Longs expected = values;
        std::sort(expected.begin(), expected.end());
        ASSERT_EQ(elements(array), expected);
        Longs origin(dimension + 1); // position k: the original position of element k
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
    // Without a callback only the elements move.
    Array<long> reversed = arrayOf({5, 4, 3, 2, 1});
    SwapRecorder recorder;
    reversed.heapSort<SwapRecorder>(&recorder, nullptr);
    EXPECT_EQ(elements(reversed), (Longs{1, 2, 3, 4, 5}));
    EXPECT_TRUE(recorder.swaps.empty());
}

TEST(ArrayHeapSort, PairsSortByRightAndKeepTheirLeft)
{
    Array<RightOrderPair<long, long double>> entries;
    for (const auto& [left, right] : {std::pair{1L, 0.5L}, {2L, -2.0L}, {3L, 7.25L}, {4L, 0.0L}})
        entries.pushBack(RightOrderPair<long, long double>(left, right));
    entries.heapSort();
    for (const auto& [k, left] : {std::pair{1L, 2L}, {2L, 4L}, {3L, 1L}, {4L, 3L}})
        EXPECT_EQ(entries[k].left, left) << "position " << k;
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
    EXPECT_EQ(elements(target), (Longs{10, -20}));
    EXPECT_EQ(RecordingConversion::probes, (std::vector<bool>{true, true}));
    ConversionArray<long> same; // the same element type copies
    same._assign(arrayOf({4, 5}));
    same._assign(same);
    EXPECT_EQ(elements(same), (Longs{4, 5}));
}

TEST(ArrayDeathTest, FatalMessages)
{
    Array<long> array = arrayOf({1, 2, 3});
    array.setDimension(2, false); // capacity still holds a third element
    const std::string outOfRange = "\n\\*\\*\\* FAIL: Array: index out of range\n$";
    const std::string badInsert = "\n\\*\\*\\* FAIL: insertComponent: invalid index\n$";
    EXPECT_EXIT(array[3], testing::ExitedWithCode(1), outOfRange);
    EXPECT_EXIT(array[-1], testing::ExitedWithCode(1), outOfRange);
    EXPECT_EXIT(array.setDimension(-1, false), testing::ExitedWithCode(1),
                "\n\\*\\*\\* FAIL: array: dimension < 0\n$");
    EXPECT_EXIT(array.swapComponents(1, 3), testing::ExitedWithCode(1),
                "\n\\*\\*\\* FAIL: Array: swap index out of range\n$");
    EXPECT_EXIT(array.insertComponent(4, 0), testing::ExitedWithCode(1), badInsert);
    EXPECT_EXIT(array.insertComponent(-1, 0), testing::ExitedWithCode(1), badInsert);
}

} // namespace
} // namespace latopt
