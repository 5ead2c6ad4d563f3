// qq_precision.cpp: the crossing of QQ into and out of standard precision. Both directions pass
// through decimal text: a long double is read from its 17 significant digits, and toDbl writes at
// most 18 significant digits (counted as below) that the long double reader rounds.
#include "arith/qq.h"

#include "base/const.h"
#include "base/exceptions.h"
#include "base/log.h"

#include <charconv>
#include <cmath>
#include <sstream>
#include <string>
#include <vector>

namespace latopt {

QQ::QQ(long double const& x)
{
    *this = x;
}

QQ& QQ::operator=(long double const& x)
{
    // Everything within 10^-9 of zero is zero.
    if (fabsl(x) <= Constant<long double>::EPSILON()) return *this = 0LL;
    // An integer of at most 17 digits is its own text in 17 significant digits: no text needed.
    if (fabsl(x) < 1e17L && x == truncl(x)) return *this = static_cast<long long>(x);
    // The default float format of a stream with 17 digits of precision (DBL_OSTREAM_PREC), which
    // to_chars writes alike without building a stream.
    char text[64];
    const auto written = std::to_chars(text, text + sizeof text - 1, x, std::chars_format::general,
                                       static_cast<int>(Const::DBL_DIGITS() - 1));
    *written.ptr = '\0';
    return *this = text;
}

namespace {

// The least count >= 1 with zaehler * 10^count >= nenner, for a nonzero zaehler: the number of
// decimal shifts that bring the first significant digit of zaehler / nenner before the point.
// From the digit counts, with one comparison, rather than one shift and division a digit.
long firstSignificantShift(ZZ const& zaehler, ZZ const& nenner)
{
    const long shift = nenner.digits() - zaehler.digits();
    if (shift < 1) return 1;
    ZZ shifted = zaehler;
    shifted.decimal_lshift(shift);
    return shifted.compare(nenner) >= 0 ? shift : shift + 1;
}

// The stream's reading of a decimal text: from_chars rounds alike; a value beyond the range of a
// long double (which the stream turns into the largest finite one) is left to the stream.
long double readLongDouble(std::string const& text)
{
    long double value = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), value);
    if (read.ec == std::errc() && read.ptr == text.data() + text.size()) return value;
    std::istringstream stream(text);
    value = 0;
    stream >> value;
    return value;
}

} // namespace

long double QQ::toDbl(bool throwOnLoss, bool allowPostCommaLoss) const
{
    static const char* const NOT_REPRESENTABLE = "QQ is not representable as dbl_t";
    const long DIGITS = Const::DBL_DIGITS();
    // 1. The infinities.
    if (isInf) return isPositive ? Constant<long double>::INF() : -Constant<long double>::INF();
    // 2. An integer of at most two limbs (18 digits) is exact in a long double, and so is the
    //    text's reading of it: it needs no text.
    if (zaehler.isZero() && ganze.dimension() <= 2) return integerToDbl();
    // 3. Sign and integer part.
    std::string text = isPositive ? "" : "-";
    text += ganze.getStringRepresentation();
    long g = ganze.digits();
    // 4. An integer part beyond the digits of a long double: the fraction doesn't matter.
    if (g > DIGITS) {
        if (throwOnLoss) throw PreCommaPrecisionException(NOT_REPRESENTABLE);
    } else if (!zaehler.isZero()) {
        // 5. The first significant digit behind the point: lead zeroes stand before it. x keeps
        //    zaehler * 10^count, so the first round of 6 yields two digits.
        const long count = firstSignificantShift(zaehler, nenner);
        const long lead = count - 1;
        ZZ x = zaehler;
        x.decimal_lshift(count);
        ZZ q;
        ZZ w;
        // 6. Leading zeroes behind the point use up digits only behind a nonzero integer part.
        long skip = 0;
        if (ganze.isZero())
            g = 0;
        else
            skip = lead > 0 ? lead : 0;
        // 7. Long division, one digit a round, until the fraction ends or the budget is spent.
        ZZ f;
        long d = 0;
        bool budgetSpent = false;
        while (!x.isZero()) {
            x.decimal_lshift(1);
            ZZ::div(x, nenner, q, w);
            f.decimal_lshift(1);
            ZZ::add(f, q, f);
            x = w;
            d = f.digitsWithoutTrailingZeroes();
            if (d + g + skip > DIGITS) {
                budgetSpent = true;
                break;
            }
        }
        // 8. A fraction cut short is a loss, unless the caller allows it.
        if (budgetSpent && throwOnLoss && !allowPostCommaLoss)
            throw PostCommaPrecisionException(NOT_REPRESENTABLE);
        f.removeZeroTrailer();
        if (d != 0) {
            text += ".";
            if (lead > 0) text += std::string(count - 1, '0');
            text += f.getStringRepresentation();
        }
    }
    // 9. The long double reader rounds the decimal text.
    return readLongDouble(text);
}

