// qq_precision.cpp: the crossing of QQ into and out of standard precision. Both directions pass
// through decimal text: a long double is read from its 17 significant digits, and toDbl writes at
// most 18 significant digits (counted as below) that the long double reader rounds.
#include "arith/qq.h"

#include "base/const.h"
#include "base/exceptions.h"
#include "base/log.h"

#include <cmath>
#include <sstream>
#include <string>

namespace latopt {

QQ::QQ(long double const& x)
{
    *this = x;
}

QQ& QQ::operator=(long double const& x)
{
    // Everything within 10^-9 of zero is zero.
    if (fabsl(x) <= Constant<long double>::EPSILON()) return *this = 0LL;
    std::ostringstream text;
    DBL_OSTREAM_PREC(text);
    text << x;
    return *this = text.str().c_str();
}

long double QQ::toDbl(bool throwOnLoss, bool allowPostCommaLoss) const
{
    static const char* const NOT_REPRESENTABLE = "QQ is not representable as dbl_t";
    const long DIGITS = Const::DBL_DIGITS();
    // 1. The infinities.
    if (isInf) return isPositive ? Constant<long double>::INF() : -Constant<long double>::INF();
    // 2. Sign and integer part.
    std::string text = isPositive ? "" : "-";
    text += ganze.getStringRepresentation();
    long g = ganze.digits();
    // 3. An integer part beyond the digits of a long double: the fraction doesn't matter.
    if (g > DIGITS) {
        if (throwOnLoss) throw PreCommaPrecisionException(NOT_REPRESENTABLE);
    } else if (!zaehler.isZero()) {
        // 4. The first significant digit behind the point: lead zeroes stand before it. x keeps
        //    zaehler * 10^count, so the first round of 6 yields two digits.
        ZZ x = zaehler;
        ZZ q;
        ZZ w;
        long lead = -1;
        long count = 0;
        while (!x.isZero() && q.isZero()) {
            x.decimal_lshift(1);
            ++lead;
            ++count;
            ZZ::div(x, nenner, q, w);
        }
        // 5. Leading zeroes behind the point use up digits only behind a nonzero integer part.
        long skip = 0;
        if (ganze.isZero())
            g = 0;
        else
            skip = lead > 0 ? lead : 0;
        // 6. Long division, one digit a round, until the fraction ends or the budget is spent.
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
        // 7. A fraction cut short is a loss, unless the caller allows it.
        if (budgetSpent && throwOnLoss && !allowPostCommaLoss)
            throw PostCommaPrecisionException(NOT_REPRESENTABLE);
        f.removeZeroTrailer();
        if (d != 0) {
            text += ".";
            if (lead > 0) text += std::string(count - 1, '0');
            text += f.getStringRepresentation();
        }
    }
    // 8. The long double reader rounds the decimal text.
    std::istringstream stream(text);
    long double value = 0;
    stream >> value;
    return value;
}

} // namespace latopt
