// zz.cpp: ZZ arithmetic. The operations work on magnitudes held as raw limb runs (least
// significant first, 0-based pointers to limb 1) and set the sign afterwards; the sign rules of each
// operation are spelt out at its entry. Results are computed in place where the loops allow it,
// otherwise into reusable workspace, so that steady use allocates nothing.
#include "arith/zz.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <ostream>
#include <vector>

namespace latopt {

namespace {

using Limb = long long;
using ULimb = unsigned long long;
__extension__ typedef unsigned __int128 Wide;
constexpr Limb BASE = ZZ::BASE;
// Base of the division's inner loop: two limbs at once.
constexpr ULimb WIDE = static_cast<ULimb>(BASE) * static_cast<ULimb>(BASE);
constexpr Limb POW10[10] = {1, 10, 100, 1000, 10000, 100000, 1000000, 10000000, 100000000, 1000000000};

// Limbs of x[0..n) without zero top limbs; 0 for a zero magnitude.
inline long significant(const Limb* x, long n)
{
    while (n > 0 && x[n - 1] == 0)
        --n;
    return n;
}

inline int decimalLength(Limb x)
{
    int length = 1;
    while (x >= 10) {
        x /= 10;
        ++length;
    }
    return length;
}

// Compares magnitudes given without zero top limbs.
inline int compareMagnitude(const Limb* x, long nx, const Limb* y, long ny)
{
    if (nx != ny) return nx < ny ? -1 : 1;
    for (long i = nx - 1; i >= 0; --i)
        if (x[i] != y[i]) return x[i] < y[i] ? -1 : 1;
    return 0;
}

// r = x + y for nx >= ny; r has room for nx + 1 limbs and may be x or y. Returns the length.
inline long addMagnitude(Limb* r, const Limb* x, long nx, const Limb* y, long ny)
{
    Limb carry = 0;
    long i = 0;
    for (; i < ny; ++i) {
        const Limb sum = x[i] + y[i] + carry;
        carry = sum >= BASE;
        r[i] = sum - carry * BASE;
    }
    for (; i < nx; ++i) {
        const Limb sum = x[i] + carry;
        carry = sum >= BASE;
        r[i] = sum - carry * BASE;
    }
    if (carry == 0) return nx;
    r[nx] = 1;
    return nx + 1;
}

// r = x - y for x >= y (nx >= ny); r has room for nx limbs and may be x or y. Returns the length
// without zero top limbs.
inline long subMagnitude(Limb* r, const Limb* x, long nx, const Limb* y, long ny)
{
    Limb borrow = 0;
    long i = 0;
    for (; i < ny; ++i) {
        const Limb difference = x[i] - y[i] - borrow;
        borrow = difference < 0;
        r[i] = difference + borrow * BASE;
    }
    for (; i < nx; ++i) {
        const Limb difference = x[i] - borrow;
        borrow = difference < 0;
        r[i] = difference + borrow * BASE;
    }
    return significant(r, nx);
}

// r[0..nr) += t[0..nt), carries running upward; the sum must fit in nr limbs.
inline void addInto(Limb* r, long nr, const Limb* t, long nt)
{
    Limb carry = 0;
    long i = 0;
    for (; i < nt; ++i) {
        const Limb sum = r[i] + t[i] + carry;
        carry = sum >= BASE;
        r[i] = sum - carry * BASE;
    }
    for (; carry != 0 && i < nr; ++i) {
        const Limb sum = r[i] + 1;
        carry = sum >= BASE;
        r[i] = sum - carry * BASE;
    }
}

// r[0..nx] = x * m for a single limb m; r may be x. Returns the carry written to r[nx].
inline Limb mulSmall(Limb* r, const Limb* x, long nx, Limb m)
{
    ULimb carry = 0;
    for (long i = 0; i < nx; ++i) {
        const ULimb product = static_cast<ULimb>(x[i]) * static_cast<ULimb>(m) + carry;
        carry = product / BASE;
        r[i] = static_cast<Limb>(product - carry * BASE);
    }
    r[nx] = static_cast<Limb>(carry);
    return static_cast<Limb>(carry);
}

// q[0..nx) = x / d for a single limb d > 0; q may be x. Returns the remainder.
inline Limb divSmall(Limb* q, const Limb* x, long nx, Limb d)
{
    ULimb remainder = 0;
    const ULimb divisor = static_cast<ULimb>(d);
    for (long i = nx - 1; i >= 0; --i) {
        const ULimb current = remainder * BASE + static_cast<ULimb>(x[i]);
        const ULimb digit = current / divisor;
        remainder = current - digit * divisor;
        q[i] = static_cast<Limb>(digit);
    }
    return static_cast<Limb>(remainder);
}

// Normalises column sums acc[0..m) (each below 2^64 - 2^35) into limbs, carrying upward; the
// last carry is added to acc[m].
void normalizeColumns(ULimb* acc, long m)
{
    ULimb carry = 0;
    for (long k = 0; k < m; ++k) {
        const ULimb t = acc[k] + carry;
        carry = t / BASE;
        acc[k] = t - carry * BASE;
    }
    acc[m] += carry;
}

// Rows of the school product are summed before they are normalised: a column takes up to this
// many limb products (each below 10^18) in 64 bits.
constexpr long ROWS_PER_FOLD = 16;

// The school product r[0..nx+ny) = x * y, every limb written; r must not overlap x or y.
// It adds the rows y[i] * x into column sums and normalises them once at the end (every
// ROWS_PER_FOLD rows for long operands), instead of after every limb product: the same limbs, with
// the carry chain out of the inner loop.
void mulSchool(Limb* r, const Limb* x, long nx, const Limb* y, long ny)
{
    if (nx < ny) {
        std::swap(x, y);
        std::swap(nx, ny);
    }
    if (ny == 1) {
        mulSmall(r, x, nx, y[0]);
        return;
    }
    ULimb* acc = reinterpret_cast<ULimb*>(r);
    const long nr = nx + ny;
    std::fill(acc, acc + nr, 0);
    for (long i = 0; i < ny; ++i) {
        const ULimb factor = static_cast<ULimb>(y[i]);
        ULimb* row = acc + i;
        for (long j = 0; j < nx; ++j)
            row[j] += factor * static_cast<ULimb>(x[j]);
        if ((i + 1) % ROWS_PER_FOLD == 0 && i + 1 < ny)
            normalizeColumns(acc, i + nx); // columns beyond i + nx are still zero
    }
    normalizeColumns(acc, nr - 1); // columns 0..nr-2 hold products, limb nr-1 only the carry
}

void mulKaratsuba(Limb* r, const Limb* x, long nx, const Limb* y, long ny, Limb* scratch);

// r[0..nx+ny) = x * y for nonzero x and y without zero top limbs: the dispatch of ZZ::mul on the
// product of the limb counts.
inline void mulDispatch(Limb* r, const Limb* x, long nx, const Limb* y, long ny, Limb* scratch)
{
    if (nx * ny > ZZ::KARATSUBA_THRESHOLD)
        mulKaratsuba(r, x, nx, y, ny, scratch);
    else
        mulSchool(r, x, nx, y, ny);
}

// Scratch limbs that mulKaratsuba needs for operands of up to n limbs: 3n + 2 on each level, the
// levels halving n.
long karatsubaScratch(long n)
{
    long total = 0;
    for (long m = n; m > 1; m = m / 2 + 1) {
        total += 3 * (m + (m & 1)) + 4;
        if (m <= 3) break;
    }
    return total + 64;
}

// Subtractive Karatsuba on magnitudes: r[0..nx+ny) = x * y, x and y nonzero without zero top
// limbs. With n = max(nx, ny) rounded up to even, h = n / 2 and the split x = x1 B^h + x0:
// z = (x1 - x0)(y0 - y1), u = x1 y1, v = x0 y0; x y = u B^n + (z + u + v) B^h + v.
void mulKaratsuba(Limb* r, const Limb* x, long nx, const Limb* y, long ny, Limb* scratch)
{
    // 1. Split at h; the low parts lose their zero top limbs, an absent high part is zero.
    long n = std::max(nx, ny);
    n += n & 1;
    const long h = n / 2;
    const long nx0 = significant(x, std::min(nx, h));
    const long ny0 = significant(y, std::min(ny, h));
    const Limb* x1 = x + h;
    const Limb* y1 = y + h;
    const long nx1 = nx > h ? nx - h : 0;
    const long ny1 = ny > h ? ny - h : 0;
    const long nr = nx + ny;

    // 2. v at limb 0 and u at limb n: they cannot overlap, since v has at most 2h = n limbs.
    std::fill(r, r + nr, 0);
    if (nx0 > 0 && ny0 > 0) mulDispatch(r, x, nx0, y, ny0, scratch);
    if (nx1 > 0 && ny1 > 0) mulDispatch(r + n, x1, nx1, y1, ny1, scratch);

    // 3. The differences x1 - x0 and y0 - y1 as magnitude and sign, and their product z.
    Limb* dx = scratch;
    Limb* dy = scratch + h;
    Limb* z = scratch + 2 * h;
    Limb* t = scratch + 4 * h;
    Limb* next = scratch + 6 * h + 2;
    long ndx;
    long ndy;
    bool dxNegative = false;
    bool dyNegative = false;
    if (compareMagnitude(x1, nx1, x, nx0) >= 0) {
        ndx = subMagnitude(dx, x1, nx1, x, nx0);
    } else {
        ndx = subMagnitude(dx, x, nx0, x1, nx1);
        dxNegative = true;
    }
    if (compareMagnitude(y, ny0, y1, ny1) >= 0) {
        ndy = subMagnitude(dy, y, ny0, y1, ny1);
    } else {
        ndy = subMagnitude(dy, y1, ny1, y, ny0);
        dyNegative = true;
    }
    long nz = 0;
    if (ndx > 0 && ndy > 0) {
        mulDispatch(z, dx, ndx, dy, ndy, next);
        nz = significant(z, ndx + ndy);
    }

    // 4. The middle term z + u + v = x1 y0 + x0 y1 >= 0, formed as t = u + v, then t +- |z|.
    const long nu = nx1 > 0 && ny1 > 0 ? significant(r + n, nr - n) : 0;
    const long nv = significant(r, n);
    long nt;
    if (nu >= nv)
        nt = addMagnitude(t, r + n, nu, r, nv);
    else
        nt = addMagnitude(t, r, nv, r + n, nu);
    if (dxNegative == dyNegative) {
        nt = nt >= nz ? addMagnitude(t, t, nt, z, nz) : addMagnitude(t, z, nz, t, nt);
    } else {
        nt = subMagnitude(t, t, nt, z, nz);
    }

    // 5. Add the middle term at limb h.
    addInto(r + h, nr - h, t, nt);
}

// Workspace of the operations below, reused across calls. The system runs one thread; the
// thread_local keeps a second thread safe all the same.
struct Workspace {
    std::vector<Limb> karatsuba;
    std::vector<Limb> u;
    std::vector<Limb> v;
    std::vector<Limb> q;
    std::vector<Limb> wideU;
    std::vector<Limb> wideV;
    std::vector<Limb> wideQ;
};

Workspace& workspace()
{
    thread_local Workspace work;
    return work;
}

Limb* reserved(std::vector<Limb>& buffer, long n)
{
    if (static_cast<long>(buffer.size()) < n) buffer.resize(n);
    return buffer.data();
}

// Division of magnitudes of the same length n >= 3, x >= y (Euclid's common case): the quotient
// is a single limb. It is estimated from the top three limbs of each, which fixes it up to a unit
// or two, and r[0..n) = x - q y is formed in one pass; the corrections below make q and r exact.
Limb divSameLength(const Limb* x, const Limb* y, long n, Limb* r)
{
    // 1. Estimate; the lower limbs change the ratio by less than 10^-18 relative.
    const long double top =
        (static_cast<long double>(x[n - 1]) * BASE + static_cast<long double>(x[n - 2])) * BASE + x[n - 3];
    const long double bottom =
        (static_cast<long double>(y[n - 1]) * BASE + static_cast<long double>(y[n - 2])) * BASE + y[n - 3];
    Limb q = static_cast<Limb>(top / bottom);
    q = std::clamp<Limb>(q, 0, BASE - 1);

    // 2. r = x - q y with a borrow chain; what is still owed above limb n - 1 is `borrow`.
    Limb borrow = 0;
    for (long i = 0; i < n; ++i) {
        const ULimb product = static_cast<ULimb>(q) * static_cast<ULimb>(y[i]);
        const Limb high = static_cast<Limb>(product / BASE);
        const Limb low = static_cast<Limb>(product) - high * BASE;
        const Limb difference = x[i] - low - borrow; // above -2 BASE
        const Limb k = static_cast<Limb>(difference < 0) + static_cast<Limb>(difference < -BASE);
        r[i] = difference + k * BASE;
        borrow = high + k;
    }

    // 3. A negative r: q was too large, add y back. r >= y: q was too small, take y off.
    while (borrow > 0) {
        --q;
        Limb carry = 0;
        for (long i = 0; i < n; ++i) {
            const Limb sum = r[i] + y[i] + carry;
            carry = sum >= BASE;
            r[i] = sum - carry * BASE;
        }
        borrow -= carry;
    }
    while (compareMagnitude(r, significant(r, n), y, n) >= 0) {
        ++q;
        subMagnitude(r, r, n, y, n);
    }
    return q;
}

// Knuth's division on magnitudes, nx >= ny >= 2, y without zero top limb. Leaves the quotient in
// work.q (returned length) and, when wanted, the remainder in work.v[0..ny).
// It runs on pairs of limbs, in base WIDE = 10^18: a step of the inner loop then does the work of
// four limb steps with about half the multiplications, and the borrow chain stays short. The pairs
// are formed after the usual scaling by d = BASE / (top limb + 1); a divisor of odd length is
// shifted up by one limb together with the dividend, so that its top pair is full and at least
// WIDE / 2. Neither changes the quotient; the remainder is unshifted and divided by d at the end.
// Digit estimates come from the top two pairs of the running remainder against the top pair of the
// divisor, refined by the next pair; a digit still too large is corrected by adding back. The digits
// are those of the exact quotient, so the results are exact.
long divKnuth(const Limb* x, long nx, const Limb* y, long ny, bool wantRemainder, Workspace& work)
{
    // 1. Scale, shift to an even divisor length, and pack pairs.
    const Limb d = BASE / (y[ny - 1] + 1);
    const long shift = ny & 1;
    const long nu = nx + 1 + shift; // the scaled dividend with its carry limb
    const long nv = ny + shift;     // even
    Limb* u = reserved(work.u, nu + 2);
    Limb* v = reserved(work.v, nv + 2);
    u[0] = 0;
    v[0] = 0;
    mulSmall(u + shift, x, nx, d);
    mulSmall(v + shift, y, ny, d); // the carry is 0: the scaled divisor keeps its length
    u[nu] = 0;                     // pads an odd length to whole pairs
    const long NX = (nu + 1) / 2;
    const long NY = nv / 2;
    Limb* U = reserved(work.wideU, NX + 1);
    Limb* V = reserved(work.wideV, NY);
    Limb* Q = reserved(work.wideQ, NX - NY + 1);
    for (long k = 0; k < NX; ++k)
        U[k] = u[2 * k] + u[2 * k + 1] * BASE;
    U[NX] = 0;
    for (long k = 0; k < NY; ++k)
        V[k] = v[2 * k] + v[2 * k + 1] * BASE;
    const ULimb vTop = static_cast<ULimb>(V[NY - 1]);
    const ULimb vNext = NY >= 2 ? static_cast<ULimb>(V[NY - 2]) : 0;

    // 2. One quotient digit per step, from the top.
    for (long j = NX - NY; j >= 0; --j) {
        Limb* w = U + j;
        const Wide numerator = static_cast<Wide>(w[NY]) * WIDE + static_cast<ULimb>(w[NY - 1]);
        ULimb digit = static_cast<ULimb>(numerator / vTop);
        ULimb rest = static_cast<ULimb>(numerator - static_cast<Wide>(digit) * vTop);
        if (NY >= 2) {
            while (digit >= WIDE || static_cast<Wide>(digit) * vNext >
                                        static_cast<Wide>(rest) * WIDE + static_cast<ULimb>(w[NY - 2])) {
                --digit;
                rest += vTop;
                if (rest >= WIDE) break;
            }
        }
        // No digit exceeds WIDE - 1; a clamped estimate is still not below the true digit.
        if (digit >= WIDE) digit = WIDE - 1;

        // 3. w = w - digit * V. Each pair product is formed from the four limb products and split
        //    into high and low pair, apart from the borrow chain, which carries only 0, 1 or 2.
        const ULimb digitHigh = digit / BASE;
        const ULimb digitLow = digit - digitHigh * BASE;
        ULimb previousHigh = 0;
        Limb borrow = 0;
        for (long i = 0; i < NY; ++i) {
            const ULimb low9 = static_cast<ULimb>(v[2 * i]);
            const ULimb high9 = static_cast<ULimb>(v[2 * i + 1]);
            const ULimb c0 = digitLow * low9;
            const ULimb c1 = digitHigh * low9 + digitLow * high9;
            const ULimb c2 = digitHigh * high9;
            const ULimb t = c0 / BASE + c1;
            const ULimb h1 = t / BASE;
            const ULimb high = h1 + c2;
            // c0 + c1 BASE - h1 WIDE is below WIDE, so arithmetic modulo 2^64 gives it exactly.
            const ULimb low = c0 + c1 * static_cast<ULimb>(BASE) - h1 * WIDE;
            const Limb difference =
                w[i] - static_cast<Limb>(low) - static_cast<Limb>(previousHigh) - borrow; // >= -2 WIDE
            const Limb k =
                static_cast<Limb>(difference < 0) + static_cast<Limb>(difference < -static_cast<Limb>(WIDE));
            w[i] = difference + k * static_cast<Limb>(WIDE);
            borrow = k;
            previousHigh = high;
        }
        Limb top = w[NY] - static_cast<Limb>(previousHigh) - borrow;

        // 4. While the remainder is negative the digit was too large: add V back.
        while (top < 0) {
            --digit;
            Limb carry = 0;
            for (long i = 0; i < NY; ++i) {
                const Limb sum = w[i] + V[i] + carry;
                carry = sum >= static_cast<Limb>(WIDE);
                w[i] = sum - carry * static_cast<Limb>(WIDE);
            }
            top += carry;
        }
        w[NY] = top;
        Q[j] = static_cast<Limb>(digit);
    }

    // 5. Unpack the quotient and, when wanted, the remainder: unshift and divide by d.
    Limb* q = reserved(work.q, 2 * (NX - NY + 1));
    for (long k = 0; k <= NX - NY; ++k) {
        q[2 * k + 1] = Q[k] / BASE;
        q[2 * k] = Q[k] - q[2 * k + 1] * BASE;
    }
    if (wantRemainder) {
        for (long k = 0; k < NY; ++k) {
            u[2 * k + 1] = U[k] / BASE;
            u[2 * k] = U[k] - u[2 * k + 1] * BASE;
        }
        divSmall(v, u + shift, ny, d);
    }
    return 2 * (NX - NY + 1);
}

} // namespace

// ---------------------------------------------------------------------------------------------
// Storage helpers

void ZZ::prepare(long n)
{
    if (n > capacity) MN = 0; // nothing to keep: the growth copies the spare slot only
    setDimension(n, false);
}

void ZZ::trim()
{
    while (MN > 1 && data[MN] == 0)
        --MN;
}

void ZZ::swapWith(ZZ& other) noexcept
{
    std::swap(MN, other.MN);
    std::swap(data, other.data);
    std::swap(capacity, other.capacity);
    std::swap(isPositive, other.isPositive);
}

void ZZ::assignMagnitude(const Limb* x, long n, bool positive)
{
    n = significant(x, n);
    if (n == 0) {
        prepare(1);
        data[1] = 0;
        isPositive = true;
        return;
    }
    prepare(n);
    std::memmove(data + 1, x, static_cast<size_t>(n) * sizeof(Limb));
    isPositive = positive;
}

// Private access for the free functions of this file.
struct ZZKernel {
    static long length(const ZZ& x) { return significant(x.data + 1, x.MN); }
    static void setZero(ZZ& x)
    {
        x.prepare(1);
        x.data[1] = 0;
        x.isPositive = true;
    }
    static void setUnsigned(ZZ& x, ULimb value, bool positive)
    {
        const ULimb base = static_cast<ULimb>(BASE);
        if (value < base) {
            x.prepare(1);
            x.data[1] = static_cast<Limb>(value);
        } else if (value < base * base) {
            x.prepare(2);
            x.data[1] = static_cast<Limb>(value % base);
            x.data[2] = static_cast<Limb>(value / base);
        } else {
            x.prepare(3);
            x.data[1] = static_cast<Limb>(value % base);
            x.data[2] = static_cast<Limb>(value / base % base);
            x.data[3] = static_cast<Limb>(value / base / base);
        }
        x.isPositive = positive || value == 0;
    }
    // The value of a magnitude of at most two limbs.
    static ULimb smallValue(const ZZ& x, long n)
    {
        if (n == 0) return 0;
        if (n == 1) return static_cast<ULimb>(x.data[1]);
        return static_cast<ULimb>(x.data[2]) * BASE + static_cast<ULimb>(x.data[1]);
    }
    // The value of a magnitude of at most four limbs (below 10^36 < 2^120).
    static Wide wideValue(const ZZ& x, long n)
    {
        Wide value = 0;
        for (long i = n; i >= 1; --i)
            value = value * BASE + static_cast<ULimb>(x.data[i]);
        return value;
    }
    static void setWide(ZZ& x, Wide value, bool positive)
    {
        if (value >> 64 == 0) {
            setUnsigned(x, static_cast<ULimb>(value), positive);
            return;
        }
        Limb limbs[5];
        long n = 0;
        while (value != 0) {
            limbs[n++] = static_cast<Limb>(value % BASE);
            value /= BASE;
        }
        x.assignMagnitude(limbs, n, positive);
    }
    // Euclid in machine words, in 64 bits as soon as both values fit.
    static Wide wideGgt(Wide big, Wide small)
    {
        while (small != 0 && (big >> 64 != 0 || small >> 64 != 0)) {
            const Wide remainder = big % small;
            big = small;
            small = remainder;
        }
        if (small == 0) return big;
        if (big == 0) return small;
        // Both nonzero and within 64 bits: the binary method, the same divisor without divisions.
        ULimb x = static_cast<ULimb>(big);
        ULimb y = static_cast<ULimb>(small);
        const int common = std::countr_zero(x | y);
        x >>= std::countr_zero(x);
        do {
            y >>= std::countr_zero(y);
            if (x > y) std::swap(x, y);
            y -= x;
        } while (y != 0);
        return static_cast<Wide>(x) << common;
    }
    static void prepare(ZZ& x, long n) { x.prepare(n); }
    static void trim(ZZ& x) { x.trim(); }
    static void swap(ZZ& x, ZZ& y) { x.swapWith(y); }
    static void assign(ZZ& x, const Limb* limbs, long n, bool positive)
    {
        x.assignMagnitude(limbs, n, positive);
    }

