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

template <class R1, class R2>
R1 numberOf(const Lattice<R1, R2>&);

// The lattice of a program text (dt At Ag bg Au lu ru dx lx rx): the slack stage on unprepared,
// with target bounds [-6, 5] (tu = 1) if bounded, its copy prepared, opt2lat.
template <class L>
std::unique_ptr<L> embedded(const std::string& text, bool bounded = false)
{
    using T = decltype(numberOf(std::declval<L>()));
    auto lattice = std::make_unique<L>();
    Vorm<QQ> read;
    std::istringstream stream(text);
    stream >> read;
    lattice->unprepared._assign(read);
    lattice->unprepared.slackStage(false, false);
    if (bounded) {
        Precision::conv(QQ(-6L), lattice->unprepared.ltu, false);
        Precision::conv(QQ(5L), lattice->unprepared.rtu, false);
        lattice->unprepared.tu = 1;
    }
    static_cast<Vorm<T>&>(*lattice)._assign(lattice->unprepared);
    lattice->prepareVorm(false);
    EXPECT_TRUE(lattice->opt2lat());
    return lattice;
}

// Vectors between the number types, entry by entry.
template <class S, class T>
Vector<T> converted(const Vector<S>& v)
{
    Vector<T> result(v.dimension());
    for (long i = 1; i <= v.dimension(); ++i)
        Precision::conv(v[i], result[i], false);
    return result;
}

Vector<QQ> times(Vector<QQ> v, const QQ& factor)
{
    for (long i = 1; i <= v.dimension(); ++i)
        v[i] *= factor;
    return v;
}

std::string text(const QQ& x)
{
    std::ostringstream s;
    s << x;
    return s.str();
}

// A program without equations after the slack stage: 2-5 variables (fractional and decimal bounds,
// constants, free and half-free ones), a target to be minimised or maximised, two-sided
// inequations through a point x0 with at least 1 on either side (so that sharpening to the box and
// rounding to the grid leave a positive width), and each variable's grid points in [-3, 3].
struct RandomProgram {
    std::string text;
    std::vector<std::vector<QQ>> values;
};

RandomProgram randomProgram(std::mt19937_64& random)
{
    auto pick = [&](std::vector<const char*> list) { return std::string(list[random() % list.size()]); };
    const long n = 2 + static_cast<long>(random() % 4);
    RandomProgram result;
    std::string dx, lx, rx;
    std::vector<QQ> x0;
    for (long j = 0; j < n; ++j) {
        const long kind = j == 0 ? 5 : static_cast<long>(random() % 10); // one variable not constant
        QQ left, right;
        if (kind == 0) { // decimals
            left = QQ(pick({"-1", "-0.5", "0", "0.3"}).c_str());
            right = left + QQ(pick({"0.5", "1", "1.2"}).c_str());
        } else if (kind == 1) { // constant
            left = right = QQ(pick({"-1", "0", "2"}).c_str());
        } else { // widths of 2 at least: 1/2 + 1 would round to a single point, which stops
            left = QQ(pick({"-2", "-1", "0", "1/2", "1"}).c_str());
            right = left + QQ(pick({"2", "3", "5/2"}).c_str());
        }
        const bool freeLeft = kind == 2 || kind == 4, freeRight = kind == 3 || kind == 4;
        dx += kind == 0 ? "1 " : "0 ";
        lx += (freeLeft ? std::string("-inf") : text(left)) + " ";
        rx += (freeRight ? std::string("inf") : text(right)) + " ";
        std::vector<QQ> points;
        for (QQ v(-3L); v <= QQ(3L); v += QQ(kind == 0 ? "1/10" : "1"))
            if ((freeLeft || v >= left) && (freeRight || v <= right)) points.push_back(v);
        x0.push_back(points[random() % points.size()]);
        result.values.push_back(points);
    }
    auto row = [&](std::vector<const char*> coefficients, QQ& value) {
        std::string text = "[ ";
        value = QQ(0L);
        for (long j = 0; j < n; ++j) {
            const std::string a = pick(coefficients);
            value += QQ(a.c_str()) * x0[j];
            text += a + " ";
        }
        return text + "] ";
    };
    QQ value;
    std::string At = row({"1", "-1", "2", "1/2", "0"}, value), Au, lu, ru;
    for (long i = 1 + static_cast<long>(random() % 2); i > 0; --i) {
        Au += row({"1", "-1", "2", "1/3", "3/2", "-1/2"}, value);
        lu += text(value - QQ(pick({"1", "2"}).c_str())) + " ";
        ru += text(value + QQ(pick({"1", "2"}).c_str())) + " ";
    }
    result.text = "[ " + pick({"-inf", "inf"}) + " ] [ " + At + "] [ ] [ ] [ " + Au + "] [ " + lu + "] [ " +
                  ru + "] [ " + dx + "] [ " + lx + "] [ " + rx + "]";
    return result;
}

