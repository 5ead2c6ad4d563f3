// target.cpp: target evaluation of Vorm<T>, the scalars by which candidates are ranked and the
// bounds ltu, rtu on the target sum.
// A target with desired value -INF is minimised and +INF maximised; by the sign convention both
// turn into a quantity to minimise. A finite desired value measures the distance to it; the slack
// passes replace such targets by pairs of slack variables before a lattice is built, so in a
// slackified program finite targets are an inconsistency.
#include "program/vorm.h"

#include "arith/constant.h"
#include "arith/math.h"
#include "arith/qq.h"
#include "base/log.h"
#include "linalg/matrix.h"
#include "linalg/vector.h"
#include "program/number_checks.h"

namespace latopt {

using program_checks::isInfinite;
using program_checks::isMinusInfinity;
using program_checks::isPlusInfinity;

namespace {

template <class T>
const T& larger(const T& a, const T& b)
{
    return a < b ? b : a;
}

} // namespace

template <class T>
T Vorm<T>::targetSummationSign(long i) const
{
    return isPlusInfinity(dt[i]) ? -Constant<T>::ONE() : Constant<T>::ONE();
}

template <class T>
T Vorm<T>::targetComponentDeviation(const Vector<T>& targetValues, long i, bool& finiteTarget) const
{
    if (isMinusInfinity(dt[i])) return targetValues[i];
    if (isPlusInfinity(dt[i])) return -targetValues[i];
    if (slackified) fatal("preparation inconsistency");
    finiteTarget = true;
    return targetValues[i];
}

template <class T>
T Vorm<T>::computeSlackValue(long row, const Vector<T>& x, long columns) const
{
    T value = -bg[row];
    const Vector<T>& coefficients = Ag[row];
    for (long j = 1; j <= columns; ++j)
        value += coefficients[j] * x[j];
    return value;
}

template <class T>
T Vorm<T>::computeTargetNorm(const Vector<T>& targetValues, const Vector<T>& x, T& slackNorm) const
{
    T norm = Constant<T>::ZERO();
    slackNorm = Constant<T>::ZERO();
    const long targetCount = dt.dimension();
    // Set by the first finite target and never cleared: every later target is measured as a
    // distance to its desired value too, as the norm has always been defined.
    bool finiteTarget = false;
    for (long i = 1; i <= targetCount; ++i) {
        // 1. The signed value of the target, to be minimised.
        T deviation = targetComponentDeviation(targetValues, i, finiteTarget);
        if (slackified) {
            // 2. The replaced targets stand at the end of the list; the slack of a replaced one is
            //    taken from the equation row with the target's own index, over the variables
            //    without the slack ones.
            if (slackTargetVariableCount != 0 && i > targetCount - slackTargetVariableCount / 2)
                slackNorm += Math::abs(
                    computeSlackValue(i, x, x.dimension() - slackInequationCount - slackTargetVariableCount));
        } else if (finiteTarget) {
            // 3. Distance to the desired value.
            deviation = Math::abs(deviation - dt[i]);
            slackNorm += deviation;
        }
        // 4.
        norm += deviation;
    }
    return norm;
}

template <class T>
T Vorm<T>::sumTargetAbsValues(const Vector<T>& targetValues) const
{
    T sum = Constant<T>::ZERO();
    for (long i = 1; i <= dt.dimension(); ++i) {
        if (!isInfinite(dt[i])) fatal("This should not be the case anymore!");
        sum += Math::abs(targetValues[i]);
    }
    return sum;
}

template <class T>
bool Vorm<T>::initOrAdaptTargetBnds(const Vector<T>& targetValues, const T& bound)
{
    // 1. The least target sum possible; a sum of deviations can't be negative.
    T left = -sumTargetAbsValues(targetValues);
    if (finiteTargetsOnly) left = larger(left, Constant<T>::ZERO());
    // 2. The left bound only ever goes down.
    bool changed = false;
    if (isMinusInfinity(ltu) || left < ltu) {
        ltu = left;
        changed = true;
    }
    // 3. A new solution must beat bound by at least one step of the target sum: 1 for the integer
    //    data of a prepared program, 1/K where the targets have fractions or decimal variables,
    //    so that no improvement below 1 is lost. The right bound only ever goes down.
    const T right = bound - targetStep();
    if (isPlusInfinity(rtu) || right < rtu) {
        rtu = right;
        changed = true;
    }
    // 4.
    if (!changed) return false;
    // 5. An empty interval shrinks to its right end.
    if (ltu > rtu) ltu = rtu;
    // 6.
    tu = 1;
    return true;
}

template <class T>
void Vorm<T>::adaptTargetBoundsByXBounds()
{
    if (At.rowCount == 0) return;
    for (const Vector<T>* corner : {&lx, &rx}) {
        // 1. A corner at infinity gives no estimate.
        if (isInfinite(corner->supNorm())) continue;
        // 2. The target sum at the corner, bounded below as in initOrAdaptTargetBnds.
        const T sum = sumTargetAbsValues(At * *corner);
        T left = -sum;
        if (finiteTargetsOnly) left = larger(left, Constant<T>::ZERO());
        // 3.
        if (isMinusInfinity(ltu) || left < ltu) ltu = left;
        // 4. Real bounds keep their right end.
        if (tu == 1) continue;
        // 5.
        if (isPlusInfinity(rtu) || sum > rtu) rtu = sum;
    }
}

#define LATOPT_TARGET_MEMBERS(T)                                                                             \
    template T Vorm<T>::targetSummationSign(long) const;                                                     \
    template T Vorm<T>::targetComponentDeviation(const Vector<T>&, long, bool&) const;                       \
    template T Vorm<T>::computeTargetNorm(const Vector<T>&, const Vector<T>&, T&) const;                     \
    template T Vorm<T>::computeSlackValue(long, const Vector<T>&, long) const;                               \
    template T Vorm<T>::sumTargetAbsValues(const Vector<T>&) const;                                          \
    template bool Vorm<T>::initOrAdaptTargetBnds(const Vector<T>&, const T&);                                \
    template void Vorm<T>::adaptTargetBoundsByXBounds();
LATOPT_TARGET_MEMBERS(long double)
LATOPT_TARGET_MEMBERS(QQ)
#undef LATOPT_TARGET_MEMBERS

} // namespace latopt
