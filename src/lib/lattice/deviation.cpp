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

// The common step of every coordinate: a deviation is positive, and one that is zero within the
// tolerance is none.
template <class R1>
void appendDeviation(Array<RightOrderPair<long, R1>>& pairs, long coordinate, const R1& deviation)
{
    const R1 d = std::max(deviation, Constant<R1>::ZERO());
    if (!Precision::equalsZero(d, true)) pairs.pushBack(RightOrderPair<long, R1>(coordinate, d));
}

} // namespace

template <class R1, class R2>
Array<RightOrderPair<long, R1>> Lattice<R1, R2>::computeDeviations(const Vector<R1>& v, bool skipTargetRow,
                                                                   bool trimmed) const
{
    Array<RightOrderPair<long, R1>> pairs;
    // 1. The untrimmed vector.
    const Vector<R1> u = trimmed ? handleScalingAndTranslation(v, false) : v;
    // 2. The marker first.
    appendDeviation(pairs, dimN, std::max(l[dimN] - u[dimN], u[dimN] - r[dimN]));
    // 3. The variable columns. A side on which the variable is free has no bound to miss (and
    //    its infinite bound must not meet an infinite component). The degree is that of the
    //    prepared variable, as the embedding reads it.
    const long n = this->rx.dimension();
    for (long i = 1; i <= n; ++i) {
        const long c = dimN - n + i - 1;
        const FreedomDegree degree = Vorm<R1>::evaluateFreedomDegree(this->lx[i], this->rx[i]);
        const R1 left = degree == LEFT_FREE || degree == FREE ? Constant<R1>::ZERO() : l[c] - u[c];
        const R1 right = degree == RIGHT_FREE || degree == FREE ? Constant<R1>::ZERO() : u[c] - r[c];
        appendDeviation(pairs, c, std::max(left, right));
    }
    // 4. The columns in front of them, from the last down. The target column (only without the
    //    equation columns of the kernel stage) holds the target sum scaled around the middle of
    //    its bounds; its deviation is that of the program's target sum from those bounds, ltu
    //    and rtu of unprepared, in the units of the program. skipTargetRow leaves it out.
    const bool hasTargetBounds = unprepared.tu == 1;
    const bool targetColumn = hasTargetBounds && checkVectorsState != 1;
    for (long c = dimN - n - 1; c >= 1; --c) {
        if (c == 1 && targetColumn) {
            if (skipTargetRow) continue;
            const R1 value = computeTargetValue(u);
            appendDeviation(pairs, c, std::max(unprepared.ltu - value, value - unprepared.rtu));
            continue;
        }
        appendDeviation(pairs, c, std::max(l[c] - u[c], u[c] - r[c]));
    }
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
    const Vector<R1> u = trimmed ? handleScalingAndTranslation(v, false) : v;
    // 3. A zero marker makes a homogenous vector.
    deviation.type = Precision::equalsZero(u[dimN], true) ? DEVIATION_HOMOGENOUS : DEVIATION_INHOMOGENOUS;
    // 4.-5. The deviations without the target column: count, sum and the largest.
    const Array<RightOrderPair<long, R1>> pairs = computeDeviations(u, true, false);
    deviation.deviationCount = pairs.dimension();
    deviation.sumDeviation = Constant<R1>::ZERO();
    for (long i = 1; i <= pairs.dimension(); ++i)
        deviation.sumDeviation += pairs[i].right;
    deviation.maxDeviation = pairs.dimension() > 0 ? pairs[1].right : Constant<R1>::ZERO();
    deviation.maxDeviationIndex = pairs.dimension() > 0 ? pairs[1].left : 0;
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
