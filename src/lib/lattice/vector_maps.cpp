// vector_maps.cpp: the maps between lattice vectors and program vectors, and the conversion of
// found lattice vectors into solution records. They undo and redo, in mirror order, what the
// preparation and the embedding did to the program: column scales, offsets, swapped signs,
// decimal places, slack variables and constant variables. See lattice.h.
#include "arith/constant.h"
#include "arith/math.h"
#include "arith/precision.h"
#include "arith/qq.h"
#include "base/exceptions.h"
#include "base/log.h"
#include "lattice/lattice.h"

#include <cmath>
#include <utility>

namespace latopt {

namespace {

// A long double beyond the trusted range throws PrecisionException(what); QQ is always exact.
void checkOverflow(const long double& x, const char* what)
{
    if (Precision::overflows(x)) throw PrecisionException(what);
}

void checkOverflow(const QQ&, const char*)
{
}

// A coordinate that must be an integer: a long double within 10^-9 (relative) of one becomes it,
// one farther away can't be trusted (PrecisionException). QQ values are exact already.
void snapToInteger(long double& x)
{
    const long double nearest = roundl(x);
    const long double scale = fabsl(nearest) > 1.0L ? fabsl(nearest) : 1.0L;
    if (fabsl(x - nearest) > Constant<long double>::EPSILON() * scale)
        throw PrecisionException("opt_vec not integral");
    x = nearest;
}

void snapToInteger(QQ&)
{
}

} // namespace

template <class R1, class R2>
bool Lattice<R1, R2>::inhomogenousComponentHasRightSign(const Vector<R1>& v, bool trimmed) const
{
    const R1& constant = trimmed ? scaledInhomogenousConstant : inhomogenousConstant;
    const R1& marker = v[dimN];
    if (Precision::equalsZero(marker, true)) return false;
    return constant > Constant<R1>::ZERO() ? marker > Constant<R1>::ZERO() : marker < Constant<R1>::ZERO();
}

template <class R1, class R2>
short Lattice<R1, R2>::lat2opt(const Vector<R1>& lat_vec, Vector<R1>& opt_vec, bool insertConstants,
                               bool keepSlacks) const
{
    // 1. Only a built lattice, and a vector of its columns.
    if (checkVectorsState == 0) fatal("lat2opt called with uninitialized check vectors!");
    if (lat_vec.dimension() == 0) fatal("lat_vec == 0");
    if (lat_vec.dimension() != dimN) fatal("lat_vec doesn't match lattice dimension");
    // 2. A vector and its negative stand for the same point.
    const R1 sign =
        inhomogenousComponentHasRightSign(lat_vec, false) ? Constant<R1>::ONE() : -Constant<R1>::ONE();
    // 3. Only the return value depends on the size of the marker.
    const bool matched = Math::equalsEpsilonZero(R1(inhomogenousConstant - sign * lat_vec[dimN]));
    // 4. The prepared variables; the slacks, which come last, fall off unless kept.
    const long n = this->lx.dimension();
    const long slacks = this->slackTargetVariableCount + this->slackInequationCount;
    opt_vec.setDimension(keepSlacks ? n : n - slacks, false);
    opt_vec.makeZero();
    // 5. Each variable from its column (s + j), its offset added.
    const R1 two = Constant<R1>::ONE() + Constant<R1>::ONE();
    for (long j = 1; j <= opt_vec.dimension(); ++j) {
        const long col = dimN - n + j - 1;
        checkOverflow(lat_vec[col], "lat_vec overflow");
        R1 value = (R + sign * lat_vec[col]) / (two * c[col]);
        checkOverflow(value, "opt_vec overflow1");
        if (!(this->lx[j] == -Constant<R1>::INF())) value += this->lx[j];
        // The coordinates of a lattice vector with the right marker are integers.
        if (matched) snapToInteger(value);
        opt_vec[j] = value;
    }
    // 6. Signs of the swapped variables.
    for (long i = 1; i <= this->swappedHalfFreeVariables.dimension(); ++i) {
        const long j = this->swappedHalfFreeVariables[i];
        if (j <= opt_vec.dimension()) opt_vec[j] = -opt_vec[j];
    }
    // 7. Decimal places.
    for (long j = 1; j <= opt_vec.dimension(); ++j)
        if (this->dx[j] > Constant<R1>::ZERO()) opt_vec[j] /= this->decimalFactor(j);
    // 8. The constant variables in their places, in ascending order of index.
    if (insertConstants)
        for (long i = 1; i <= this->constantVariables.dimension(); ++i)
            opt_vec.insertComponent(this->constantVariables[i].left, this->constantVariables[i].right);
    // 9.
    return matched ? 1 : -1;
}

template <class R1, class R2>
void Lattice<R1, R2>::opt2lat(const Vector<R1>& opt_vec, Vector<R1>& lat_vec, bool trim) const
{
    // 1. Only a built lattice.
    if (checkVectorsState == 0) fatal("opt2lat called with uninitialized check vectors!");
    // 2. The constant variables out, from the last, so that each index stays valid.
    Vector<R1> y = opt_vec;
    for (long i = this->constantVariables.dimension(); i >= 1; --i)
        y.removeComponent(this->constantVariables[i].left);
    // 3.-5. Units of 10^-dx, swapped signs, offsets.
    const long m = y.dimension();
    for (long j = 1; j <= m; ++j)
        if (this->dx[j] > Constant<R1>::ZERO()) y[j] *= this->decimalFactor(j);
    for (long i = 1; i <= this->swappedHalfFreeVariables.dimension(); ++i) {
        const long j = this->swappedHalfFreeVariables[i];
        if (j <= m) y[j] = -y[j];
    }
    for (long j = 1; j <= m; ++j)
        if (!(this->lx[j] == -Constant<R1>::INF())) y[j] -= this->lx[j];
    // 6. The slack values, from the slack rows of unprepared on the file's x: the prepared
    //    equations were reordered and rescaled, the slack stage's rows are the last ones of
    //    unprepared as it made them (an inequation's K a x - s = K l, a target's
    //    K a x + s1 - s2 = K d, in the order of the slack columns). A negative inequation slack
    //    (x breaks the inequation) is kept: vectors outside the bounds are mapped too.
    const long inequationSlacks = unprepared.slackInequationCount;
    const long q = inequationSlacks + unprepared.slackTargetVariableCount;
    y.setDimension(m + q, false);
    if (q > 0) {
        const long fileVariables = unprepared.rx.dimension() - q;
        long row = unprepared.Ag.rowCount - (inequationSlacks + unprepared.slackTargetVariableCount / 2) + 1;
        for (long k = 1; k <= q; ++row) {
            const R1 v = unprepared.computeSlackValue(row, opt_vec, fileVariables);
            if (k <= inequationSlacks) {
                y[m + k] = v;
                k += 1;
            } else {
                // The first of the pair takes the negative side.
                const bool negative = v < Constant<R1>::ZERO();
                y[m + k] = negative ? R1(-v) : Constant<R1>::ZERO();
                y[m + k + 1] = negative ? Constant<R1>::ZERO() : v;
                k += 2;
            }
        }
    }
    // 7. The columns before the variables, s of them.
    lat_vec.makeZero(dimN);
    const long n = y.dimension();
    const long s = dimN - n - 1;
    const R1 two = Constant<R1>::ONE() + Constant<R1>::ONE();
    // 8. The target sum and the inequations.
    const long h = targetColumn ? 1 : 0;
    if (checkVectorsState != 1) {
        if (h == 1) lat_vec[1] = (two * (this->atu * y) - (this->ltu + this->rtu)) * c[1];
        if (checkVectorsState == 2)
            for (long i = 1; i <= this->Au.rowCount; ++i)
                lat_vec[h + i] = (two * (this->Au[i] * y) - (this->lu[i] + this->ru[i])) * c[h + i];
    }
    // 9. The equations, unscaled.
    if (checkVectorsState == 1)
        for (long i = 1; i <= s; ++i)
            lat_vec[i] = this->Ag[i] * y - this->bg[i];
    // 10. The variables.
    for (long j = 1; j <= n; ++j)
        lat_vec[s + j] = y[j] * (two * c[s + j]) - R;
    // 11. The marker.
    lat_vec[dimN] = inhomogenousConstant;
    for (long i = 1; i <= dimN; ++i)
        checkOverflow(lat_vec[i], "lat_vec overflow");
    // 12.
    if (trim) lat_vec = handleScalingAndTranslation(lat_vec, true);
}

template <class R1, class R2>
void Lattice<R1, R2>::sol2star()
{
    // 1.
    const long before = this->stars.dimension();
    const long slacks = unprepared.slackInequationCount + unprepared.slackTargetVariableCount;
    // 2. Index 0 is the best target reached (bestVector, which fails the bounds, never is), the
    //    others the found solutions.
    for (long index = 0; index <= solutions.dimension(); ++index) {
        if (index == 0 && bestTarget.dimension() == 0) continue;
        const TargetVector<R1>& found = index == 0 ? bestTarget : solutions[index];
        // 3. Only a vector whose marker has the size of the constant is a solution.
        Vector<R1> xOpt;
        if (lat2opt(found, xOpt, true, true) != 1) fatal("sol2star: lat2opt can not compute x_opt");
        // 4. Figures of the targets, as the file states them.
        Vector<R1> targetValues;
        R1 targetNorm = Constant<R1>::ZERO();
        R1 slackNorm = Constant<R1>::ZERO();
        if (unprepared.At.rowCount > 0) {
            targetValues = unprepared.At * xOpt;
            targetNorm = unprepared.computeTargetNorm(targetValues, xOpt, slackNorm);
        }
        // 5. The program's own variables.
        xOpt.setDimension(xOpt.dimension() - slacks, false);
        // 6.
        Star<R1> star(std::move(xOpt), std::move(targetValues), std::move(targetNorm), std::move(slackNorm),
                      found.secondsUntilDiscovered, params.toString(), Star<R1>::CURRENT_VERSION);
        const long size = this->stars.dimension();
        this->stars.setDimension(size + 1, false);
        this->stars[size + 1] = std::move(star);
    }
    // 7. Best first, without duplicates.
    if (this->stars.dimension() > before && this->stars.dimension() > 0) {
        this->stars.heapSort();
        Star<R1>::removeStarDublettes(this->stars, params.bench.value > 0);
    }
}

#define LATOPT_VECTOR_MAP_MEMBERS(R1, R2)                                                                    \
    template bool Lattice<R1, R2>::inhomogenousComponentHasRightSign(const Vector<R1>&, bool) const;         \
    template short Lattice<R1, R2>::lat2opt(const Vector<R1>&, Vector<R1>&, bool, bool) const;               \
    template void Lattice<R1, R2>::opt2lat(const Vector<R1>&, Vector<R1>&, bool) const;                      \
    template void Lattice<R1, R2>::sol2star();
LATOPT_VECTOR_MAP_MEMBERS(long double, long double)
LATOPT_VECTOR_MAP_MEMBERS(long double, QQ)
LATOPT_VECTOR_MAP_MEMBERS(QQ, long double)
LATOPT_VECTOR_MAP_MEMBERS(QQ, QQ)
#undef LATOPT_VECTOR_MAP_MEMBERS

} // namespace latopt
