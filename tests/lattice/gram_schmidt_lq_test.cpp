#include "lattice/lattice.h"

#include "arith/precision.h"
#include "arith/qq.h"

#include "test_seed.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>
#include <utility>

namespace latopt {
namespace {

template <class T>
long double toLd(const T& x)
{
    long double result;
    return Precision::conv(x, result, false);
}

template <class Types>
class GramSchmidtLq : public ::testing::Test {
};
using LatticeTypes =
    ::testing::Types<std::pair<long double, long double>, std::pair<QQ, QQ>, std::pair<QQ, long double>>;
TYPED_TEST_SUITE(GramSchmidtLq, LatticeTypes);

// Random integer bases whose first min(rows, cols) rows are independent (dominant diagonal):
// gsNorm[1] ... gsNorm[k] is the exact Gram determinant of rows 1..k, the rows of gsVectors are
// orthogonal with squared lengths gsNorm and point the way of their basis rows, mu times them
// gives the basis row, and the row carries the mask 14. Surplus rows report dimN + 1. After a
// change of row k and its words cleared from k on, the restart ends where a fresh lattice does.
TYPED_TEST(GramSchmidtLq, OrthogonalRowsReproduceTheBasis)
{
    using R1 = typename TypeParam::first_type;
    using R2 = typename TypeParam::second_type;
    const unsigned long long seed = test::testSeed();
    SCOPED_TRACE(test::seedTrace(seed));
    std::mt19937_64 random(seed);
    std::uniform_int_distribution<long> entry(-9, 9);
    for (long round = 1; round <= test::rounds(12); ++round) {
        const long cols = 2 + round % 4;
        const long rows = round % 3 == 0 ? cols + 1 : 1 + round % cols;
        SCOPED_TRACE("rows " + std::to_string(rows) + ", cols " + std::to_string(cols));
        Matrix<R1> basis(rows, cols);
        for (long i = 1; i <= rows; ++i)
            for (long j = 1; j <= cols; ++j)
                basis[i][j] = R1(entry(random) + (i == j ? 40 : 0));
        Lattice<R1, R2> lattice(&basis);
        ASSERT_EQ(lattice.compute_gs_lq(1, 0, false), rows > cols ? cols + 1 : 0);
        const Matrix<QQ> exact(basis);
        long double product = 1;
        for (long k = 1; k <= std::min(rows, cols); ++k) {
            EXPECT_EQ(lattice.rowState[k] & 14, 14);
            product *= toLd(lattice.gsNorm[k]);
            const Matrix<QQ> leading = exact.rows(1, k);
            EXPECT_NEAR(product / toLd((leading * leading.transpose()).determinant()), 1.0L, 1e-9L);
            Vector<long double> sum(cols);
            for (long i = 1; i <= k; ++i) {
                const long double scale = sqrtl(toLd(lattice.gsNorm[i]) * toLd(lattice.gsNorm[k]));
                EXPECT_NEAR(toLd(lattice.gsVectors[k] * lattice.gsVectors[i]), i == k ? scale : 0.0L,
                            1e-9L * scale);
                for (long j = 1; j <= cols; ++j)
                    sum[j] += toLd(lattice.mu[k][i]) * toLd(lattice.gsVectors[i][j]);
            }
            EXPECT_GT(toLd(lattice.gsVectors[k] * Vector<R2>(basis[k])), 0.0L);
            EXPECT_TRUE(sum == Vector<long double>(basis[k]));
        }
        if (rows > cols || rows < 2) continue;
        const long k = 2 + round % (rows - 1);
        basis[k] += basis[1];
        lattice.B[k] = basis[k];
        for (long i = k; i <= rows; ++i)
            lattice.rowState[i] = 0;
        Lattice<R1, R2> fresh(&basis);
        ASSERT_TRUE(lattice.compute_gs_lq(1, 0, false) == 0 && fresh.compute_gs_lq(1, 0, false) == 0);
        EXPECT_TRUE(lattice.gsVectors == fresh.gsVectors && lattice.mu == fresh.mu &&
                    lattice.gsNorm == fresh.gsNorm);
    }
}

// A row that depends on the rows before it is reported by its index, the rows before it done and
// it not; with fail that is fatal.
TYPED_TEST(GramSchmidtLq, DependentRowIsReported)
{
    Matrix<typename TypeParam::first_type> basis("[ [ 3 1 4 1 ] [ 5 9 2 6 ] [ 11 11 10 8 ] [ 1 0 0 0 ] ]");
    Lattice<typename TypeParam::first_type, typename TypeParam::second_type> lattice(&basis);
    EXPECT_EQ(lattice.compute_gs_lq(1, 0, false), 3);
    EXPECT_TRUE(lattice.rowState[2] == 14 && lattice.rowState[3] == 0);
    EXPECT_EXIT(lattice.compute_gs_lq(1, 0, true), testing::ExitedWithCode(1),
                "\\*\\*\\* FAIL: Linear dependency detected - remove first!");
}

} // namespace
} // namespace latopt
