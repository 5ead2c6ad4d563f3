// triangular_coords_test.cpp: coordinates in bases that are triangular up to the order of rows
// and columns, against the combinations they were made from.
#include "arith/qq.h"
#include "lattice/triangular_coords.h"
#include "test_seed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace latopt {
namespace {

long draw(std::mt19937_64& random, long from, long to)
{
    return from + static_cast<long>(random() % static_cast<unsigned long>(to - from + 1));
}

// d rows of n >= d columns: lower triangular with a nonzero diagonal, then rows and columns
// shuffled.
template <class R>
Matrix<R> shuffledTriangle(std::mt19937_64& random, long d, long n)
{
    Matrix<R> basis(d, n);
    for (long i = 1; i <= d; ++i)
        for (long j = 1; j <= n; ++j)
            basis[i][j] = j == i           ? R(draw(random, 1, 9) * (draw(random, 0, 1) == 0 ? -1L : 1L))
                          : j < i || j > d ? R(draw(random, -50, 50))
                                           : R(0L);
    for (long i = d; i > 1; --i)
        basis.swapRows(i, draw(random, 1, i));
    for (long j = n; j > 1; --j) {
        const long k = draw(random, 1, j);
        for (long i = 1; i <= d; ++i)
            std::swap(basis[i][j], basis[i][k]);
    }
    return basis;
}

template <class R>
class TriangularCoordinatesTest : public testing::Test {
};
using NumberTypes = testing::Types<long double, QQ>;
TYPED_TEST_SUITE(TriangularCoordinatesTest, NumberTypes);

TYPED_TEST(TriangularCoordinatesTest, ProvesExactlyTheIntegerCombinations)
{
    using R = TypeParam;
    const unsigned long long seed = test::testSeed();
    std::mt19937_64 random(seed);
    for (long round = 0; round < test::rounds(40); ++round) {
        SCOPED_TRACE(test::seedTrace(seed) + ", round " + std::to_string(round));
        const long d = draw(random, 1, 12);
        const Matrix<R> basis = shuffledTriangle<R>(random, d, d + draw(random, 0, 3));
        TriangularCoordinates<R> coordinates;
        ASSERT_TRUE(coordinates.build(basis));
        Vector<R> v(basis.colCount);
        for (long i = 1; i <= d; ++i) {
            const R z(draw(random, -1000, 1000));
            for (long j = 1; j <= basis.colCount; ++j)
                v[j] += z * basis[i][j];
        }
        Vector<R> proved;
        ASSERT_TRUE(coordinates.prove(v, proved));
        for (long j = 1; j <= v.dimension(); ++j)
            EXPECT_EQ(proved[j], v[j]);
        // The lattice is integral: a half in one entry leaves it.
        v[draw(random, 1, v.dimension())] += R(1L) / R(2L);
        EXPECT_FALSE(coordinates.prove(v, proved));
    }
}

TEST(TriangularCoordinates, RefusesBasesWithoutTriangularOrder)
{
    TriangularCoordinates<QQ> coordinates;
    // Dense, dependent, a zero row: no pivot order.
    for (const char* text : {"[ [ 1 2 ] [ 3 4 ] ]", "[ [ 1 0 ] [ 2 0 ] ]", "[ [ 1 0 ] [ 0 0 ] ]"}) {
        EXPECT_FALSE(coordinates.build(Matrix<QQ>(text))) << text;
        EXPECT_FALSE(coordinates.available());
    }
}

} // namespace
} // namespace latopt
