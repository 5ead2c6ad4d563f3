// qq.h: QQ, the exact rational of extended precision, with two infinities.
// Representation: the mixed number (isPositive ? 1 : -1) * (ganze + zaehler / nenner); the three ZZ
// hold magnitudes, their own signs stay true. An infinity has isInf set and the fields 1, 0, 1.
// Normal form, restored by kuerzen() after every arithmetic result (isNormal() tests it):
//   0 <= zaehler < nenner, ggt(zaehler, nenner) == 1, zaehler == 0 implies nenner == 1, and zero
//   has isPositive true. So equal values have equal fields; an improper fraction never survives.
// Only two paths lose exactness on purpose: mul while QQ::enableTruncate is set, and truncate()
// (with root(), which uses it). Everything else is exact.
// Three-operand operations take the result first and allow it to be either operand:
//   QQ::add(r, a, b);  // r = a + b; r may be a or b
// Failures: a division by zero throws PrecisionException("QQ: division by zero3"), so that a zero
// produced by rounding in standard precision sends the caller to its exact retry. Every other
// undefined operation (INF - INF, INF * 0, INF / INF, a ZZ sign set inside a QQ, malformed text)
// is a defect and stops the process through fatal() with its own text.
// QQ from long double and toDbl, the crossing between the precision types, are defined with the
// precision layer (qq_precision.cpp); both go through decimal text.
#pragma once

#include "arith/constant.h"
#include "arith/math.h"
#include "arith/zz.h"

#include <iosfwd>
#include <string>

namespace latopt {

class QQ {
public:
    // Switches mul (and the zero tests of callers that pass it) to the truncating mode: the three
    // fractional terms of a product are cut to DBL_DIGITS digits. Process-wide, initially false.
    static bool enableTruncate;
    // Machine-word kernels for add, sub, mul, div and compare while every field has at most
    // WORD_PATH_LIMBS limbs. Their results are the normal form, equal field by field to those of the
    // limb algorithms; the switch exists so that tests can compare the two. Initially true.
    static bool enableFastPaths;
    static constexpr long WORD_PATH_LIMBS = 16; // 144 digits

    bool isInf = false;     // an infinity: ganze 1, zaehler 0, nenner 1
    bool isPositive = true; // sign of the whole number; true for zero
    ZZ ganze;               // integer part, magnitude
    ZZ zaehler;             // numerator of the fractional part, magnitude
    ZZ nenner = ZZ(1);      // denominator of the fractional part

    QQ() = default; // zero
    QQ(int const& x);
    QQ(long const& x);
    QQ(long long const& x);
    QQ(char const* s);        // the text forms of operator=(char const*)
    QQ(long double const& x); // the decimal reading of x in 17 significant digits (qq_precision.cpp)
    QQ(ZZ const& z);
    QQ(ZZ&& z);
    // z / n, reduced; the signs of z and n go into isPositive. n is not tested for zero: with a
    // nonzero z, kuerzen stops in ZZ::div.
    QQ(ZZ const& z, ZZ const& n);
    QQ(ZZ&& z, ZZ&& n);
    QQ(QQ const& other) = default;
    QQ(QQ&& other) noexcept = default;
    ~QQ() = default;

    QQ& operator=(QQ const& other) = default;
    QQ& operator=(QQ&& other) noexcept = default;
    QQ& operator=(int const& x) { return *this = static_cast<long long>(x); }
    QQ& operator=(long const& x) { return *this = static_cast<long long>(x); }
    QQ& operator=(long long const& x);
    // |x| <= EPSILON gives 0; otherwise x written with DBL_OSTREAM_PREC and parsed (qq_precision.cpp).
    QQ& operator=(long double const& x);
    QQ& operator=(ZZ const& z);
    QQ& operator=(ZZ&& z);
    // Parses, after leading white space and an optional sign: "17", "3/4", "2.5" or "2,5", "2:3/4",
    // "inf", each also with an exponent "e"/"E" ("1.5e3", "25e-1"). Malformed text stops.
    QQ& operator=(char const* s);

    static void add(QQ& r, QQ const& a, QQ const& b); // r = a + b
    static void sub(QQ& r, QQ const& a, QQ const& b); // r = a - b
    static void mul(QQ& r, QQ const& a, QQ const& b); // r = a * b; truncating under enableTruncate
    static void div(QQ& r, QQ const& a, QQ const& b); // r = a / b; b zero throws PrecisionException
    static void negate(QQ& r, QQ const& a);           // r = -a; a zero stays positive
    static int compare(QQ const& a, QQ const& b);     // -1, 0, 1; -INF < finite < INF
    // d = kgv(a.nenner, b.nenner), a_z = (d / a.nenner) * a.zaehler, b_z likewise; the integer parts
    // are ignored. The outputs must be three different objects, and a, b finite.
    static void com_denom(ZZ& a_z, ZZ& b_z, ZZ& d, QQ const& a, QQ const& b);
    // r = a^(1/n) by Newton's iteration, accurate to about 10^-9 (not exact, even for perfect
    // powers): the iterate is truncated to a growing number of digits.
    static void root(QQ& r, QQ const& a, ZZ const& n);
    // The text s without leading white space and with its exponent multiplied out, in the form of
    // operator<<; a text without "e" or "E" comes back as it stands.
    static std::string eliminateScientificNotation(char const* s);

