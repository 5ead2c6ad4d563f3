#include "linalg/vector.h"

#include "arith/precision.h"
#include "arith/qq.h"
#include "base/exceptions.h"
#include "linalg/random_entries.h"

#include <gtest/gtest.h>

#include <limits>
#include <sstream>
#include <string>

namespace latopt {
namespace {

using testing_support::randomVector;
using testing_support::rounds;
using testing_support::same;
using testing_support::seedTrace;
using testing_support::testSeed;

template <class T>
class VectorArithmetic : public ::testing::Test {
};
using NumberTypes = ::testing::Types<long double, QQ>;
TYPED_TEST_SUITE(VectorArithmetic, NumberTypes);

TYPED_TEST(VectorArithmetic, SumAndDifferenceUndoEachOther)
{
    using T = TypeParam;
    const unsigned long long seed = testSeed();
    SCOPED_TRACE(seedTrace(seed));
    std::mt19937_64 random(seed);
    for (long round = 0; round < rounds(50); ++round) {
        const long n = round % 7;
        const Vector<T> a = randomVector<T>(random, n);
        const Vector<T> b = randomVector<T>(random, n);
        EXPECT_TRUE(same((a + b) - b, a));
        EXPECT_TRUE(same(a + b, b + a));
        EXPECT_TRUE(same(a - b, -(b - a)));
        Vector<T> c = a;
        c += b;
        EXPECT_TRUE(same(c, a + b));
        c -= b;
        EXPECT_TRUE(same(c, a));
        EXPECT_TRUE(same(-a + a, Vector<T>(n)));
    }
}

TYPED_TEST(VectorArithmetic, HadamardProductAndQuotientAreComponentWise)
{
    using T = TypeParam;
    const unsigned long long seed = testSeed();
    SCOPED_TRACE(seedTrace(seed));
    std::mt19937_64 random(seed + 1);
    for (long round = 0; round < rounds(50); ++round) {
        const long n = 1 + round % 6;
        const Vector<T> a = randomVector<T>(random, n);
        const Vector<T> b = randomVector<T>(random, n, true);
        Vector<T> product = a;
        product ^= b;
        for (long i = 1; i <= n; ++i)
            EXPECT_TRUE(same(product[i], T(a[i] * b[i])));
        Vector<T> quotient = product;
        quotient /= b;
        EXPECT_TRUE(same(quotient, a));
    }
}

TYPED_TEST(VectorArithmetic, DotProductIsBilinearAndSymmetric)
{
    using T = TypeParam;
    const unsigned long long seed = testSeed();
    SCOPED_TRACE(seedTrace(seed));
    std::mt19937_64 random(seed + 2);
    for (long round = 0; round < rounds(50); ++round) {
        const long n = round % 9;
        const Vector<T> a = randomVector<T>(random, n);
        const Vector<T> b = randomVector<T>(random, n);
        const Vector<T> c = randomVector<T>(random, n);
        EXPECT_TRUE(same((a + b) * c, T(a * c + b * c)));
        EXPECT_TRUE(same(a * b, b * a));
        EXPECT_TRUE(same((-a) * b, T(-(a * b))));
        Vector<T> scaled = a;
        scaled ^= Vector<T>(n).makeOne();
        EXPECT_TRUE(same(scaled * b, a * b));
    }
    EXPECT_TRUE(same(Vector<T>() * Vector<T>(), Constant<T>::ZERO()));
}

TYPED_TEST(VectorArithmetic, SupNormAndInfinities)
{
    using T = TypeParam;
    EXPECT_TRUE(same(Vector<T>().supNorm(), Constant<T>::ZERO()));
    EXPECT_TRUE(same(Vector<T>("[ 2 -3 1 ]").supNorm(), T(3)));
    EXPECT_EQ(Vector<T>("[ 2 -inf 1 ]").supNorm(), Constant<T>::INF());
    EXPECT_TRUE(Vector<T>("[ 1 -inf 2 ]").hasInfiniteEntry());
    EXPECT_TRUE(Vector<T>("[ inf ]").hasInfiniteEntry());
    EXPECT_FALSE(Vector<T>("[ 1 2 ]").hasInfiniteEntry());
    EXPECT_FALSE(Vector<T>().hasInfiniteEntry());
}

TYPED_TEST(VectorArithmetic, EqualityToleratesTenToTheMinusNineButOrderIsExact)
{
    using T = TypeParam;
    const Vector<T> a("[ 1 2 ]");
    const Vector<T> nearly("[ 1.0000000001 2 ]");
    EXPECT_TRUE(a == nearly);
    EXPECT_TRUE(a <= nearly);
    EXPECT_FALSE(nearly <= a);
    EXPECT_TRUE(nearly >= a);
    EXPECT_FALSE(a >= nearly);
    EXPECT_FALSE(a == Vector<T>("[ 1.000000002 2 ]"));
    EXPECT_TRUE(Vector<T>("[ inf -inf ]") == Vector<T>("[ inf -inf ]"));
    EXPECT_FALSE(Vector<T>("[ inf ]") == Vector<T>("[ -inf ]"));
    EXPECT_FALSE(Vector<T>("[ inf ]") == Vector<T>("[ 5 ]"));
    EXPECT_TRUE(Vector<T>() <= Vector<T>());
    EXPECT_TRUE(Vector<T>() >= Vector<T>());
    EXPECT_TRUE(Vector<T>() == Vector<T>());
}

TYPED_TEST(VectorArithmetic, IsUnitWithinTolerance)
{
    using T = TypeParam;
    EXPECT_TRUE(Vector<T>("[ 0 1.0000000001 0 ]").isUnit(2));
    EXPECT_TRUE(Vector<T>("[ 0.0000000001 1 ]").isUnit(2));
    EXPECT_FALSE(Vector<T>("[ 0 1 0.000000002 ]").isUnit(2));
    EXPECT_FALSE(Vector<T>("[ 0 1 0 ]").isUnit(1));
    EXPECT_FALSE(Vector<T>("[ 0 1.000000002 ]").isUnit(2));
}

TYPED_TEST(VectorArithmetic, MakeIntegerRoundsHalvesAwayFromZero)
{
    using T = TypeParam;
    Vector<T> v("[ 2.5 -2.5 0.3333 -0.6667 7 ]");
    v.makeInteger();
    EXPECT_TRUE(same(v, Vector<T>("[ 3 -3 0 -1 7 ]")));
}

TYPED_TEST(VectorArithmetic, MakeOneResizesOnlyWhenAsked)
{
    using T = TypeParam;
    Vector<T> v("[ 4 5 ]");
    v.makeOne();
    EXPECT_TRUE(same(v, Vector<T>("[ 1 1 ]")));
    v.makeOne(3);
    EXPECT_TRUE(same(v, Vector<T>("[ 1 1 1 ]")));
}

TEST(VectorSum, IsACopyOfTheLeftOperand)
{
    Vector<QQ> left("[ 1 2 ]");
    left.separators = ";";
    left.allowComments = false;
    const Vector<QQ> right("[ 1/2 1/3 ]");
    for (const Vector<QQ>& result : {left + right, left - right}) {
        EXPECT_EQ(result.separators, ";");
        EXPECT_FALSE(result.allowComments);
    }
    EXPECT_EQ((left - right).toString(), "[ 1/2 1:2/3 ]");
}

TEST(VectorLeadingIndex, ExactUnlessTruncating)
{
    EXPECT_EQ(Vector<QQ>("[ 0 0 3 4 ]").leadingIndex(), 3);
    EXPECT_EQ(Vector<QQ>("[ 0 0 ]").leadingIndex(), -1);
    EXPECT_EQ(Vector<QQ>().leadingIndex(), -1);
    const Vector<QQ> tiny("[ 1/1000000000000 2 ]");
    EXPECT_EQ(tiny.leadingIndex(), 1);
    TruncateGuard truncating(true);
    EXPECT_EQ(tiny.leadingIndex(), 2);
}

TEST(VectorEquality, TenToTheMinusNineIsTheExactBoundaryInQQ)
{
    const Vector<QQ> a("[ 1 ]");
    EXPECT_TRUE(a == Vector<QQ>("[ 1000000001/1000000000 ]"));
    EXPECT_FALSE(a == Vector<QQ>("[ 1000000001000000001/1000000000000000000 ]"));
    EXPECT_TRUE(a == Vector<QQ>("[ 999999999/1000000000 ]"));
}

TEST(VectorOverflow, LongDoubleEntriesAreCheckedQQNever)
{
    EXPECT_FALSE(Vector<long double>("[ 1000000000 -5 ]").hasOverflowEntry());
    EXPECT_TRUE(Vector<long double>("[ 3 -1000000001 ]").hasOverflowEntry());
    EXPECT_FALSE(Vector<long double>("[ inf ]").hasOverflowEntry());
    EXPECT_THROW(Vector<long double>("[ 2e18 ]").hasOverflowEntry(), FatalPrecisionException);
    EXPECT_FALSE(Vector<QQ>("[ 100000000000000000000000 ]").hasOverflowEntry());
}

// Text form.

template <class T>
std::string written(const Vector<T>& v)
{
    std::ostringstream stream;
    v.serialize(stream);
    return stream.str();
}

TEST(VectorText, WritesBracketsAndTrailingBlanks)
{
    EXPECT_EQ(written(Vector<long double>()), "[ ]");
    EXPECT_EQ(written(Vector<long double>("[ 1 2 ]")), "[ 1 2 ]");
    EXPECT_EQ(written(Vector<long double>("[ inf -inf 3 ]")), "[ inf -inf 3 ]");
    EXPECT_EQ(written(Vector<QQ>("[ -1/2 11/4 -inf ]")), "[ -1/2 2:3/4 -inf ]");
    EXPECT_EQ(written(Vector<long>("[ 7 -8 ]")), "[ 7 -8 ]");
    EXPECT_EQ(Vector<long double>("[ 0.1 1e-20 ]").toString(), "[ 0.1 1e-20 ]");
}

TEST(VectorText, InfinitiesInEveryEntryType)
{
    const Vector<long double> d("[ inf -inf 3 ]");
    ASSERT_EQ(d.MN, 3);
    EXPECT_EQ(d[1], std::numeric_limits<long double>::infinity());
    EXPECT_EQ(d[2], -std::numeric_limits<long double>::infinity());
    EXPECT_EQ(d[3], 3.0L);
    const Vector<QQ> q("[ inf -inf 3 ]");
    ASSERT_EQ(q.MN, 3);
    EXPECT_TRUE(q[1].isInf && q[1].isPositive);
    EXPECT_TRUE(q[2].isInf && !q[2].isPositive);
    EXPECT_EQ(q[3], QQ(3));
    const Vector<long> l("[ inf -inf 3 ]");
    ASSERT_EQ(l.MN, 3);
    EXPECT_EQ(l[1], 9223372036854775807L);
    EXPECT_EQ(l[2], -9223372036854775807L);
    EXPECT_EQ(l[3], 3L);
}

TEST(VectorText, LenientLayout)
{
    EXPECT_EQ(written(Vector<long double>("[1 2]")), "[ 1 2 ]");
    EXPECT_EQ(written(Vector<long double>("[]")), "[ ]");
    EXPECT_EQ(written(Vector<QQ>("  [ 1 /* two */ 2 // three\n 3\t]")), "[ 1 2 3 ]");
    // The sign is the reader's: a blank behind it is left to the number reader, which skips it.
    EXPECT_EQ(written(Vector<long double>("[ - 3 ]")), "[ -3 ]");
    EXPECT_EQ(written(Vector<QQ>("[ - 3/4 ]")), "[ -3/4 ]");
    EXPECT_EQ(written(Vector<long double>("[ -2.5e3 ]")), "[ -2500 ]");
}

TEST(VectorText, NoOpeningBracketLeavesTheStreamThere)
{
    std::istringstream stream("  x [ 1 ]");
    Vector<long double> v("[ 5 6 ]");
    v.unserialize(stream);
    EXPECT_EQ(v.MN, 0);
    EXPECT_EQ(stream.peek(), 'x');
}

TEST(VectorText, ReadsOneVectorAndStopsBehindIt)
{
    std::istringstream stream("[ 1 2 ] [ 3 ]");
    Vector<QQ> first;
    Vector<QQ> second;
    first.unserialize(stream);
    second.unserialize(stream);
    EXPECT_EQ(written(first), "[ 1 2 ]");
    EXPECT_EQ(written(second), "[ 3 ]");
}

TEST(VectorText, BadStreamOnEntryThrows)
{
    std::istringstream stream("[ 1 ]");
    stream.setstate(std::ios::failbit);
    Vector<long double> v;
    try {
        v.unserialize(stream);
        FAIL() << "no exception";
    } catch (const ReadException& e) {
        EXPECT_STREQ(e.what(), "Vector: bad stream");
    }
}

TEST(VectorText, RandomRoundTripsAreExactInQQ)
{
    const unsigned long long seed = testSeed();
    SCOPED_TRACE(seedTrace(seed));
    std::mt19937_64 random(seed + 3);
    for (long round = 0; round < rounds(100); ++round) {
        Vector<QQ> v = randomVector<QQ>(random, round % 8);
        if (round % 5 == 0 && v.MN > 0) v[1] = round % 2 ? Constant<QQ>::INF() : -Constant<QQ>::INF();
        const Vector<QQ> back(v.toString().c_str());
        EXPECT_TRUE(same(back, v)) << v.toString();
    }
}

TEST(VectorText, LongDoublesReadBackFromSeventeenDigits)
{
    const unsigned long long seed = testSeed();
    SCOPED_TRACE(seedTrace(seed));
    std::mt19937_64 random(seed + 4);
    std::uniform_real_distribution<double> mantissa(-1.0, 1.0);
    std::uniform_int_distribution<int> exponent(-12, 15);
    for (long round = 0; round < rounds(100); ++round) {
        Vector<long double> v(5);
        for (long i = 1; i <= v.MN; ++i)
            v[i] = mantissa(random) * powl(10.0L, exponent(random));
        const Vector<long double> back(v.toString().c_str());
        ASSERT_EQ(back.MN, v.MN);
        for (long i = 1; i <= v.MN; ++i)
            EXPECT_LE(fabsl(back[i] - v[i]), fabsl(v[i]) * 1e-16L) << v.toString();
    }
}

TEST(VectorConversion, AcrossNumberTypesKeepsSeparatorsAndValues)
{
    Vector<QQ> exact("[ 1/4 -3 5:1/2 ]");
    exact.separators = ",";
    const Vector<long double> standard(exact);
    EXPECT_EQ(standard.separators, ",");
    EXPECT_EQ(written(standard), "[ 0.25 -3 5.5 ]");
    const Vector<QQ> back(standard);
    EXPECT_TRUE(same(back, exact));
}

// Fatal paths.

TEST(VectorDeathTest, EachDimensionMismatchHasItsNumber)
{
    Vector<long double> a("[ 1 2 ]");
    const Vector<long double> b("[ 1 ]");
    EXPECT_EXIT(a += b, ::testing::ExitedWithCode(1), "\\*\\*\\* FAIL: Vector: dimension mismatch1\n");
    EXPECT_EXIT(a -= b, ::testing::ExitedWithCode(1), "\\*\\*\\* FAIL: Vector: dimension mismatch2\n");
    EXPECT_EXIT(a ^= b, ::testing::ExitedWithCode(1), "\\*\\*\\* FAIL: Vector: dimension mismatch3\n");
    EXPECT_EXIT(a /= b, ::testing::ExitedWithCode(1), "\\*\\*\\* FAIL: Vector: dimension mismatch4\n");
    EXPECT_EXIT(a + b, ::testing::ExitedWithCode(1), "\\*\\*\\* FAIL: Vector: dimension mismatch5\n");
    EXPECT_EXIT(a - b, ::testing::ExitedWithCode(1), "\\*\\*\\* FAIL: Vector: dimension mismatch6\n");
    EXPECT_EXIT(a * b, ::testing::ExitedWithCode(1), "\\*\\*\\* FAIL: Vector: dimension mismatch8\n");
    EXPECT_EXIT((void)(a == b), ::testing::ExitedWithCode(1),
                "\\*\\*\\* FAIL: Vector: dimension mismatch9\n");
    EXPECT_EXIT((void)(a >= b), ::testing::ExitedWithCode(1),
                "\\*\\*\\* FAIL: Vector: dimension mismatch10\n");
    EXPECT_EXIT((void)(a <= b), ::testing::ExitedWithCode(1),
                "\\*\\*\\* FAIL: Vector: dimension mismatch11\n");
}

TEST(VectorDeathTest, QQHasTheSameMessages)
{
    Vector<QQ> a("[ 1 2 ]");
    const Vector<QQ> b;
    EXPECT_EXIT(a += b, ::testing::ExitedWithCode(1), "\\*\\*\\* FAIL: Vector: dimension mismatch1\n");
    EXPECT_EXIT(a * b, ::testing::ExitedWithCode(1), "\\*\\*\\* FAIL: Vector: dimension mismatch8\n");
    EXPECT_EXIT((void)(a == b), ::testing::ExitedWithCode(1),
                "\\*\\*\\* FAIL: Vector: dimension mismatch9\n");
}

TEST(VectorDeathTest, MalformedText)
{
    EXPECT_EXIT(Vector<long double>("[ 1 ix ]"), ::testing::ExitedWithCode(1),
                "\\*\\*\\* FAIL: Vector: bad input2\n");
    EXPECT_EXIT(Vector<QQ>("[ -inx ]"), ::testing::ExitedWithCode(1), "\\*\\*\\* FAIL: Vector: bad input3\n");
    EXPECT_EXIT(Vector<long double>("[ 1 2"), ::testing::ExitedWithCode(1),
                "\\*\\*\\* FAIL: Vector: bad input\n");
    EXPECT_EXIT(Vector<long double>("[ 1 a ]"), ::testing::ExitedWithCode(1),
                "\\*\\*\\* FAIL: Vector: bad input\n");
    EXPECT_EXIT(Vector<long>("[ 1.5 ]"), ::testing::ExitedWithCode(1), "\\*\\*\\* FAIL: Vector: bad input\n");
}

TEST(VectorDeathTest, IsUnitIndexOutsideTheArray)
{
    const Vector<long double> v("[ 1 0 ]");
    EXPECT_EXIT((void)v.isUnit(3), ::testing::ExitedWithCode(1),
                "\\*\\*\\* FAIL: Array: index out of range\n");
}

} // namespace
} // namespace latopt
