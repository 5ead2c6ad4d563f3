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
    bool unit = m.rowCount == n && m.colCount == n;
    for (long i = 1; unit && i <= n; ++i)
        unit = m[i].isUnit(i);
    return unit;
}

TEST(LatticeFileNames, StemLosesOnlyTheLastExtension)
{
    Lattice<long double, long double> lattice;
    for (const auto& [name, stem] : {std::pair<std::string, std::string>{"prob.sol", "prob"},
                                     {"dir.v1/prob.sol", "dir.v1/prob"},
                                     {".sol", ".sol"},
                                     {"a.b/c", "a.b/c"},
                                     {"x.tar.gz", "x.tar"},
                                     {"dir/.hidden", "dir/"}}) {
        SCOPED_TRACE(name);
        lattice.setFileNames(name);
        EXPECT_EQ(lattice.optFile, stem + ".opt");
        EXPECT_EQ(lattice.solFile, stem + ".sol");
        EXPECT_EQ(lattice.latFile, stem + ".lat");
        EXPECT_EQ(lattice.unprepared.optFile + lattice.unprepared.solFile, stem + ".opt" + stem + ".sol");
    }
}

template <class T>
class LatticeShape : public ::testing::Test {
};
using NumberTypes = ::testing::Types<long double, QQ>;
TYPED_TEST_SUITE(LatticeShape, NumberTypes);

TYPED_TEST(LatticeShape, ResetAndResizeFollowTheBasis)
{
    using T = TypeParam;
    const Matrix<T> basis = matrix<T>("[ [ 1 0 0 5 ] [ 0 1 0 7 ] [ 0 0 1 -2 ] ]");
    Lattice<T, long double> lattice(&basis);
    EXPECT_EQ(lattice.dimB * 10 + lattice.dimN, 34);
    EXPECT_TRUE(lattice.B == basis && lattice.B_save == basis);
    ASSERT_EQ(lattice.TT.dimension(), 1);
    EXPECT_TRUE(isIdentity(lattice.TT[1], 3));
    EXPECT_EQ(lattice.gsVectors.rowCount * 10 + lattice.gsVectors.colCount, 34);
    EXPECT_EQ(lattice.mu.rowCount * 10 + lattice.mu.colCount, 33);
    EXPECT_EQ(lattice.stages.dimension(), 4);
    // The members that must come down to long double exactly say so.
    for (const Vector<T>* v : {&lattice.c, &lattice.l, &lattice.lTrimmed, &lattice.r, &lattice.rTrimmed})
        EXPECT_TRUE(v->dimension() == 4 && v->isZero() && v->throwOnLoss);
    EXPECT_TRUE(lattice.B_save.throwOnLoss && lattice.TT.throwOnLoss && lattice.solutions.throwOnLoss &&
                lattice.rowValues.throwOnLoss && lattice.stages.throwOnLoss &&
                lattice.rowNorm.allowPostCommaLoss);
    // Negative sizes do nothing; no columns means the present ones; the stack grows with the
    // rows, keeping what it holds, and never shrinks.
    lattice.setDims(-1, 5, true);
    lattice.setDims(5, 0, true);
    EXPECT_EQ(lattice.dimB * 10 + lattice.dimN, 54);
    EXPECT_EQ(lattice.B_save.rowCount * 10 + lattice.B_save.colCount, 54);
    EXPECT_EQ(lattice.mu.colCount + lattice.rowState.dimension() + lattice.stages.dimension(), 16);
    EXPECT_EQ(lattice.TT[1].rowCount * 10 + lattice.TT[1].colCount, 55);
    EXPECT_EQ(lattice.TT[1][2][2], Constant<T>::ONE());
    lattice.setDims(1, 6, true);
    EXPECT_EQ(lattice.dimB * 10 + lattice.dimN, 16);
    EXPECT_EQ(lattice.TT[1].rowCount, 5);
    EXPECT_EQ(lattice.gsVectors.colCount + lattice.rTrimmed.dimension(), 12);

    // A reset clears results and counters, and the file name only on request.
    lattice.latFile = "keep.lat";
    lattice.iterationCount = 9;
    lattice.solutions.setDimension(2);
    lattice.R = T(5L);
    lattice.c[2] = T(3L);
    lattice.vars.set(MMV_SOLUTION_COUNT, "4");
    const Matrix<T> smaller = matrix<T>("[ [ 2 1 ] ]");
    lattice.resetLattice(&smaller, false);
    EXPECT_EQ(lattice.latFile + lattice.vars.get(MMV_SOLUTION_COUNT), "keep.lat0");
    EXPECT_EQ(lattice.dimB * 10 + lattice.dimN, 12);
    EXPECT_TRUE(isIdentity(lattice.TT[1], 1));
    EXPECT_EQ(lattice.iterationCount + lattice.solutions.dimension(), 0);
    EXPECT_TRUE(lattice.R == Constant<T>::ZERO() && lattice.c.isZero());
    lattice.resetLattice(nullptr, true);
    EXPECT_EQ(lattice.latFile, "");
    EXPECT_TRUE(lattice.dimB + lattice.dimN == 0 && isIdentity(lattice.TT[1], 0));
}

