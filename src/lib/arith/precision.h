// precision.h: Precision, the zero and overflow tests that decide whether a long double can be
// trusted. Long doubles are trusted up to 10^9 in magnitude: overflows() flags anything beyond,
// and beyond 10^18 it throws FatalPrecisionException, since no check can repair such a value.
// An infinity is a legal value and never overflows. The conversions between long double and QQ
// join here with the exact numbers.
#pragma once

#include "arith/constant.h"
#include "base/exceptions.h"

#include <cmath>

namespace latopt {

class QQ;

class Precision {
public:
    // |x| <= 10^-9, whatever the flag says: long doubles are always compared with tolerance.
    static bool equalsZero(long double const& x, bool useEpsilon = true)
    {
        (void)useEpsilon;
        return fabsl(x) <= Constant<long double>::EPSILON();
    }
    // With the flag Math::equalsEpsilonZero(x), |x| <= 1/10^9; without it exactly x == 0. Callers
    // that follow the mode of the run pass QQ::enableTruncate (qq.cpp).
    static bool equalsZero(QQ const& x, bool useEpsilon = true);
    static bool overflows(long double const& x)
    {
        const long double magnitude = fabsl(x);
        // Written as "not above" so that a NaN, which compares false, doesn't overflow either.
        if (!(magnitude > Const::DOUBLE_OVERFLOW()) || std::isinf(magnitude))
            return false;
        if (magnitude > Const::DOUBLE_FATAL_OVERFLOW())
            throw FatalPrecisionException(
                "Uncorrectable precision overflow detected - probably more overflow / precision checks "
                "are needed ...");
        return true;
    }
};

} // namespace latopt
