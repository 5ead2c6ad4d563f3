// gram_schmidt.cpp: the Gram-Schmidt data of the rows of B, computed lazily row by row
// (compute_gs_classic, compute_gs_mod), and the row images that the recurrence reads. See
// lattice.h.
#include "arith/constant.h"
#include "arith/precision.h"
#include "arith/qq.h"
#include "base/log.h"
#include "lattice/lattice.h"
#include "lattice/reduction_numbers.h"

#include <climits>
#include <type_traits>

namespace latopt {

using reduction::convert;
using reduction::fromInteger;
using reduction::integerImage;

template <class R1, class R2>
void Lattice<R1, R2>::invalidateRowImages()
{
    gsImageState.setDimension(dimB, false);
    gsIntBits.setDimension(dimB, false);
    for (long i = 0; i <= dimB; ++i)
        gsImageState[i] = 0;
    if (static_cast<long>(gsIntImage.size()) != dimB * dimN) gsIntImage.assign(dimB * dimN, 0);
    if constexpr (!std::is_same_v<R1, R2>) gsImage.setDimensions(dimB, dimN, false);
}

template <class R1, class R2>
const R2* Lattice<R1, R2>::rowImage(long i)
{
    const R1* row = B.rowData[i].data;
    short& state = gsImageState.data[i];
    if (state == 0) {
        // 1. The integer image, while every entry is an integer below 2^53.
        long long* integers = gsIntImage.data() + (i - 1) * dimN;
        bool integral = true;
        unsigned long long largest = 0;
        for (long col = 1; col <= dimN && integral; ++col) {
            integral = integerImage(row[col], integers[col - 1]);
            const long long entry = integers[col - 1];
            largest |= static_cast<unsigned long long>(entry < 0 ? -entry : entry);
        }
        gsIntBits.data[i] = static_cast<short>(largest == 0 ? 0 : 64 - __builtin_clzll(largest));
        // 2. The R2 image, where it is not the row itself.
        if constexpr (!std::is_same_v<R1, R2>) {
            R2* image = gsImage.rowData[i].data;
            for (long col = 1; col <= dimN; ++col)
                convert(row[col], image[col]);
        }
        state = integral ? 2 : 1;
    }
    if constexpr (std::is_same_v<R1, R2>)
        return row;
    else
        return gsImage.rowData[i].data;
}

namespace {

// The exact inner product of two integer rows of count entries whose largest entries have the
// given bit lengths: in 64 bits where they and the column count leave room, else in 128 (products
// below 2^106, so 2^21 columns can't overflow).
reduction::Int128 exactProduct(const long long* x, const long long* y, long count, int bits)
{
    const int columnBits = 64 - __builtin_clzll(static_cast<unsigned long long>(count) | 1ULL);
    if (bits + columnBits <= 62) {
        // Four partial sums: integer sums are exact in any order, and the loop runs on fewer
        // jumps.
        long long sum0 = 0;
        long long sum1 = 0;
        long long sum2 = 0;
        long long sum3 = 0;
        long col = 0;
        for (; col + 3 < count; col += 4) {
            sum0 += x[col] * y[col];
            sum1 += x[col + 1] * y[col + 1];
            sum2 += x[col + 2] * y[col + 2];
            sum3 += x[col + 3] * y[col + 3];
        }
        for (; col < count; ++col)
            sum0 += x[col] * y[col];
        return (sum0 + sum1) + (sum2 + sum3);
    }
    reduction::Int128 sum = 0;
    for (long col = 0; col < count; ++col)
        sum += static_cast<reduction::Int128>(x[col]) * y[col];
    return sum;
}

} // namespace

template <class R1, class R2>
R2 Lattice<R1, R2>::rowProduct(long i, long k)
{
    const R2* a = rowImage(i);
    const R2* b = rowImage(k);
    R2 sum = Constant<R2>::ZERO();
    if (gsImageState.data[i] == 2 && gsImageState.data[k] == 2) {
        const reduction::Int128 exact =
            exactProduct(gsIntImage.data() + (i - 1) * dimN, gsIntImage.data() + (k - 1) * dimN, dimN,
                         gsIntBits.data[i] + gsIntBits.data[k]);
        if (exact >= LLONG_MIN && exact <= LLONG_MAX)
            fromInteger(static_cast<long long>(exact), sum);
        else
            fromInteger(exact, sum);
        return sum;
    }
    for (long col = 1; col <= dimN; ++col)
        sum += a[col] * b[col];
    return sum;
}

template <class R1, class R2>
void Lattice<R1, R2>::storeIntegerRow(long k)
{
    const long long* integers = gsIntImage.data() + (k - 1) * dimN;
    R1* row = B.rowData[k].data;
    for (long col = 1; col <= dimN; ++col)
        fromInteger(integers[col - 1], row[col]);
    if constexpr (!std::is_same_v<R1, R2>) {
        R2* image = gsImage.rowData[k].data;
        for (long col = 1; col <= dimN; ++col)
            fromInteger(integers[col - 1], image[col]);
    }
}

template <class R1, class R2>
void Lattice<R1, R2>::addRowState(long k, short bits)
{
    if (rowState[k] == ROW_DEPENDENT) rowState[k] = 0;
    rowState[k] = static_cast<short>(rowState[k] | bits);
}

template <class R1, class R2>
R2 Lattice<R1, R2>::computeGsRow(long k)
{
    // 1. The scratch vector r of the recurrence.
    if (gsScratch.dimension() < k) gsScratch.setDimension(k, true);
    R2* r = gsScratch.data;
    R2* muk = mu.rowData[k].data;
    // 2. r[i] = <b_i, b_k> - t_i, t_i = sum_j mu[i][j] r[j] from zero in column order,
    //    mu[k][i] = r[i] / gsNorm[i]. Four rows i..i+3 at a time: their sums over the columns
    //    j < i don't wait for each other, so they run side by side, and each is then finished
    //    in its column order. Every t_i is the same sum, added in the same order.
    long i = 1;
    for (; i + 3 < k; i += 4) {
        const R2* m0 = mu.rowData[i].data;
        const R2* m1 = mu.rowData[i + 1].data;
        const R2* m2 = mu.rowData[i + 2].data;
        const R2* m3 = mu.rowData[i + 3].data;
        R2 t0 = Constant<R2>::ZERO();
        R2 t1 = Constant<R2>::ZERO();
        R2 t2 = Constant<R2>::ZERO();
        R2 t3 = Constant<R2>::ZERO();
        for (long j = 1; j < i; ++j) {
            t0 += m0[j] * r[j];
            t1 += m1[j] * r[j];
            t2 += m2[j] * r[j];
            t3 += m3[j] * r[j];
        }
        r[i] = rowProduct(i, k) - t0;
        muk[i] = r[i] / gsNorm.data[i];
        t1 += m1[i] * r[i];
        t2 += m2[i] * r[i];
        t3 += m3[i] * r[i];
        r[i + 1] = rowProduct(i + 1, k) - t1;
        muk[i + 1] = r[i + 1] / gsNorm.data[i + 1];
        t2 += m2[i + 1] * r[i + 1];
        t3 += m3[i + 1] * r[i + 1];
        r[i + 2] = rowProduct(i + 2, k) - t2;
        muk[i + 2] = r[i + 2] / gsNorm.data[i + 2];
        t3 += m3[i + 2] * r[i + 2];
        r[i + 3] = rowProduct(i + 3, k) - t3;
        muk[i + 3] = r[i + 3] / gsNorm.data[i + 3];
    }
    for (; i < k; ++i) {
        const R2* mui = mu.rowData[i].data;
        R2 t = Constant<R2>::ZERO();
        for (long j = 1; j < i; ++j)
            t += mui[j] * r[j];
        r[i] = rowProduct(i, k) - t;
        muk[i] = r[i] / gsNorm.data[i];
    }
    // 3. rowNorm[k] = <b_k, b_k> in R1, and c = rowNorm[k] - sum_j mu[k][j] r[j]. On an integer
    //    image the norm is taken exactly and rounded once, as the inner products are.
    R2 c;
    rowImage(k);
    if (gsImageState.data[k] == 2) {
        const long long* integers = gsIntImage.data() + (k - 1) * dimN;
        const reduction::Int128 exact = exactProduct(integers, integers, dimN, 2 * gsIntBits.data[k]);
        fromInteger(exact, rowNorm.data[k]);
        fromInteger(exact, c);
    } else {
        const R1* row = B.rowData[k].data;
        R1 norm = Constant<R1>::ZERO();
        for (long col = 1; col <= dimN; ++col)
            norm += row[col] * row[col];
        rowNorm.data[k] = norm;
        convert(norm, c);
    }
    for (long j = 1; j < k; ++j)
        c -= muk[j] * r[j];
    // 5. The diagonal and the zeros behind it.
    muk[k] = Constant<R2>::ONE();
    for (long i = k + 1; i <= dimB; ++i)
        muk[i] = Constant<R2>::ZERO();
    gsNorm.data[k] = c;
    return c;
}

template <class R1, class R2>
bool Lattice<R1, R2>::compute_gs_classic(long k1, long k2)
{
    static const R2 EPSILON = Constant<R2>::EPSILON();
    if (k2 == 0) k2 = dimB;
    // A call from outside the reduction may come after any change of B.
    if (reductionDepth == 0 || !rowImagesFit()) invalidateRowImages();
    for (long k = k1; k <= k2; ++k) {
        if ((rowState[k] & GS_CURRENT) != 0) continue;
        const R2 c = computeGsRow(k);
        // A vanishing projection: the row depends on the rows before it. The entries written so
        // far stay; rows behind it are left alone.
        if (c <= EPSILON) {
            rowState[k] = ROW_DEPENDENT;
            return false;
        }
        addRowState(k, GS_CURRENT);
    }
    return true;
}

template <class R1, class R2>
long Lattice<R1, R2>::compute_gs_mod(long k1, long k2, bool fail)
{
    static const R2 EPSILON = Constant<R2>::EPSILON();
    static const short MASK = GS_CURRENT | GS_FACTORISED | GS_LOWER_CURRENT;
    if (k2 == 0) k2 = dimB;
    // 1. Rows that are done for this routine.
    while (k1 <= k2 && (rowState[k1] & MASK) == MASK)
        ++k1;
    if (k1 > k2) return 0;
    // 2. The factorisation always starts at row 1: a restart would rest on earlier rows of
    //    gsVectors, which the Householder routine writes as well. Rows 1..k1-1 come out as they
    //    were, since their rows of B haven't changed.
    const long d = B.lq_reduced(gsLower, gsVectors, gsStages, gsDiag, 1, k2);
    // 3. The last row that finished.
    const long last = d == 0 ? k2 : d - 1;
    for (long k = 1; k <= k2 && k <= gsVectors.rowCount; ++k)
        rowState[k] = static_cast<short>(rowState[k] & ~GS_VECTORS_CURRENT);
    // 4. Copy the finished rows of the factorisation into the Gram-Schmidt data.
    long result = d;
    for (long k = k1; k <= last; ++k) {
        const R1* row = B.rowData[k].data;
        R1 norm = Constant<R1>::ZERO();
        for (long col = 1; col <= dimN; ++col)
            norm += row[col] * row[col];
        rowNorm[k] = norm;
        gsNorm[k] = gsDiag[k];
        if (gsNorm[k] <= EPSILON) {
            result = k;
            break;
        }
        for (long i = 1; i < k; ++i)
            mu[k][i] = gsLower[k][i] / gsLower[i][i];
        mu[k][k] = Constant<R2>::ONE();
        for (long i = k + 1; i <= dimB; ++i)
            mu[k][i] = Constant<R2>::ZERO();
        addRowState(k, MASK);
    }
    // 5. A dependent row stops the program when the caller asks for it.
    if (result != 0 && fail) fatal("Linear dependency detected - remove these first!");
    return result;
}

#define LATOPT_GRAM_SCHMIDT_MEMBERS(R1, R2)                                                                  \
    template void Lattice<R1, R2>::invalidateRowImages();                                                    \
    template const R2* Lattice<R1, R2>::rowImage(long);                                                      \
    template R2 Lattice<R1, R2>::rowProduct(long, long);                                                     \
    template void Lattice<R1, R2>::storeIntegerRow(long);                                                    \
    template void Lattice<R1, R2>::addRowState(long, short);                                                 \
    template R2 Lattice<R1, R2>::computeGsRow(long);                                                         \
    template bool Lattice<R1, R2>::compute_gs_classic(long, long);                                           \
    template long Lattice<R1, R2>::compute_gs_mod(long, long, bool);
LATOPT_GRAM_SCHMIDT_MEMBERS(long double, long double)
LATOPT_GRAM_SCHMIDT_MEMBERS(long double, QQ)
LATOPT_GRAM_SCHMIDT_MEMBERS(QQ, long double)
LATOPT_GRAM_SCHMIDT_MEMBERS(QQ, QQ)
#undef LATOPT_GRAM_SCHMIDT_MEMBERS

} // namespace latopt
