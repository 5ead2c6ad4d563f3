#include "lattice/lattice.h"

#include "arith/qq.h"
#include "base/exceptions.h"

#include "test_seed.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <utility>

namespace latopt {
namespace {

template <class Types>
class Coords : public ::testing::Test {
};
using LatticeTypes =
    ::testing::Types<std::pair<long double, long double>, std::pair<QQ, QQ>, std::pair<QQ, long double>>;
TYPED_TEST_SUITE(Coords, LatticeTypes);

// Random integer bases (independent rows, fewer or as many as the columns, or one row more),
// trimmed by scale factors and then changed by a unimodular row operation, as a reduction
// would: every route finds coordinates of v = x B that give v back, and x itself for independent
// rows; v plus half a basis row has none unless noRound. For independent rows the
// transformation routes are reached by spoiling the earlier routes' data: without consistency
// the top of the stack is rebuilt to the operation; with it the stack is trusted, so a stale one
// fails until it holds the operation.
TYPED_TEST(Coords, EveryRouteReproducesLatticeVectors)
{
    using R1 = typename TypeParam::first_type;
    using R2 = typename TypeParam::second_type;
    const unsigned long long seed = test::testSeed();
    SCOPED_TRACE(test::seedTrace(seed));
    std::mt19937_64 random(seed);
    std::uniform_int_distribution<long> entry(-5, 5);
    for (long round = 1; round <= test::rounds(12); ++round) {
        const long cols = 2 + round % 3;
        const long rows = round % 3 == 0 ? cols + 1 : 1 + round % cols;
        const bool independent = rows <= cols;
        SCOPED_TRACE("rows " + std::to_string(rows) + ", cols " + std::to_string(cols));
        Matrix<R1> basis(rows, cols);
        Vector<R1> x(rows);
        for (long i = 1; i <= rows; ++i) {
            x[i] = R1(entry(random) + (i == 1 ? 20 : 0));
            for (long j = 1; j <= cols; ++j)
                basis[i][j] = R1(i == j ? 10 + entry(random) : entry(random));
        }
        Lattice<R1, R2> lattice(&basis);
        for (long j = 1; j <= cols; ++j)
            lattice.trimming[j] = j % 3 == 0 ? R1(-2) : R1(1) / R1(1 + j % 2);
        lattice.setTrimming(true, false);
        Matrix<R1> current = basis;
        if (rows >= 2) current[1] += current[2] + current[2];
        lattice.B = lattice.applyScalingAndTranslation(current);
        const Vector<R1> v = x * current;
        const Vector<R1> trimmed = lattice.handleScalingAndTranslation(v, true);
        CoordsComputation<R1, R2>& coords = lattice.coords;
        // With dependent rows a solution with free coordinates 0 may be fractional: a route may
        // then fail, but what it finds must hold.
        Vector<R1> c;
        bool found = coords.lsolve(c, v, false, false);
        EXPECT_TRUE(independent ? found && c == x : !found || c * current == v);
        found = coords.lsolve(c, v, true, false);
        EXPECT_TRUE((found || !independent) && (!found || c * basis == v));
        EXPECT_TRUE(coords.qsolve(c, trimmed, false) == independent && (!independent || c == x));
        found = coords.compute(v, c, false);
        EXPECT_TRUE(independent ? found && c == x : !found || c * lattice.B == trimmed);
        if (!independent) continue;
        Vector<R1> off = v;
        for (long j = 1; j <= cols; ++j)
            off[j] += current[1][j] / R1(2);
        EXPECT_FALSE(coords.compute(off, c, false));
        EXPECT_TRUE(coords.compute(off, c, true) &&
                    c * lattice.B == lattice.handleScalingAndTranslation(off, true));
        Matrix<R1>& echelon = coords.currentCache.echelon;
        for (long i = 1; i <= echelon.rowCount; ++i)
            echelon[i].makeZero();
        for (long i = 1; i <= lattice.gsVectors.rowCount; ++i)
            lattice.gsVectors[i].makeZero();
        ASSERT_FALSE(coords.lsolve(c, v, false, false) || coords.qsolve(c, trimmed, false));
        ASSERT_TRUE(coords.compute(v, c, false) && c == x);
        const Matrix<R1> T = lattice.TT[1];
        EXPECT_TRUE(T * basis == current);
        lattice.params.consistency = true;
        lattice.TT[1].makeZero(rows, rows);
        for (long i = 1; i <= rows; ++i)
            lattice.TT[1][i][i] = R1(1);
        EXPECT_EQ(coords.compute(v, c, false), rows < 2);
        lattice.TT[1] = T;
        EXPECT_TRUE(coords.compute(v, c, false) && c * lattice.B == trimmed);
    }
}

// A filled cache answers by substitution: with A replaced behind its back it still solves the
// old system, until it is emptied. A copy of the lattice takes the caches along, a reset empties
// them. A row of B outside the lattice of B_save makes the rebuild of the stack throw.
TYPED_TEST(Coords, CacheAndStackCases)
{
    using R1 = typename TypeParam::first_type;
    ComputeCoordsSolveCache<R1> cache;
    const Vector<R1> b("[ 3 4 ]");
    Vector<R1> x;
    cache.A = Matrix<R1>("[ [ 2 1 ] [ 1 3 ] ]");
    ASSERT_TRUE(cache.solve(x, b) && x == Vector<R1>("[ 1 1 ]"));
    cache.A = Matrix<R1>("[ [ 1 0 ] [ 0 1 ] ]");
    ASSERT_TRUE(cache.solve(x, b) && x == Vector<R1>("[ 1 1 ]"));
    cache.clear();
    cache.A = Matrix<R1>("[ [ 1 0 ] [ 0 1 ] ]");
    ASSERT_TRUE(cache.solve(x, b) && x == b);

    const Matrix<QQ> basis("[ [ 2 0 ] [ 0 2 ] ]");
    Lattice<QQ, QQ> exact(&basis);
    Vector<QQ> coordinates;
    ASSERT_TRUE(exact.coords.lsolve(coordinates, Vector<QQ>("[ 2 4 ]"), false, false));
    ASSERT_TRUE(exact.coords.lsolve(coordinates, Vector<QQ>("[ 2 4 ]"), true, false));
    Lattice<R1, typename TypeParam::second_type> lattice;
    lattice._assign(exact, false);
    EXPECT_FALSE(lattice.coords.currentCache.empty() || lattice.coords.savedCache.empty());
    lattice.resetLattice(&lattice.B_save, false);
    EXPECT_TRUE(lattice.coords.currentCache.empty() && lattice.coords.savedCache.empty());
    lattice.B = Matrix<R1>("[ [ 3 0 ] [ 0 2 ] ]");
    EXPECT_THROW(lattice.coords.compute(Vector<R1>("[ 2 2 ]"), x, false), PrecisionException);
}

} // namespace
} // namespace latopt
