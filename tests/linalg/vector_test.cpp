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

using testing_support::expectFail;
using testing_support::randomVector;
using testing_support::rounds;
using testing_support::same;
using testing_support::seedTrace;
using testing_support::testSeed;
using testing_support::written;

template <class T>
class VectorArithmetic : public ::testing::Test {
};
using NumberTypes = ::testing::Types<long double, QQ>;
TYPED_TEST_SUITE(VectorArithmetic, NumberTypes);

// Sum, difference, negation, the Hadamard product and quotient and the dot product on random
// vectors: they undo each other, commute, and the dot product is bilinear.
TYPED_TEST(VectorArithmetic, IdentitiesOnRandomVectors)
{
    using T = TypeParam;
    const unsigned long long seed = testSeed();
    SCOPED_TRACE(seedTrace(seed));
    std::mt19937_64 random(seed);
    for (long round = 0; round < rounds(100); ++round) {
        const long n = round % 9;
        const Vector<T> a = randomVector<T>(random, n);
        const Vector<T> b = randomVector<T>(random, n, true);
        const Vector<T> c = randomVector<T>(random, n);
        EXPECT_TRUE(same((a + b) - b, a));
        EXPECT_TRUE(same(a + b, b + a));
        EXPECT_TRUE(same(a - b, -(b - a)));
        EXPECT_TRUE(same(-a + a, Vector<T>(n)));
        Vector<T> d = a;
        d += b;
        EXPECT_TRUE(same(d, a + b));
        d -= b;
        EXPECT_TRUE(same(d, a));
        d ^= b;
        for (long i = 1; i <= n; ++i)
            EXPECT_TRUE(same(d[i], T(a[i] * b[i])));
        d /= b;
        EXPECT_TRUE(same(d, a));
        EXPECT_TRUE(same((a + b) * c, T(a * c + b * c)));
        EXPECT_TRUE(same(a * b, b * a));
        EXPECT_TRUE(same((-a) * b, T(-(a * b))));
    }
}

// Entries within 10^-9 are equal, also for isUnit; <= and >= are exact.
TYPED_TEST(VectorArithmetic, EqualityToleratesTenToTheMinusNineButOrderIsExact)
{
    using T = TypeParam;
    const Vector<T> a("[ 1 2 ]");
    const Vector<T> nearly("[ 1.0000000001 2 ]");
    EXPECT_TRUE(a == nearly);
    EXPECT_TRUE(a <= nearly && !(nearly <= a));
    EXPECT_TRUE(nearly >= a && !(a >= nearly));
    EXPECT_FALSE(a == Vector<T>("[ 1.000000002 2 ]"));
    EXPECT_TRUE(Vector<T>("[ inf -inf ]") == Vector<T>("[ inf -inf ]"));
    EXPECT_FALSE(Vector<T>("[ inf ]") == Vector<T>("[ -inf ]"));
    EXPECT_FALSE(Vector<T>("[ inf ]") == Vector<T>("[ 5 ]"));
    EXPECT_TRUE(Vector<T>() <= Vector<T>() && Vector<T>() >= Vector<T>() && Vector<T>() == Vector<T>());
    EXPECT_TRUE(Vector<T>("[ 0 1.0000000001 0 ]").isUnit(2));
    EXPECT_TRUE(Vector<T>("[ 0.0000000001 1 ]").isUnit(2));
    EXPECT_FALSE(Vector<T>("[ 0 1 0.000000002 ]").isUnit(2));
    EXPECT_FALSE(Vector<T>("[ 0 1 0 ]").isUnit(1));
    EXPECT_FALSE(Vector<T>("[ 0 1.000000002 ]").isUnit(2));
}

// supNorm and infinities; makeInteger rounds halves away from zero; makeOne resizes on request.
TYPED_TEST(VectorArithmetic, SupNormInfinitiesMakeIntegerAndMakeOne)
{
    using T = TypeParam;
    EXPECT_TRUE(same(Vector<T>().supNorm(), Constant<T>::ZERO()));
    EXPECT_TRUE(same(Vector<T>("[ 2 -3 1 ]").supNorm(), T(3)));
    EXPECT_EQ(Vector<T>("[ 2 -inf 1 ]").supNorm(), Constant<T>::INF());
    EXPECT_TRUE(Vector<T>("[ 1 -inf 2 ]").hasInfiniteEntry());
    EXPECT_FALSE(Vector<T>("[ 1 2 ]").hasInfiniteEntry());
    Vector<T> v("[ 2.5 -2.5 0.3333 -0.6667 7 ]");
    v.makeInteger();
    EXPECT_TRUE(same(v, Vector<T>("[ 3 -3 0 -1 7 ]")));
    v.makeOne();
    EXPECT_TRUE(same(v, Vector<T>("[ 1 1 1 1 1 ]")));
    v.makeOne(3);
    EXPECT_TRUE(same(v, Vector<T>("[ 1 1 1 ]")));
}

