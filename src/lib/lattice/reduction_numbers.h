// reduction_numbers.h: the number crossings of the Gram-Schmidt recurrence and the reduction, as
// overloads for the pairs of long double and QQ (internal to gram_schmidt.cpp and reduction.cpp).
// Basis entries (R1) become Gram-Schmidt numbers (R2) by rounding, never by throwing: derived data
// may be approximate, and a throw there would have no retry to go to. A quotient of the size
// reduction (an integer in R2) becomes R1 exactly. Changed long double entries of the basis pass
// the overflow test of the precision layer: values up to 10^18 are exact integers and stay,
// anything beyond throws FatalPrecisionException, which sends the work to exact arithmetic.
#pragma once

#include "arith/precision.h"
#include "arith/qq.h"
#include "arith/zz.h"
#include "base/exceptions.h"

#include <cmath>

namespace latopt::reduction {

// 128-bit integers, for exact inner products of rows of 64-bit integers.
__extension__ typedef __int128 Int128;
__extension__ typedef unsigned __int128 UInt128;

// A value of one number type as the other, for the Gram-Schmidt data of the rows and for the
// quotients of the size reduction: unchanged within a type; QQ to the nearest long double; a
// long double integer of any size to its exact QQ through its binary significand, anything else
// through the 17-digit reading.
inline void convert(const long double& x, long double& y)
{
    y = x;
}
inline void convert(const QQ& x, QQ& y)
{
    y = x;
}
inline void convert(const QQ& x, long double& y)
{
    y = x.toDblRounded();
}
inline void convert(const long double& x, QQ& y)
{
    if (!std::isfinite(x) || x != truncl(x)) {
        y = QQ(x);
        return;
    }
    if (fabsl(x) < 0x1p63L) {
        y = QQ(static_cast<long long>(x));
        return;
    }
    int exponent = 0;
    const long double fraction = frexpl(fabsl(x), &exponent);
    const auto significand = static_cast<unsigned long long>(ldexpl(fraction, 64));
    ZZ high(static_cast<long long>(significand >> 32));
    ZZ low(static_cast<long long>(significand & 0xffffffffULL));
    ZZ shift;
    ZZ::pow(ZZ(2), ZZ(32), shift);
    ZZ value;
    ZZ::mul(high, shift, value);
    ZZ::add(value, low, value);
    ZZ power;
    ZZ::pow(ZZ(2), ZZ(exponent - 64), power);
    ZZ::mul(value, power, value);
    if (x < 0) value.isPositive = false;
    y = QQ(value);
}

// A coefficient of the size reduction must be a number: in long double a Gram-Schmidt row that
// has broken down (a projection rounded to zero, an infinite quotient) is a precision failure.
inline void checkCoefficient(const long double& mu)
{
    if (!std::isfinite(mu)) throw PrecisionException("Gram-Schmidt coefficient is not finite");
}
inline void checkCoefficient(const QQ& mu)
{
    (void)mu;
}

// A changed entry of the basis (or of a transformation) in long double must stay trusted; QQ has
// no limit.
inline void checkEntry(const long double& x)
{
    (void)Precision::overflows(x);
}
inline void checkEntry(const QQ& x)
{
    (void)x;
}

// The integer image of an entry: true, with the value, for an integer below 2^53 in magnitude.
inline bool integerImage(const long double& x, long long& value)
{
    if (!(fabsl(x) < 0x1p53L) || x != truncl(x)) return false;
    value = static_cast<long long>(x);
    return true;
}
inline bool integerImage(const QQ& x, long long& value)
{
    if (x.isInf || !x.zaehler.isZero() || x.ganze.dimension() > 2) return false;
    const long double magnitude = x.integerToDbl();
    if (!(fabsl(magnitude) < 0x1p53L)) return false;
    value = static_cast<long long>(magnitude);
    return true;
}

// An exact integer sum as R2: rounded once to long double, exact in QQ.
inline void fromInteger(long long sum, long double& y)
{
    y = static_cast<long double>(sum);
}
inline void fromInteger(long long sum, QQ& y)
{
    y = QQ(sum);
}
inline void fromInteger(Int128 sum, long double& y)
{
    y = static_cast<long double>(sum);
}
inline void fromInteger(Int128 sum, QQ& y)
{
    const bool negative = sum < 0;
    const UInt128 magnitude = negative ? -static_cast<UInt128>(sum) : static_cast<UInt128>(sum);
    const auto top = static_cast<unsigned long long>(magnitude >> 64);
    const auto bottom = static_cast<unsigned long long>(magnitude);
    // Four 32-bit digits, each a long long, by Horner.
    const QQ digitBase(static_cast<long long>(1) << 32);
    QQ value(static_cast<long long>(top >> 32));
    value = value * digitBase + QQ(static_cast<long long>(top & 0xffffffffULL));
    value = value * digitBase + QQ(static_cast<long long>(bottom >> 32));
    value = value * digitBase + QQ(static_cast<long long>(bottom & 0xffffffffULL));
    y = negative ? -value : value;
}

} // namespace latopt::reduction
