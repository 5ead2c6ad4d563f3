// preparation.cpp: the passes that rewrite a program as read into the form a lattice embedding
// takes: integer coefficients, no constant variables, independent equations, variables that start
// at 0 or are free, and inequations of finite width. Each rewrite keeps the set of feasible x and
// leaves behind what undoes it: constantVariables, swappedHalfFreeVariables, the offsets in lx,
// the slack columns at the end, and the units 10^-dx of each variable.
// The slack stage runs once on the program as read (slackified marks it); prepareVorm runs on a
// copy of that program, which stays as it was so that the work can be redone (in QQ after a
// PrecisionException, or after the target bounds moved).
// At, Ag and Au keep dim rx columns in every pass: a grown row array may show old storage, so every
// new entry is written explicitly.
#include "arith/constant.h"
#include "arith/math.h"
#include "arith/precision.h"
#include "arith/qq.h"
#include "base/exceptions.h"
#include "base/log.h"
#include "program/number_checks.h"
#include "program/vorm.h"

#include <algorithm>
#include <cmath>
#include <iostream>
#include <sstream>
#include <string>
#include <type_traits>

namespace latopt {

using program_checks::checkKgv;
using program_checks::checkOverflow;
using program_checks::isInfinite;
using program_checks::isMinusInfinity;
using program_checks::isPlusInfinity;

namespace {

void note(bool verbose, const std::string& text)
{
    if (verbose) std::cout << BEGINL() << " " << text << ENDL();
}

// Appends row (of the program's width) to M.
template <class T>
void appendRow(Matrix<T>& M, const Vector<T>& row)
{
    const long rows = M.rowCount + 1;
    M.setDimensions(rows, row.dimension());
    for (long j = 1; j <= row.dimension(); ++j)
        M[rows][j] = row[j];
}

// Removes column p of every row.
template <class T>
void removeColumn(Matrix<T>& M, long p)
{
    if (M.rowCount == 0) return;
    for (long r = 1; r <= M.rowCount; ++r)
        M[r].removeComponent(p);
    M.colCount -= 1;
}

template <class T>
void scaleRow(Vector<T>& row, const T& factor)
{
    for (long j = 1; j <= row.dimension(); ++j)
        row[j] *= factor;
}

// Removes entry i of each of the three inequation arrays.
template <class T>
void removeInequation(Matrix<T>& Au, Vector<T>& lu, Vector<T>& ru, long i)
{
    Au.removeRow(i);
    lu.removeComponent(i);
    ru.removeComponent(i);
}

// The factor K that makes K row x and K value integers for every x on the grid of the variables
// (x[j] a multiple of 10^-dx[j]).
template <class T>
T gridFactor(const Vorm<T>& program, const Vector<T>& row, const T& value)
{
    T factor = Precision::getIntegerMakingFactor(value);
    for (long j = 1; j <= row.dimension(); ++j) {
        const T onGrid = row[j] / program.decimalFactor(j);
        const T entryFactor = Precision::getIntegerMakingFactor(onGrid);
        const T g = Math::ggt(factor, entryFactor);
        factor = factor / g * entryFactor;
        checkKgv(factor);
        checkOverflow(factor, "slack iMF overflow");
    }
    return factor;
}

// The column count of M, or 0 when it has no rows.
template <class T>
long usedWidth(const Matrix<T>& M)
{
    return M.rowCount > 0 ? M.colCount : 0;
}

} // namespace

template <class T>
void Vorm<T>::extendXBounds(const T& left, const T& right, const T& step)
{
    freedomDegrees.pushBack(evaluateFreedomDegree(left, right));
    lx.pushBack(left);
    rx.pushBack(right);
    dx.pushBack(step);
    const long n = rx.dimension();
    for (Matrix<T>* matrix : {&At, &Ag, &Au})
        if (matrix->rowCount > 0) {
            matrix->setDimensions(matrix->rowCount, n);
            for (long r = 1; r <= matrix->rowCount; ++r)
                (*matrix)[r][n] = Constant<T>::ZERO();
        }
}

template <class T>
void Vorm<T>::printOptInfos() const
{
    std::cout << BEGINL() << " Optimization program: Targets = " << At.rowCount
              << ", Equations = " << Ag.rowCount - slackInequationCount - slackTargetVariableCount / 2
              << ", Inequations = " << slackInequationCount + Au.rowCount
              << ", Variables = " << rx.dimension() - slackInequationCount + slackTargetVariableCount
              << ENDL();
}

template <class T>
void Vorm<T>::removeBoundlessInequations(bool verbose)
{
    for (long i = 1; i <= Au.rowCount;) {
        if (isMinusInfinity(lu[i]) && isPlusInfinity(ru[i])) {
            removeInequation(Au, lu, ru, i);
            note(verbose, "Useless inequation (-inf <= ... <= inf) detected");
        } else {
            ++i;
        }
    }
}

template <class T>
void Vorm<T>::detectFakeInequations(bool verbose)
{
    for (long i = 1; i <= Au.rowCount;) {
        // 1. Exact equality first: two equal infinities can't be subtracted, and no x meets them.
        if (lu[i] == ru[i] && isInfinite(lu[i]))
            fatal("Unfulfillable infinite inequation detected --> NO SOLUTIONS!");
        if (isInfinite(lu[i]) || isInfinite(ru[i]) || !Math::areEpsilonEqual(lu[i], ru[i])) {
            ++i;
            continue;
        }
        // 2.-3. The row becomes a new last equation; the equations there are left as they are.
        appendRow(Ag, Au[i]);
        bg.pushBack(lu[i]);
        // 4.
        note(verbose, "Fake inequation detected and transfered");
        removeInequation(Au, lu, ru, i);
    }
}

template <class T>
void Vorm<T>::slackifyHalfFreeInequations()
{
    slackInequationCount = 0;
    for (long i = 1; i <= Au.rowCount;) {
        // 1. a x <= r is -a x >= -r.
        if (isMinusInfinity(lu[i])) {
            lu[i] = -ru[i];
            scaleRow(Au[i], -Constant<T>::ONE());
            ru[i] = Constant<T>::INF();
        }
        if (!isPlusInfinity(ru[i])) {
            ++i;
            continue;
        }
        // 2. a x >= l becomes K a x - s = K l: with K making both sides integers on the grid of
        //    the variables, the slack s is an integer for every feasible x, as a lattice variable
        //    must be.
        const T factor = gridFactor(*this, Au[i], lu[i]);
        Vector<T> row = Au[i];
        scaleRow(row, factor);
        appendRow(Ag, row);
        bg.pushBack(lu[i] * factor);
        // 3. The last inequation takes place i.
        const long last = Au.rowCount;
        Au.swapRows(i, last);
        lu.swapComponents(i, last);
        ru.swapComponents(i, last);
        removeInequation(Au, lu, ru, last);
        // 4. Every matrix must span exactly the variables.
        const long widest = std::max(usedWidth(Ag), std::max(usedWidth(Au), usedWidth(At)));
        if (widest != rx.dimension()) fatal("Implement the insert at sdim position case!");
        // 5.-6. The slack variable, -1 in its equation.
        extendXBounds(Constant<T>::ZERO(), Constant<T>::INF(), Constant<T>::ZERO());
        Ag[Ag.rowCount][rx.dimension()] = -Constant<T>::ONE();
        ++slackInequationCount;
    }
}

template <class T>
void Vorm<T>::simplifySlackTargets()
{
    slackTargetVariableCount = 0;
    const long targetCount = At.rowCount;
    for (long i = 1; i <= targetCount;) {
        // 1. Targets to minimise or maximise stay.
        if (isInfinite(dt[i])) {
            ++i;
            continue;
        }
        // 2. The equation K a x + s1 - s2 = K d, K making it integral on the grid of the
        //    variables, so that the slacks are integers.
        const T factor = gridFactor(*this, At[i], dt[i]);
        Vector<T> row = At[i];
        scaleRow(row, factor);
        appendRow(Ag, row);
        bg.pushBack(dt[i] * factor);
        // 3.-4., 8.-9. Two slack variables, zero in every other row.
        extendXBounds(Constant<T>::ZERO(), Constant<T>::INF(), Constant<T>::ZERO());
        extendXBounds(Constant<T>::ZERO(), Constant<T>::INF(), Constant<T>::ZERO());
        const long m = rx.dimension();
        Ag[Ag.rowCount][m - 1] = Constant<T>::ONE();
        Ag[Ag.rowCount][m] = -Constant<T>::ONE();
        // 5.-6. The target is minimised now; its known value, measured against the old desired
        //    value which is gone, is -INF, so no bound is learnt from it.
        dt[i] = -Constant<T>::INF();
        if (!isInfinite(kt[i])) kt[i] = -Constant<T>::INF();
        // 7. The new target (s1 + s2) / K: at the optimum of the slacks it is |a x - d|.
        At[i].makeZero();
        At[i][m - 1] = Constant<T>::ONE() / factor;
        At[i][m] = Constant<T>::ONE() / factor;
        // 10. The replaced targets gather at the end, in the places targetCount, targetCount - 1,
        //     ...; the target swapped into place i is looked at again.
        slackTargetVariableCount += 2;
        const long place = targetCount - (slackTargetVariableCount / 2 - 1);
        if (i != place) {
            At.swapRows(i, place);
            dt.swapComponents(i, place);
            kt.swapComponents(i, place);
        } else {
            ++i;
        }
    }
}

template <class T>
void Vorm<T>::initTargetCoefficients()
{
    atu.makeZero(At.rowCount > 0 ? At.colCount : 0);
    for (long i = 1; i <= At.rowCount; ++i) {
        const T sign = targetSummationSign(i);
        for (long j = 1; j <= At.colCount; ++j) {
            atu[j] += sign * At[i][j];
            checkOverflow(atu[j], "atu overflow");
        }
    }
}

template <class T>
void Vorm<T>::applyKnownTargetBounds()
{
    if (kt.dimension() == 0 || kt.hasInfiniteEntry()) return;
    // initOrAdaptTargetBnds asks a new solution to beat its bound by one step of the target sum;
    // the known values themselves stay reachable.
    T sum = targetStep();
    for (long i = 1; i <= kt.dimension(); ++i)
        sum += targetSummationSign(i) * kt[i];
    initOrAdaptTargetBnds(kt, sum);
}

template <class T>
void Vorm<T>::slackStage(bool applyKnownBounds, bool verbose)
{
    // The slack passes add variables and equations: run twice, they would add them again.
    if (!slackified) {
        removeBoundlessInequations(verbose);
        detectFakeInequations(verbose);
        slackifyHalfFreeInequations();
        simplifySlackTargets();
        initTargetCoefficients();
    }
    if (applyKnownBounds) {
        applyKnownTargetBounds();
        adaptTargetBoundsByXBounds();
    }
    slackified = true;
}

// Whether c is a multiple of 10^-dx[j]: exactly in QQ; in long double within rounding of one,
// since a decimal such as 0.3 read into binary misses its grid point by a rounding error, and a
// value that close to the grid but off it can't be written in a long double anyway.
template <class T>
bool Vorm<T>::isOnGrid(const T& c, long j) const
{
    const T scaled = c * decimalFactor(j);
    if constexpr (std::is_same_v<T, long double>) {
        const long double scale = fabsl(scaled) > 1 ? fabsl(scaled) : 1.0L;
        return fabsl(scaled - roundl(scaled)) <= Constant<long double>::EPSILON() * scale;
    } else {
        return floor(scaled) == scaled;
    }
}

template <class T>
void Vorm<T>::removeConstantVariables()
{
    constantVariables.setDimension(0);
    const long n = rx.dimension();
    long removed = 0;
    for (long j = 1; j <= n; ++j) {
        const long p = j - removed;
        if (!(rx[p] == lx[p]) || freedomDegrees[p] != BOUNDED) continue;
        const T c = rx[p];
        // A fixed value off the grid of the variable (1/2 with no decimal places) admits no
        // solution; taking it as a constant would let the prepared program accept points the
        // program as written rules out.
        if (!isOnGrid(c, p))
            fatal("Constant variable " + std::to_string(j) + " off its grid detected --> NO SOLUTIONS!");
        // 1.-3. The constant part moves to the right sides and the target bounds.
        for (long r = 1; r <= Ag.rowCount; ++r) {
            bg[r] -= c * Ag[r][p];
            checkOverflow(bg[r], "bg overflow");
        }
        for (long r = 1; r <= Au.rowCount; ++r) {
            const T v = c * Au[r][p];
            lu[r] -= v;
            checkOverflow(lu[r], "lu overflow");
            ru[r] -= v;
            checkOverflow(ru[r], "ru overflow");
        }
        for (long r = 1; r <= At.rowCount; ++r) {
            const T v = targetSummationSign(r) * c * At[r][p];
            ltu -= v;
            checkOverflow(ltu, "ltu overflow");
            rtu -= v;
            checkOverflow(rtu, "rtu overflow");
        }
        removeColumn(Ag, p);
        removeColumn(Au, p);
        removeColumn(At, p);
        // 4.
        if (atu.dimension() > 0) atu.removeComponent(p);
        // 5. Kept under its index in the numbering of the program as it came in.
        constantVariables(j) = c;
        dx.removeComponent(p);
        lx.removeComponent(p);
        rx.removeComponent(p);
        freedomDegrees.removeComponent(p);
        ++removed;
    }
}

template <class T>
void Vorm<T>::removeDependentEquations(bool verbose)
{
    // [bg | Ag], so that the right sides follow every row operation.
    Matrix<T> system(Ag.rowCount, Ag.colCount + 1);
    for (long r = 1; r <= Ag.rowCount; ++r) {
        system[r][1] = bg[r];
        for (long j = 1; j <= Ag.colCount; ++j)
            system[r][j + 1] = Ag[r][j];
    }
    system.eliminateDependentRows();
    if (system.rowCount == Ag.rowCount) return;
    Ag.setDimensions(system.rowCount, Ag.colCount);
    bg.setDimension(system.rowCount);
    for (long r = 1; r <= system.rowCount; ++r) {
        bg[r] = system[r][1];
        for (long j = 1; j <= Ag.colCount; ++j)
            Ag[r][j] = system[r][j + 1];
    }
    note(verbose, "Linear dependencies detected and removed");
}

template <class T>
void Vorm<T>::detectSwappedHalfFreeVariables(bool verbose)
{
    swappedHalfFreeVariables.setDimension(0);
    for (long j = 1; j <= rx.dimension(); ++j) {
        if (!isMinusInfinity(lx[j]) || isPlusInfinity(rx[j])) continue;
        for (Matrix<T>* matrix : {&At, &Ag, &Au})
            for (long r = 1; r <= matrix->rowCount; ++r)
                (*matrix)[r][j] = -(*matrix)[r][j];
        lx[j] = -rx[j];
        rx[j] = Constant<T>::INF();
        freedomDegrees[j] = RIGHT_FREE;
        swappedHalfFreeVariables.pushBack(j);
        note(verbose, "Swapped half-free variable detected");
    }
}

template <class T>
void Vorm<T>::validateAndSharpenInEquations(bool inequations)
{
    const Matrix<T>& M = inequations ? Au : Ag;
    const T zero = Constant<T>::ZERO();
    for (long r = 1; r <= M.rowCount; ++r) {
        // 1. The interval of the row over the box; a zero coefficient adds nothing, so no product
        //    of 0 and an infinity arises.
        T low = zero;
        T high = zero;
        for (long j = 1; j <= M.colCount; ++j) {
            const T& a = M[r][j];
            if (a < zero) {
                low += a * rx[j];
                high += a * lx[j];
            } else if (a > zero) {
                low += a * lx[j];
                high += a * rx[j];
            }
            checkOverflow(low, "llu overflow");
            checkOverflow(high, "llu overflow");
        }
        std::ostringstream line;
        DBL_OSTREAM_PREC(line);
        // 2. An equation must be reachable.
        if (!inequations) {
            if (low <= bg[r] && bg[r] <= high) continue;
            line << optFile << ": Equality #" << r << ", lg = " << low << ", this->bg = " << bg[r]
                 << ", rg = " << high;
            PRINT(line.str());
            fatal("Unfulfillable equality detected --> NO SOLUTIONS!");
        }
        // 3. An inequation shrinks to what the box allows.
        if (lu[r] > low) low = lu[r];
        if (ru[r] < high) high = ru[r];
        if (high < low) {
            line << optFile << ": Inequality #" << r << ", this->lu = " << low << ", this->ru = " << high;
            PRINT(line.str());
            fatal("Unfulfillable inequality detected --> NO SOLUTIONS!");
        }
        lu[r] = low;
        ru[r] = high;
    }
}

template <class T>
void Vorm<T>::zerofyFiniteLowerVariableBounds()
{
    // 1. The shift of each variable: its finite lower bound.
    const long n = lx.dimension();
    Vector<T> shift(n);
    for (long j = 1; j <= n; ++j)
        if (!isMinusInfinity(lx[j])) shift[j] = lx[j];
    // 2. lx keeps its values as the offsets.
    for (long j = 1; j <= n; ++j)
        if (!isPlusInfinity(rx[j])) rx[j] -= shift[j];
    // 3.
    if (tu == 1 && atu.dimension() == n) {
        const T moved = atu * shift;
        ltu -= moved;
        rtu -= moved;
    }
    // 4.-5.
    for (long r = 1; r <= Ag.rowCount; ++r) {
        bg[r] -= Ag[r] * shift;
        checkOverflow(bg[r], "this->bg overflow");
    }
    for (long r = 1; r <= Au.rowCount; ++r) {
        const T moved = Au[r] * shift;
        lu[r] -= moved;
        checkOverflow(lu[r], "this->lu overflow");
        ru[r] -= moved;
        checkOverflow(ru[r], "this->ru overflow");
    }
}

template <class T>
void Vorm<T>::prepareVorm(bool verbose)
{
    removeConstantVariables();
    applyPrecision();
    removeFloatingPointEntries();
    if (Ag.rowCount > 0) removeDependentEquations(verbose);
    detectSwappedHalfFreeVariables(verbose);
    validateAndSharpenInEquations(true);
    validateAndSharpenInEquations(false);
    initTargetCoefficients();
    zerofyFiniteLowerVariableBounds();
}

#define LATOPT_PREPARATION_MEMBERS(T)                                                                        \
    template void Vorm<T>::slackStage(bool, bool);                                                           \
    template void Vorm<T>::prepareVorm(bool);                                                                \
    template void Vorm<T>::extendXBounds(const T&, const T&, const T&);                                      \
    template void Vorm<T>::printOptInfos() const;                                                            \
    template void Vorm<T>::removeBoundlessInequations(bool);                                                 \
    template void Vorm<T>::detectFakeInequations(bool);                                                      \
    template void Vorm<T>::slackifyHalfFreeInequations();                                                    \
    template void Vorm<T>::simplifySlackTargets();                                                           \
    template void Vorm<T>::initTargetCoefficients();                                                         \
    template void Vorm<T>::applyKnownTargetBounds();                                                         \
    template void Vorm<T>::removeConstantVariables();                                                        \
    template bool Vorm<T>::isOnGrid(const T&, long) const;                                                   \
    template void Vorm<T>::removeDependentEquations(bool);                                                   \
    template void Vorm<T>::detectSwappedHalfFreeVariables(bool);                                             \
    template void Vorm<T>::validateAndSharpenInEquations(bool);                                              \
    template void Vorm<T>::zerofyFiniteLowerVariableBounds();
LATOPT_PREPARATION_MEMBERS(long double)
LATOPT_PREPARATION_MEMBERS(QQ)
#undef LATOPT_PREPARATION_MEMBERS

} // namespace latopt
