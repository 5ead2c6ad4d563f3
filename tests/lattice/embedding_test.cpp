#include "lattice/lattice.h"

#include "arith/constant.h"
#include "arith/qq.h"
#include "base/exceptions.h"
#include "test_seed.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace latopt {
namespace {

const QQ INF = Constant<QQ>::INF();

template <class L>
struct NumberOf;
template <class R1, class R2>
struct NumberOf<Lattice<R1, R2>> {
    using type = R1;
};

// The embedded lattice of a program text (dt At Ag bg Au lu ru dx lx rx): the slack stage on
// unprepared, its copy prepared, opt2lat. With target bounds, the unprepared target sum is bounded
// by them (tu = 1), before the preparation.
template <class L>
std::unique_ptr<L> embedded(const std::string& text, const QQ* targetBounds = nullptr)
{
    Vorm<QQ> read;
    std::istringstream stream(text);
    stream >> read;
    auto lattice = std::make_unique<L>();
    lattice->unprepared._assign(read);
    lattice->unprepared.slackStage(false, false);
    if (targetBounds != nullptr) {
        Precision::conv(targetBounds[0], lattice->unprepared.ltu, false);
        Precision::conv(targetBounds[1], lattice->unprepared.rtu, false);
        lattice->unprepared.tu = 1;
    }
    static_cast<Vorm<typename NumberOf<L>::type>&>(*lattice)._assign(lattice->unprepared);
    lattice->prepareVorm(false);
    EXPECT_TRUE(lattice->opt2lat());
    return lattice;
}

template <class T>
QQ exact(const T& x)
{
    QQ result;
    Precision::conv(x, result, false);
    return result;
}

template <class T>
Vector<QQ> exact(const Vector<T>& v)
{
    Vector<QQ> result(v.dimension());
    for (long i = 1; i <= v.dimension(); ++i)
        result[i] = exact(v[i]);
    return result;
}

template <class T>
Vector<T> approximate(const Vector<QQ>& v)
{
    Vector<T> result(v.dimension());
    for (long i = 1; i <= v.dimension(); ++i)
        Precision::conv(v[i], result[i], false);
    return result;
}

// A program without equations after the slack stage: 2-5 variables (fractional and decimal
// bounds, constants, free and half-free variables), two-sided inequations through a known point,
// targets to be minimised or maximised. The grid points of each variable in [-3, 3] go with it.
struct RandomProgram {
    std::string text;
    std::vector<std::vector<QQ>> values;
    bool hasTargets = false;
};

RandomProgram randomProgram(std::mt19937_64& random)
{
    auto pick = [&](std::initializer_list<const char*> list) {
        return QQ(*(list.begin() + random() % list.size()));
    };
    auto text = [](const QQ& x) {
        std::ostringstream s;
        s << x;
        return s.str();
    };
    const long n = 2 + static_cast<long>(random() % 4);
    std::vector<QQ> dx(n), lx(n), rx(n), x0(n);
    RandomProgram result;
    for (long j = 0; j < n; ++j) {
        long kind = static_cast<long>(random() % 10);
        if (j == 0 && kind == 1) kind = 5; // one variable at least isn't constant
        dx[j] = QQ(kind == 0 ? 1L : 0L);
        if (kind == 0) {
            lx[j] = pick({"-1", "-0.5", "0", "0.3"});
            rx[j] = lx[j] + pick({"0.5", "1", "1.2"});
        } else if (kind == 1) {
            lx[j] = rx[j] = pick({"-1", "0", "2"});
        } else {
            lx[j] = pick({"-2", "-1", "0", "1/2", "1"});
            // (1/2 + 1 would round to the single point 1: a zero width, which stops.)
            rx[j] = lx[j] + pick({"2", "3", "5/2"});
            if (kind == 2) lx[j] = -INF;
            if (kind == 3) rx[j] = INF;
            if (kind == 4) lx[j] = -INF, rx[j] = INF;
        }
        const QQ unit = dx[j] == QQ(1L) ? QQ("1/10") : QQ(1L);
        std::vector<QQ> points;
        for (QQ v(-3L); v <= QQ(3L); v += unit)
            if (v >= lx[j] && v <= rx[j]) points.push_back(v);
        x0[j] = points[random() % points.size()];
        result.values.push_back(points);
    }
    auto row = [&](std::initializer_list<const char*> coefficients, QQ& value) {
        std::string s = "[ ";
        value = QQ(0L);
        for (long j = 0; j < n; ++j) {
            const QQ a = QQ(*(coefficients.begin() + random() % coefficients.size()));
            value += a * x0[j];
            s += text(a) + " ";
        }
        return s + "] ";
    };
    auto vector = [&](const std::vector<QQ>& v) {
        std::string s = "[ ";
        for (const QQ& x : v)
            s += (x == INF ? std::string("inf") : x == -INF ? std::string("-inf") : text(x)) + " ";
        return s + "]\n";
    };
    QQ value;
    std::vector<QQ> dt;
    std::string At = "[ ";
    for (long i = static_cast<long>(random() % 3); i > 0; --i) {
        At += row({"1", "-1", "2", "1/2", "0"}, value);
        dt.push_back(pick({"-inf", "inf"}));
    }
    result.hasTargets = !dt.empty();
    std::string Au = "[ ";
    std::vector<QQ> lu, ru;
    for (long i = 1 + static_cast<long>(random() % 2); i > 0; --i) { // the reader needs a row
        // No zero coefficient, and at least 1 between the point and either bound: the width
        // stays positive when the bounds are sharpened to the box and rounded to the grid (a zero
        // width is a stop of its own, tested with the normalisation).
        Au += row({"1", "-1", "2", "1/3", "3/2", "-1/2"}, value);
        lu.push_back(value - pick({"1", "2"}));
        ru.push_back(value + pick({"1", "2"}));
    }
    result.text = vector(dt) + At + "]\n[ ]\n[ ]\n" + Au + "]\n" + vector(lu) + vector(ru) + vector(dx) +
                  vector(lx) + vector(rx);
    return result;
}

bool feasible(const Vorm<QQ>& p, const Vector<QQ>& x)
{
    for (long j = 1; j <= x.dimension(); ++j)
        if (x[j] < p.lx[j] || x[j] > p.rx[j]) return false;
    for (long r = 1; r <= p.Au.rowCount; ++r) {
        const QQ value = p.Au[r] * x;
        if (value < p.lu[r] || value > p.ru[r]) return false;
    }
    return true;
}

// Everything in QQ: the basis, the bounds, the constant, R and c of a lattice of either type.
struct ExactLattice {
    Matrix<QQ> B;
    Vector<QQ> l, r, c;
    QQ K, R;
    long dimN = 0, s = 0;