// A QQ lattice whose every kind of member holds something besides its reset state, all of it
// representable in long double.
void fill(Lattice<QQ, long double>& lattice)
{
    std::istringstream(
        "[ -inf ] [ [ 2 3 1 ] ] [ [ 1 1 1 ] ] [ 6 ] [ [ 1 -1 0 ] ] [ 1 ] [ 4 ] [ 0 0 0 ] [ 0 0 0 ] "
        "[ 5 5 3 ]") >>
        static_cast<Vorm<QQ>&>(lattice);
    lattice.unprepared._assign(static_cast<const Vorm<QQ>&>(lattice));
    lattice.unprepared.rx[3] = QQ(7L);
    lattice.stars.setDimension(2);
    lattice.stars[1] =
        Star<QQ>(Vector<QQ>("[ 3 0 3 ]"), Vector<QQ>("[ 9 ]"), QQ(9L), QQ(0L), 12, "p", "2.2.3");
    lattice.stars[2] =
        Star<QQ>(Vector<QQ>("[ 2.5 0 3 ]"), Vector<QQ>("[ 8 ]"), QQ(8L), QQ("1/4"), -1, "", "");
    const Matrix<QQ> basis = matrix<QQ>("[ [ 1 0 -3 ] [ 0 2 1 ] ]");
    lattice.resetLattice(&basis, true);
    lattice.setFileNames("dir/p.sol");
    lattice.B[1][3] = QQ("-7/2");
    lattice.params.beta = 31;
    lattice.iterationCount = 4;
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

// The state as text, for comparing two lattices of one type.
std::string dump(Lattice<QQ, long double>& l)
{
    std::ostringstream out;
    out << l.optFile << l.latFile << l.At << l.Ag << l.bg << l.lx << l.rx << l.unprepared.rx << "|";
    for (long i = 1; i <= l.stars.dimension(); ++i)
        out << l.stars[i].toString() << l.stars[i].isNew << "|";
    out << l.dimB << l.dimN << l.params.toString() << l.iterationCount << l.bestTarget
        << l.bestTarget.targetNorm << l.solutions.dimension() << l.solutions[1] << l.TT.dimension() << l.TT[1]
        << l.B << l.B_save << l.c << l.l << l.r << l.lTrimmed << l.rTrimmed << l.R
        << l.maxUnscaledLatVecSquaredEuclideanNorm << l.boundsSymmetric << l.lllStepBudget
        << l.checkVectorsState << l.rowState[2] << l.gsNorm << l.rowNorm << l.rowValues << l.stageValue
        << l.stages.dimension() << l.stages[3] << l.stages[3].center << l.stages[3].direction
        << l.vars.get(MMV_HOST_1);
    return out.str();
}

TEST(LatticeAssign, ExactStateComesDownAndBackUnchangedThroughAllPairs)
{
    Lattice<QQ, long double> original;
    fill(original);
    Lattice<long double, long double> standard;
    standard._assign(original, false);
    EXPECT_EQ(standard.B[1][3], -3.5L);
    EXPECT_EQ(standard.stars[2][1], 2.5L);
    EXPECT_EQ(standard.params.beta.value, 31);
    EXPECT_TRUE(standard.c.throwOnLoss); // the target's own flags stay
    Lattice<long double, QQ> a;
    a._assign(standard, false);
    Lattice<QQ, QQ> b;
    b._assign(a, false);
    EXPECT_EQ(b.stages[3].center, QQ("3/2"));
    Lattice<QQ, long double> back;
    back._assign(b, false);
    EXPECT_EQ(dump(back), dump(original));
    // Within one type too, and self-assignment changes nothing.
    Lattice<QQ, long double> twin;
    twin._assign(back, false);
    twin._assign(twin, false);
    EXPECT_EQ(dump(twin), dump(original));
    // keepParams leaves the settings alone.
    standard.params.beta = 5;
    standard._assign(original, true);
    EXPECT_EQ(standard.params.beta.value, 5);
}

TEST(LatticeAssign, UnfaithfulValueOnTheWayDownThrows)
{
    // A fraction without a finite decimal form, and more than 18 digits, in members marked
    // throwOnLoss; a fraction in a scalar of the lattice data; basis and stack entries beyond the
    // exact long double integers.
    // The same fraction in a member that may be rounded passes.
    using L = Lattice<QQ, long double>;
    const std::pair<void (*)(L&), bool> cases[] = {
        {[](L& l) { l.c[1] = QQ("1/3"); }, true},
        {[](L& l) { l.rowValues[2] = QQ("123456789012345678901"); }, true},
        {[](L& l) { l.R = QQ("2/3"); }, true},
        {[](L& l) { l.B_save[1][1] = QQ("100000000000000000001"); }, true},
        {[](L& l) { l.TT[1][1][1] = QQ("100000000000000000001"); }, true},
        {[](L& l) { l.unprepared.rx[1] = QQ("1/3"); }, false}};
    for (const auto& [spoil, throws] : cases) {
        L source;
        fill(source);
        spoil(source);
        Lattice<long double, long double> target;
        if (throws)
            EXPECT_THROW(target._assign(source, false), PrecisionException);
        else
            EXPECT_NO_THROW(target._assign(source, false));
    }
}

// The consistency callback resets the transformation stack only when handed a text of its own
// while the setting is off; operator= passes by, and a copy of the settings is bound to nothing.
TEST(LatticeParams, ConsistencyCallbackResetsTheStackOnlyForAForeignTextWhileOff)
{
    const Matrix<QQ> basis = matrix<QQ>("[ [ 1 0 2 ] [ 0 1 3 ] ]");
    Lattice<QQ, long double> lattice(&basis);
    const auto spoilStack = [&] {
        lattice.TT.setDimension(2, false);
        lattice.TT[2] = matrix<QQ>("[ [ 0 1 ] [ 1 0 ] ]");
        lattice.TT.throwOnLoss = false;
    };
    const auto stackIsReset = [&] {
        return lattice.TT.dimension() == 1 && isIdentity(lattice.TT[1], 2) && lattice.TT.throwOnLoss;
    };
    spoilStack();
    lattice.params.consistency = true; // the callback sees its own new text
    EXPECT_EQ(lattice.TT.dimension(), 2);
    lattice.params.consistency.changeCallback("0"); // a foreign text, but the setting is on
    EXPECT_EQ(lattice.TT.dimension(), 2);
    lattice.params.consistency = false;
    lattice.params.consistency.changeCallback("0"); // the text it has
    EXPECT_EQ(lattice.TT.dimension(), 2);
    lattice.params.consistency.changeCallback("1");
    EXPECT_TRUE(stackIsReset());

    spoilStack();
    ExtendedParams<long double> copy(lattice.params);
    copy.consistency.changeCallback("1");
    EXPECT_EQ(lattice.TT.dimension(), 2);
}

TEST(SolutionStats, SumsCountAndFirstTimes)
{
    Lattice<QQ, QQ> lattice;
    EXPECT_EQ(lattice.solutionStats(), "");
    std::istringstream program("[ -inf ] [ [ 1 ] ] [ ] [ ] [ ] [ ] [ ] [ 0 ] [ 0 ] [ 9 ]");
    program >> lattice.unprepared;
    // No target reached yet: the sums alone.
    EXPECT_EQ(lattice.solutionStats(), "\nT(bestTarget) = inf, S(bestTarget) = -1\n");
    lattice.bestTarget.targetValue = QQ(7L);
    lattice.bestTarget.slackNorm = QQ(0L);
    lattice.bestTarget.secondsUntilDiscovered = 125;
    for (long seconds : {3L, 61L, 3600L, 9L}) {
        TargetVector<QQ> solution;
        solution.secondsUntilDiscovered = seconds;
        lattice.solutions.pushBack(solution);
    }
    EXPECT_EQ(lattice.solutionStats(),
              "\nT(bestTarget) = 7, S(bestTarget) = 0 -- { 2:05 min(s):sec(s) == 125 secs }\n"
              "\nSolutions found: 4\n"
              "\n{ The first solution/s was/were found after: 3 sec(s) "
              "1:01 min(s):sec(s) == 61 secs 1:00:00 hour(s):min(s):sec(s) == 3600 secs }\n");
    lattice.params.bench = 2.0f;
    EXPECT_EQ(lattice.solutionStats().find("Solutions found"), std::string::npos);
}

} // namespace
} // namespace latopt