    ZZ signedInteger() const;          // ganze with the sign of the number; zero stays positive
    ZZ signedNumerator() const;        // zaehler with the sign of the number; zero stays positive
    QQ getIntegerMakingFactor() const; // 1 for an infinity, else nenner
    // The value as a long double, through decimal text of at most 18 significant digits
    // (qq_precision.cpp). throwOnLoss: an integer part beyond 18 digits throws
    // PreCommaPrecisionException, a fraction that doesn't fit PostCommaPrecisionException unless
    // allowPostCommaLoss.
    long double toDbl(bool throwOnLoss = false, bool allowPostCommaLoss = false) const;
    // toDbl of an integer of at most two limbs, without the text: exact.
    long double integerToDbl() const;
    // The nearest long double (ties to even), never throwing: an integer of any length from its
    // limbs, equal to what the text route reads; anything else through toDbl(false, false). For
    // derived data that may be approximate (Gram-Schmidt numbers), where a failure would have no
    // retry to go to.
    long double toDblRounded() const;
    QQ& kuerzen(); // restores the normal form
    QQ& initInf(bool positive);
    // Cuts the fraction to at most digits decimal digits of nenner, shifting zaehler and nenner
    // alike; ganze and the sign stay and nothing is reduced, so the form may be left non-normal.
    QQ& truncate(unsigned long digits);

    bool isZero() const { return !isInf && ganze.isZero() && zaehler.isZero(); }
    // The normal form above, for tests and assertions.
    bool isNormal() const;
};

// Restores QQ::enableTruncate when it leaves scope, also when an exception passes.
class TruncateGuard {
public:
    explicit TruncateGuard(bool value) : saved(QQ::enableTruncate) { QQ::enableTruncate = value; }
    ~TruncateGuard() { QQ::enableTruncate = saved; }
    TruncateGuard(TruncateGuard const&) = delete;
    TruncateGuard& operator=(TruncateGuard const&) = delete;

private:
    bool saved;
};

QQ operator+(QQ const& a, QQ const& b);
QQ operator-(QQ const& a, QQ const& b);
QQ operator*(QQ const& a, QQ const& b);
QQ operator/(QQ const& a, QQ const& b);
QQ operator-(QQ const& a);
QQ operator/(long double const& a, QQ const& b);
QQ& operator+=(QQ& a, QQ const& b);
QQ& operator-=(QQ& a, QQ const& b);
QQ& operator*=(QQ& a, QQ const& b);
QQ& operator/=(QQ& a, QQ const& b);

inline bool operator==(QQ const& a, QQ const& b)
{
    return QQ::compare(a, b) == 0;
}
inline bool operator!=(QQ const& a, QQ const& b)
{
    return QQ::compare(a, b) != 0;
}
inline bool operator<(QQ const& a, QQ const& b)
{
    return QQ::compare(a, b) < 0;
}
inline bool operator<=(QQ const& a, QQ const& b)
{
    return QQ::compare(a, b) <= 0;
}
inline bool operator>(QQ const& a, QQ const& b)
{
    return QQ::compare(a, b) > 0;
}
inline bool operator>=(QQ const& a, QQ const& b)
{
    return QQ::compare(a, b) >= 0;
}

// "inf", "-inf", "0", else "-" for a negative number, ganze if nonzero, ":" if ganze and zaehler
// are both nonzero, zaehler if nonzero, "/" and nenner if nenner isn't 1: "5", "-1/2", "2:3/4".
std::ostream& operator<<(std::ostream& stream, QQ const& q);
// Skips comments and separators, collects digits and "+,-./:" (and an "inf"), then parses the
// token with operator=(char const*). No exponent: "e" ends the token.
std::istream& operator>>(std::istream& stream, QQ& q);

QQ floor(QQ const& q);
QQ ceil(QQ const& q);
QQ round(QQ const& q); // halves away from zero: round(5/2) = 3, round(-5/2) = -3
// a^b: exact for an integer b; a fractional b goes through root() and is approximate.
QQ pow(QQ const& a, QQ const& b);
QQ sqrt(QQ const& a); // root(a, 2), approximate

template <>
class Constant<QQ> {
public:
    static QQ ZERO();
    static QQ ONE();
    static QQ TWO();
    static QQ THREE();
    static QQ TEN();
    static QQ HALF();                // 1/2
    static QQ EPSILON();             // exactly 1/1000000000
    static QQ DELTA();               // 999999999/1000000000
    static QQ INF();                 // +INF
    static QQ SCALE_LIMIT_DEFAULT(); // 1000
};

// |x|: x for x >= 0, else its negation.
template <>
QQ Math::abs<QQ>(const QQ& x);
// |x| <= 1/10^9, exactly.
template <>
bool Math::equalsEpsilonZero<QQ>(const QQ& x);

} // namespace latopt
