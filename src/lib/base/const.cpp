#include "base/const.h"

#include <cmath>

namespace latopt {

long long Const::ZZ_BASE()
{
    static const long long value = static_cast<long long>(powl(10.0L, HALFLLONG_DIGITS()));
    return value;
}

long double Const::DOUBLE_OVERFLOW()
{
    static const long double value = powl(10.0L, HALFDBL_DIGITS());
    return value;
}

long double Const::DOUBLE_FATAL_OVERFLOW()
{
    static const long double value = powl(10.0L, DBL_DIGITS());
    return value;
}

} // namespace latopt
