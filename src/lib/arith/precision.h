// precision.h: Precision, the zero and overflow tests that decide whether a long double can be
// trusted. Long doubles are trusted up to 10^9 in magnitude: overflows() flags anything beyond,
// and beyond 10^18 it throws FatalPrecisionException, since no check can repair such a value.
// An infinity is a legal value and never overflows.
// Values cross between long double and QQ through decimal text: QQ from a long double reads its
// 17 significant digits (values of at most 10^-9 in magnitude become 0), QQ::toDbl writes at most
// 18 significant digits and lets the stream round them (qq_precision.cpp). Precision::conv moves
// a value, or a container of values, across and can probe the way back: a round trip that
// misses the source by more than 10^-9 throws PrecisionException("Precision lost during
// conversion"). The probe objects are process-wide statics: conv is not re-entrant.
#pragma once

#include "arith/constant.h"
#include "base/exceptions.h"
#include "base/serializable.h"

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
        if (!(magnitude > Const::DOUBLE_OVERFLOW()) || std::isinf(magnitude)) return false;
        if (magnitude > Const::DOUBLE_FATAL_OVERFLOW())
            throw FatalPrecisionException(
                "Uncorrectable precision overflow detected - probably more overflow / precision checks "
                "are needed ...");
        return true;
    }

    // t = s across number types (or a plain copy within one), then, with probe, the round trip:
    // t converted back into a static object of the source type must equal s within 10^-9, else
    // PrecisionException("Precision lost during conversion"). Returns t. After a throw t holds
    // the converted, unfaithful value; s is never changed.
    // QQ to long double is s.toDbl(probe, allowPostCommaLoss): with probe set, a value that isn't
    // exact in 18 significant digits throws already there, unless allowPostCommaLoss lets its
    // fraction be rounded. Without probe the fourth argument has no effect. An array assigned
    // from one of the other type passes its throwOnLoss and allowPostCommaLoss here, per element.
    static long double& conv(QQ const& s, long double& t, bool probe, bool allowPostCommaLoss = false);
    // QQ(s): the decimal reading of s in 17 significant digits. Never loses more than the probe
    // tolerates unless |s| is large: the 17 digits then miss s by more than 10^-9.
    static QQ& conv(long double const& s, QQ& t, bool probe, bool allowPostCommaLoss = false);
    template <class T>
    static T& conv(T const& s, T& t, bool probe, bool allowPostCommaLoss = false)
    {
        (void)probe;
        (void)allowPostCommaLoss;
        if (&s != &t) t = s;
        return t;
    }
    // Containers (Vector, Matrix and the records built of them): the target's own templated
    // _assign, which converts each value with the target's flags; the probe compares with the
    // source's operator==, which is tolerant.
    template <class S, class T>
    static T& conv(S const& s, T& t, bool probe, bool allowPostCommaLoss = false)
    {
        (void)allowPostCommaLoss;
        // 1. Convert.
        t._assign(s);
        // 2. Without probe that is all.
        if (!probe) return t;
        // 3. Back into the source type.
        static S probeObject;
        probeObject._assign(t);
        // 4. The way back must arrive where it started.
        if (!(probeObject == s)) throw PrecisionException("Precision lost during conversion");
        return t;
    }
    // Pairs convert their number members; an index on the left is copied.
    template <class L, class S, class T>
    static Pair<L, T>& conv(Pair<L, S> const& s, Pair<L, T>& t, bool probe, bool allowPostCommaLoss = false)
    {
        t.left = s.left;
        conv(s.right, t.right, probe, allowPostCommaLoss);
        return t;
    }
    template <class L, class S, class T>
    static RightOrderPair<L, T>& conv(RightOrderPair<L, S> const& s, RightOrderPair<L, T>& t, bool probe,
                                      bool allowPostCommaLoss = false)
    {
        t.left = s.left;
        conv(s.right, t.right, probe, allowPostCommaLoss);
        return t;
    }
    template <class S, class T>
    static SerializablePair<T, T>& conv(SerializablePair<S, S> const& s, SerializablePair<T, T>& t,
                                        bool probe, bool allowPostCommaLoss = false)
    {
        conv(s.left, t.left, probe, allowPostCommaLoss);
        conv(s.right, t.right, probe, allowPostCommaLoss);
        return t;
    }

    // The smallest factor that makes x an integer: QQ's nenner (1 for an infinity); for a long
    // double 10^(digits behind the point of its 17-digit text) over their ggt with that power,
    // so 0.25 gives 4 and 3 gives 1. A text with an exponent keeps it behind the point.
    template <class T>
    static T getIntegerMakingFactor(T const& x);
    // x cut to DBL_DIGITS (18) digits of its denominator (QQ::truncate); for the values of an
    // inexact root. Nothing to do for a long double.
    static void truncateDecimal(QQ& x);
    static void truncateDecimal(long double& x) { (void)x; }
    // Sets QQ::enableTruncate: the truncating products and tolerant zero tests of the row
    // elimination (Vorm<QQ>::toggleFractionTruncate forwards here).
    static void toggleFractionTruncate(bool on);
};

template <>
long double Precision::getIntegerMakingFactor<long double>(long double const& x);
template <>
QQ Precision::getIntegerMakingFactor<QQ>(QQ const& x);

// Nearest integer, halves away from zero: the long double partner of round(QQ) (qq.h).
inline long double round(long double const& x)
{
    return roundl(x);
}

} // namespace latopt
