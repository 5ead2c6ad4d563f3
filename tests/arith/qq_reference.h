// qq_reference.h: what the QQ tests compare against. Fraction is a reduced fraction in __int128,
// independent of QQ; expectedQQ() writes it into QQ's fields in the mixed normal form without
// calling any QQ code, and sameQQ() compares all fields and checks the normal form. The __int128
// helpers (toText, magnitude, gcd, randomBelow) serve the ZZ tests as well.
#pragma once

#include "arith/qq.h"

#include "test_seed.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <sstream>
#include <string>

namespace latopt::qq_reference {

__extension__ typedef __int128 Int128;
__extension__ typedef unsigned __int128 UInt128;

inline unsigned long long testSeed()
{
    return test::testSeed(20261122ULL);
}
using test::rounds;
using test::seedTrace;

inline std::string toText(UInt128 value)
{
    std::string text;
    do {
        text.insert(text.begin(), static_cast<char>('0' + static_cast<int>(value % 10)));
        value /= 10;
    } while (value != 0);
    return text;
}

inline UInt128 magnitude(Int128 value)
{
    return value < 0 ? -static_cast<UInt128>(value) : static_cast<UInt128>(value);
}

inline Int128 gcd(Int128 a, Int128 b)
{
    a = a < 0 ? -a : a;
    b = b < 0 ? -b : b;
    while (b != 0) {
        const Int128 t = a % b;
        a = b;
        b = t;
    }
    return a;
}

// num / den, den > 0, gcd 1.
struct Fraction {
    Int128 num = 0;
    Int128 den = 1;
    Fraction() = default;
    Fraction(Int128 n, Int128 d = 1)
    {
        if (d < 0) {
            n = -n;
            d = -d;
        }
        const Int128 g = gcd(n, d);
        num = g == 0 ? 0 : n / g;
        den = g == 0 ? 1 : d / g;
    }
    friend Fraction operator+(Fraction a, Fraction b)
    {
        return {a.num * b.den + b.num * a.den, a.den * b.den};
    }
    friend Fraction operator-(Fraction a, Fraction b)
    {
        return {a.num * b.den - b.num * a.den, a.den * b.den};
    }
    friend Fraction operator*(Fraction a, Fraction b) { return {a.num * b.num, a.den * b.den}; }
    friend Fraction operator/(Fraction a, Fraction b) { return {a.num * b.den, a.den * b.num}; }
    friend int compare(Fraction a, Fraction b)
    {
        const Int128 left = a.num * b.den;
        const Int128 right = b.num * a.den;
        return left < right ? -1 : (left > right ? 1 : 0);
    }
    // Largest integer <= the value.
    Int128 floor() const { return num >= 0 ? num / den : -((-num + den - 1) / den); }
};

inline ZZ zzOf(UInt128 value)
{
    ZZ z;
    z = toText(value).c_str();
    return z;
}

// The mixed normal form of f, field by field.
inline QQ expectedQQ(Fraction f)
{
    QQ q;
    const UInt128 m = magnitude(f.num);
    const UInt128 d = static_cast<UInt128>(f.den);
    q.isPositive = f.num >= 0;
    q.ganze = zzOf(m / d);
    q.zaehler = zzOf(m % d);
    q.nenner = zzOf(m % d == 0 ? 1 : d);
    return q;
}

inline std::string fields(QQ const& q)
{
    std::ostringstream out;
    out << (q.isInf ? "inf " : "") << (q.isPositive ? "+" : "-") << " ganze " << q.ganze << " zaehler "
        << q.zaehler << " nenner " << q.nenner;
    return out.str();
}

// +inf or -inf.
inline QQ inf(bool positive)
{
    QQ q;
    return q.initInf(positive);
}

// Equal fields, and actual in normal form.
inline ::testing::AssertionResult sameQQ(QQ const& actual, QQ const& expected)
{
    if (!actual.isNormal()) return ::testing::AssertionFailure() << "not normal: " << fields(actual);
    if (actual.isInf != expected.isInf || actual.isPositive != expected.isPositive ||
        actual.ganze.compare(expected.ganze) != 0 || actual.zaehler.compare(expected.zaehler) != 0 ||
        actual.nenner.compare(expected.nenner) != 0)
        return ::testing::AssertionFailure() << fields(actual) << " expected " << fields(expected);
    return ::testing::AssertionSuccess();
}

// Below 10^digits in magnitude, random sign.
inline Int128 randomBelow(std::mt19937_64& engine, int digits)
{
    Int128 bound = 1;
    for (int i = 0; i < digits; ++i)
        bound *= 10;
    const UInt128 raw = (static_cast<UInt128>(engine()) << 64) | engine();
    const Int128 value = static_cast<Int128>(raw % static_cast<UInt128>(bound));
    return (engine() & 1) != 0 ? value : -value;
}

// A fraction with numerator and denominator of up to `digits` digits each, of random lengths;
// one in eight an integer, one in sixteen zero.
inline Fraction randomFraction(std::mt19937_64& engine, int digits)
{
    const int numeratorDigits = 1 + static_cast<int>(engine() % digits);
    const int denominatorDigits = 1 + static_cast<int>(engine() % digits);
    switch (engine() % 16) {
    case 0:
        return Fraction(0);
    case 1:
    case 2:
        return Fraction(randomBelow(engine, numeratorDigits));
    default: {
        Int128 den = magnitude(randomBelow(engine, denominatorDigits));
        return Fraction(randomBelow(engine, numeratorDigits), den == 0 ? 1 : den);
    }
    }
}

// A random text "n/d" of up to `digits` digits each (d != 0), for values beyond __int128.
inline std::string randomFractionText(std::mt19937_64& engine, int digits)
{
    auto number = [&](bool nonzero) {
        const int length = 1 + static_cast<int>(engine() % digits);
        std::string text;
        for (int i = 0; i < length; ++i)
            text += static_cast<char>('0' + engine() % 10);
        if (nonzero && text.find_first_not_of('0') == std::string::npos) text.back() = '7';
        return text;
    };
    std::string text = (engine() & 1) != 0 ? "-" : "";
    text += number(false);
    if (engine() % 8 != 0) text += "/" + number(true);
    return text;
}

// Regular expression of the fatal form of message.
inline std::string fatalText(std::string const& message)
{
    std::string escaped;
    for (char c : message) {
        if (std::string("\\^$.|?*+()[]{}").find(c) != std::string::npos) escaped += '\\';
        escaped += c;
    }
    return "\n\\*\\*\\* FAIL: " + escaped + "\n";
}

// Restores the process-wide switches of QQ after each test.
class QqSwitches : public ::testing::Test {
protected:
    void TearDown() override
    {
        QQ::enableTruncate = false;
        QQ::enableFastPaths = true;
    }
};

} // namespace latopt::qq_reference
