// zz.h: ZZ, the signed arbitrary-precision integer in decimal limbs, the integer under QQ.
// Representation: an Array<long long> of limbs in base ZZ::BASE = Const::ZZ_BASE() = 10^9, limb 1 least
// significant, 0 <= limb < BASE, and the sign in isPositive; the value is
// (isPositive ? 1 : -1) * sum of limb[i] * BASE^(i-1). Decimal limbs make the text form, digit counts
// and decimal shifts cheap and exact.
// Normal form: at least one limb, the top limb nonzero unless the value is zero, zero is the single
// limb 0 with isPositive true. Two abnormal zeroes are tolerated everywhere: a zero with isPositive
// false (parsing "-" or "-0" gives it) and a value without limbs (base_rshift by its full length).
// Zero tests go through Array::isZero(), true for both. Every arithmetic result of normal operands
// is normal; copies of an operand (add with a zero, r = a in div) keep whatever form it had.
// Three-operand operations take the result last and allow it to be any operand.
// Fatal stops (through fatal(), exit status 1): division by zero, a negative exponent, a base
// shift right beyond the length. Nothing here throws.
#pragma once

#include "arith/constant.h"
#include "arith/math.h"
#include "base/array.h"

#include <concepts>
#include <iosfwd>
#include <string>

namespace latopt {

class ZZ : public Array<long long> {
public:
    static constexpr long long BASE = 1000000000; // limb base; equals Const::ZZ_BASE()
    static constexpr int LIMB_DIGITS = 9;         // decimal digits per limb, Const::HALFLLONG_DIGITS()
    // A product of limb counts above this goes to karatsuba_mul, at or below it to schul_mul.
    static constexpr long KARATSUBA_THRESHOLD = 200;

    bool isPositive = true; // true for values >= 0

    ZZ();             // zero
    ZZ(int const& x); // implicit, so that int literals mix with ZZ
    template <std::signed_integral T>
    requires(!std::same_as<T, int>)
        ZZ(T const& x) // any other signed integer, through operator=(long long const&)
    {
        *this = static_cast<long long>(x);
    }
    // No silent conversion from unsigned or floating values (an int parameter would take them).
    template <class T>
    requires(std::unsigned_integral<T> || std::floating_point<T>) ZZ(T const& x)
    = delete;
    ZZ(ZZ const& other);
    ZZ(ZZ&& other) noexcept;
    ~ZZ() override = default;

    ZZ& operator=(ZZ const& other);
    ZZ& operator=(ZZ&& other) noexcept;
    ZZ& operator=(long long const& x); // |x| split into limbs; zero gives one limb 0
    template <std::signed_integral T>
    ZZ& operator=(T const& x)
    {
        return *this = static_cast<long long>(x);
    }
    // isPositive = s[0] != '-'; every character outside '0'..'9' is dropped wherever it stands
    // ("1,000" is 1000, "12a3" is 123); no digits give one limb 0 with that sign ("-" is a negative zero).
    ZZ& operator=(char const* s);

    // c = a + b
    static void add(ZZ const& a, ZZ const& b, ZZ& c);
    // c = a - b
    static void sub(ZZ const& a, ZZ const& b, ZZ& c);
    // c = a * b; schul_mul when dim a * dim b <= KARATSUBA_THRESHOLD, else karatsuba_mul
    static void mul(ZZ const& a, ZZ const& b, ZZ& c);
    // c = a * b by the school method; sign a.isPositive == b.isPositive, also for a zero product
    static void schul_mul(ZZ const& a, ZZ const& b, ZZ& c);
    // c = a * b by subtractive Karatsuba, (a1 - a0)(b0 - b1); its three products go through mul
    static void karatsuba_mul(ZZ const& a, ZZ const& b, ZZ& c);
    // Truncating division: a = q * b + r, |r| < |b|; q has the sign a.isPositive == b.isPositive and r
    // that of a, each positive when zero. If |a| < |b|: q = 0, r = a (a copy). When q and r are the
    // same object only the quotient is delivered. b zero stops with "ZZ::div -- division by zero".
    static void div(ZZ const& a, ZZ const& b, ZZ& q, ZZ& r);
    // c = base^exponent, 1 for exponent 0 (also for base 0); a negative exponent stops with
    // "[ ZZ::operator ^ ] Exponent < 0".
    static void pow(ZZ const& base, ZZ const& exponent, ZZ& c);
    // c = -a; a zero gives the normal zero
    static void negate(ZZ const& a, ZZ& c);

