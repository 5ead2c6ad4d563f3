#include "lattice/lattice.h"

#include "arith/qq.h"
#include "base/exceptions.h"
#include "linalg/hermite_form.h"
#include "lll_contract.h"
#include "test_seed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace latopt {
namespace {

using lll_contract::exactValue;
using lll_contract::isInteger;
using testing_support::hermiteForm;

// Equations only: m = 1..3 rows over n = m + 1..7 variables in [lx, lx + 1..3], lx in -1..1;
// coefficients in -3..3, a third of the rows doubled; the right side that of a point of the box,
// a third of them plus one (where the box reaches it), so that some systems have no integer solution.
std::string randomSystem(std::mt19937_64& random)
{
    auto draw = [&](long count) { return static_cast<long>(random() % static_cast<unsigned long>(count)); };
    const long m = 1 + draw(3), n = m + 1 + draw(7 - m);
    std::vector<long> lower, upper, point;
    std::string dx, lx, rx, Ag, bg;
    for (long j = 0; j < n; ++j) {
        lower.push_back(draw(3) - 1);
        upper.push_back(lower[j] + 1 + draw(3));
        point.push_back(lower[j] + draw(upper[j] - lower[j] + 1));
        dx += "0 ";
        lx += std::to_string(lower[j]) + " ";
        rx += std::to_string(upper[j]) + " ";
    }
    for (long i = 0, factor = 1 + (draw(3) == 0); i < m; ++i, factor = 1 + (draw(3) == 0)) {
        long value = 0, high = 0;
        Ag += "[ ";
        for (long j = 0; j < n; ++j) {
            const long a = factor * (j == 0 ? 1 + draw(3) : draw(7) - 3);
            value += a * point[j];
            high += a * (a < 0 ? lower[j] : upper[j]);
            Ag += std::to_string(a) + " ";
        }
        Ag += "] ";
        bg += std::to_string(value + (draw(3) == 0 && value < high)) + " ";
    }
    return "[ ] [ ] [ " + Ag + "] [ " + bg + "] [ ] [ ] [ ] [ " + dx + "] [ " + lx + "] [ " + rx + "]";
}

// The lattice of a program text after the preparation of its own program, with no limit on the
// solutions (the first would end the run: the embedding checks the vector that proves the system
// solvable).
template <class L>
std::unique_ptr<L> prepared(const std::string& text, Vorm<QQ>& read)
{
    auto lattice = std::make_unique<L>();
    std::istringstream stream(text);
    stream >> read;
    lattice->unprepared._assign(read);
    lattice->prepareVormByUnprepared(false, true);
    lattice->params.sol = 0L;
    return lattice;
}

// A basis of the integer solutions y = (x, t) of the prepared Ag x = t bg (whose image has
// 2 c x[j] - R t in the column of variable j and t K in the marker's): with M = [Ag | -bg], the rows
// of the Hermite form of [M^T | I] whose part from M is zero (the others stay independent there).
template <class L>
Matrix<QQ> equationKernel(const L& lattice)
{
    const long m = lattice.Ag.rowCount, d = lattice.Ag.colCount + 1;
    Matrix<QQ> rows(d, m + d);
    for (long j = 1; j <= d; ++j) {
        for (long i = 1; i <= m; ++i)
            rows[j][i] = exactValue(j < d ? lattice.Ag[i][j] : -lattice.bg[i]);
        rows[j][m + j] = QQ(1L);
    }
    // The form is echelon: the rows with a zero part from M come last.
    const Matrix<QQ> form = hermiteForm(rows);
    long first = 1;
    while (first <= form.rowCount && Vector<QQ>(form[first]).leadingIndex() <= m)
        ++first;
    return form.rows(first, form.rowCount).cols(m + 1, m + d);
}

// The untrimmed rows of B read back as (x, t) by the column formula (each must come out integral),
// against the integer solutions of the prepared equations; each row with the marker +-K maps by
// lat2opt to a solution of the file's equations.
template <class L>
void expectKernelBasis(const L& lattice, const Vorm<QQ>& file, const Matrix<QQ>& kernel)
{
    const long n = lattice.rx.dimension(), s = lattice.dimN - n - 1;
    ASSERT_EQ(lattice.dimB, n + 1 - lattice.Ag.rowCount);
    const auto U = lattice.removeTranslationAndScaling(lattice.B);
    const QQ K = exactValue(lattice.inhomogenousConstant), R = exactValue(lattice.R);
    Matrix<QQ> rows(lattice.dimB, n + 1);
    for (long i = 1; i <= lattice.dimB; ++i) {
        const QQ t = exactValue(U[i][lattice.dimN]) / K;
        ASSERT_TRUE(isInteger(t)) << "row " << i;
        for (long j = 1; j <= n; ++j) {
            const QQ x = (exactValue(U[i][s + j]) + R * t) / (QQ(2L) * exactValue(lattice.c[s + j]));
            ASSERT_TRUE(isInteger(x)) << "row " << i << " variable " << j;
            rows[i][j] = x;
        }
        rows[i][n + 1] = t;
        if (t == QQ(1L) || t == QQ(-1L)) {
            Vector<decltype(lattice.R)> x;
            ASSERT_EQ(lattice.lat2opt(U[i], x, true, false), 1);
            Vector<QQ> exact(x.dimension());
            for (long j = 1; j <= x.dimension(); ++j)
                exact[j] = exactValue(x[j]);
            EXPECT_EQ(file.Ag * exact, file.bg) << "row " << i;
        }
    }
    EXPECT_TRUE(hermiteForm(rows) == hermiteForm(kernel))
        << "the rows span another lattice than the solutions";
}

template <class L>
class AardalTyped : public testing::Test {
};
using LatticeTypes = testing::Types<Lattice<QQ, long double>, Lattice<long double, long double>>;
TYPED_TEST_SUITE(AardalTyped, LatticeTypes);

// Random equation systems. After the reduction and the shift the n + 1 - m rows are a basis of the
// integer solutions (x, t) of Ag x = t bg in lattice coordinates; the extraction reaches the
// smallest marker of that lattice, gcd(t) K, so it finds K exactly when the system has an integer
// solution; and then the whole embedding keeps that basis.
TYPED_TEST(AardalTyped, RowsSpanTheIntegerSolutionsOfTheEquations)
{
    const unsigned long long seed = test::testSeed();
    SCOPED_TRACE(test::seedTrace(seed));
    std::mt19937_64 random(seed);
    long exactRedo = 0, solvable = 0, unsolvable = 0;
    const long count = test::rounds(30);
    for (long round = 1; round <= count; ++round) {
        const std::string text = randomSystem(random);
        SCOPED_TRACE(text);
        Vorm<QQ> file;
        auto lattice = prepared<TypeParam>(text, file);
        const Matrix<QQ> kernel = equationKernel(*lattice);
        QQ markers(0L); // the gcd of the t of the solutions
        for (long i = 1; i <= kernel.rowCount; ++i)
            markers = Math::ggt(markers, kernel[i][kernel.colCount]);
        try {
            lattice->prepareLattice(true);
            lattice->aardalReduce();
            lattice->lshiftLattice(-1);
            expectKernelBasis(*lattice, file, kernel);
            const auto v = lattice->extractCurrentInhomogenousVector();
            const QQ marker = v.dimension() == 0 ? QQ(0L) : exactValue(v[lattice->dimN]);
            EXPECT_EQ(Math::abs(marker), markers * exactValue(lattice->inhomogenousConstant))
                << "for a gcd of " << markers;
            EXPECT_EQ(v.dimension() != 0 && lattice->inhomogenousComponentIsMinimal(v, false),
                      markers == QQ(1L));
            ++(markers == QQ(1L) ? solvable : unsolvable);
            if (markers != QQ(1L)) continue;
            Vorm<QQ> again;
            auto embedded = prepared<TypeParam>(text, again);
            ASSERT_TRUE(embedded->opt2lat());
            expectKernelBasis(*embedded, file, kernel);
        } catch (const PrecisionException&) {
            ++exactRedo; // the growing weight left long double: the engine redoes it in QQ
        }
    }
    EXPECT_GT(solvable, count / 4);
    EXPECT_GT(unsolvable, 0);
    EXPECT_LT(exactRedo, count / 2);
}

// Systems without an integer solution stop the embedding: 2x = 1 (a marker of 2K at best) and
// x + y = 1, x + y = 2 (no row with a marker at all).
TEST(AardalDeathTest, SystemWithoutIntegerSolutionIsFatal)
{
    using Exact = Lattice<QQ, QQ>;
    for (const std::string text :
         {"[ ] [ ] [ [ 2 ] ] [ 1 ] [ ] [ ] [ ] [ 0 ] [ 0 ] [ 3 ]",
          "[ ] [ ] [ [ 1 1 ] [ 1 1 ] ] [ 1 2 ] [ ] [ ] [ ] [ 0 0 ] [ 0 0 ] [ 3 3 ]"}) {
        EXPECT_EXIT(
            {
                Vorm<QQ> file;
                prepared<Exact>(text, file)->opt2lat();
            },
            testing::ExitedWithCode(1),
            "^\n\\*\\*\\* FAIL: The equation system has no integer solution :\\(\n$")
            << text;
    }
}

} // namespace
} // namespace latopt