    template <class L>
    explicit ExactLattice(const L& lattice)
    {
        B.setDimensions(lattice.B.rowCount, lattice.B.colCount, false);
        for (long i = 1; i <= B.rowCount; ++i)
            B[i] = exact(lattice.B[i]);
        l = exact(lattice.l);
        r = exact(lattice.r);
        c = exact(lattice.c);
        K = exact(lattice.inhomogenousConstant);
        R = exact(lattice.R);
        dimN = lattice.dimN;
        s = dimN - lattice.dimB;
    }
    // The row coefficients of v read off its marker and its variable columns (row j + 1 is the
    // only one besides row 1 with an entry there); v must be exactly that combination.
    bool isIntegerCombination(const Vector<QQ>& v, Vector<QQ>& u) const
    {
        u.makeZero(B.rowCount);
        u[1] = v[dimN] / K;
        for (long j = 1; j < B.rowCount; ++j)
            u[j + 1] = (v[s + j] - u[1] * B[1][s + j]) / B[j + 1][s + j];
        for (long i = 1; i <= u.dimension(); ++i)
            if (!(floor(u[i]) == u[i])) return false;
        Vector<QQ> sum(dimN);
        sum.makeZero(dimN);
        for (long i = 1; i <= B.rowCount; ++i)
            for (long col = 1; col <= dimN; ++col)
                sum[col] += u[i] * B[i][col];
        for (long col = 1; col <= dimN; ++col)
            if (!(sum[col] == v[col])) return false;
        return true;
    }
    // Within [l, r], except the target column (first, when the target sum is bounded), which is
    // to be brought near 0 rather than bounded.
    bool inBounds(const Vector<QQ>& v, bool targetColumn) const
    {
        for (long col = targetColumn ? 2 : 1; col <= dimN; ++col)
            if (v[col] < l[col] || v[col] > r[col]) return false;
        return true;
    }
};

template <class L>
class EmbeddingTyped : public testing::Test {
};
using LatticeTypes = testing::Types<Lattice<QQ, long double>, Lattice<long double, long double>>;
TYPED_TEST_SUITE(EmbeddingTyped, LatticeTypes);

// Feasible x of the file's program <-> lattice vectors in [l, r] with the marker K: each feasible x
// maps to an integer combination of the rows (row 1 once) in the bounds and back to itself, its
// negative too; a random combination in the bounds maps to a feasible x and back to itself.
TYPED_TEST(EmbeddingTyped, FeasiblePointsAndLatticeVectorsInTheBoundsCorrespond)
{
    using L = TypeParam;
    using T = typename NumberOf<L>::type;
    const unsigned long long seed = test::testSeed();
    SCOPED_TRACE(test::seedTrace(seed));
    std::mt19937_64 random(seed);
    long exactRedo = 0, latticeHits = 0;
    const long count = test::rounds(30);
    for (long round = 1; round <= count; ++round) {
        const RandomProgram generated = randomProgram(random);
        SCOPED_TRACE(generated.text);
        Vorm<QQ> original;
        std::istringstream stream(generated.text);
        stream >> original;
        const QQ bounds[2] = {QQ(-6L), QQ(5L)};
        const bool bounded = generated.hasTargets && random() % 2 == 0;
        std::unique_ptr<L> lattice;
        try {
            lattice = embedded<L>(generated.text, bounded ? bounds : nullptr);
        } catch (const PrecisionException&) {
            ++exactRedo; // fractions with no exact long double: the engine redoes such work in QQ
            continue;
        }
        ASSERT_EQ(lattice->checkVectorsState, 2);
        const ExactLattice exactLattice(*lattice);
        // Every feasible point of the window.
        const long n = static_cast<long>(generated.values.size());
        std::vector<size_t> index(n, 0);
        for (;;) {
            Vector<QQ> x(n);
            for (long j = 1; j <= n; ++j)
                x[j] = generated.values[j - 1][index[j - 1]];
            if (feasible(original, x)) {
                const Vector<T> xT = approximate<T>(x);
                Vector<T> v, back;
                lattice->opt2lat(xT, v, false);
                const Vector<QQ> vExact = exact(v);
                Vector<QQ> u;
                ASSERT_TRUE(exactLattice.isIntegerCombination(vExact, u)) << "x " << x << "\nv " << vExact;
                ASSERT_EQ(u[1], QQ(1L));
                ASSERT_TRUE(exactLattice.inBounds(vExact, bounded)) << "x " << x << "\nv " << vExact;
                // A target sum within its bounds lies within [-R, R] in the target column.
                if (bounded) {
                    const QQ sum = exact(lattice->unprepared.atu) * x;
                    if (sum >= bounds[0] && sum <= bounds[1]) {
                        ASSERT_TRUE(vExact[1] >= -exactLattice.R && vExact[1] <= exactLattice.R) << "x " << x;
                    }
                }
                ASSERT_EQ(lattice->lat2opt(v, back, true, false), 1);
                ASSERT_EQ(back, xT);
                ASSERT_EQ(lattice->lat2opt(-v, back, true, false), 1);
                ASSERT_EQ(back, xT);
            }
            long j = 0;
            while (j < n && ++index[j] == generated.values[j].size())
                index[j++] = 0;
            if (j == n) break;
        }
        // Random combinations: row 1 once, each variable row a small multiple in the variable's
        // range (or around 0 when it is free).
        for (long trial = 1; trial <= 100; ++trial) {
            Vector<QQ> v(exactLattice.dimN);
            v.makeZero(exactLattice.dimN);
            for (long i = 1; i <= lattice->dimB; ++i) {
                long coefficient = 1;
                if (i > 1) {
                    const QQ width = exact(lattice->rx[i - 1]);
                    long top = 3;
                    if (width != INF)
                        for (top = 0; QQ(top) < width; ++top) {
                        }
                    coefficient = static_cast<long>(random() % (top + 4)) - 2;
                }
                for (long col = 1; col <= exactLattice.dimN; ++col)
                    v[col] += QQ(coefficient) * exactLattice.B[i][col];
            }
            if (!exactLattice.inBounds(v, bounded)) continue;
            ++latticeHits;
            const Vector<T> vT = approximate<T>(v);
            Vector<T> x, again;
            ASSERT_EQ(lattice->lat2opt(vT, x, true, false), 1);
            const Vector<QQ> xExact = exact(x);
            ASSERT_TRUE(feasible(original, xExact)) << "v " << v << "\nx " << xExact;
            lattice->opt2lat(x, again, false);
            ASSERT_EQ(again, vT);
        }
    }
    // Thirds and halves have no exact long double, yet a part of the programs go through in it.
    EXPECT_GT(count - exactRedo, count / 5);
    EXPECT_GT(latticeHits, count - exactRedo);
}

TEST(Embedding, VariableShiftedAwayFromZeroIsEmbedded)
{
    // x in [1, 2]: after the shift the width is 1, and the offset doesn't count again.
    const auto lattice =
        embedded<Lattice<QQ, QQ>>("[ -inf ] [ [ 1 ] ] [ ] [ ] [ ] [ ] [ ] [ 0 ] [ 1 ] [ 2 ]");
    ASSERT_EQ(lattice->dimN, 2);
    EXPECT_EQ(lattice->c[1], lattice->R);
    Vector<QQ> v;
    lattice->opt2lat(Vector<QQ>("[ 1 ]"), v, false);
    EXPECT_EQ(v[1], -lattice->R);
    EXPECT_EQ(v[2], lattice->inhomogenousConstant);
    lattice->opt2lat(Vector<QQ>("[ 2 ]"), v, false);
    EXPECT_EQ(v[1], lattice->R);
    EXPECT_FALSE(lattice->boundsSymmetric); // the marker's bounds are K, K
}

TEST(EmbeddingDeathTest, EquationsAreNotEmbeddedYet)
{
    const std::string text = "[ ] [ ] [ [ 1 1 ] ] [ 1 ] [ ] [ ] [ ] [ 0 0 ] [ 0 0 ] [ 3 3 ]";
    EXPECT_EXIT((embedded<Lattice<QQ, QQ>>(text)), testing::ExitedWithCode(1),
                "\\*\\*\\* FAIL: opt2lat: equations are not embedded yet \\(1 in the prepared program\\)");
}

} // namespace
} // namespace latopt