    // -1, 0 or 1; both zero (in any form) compare equal.
    int compare(ZZ const& b) const;
    // (dim - 1) * 9 plus the digits of the top limb; zero has one digit.
    long digits() const;
    // The limbs written from limb 1 upward, each without padding, as one text; the number of its
    // characters up to the last one that isn't '0', at least 1. Not the digit count for several
    // limbs: 1000000000 gives "01", that is 2. QQ::toDbl uses it as its stopping measure.
    long digitsWithoutTrailingZeroes() const;
    // "-" for isPositive false, the top limb, every lower limb padded to 9 digits; no limbs give ""
    // (or "-").
    std::string getStringRepresentation() const;

    // Appends n decimal zeroes (the value times 10^n); a zero value or n <= 0 stays.
    ZZ& decimal_lshift(long const& n);
    // Drops the last n characters of the text, "-" included, and reads the rest: the magnitude is
    // divided by 10^n, truncated; a text of at most n characters gives the normal zero, and "-123"
    // shifted by 3 is a zero with isPositive false. A zero value stays.
    ZZ& decimal_rshift(unsigned long n);
    // Moves the limbs up by n and zeroes the low n (times BASE^n); a zero value or n <= 0 stays.
    ZZ& base_lshift(long const& n);
    // Drops the low n limbs; n > dim stops with "ZZ::base_rshift steps > N". By the full length
    // it leaves a value without limbs.
    ZZ& base_rshift(long const& n);
    // For n >= 1 the text becomes n "0" characters followed by the old text, read again: the
    // magnitude stays and a minus sign is lost.
    ZZ& addTrailingZeroes(long n);
    // Removes decimal zeroes at the low end: zero limbs are dropped, limb 1 loses its trailing zeroes
    // and its text is joined, unpadded, behind the text of the remaining limbs. So 12000000012 becomes
    // 1212 (the leading zeroes of limb 1's 9-digit field are lost). A zero becomes the normal zero.
    ZZ& removeZeroTrailer();

    // Raw limbs: limb i (1-based) is limbs()[i]. For loops that must not pay the index check.
    long long* limbs() const { return data; }

private:
    // Sets the dimension to n for a result that is written afresh; old limbs are not kept when
    // storage must grow.
    void prepare(long n);
    // Removes zero top limbs while more than one limb remains.
    void trim();
    // Exchanges limbs and sign with other, no allocation.
    void swapWith(ZZ& other) noexcept;
    // Sets the value to the magnitude x[0..n) (least significant first) and the given sign; x must
    // not point into this object. A zero magnitude gives the normal zero.
    void assignMagnitude(const long long* x, long n, bool positive);
    friend struct ZZKernel;
};

ZZ operator+(ZZ const& a, ZZ const& b);
ZZ operator-(ZZ const& a, ZZ const& b);
ZZ operator-(ZZ const& a);
ZZ operator*(ZZ const& a, ZZ const& b);
ZZ operator/(ZZ const& a, ZZ const& b); // truncating quotient of div
// The remainder of div, plus b when it is negative: in [0, b) for b > 0; for b < 0 a negative
// remainder moves further from zero.
ZZ operator%(ZZ const& a, ZZ const& b);
ZZ& operator+=(ZZ& a, ZZ const& b);
ZZ& operator-=(ZZ& a, ZZ const& b);
ZZ& operator*=(ZZ& a, ZZ const& b);
ZZ& operator/=(ZZ& a, ZZ const& b);

inline bool operator==(ZZ const& a, ZZ const& b)
{
    return a.compare(b) == 0;
}
inline bool operator!=(ZZ const& a, ZZ const& b)
{
    return a.compare(b) != 0;
}
inline bool operator<(ZZ const& a, ZZ const& b)
{
    return a.compare(b) < 0;
}
inline bool operator<=(ZZ const& a, ZZ const& b)
{
    return a.compare(b) <= 0;
}
inline bool operator>(ZZ const& a, ZZ const& b)
{
    return a.compare(b) > 0;
}
inline bool operator>=(ZZ const& a, ZZ const& b)
{
    return a.compare(b) >= 0;
}

// Writes getStringRepresentation().
std::ostream& operator<<(std::ostream& stream, ZZ const& x);

// The identity: an integer is its own floor.
ZZ floor(ZZ const& x);

template <>
class Constant<ZZ> {
public:
    static ZZ ZERO()
    {
        static const ZZ value(0);
        return value;
    }
    static ZZ ONE()
    {
        static const ZZ value(1);
        return value;
    }
    static ZZ TWO()
    {
        static const ZZ value(2);
        return value;
    }
    static ZZ TEN()
    {
        static const ZZ value(10);
        return value;
    }
};

// Zero for any zero form, x when positive, else its negation.
template <>
ZZ Math::abs<ZZ>(const ZZ& x);

} // namespace latopt