// In QQ, 10^-9 is the exact boundary of equality; leadingIndex is exact unless truncating.
TEST(VectorQQ, EqualityBoundaryAndLeadingIndex)
{
    const Vector<QQ> a("[ 1 ]");
    EXPECT_TRUE(a == Vector<QQ>("[ 1000000001/1000000000 ]"));
    EXPECT_FALSE(a == Vector<QQ>("[ 1000000001000000001/1000000000000000000 ]"));
    EXPECT_TRUE(a == Vector<QQ>("[ 999999999/1000000000 ]"));
    EXPECT_EQ(Vector<QQ>("[ 0 0 3 4 ]").leadingIndex(), 3);
    EXPECT_EQ(Vector<QQ>("[ 0 0 ]").leadingIndex(), -1);
    const Vector<QQ> tiny("[ 1/1000000000000 2 ]");
    EXPECT_EQ(tiny.leadingIndex(), 1);
    TruncateGuard truncating(true);
    EXPECT_EQ(tiny.leadingIndex(), 2);
}

TEST(VectorOverflow, LongDoubleEntriesAreCheckedQQNever)
{
    EXPECT_FALSE(Vector<long double>("[ 1000000000 -5 ]").hasOverflowEntry());
    EXPECT_TRUE(Vector<long double>("[ 3 -1000000001 ]").hasOverflowEntry());
    EXPECT_FALSE(Vector<long double>("[ inf ]").hasOverflowEntry());
    EXPECT_THROW(Vector<long double>("[ 2e18 ]").hasOverflowEntry(), FatalPrecisionException);
    EXPECT_FALSE(Vector<QQ>("[ 100000000000000000000000 ]").hasOverflowEntry());
}

// Written form of what is read: brackets with blanks, lenient layout, comments, the sign
// separated from its number, infinities in every entry type (long takes the largest value).
TEST(VectorText, ReadsAndWritesTheseForms)
{
    EXPECT_EQ(written(Vector<long double>()), "[ ]");
    EXPECT_EQ(written(Vector<long double>("[1 2]")), "[ 1 2 ]");
    EXPECT_EQ(written(Vector<long double>("[ inf -inf 3 ]")), "[ inf -inf 3 ]");
    EXPECT_EQ(written(Vector<QQ>("[ -1/2 11/4 inf -inf ]")), "[ -1/2 2:3/4 inf -inf ]");
    EXPECT_EQ(written(Vector<long>("[ 7 -8 ]")), "[ 7 -8 ]");
    EXPECT_EQ(Vector<long double>("[ 0.1 1e-20 ]").toString(), "[ 0.1 1e-20 ]");
    EXPECT_EQ(written(Vector<QQ>("  [ 1 /* two */ 2 // three\n 3\t]")), "[ 1 2 3 ]");
    EXPECT_EQ(written(Vector<long double>("[ - 3 ]")), "[ -3 ]");
    EXPECT_EQ(written(Vector<QQ>("[ - 3/4 ]")), "[ -3/4 ]");
    EXPECT_EQ(written(Vector<long double>("[ -2.5e3 ]")), "[ -2500 ]");
    const Vector<long> l("[ inf -inf 3 ]");
    EXPECT_EQ(l[1], std::numeric_limits<long>::max());
    EXPECT_EQ(l[2], -std::numeric_limits<long>::max());
}

// The reader takes one vector and stops behind it; without "[" it leaves the stream there; a
// stream bad on entry throws.
TEST(VectorText, WhereTheReaderStops)
{
    std::istringstream stream("[ 1 2 ] [ 3 ]  x [ 1 ]");
    Vector<QQ> first, second, third("[ 5 6 ]");
    first.unserialize(stream);
    second.unserialize(stream);
    third.unserialize(stream);
    EXPECT_EQ(written(first), "[ 1 2 ]");
    EXPECT_EQ(written(second), "[ 3 ]");
    EXPECT_EQ(third.MN, 0);
    EXPECT_EQ(stream.peek(), 'x');
    stream.setstate(std::ios::failbit);
    try {
        first.unserialize(stream);
        FAIL() << "no exception";
    } catch (const ReadException& e) {
        EXPECT_STREQ(e.what(), "Vector: bad stream");
    }
}

