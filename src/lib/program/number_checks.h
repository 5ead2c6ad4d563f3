// number_checks.h: the tests by which the preparation of a program decides whether a long double
// result can be trusted, with their exact QQ partners that never throw, and the tests for
// infinite bounds. Internal to the program module (preparation, normalisation, targets).
#pragma once

#include "arith/constant.h"
#include "arith/math.h"
#include "arith/precision.h"
#include "arith/qq.h"
#include "base/exceptions.h"

#include <cmath>
#include <string>

namespace latopt::program_checks {

template <class T>
bool isPlusInfinity(const T& x)
{
    return x == Constant<T>::INF();
}

template <class T>
bool isMinusInfinity(const T& x)
{
    return x == -Constant<T>::INF();
}

template <class T>
bool isInfinite(const T& x)
{
    return Math::abs(x) == Constant<T>::INF();
}

// Throws PrecisionException(what) when x lies beyond the trusted range of a long double.
inline void checkOverflow(const long double& x, const char* what)
{
    if (Precision::overflows(x)) throw PrecisionException(what);
}
inline void checkOverflow(const QQ&, const char*)
{
}

// A value that should be an integer: when x is not exactly one but lies within 10^-9 (relative)
// of one, the rounding of the long double decides which side a floor or ceil falls on, so the
// result can't be trusted (PrecisionException(what)). Values farther away are true fractions.
inline void checkIntegral(const long double& x, const char* what)
{
    if (std::isinf(x)) return;
    const long double nearest = roundl(x);
    if (x == nearest) return;
    const long double scale = fabsl(x) > 1 ? fabsl(x) : 1.0L;
    if (fabsl(x - nearest) <= Constant<long double>::EPSILON() * scale) throw PrecisionException(what);
}
inline void checkIntegral(const QQ&, const char*)
{
}

// A least common multiple kept as an integer of at most 10^18, the limit of exact long doubles
// used here; beyond it PrecisionException("kgv overflow"), and the work is redone in QQ.
inline void checkKgv(const long double& x)
{
    if (fabsl(x) > 1e18L) throw PrecisionException("kgv overflow");
}
inline void checkKgv(const QQ&)
{
}

} // namespace latopt::program_checks
