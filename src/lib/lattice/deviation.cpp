// deviation.cpp: how far a lattice vector is from the bounds of the lattice, and the collection
// sets that keep the best vectors by that measure. See heuristic.h for the order.
#include "arith/constant.h"
#include "arith/precision.h"
#include "arith/qq.h"
#include "base/log.h"
#include "lattice/lattice.h"

#include <algorithm>

namespace latopt {

namespace {

// Walks the coordinates of the untrimmed u that deviate from the bounds of the lattice, calling
// visit(coordinate, deviation) with each positive deviation (one that is zero within the
// tolerance is none): the marker first, then the variable columns, then the columns in front of
// them from the last down. A side on which a variable is free has no bound to miss (and its
// infinite bound must not meet an infinite component); the degree is that of the prepared
// variable, as the embedding reads it. The target column (only without the equation columns of
// the kernel stage) holds the target sum scaled around the middle of its bounds; its deviation is
// that of the program's target sum from those bounds, ltu and rtu of unprepared, in the units of
// the program. skipTargetRow leaves it out.
template <class R1, class R2, class Visit>
void forEachDeviation(const Lattice<R1, R2>& lattice, const Vector<R1>& u, bool skipTargetRow, Visit visit)
{
    const Vector<R1>& l = lattice.l;
    const Vector<R1>& r = lattice.r;
    const long dimN = lattice.dimN;
    auto step = [&visit](long coordinate, const R1& deviation) {
        if (Constant<R1>::ZERO() < deviation && !Precision::equalsZero(deviation, true))
            visit(coordinate, deviation);
    };
    step(dimN, std::max(l[dimN] - u[dimN], u[dimN] - r[dimN]));
    const long n = lattice.rx.dimension();
    for (long i = 1; i <= n; ++i) {
        const long c = dimN - n + i - 1;
        const FreedomDegree degree = Vorm<R1>::evaluateFreedomDegree(lattice.lx[i], lattice.rx[i]);
        const R1 left = degree == LEFT_FREE || degree == FREE ? Constant<R1>::ZERO() : l[c] - u[c];
        const R1 right = degree == RIGHT_FREE || degree == FREE ? Constant<R1>::ZERO() : u[c] - r[c];
        step(c, std::max(left, right));
    }
    const bool targetColumn = lattice.targetColumn;
    for (long c = dimN - n - 1; c >= 1; --c) {
        if (c == 1 && targetColumn) {
            if (skipTargetRow) continue;
            const R1 value = lattice.computeTargetValue(u);
            step(c, std::max(lattice.unprepared.ltu - value, value - lattice.unprepared.rtu));
            continue;
        }
        step(c, std::max(l[c] - u[c], u[c] - r[c]));
    }
}

} // namespace

template <class R1, class R2>
Array<RightOrderPair<long, R1>> Lattice<R1, R2>::computeDeviations(const Vector<R1>& v, bool skipTargetRow,
                                                                   bool trimmed) const
{
    Array<RightOrderPair<long, R1>> pairs;
    // 1.-4. The deviations of the untrimmed vector.
    Vector<R1> untrimmed;
    if (trimmed) untrimmed = handleScalingAndTranslation(v, false);
    const Vector<R1>& u = trimmed ? untrimmed : v;
    forEachDeviation(*this, u, skipTargetRow,
                     [&pairs](long c, const R1& d) { pairs.pushBack(RightOrderPair<long, R1>(c, d)); });
    // 5. The largest first: ascending by the deviation, then turned round.
    pairs.heapSort();
    for (long i = 1, j = pairs.dimension(); i < j; ++i, --j)
        pairs.swapComponents(i, j);
    return pairs;
}

template <class R1, class R2>
HeuristicDeviation<R1> Lattice<R1, R2>::computeHeuristicDeviation(const Vector<R1>& v, bool trimmed) const
{
    // 1. The worst values to start from.
    HeuristicDeviation<R1> deviation(DEVIATION_UNINITIALIZED, true);
    // 2. The untrimmed vector.
    Vector<R1> untrimmed;
    if (trimmed) untrimmed = handleScalingAndTranslation(v, false);
    const Vector<R1>& u = trimmed ? untrimmed : v;
    // 3. A zero marker makes a homogenous vector.
    deviation.type = Precision::equalsZero(u[dimN], true) ? DEVIATION_HOMOGENOUS : DEVIATION_INHOMOGENOUS;
    // 4.-5. The deviations without the target column: count, sum and the largest (the first of
    //    equal largest ones in the walk). Summed in the walk's order, not sorted: this runs for
    //    every offered vector, and the tolerant order of deviations doesn't see the difference.
    deviation.deviationCount = 0;
    deviation.sumDeviation = Constant<R1>::ZERO();
    deviation.maxDeviation = Constant<R1>::ZERO();
    deviation.maxDeviationIndex = 0;
    forEachDeviation(*this, u, true, [&deviation](long c, const R1& d) {
        ++deviation.deviationCount;
        deviation.sumDeviation += d;
        if (deviation.maxDeviation < d) {
            deviation.maxDeviation = d;
            deviation.maxDeviationIndex = c;
        }
    });
    // 6. Feasibility needs target bounds. Only a vector without deviations pays for the map to the
    //    program and its target norm.
    if (unprepared.tu == 1) {
        deviation.feasible = deviation.deviationCount == 0;
        if (deviation.feasible) {
            Vector<R1> x;
            lat2opt(u, x, true, true);
            R1 slackNorm;
            deviation.targetNorm = unprepared.computeTargetNorm(unprepared.At * x, x, slackNorm);
        }
    }
    // 7. The length of the untrimmed vector.
    deviation.squaredNorm = u * u;
    return deviation;
}

template <class R1, class R2>
R1 Lattice<R1, R2>::computeTargetValue(const Vector<R1>& v) const
{
    Vector<R1> x;
    // lat2opt answers 1 or -1, so this guard stays silent; it marks what must not happen.
    if (lat2opt(v, x, true, true) == 0) fatal("is not within lattice2");
    return unprepared.atu * x;
}

template <class R1, class R2>
bool Lattice<R1, R2>::collect(const Vector<R1>& v, CollectionSet* homogenous, CollectionSet* inhomogenous)
{
    return collect(TimeVector<R1>(v, statistics.elapsedSeconds()), homogenous, inhomogenous);
}

template <class R1, class R2>
bool Lattice<R1, R2>::collect(const TimeVector<R1>& v, CollectionSet* homogenous, CollectionSet* inhomogenous)
{
    return collect(HeuristicVector<R1, R2>(v, computeHeuristicDeviation(v, false)), homogenous, inhomogenous);
}

template <class R1, class R2>
bool Lattice<R1, R2>::collect(const HeuristicVector<R1, R2>& h, CollectionSet* homogenous,
                              CollectionSet* inhomogenous)
{
    // 1. Too long for any vector of the lattice's box.
    if (maxUnscaledLatVecSquaredEuclideanNorm < h * h) return false;
    // 2. Into the set of its kind.
    CollectionSet* set = h.deviation.type == DEVIATION_HOMOGENOUS
                             ? (homogenous != nullptr ? homogenous : &goodVectors)
                             : (inhomogenous != nullptr ? inhomogenous : &bestVectors);
    return set->insert(h);
}

#define LATOPT_DEVIATION_MEMBERS(R1, R2)                                                                     \
    template Array<RightOrderPair<long, R1>> Lattice<R1, R2>::computeDeviations(const Vector<R1>&, bool,     \
                                                                                bool) const;                 \
    template HeuristicDeviation<R1> Lattice<R1, R2>::computeHeuristicDeviation(const Vector<R1>&, bool)      \
        const;                                                                                               \
    template R1 Lattice<R1, R2>::computeTargetValue(const Vector<R1>&) const;                                \
    template bool Lattice<R1, R2>::collect(const Vector<R1>&, CollectionSet*, CollectionSet*);               \
    template bool Lattice<R1, R2>::collect(const TimeVector<R1>&, CollectionSet*, CollectionSet*);           \
    template bool Lattice<R1, R2>::collect(const HeuristicVector<R1, R2>&, CollectionSet*, CollectionSet*);
LATOPT_DEVIATION_MEMBERS(long double, long double)
LATOPT_DEVIATION_MEMBERS(long double, QQ)
LATOPT_DEVIATION_MEMBERS(QQ, long double)
LATOPT_DEVIATION_MEMBERS(QQ, QQ)
#undef LATOPT_DEVIATION_MEMBERS

} // namespace latopt