TEST(VectorText, RandomRoundTrips)
{
    const unsigned long long seed = testSeed();
    SCOPED_TRACE(seedTrace(seed));
    std::mt19937_64 random(seed + 3);
    std::uniform_real_distribution<double> mantissa(-1.0, 1.0);
    std::uniform_int_distribution<int> exponent(-12, 15);
    for (long round = 0; round < rounds(100); ++round) {
        // Exact in QQ, infinities included.
        Vector<QQ> v = randomVector<QQ>(random, round % 8);
        if (round % 5 == 0 && v.MN > 0) v[1] = round % 2 ? Constant<QQ>::INF() : -Constant<QQ>::INF();
        EXPECT_TRUE(same(Vector<QQ>(v.toString().c_str()), v)) << v.toString();
        // Long doubles come back from 17 significant digits.
        Vector<long double> d(5);
        for (long i = 1; i <= d.MN; ++i)
            d[i] = mantissa(random) * powl(10.0L, exponent(random));
        const Vector<long double> back(d.toString().c_str());
        ASSERT_EQ(back.MN, d.MN);
        for (long i = 1; i <= d.MN; ++i)
            EXPECT_LE(fabsl(back[i] - d[i]), fabsl(d[i]) * 1e-16L) << d.toString();
    }
}

TEST(VectorTextSettings, TravelWithConversionsSumsAndDifferences)
{
    Vector<QQ> exact("[ 1/4 -3 5:1/2 ]");
    exact.separators = ",";
    const Vector<long double> standard(exact);
    EXPECT_EQ(standard.separators, ",");
    EXPECT_EQ(written(standard), "[ 0.25 -3 5.5 ]");
    EXPECT_TRUE(same(Vector<QQ>(standard), exact));
    // A sum or difference is a copy of the left operand, text settings included.
    Vector<QQ> leftOperand("[ 1 2 ]");
    leftOperand.separators = ";";
    leftOperand.allowComments = false;
    const Vector<QQ> rightOperand("[ 1/2 1/3 ]");
    for (const Vector<QQ>& result : {leftOperand + rightOperand, leftOperand - rightOperand})
        EXPECT_TRUE(result.separators == ";" && !result.allowComments);
    EXPECT_EQ((leftOperand - rightOperand).toString(), "[ 1/2 1:2/3 ]");
}

template <class T>
class VectorDeathTest : public ::testing::Test {
};
TYPED_TEST_SUITE(VectorDeathTest, NumberTypes);

// Each binary operation has its own numbered message, in both number types.
TYPED_TEST(VectorDeathTest, EachDimensionMismatchHasItsNumber)
{
    using T = TypeParam;
    Vector<T> a("[ 1 2 ]");
    const Vector<T> b("[ 1 ]");
    expectFail([&] { a += b; }, "Vector: dimension mismatch1");
    expectFail([&] { a -= b; }, "Vector: dimension mismatch2");
    expectFail([&] { a ^= b; }, "Vector: dimension mismatch3");
    expectFail([&] { a /= b; }, "Vector: dimension mismatch4");
    expectFail([&] { (void)(a + b); }, "Vector: dimension mismatch5");
    expectFail([&] { (void)(a - b); }, "Vector: dimension mismatch6");
    expectFail([&] { (void)(a * b); }, "Vector: dimension mismatch8");
    expectFail([&] { (void)(a == b); }, "Vector: dimension mismatch9");
    expectFail([&] { (void)(a >= b); }, "Vector: dimension mismatch10");
    expectFail([&] { (void)(a <= b); }, "Vector: dimension mismatch11");
}

TEST(VectorTextDeathTest, MalformedTextAndIsUnitOutsideTheArray)
{
    expectFail([] { Vector<long double>("[ 1 ix ]"); }, "Vector: bad input2");
    expectFail([] { Vector<QQ>("[ -inx ]"); }, "Vector: bad input3");
    expectFail([] { Vector<long double>("[ 1 2"); }, "Vector: bad input");
    expectFail([] { Vector<long double>("[ 1 a ]"); }, "Vector: bad input");
    expectFail([] { Vector<long>("[ 1.5 ]"); }, "Vector: bad input");
    expectFail([] { (void)Vector<long double>("[ 1 0 ]").isUnit(3); }, "Array: index out of range");
}

} // namespace
} // namespace latopt
