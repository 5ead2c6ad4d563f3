#include "arith/constant.h"
#include "arith/math.h"
#include "arith/qq.h"
#include "base/exceptions.h"
#include "program/program_text.h"
#include "program/vorm.h"
#include "test_seed.h"

#include <gtest/gtest.h>

#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace latopt {
namespace {

using testing_support::parse;
using testing_support::written;

using testing_support::describe;

const QQ INF = Constant<QQ>::INF();

bool isInfinite(const QQ& x)
{
    return Math::abs(x) == INF;
}

bool integral(const QQ& x)
{
    return isInfinite(x) || floor(x) == x;
}

template <class T>
Vorm<QQ> preparedIn(const Vorm<QQ>& read);

// The slack stage and prepareVorm in T, the result back in QQ (exact: the data are integers). A
// PrecisionException in long double (fractions such as 1/3 have no exact factor there) sends the
// work to QQ, as the engine does; exactRedo counts those.
template <class T>
Vorm<QQ> prepared(const Vorm<QQ>& read, long& exactRedo)
{
    try {
        return preparedIn<T>(read);
    } catch (const PrecisionException&) {
        ++exactRedo;
        return preparedIn<QQ>(read);
    }
}

template <class T>
Vorm<QQ> preparedIn(const Vorm<QQ>& read)
{
    Vorm<T> unprepared;
    unprepared._assign(read);
    unprepared.slackStage(false, false);
    // A second slack stage on the same program changes nothing.
    Vorm<T> again(unprepared);
    again.slackStage(false, false);
    EXPECT_EQ(describe(again), describe(unprepared));
    Vorm<T> program(unprepared);
    program.prepareVorm(false);
    Vorm<QQ> exact;
    exact._assign(program);
    return exact;
}

// The original program: bounds, equations, inequations; x lies on the grid by construction.
bool feasible(const Vorm<QQ>& p, const Vector<QQ>& x)
{
    for (long j = 1; j <= x.dimension(); ++j)
        if (x[j] < p.lx[j] || x[j] > p.rx[j]) return false;
    for (long r = 1; r <= p.Ag.rowCount; ++r)
        if (!(p.Ag[r] * x == p.bg[r])) return false;
    for (long r = 1; r <= p.Au.rowCount; ++r) {
        const QQ value = p.Au[r] * x;
        if (value < p.lu[r] || value > p.ru[r]) return false;
    }
    return true;
}

// The prepared program seen from the original variables: constants must match; the others go
// into units of 10^-dx, change sign where swapped and lose their offset; the slacks, fixed by the
// equations (their columns are independent once each target pair counts as one free difference),
// must be integers, those of inequations at least 0.
class PreparedFeasibility {
public:
    PreparedFeasibility(const Vorm<QQ>& original, const Vorm<QQ>& prepared) : original(original), p(prepared)
    {
        n = p.rx.dimension();
        slacks = p.slackInequationCount + p.slackTargetVariableCount;
        mains = n - slacks;
        // Unknowns: the inequation slacks, then the first column of each target pair.
        for (long j = mains + 1; j <= mains + p.slackInequationCount; ++j)
            unknownColumns.push_back(j);
        for (long j = mains + p.slackInequationCount + 1; j <= n; j += 2)
            unknownColumns.push_back(j);
        if (p.Ag.rowCount == 0 || unknownColumns.empty()) return;
        Matrix<QQ> S(p.Ag.rowCount, static_cast<long>(unknownColumns.size()));
        for (long r = 1; r <= p.Ag.rowCount; ++r)
            for (long k = 1; k <= S.colCount; ++k)
                S[r][k] = p.Ag[r][unknownColumns[k - 1]];
        Matrix<QQ> Nr;
        S.normierte_zeilenstufenform(Tr, Nr, pivots);
        EXPECT_EQ(pivots.dimension(), S.colCount) << "slack columns dependent";
    }

