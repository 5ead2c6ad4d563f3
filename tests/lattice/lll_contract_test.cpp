// The checker of reduced bases itself: reduced bases pass from any basis of their lattice,
// and each condition catches what it is there for.
#include "lll_contract.h"

#include "test_seed.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace latopt {
namespace {

using lll_contract::Options;
using lll_contract::Rows;

Rows rows(std::initializer_list<std::initializer_list<long long>> entries)
{
    Rows result;
    for (const auto& row : entries) {
        result.emplace_back();
        for (const long long x : row)
            result.back().push_back(QQ(x));
    }
    return result;
}

// Reduced under (L), whatever delta below one, but not under (D): for k = 4, j = 2 the sum is
// 256 + 81 + 0 < 400.
const Rows REDUCED = rows({{20, 0, 0, 0}, {0, 20, 0, 0}, {0, 10, 18, 0}, {0, 0, 9, 16}});

TEST(LllContract, ReducedBasisPassesFromRandomBasesOfItsLattice)
{
    const unsigned long long seed = test::testSeed();
    std::mt19937_64 random(seed);
    std::uniform_int_distribution<int> row(0, 3), factor(-3, 3);
    for (long round = 0; round < test::rounds(5); ++round) {
        Rows in = REDUCED;
        for (int step = 0; step < 12; ++step) { // a random unimodular mix of the rows
            const int i = row(random), j = (i + 1 + row(random) % 3) % 4;
            const QQ f(factor(random));
            for (std::size_t c = 0; c < 4; ++c)
                in[i][c] += f * in[j][c];
        }
        EXPECT_TRUE(lll_contract::lllContract(in, REDUCED, nullptr, Options{})) << test::seedTrace(seed);
        // The mixed basis is not reduced, and it is no reduction of a scaled lattice.
        EXPECT_FALSE(lll_contract::lllContract(REDUCED, in, nullptr, Options{}));
        Rows twice = REDUCED;
        for (auto& r : twice)
            for (QQ& x : r)
                x *= QQ(2);
        EXPECT_FALSE(lll_contract::transformHolds(in, twice, nullptr));
    }
}

TEST(LllContract, EachConditionCatchesItsFault)
{
    const Rows identity = rows({{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}});
    const Rows swapped = rows({{0, 20, 0, 0}, {20, 0, 0, 0}, {0, 10, 18, 0}, {0, 0, 9, 16}});
    // A wrong U, a U of determinant 2, a zero row.
    EXPECT_FALSE(lll_contract::lllContract(REDUCED, swapped, &identity, Options{}));
    EXPECT_TRUE(lll_contract::lllContract(REDUCED, REDUCED, &identity, Options{}));
    const Rows doubled = rows({{2, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}});
    EXPECT_FALSE(lll_contract::transformHolds(identity, doubled, &doubled));
    EXPECT_FALSE(lll_contract::transformHolds(rows({{1, 0}, {0, 0}}), rows({{1, 0}, {0, 0}}), nullptr));
    // Dependent rows: only a given U can be checked.
    const Rows exchange = rows({{0, 1}, {1, 0}});
    EXPECT_TRUE(lll_contract::transformHolds(rows({{2}, {3}}), rows({{3}, {2}}), &exchange));
    EXPECT_FALSE(lll_contract::transformHolds(rows({{2}, {3}}), rows({{3}, {2}}), nullptr));
    // (D) is stronger than (L).
    Options deep;
    deep.deep = true;
    EXPECT_FALSE(lll_contract::lllContract(REDUCED, REDUCED, nullptr, deep));
    // mu = 1/2 + 10^-7: only the tolerant mode lets it pass; (L) fails for a long row first.
    const Rows nearHalf = rows({{10000000, 0}, {5000001, 10000000}});
    Options tolerant;
    tolerant.tolerant = true;
    EXPECT_FALSE(lll_contract::lllContract(nearHalf, nearHalf, nullptr, Options{}));
    EXPECT_TRUE(lll_contract::lllContract(nearHalf, nearHalf, nullptr, tolerant));
    EXPECT_FALSE(
        lll_contract::lllContract(rows({{0, 3}, {1, 0}}), rows({{0, 3}, {1, 0}}), nullptr, tolerant));
}

TEST(LllContract, LongDoubleEntriesConvertExactly)
{
    EXPECT_EQ(lll_contract::exactValue(std::ldexp(3.0L, 70)), QQ("3541774862152233910272"));
    EXPECT_EQ(lll_contract::exactValue(-0.375L), QQ("-3/8"));
    EXPECT_EQ(lll_contract::exactValue(-9007199254740993.0L), QQ(-9007199254740993LL));
}

} // namespace
} // namespace latopt