bool feasible(const Vorm<QQ>& p, const Vector<QQ>& x)
{
    for (long r = 1; r <= p.Au.rowCount; ++r)
        if (p.Au[r] * x < p.lu[r] || p.Au[r] * x > p.ru[r]) return false;
    return true;
}

// Within [l, r], but for the target column (the first, when the target sum is bounded): that one
// is to be brought near 0, not bounded.
bool inBounds(const Vector<QQ>& v, const Vector<QQ>& l, const Vector<QQ>& r, bool targetColumn)
{
    for (long col = targetColumn ? 2 : 1; col <= v.dimension(); ++col)
        if (v[col] < l[col] || v[col] > r[col]) return false;
    return true;
}

template <class L>
class EmbeddingTyped : public testing::Test {
};
using LatticeTypes = testing::Types<Lattice<QQ, long double>, Lattice<long double, long double>>;
TYPED_TEST_SUITE(EmbeddingTyped, LatticeTypes);

// Feasible x of the file's program <-> lattice vectors in [l, r] with the marker K: each feasible
// x of the window maps to an integer combination of the rows (row 1 once) within the bounds and
// back to itself, from its negative too; random combinations within the bounds map to feasible x
// and back to themselves. With a bounded target sum, a sum within its bounds is within [-R, R].
TYPED_TEST(EmbeddingTyped, FeasiblePointsAndLatticeVectorsInTheBoundsCorrespond)
{
    using T = decltype(numberOf(std::declval<TypeParam>()));
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
        const bool bounded = random() % 2 == 0;
        std::unique_ptr<TypeParam> lattice;
        try {
            lattice = embedded<TypeParam>(generated.text, bounded);
        } catch (const PrecisionException&) {
            ++exactRedo; // no exact long double for a third: the engine redoes such work in QQ
            continue;
        }
        ASSERT_EQ(lattice->checkVectorsState, 2);
        Matrix<QQ> B(lattice->dimB, lattice->dimN);
        for (long i = 1; i <= B.rowCount; ++i)
            B[i] = converted<T, QQ>(lattice->B[i]);
        const Vector<QQ> l = converted<T, QQ>(lattice->l), r = converted<T, QQ>(lattice->r);
        const Vector<QQ> atu = converted<T, QQ>(lattice->unprepared.atu);
        QQ K, R;
        Precision::conv(lattice->inhomogenousConstant, K, false);
        Precision::conv(lattice->R, R, false);
        const long s = lattice->dimN - lattice->dimB, n = static_cast<long>(generated.values.size());
        std::vector<size_t> index(n, 0);
        for (long j = 0; j != n;) {
            Vector<QQ> x(n);
            for (long k = 1; k <= n; ++k)
                x[k] = generated.values[k - 1][index[k - 1]];
            if (feasible(original, x)) {
                const Vector<T> xT = converted<QQ, T>(x);
                Vector<T> v, back;
                lattice->opt2lat(xT, v, false);
                const Vector<QQ> vExact = converted<T, QQ>(v);
                // The coefficients read off the marker and the variable columns (row k + 1 is the
                // only one beside row 1 with an entry in column s + k) must be integers that give v.
                Vector<QQ> sum = times(B[1], vExact[lattice->dimN] / K);
                ASSERT_EQ(vExact[lattice->dimN], K);
                for (long k = 1; k < B.rowCount; ++k) {
                    const QQ u = (vExact[s + k] - B[1][s + k]) / B[k + 1][s + k];
                    ASSERT_EQ(floor(u), u) << "x " << x << "\nv " << vExact;
                    sum += times(B[k + 1], u);
                }
                ASSERT_EQ(sum, vExact);
                ASSERT_TRUE(inBounds(vExact, l, r, bounded)) << "x " << x << "\nv " << vExact;
                if (bounded && atu * x >= QQ(-6L) && atu * x <= QQ(5L)) {
                    ASSERT_TRUE(vExact[1] >= -R && vExact[1] <= R) << "x " << x;
                }
                ASSERT_EQ(lattice->lat2opt(v, back, true, false), 1);
                ASSERT_EQ(back, xT);
                ASSERT_EQ(lattice->lat2opt(-v, back, true, false), 1);
                ASSERT_EQ(back, xT);
            }
            for (j = 0; j < n && ++index[j] == generated.values[j].size(); ++j)
                index[j] = 0;
        }
        // Random combinations: row 1 once, the row of each variable from -2 to its width + 1 times
        // (up to 4 times when it has no upper bound).
        for (long trial = 1; trial <= 100; ++trial) {
            Vector<QQ> v = B[1];
            for (long i = 2; i <= lattice->dimB; ++i) {
                QQ width;
                Precision::conv(lattice->rx[i - 1], width, false);
                long top = 3;
                if (width != INF)
                    for (top = 0; QQ(top) < width; ++top) {
                    }
                v += times(B[i], QQ(static_cast<long>(random() % (top + 4)) - 2));
            }
            if (!inBounds(v, l, r, bounded)) continue;
            ++latticeHits;
            const Vector<T> vT = converted<QQ, T>(v);
            Vector<T> x, again;
            ASSERT_EQ(lattice->lat2opt(vT, x, true, false), 1);
            const Vector<QQ> xExact = converted<T, QQ>(x);
            for (long j = 1; j <= xExact.dimension(); ++j)
                ASSERT_TRUE(xExact[j] >= original.lx[j] && xExact[j] <= original.rx[j]) << xExact;
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

TEST(Embedding, PrepareVormByUnpreparedRunsTheSlackStageOnce)
{
    // x1 + x2 >= 1 over [0, 3]^2 gains one slack equation and variable, however often it is
    // prepared; the target bounds of a known target value come only when asked for.
    Vorm<QQ> read;
    std::istringstream stream(
        "[ -inf ] [ [ 1 1 ] ] [ ] [ ] [ [ 1 1 ] ] [ 1 ] [ inf ] [ 0 0 ] [ 0 0 ] [ 3 3 ]");
    stream >> read;
    read.kt = Vector<QQ>("[ 4 ]");
    Lattice<QQ, QQ> lattice;
    lattice.unprepared._assign(read);
    for (const bool force : {false, true, false}) {
        lattice.prepareVormByUnprepared(false, force);
        EXPECT_TRUE(lattice.unprepared.slackified);
        EXPECT_EQ(lattice.unprepared.Ag.rowCount, 1);
        EXPECT_EQ(lattice.Ag.rowCount, 1);
        EXPECT_EQ(lattice.rx.dimension(), 3);
        EXPECT_EQ(lattice.tu, 0);
    }
    lattice.prepareVormByUnprepared(true, false);
    EXPECT_EQ(lattice.Ag.rowCount, 1);
    EXPECT_EQ(lattice.unprepared.tu, 1);
    EXPECT_EQ(lattice.tu, 1);
}

} // namespace
} // namespace latopt
