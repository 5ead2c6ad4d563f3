// qq_word.cpp: the word arithmetic of qq_word.h.
#include "arith/qq_word.h"

namespace latopt::word {

namespace {

constexpr u64 LIMB_BASE = static_cast<u64>(ZZ::BASE); // 10^9
constexpr u64 CHUNK_BASE = LIMB_BASE * LIMB_BASE;     // 10^18, two limbs at a time

// (high * 2^64 + low) / divisor for high < divisor; the remainder goes to remainder.
inline u64 divideWide(u64 high, u64 low, u64 divisor, u64& remainder)
{
#if defined(__x86_64__)
    u64 quotient;
    __asm__("divq %4" : "=a"(quotient), "=d"(remainder) : "a"(low), "d"(high), "rm"(divisor));
    return quotient;
#else
    const u128 dividend = (static_cast<u128>(high) << 64) | low;
    const u64 quotient = static_cast<u64>(dividend / divisor);
    remainder = static_cast<u64>(dividend - static_cast<u128>(quotient) * divisor);
    return quotient;
#endif
}

// x = x * factor + addend
inline void mulAddWord(Natural& x, u64 factor, u64 addend)
{
    u64 carry = addend;
    for (int i = 0; i < x.n; ++i) {
        const u128 product = static_cast<u128>(x.w[i]) * factor + carry;
        x.w[i] = static_cast<u64>(product);
        carry = static_cast<u64>(product >> 64);
    }
    if (carry != 0) x.w[x.n++] = carry;
}

// x = x / divisor, returns the remainder; divisor != 0.
inline u64 divideByWord(Natural& x, u64 divisor)
{
    u64 remainder = 0;
    for (int i = x.n - 1; i >= 0; --i)
        x.w[i] = divideWide(remainder, x.w[i], divisor, remainder);
    x.trim();
    return remainder;
}

inline void copy(Natural const& from, Natural& to)
{
    if (&from != &to) to = from;
}

// Knuth's algorithm D (TAOCP 4.3.1) for a.n >= b.n >= 2: base 2^64, divisor normalised so that
// its top bit is set, one trial quotient word per step from the top two words.
void divideLong(Natural const& a, Natural const& b, Natural& q, Natural& r)
{
    const int m = a.n;
    const int n = b.n;
    const int shift = __builtin_clzll(b.w[n - 1]);
    u64 v[Natural::CAPACITY];
    u64 u[Natural::CAPACITY + 1];
    // 1. Normalise divisor and dividend by the same shift.
    if (shift == 0) {
        for (int i = 0; i < n; ++i)
            v[i] = b.w[i];
        for (int i = 0; i < m; ++i)
            u[i] = a.w[i];
        u[m] = 0;
    } else {
        for (int i = n - 1; i > 0; --i)
            v[i] = (b.w[i] << shift) | (b.w[i - 1] >> (64 - shift));
        v[0] = b.w[0] << shift;
        u[m] = a.w[m - 1] >> (64 - shift);
        for (int i = m - 1; i > 0; --i)
            u[i] = (a.w[i] << shift) | (a.w[i - 1] >> (64 - shift));
        u[0] = a.w[0] << shift;
    }
    const u64 top = v[n - 1];
    const u64 second = v[n - 2];
    for (int j = m - n; j >= 0; --j) {
        // 2. Trial quotient from the top two words, corrected by the third so that it is at most
        //    one too large.
        u64 qhat;
        u64 rhat = 0;
        bool rhatOverflow = false;
        if (u[j + n] >= top) { // equal: the quotient word is at most 2^64 - 1
            qhat = ~static_cast<u64>(0);
            const u128 sum = static_cast<u128>(u[j + n - 1]) + top;
            rhatOverflow = (sum >> 64) != 0;
            rhat = static_cast<u64>(sum);
        } else {
            qhat = divideWide(u[j + n], u[j + n - 1], top, rhat);
        }
        if (!rhatOverflow) {
            while (static_cast<u128>(qhat) * second > ((static_cast<u128>(rhat) << 64) | u[j + n - 2])) {
                --qhat;
                const u128 sum = static_cast<u128>(rhat) + top;
                if ((sum >> 64) != 0) break;
                rhat = static_cast<u64>(sum);
            }
        }
        // 3. Multiply and subtract; add back once when the trial was still one too large.
        u64 borrow = 0;
        u64 carry = 0;
        for (int i = 0; i < n; ++i) {
            const u128 product = static_cast<u128>(qhat) * v[i] + carry;
            carry = static_cast<u64>(product >> 64);
            const u64 low = static_cast<u64>(product);
            const u64 word = u[i + j];
            const u64 difference = word - low;
            const u64 borrowOut = word < low;
            u[i + j] = difference - borrow;
            borrow = borrowOut + (difference < borrow);
        }
        const u64 word = u[j + n];
        const u64 difference = word - carry;
        const u64 borrowOut = word < carry;
        u[j + n] = difference - borrow;
        if ((borrowOut | (difference < borrow)) != 0) {
            --qhat;
            u64 addCarry = 0;
            for (int i = 0; i < n; ++i) {
                const u128 sum = static_cast<u128>(u[i + j]) + v[i] + addCarry;
                u[i + j] = static_cast<u64>(sum);
                addCarry = static_cast<u64>(sum >> 64);
            }
            u[j + n] += addCarry;
        }
        q.w[j] = qhat;
    }
    q.n = m - n + 1;
    q.trim();
    // 4. The remainder is the low n words, shifted back.
    if (shift == 0) {
        for (int i = 0; i < n; ++i)
            r.w[i] = u[i];
    } else {
        for (int i = 0; i < n; ++i)
            r.w[i] = (u[i] >> shift) | (u[i + 1] << (64 - shift));
    }
    r.n = n;
    r.trim();
}

constexpr int LEHMER_BITS = 61;

// Bits shift .. shift + 63 of x (x >> shift, truncated to a word); shift >= 0.
inline u64 leadingBits(Natural const& x, int shift)
{
    const int index = shift / 64;
    const int offset = shift % 64;
    if (index >= x.n) return 0;
    const u128 low = x.w[index];
    const u128 high = index + 1 < x.n ? static_cast<u128>(x.w[index + 1]) << 64 : 0;
    return static_cast<u64>((high | low) >> offset);
}

// result = a * |p| - b * |q| or b * |q| - a * |p|, whichever of p * a + q * b it is; p and q have
// opposite signs (or one is zero) and the combination is known to be >= 0.
void combine(Natural const& a, Natural const& b, long long p, long long q, Natural& result)
{
    const u64 pMagnitude = p < 0 ? static_cast<u64>(-p) : static_cast<u64>(p);
    const u64 qMagnitude = q < 0 ? static_cast<u64>(-q) : static_cast<u64>(q);
    const bool bPositive = q > 0; // then p <= 0
    Natural const& plus = bPositive ? b : a;
    Natural const& minus = bPositive ? a : b;
    const u64 plusFactor = bPositive ? qMagnitude : pMagnitude;
    const u64 minusFactor = bPositive ? pMagnitude : qMagnitude;
    // Word by word: plus * plusFactor - minus * minusFactor, with a carry for each product and
    // one borrow.
    u64 plusCarry = 0;
    u64 minusCarry = 0;
    u64 borrow = 0;
    const int length = plus.n > minus.n ? plus.n : minus.n;
    for (int i = 0; i < length; ++i) {
        const u128 positive = static_cast<u128>(i < plus.n ? plus.w[i] : 0) * plusFactor + plusCarry;
        const u128 negative = static_cast<u128>(i < minus.n ? minus.w[i] : 0) * minusFactor + minusCarry;
        plusCarry = static_cast<u64>(positive >> 64);
        minusCarry = static_cast<u64>(negative >> 64);
        const u64 positiveLow = static_cast<u64>(positive);
        const u64 negativeLow = static_cast<u64>(negative);
        const u64 difference = positiveLow - negativeLow;
        const u64 borrowOut = positiveLow < negativeLow;
        result.w[i] = difference - borrow;
        borrow = borrowOut + (difference < borrow);
    }
    // The carries out of the top cancel: the result fits the operands' length.
    result.n = length;
    result.trim();
}

} // namespace

bool fromZZ(ZZ const& z, Natural& x, long maxLimbs)
{
    const long limbs = z.MN;
    if (limbs > maxLimbs) return false;
    const long long* limb = z.limbs();
    // Up to four limbs (below 10^36) in a double word, the rest word by word.
    const long head = limbs < 4 ? limbs : 4;
    u128 value = 0;
    for (long i = limbs; i > limbs - head; --i)
        value = value * LIMB_BASE + static_cast<u64>(limb[i]);
    x.set(value);
    for (long i = limbs - head; i >= 1; --i)
        mulAddWord(x, LIMB_BASE, static_cast<u64>(limb[i]));
    return true;
}

void toZZ(Natural const& x, ZZ& z)
{
    z.isPositive = true;
    if (x.n <= 1) {
        const u64 value = x.n == 0 ? 0 : x.w[0];
        const long count = value < LIMB_BASE ? 1 : (value < CHUNK_BASE ? 2 : 3);
        z.setDimension(count, false);
        long long* limb = z.limbs();
        limb[1] = static_cast<long long>(value % LIMB_BASE);
        if (count > 1) limb[2] = static_cast<long long>(value / LIMB_BASE % LIMB_BASE);
        if (count > 2) limb[3] = static_cast<long long>(value / CHUNK_BASE);
        return;
    }
    // Two limbs for each 10^18 chunk from the low end, into room for the longest value of n words
    // (2^(64 n) has at most 19.27 n + 1 digits); the zero limbs on top go at the end.
    z.setDimension(2 * x.n + x.n / 7 + 4, false);
    long long* limb = z.limbs();
    Natural rest = x;
    long count = 0;
    while (rest.n > 0) {
        const u64 chunk = divideByWord(rest, CHUNK_BASE);
        limb[++count] = static_cast<long long>(chunk % LIMB_BASE);
        limb[++count] = static_cast<long long>(chunk / LIMB_BASE);
    }
    while (count > 1 && limb[count] == 0)
        --count;
    z.setDimension(count, false);
}

int compare(Natural const& a, Natural const& b)
{
    if (a.n != b.n) return a.n < b.n ? -1 : 1;
    for (int i = a.n - 1; i >= 0; --i)
        if (a.w[i] != b.w[i]) return a.w[i] < b.w[i] ? -1 : 1;
    return 0;
}

void add(Natural const& a, Natural const& b, Natural& c)
{
    Natural const& longer = a.n >= b.n ? a : b;
    Natural const& shorter = a.n >= b.n ? b : a;
    const int shortLength = shorter.n;
    const int length = longer.n;
    u64 carry = 0;
    for (int i = 0; i < shortLength; ++i) {
        const u128 sum = static_cast<u128>(longer.w[i]) + shorter.w[i] + carry;
        c.w[i] = static_cast<u64>(sum);
        carry = static_cast<u64>(sum >> 64);
    }
    for (int i = shortLength; i < length; ++i) {
        const u128 sum = static_cast<u128>(longer.w[i]) + carry;
        c.w[i] = static_cast<u64>(sum);
        carry = static_cast<u64>(sum >> 64);
    }
    c.n = length;
    if (carry != 0) c.w[c.n++] = carry;
}

void sub(Natural const& a, Natural const& b, Natural& c)
{
    const int length = a.n;
    const int shortLength = b.n;
    u64 borrow = 0;
    for (int i = 0; i < length; ++i) {
        const u64 subtrahend = i < shortLength ? b.w[i] : 0;
        const u64 word = a.w[i];
        const u64 difference = word - subtrahend;
        const u64 borrowOut = word < subtrahend;
        c.w[i] = difference - borrow;
        borrow = borrowOut + (difference < borrow);
    }
    c.n = length;
    c.trim();
}

void mul(Natural const& a, Natural const& b, Natural& c)
{
    if (a.n == 0 || b.n == 0) {
        c.n = 0;
        return;
    }
    if (a.n == 1 && b.n == 1) {
        c.set(static_cast<u128>(a.w[0]) * b.w[0]);
        return;
    }
    const int length = a.n + b.n;
    for (int i = 0; i < length; ++i)
        c.w[i] = 0;
    for (int i = 0; i < a.n; ++i) {
        u64 carry = 0;
        const u64 factor = a.w[i];
        for (int j = 0; j < b.n; ++j) {
            const u128 product = static_cast<u128>(factor) * b.w[j] + c.w[i + j] + carry;
            c.w[i + j] = static_cast<u64>(product);
            carry = static_cast<u64>(product >> 64);
        }
        c.w[i + b.n] = carry;
    }
    c.n = length;
    c.trim();
}

void divmod(Natural const& a, Natural const& b, Natural& q, Natural& r)
{
    if (compare(a, b) < 0) {
        q.n = 0;
        copy(a, r);
        return;
    }
    if (a.n == 1) { // then b.n == 1
        q.set(a.w[0] / b.w[0]);
        r.set(a.w[0] % b.w[0]);
        return;
    }
    if (b.n <= 2 && a.n <= 2) {
        const u128 dividend = a.toU128();
        const u128 divisor = b.toU128();
        const u128 quotient = dividend / divisor;
        q.set(quotient);
        r.set(dividend - quotient * divisor);
        return;
    }
    if (b.n == 1) {
        copy(a, q);
        r.set(divideByWord(q, b.w[0]));
        return;
    }
    divideLong(a, b, q, r);
}

void divexact(Natural const& a, Natural const& b, Natural& q)
{
    if (b.isOne()) {
        copy(a, q);
        return;
    }
    if (b.n == 1) {
        copy(a, q);
        divideByWord(q, b.w[0]);
        return;
    }
    Natural remainder;
    if (&q == &a) {
        Natural dividend;
        copy(a, dividend);
        divmod(dividend, b, q, remainder);
        return;
    }
    divmod(a, b, q, remainder);
}

void gcd(Natural const& a, Natural const& b, Natural& g)
{
    if (a.isOne() || b.isOne()) {
        g.set(1);
        return;
    }
    if (a.n <= 2 && b.n <= 2) {
        g.set(gcd128(a.toU128(), b.toU128()));
        return;
    }
    // Lehmer's algorithm (TAOCP 4.5.2, Algorithm L) while the larger operand has more than two
    // words: Euclid's steps run on the leading 61 bits of both in single words, as long as the two
    // quotient bounds agree, and their 2x2 cofactor matrix is then applied to the full operands at
    // once. Where no step can be simulated, one remainder step in words. The last two words go to
    // the binary algorithm.
    Natural x;
    Natural y;
    Natural quotient;
    Natural remainder;
    Natural first;
    Natural second;
    x.set(0); // defined low words, for the compiler's sake
    y.set(0);
    copy(a, x);
    copy(b, y);
    Natural* larger = &x;
    Natural* smaller = &y;
    if (compare(x, y) < 0) std::swap(larger, smaller);
    while (larger->n > 2) {
        if (smaller->isZero()) {
            copy(*larger, g);
            return;
        }
        const int shift =
            64 * (larger->n - 1) + (64 - __builtin_clzll(larger->w[larger->n - 1])) - LEHMER_BITS;
        long long u = static_cast<long long>(leadingBits(*larger, shift));
        long long v = static_cast<long long>(leadingBits(*smaller, shift));
        long long A = 1;
        long long B = 0;
        long long C = 0;
        long long D = 1;
        while (true) {
            // 0 <= u + A, u + B <= 2^61 and 0 <= v + C, v + D < 2^61 throughout (Knuth).
            const long long low = v + C;
            const long long high = v + D;
            if (low == 0 || high == 0) break;
            // Most quotients are small: subtraction before division.
            const long long dividend = u + A;
            long long q;
            if (dividend < low)
                q = 0;
            else if (dividend - low < low)
                q = 1;
            else if (dividend - 2 * low < low)
                q = 2;
            else
                q = dividend / low;
            // The same quotient from the other bound: q * high <= u + B < (q + 1) * high.
            const u128 product = static_cast<u128>(q) * static_cast<u64>(high);
            const u128 other = static_cast<u64>(u + B);
            if (other < product || other - product >= static_cast<u64>(high)) break;
            long long t = A - q * C;
            A = C;
            C = t;
            t = B - q * D;
            B = D;
            D = t;
            t = u - q * v;
            u = v;
            v = t;
        }
        if (B == 0) {
            divmod(*larger, *smaller, quotient, remainder);
            copy(remainder, *larger);
            std::swap(larger, smaller);
            continue;
        }
        // larger, smaller = A * larger + B * smaller, C * larger + D * smaller; in each pair the
        // two cofactors have opposite signs and the results are the next remainders, >= 0.
        combine(*larger, *smaller, A, B, first);
        combine(*larger, *smaller, C, D, second);
        copy(first, *larger);
        copy(second, *smaller);
    }
    g.set(gcd128(larger->toU128(), smaller->toU128()));
}

} // namespace latopt::word