    // c = a + b for nonzero a and b, with the signs given: magnitudes add when the signs agree
    // (the sign is a's), else the smaller is taken from the larger (an equal pair gives the normal
    // zero) and the sign is that of the larger.
    static void addSigned(const ZZ& a, bool aPositive, const ZZ& b, bool bPositive, ZZ& c)
    {
        const long na = length(a);
        const long nb = length(b);
        const bool aliased = &c == &a || &c == &b;
        if (aPositive == bPositive) {
            if (na == 1 && nb == 1) {
                setUnsigned(c, static_cast<ULimb>(a.data[1] + b.data[1]), true);
                c.isPositive = aPositive;
                return;
            }
            const long n = std::max(na, nb) + 1;
            if (aliased)
                c.setDimension(std::max(c.MN, n), false); // keeps the operand's limbs
            else
                c.prepare(n);
            const long length = na >= nb ? addMagnitude(c.data + 1, a.data + 1, na, b.data + 1, nb)
                                         : addMagnitude(c.data + 1, b.data + 1, nb, a.data + 1, na);
            c.MN = length;
            c.isPositive = aPositive;
            return;
        }
        const int order = compareMagnitude(a.data + 1, na, b.data + 1, nb);
        if (order == 0) {
            setZero(c);
            return;
        }
        const ZZ& larger = order > 0 ? a : b;
        const ZZ& smaller = order > 0 ? b : a;
        const long nl = order > 0 ? na : nb;
        const long ns = order > 0 ? nb : na;
        const bool positive = order > 0 ? aPositive : bPositive;
        if (nl == 1) {
            const Limb difference = larger.data[1] - smaller.data[1];
            c.prepare(1);
            c.data[1] = difference;
            c.isPositive = positive;
            return;
        }
        if (aliased)
            c.setDimension(std::max(c.MN, nl), false);
        else
            c.prepare(nl);
        c.MN = subMagnitude(c.data + 1, larger.data + 1, nl, smaller.data + 1, ns);
        c.isPositive = positive;
    }
};

// ---------------------------------------------------------------------------------------------
// Construction and assignment

ZZ::ZZ()
{
    prepare(1);
    data[1] = 0;
}

ZZ::ZZ(int const& x)
{
    *this = static_cast<long long>(x);
}

ZZ::ZZ(ZZ const& other) : Array<long long>(other), isPositive(other.isPositive)
{
}

ZZ::ZZ(ZZ&& other) noexcept : Array<long long>(std::move(other)), isPositive(other.isPositive)
{
}

ZZ& ZZ::operator=(ZZ const& other)
{
    if (this != &other) {
        Array<long long>::operator=(other);
        isPositive = other.isPositive;
    }
    return *this;
}

ZZ& ZZ::operator=(ZZ&& other) noexcept
{
    if (this != &other) {
        Array<long long>::operator=(std::move(other));
        isPositive = other.isPositive;
    }
    return *this;
}

ZZ& ZZ::operator=(long long const& x)
{
    // |x| in unsigned arithmetic, so that the most negative value has a magnitude too.
    const ULimb magnitude = x < 0 ? 0ULL - static_cast<ULimb>(x) : static_cast<ULimb>(x);
    ZZKernel::setUnsigned(*this, magnitude, true);
    isPositive = x >= 0;
    return *this;
}

ZZ& ZZ::operator=(char const* s)
{
    if (s == nullptr) s = "";
    const bool positive = s[0] != '-';
    long count = 0;
    for (const char* p = s; *p != '\0'; ++p)
        count += *p >= '0' && *p <= '9';
    if (count == 0) {
        prepare(1);
        data[1] = 0;
        isPositive = positive;
        return *this;
    }
    // Groups of 9 digits cut from the right; the top group takes the rest.
    const long n = (count + LIMB_DIGITS - 1) / LIMB_DIGITS;
    prepare(n);
    long limb = n;
    long groupSize = count - (n - 1) * LIMB_DIGITS;
    long inGroup = 0;
    Limb value = 0;
    for (const char* p = s; *p != '\0'; ++p) {
        if (*p < '0' || *p > '9') continue;
        value = value * 10 + (*p - '0');
        if (++inGroup == groupSize) {
            data[limb--] = value;
            value = 0;
            inGroup = 0;
            groupSize = LIMB_DIGITS;
        }
    }
    isPositive = positive;
    trim();
    return *this;
}

// ---------------------------------------------------------------------------------------------
// Arithmetic

void ZZ::add(ZZ const& a, ZZ const& b, ZZ& c)
{
    if (a.isZero()) {
        c = b;
        return;
    }
    if (b.isZero()) {
        c = a;
        return;
    }
    ZZKernel::addSigned(a, a.isPositive, b, b.isPositive, c);
}

void ZZ::sub(ZZ const& a, ZZ const& b, ZZ& c)
{
    if (b.isZero()) {
        c = a;
        return;
    }
    if (a.isZero()) {
        negate(b, c);
        return;
    }
    ZZKernel::addSigned(a, a.isPositive, b, !b.isPositive, c);
}

void ZZ::negate(ZZ const& a, ZZ& c)
{
    if (a.isZero()) {
        ZZKernel::setZero(c);
        return;
    }
    const bool positive = a.isPositive;
    c = a;
    c.isPositive = !positive;
}

void ZZ::mul(ZZ const& a, ZZ const& b, ZZ& c)
{
    if (a.isZero() || b.isZero()) {
        ZZKernel::setZero(c);
        return;
    }
    if (a.MN * b.MN > KARATSUBA_THRESHOLD)
        karatsuba_mul(a, b, c);
    else
        schul_mul(a, b, c);
}

void ZZ::schul_mul(ZZ const& a, ZZ const& b, ZZ& c)
{
    const bool positive = a.isPositive == b.isPositive;
    const long na = ZZKernel::length(a);
    const long nb = ZZKernel::length(b);
    // A zero operand leaves the zero limbs of the product with the product's sign.
    if (na == 0 || nb == 0) {
        c.prepare(1);
        c.data[1] = 0;
        c.isPositive = positive;
        return;
    }
    if (na == 1 && nb == 1) {
        ZZKernel::setUnsigned(c, static_cast<ULimb>(a.data[1]) * static_cast<ULimb>(b.data[1]), true);
        c.isPositive = positive;
        return;
    }
    // The product is written afresh; an aliased result gets it through a scratch object.
    thread_local ZZ scratch;
    ZZ& target = (&c == &a || &c == &b) ? scratch : c;
    target.prepare(na + nb);
    mulSchool(target.data + 1, a.data + 1, na, b.data + 1, nb);
    target.trim();
    target.isPositive = positive;
    if (&target != &c) c.swapWith(target);
}

void ZZ::karatsuba_mul(ZZ const& a, ZZ const& b, ZZ& c)
{
    const long na = ZZKernel::length(a);
    const long nb = ZZKernel::length(b);
    if (na == 0 || nb == 0) {
        ZZKernel::setZero(c);
        return;
    }
    thread_local ZZ scratch;
    ZZ& target = (&c == &a || &c == &b) ? scratch : c;
    target.prepare(na + nb);
    Limb* work = reserved(workspace().karatsuba, karatsubaScratch(std::max(na, nb)));
    mulKaratsuba(target.data + 1, a.data + 1, na, b.data + 1, nb, work);
    target.trim();
    target.isPositive = a.isPositive == b.isPositive;
    if (&target != &c) c.swapWith(target);
}

void ZZ::div(ZZ const& a, ZZ const& b, ZZ& q, ZZ& r)
{
    // 1. Division by zero, in either zero form, stops.
    if (b.isZero()) fatal("ZZ::div -- division by zero");
    const long na = ZZKernel::length(a);
    const long nb = ZZKernel::length(b);
    const bool quotientPositive = a.isPositive == b.isPositive;
    const bool remainderPositive = a.isPositive;
    const bool quotientOnly = &q == &r;

    // 2. |a| < |b|: quotient 0, remainder a as it is.
    if (compareMagnitude(a.data + 1, na, b.data + 1, nb) < 0) {
        if (!quotientOnly) r = a;
        ZZKernel::setZero(q);
        return;
    }

    // 3. Both within four limbs: machine division.
    if (na <= 2 && nb <= 2) {
        const ULimb x = ZZKernel::smallValue(a, na);
        const ULimb y = ZZKernel::smallValue(b, nb);
        const ULimb quotient = x / y;
        ZZKernel::setUnsigned(q, quotient, quotientPositive);
        if (!quotientOnly) ZZKernel::setUnsigned(r, x - quotient * y, remainderPositive);
        return;
    }
    if (na <= 4 && nb <= 4) {
        const Wide x = ZZKernel::wideValue(a, na);
        const Wide y = ZZKernel::wideValue(b, nb);
        const Wide quotient = x / y;
        ZZKernel::setWide(q, quotient, quotientPositive);
        if (!quotientOnly) ZZKernel::setWide(r, x - quotient * y, remainderPositive);
        return;
    }

    Workspace& work = workspace();
    Limb* quotient = reserved(work.q, na - nb + 1);

    // 4. A one-limb divisor: short division.
    if (nb == 1) {
        const Limb remainder = divSmall(quotient, a.data + 1, na, b.data[1]);
        ZZKernel::assign(q, quotient, na, quotientPositive);
        if (!quotientOnly) ZZKernel::setUnsigned(r, static_cast<ULimb>(remainder), remainderPositive);
        return;
    }

    // 5. Equal lengths: a one-limb quotient.
    if (na == nb) {
        Limb* remainder = reserved(work.v, nb);
        const Limb digit = divSameLength(a.data + 1, b.data + 1, nb, remainder);
        ZZKernel::setUnsigned(q, static_cast<ULimb>(digit), quotientPositive);
        if (!quotientOnly) ZZKernel::assign(r, remainder, nb, remainderPositive);
        return;
    }

    // 6. Knuth's division.
    const long length = divKnuth(a.data + 1, na, b.data + 1, nb, !quotientOnly, work);
    ZZKernel::assign(q, work.q.data(), length, quotientPositive);
    if (!quotientOnly) ZZKernel::assign(r, work.v.data(), nb, remainderPositive);
}

void ZZ::pow(ZZ const& base, ZZ const& exponent, ZZ& c)
{
    if (!exponent.isPositive && !exponent.isZero()) fatal("[ ZZ::operator ^ ] Exponent < 0");
    // Square and multiply from the low end, on copies (c may be base or exponent).
    ZZ factor(base);
    ZZ rest(exponent);
    c = 1;
    while (!rest.isZero()) {
        // BASE is even, so limb 1 alone gives the parity.
        if (rest.data[1] & 1) mul(c, factor, c);
        divSmall(rest.data + 1, rest.data + 1, rest.MN, 2);
        rest.trim();
        if (!rest.isZero()) mul(factor, factor, factor);
    }
}

// ---------------------------------------------------------------------------------------------
// Comparison and text

int ZZ::compare(ZZ const& b) const
{
    if (this == &b) return 0;
    const bool zero = isZero();
    const bool bZero = b.isZero();
    if (zero && bZero) return 0;
    // A zero, in either form, is neither positive nor negative here.
    const int sign = zero ? 0 : (isPositive ? 1 : -1);
    const int bSign = bZero ? 0 : (b.isPositive ? 1 : -1);
    if (sign != bSign) return sign < bSign ? -1 : 1;
    const int order = compareMagnitude(data + 1, ZZKernel::length(*this), b.data + 1, ZZKernel::length(b));
    return isPositive ? order : -order;
}

long ZZ::digits() const
{
    if (MN == 0) return 1;
    return (MN - 1) * LIMB_DIGITS + decimalLength(data[MN]);
}

long ZZ::digitsWithoutTrailingZeroes() const
{
    long position = 0;
    long last = 0;
    for (long i = 1; i <= MN; ++i) {
        Limb x = data[i];
        const int length = decimalLength(x);
        if (x != 0) {
            int trailing = 0;
            while (x % 10 == 0) {
                x /= 10;
                ++trailing;
            }
            last = position + length - trailing;
        }
        position += length;
    }
    return std::max(last, 1L);
}

std::string ZZ::getStringRepresentation() const
{
    std::string text;
    if (!isPositive) text.push_back('-');
    if (MN == 0) return text;
    const int topLength = decimalLength(data[MN]);
    const size_t start = text.size();
    text.resize(start + static_cast<size_t>(topLength + (MN - 1) * LIMB_DIGITS));
    char* out = text.data() + start;
    Limb top = data[MN];
    for (int k = topLength - 1; k >= 0; --k) {
        out[k] = static_cast<char>('0' + top % 10);
        top /= 10;
    }
    out += topLength;
    for (long i = MN - 1; i >= 1; --i) {
        unsigned limb = static_cast<unsigned>(data[i]);
        for (int k = LIMB_DIGITS - 1; k >= 0; --k) {
            out[k] = static_cast<char>('0' + limb % 10);
            limb /= 10;
        }
        out += LIMB_DIGITS;
    }
    return text;
}

// ---------------------------------------------------------------------------------------------
// Shifts and digit surgery

ZZ& ZZ::decimal_lshift(long const& n)
{
    if (n <= 0 || isZero()) return *this;
    // The text with n zeroes appended, read back: the value times 10^n, the sign kept.
    trim();
    const long limbShift = n / LIMB_DIGITS;
    const int digitShift = static_cast<int>(n % LIMB_DIGITS);
    if (digitShift != 0) {
        setDimension(MN + 1, false);
        mulSmall(data + 1, data + 1, MN - 1, POW10[digitShift]);
        trim();
    }
    return base_lshift(limbShift);
}

ZZ& ZZ::decimal_rshift(unsigned long n)
{
    if (isZero()) return *this;
    // The text loses its last n characters: a text of at most n characters (the "-" counted)
    // leaves the normal zero; otherwise the magnitude is divided by 10^n and the sign stays, so
    // that a bare "-" left over reads as a zero with isPositive false.
    const unsigned long textLength = static_cast<unsigned long>(digits()) + (isPositive ? 0 : 1);
    if (n >= textLength) {
        ZZKernel::setZero(*this);
        return *this;
    }
    const long limbShift = static_cast<long>(n / LIMB_DIGITS);
    const int digitShift = static_cast<int>(n % LIMB_DIGITS);
    if (limbShift >= MN) {
        prepare(1);
        data[1] = 0;
        return *this;
    }
    base_rshift(limbShift);
    if (digitShift != 0) divSmall(data + 1, data + 1, MN, POW10[digitShift]);
    trim();
    return *this;
}

ZZ& ZZ::base_lshift(long const& n)
{
    if (n <= 0 || isZero()) return *this;
    const long old = MN;
    setDimension(old + n, false);
    std::memmove(data + 1 + n, data + 1, static_cast<size_t>(old) * sizeof(Limb));
    std::fill(data + 1, data + 1 + n, 0);
    return *this;
}

ZZ& ZZ::base_rshift(long const& n)
{
    if (n > MN) fatal("ZZ::base_rshift steps > N");
    if (n <= 0) return *this;
    std::memmove(data + 1, data + 1 + n, static_cast<size_t>(MN - n) * sizeof(Limb));
    setDimension(MN - n, false);
    return *this;
}

ZZ& ZZ::addTrailingZeroes(long n)
{
    if (n < 1) return *this;
    // Zeroes in front of the text read back to the same magnitude; the text no longer starts with
    // "-", so the sign becomes positive.
    isPositive = true;
    if (MN == 0) {
        prepare(1);
        data[1] = 0;
        return *this;
    }
    trim();
    return *this;
}

ZZ& ZZ::removeZeroTrailer()
{
    // 1. A zero becomes the normal zero; one without limbs stays as it is.
    if (isZero()) {
        if (MN > 0) ZZKernel::setZero(*this);
        return *this;
    }
    // 2. Drop the zero limbs at the low end.
    long zeroLimbs = 0;
    while (data[zeroLimbs + 1] == 0)
        ++zeroLimbs;
    base_rshift(zeroLimbs);
    // 3. Limb 1 as text without its trailing zeroes (at least one character), then dropped.
    std::string low = std::to_string(data[1]);
    const size_t lastKept = low.find_last_not_of('0');
    low.resize(lastKept == std::string::npos ? 1 : lastKept + 1);
    base_rshift(1);
    // 4. The remaining limbs' text with the cut text joined behind it, unpadded, read again.
    const std::string joined = getStringRepresentation() + low;
    return *this = joined.c_str();
}

// ---------------------------------------------------------------------------------------------
// Operators and Math

ZZ operator+(ZZ const& a, ZZ const& b)
{
    ZZ c;
    ZZ::add(a, b, c);
    return c;
}

ZZ operator-(ZZ const& a, ZZ const& b)
{
    ZZ c;
    ZZ::sub(a, b, c);
    return c;
}

ZZ operator-(ZZ const& a)
{
    ZZ c;
    ZZ::negate(a, c);
    return c;
}

ZZ operator*(ZZ const& a, ZZ const& b)
{
    ZZ c;
    ZZ::mul(a, b, c);
    return c;
}

ZZ operator/(ZZ const& a, ZZ const& b)
{
    ZZ q;
    ZZ::div(a, b, q, q);
    return q;
}

ZZ operator%(ZZ const& a, ZZ const& b)
{
    ZZ q;
    ZZ r;
    ZZ::div(a, b, q, r);
    // A negative remainder (a zero of either form is not negative) gets b added.
    if (!r.isPositive && !r.isZero()) ZZ::add(r, b, r);
    return r;
}

ZZ& operator+=(ZZ& a, ZZ const& b)
{
    ZZ::add(a, b, a);
    return a;
}

ZZ& operator-=(ZZ& a, ZZ const& b)
{
    ZZ::sub(a, b, a);
    return a;
}

ZZ& operator*=(ZZ& a, ZZ const& b)
{
    ZZ::mul(a, b, a);
    return a;
}

ZZ& operator/=(ZZ& a, ZZ const& b)
{
    ZZ::div(a, b, a, a);
    return a;
}

std::ostream& operator<<(std::ostream& stream, ZZ const& x)
{
    return stream << x.getStringRepresentation();
}

ZZ floor(ZZ const& x)
{
    return x;
}

template <>
ZZ Math::abs<ZZ>(const ZZ& x)
{
    if (x.isZero()) return ZZ();
    if (x.isPositive) return x;
    return -x;
}

ZZ Math::ggt(const ZZ& a, const ZZ& b)
{
    // Values within four limbs, at the start or on the way: the rest of Euclid in machine words,
    // with the same result.
    const long na = ZZKernel::length(a);
    const long nb = ZZKernel::length(b);
    ZZ x;
    if (na <= 4 && nb <= 4) {
        ZZKernel::setWide(x, ZZKernel::wideGgt(ZZKernel::wideValue(a, na), ZZKernel::wideValue(b, nb)), true);
        return x;
    }
    x = abs(a);
    ZZ y = abs(b);
    ZZ q;
    ZZ t;
    while (!y.isZero()) {
        const long nx = ZZKernel::length(x);
        const long ny = ZZKernel::length(y);
        if (nx <= 4 && ny <= 4) {
            ZZKernel::setWide(x, ZZKernel::wideGgt(ZZKernel::wideValue(x, nx), ZZKernel::wideValue(y, ny)),
                              true);
            return x;
        }
        // t = x - q y, the remainder of x by y.
        ZZ::div(x, y, q, t);
        ZZKernel::swap(x, y);
        ZZKernel::swap(y, t);
    }
    return x;
}

ZZ Math::kgv(const ZZ& a, const ZZ& b)
{
    ZZ product;
    ZZ::mul(a, b, product);
    ZZ::div(product, ggt(a, b), product, product);
    return product;
}

} // namespace latopt