long double QQ::integerToDbl() const
{
    const long long* limbs = ganze.limbs();
    long long magnitude = 0;
    for (long i = ganze.dimension(); i >= 1; --i)
        magnitude = magnitude * ZZ::BASE + limbs[i];
    const long double value = static_cast<long double>(magnitude);
    // A negative zero reads as -0, as its text "-0" would.
    return isPositive ? value : -value;
}

namespace {
__extension__ typedef unsigned __int128 Wide;
} // namespace

long double QQ::toDblRounded() const
{
    if (isInf || !zaehler.isZero()) return toDbl(false, false);
    if (ganze.dimension() <= 2) return integerToDbl();
    // 1. The magnitude in binary words, least significant first: Horner over the decimal limbs.
    const long limbCount = ganze.dimension();
    const long long* limbs = ganze.limbs();
    unsigned long long stack[16];
    std::vector<unsigned long long> heap;
    const long capacity = limbCount; // 10^9 < 2^32: one word per limb is room enough
    unsigned long long* words = stack;
    if (capacity > 16) {
        heap.assign(static_cast<std::size_t>(capacity), 0);
        words = heap.data();
    }
    long used = 0;
    for (long i = limbCount; i >= 1; --i) {
        Wide carry = static_cast<unsigned long long>(limbs[i]);
        for (long w = 0; w < used; ++w) {
            carry += static_cast<Wide>(words[w]) * static_cast<unsigned long long>(ZZ::BASE);
            words[w] = static_cast<unsigned long long>(carry);
            carry >>= 64;
        }
        if (carry != 0) words[used++] = static_cast<unsigned long long>(carry);
    }
    if (used == 0) return isPositive ? 0.0L : -0.0L;
    // 2. The top 64 bits are the significand of a long double; the bit below them and whether
    //    anything is set further down decide the rounding, to nearest with ties to even.
    const int topBits = 64 - __builtin_clzll(words[used - 1]);
    const long bitLength = (used - 1) * 64 + topBits;
    auto bit = [&](long index) { return (words[index / 64] >> (index % 64)) & 1ULL; };
    unsigned long long significand = 0;
    for (long b = bitLength - 1; b >= bitLength - 64 && b >= 0; --b)
        significand = (significand << 1) | bit(b);
    long exponent = 0;
    if (bitLength > 64) {
        exponent = bitLength - 64;
        const unsigned long long roundBit = bit(exponent - 1);
        bool sticky = false;
        for (long w = 0; w < (exponent - 1) / 64 && !sticky; ++w)
            sticky = words[w] != 0;
        for (long b = ((exponent - 1) / 64) * 64; b < exponent - 1 && !sticky; ++b)
            sticky = bit(b) != 0;
        if (roundBit != 0 && (sticky || (significand & 1ULL) != 0)) {
            ++significand;
            if (significand == 0) { // carried out of 64 bits
                significand = 1ULL << 63;
                ++exponent;
            }
        }
    }
    const long double value = ldexpl(static_cast<long double>(significand), static_cast<int>(exponent));
    return isPositive ? value : -value;
}

} // namespace latopt
