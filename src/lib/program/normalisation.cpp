// normalisation.cpp: integer normalisation of Vorm<T>. applyPrecision and
// removeFloatingPointEntries make every variable an integer variable and every coefficient an
// integer, keeping the feasible set; computeBoundsKgV and its companions find one common multiple
// of the bound widths, for the scaling of the basis columns, and may widen an artificial bound a
// little when that makes the multiple much smaller.
// In long double every scaled value is tested against the trusted range, and a value that should
// be an integer but misses one by a rounding error throws PrecisionException (the work is redone
// in QQ); in QQ nothing here throws.
#include "arith/constant.h"
#include "arith/math.h"
#include "arith/precision.h"
#include "arith/qq.h"
#include "base/log.h"
#include "program/number_checks.h"
#include "program/vorm.h"

#include <cmath>
#include <string>

namespace latopt {

using program_checks::checkIntegral;
using program_checks::checkKgv;
using program_checks::checkOverflow;
using program_checks::isInfinite;

namespace {

template <class T>
T factorOf(const T& x)
{
    return Precision::getIntegerMakingFactor(x);
}

// The least common multiple of two positive integers, divided before it is multiplied.
template <class T>
T lcm(const T& a, const T& b)
{
    const T g = Math::ggt(a, b);
    const T result = a / g * b;
    checkKgv(result);
    return result;
}

// x = floor(x) (down) or ceil(x), an infinity kept; in long double a value a rounding error away
// from an integer throws (what).
template <class T>
void roundInward(T& x, bool down, const char* what)
{
    using std::ceil;
    using std::floor;
    if (isInfinite(x)) return;
    checkIntegral(x, what);
    x = down ? floor(x) : ceil(x);
}

// Every entry of row multiplied by factor, each tested (what).
template <class T>
void scaleRow(Vector<T>& row, const T& factor, const char* what)
{
    for (long j = 1; j <= row.dimension(); ++j) {
        row[j] *= factor;
        checkOverflow(row[j], what);
        checkIntegral(row[j], what);
    }
}

// x multiplied by factor unless it is infinite, then tested (what).
template <class T>
void scaleValue(T& x, const T& factor, const char* what)
{
    if (isInfinite(x)) return;
    x *= factor;
    checkOverflow(x, what);
}

} // namespace

template <class T>
T Vorm<T>::decimalFactor(long j) const
{
    using std::floor;
    const T& places = dx[j];
    if (places < Constant<T>::ZERO() || isInfinite(places) || !(floor(places) == places))
        fatal(optFile + ": the decimal places of variable " + std::to_string(j) + " are not a whole number");
    T factor = Constant<T>::ONE();
    const T ten(10);
    for (T k = Constant<T>::ONE(); k <= places; k += Constant<T>::ONE()) {
        factor *= ten;
        checkOverflow(factor, "data overflow");
    }
    return factor;
}

template <class T>
T Vorm<T>::targetStep() const
{
    // Every target value of a grid point is a multiple of 1/K, and so is the target sum.
    T factor = Constant<T>::ONE();
    for (long i = 1; i <= At.rowCount; ++i)
        for (long j = 1; j <= At.colCount; ++j) {
            const T onGrid = j <= dx.dimension() ? At[i][j] / decimalFactor(j) : At[i][j];
            factor = lcm(factor, factorOf(onGrid));
            checkOverflow(factor, "target step overflow");
        }
    return Constant<T>::ONE() / factor;
}

template <class T>
void Vorm<T>::applyPrecision()
{
    for (long j = 1; j <= rx.dimension(); ++j) {
        // 1. Units of 10^-dx[j]: bounds multiplied, the column divided.
        if (dx[j] > Constant<T>::ZERO()) {
            const T factor = decimalFactor(j);
            scaleValue(rx[j], factor, "rx overflow");
            scaleValue(lx[j], factor, "lx overflow");
            for (Matrix<T>* matrix : {&At, &Ag, &Au})
                for (long r = 1; r <= matrix->rowCount; ++r)
                    (*matrix)[r][j] /= factor;
        }
        // 2. Fractional bounds tightened inward: the variable takes integer values only.
        roundInward(rx[j], true, "rx overflow");
        roundInward(lx[j], false, "lx overflow");
    }
}

template <class T>
void Vorm<T>::removeFloatingPointEntries()
{
    using std::ceil;
    using std::floor;
    const T one = Constant<T>::ONE();
    // Targets: one factor for all rows, because the target sum adds them up.
    T factor = one;
    for (long r = 1; r <= At.rowCount; ++r) {
        if (!isInfinite(dt[r])) {
            factor = lcm(factor, factorOf(dt[r]));
            if (!isInfinite(kt[r])) factor = lcm(factor, factorOf(kt[r]));
        }
        for (long j = 1; j <= At.colCount; ++j)
            factor = lcm(factor, factorOf(At[r][j]));
        checkOverflow(factor, "iMFFT overflow");
    }
    if (factor > one) {
        for (long r = 1; r <= At.rowCount; ++r) {
            scaleRow(At[r], factor, "At iMFFT overflow");
            if (!isInfinite(dt[r])) {
                scaleValue(dt[r], factor, "dt iMFFT overflow");
                scaleValue(kt[r], factor, "kt iMFFT overflow");
            } else if (!isInfinite(kt[r])) {
                // A known value of a maximised target rounds down, of a minimised one up: a
                // solution with that value still reaches the rounded one.
                scaleValue(kt[r], factor, "kt iMFFT overflow");
                roundInward(kt[r], dt[r] > Constant<T>::ZERO(), "kt iMFFT overflow");
            }
        }
        if (tu == 1) {
            scaleValue(ltu, factor, "ltu iMFFT overflow");
            scaleValue(rtu, factor, "rtu iMFFT overflow");
        }
    }
    // Equations: a factor per row, the right side included.
    for (long r = 1; r <= Ag.rowCount; ++r) {
        factor = factorOf(bg[r]);
        for (long j = 1; j <= Ag.colCount; ++j)
            factor = lcm(factor, factorOf(Ag[r][j]));
        checkOverflow(factor, "iMF overflow2");
        if (factor > one) {
            scaleRow(Ag[r], factor, "Ag iMF overflow");
            scaleValue(bg[r], factor, "bg iMF overflow");
            checkIntegral(bg[r], "bg iMF overflow");
        }
    }
    // Inequations: a factor per row from the coefficients only; as a x is then an integer, the
    // bounds round inward without losing a solution.
    for (long r = 1; r <= Au.rowCount; ++r) {
        factor = one;
        for (long j = 1; j <= Au.colCount; ++j)
            factor = lcm(factor, factorOf(Au[r][j]));
        checkOverflow(factor, "iMF overflow3");
        if (factor > one) {
            scaleRow(Au[r], factor, "Au iMF overflow");
            scaleValue(lu[r], factor, "lu iMF overflow");
            scaleValue(ru[r], factor, "ru iMF overflow");
        }
        roundInward(lu[r], false, "lu iMF overflow");
        roundInward(ru[r], true, "ru iMF overflow");
    }
}

template <class T>
T Vorm<T>::decreaseLeftTargetBoundUntilKgvIsMinimal(const T& kgv, const T& right, T& left) const
{
    using std::ceil;
    // At most this many lowerings of left: the search for a smaller multiple is a heuristic, and
    // without a cap it can take about kgv steps.
    static const long MAX_STEPS = 10000;
    // 1. Nothing to widen.
    T width = right - left;
    if (Math::equalsEpsilonZero(width)) return width;
    // 2. An integer width first (widening is always safe): with a fraction the greatest common
    //    divisor below never meets the width or kgv, and the search would not end.
    checkIntegral(width, "ltu overflow");
    left = right - ceil(width);
    width = right - left;
    // 3. The multiple at the start.
    T bestLeft = left;
    T g = Math::ggt(kgv, width);
    T bestMultiple = kgv / g * width;
    // 4. Lower left until the width divides kgv or is a multiple of it; the smallest multiple on
    //    the way wins, on equal ones the earliest.
    for (long step = 1; step <= MAX_STEPS && !(g == width) && !(g == kgv); ++step) {
        left -= Constant<T>::ONE();
        width = right - left;
        g = Math::ggt(kgv, width);
        const T multiple = kgv / g * width;
        if (multiple < bestMultiple) {
            bestLeft = left;
            bestMultiple = multiple;
        }
    }
    // 5.
    left = bestLeft;
    return right - left;
}

template <class T>
T Vorm<T>::computeXBoundsKgV(T kgv, bool accumulate)
{
    for (long j = 1; j <= rx.dimension(); ++j) {
        // 1. Only finite widths count.
        if (isInfinite(lx[j]) || isInfinite(rx[j])) continue;
        // 2. A finite rx of a variable that was derived free is artificial and may be raised.
        if (freedomDegrees[j] == RIGHT_FREE || freedomDegrees[j] == FREE) {
            T left = Constant<T>::ZERO();
            decreaseLeftTargetBoundUntilKgvIsMinimal(kgv, rx[j], left);
            rx[j] -= left;
        }
        // 3.-4. rx[j] is the width, as the lower bounds are shifted out by now.
        if (!accumulate || Math::equalsEpsilonZero(rx[j])) continue;
        // 5.
        kgv = lcm(kgv, Math::abs(rx[j]));
    }
    return kgv;
}

template <class T>
T Vorm<T>::computeBoundsKgV(bool variablesOnly)
{
    // 1.
    T kgv = computeXBoundsKgV(Constant<T>::ONE(), true);
    // 2.
    if (variablesOnly) return kgv;
    // 3. An inequation of width 0 would need an infinite scale in the basis.
    for (long i = 1; i <= Au.rowCount; ++i) {
        const T width = ru[i] - lu[i];
        if (Math::equalsEpsilonZero(width)) fatal("ineq bounds error1");
        kgv = lcm(kgv, width);
    }
    // 4. The target sum, whose left bound may go down a little.
    if (tu == 1) {
        const T width = decreaseLeftTargetBoundUntilKgvIsMinimal(kgv, rtu, ltu);
        if (!Math::equalsEpsilonZero(width)) kgv = lcm(kgv, width);
    }
    // 5.
    return kgv;
}

#define LATOPT_NORMALISATION_MEMBERS(T)                                                                      \
    template T Vorm<T>::decimalFactor(long) const;                                                           \
    template T Vorm<T>::targetStep() const;                                                                  \
    template void Vorm<T>::applyPrecision();                                                                 \
    template void Vorm<T>::removeFloatingPointEntries();                                                     \
    template T Vorm<T>::decreaseLeftTargetBoundUntilKgvIsMinimal(const T&, const T&, T&) const;              \
    template T Vorm<T>::computeXBoundsKgV(T, bool);                                                          \
    template T Vorm<T>::computeBoundsKgV(bool);
LATOPT_NORMALISATION_MEMBERS(long double)
LATOPT_NORMALISATION_MEMBERS(QQ)
#undef LATOPT_NORMALISATION_MEMBERS

} // namespace latopt
