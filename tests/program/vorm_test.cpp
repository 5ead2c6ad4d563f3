#include "program/vorm.h"

#include "arith/constant.h"
#include "arith/qq.h"
#include "base/exceptions.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace latopt {
namespace {

template <class T>
class VormTyped : public ::testing::Test {
};
using NumberTypes = ::testing::Types<long double, QQ>;
TYPED_TEST_SUITE(VormTyped, NumberTypes);

TYPED_TEST(VormTyped, FreedomDegreeTellsWhichBoundsAreInfinite)
{
    using T = TypeParam;
    const T inf = Constant<T>::INF();
    const T zero = Constant<T>::ZERO();
    EXPECT_EQ(Vorm<T>::evaluateFreedomDegree(-inf, inf), FREE);
    EXPECT_EQ(Vorm<T>::evaluateFreedomDegree(zero, inf), RIGHT_FREE);
    EXPECT_EQ(Vorm<T>::evaluateFreedomDegree(-inf, zero), LEFT_FREE);
    EXPECT_EQ(Vorm<T>::evaluateFreedomDegree(zero, zero), BOUNDED);
    // The comparison is exact: only the infinity of the right sign counts.
    EXPECT_EQ(Vorm<T>::evaluateFreedomDegree(inf, -inf), BOUNDED);
    EXPECT_EQ(Vorm<T>::evaluateFreedomDegree(T(-1000000000L), T(1000000000L)), BOUNDED);
}

// Reads text into an existing matrix, which keeps its separators.
template <class T>
void read(Matrix<T>& matrix, const char* text)
{
    std::istringstream stream(text);
    matrix.unserialize(stream);
}

// Fills every member with something that isn't its reset state.
template <class T>
void fill(Vorm<T>& program)
{
    program.optFile = "a.opt";
    program.solFile = "a.sol";
    program.dt = Vector<T>("[ -inf inf ]");
    program.kt = Vector<T>("[ 4 -inf ]");
    program.ltu = T(-3L);
    program.rtu = T(12L);
    read(program.At, "[ [ 1 2 ] [ 0 -1 ] ]");
    program.tu = 1;
    program.atu = Vector<T>("[ 1 3 ]");
    program.bg = Vector<T>("[ 5 ]");
    program.lu = Vector<T>("[ -inf ]");
    program.ru = Vector<T>("[ 1.75 ]");
    read(program.Ag, "[ [ 1 1 ] ]");
    read(program.Au, "[ [ 1 -1 ] ]");
    program.dx = Vector<T>("[ 0 2 ]");
    program.lx = Vector<T>("[ -inf 0 ]");
    program.rx = Vector<T>("[ 10 inf ]");
    program.freedomDegrees.setDimension(2);
    program.freedomDegrees[1] = LEFT_FREE;
    program.freedomDegrees[2] = RIGHT_FREE;
    program.stars.setDimension(1);
    Star<T>& star = program.stars[1];
    static_cast<Vector<T>&>(star) = Vector<T>("[ 1 -0.5 ]");
    star.targetValues = Vector<T>("[ 3 inf ]");
    star.targetNorm = T(3L);
    star.slackNorm = T(1L) / T(4L);
    star.secondsUntilDiscovered = 17;
    star.isNew = false;
    star.params = "--beta=20";
    star.version = "2.2.3";
    program.constantVariables(3) = T(-5L) / T(2L);
    program.constantVariables(1) = -Constant<T>::INF();
    program.swappedHalfFreeVariables = Vector<long>("[ 2 ]");
    program.finiteTargetsOnly = false;
    program.slackInequationCount = 1;
    program.slackTargetVariableCount = 2;
    program.pendingSolutionWrite = true;
    program.pendingSolutionStats = true;
    program.slackified = true;
}

TYPED_TEST(VormTyped, ResetWithFileNamesKeepsThemAndNothingElse)
{
    using T = TypeParam;
    for (const bool keep : {true, false}) {
        Vorm<T> program;
        fill(program);
        program.resetVorm(keep);
        EXPECT_EQ(program.optFile, keep ? "a.opt" : "");
        EXPECT_EQ(program.solFile, keep ? "a.sol" : "");
        const Vorm<T> fresh;
        for (const Serializable* member : {&program.dt, &program.kt, &program.atu, &program.bg, &program.lu,
                                           &program.ru, &program.dx, &program.lx, &program.rx})
            EXPECT_EQ(member->toString(), "[ ]");
        EXPECT_EQ(program.At.rowCount + program.At.colCount, 0);
        EXPECT_EQ(program.Ag.rowCount + program.Ag.colCount, 0);
        EXPECT_EQ(program.Au.rowCount + program.Au.colCount, 0);
        EXPECT_EQ(program.freedomDegrees.dimension(), 0);
        EXPECT_EQ(program.stars.dimension(), 0);
        EXPECT_EQ(program.constantVariables.dimension(), 0);
        EXPECT_EQ(program.swappedHalfFreeVariables.dimension(), 0);
        EXPECT_EQ(program.ltu, -Constant<T>::INF());
        EXPECT_EQ(program.rtu, Constant<T>::INF());
        EXPECT_EQ(program.tu, 0);
        EXPECT_TRUE(program.finiteTargetsOnly);
        EXPECT_EQ(program.slackInequationCount, 0);
        EXPECT_EQ(program.slackTargetVariableCount, 0);
        EXPECT_FALSE(program.pendingSolutionWrite);
        EXPECT_FALSE(program.pendingSolutionStats);
        EXPECT_FALSE(program.slackified);
        // The separators of a fresh program stay: blank for vectors, comma for matrices.
        EXPECT_EQ(program.At.separators, fresh.At.separators);
        EXPECT_EQ(fresh.At.separators.front(), ',');
        EXPECT_EQ(fresh.dt.separators, " ");
    }
}

TYPED_TEST(VormTyped, ProgramWithoutTargetsHasOnlyFiniteTargets)
{
    using T = TypeParam;
    Vorm<T> program;
    fill(program);
    program.resetTargets();
    EXPECT_TRUE(program.finiteTargetsOnly);
    EXPECT_EQ(program.At.rowCount, 0);
    EXPECT_EQ(program.atu.dimension(), 0);
    EXPECT_EQ(program.ltu, -Constant<T>::INF());
    // resetTargets leaves the rest of the program alone.
    EXPECT_EQ(program.bg.dimension(), 1);
    EXPECT_TRUE(program.slackified);
}

// Every member, compared through its exact text.
template <class T>
void expectSamePrograms(const Vorm<T>& a, const Vorm<T>& b)
{
    EXPECT_EQ(a.optFile, b.optFile);
    EXPECT_EQ(a.solFile, b.solFile);
    const Serializable* left[] = {&a.dt,
                                  &a.kt,
                                  &a.lrtu,
                                  &a.At,
                                  &a.atu,
                                  &a.bg,
                                  &a.lu,
                                  &a.ru,
                                  &a.Ag,
                                  &a.Au,
                                  &a.dx,
                                  &a.lx,
                                  &a.rx,
                                  &a.freedomDegrees,
                                  &a.swappedHalfFreeVariables};
    const Serializable* right[] = {&b.dt,
                                   &b.kt,
                                   &b.lrtu,
                                   &b.At,
                                   &b.atu,
                                   &b.bg,
                                   &b.lu,
                                   &b.ru,
                                   &b.Ag,
                                   &b.Au,
                                   &b.dx,
                                   &b.lx,
                                   &b.rx,
                                   &b.freedomDegrees,
                                   &b.swappedHalfFreeVariables};
    for (std::size_t i = 0; i < std::size(left); ++i)
        EXPECT_EQ(left[i]->toString(), right[i]->toString()) << "member " << i;
    EXPECT_EQ(a.tu, b.tu);
    ASSERT_EQ(a.stars.dimension(), b.stars.dimension());
    for (long i = 1; i <= a.stars.dimension(); ++i) {
        const Star<T>& s = a.stars[i];
        const Star<T>& t = b.stars[i];
        EXPECT_EQ(s.toString(), t.toString());
        EXPECT_EQ(s.targetValues.toString(), t.targetValues.toString());
        EXPECT_EQ(s.targetNorm, t.targetNorm);
        EXPECT_EQ(s.slackNorm, t.slackNorm);
        EXPECT_EQ(s.secondsUntilDiscovered, t.secondsUntilDiscovered);
        EXPECT_EQ(s.isNew, t.isNew);
        EXPECT_EQ(s.params, t.params);
        EXPECT_EQ(s.version, t.version);
    }
    ASSERT_EQ(a.constantVariables.dimension(), b.constantVariables.dimension());
    for (long i = 1; i <= a.constantVariables.dimension(); ++i) {
        EXPECT_EQ(a.constantVariables[i].left, b.constantVariables[i].left);
        EXPECT_EQ(a.constantVariables[i].right, b.constantVariables[i].right);
    }
    EXPECT_EQ(a.finiteTargetsOnly, b.finiteTargetsOnly);
    EXPECT_EQ(a.slackInequationCount, b.slackInequationCount);
    EXPECT_EQ(a.slackTargetVariableCount, b.slackTargetVariableCount);
    EXPECT_EQ(a.pendingSolutionWrite, b.pendingSolutionWrite);
    EXPECT_EQ(a.pendingSolutionStats, b.pendingSolutionStats);
    EXPECT_EQ(a.slackified, b.slackified);
}

TEST(VormAssign, ExactProgramSurvivesTheWayDownAndBack)
{
    Vorm<QQ> exact;
    fill(exact);
    Vorm<long double> standard;
    standard._assign(exact);
    // The infinities arrive as those of long double.
    const long double inf = Constant<long double>::INF();
    EXPECT_EQ(standard.dt[1], -inf);
    EXPECT_EQ(standard.dt[2], inf);
    EXPECT_EQ(standard.lx[1], -inf);
    EXPECT_EQ(standard.rx[2], inf);
    EXPECT_EQ(standard.constantVariables[2].right, -inf);
    EXPECT_EQ(standard.stars[1].targetValues[2], inf);
    EXPECT_EQ(standard.ru[1], 1.75L);
    EXPECT_EQ(standard.stars[1].slackNorm, 0.25L);
    EXPECT_EQ(standard.ltu, -3.0L);
    EXPECT_EQ(standard.At.separators, exact.At.separators);
    Vorm<QQ> back;
    back._assign(standard);
    expectSamePrograms(back, exact);
    // Within one number type the copy is exact by construction.
    Vorm<QQ> copy;
    copy._assign(exact);
    expectSamePrograms(copy, exact);
    Vorm<long double> standardCopy;
    standardCopy._assign(standard);
    expectSamePrograms(standardCopy, standard);
}

TEST(VormAssign, EmptyAndResetProgramsCrossUnchanged)
{
    Vorm<QQ> exact;
    Vorm<long double> standard;
    fill(standard);
    standard._assign(exact);
    expectSamePrograms(standard, Vorm<long double>());
    EXPECT_EQ(standard.ltu, -Constant<long double>::INF());
    EXPECT_EQ(standard.rtu, Constant<long double>::INF());
}

TEST(VormAssign, BoundOnTheTargetSumMustCrossFaithfully)
{
    Vorm<QQ> exact;
    exact.rtu = QQ("1/3");
    Vorm<long double> standard;
    EXPECT_THROW(standard._assign(exact), PrecisionException);
    // Array data may be rounded: its conversion flags are off.
    exact.rtu = QQ(5);
    exact.lu = Vector<QQ>("[ 1/3 ]");
    standard._assign(exact);
    EXPECT_NEAR(static_cast<double>(standard.lu[1]), 1.0 / 3.0, 1e-15);
    // Upward nothing throws.
    standard.rtu = 0.1L;
    EXPECT_NO_THROW(exact._assign(standard));
    EXPECT_EQ(exact.rtu, QQ("1/10"));
}

TEST(VormAssign, SelfAssignmentAndCopiesKeepTheirOwnBounds)
{
    Vorm<QQ> program;
    fill(program);
    program._assign(program);
    Vorm<QQ> filled;
    fill(filled);
    expectSamePrograms(program, filled);

    Vorm<QQ> copy(program);
    program.ltu = QQ(-100);
    program.lrtu.right = QQ(100);
    EXPECT_EQ(copy.ltu, QQ(-3));
    EXPECT_EQ(copy.lrtu.right, QQ(12));
    EXPECT_EQ(&copy.ltu, &copy.lrtu.left);
    EXPECT_EQ(&copy.rtu, &copy.lrtu.right);

    Vorm<QQ> moved(std::move(copy));
    EXPECT_EQ(&moved.rtu, &moved.lrtu.right);
    EXPECT_EQ(moved.rtu, QQ(12));
    Vorm<QQ> assigned;
    assigned = std::move(moved);
    expectSamePrograms(assigned, filled);
    assigned = program;
    EXPECT_EQ(assigned.ltu, QQ(-100));
}

TEST(FreedomDegreeText, NumbersZeroToThreeInTheArrayForm)
{
    SerializableArray<FreedomDegree> degrees;
    std::istringstream in("[ 3 0 2 1 ]");
    degrees.unserialize(in);
    ASSERT_EQ(degrees.dimension(), 4);
    EXPECT_EQ(degrees[1], FREE);
    EXPECT_EQ(degrees[2], BOUNDED);
    EXPECT_EQ(degrees[3], RIGHT_FREE);
    EXPECT_EQ(degrees[4], LEFT_FREE);
    EXPECT_EQ(degrees.toString(), "[ 3 0 2 1 ]");
    // Outside the two bits nothing is taken.
    for (const char* bad : {"4", "-1", "x"}) {
        FreedomDegree degree = RIGHT_FREE;
        std::istringstream single(bad);
        single >> degree;
        EXPECT_TRUE(single.fail()) << bad;
        EXPECT_EQ(degree, RIGHT_FREE) << bad;
    }
}

TEST(VormTruncate, ToggleSetsTheSwitchOfQq)
{
    const TruncateGuard restore(false);
    Vorm<QQ>::toggleFractionTruncate(true);
    EXPECT_TRUE(QQ::enableTruncate);
    Vorm<long double>::toggleFractionTruncate(false);
    EXPECT_FALSE(QQ::enableTruncate);
}

} // namespace
} // namespace latopt
