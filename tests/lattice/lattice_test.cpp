#include "lattice/lattice.h"

#include "arith/constant.h"
#include "arith/qq.h"
#include "base/exceptions.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace latopt {
namespace {

template <class T>
Matrix<T> matrix(const char* text)
{
    Matrix<T> result(std::string(","));
    std::istringstream stream(text);
    result.unserialize(stream);
    return result;
}

template <class T>
bool isIdentity(const Matrix<T>& m, long n)
{
    if (m.rowCount != n || m.colCount != n) return false;
    for (long i = 1; i <= n; ++i)
        if (!m[i].isUnit(i)) return false;
    return true;
}

TEST(LatticeFileNames, StemLosesOnlyTheLastExtension)
{
    struct Case {
        const char* name;
        const char* stem;
    };
    Lattice<long double, long double> lattice;
    for (const Case& c : {Case{"prob.sol", "prob"}, Case{"dir.v1/prob.sol", "dir.v1/prob"},
                          Case{".sol", ".sol"}, Case{"a.b/c", "a.b/c"}, Case{"x.tar.gz", "x.tar"},
                          Case{"/tmp/run/p", "/tmp/run/p"}, Case{"dir/.hidden", "dir/"}}) {
        SCOPED_TRACE(c.name);
        lattice.setFileNames(c.name);
        const std::string stem = c.stem;
        EXPECT_EQ(lattice.optFile, stem + ".opt");
        EXPECT_EQ(lattice.solFile, stem + ".sol");
        EXPECT_EQ(lattice.latFile, stem + ".lat");
        EXPECT_EQ(lattice.unprepared.optFile, stem + ".opt");
        EXPECT_EQ(lattice.unprepared.solFile, stem + ".sol");
    }
}

template <class T>
class LatticeShape : public ::testing::Test {
};
using NumberTypes = ::testing::Types<long double, QQ>;
TYPED_TEST_SUITE(LatticeShape, NumberTypes);

TYPED_TEST(LatticeShape, ResetSizesEverythingAfterTheBasis)
{
    using T = TypeParam;
    const Matrix<T> basis = matrix<T>("[ [ 1 0 0 5 ] [ 0 1 0 7 ] [ 0 0 1 -2 ] ]");
    Lattice<T, long double> lattice(&basis);
    EXPECT_EQ(lattice.dimB, 3);
    EXPECT_EQ(lattice.dimN, 4);
    EXPECT_TRUE(lattice.B_save == basis);
    EXPECT_TRUE(lattice.B == basis);
    ASSERT_EQ(lattice.TT.dimension(), 1);
    EXPECT_TRUE(isIdentity(lattice.TT[1], 3));
    EXPECT_EQ(lattice.gsVectors.rowCount, 3);
    EXPECT_EQ(lattice.gsVectors.colCount, 4);
    EXPECT_EQ(lattice.mu.rowCount, 3);
    EXPECT_EQ(lattice.mu.colCount, 3);
    EXPECT_EQ(lattice.rowState.dimension(), 3);
    EXPECT_EQ(lattice.gsNorm.dimension(), 3);
    EXPECT_EQ(lattice.rowNorm.dimension(), 3);
    EXPECT_EQ(lattice.rowValues.dimension(), 3);
    EXPECT_EQ(lattice.stages.dimension(), 4);
    for (const Vector<T>* bound :
         {&lattice.c, &lattice.l, &lattice.lTrimmed, &lattice.r, &lattice.rTrimmed}) {
        EXPECT_EQ(bound->dimension(), 4);
        EXPECT_TRUE(bound->isZero());
        EXPECT_TRUE(bound->throwOnLoss);
    }
    EXPECT_TRUE(lattice.B_save.throwOnLoss && lattice.TT.throwOnLoss && lattice.solutions.throwOnLoss &&
                lattice.rowValues.throwOnLoss && lattice.stages.throwOnLoss);
    EXPECT_TRUE(lattice.rowNorm.throwOnLoss && lattice.rowNorm.allowPostCommaLoss);
    EXPECT_FALSE(lattice.B.throwOnLoss);
    for (MainMutexVariable v : {MMV_RESET_5, MMV_SOLUTION_COUNT, MMV_SOLUTIONS})
        EXPECT_EQ(lattice.vars.get(v), "0");
    EXPECT_EQ(lattice.stages[1].direction, 1.0L);
    EXPECT_EQ(lattice.lllStepBudget, 100);
    EXPECT_EQ(lattice.inhomogenousConstant, Constant<T>::ONE());

    // A reset with another basis clears results and counters, and the file name only on request.
    lattice.latFile = "keep.lat";
    lattice.iterationCount = 9;
    lattice.solutions.setDimension(2);
    lattice.R = T(5L);
    lattice.c[2] = T(3L);
    lattice.vars.set(MMV_SOLUTION_COUNT, "4");
    const Matrix<T> smaller = matrix<T>("[ [ 2 1 ] ]");
    lattice.resetLattice(&smaller, false);
    EXPECT_EQ(lattice.latFile, "keep.lat");
    EXPECT_EQ(lattice.dimB, 1);
    EXPECT_EQ(lattice.dimN, 2);
    EXPECT_TRUE(isIdentity(lattice.TT[1], 1));
    EXPECT_EQ(lattice.iterationCount, 0);
    EXPECT_EQ(lattice.solutions.dimension(), 0);
    EXPECT_EQ(lattice.R, Constant<T>::ZERO());
    EXPECT_TRUE(lattice.c.isZero());
    EXPECT_EQ(lattice.vars.get(MMV_SOLUTION_COUNT), "0");
    lattice.resetLattice(nullptr, true);
    EXPECT_EQ(lattice.latFile, "");
    EXPECT_EQ(lattice.dimB, 0);
    EXPECT_EQ(lattice.dimN, 0);
    EXPECT_EQ(lattice.stages.dimension(), 1);
    EXPECT_TRUE(isIdentity(lattice.TT[1], 0));
}

TYPED_TEST(LatticeShape, SetDimsFollowsRowsAndColumns)
{
    using T = TypeParam;
    const Matrix<T> basis = matrix<T>("[ [ 1 0 0 ] [ 0 1 0 ] ]");
    Lattice<T, T> lattice(&basis);
    // Negative sizes do nothing.
    lattice.setDims(-1, 5, true);
    lattice.setDims(4, -1, true);
    EXPECT_EQ(lattice.dimB, 2);
    EXPECT_EQ(lattice.dimN, 3);
    // No columns given: the present ones.
    lattice.setDims(5, 0, true);
    EXPECT_EQ(lattice.dimB, 5);
    EXPECT_EQ(lattice.dimN, 3);
    EXPECT_EQ(lattice.B.rowCount, 5);
    EXPECT_EQ(lattice.B.colCount, 3);
    EXPECT_EQ(lattice.B_save.rowCount, 5);
    EXPECT_EQ(lattice.mu.rowCount, 5);
    EXPECT_EQ(lattice.mu.colCount, 5);
    EXPECT_EQ(lattice.gsVectors.colCount, 3);
    EXPECT_EQ(lattice.stages.dimension(), 6);
    EXPECT_EQ(lattice.c.dimension(), 3);
    // The stack grows with the rows, keeping what it holds, and never shrinks.
    EXPECT_EQ(lattice.TT[1].rowCount, 5);
    EXPECT_EQ(lattice.TT[1].colCount, 5);
    EXPECT_EQ(lattice.TT[1][2][2], Constant<T>::ONE());
    lattice.setDims(1, 6, true);
    EXPECT_EQ(lattice.dimB, 1);
    EXPECT_EQ(lattice.dimN, 6);
    EXPECT_EQ(lattice.TT[1].rowCount, 5);
    EXPECT_EQ(lattice.rowState.dimension(), 1);
    EXPECT_EQ(lattice.gsVectors.colCount, 6);
    EXPECT_EQ(lattice.rTrimmed.dimension(), 6);
}

// A lattice in QQ whose every kind of member holds something other than its reset state, all of
// it representable in long double.
void fill(Lattice<QQ, long double>& lattice)
{
    std::istringstream opt("[ -inf ] [ [ 2 3 1 ] ] [ [ 1 1 1 ] ] [ 6 ] [ [ 1 -1 0 ] ] [ 1 ] [ 4 ] "
                           "[ 0 0 0 ] [ 0 0 0 ] [ 5 5 3 ]");
    opt >> static_cast<Vorm<QQ>&>(lattice);
    lattice.unprepared._assign(static_cast<const Vorm<QQ>&>(lattice));
    lattice.unprepared.rx[3] = QQ(7L);
    lattice.stars.setDimension(2);
    lattice.stars[1] =
        Star<QQ>(Vector<QQ>("[ 3 0 3 ]"), Vector<QQ>("[ 9 ]"), QQ(9L), QQ(0L), 12, "--beta=20", "2.2.3");
    lattice.stars[2] =
        Star<QQ>(Vector<QQ>("[ 2.5 0 3 ]"), Vector<QQ>("[ 8 ]"), QQ(8L), QQ(1L) / QQ(4L), -1, "", "");
    const Matrix<QQ> basis = matrix<QQ>("[ [ 1 0 -3 ] [ 0 2 1 ] ]");
    lattice.resetLattice(&basis, true);
    lattice.setFileNames("dir/p.sol");
    lattice.B[1][3] = QQ(-7L) / QQ(2L);
    lattice.params.beta = 31;
    lattice.iterationCount = 4;
    lattice.bestTarget = TargetVector<QQ>();
    static_cast<Vector<QQ>&>(lattice.bestTarget) = Vector<QQ>("[ 1 2 3 ]");
    lattice.bestTarget.targetNorm = QQ(6L);
    lattice.solutions.setDimension(1);
    static_cast<Vector<QQ>&>(lattice.solutions[1]) = Vector<QQ>("[ 4 5 6 ]");
    lattice.TT[1][1][2] = QQ(3L);
    lattice.c = Vector<QQ>("[ 1 0.5 0.25 ]");
    lattice.R = QQ(12L);
    lattice.r[1] = QQ(-9L);
    lattice.maxUnscaledLatVecSquaredEuclideanNorm = QQ(81L);
    lattice.boundsSymmetric = true;
    lattice.lllStepBudget = 7;
    lattice.checkVectorsState = 2;
    lattice.rowState[2] = 32;
    lattice.gsNorm[1] = 2.5L;
    lattice.rowNorm[2] = QQ(10L);
    lattice.rowValues[1] = QQ(-1L);
    lattice.stageValue = 0.75L;
    lattice.stages[3].center = 1.5L;
    static_cast<Vector<QQ>&>(lattice.stages[3]) = Vector<QQ>("[ 1 2 ]");
    lattice.vars.set(MMV_HOST_1, "host");
}

void expectSameState(const Lattice<QQ, long double>& a, const Lattice<QQ, long double>& b)
{
    EXPECT_EQ(a.optFile, b.optFile);
    EXPECT_EQ(a.latFile, b.latFile);
    EXPECT_TRUE(a.At == b.At && a.Ag == b.Ag && a.bg == b.bg && a.lx == b.lx && a.rx == b.rx);
    EXPECT_TRUE(a.unprepared.rx == b.unprepared.rx);
    ASSERT_EQ(a.stars.dimension(), b.stars.dimension());
    for (long i = 1; i <= a.stars.dimension(); ++i) {
        EXPECT_EQ(a.stars[i].toString(), b.stars[i].toString());
        EXPECT_EQ(a.stars[i].isNew, b.stars[i].isNew);
    }
    EXPECT_EQ(a.dimB, b.dimB);
    EXPECT_EQ(a.dimN, b.dimN);
    EXPECT_EQ(a.params.beta.value, b.params.beta.value);
    EXPECT_EQ(a.params.toString(), b.params.toString());
    EXPECT_EQ(a.iterationCount, b.iterationCount);
    EXPECT_TRUE(a.bestTarget == b.bestTarget);
    EXPECT_EQ(a.bestTarget.targetNorm, b.bestTarget.targetNorm);
    ASSERT_EQ(a.solutions.dimension(), b.solutions.dimension());
    EXPECT_TRUE(a.solutions[1] == b.solutions[1]);
    ASSERT_EQ(a.TT.dimension(), b.TT.dimension());
    EXPECT_TRUE(a.TT[1] == b.TT[1]);
    EXPECT_TRUE(a.B == b.B);
    EXPECT_TRUE(a.B_save == b.B_save);
    EXPECT_TRUE(a.c == b.c && a.l == b.l && a.r == b.r && a.lTrimmed == b.lTrimmed &&
                a.rTrimmed == b.rTrimmed);
    EXPECT_EQ(a.R, b.R);
    EXPECT_EQ(a.maxUnscaledLatVecSquaredEuclideanNorm, b.maxUnscaledLatVecSquaredEuclideanNorm);
    EXPECT_EQ(a.boundsSymmetric, b.boundsSymmetric);
    EXPECT_EQ(a.lllStepBudget, b.lllStepBudget);
    EXPECT_EQ(a.checkVectorsState, b.checkVectorsState);
    EXPECT_EQ(a.rowState[2], b.rowState[2]);
    EXPECT_TRUE(a.gsNorm == b.gsNorm && a.rowNorm == b.rowNorm && a.rowValues == b.rowValues);
    EXPECT_EQ(a.stageValue, b.stageValue);
    ASSERT_EQ(a.stages.dimension(), b.stages.dimension());
    EXPECT_TRUE(a.stages[3] == b.stages[3]);
    EXPECT_EQ(a.stages[3].center, b.stages[3].center);
    EXPECT_EQ(a.stages[3].direction, b.stages[3].direction);
    // A copy of the host's variables, behind locks of its own.
    EXPECT_EQ(const_cast<MainMutexVars&>(a.vars).get(MMV_HOST_1),
              const_cast<MainMutexVars&>(b.vars).get(MMV_HOST_1));
}

TEST(LatticeAssign, ExactStateComesDownAndBackUnchanged)
{
    Lattice<QQ, long double> original;
    fill(original);
    Lattice<long double, long double> standard;
    standard._assign(original, false);
    EXPECT_EQ(standard.B[1][3], -3.5L);
    EXPECT_EQ(standard.c[3], 0.25L);
    EXPECT_EQ(standard.stars[2][1], 2.5L);
    EXPECT_EQ(standard.params.beta.value, 31);
    // The flags of the faithful members are the target's own and survive the copy.
    EXPECT_TRUE(standard.c.throwOnLoss);
    Lattice<QQ, long double> back;
    back._assign(standard, false);
    expectSameState(original, back);
    // Within one type too, and self-assignment changes nothing.
    Lattice<QQ, long double> twin;
    twin._assign(back, false);
    expectSameState(original, twin);
    twin._assign(twin, false);
    expectSameState(original, twin);
}

TEST(LatticeAssign, KeepParamsLeavesTheSettingsAlone)
{
    Lattice<QQ, long double> source;
    fill(source);
    Lattice<long double, long double> target;
    target.params.beta = 5;
    target._assign(source, true);
    EXPECT_EQ(target.params.beta.value, 5);
    EXPECT_EQ(target.dimB, 2);
    target._assign(source, false);
    EXPECT_EQ(target.params.beta.value, 31);
}

TEST(LatticeAssign, AllFourPairsConvert)
{
    Lattice<QQ, long double> source;
    fill(source);
    Lattice<long double, QQ> a;
    a._assign(source, false);
    Lattice<QQ, QQ> b;
    b._assign(a, false);
    Lattice<long double, long double> c;
    c._assign(b, false);
    Lattice<QQ, long double> back;
    back._assign(c, false);
    expectSameState(source, back);
    EXPECT_EQ(b.gsNorm[1], QQ(5L) / QQ(2L));
    EXPECT_EQ(b.stages[3].center, QQ(3L) / QQ(2L));
}

TEST(LatticeAssign, UnfaithfulValueOnTheWayDownThrows)
{
    // A value with more than 18 significant digits in a member marked throwOnLoss; a fraction
    // without a finite decimal form in one; one in a scalar of the lattice data; a basis entry
    // far beyond the range of exact long double integers.
    const auto spoil = std::initializer_list<void (*)(Lattice<QQ, long double>&)>{
        [](Lattice<QQ, long double>& l) { l.c[1] = QQ(1L) / QQ(3L); },
        [](Lattice<QQ, long double>& l) { l.rowValues[2] = QQ("123456789012345678901"); },
        [](Lattice<QQ, long double>& l) { l.R = QQ(2L) / QQ(3L); },
        [](Lattice<QQ, long double>& l) { l.B_save[1][1] = QQ("100000000000000000001"); },
        [](Lattice<QQ, long double>& l) { l.TT[1][1][1] = QQ("100000000000000000001"); },
    };
    int index = 0;
    for (auto spoilOne : spoil) {
        SCOPED_TRACE("case " + std::to_string(++index));
        Lattice<QQ, long double> source;
        fill(source);
        spoilOne(source);
        Lattice<long double, long double> target;
        EXPECT_THROW(target._assign(source, false), PrecisionException);
    }
    // The same fraction in a member that may be rounded passes.
    Lattice<QQ, long double> source;
    fill(source);
    source.unprepared.rx[1] = QQ(1L) / QQ(3L);
    Lattice<long double, long double> target;
    EXPECT_NO_THROW(target._assign(source, false));
}

} // namespace
} // namespace latopt
