// heuristic.h: how far a lattice vector is from feasibility, and the vectors of the collection
// sets that carry that measure. A HeuristicDeviation is a tuple compared lexicographically, each
// number with the tolerance EPSILON of its type: inhomogenous vectors before homogenous ones,
// among homogenous vectors the shorter first; among inhomogenous ones the feasible first (by
// target norm), then fewer deviating coordinates, a smaller largest deviation, a smaller sum of
// deviations, a shorter vector. The tolerance makes the order intransitive for values closer than
// EPSILON, so the contents of a set can depend on the order of arrival.
// Built for long double and QQ (heuristic.cpp); other types do not link.
#pragma once

#include "program/star.h"

namespace latopt {

enum HeuristicDeviationType : short {
    DEVIATION_UNINITIALIZED = 0,
    DEVIATION_HOMOGENOUS = 1,   // last component zero
    DEVIATION_INHOMOGENOUS = 2, // last component not zero
};

template <class T>
class HeuristicDeviation {
public:
    bool feasible;          // no coordinate deviates and the program has target bounds
    T targetNorm;           // only for a feasible vector
    T maxDeviation;         // the largest coordinate deviation
    long deviationCount;    // how many coordinates deviate
    T sumDeviation;         // the sum of the deviations
    long maxDeviationIndex; // the coordinate of the largest; 0: none
    T squaredNorm;          // <u, u> of the untrimmed vector
    HeuristicDeviationType type;

    // type uninitialised, the worst values.
    HeuristicDeviation();
    // type, then maximizeOrMinimize(max).
    HeuristicDeviation(HeuristicDeviationType type, bool max);

    // max: the worst values of the type (not feasible, the numbers INF, deviationCount the largest
    // long); otherwise the best (feasible, all 0). maxDeviationIndex 0 either way.
    void maximizeOrMinimize(bool max);

    // Strictly better than other. Types differ: an inhomogenous deviation is better; an
    // uninitialised one is fatal ("Heuristic deviation is not initialized!").
    bool operator<(const HeuristicDeviation& other) const;
    // Neither is better (the same fatal error for an uninitialised type against another).
    bool operator==(const HeuristicDeviation& other) const;

    // Member-wise through Precision::conv, without probe (a deviation is derived data).
    template <class U>
    HeuristicDeviation& _assign(const HeuristicDeviation<U>& other);
};

// A found vector with its time and its deviation, the element of the collection sets.
template <class R1, class R2>
class HeuristicVector : public TimeVector<R1> {
public:
    HeuristicDeviation<R1> deviation;

    HeuristicVector() = default;
    HeuristicVector(const TimeVector<R1>& vector, const HeuristicDeviation<R1>& deviation)
        : TimeVector<R1>(vector), deviation(deviation)
    {
    }

    // The deviations only: a is better than b.
    bool operator<(const HeuristicVector& other) const { return deviation < other.deviation; }

    // The time vector, then the deviation.
    template <class S1, class S2>
    HeuristicVector& _assign(const HeuristicVector<S1, S2>& other)
    {
        TimeVector<R1>::_assign(static_cast<const TimeVector<S1>&>(other));
        deviation._assign(other.deviation);
        return *this;
    }

    // Dimension 0, time unknown, the deviation uninitialised and worst.
    void resetAllMembers() override
    {
        TimeVector<R1>::resetAllMembers();
        deviation = HeuristicDeviation<R1>();
    }
};

// Vectors are the same in a set when their entries are (the tolerant vector equality); the
// deviations don't take part.
template <class R1, class R2>
bool isSameVector(const HeuristicVector<R1, R2>& a, const HeuristicVector<R1, R2>& b)
{
    return static_cast<const Vector<R1>&>(a) == static_cast<const Vector<R1>&>(b);
}

} // namespace latopt
