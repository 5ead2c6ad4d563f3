// math.h: Math, generic helpers over the number types: abs, the epsilon tests, ggt (greatest
// common divisor) and kgv (least common multiple). ZZ and QQ add their overloads beside their
// types.
#pragma once

#include "arith/constant.h"

#include <cmath>

namespace latopt {

class ZZ;
class QQ;

class Math {
public:
    template <class T>
    static T abs(const T& x)
    {
        if (x >= Constant<T>::ZERO()) return x;
        return -x;
    }
    // |x| <= EPSILON of the type.
    template <class T>
    static bool equalsEpsilonZero(const T& x)
    {
        return abs(x) <= Constant<T>::EPSILON();
    }
    template <class T>
    static bool areEpsilonEqual(const T& a, const T& b)
    {
        return equalsEpsilonZero(T(a - b));
    }
    // Euclid on absolute values with a floored remainder.
    static long double ggt(long double a, long double b)
    {
        a = fabsl(a);
        b = fabsl(b);
        while (b != 0) {
            const long double remainder = a - floorl(a / b) * b;
            a = b;
            b = remainder;
        }
        return a;
    }
    static long double kgv(const long double& a, const long double& b) { return (a * b) / ggt(a, b); }
    // Euclid on |a| and |b| through ZZ::div; non-negative, ggt(0, 0) = 0 (zz.cpp).
    static ZZ ggt(const ZZ& a, const ZZ& b);
    // (a * b) / ggt(a, b), product first: carries the sign of the product (zz.cpp).
    static ZZ kgv(const ZZ& a, const ZZ& b);
    // Euclid on |a| and |b| with floor(a / b) as the quotient, until b compares equal to 0 (qq.cpp).
    static QQ ggt(const QQ& a, const QQ& b);
    // (a * b) / ggt(a, b) (qq.cpp).
    static QQ kgv(const QQ& a, const QQ& b);
};

} // namespace latopt
