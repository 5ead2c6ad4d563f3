// precision.cpp: the scalar conversions between long double and QQ with their probes, and the
// integer-making factors.
#include "arith/precision.h"

#include "arith/math.h"
#include "arith/qq.h"
#include "base/const.h"
#include "base/log.h"

#include <cmath>
#include <cstdlib>
#include <sstream>
#include <string>

namespace latopt {

namespace {

// Equal, or apart by at most EPSILON: the equality of Vector entries. Equal infinities are caught
// by the first test, and any other pair with an infinity differs by an infinity.
bool probeMatches(long double const& a, long double const& b)
{
    return a == b || Precision::equalsZero(a - b, true);
}

bool probeMatches(QQ const& a, QQ const& b)
{
    if (a == b) return true;
    QQ difference;
    QQ::sub(difference, a, b);
    return Precision::equalsZero(difference, true);
}

} // namespace

long double& Precision::conv(QQ const& s, long double& t, bool probe, bool allowPostCommaLoss)
{
    t = s.toDbl(probe, allowPostCommaLoss);
    if (!probe) return t;
    static QQ probeObject;
    probeObject = t;
    if (!probeMatches(probeObject, s)) throw PrecisionException("Precision lost during conversion");
    return t;
}

QQ& Precision::conv(long double const& s, QQ& t, bool probe, bool allowPostCommaLoss)
{
    (void)allowPostCommaLoss;
    t = s;
    if (!probe) return t;
    static long double probeObject;
    probeObject = t.toDbl(false, false);
    if (!probeMatches(probeObject, s)) throw PrecisionException("Precision lost during conversion");
    return t;
}

template <>
long double Precision::getIntegerMakingFactor<long double>(long double const& x)
{
    // 1. The 17-digit text.
    std::ostringstream stream;
    DBL_OSTREAM_PREC(stream);
    stream << x;
    const std::string text = stream.str();
    // 2. Integers, zero and the infinities need no factor.
    const std::string::size_type point = text.find('.');
    if (x == 0 || std::isinf(x) || point == std::string::npos) return Constant<long double>::ONE();
    // 3. The digits behind the point as an integer over the power of ten of their count.
    const std::string behind = text.substr(point + 1);
    const double fraction = std::atof(behind.c_str());
    const double denominator = std::pow(10.0, static_cast<double>(behind.size()));
    // 4. The denominator of that fraction in lowest terms.
    return denominator / Math::ggt(static_cast<long double>(fraction), static_cast<long double>(denominator));
}

template <>
QQ Precision::getIntegerMakingFactor<QQ>(QQ const& x)
{
    return x.getIntegerMakingFactor();
}

void Precision::truncateDecimal(QQ& x)
{
    x.truncate(Const::DBL_DIGITS());
}

void Precision::toggleFractionTruncate(bool on)
{
    QQ::enableTruncate = on;
}

} // namespace latopt
