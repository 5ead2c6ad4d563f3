// qq_word.h: Natural, a small unsigned integer in binary 64-bit words on the stack, and the few
// operations the machine-word paths of QQ need (qq.cpp): conversion from and to the decimal limbs of
// a ZZ, add, sub, mul, division with remainder (Knuth's algorithm D) and the greatest common divisor.
// Internal to QQ; no other unit includes it.
// A Natural holds up to CAPACITY words, least significant first, without zero top words (zero has
// none). Callers keep sizes within the capacity: QQ admits fields of at most 16 decimal limbs (below
// 10^144 < 2^479, eight words), so that no intermediate of its formulas exceeds 31 words.
// Results may alias operands except where a function says otherwise.
#pragma once

#include "arith/zz.h"

#include <cstdint>
#include <utility>

namespace latopt::word {

using u64 = std::uint64_t;
__extension__ typedef unsigned __int128 u128;

struct Natural {
    static constexpr int CAPACITY = 32;
    int n = 0;       // words in use
    u64 w[CAPACITY]; // w[0] least significant; words from n upward are undefined

    Natural() = default;
    Natural(Natural const& other) { *this = other; }
    Natural& operator=(Natural const& other) // copies the words in use only
    {
        n = other.n;
        for (int i = 0; i < other.n; ++i)
            w[i] = other.w[i];
        return *this;
    }

    bool isZero() const { return n == 0; }
    bool isOne() const { return n == 1 && w[0] == 1; }
    void set(u128 x)
    {
        w[0] = static_cast<u64>(x);
        w[1] = static_cast<u64>(x >> 64);
        n = w[1] != 0 ? 2 : (w[0] != 0 ? 1 : 0);
    }
    u128 toU128() const // for n <= 2
    {
        if (n == 0) return 0;
        if (n == 1) return w[0];
        return (static_cast<u128>(w[1]) << 64) | w[0];
    }
    void trim()
    {
        while (n > 0 && w[n - 1] == 0)
            --n;
    }
};

inline int countTrailingZeroes(u128 x)
{
    const u64 low = static_cast<u64>(x);
    return low != 0 ? __builtin_ctzll(low) : 64 + __builtin_ctzll(static_cast<u64>(x >> 64));
}

// Stein's binary algorithm for odd a and b: |a - b| loses its trailing zeroes while the smaller
// one stays; the trailing zeroes of b - a equal those of a - b, so that count runs in parallel
// with the choice of the difference.
inline u64 gcdOdd64(u64 a, u64 b)
{
    while (true) {
        const u64 difference = b - a;
        if (difference == 0) return a;
        const int zeroes = __builtin_ctzll(difference);
        const u64 smaller = a < b ? a : b;
        a = (a < b ? difference : a - b) >> zeroes;
        b = smaller;
    }
}

inline u64 gcd64(u64 a, u64 b)
{
    if (a == 0) return b;
    if (b == 0) return a;
    const int shift = __builtin_ctzll(a | b);
    return gcdOdd64(a >> __builtin_ctzll(a), b >> __builtin_ctzll(b)) << shift;
}

// The same on double words, single words as soon as both fit; one remainder step first when only
// one of them is a double word, which is what keeps a small and a large operand cheap.
inline u128 gcd128(u128 a, u128 b)
{
    if (a == 0) return b;
    if (b == 0) return a;
    if ((a >> 64) == 0 && (b >> 64) == 0) return gcd64(static_cast<u64>(a), static_cast<u64>(b));
    if ((a >> 64) == 0) return gcd64(static_cast<u64>(a), static_cast<u64>(b % a));
    if ((b >> 64) == 0) return gcd64(static_cast<u64>(a % b), static_cast<u64>(b));
    const int shift = countTrailingZeroes(a | b);
    a >>= countTrailingZeroes(a);
    b >>= countTrailingZeroes(b);
    while (((a | b) >> 64) != 0) {
        const u128 difference = b - a;
        if (difference == 0) return a << shift;
        const int zeroes = countTrailingZeroes(difference);
        const u128 smaller = a < b ? a : b;
        a = (a < b ? difference : a - b) >> zeroes;
        b = smaller;
    }
    return static_cast<u128>(gcdOdd64(static_cast<u64>(a), static_cast<u64>(b))) << shift;
}

// Decimal limbs (base 10^9) of z into x; false when z has more than maxLimbs limbs.
bool fromZZ(ZZ const& z, Natural& x, long maxLimbs);
// z = x, positive, in normal form; grows z's storage only when it is too small.
void toZZ(Natural const& x, ZZ& z);

int compare(Natural const& a, Natural const& b);
void add(Natural const& a, Natural const& b, Natural& c);
void sub(Natural const& a, Natural const& b, Natural& c); // a >= b
void mul(Natural const& a, Natural const& b, Natural& c); // c must be neither operand
// q = a / b, r = a % b for b != 0; q and r must be different objects, neither an operand.
void divmod(Natural const& a, Natural const& b, Natural& q, Natural& r);
// q = a / b for b != 0, a known multiple of b (the remainder is dropped); q must not be b.
void divexact(Natural const& a, Natural const& b, Natural& q);
// g = ggt(a, b); ggt(0, b) = b. g may be an operand.
void gcd(Natural const& a, Natural const& b, Natural& g);

} // namespace latopt::word
