// const.h: Const, the numeric limits that size ZZ's limbs and the trusted range of a long double.
// Each value is computed once, on first use.
#pragma once

namespace latopt {

class Const {
public:
    // Decimal digits always safe in a long long.
    static unsigned char LLONG_DIGITS() { return 18; }
    // Decimal digits a long double carries in this system.
    static unsigned char DBL_DIGITS() { return 18; }
    // Decimal digits per ZZ limb.
    static unsigned char HALFLLONG_DIGITS() { return LLONG_DIGITS() >> 1; }
    static unsigned char HALFDBL_DIGITS() { return DBL_DIGITS() >> 1; }
    // The ZZ limb base 10^9, a truncated powl(10, 9).
    static long long ZZ_BASE();
    // 10^9: long doubles are trusted up to this magnitude.
    static long double DOUBLE_OVERFLOW();
    // 10^18: beyond this a long double is beyond repair.
    static long double DOUBLE_FATAL_OVERFLOW();
};

} // namespace latopt
