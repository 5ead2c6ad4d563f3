// heuristic.cpp: the deviation tuple and its tolerant lexicographic order.
#include "lattice/heuristic.h"

#include "arith/constant.h"
#include "arith/precision.h"
#include "arith/qq.h"
#include "base/log.h"

namespace latopt {
namespace {

// a is below b by more than the tolerance.
template <class T>
bool clearlyBelow(const T& a, const T& b)
{
    return a + Constant<T>::EPSILON() < b;
}

template <class T>
void requireInitialised(const HeuristicDeviation<T>& a, const HeuristicDeviation<T>& b)
{
    if (a.type != b.type && (a.type == DEVIATION_UNINITIALIZED || b.type == DEVIATION_UNINITIALIZED))
        fatal("Heuristic deviation is not initialized!");
}

} // namespace

template <class T>
HeuristicDeviation<T>::HeuristicDeviation() : HeuristicDeviation(DEVIATION_UNINITIALIZED, true)
{
}

template <class T>
HeuristicDeviation<T>::HeuristicDeviation(HeuristicDeviationType type, bool max) : type(type)
{
    maximizeOrMinimize(max);
}

template <class T>
void HeuristicDeviation<T>::maximizeOrMinimize(bool max)
{
    const T value = max ? Constant<T>::INF() : Constant<T>::ZERO();
    feasible = !max;
    targetNorm = value;
    maxDeviation = value;
    sumDeviation = value;
    squaredNorm = value;
    deviationCount = max ? Constant<long>::MAX() : 0;
    maxDeviationIndex = 0;
}

template <class T>
bool HeuristicDeviation<T>::operator<(const HeuristicDeviation& other) const
{
    // 1. Nothing is better than itself.
    if (this == &other) return false;
    // 2. An inhomogenous vector always goes first.
    requireInitialised(*this, other);
    if (type != other.type) return type == DEVIATION_INHOMOGENOUS;
    // 3. Homogenous vectors: the shorter first, the rest only breaks ties.
    if (type == DEVIATION_HOMOGENOUS) {
        if (clearlyBelow(squaredNorm, other.squaredNorm)) return true;
        if (clearlyBelow(other.squaredNorm, squaredNorm)) return false;
    }
    // 4. Feasible vectors first, by target norm among themselves.
    if (feasible) return !other.feasible || clearlyBelow(targetNorm, other.targetNorm);
    if (other.feasible) return false;
    // 5. Fewer deviating coordinates (exactly), then the largest deviation, then their sum.
    if (deviationCount != other.deviationCount) return deviationCount < other.deviationCount;
    if (clearlyBelow(maxDeviation, other.maxDeviation)) return true;
    if (clearlyBelow(other.maxDeviation, maxDeviation)) return false;
    if (clearlyBelow(sumDeviation, other.sumDeviation)) return true;
    if (clearlyBelow(other.sumDeviation, sumDeviation)) return false;
    // 6. The shorter vector.
    return clearlyBelow(squaredNorm, other.squaredNorm);
}

template <class T>
bool HeuristicDeviation<T>::operator==(const HeuristicDeviation& other) const
{
    if (this == &other) return true;
    requireInitialised(*this, other);
    return !(*this < other) && !(other < *this);
}

template <class T>
template <class U>
HeuristicDeviation<T>& HeuristicDeviation<T>::_assign(const HeuristicDeviation<U>& other)
{
    feasible = other.feasible;
    Precision::conv(other.targetNorm, targetNorm, false);
    Precision::conv(other.maxDeviation, maxDeviation, false);
    deviationCount = other.deviationCount;
    Precision::conv(other.sumDeviation, sumDeviation, false);
    maxDeviationIndex = other.maxDeviationIndex;
    Precision::conv(other.squaredNorm, squaredNorm, false);
    type = other.type;
    return *this;
}

template class HeuristicDeviation<long double>;
template class HeuristicDeviation<QQ>;
template HeuristicDeviation<long double>&
HeuristicDeviation<long double>::_assign(const HeuristicDeviation<long double>&);
template HeuristicDeviation<long double>&
HeuristicDeviation<long double>::_assign(const HeuristicDeviation<QQ>&);
template HeuristicDeviation<QQ>& HeuristicDeviation<QQ>::_assign(const HeuristicDeviation<long double>&);
template HeuristicDeviation<QQ>& HeuristicDeviation<QQ>::_assign(const HeuristicDeviation<QQ>&);

} // namespace latopt