    bool accepts(const Vector<QQ>& x) const
    {
        // 1. Constants and the prepared main variables.
        Vector<QQ> y(n);
        long k = 0;
        for (long j = 1; j <= x.dimension(); ++j) {
            const long c = p.constantVariables.indexOf(j);
            if (c > 0) {
                if (!(p.constantVariables[c].right == x[j])) return false;
                continue;
            }
            ++k;
            QQ v = x[j] * original.decimalFactor(j);
            for (long s = 1; s <= p.swappedHalfFreeVariables.dimension(); ++s)
                if (p.swappedHalfFreeVariables[s] == k) v = -v;
            if (!isInfinite(p.lx[k])) v -= p.lx[k];
            y[k] = v;
        }
        EXPECT_EQ(k, mains);
        for (long j = 1; j <= mains; ++j)
            if (y[j] > p.rx[j] || (!isInfinite(p.lx[j]) && y[j] < QQ(0))) return false;
        // 2. The slacks from the equations.
        Vector<QQ> rest(p.Ag.rowCount);
        for (long r = 1; r <= p.Ag.rowCount; ++r)
            rest[r] = p.bg[r] - p.Ag[r] * y;
        if (unknownColumns.empty() || p.Ag.rowCount == 0) {
            for (long r = 1; r <= rest.dimension(); ++r)
                if (!(rest[r] == QQ(0))) return false;
        } else {
            Vector<QQ> s(static_cast<long>(unknownColumns.size()));
            if (!Tr.computeX0(s, pivots, rest)) return false;
            for (long u = 1; u <= s.dimension(); ++u) {
                if (!integral(s[u])) return false;
                if (u <= p.slackInequationCount && s[u] < QQ(0)) return false;
                y[unknownColumns[u - 1]] = s[u];
            }
        }
        // 3. Inequations.
        for (long r = 1; r <= p.Au.rowCount; ++r) {
            const QQ value = p.Au[r] * y;
            if (value < p.lu[r] || value > p.ru[r]) return false;
        }
        return true;
    }

private:
    const Vorm<QQ>& original;
    const Vorm<QQ>& p;
    long n = 0, slacks = 0, mains = 0;
    std::vector<long> unknownColumns;
    Matrix<QQ> Tr;
    Array<long> pivots;
};

// Random programs of 2-4 variables with a known feasible point x0, as .opt text, and the grid
// points of a window around the origin on which both programs are compared.
struct RandomProgram {
    std::string text;
    std::vector<std::vector<QQ>> values; // per variable, its grid points in the window
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
    const long n = 2 + static_cast<long>(random() % 3);
    std::vector<QQ> dx(n), lx(n), rx(n), x0(n);
    RandomProgram result;
    for (long j = 0; j < n; ++j) {
        const long kind = static_cast<long>(random() % 10);
        dx[j] = QQ(kind == 0 ? 1L : 0L);
        if (kind == 0) { // decimals: narrow bounds
            lx[j] = pick({"-1", "-0.5", "0", "0.25"});
            rx[j] = lx[j] + pick({"0.5", "1", "1.25"});
        } else if (kind == 1) { // constant
            lx[j] = rx[j] = pick({"-1", "0", "2"});
        } else {
            lx[j] = pick({"-2", "-1", "0", "1/2", "1"});
            rx[j] = lx[j] + pick({"1", "2", "3", "5/2"});
            if (kind == 2) lx[j] = -INF;
            if (kind == 3) rx[j] = INF;
            if (kind == 4) lx[j] = -INF, rx[j] = INF;
        }
        const QQ unit = QQ(1L) / (dx[j] == QQ(1L) ? QQ(10L) : QQ(1L));
        const QQ window(3L);
        std::vector<QQ> points;
        for (QQ v = -window; v <= window; v += unit)
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
    // Targets.
    std::vector<QQ> dt;
    std::string At = "[ ";
    for (long i = static_cast<long>(random() % 3); i > 0; --i) {
        At += row({"1", "-1", "2", "1/2", "-1/4", "0"}, value);
        dt.push_back(pick({"-inf", "inf", "3/2", "2", "-1/4"}));
    }
    // Equations through x0.
    std::string Ag = "[ ";
    std::vector<QQ> bg;
    for (long i = static_cast<long>(random() % 3); i > 0; --i) {
        Ag += row({"1", "-1", "2", "0", "1/2", "-3"}, value);
        bg.push_back(value);
    }
    // Inequations met by x0: two-sided, half-free either way, fake (the reader refuses boundless ones).
    std::string Au = "[ ";
    std::vector<QQ> lu, ru;
    for (long i = 1 + static_cast<long>(random() % 3); i > 0; --i) {
        Au += row({"1", "-1", "2", "0", "1/3", "3/2", "1", "-1/2", "2", "0"}, value);
        const long kind = static_cast<long>(random() % 5);
        lu.push_back(kind == 2 ? -INF : kind == 3 ? value : value - pick({"0", "1/2", "1", "2"}));
        ru.push_back(kind == 1 ? INF : kind == 3 ? value : value + pick({"0", "1/5", "1", "2"}));
    }
    result.text = vector(dt) + At + "]\n" + Ag + "]\n" + vector(bg) + Au + "]\n" + vector(lu) + vector(ru) +
                  vector(dx) + vector(lx) + vector(rx);
    return result;
}

template <class T>
class PreparationTyped : public testing::Test {
};
using NumberTypes = testing::Types<long double, QQ>;
TYPED_TEST_SUITE(PreparationTyped, NumberTypes);

TYPED_TEST(PreparationTyped, PreparedDataAreIntegralAndKeepTheFeasibleSet)
{
    const unsigned long long seed = test::testSeed();
    SCOPED_TRACE(test::seedTrace(seed));
    std::mt19937_64 random(seed);
    long exactRedo = 0;
    const long count = test::rounds(40);
    for (long round = 1; round <= count; ++round) {
        const RandomProgram generated = randomProgram(random);
        SCOPED_TRACE(generated.text);
        const Vorm<QQ> original = parse(generated.text);
        const Vorm<QQ> p = prepared<TypeParam>(original, exactRedo);
        // Integer data.
        for (const Matrix<QQ>* matrix : {&p.At, &p.Ag, &p.Au})
            for (long r = 1; r <= matrix->rowCount; ++r) {
                ASSERT_EQ(matrix->colCount, p.rx.dimension());
                for (long j = 1; j <= matrix->colCount; ++j)
                    ASSERT_TRUE(integral((*matrix)[r][j])) << describe(p);
            }
        for (const Vector<QQ>* v : {&p.bg, &p.lu, &p.ru, &p.lx, &p.rx})
            for (long j = 1; j <= v->dimension(); ++j)
                ASSERT_TRUE(integral((*v)[j])) << describe(p);
        // The same feasible points in the window.
        const PreparedFeasibility check(original, p);
        const long n = static_cast<long>(generated.values.size());
        std::vector<size_t> index(n, 0);
        long feasibleCount = 0;
        for (;;) {
            Vector<QQ> x(n);
            for (long j = 1; j <= n; ++j)
                x[j] = generated.values[j - 1][index[j - 1]];
            const bool expected = feasible(original, x);
            feasibleCount += expected;
            ASSERT_EQ(check.accepts(x), expected) << "x = " << x << "\n" << describe(p);
            long j = 0;
            while (j < n && ++index[j] == generated.values[j].size())
                index[j++] = 0;
            if (j == n) break;
        }
        EXPECT_GT(feasibleCount, 0);
    }
    // Long double is not given up wholesale: many programs go through without the exact redo
    // (about half with these decimals, seed by seed).
    EXPECT_LT(exactRedo, count * 3 / 4);
}

// The slack stage of a program text in QQ.
Vorm<QQ> slackified(const std::string& text)
{
    Vorm<QQ> program = parse(text);
    program.slackStage(false, false);
    return program;
}

// Programs as .opt text: dt At Ag bg Au lu ru dx lx rx.
TEST(PreparationExamples, SlackStageRewrites)
{
    // A fake inequation becomes a new last equation; the equation before it stays.
    Vorm<QQ> p = slackified("[ ] [ ] [ [ 1 1 ] ] [ 1 ] [ [ 1 -1 ] ] [ 0 ] [ 0 ] [ 0 0 ] [ 0 0 ] [ 3 3 ]");
    EXPECT_EQ(written(p.Ag), "[ [ 1 1 ] [ 1 -1 ] ]");
    EXPECT_EQ(written(p.bg), "[ 1 0 ]");
    EXPECT_EQ(p.Au.rowCount, 0);
    // x >= 0.25 with x in tenths: 20 x - s = 5 before the units change, 2 x' - s = 5 after, so
    // that the slack is an integer for x' = 3, 4, ...
    p = slackified("[ ] [ ] [ ] [ ] [ [ 1 ] ] [ 0.25 ] [ inf ] [ 1 ] [ 0 ] [ 1 ]");
    EXPECT_EQ(written(p.Ag), "[ [ 20 -1 ] ]");
    p.prepareVorm(false);
    EXPECT_EQ(written(p.Ag), "[ [ 2 -1 ] ]");
    EXPECT_EQ(written(p.bg), "[ 5 ]");
    EXPECT_EQ(written(p.rx), "[ 10 inf ]");
    // Targets 1 and 3 near a value: both replaced ones gather at the end, target 2 comes first; a
    // replaced target is (s1 + s2) / K, K = 2 for the row [ 1/2 0 ].
    p = slackified("[ 1 inf 2 ] [ [ 1/2 0 ] [ 0 1 ] [ 1 1 ] ] [ ] [ ] [ ] [ ] [ ] [ 0 0 ] [ 0 0 ] [ 4 4 ]");
    EXPECT_EQ(written(p.dt), "[ inf -inf -inf ]");
    EXPECT_EQ(written(p.At), "[ [ 0 1 0 0 0 0 ] [ 0 0 0 0 1 1 ] [ 0 0 1/2 1/2 0 0 ] ]");
    EXPECT_EQ(written(p.Ag), "[ [ 1 0 1 -1 0 0 ] [ 1 1 0 0 1 -1 ] ]");
    EXPECT_EQ(written(p.bg), "[ 2 2 ]");
    EXPECT_EQ(p.slackTargetVariableCount, 4);
}

TEST(PreparationDeathTest, UnfulfillableDataStop)
{
    const char* fail = "\\*\\*\\* FAIL: ";
    // lu = ru = inf is caught before the tolerance test would subtract the infinities.
    EXPECT_EXIT(slackified("[ ] [ ] [ ] [ ] [ [ 1 ] ] [ inf ] [ inf ] [ 0 ] [ 0 ] [ 1 ]"),
                testing::ExitedWithCode(1),
                std::string(fail) + "Unfulfillable infinite inequation detected --> NO SOLUTIONS!");
    EXPECT_EXIT(slackified("[ ] [ ] [ [ 2 ] ] [ 5 ] [ ] [ ] [ ] [ 0 ] [ 0 ] [ 1 ]").prepareVorm(false),
                testing::ExitedWithCode(1),
                "Equality #1.*\n.*FAIL: Unfulfillable equality detected --> NO SOLUTIONS!");
    EXPECT_EXIT(slackified("[ ] [ ] [ ] [ ] [ [ 1 ] ] [ 3 ] [ 4 ] [ 0 ] [ 0 ] [ 1 ]").prepareVorm(false),
                testing::ExitedWithCode(1),
                std::string(fail) + "Unfulfillable inequality detected --> NO SOLUTIONS!");
    // A variable fixed at 1/2 without decimal places has no value at all (at 0.5 with one place it
    // is a constant like any other, as the random programs show).
    EXPECT_EXIT(slackified("[ ] [ ] [ ] [ ] [ [ 1 ] ] [ 0 ] [ 4 ] [ 0 ] [ 1/2 ] [ 1/2 ]").prepareVorm(false),
                testing::ExitedWithCode(1),
                std::string(fail) + "Constant variable 1 off its grid detected --> NO SOLUTIONS!");
}

} // namespace
} // namespace latopt
