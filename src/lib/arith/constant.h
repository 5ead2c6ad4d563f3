// constant.h: Constant<T>, the named constants of each number type, as static functions that
// return a function-local static built on first use. The long double, long and long long columns
// live here; Constant<ZZ> and Constant<QQ> are declared beside their types (zz.h, qq.h).
#pragma once

#include "base/const.h"

#include <limits>
#include <string>

namespace latopt {

template <class T>
class Constant;

template <>
class Constant<long double> {
public:
    static long double ZERO() { return 0.0L; }
    static long double ONE() { return 1.0L; }
    static long double TWO() { return 2.0L; }
    static long double THREE() { return 3.0L; }
    static long double TEN() { return 10.0L; }
    static long double HALF()
    {
        static const long double value = ONE() / TWO();
        return value;
    }
    // 10^-9: the tolerance of every zero test.
    static long double EPSILON()
    {
        static const long double value = ONE() / Const::DOUBLE_OVERFLOW();
        return value;
    }
    static long double DELTA()
    {
        static const long double value = ONE() - EPSILON();
        return value;
    }
    static long double INF() { return std::numeric_limits<long double>::infinity(); }
    static long double SCALE_LIMIT_DEFAULT() { return 1000.0L; }
};

template <>
class Constant<long> {
public:
    static long ZERO() { return 0; }
    static long ONE() { return 1; }
    static long EPSILON() { return 0; }
    static long INF() { return std::numeric_limits<long>::max(); }
    static long MAX() { return std::numeric_limits<long>::max(); }
};

template <>
class Constant<long long> {
public:
    static long long ZERO() { return 0; }
    static long long ONE() { return 1; }
    // 1 / DOUBLE_OVERFLOW in integer arithmetic.
    static long long EPSILON() { return static_cast<long long>(1 / Const::DOUBLE_OVERFLOW()); }
};

template <>
class Constant<short> {
public:
    static short ZERO() { return 0; }
    static short ONE() { return 1; }
};

template <>
class Constant<float> {
public:
    static float ZERO() { return 0.0f; }
};

template <>
class Constant<unsigned long> {
public:
    static unsigned long ZERO() { return 0; }
};

template <>
class Constant<bool> {
public:
    static bool ZERO() { return false; }
};

template <>
class Constant<std::string> {
public:
    static std::string EMPTY() { return std::string(); }
    static std::string ZERO() { return std::string(); }
};

} // namespace latopt
