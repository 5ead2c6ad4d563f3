#include "base/set.h"

#include "test_seed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace latopt {
namespace {

// Stand-in for a heuristic vector, ordered by deviation (smaller is better). operator== compares
// deviations on purpose: the sets must find duplicates through isSameVector.
struct Candidate {
    std::vector<long> components;
    long deviation = 0;

    bool operator<(const Candidate& other) const { return deviation < other.deviation; }
    bool operator==(const Candidate& other) const { return deviation == other.deviation; }
};

bool isSameVector(const Candidate& a, const Candidate& b)
{
    return a.components == b.components;
}

// A second element type, filled from a Candidate by its own _assign as a vector of the other
// number type would be; its operator== is vector equality, so the default isSameVector applies.
struct WideCandidate {
    std::vector<long double> components;
    long double deviation = 0;

    void _assign(const Candidate& other)
    {
        components.assign(other.components.begin(), other.components.end());
        deviation = static_cast<long double>(other.deviation);
    }
    bool operator<(const WideCandidate& other) const { return deviation < other.deviation; }
    bool operator==(const WideCandidate& other) const { return components == other.components; }
};

Candidate candidate(long x, long deviation)
{
    return Candidate{{x}, deviation};
}

// The elements from first to last; checks that the backward links, last and size agree.
template <class T>
std::vector<T> contents(const Set<T>& set)
{
    using latopt::isSameVector;
    std::vector<T> forward;
    for (const Element<T>* element = set.first; element != nullptr; element = element->next)
        forward.push_back(*element);
    std::vector<T> backward;
    for (const Element<T>* element = set.last; element != nullptr; element = element->previous)
        backward.push_back(*element);
    std::reverse(backward.begin(), backward.end());
    EXPECT_EQ(forward.size(), set.size);
    EXPECT_EQ(backward.size(), set.size);
    for (std::size_t i = 0; i < forward.size() && i < backward.size(); ++i)
        EXPECT_TRUE(isSameVector(forward[i], backward[i])) << "links disagree at " << i;
    return forward;
}

std::vector<long> deviations(const Set<Candidate>& set)
{
    std::vector<long> result;
    for (const Candidate& element : contents(set))
        result.push_back(element.deviation);
    return result;
}

TEST(SetInsertBefore, LinksInFrontAndKeepsTheLimit)
{
    Set<Candidate> set(2);
    set.insert(candidate(1, 1));
    set.insert(candidate(2, 2));
    // In front of the last: the full set gives up its first element.
    EXPECT_TRUE(set.insertBefore(*new Element<Candidate>(candidate(3, 3)), *set.last));
    EXPECT_EQ(deviations(set), std::vector<long>({3, 2}));
    // In front of the first of a full set: the new element itself is dropped.
    EXPECT_FALSE(set.insertBefore(*new Element<Candidate>(candidate(4, 4)), *set.first));
    EXPECT_EQ(deviations(set), std::vector<long>({3, 2}));
}

TEST(SetInsertBeforeDeathTest, ForeignBeforeElementIsFatal)
{
    Set<Candidate> set;
    set.insert(candidate(1, 1));
    Element<Candidate> stranger(candidate(2, 2));
    auto fresh = std::make_unique<Element<Candidate>>(candidate(3, 3));
    EXPECT_EXIT(set.insertBefore(*fresh, stranger), testing::ExitedWithCode(1),
                "\n\\*\\*\\* FAIL: Set: before_element is not in the given set!\n");
}

TEST(SetCopy, CopiesAreDeepAndConversionsKeepOrderAndLimit)
{
    SortedSet<Candidate> set(3);
    for (long x = 1; x <= 4; ++x)
        set.insert(candidate(x, 10 - x));
    SortedSet<Candidate> copy(set);
    copy.remove(copy.first);
    copy.insert(candidate(9, 0));
    EXPECT_EQ(deviations(set), std::vector<long>({8, 7, 6}));
    EXPECT_EQ(deviations(copy), std::vector<long>({7, 6, 0}));

    SortedSet<WideCandidate> wide;
    wide.insert(WideCandidate{{5.0L}, 1.0L});
    wide._assign(set);
    EXPECT_EQ(wide.limit, 3u);
    std::vector<long double> wideDeviations;
    for (const WideCandidate& element : contents(wide))
        wideDeviations.push_back(element.deviation);
    EXPECT_EQ(wideDeviations, std::vector<long double>({8.0L, 7.0L, 6.0L}));
    // The converted set goes on as a set: duplicates are refused by vector equality.
    EXPECT_FALSE(wide.insert(WideCandidate{{2.0L}, 0.0L}));
    EXPECT_TRUE(wide.insert(WideCandidate{{7.0L}, 0.0L}));

    copy.clear();
    EXPECT_TRUE(copy.isEmpty() && copy.size == 0 && copy.last == nullptr && copy.limit == 3);
}

// Against a reference: an equal vector is refused whatever its deviation. A plain set appends in
// arrival order and refuses when full. A sorted set stands worst first (higher deviation, then
// earlier arrival); above the limit the worst goes, and the insert succeeds when the new candidate
// is still present.
TEST(SetRandomized, AgreesWithASortingReference)
{
    const unsigned long long seed = test::testSeed(20240611ULL);
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    struct Entry {
        Candidate value;
        long arrival;
    };
    for (long round = 0; round < test::rounds(100); ++round) {
        const unsigned long limit = random() % 7;
        SCOPED_TRACE("round " + std::to_string(round) + ", limit " + std::to_string(limit));
        const bool sorted = round % 3 != 0;
        std::unique_ptr<Set<Candidate>> set =
            sorted ? std::make_unique<SortedSet<Candidate>>(limit) : std::make_unique<Set<Candidate>>(limit);
        std::vector<Entry> reference;
        for (long arrival = 0; arrival < 200; ++arrival) {
            const Candidate value{{static_cast<long>(random() % 4), static_cast<long>(random() % 4)},
                                  static_cast<long>(random() % 6)};
            bool expected = std::none_of(reference.begin(), reference.end(), [&](const Entry& e) {
                return e.value.components == value.components;
            });
            if (expected && !sorted) {
                expected = limit == 0 || reference.size() < limit;
                if (expected) reference.push_back({value, arrival});
            } else if (expected) {
                reference.push_back({value, arrival});
                std::stable_sort(reference.begin(), reference.end(), [](const Entry& x, const Entry& y) {
                    return x.value.deviation != y.value.deviation ? x.value.deviation > y.value.deviation
                                                                  : x.arrival < y.arrival;
                });
                if (limit != 0 && reference.size() > limit) {
                    expected = reference.front().arrival != arrival;
                    reference.erase(reference.begin());
                }
            }
            ASSERT_EQ(set->insert(value), expected) << "arrival " << arrival;
            const std::vector<Candidate> actual = contents(*set);
            ASSERT_EQ(actual.size(), reference.size());
            for (std::size_t i = 0; i < actual.size(); ++i) {
                ASSERT_EQ(actual[i].components, reference[i].value.components) << "position " << i;
                ASSERT_EQ(actual[i].deviation, reference[i].value.deviation);
            }
        }
    }
}

} // namespace
} // namespace latopt
