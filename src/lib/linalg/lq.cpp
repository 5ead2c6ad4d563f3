// lq.cpp: the LQ factorisations of Matrix<T> (see matrix.h): modified Gram-Schmidt with kept
// stages (lq_reduced) and Householder reflections (lq_full, lq_ps_matrix), for the four pairs of
// input and output type among long double and QQ.
#include "linalg/matrix.h"

#include "arith/math.h"
#include "arith/precision.h"
#include "arith/qq.h"
#include "base/log.h"
#include "linalg/kernel.h"

#include <algorithm>
#include <cmath>

namespace latopt {

namespace {

using kernel::shorten;
using kernel::squareRoot;

// target[1..n] = source[1..n] - factor * other[1..n]; target may be source.
template <class U>
void subtractMultiple(U* target, const U* source, const U& factor, const U* other, long n,
                      kernel::Scratch<U>& scratch)
{
    for (long j = 1; j <= n; ++j) {
        kernel::mul(scratch.product, factor, other[j]);
        kernel::sub(target[j], source[j], scratch.product);
    }
}

// The reflector of entries k..c of row as [ beta u_1 .. u_m ] (m = c - k + 1): u is that part of
// the row with its norm added to the first entry, signed like it, and beta = 1 / (norm * (|x| +
// norm)), so that I - beta u u^T = I - 2 u u^T / <u, u> maps the part onto -sign(x) norm e_1.
// Returns false, with beta and u zero, when the norm is at most EPSILON: the reflector is then
// the identity.
template <class U>
bool householderReflector(const Vector<U>& row, long k, Vector<U>& reflector)
{
    const long c = row.MN;
    const long m = c - k + 1;
    reflector.makeZero(m + 1);
    kernel::Scratch<U> scratch;
    // 1. The norm of the part.
    U squares;
    kernel::dot(squares, row.data + k - 1, row.data + k - 1, m, scratch);
    const U norm = squareRoot(squares);
    // 2. A part that is zero within the tolerance is left alone.
    if (norm <= Constant<U>::EPSILON()) return false;
    // 3. u: the first entry moves away from zero by the norm, so that nothing cancels.
    const U& x = row[k];
    U head = Math::abs(x) + norm;
    reflector[2] = x < Constant<U>::ZERO() ? U(-head) : head;
    shorten(reflector[2]);
    for (long i = 2; i <= m; ++i) {
        reflector[i + 1] = row[k + i - 1];
        shorten(reflector[i + 1]);
    }
    // 4. beta.
    kernel::mul(scratch.product, norm, head);
    kernel::div(reflector[1], Constant<U>::ONE(), scratch.product);
    shorten(reflector[1]);
    return true;
}

// row[k..c] = row[k..c] * (I - beta u u^T) = row[k..c] - (beta <row[k..c], u>) u, with the
// reflector as householderReflector leaves it; every changed entry is shortened.
template <class U>
void reflect(Vector<U>& row, const Vector<U>& reflector, long k, kernel::Scratch<U>& scratch, U& factor)
{
    const long m = reflector.MN - 1;
    const U* u = reflector.data + 1; // u[i] is reflector[i + 1]
    U* part = row.data + k - 1;      // part[i] is row[k + i - 1]
    kernel::dot(factor, part, u, m, scratch);
    if (factor == Constant<U>::ZERO()) return;
    kernel::mulBy(factor, reflector[1], scratch);
    shorten(factor);
    for (long i = 1; i <= m; ++i) {
        kernel::mul(scratch.product, factor, u[i]);
        kernel::subFrom(part[i], scratch.product, scratch);
        shorten(part[i]);
    }
}

} // namespace

template <class T>
template <class U>
long Matrix<T>::lq_reduced(Matrix<U>& L, Matrix<U>& Q, Array<Matrix<U>>& P, Vector<U>& d, long kk,
                           long end) const
{
    // 1. Arguments. A restart needs Q[1..kk-1] and d[1..kk-1] of an earlier call on these rows,
    //    which found no dependent row before kk.
    if (kk < 1) fatal("lq_reduced: kk is invalid (< 1)");
    if (end == 0) end = rowCount;
    if (end > rowCount) fatal("lq_reduced: end index overflow");
    if (end < kk) fatal("lq_reduced: dimension mismatch");
    const long c = colCount;
    if (kk > 1) {
        bool complete = Q.rowCount >= kk - 1 && Q.colCount == c && d.MN >= kk - 1 && L.rowCount >= kk - 1;
        for (long i = 1; complete && i < kk; ++i)
            complete = !Precision::equalsZero(d[i], true);
        if (!complete) fatal("lq_reduced: no earlier stages to restart from");
    }
    // 2. Size the outputs, keeping what they hold. The part of L above the diagonal from column kk
    //    on is zeroed here, so that the rows before an early return are complete.
    Q.setDimensions(end, c, false);
    L.setDimensions(end, end, false);
    d.setDimension(end, false);
    P.setDimension(end, false);
    for (long k = 1; k <= end; ++k)
        P[k].setDimensions(end - k + 1, c, false);
    for (long i = 1; i <= end; ++i)
        for (long j = std::max(i + 1, kk); j <= end; ++j)
            L[i][j] = Constant<U>::ZERO();
    // 3. Stage 1 holds the rows to be done, in the output type; P[1] row j is row j.
    for (long j = kk; j <= end; ++j)
        for (long col = 1; col <= c; ++col)
            Precision::conv(rowData[j][col], P[1][j][col], false);
    kernel::Scratch<U> scratch;
    // One step of the modified Gram-Schmidt: row j of stage i loses its component along Q[i]
    // (taken from the already reduced row, not the original one) into stage i + 1.
    auto purify = [&](long i, long j) {
        const Vector<U>& row = P[i][j - i + 1];
        U& coefficient = L[j][i];
        kernel::dot(coefficient, Q[i].data, row.data, c, scratch);
        kernel::divBy(coefficient, d[i], scratch);
        subtractMultiple(P[i + 1][j - i].data, row.data, coefficient, Q[i].data, c, scratch);
    };
    // 4. A restart runs rows kk..end through the kept stages 1..kk-1.
    for (long i = 1; i < kk; ++i)
        for (long j = kk; j <= end; ++j)
            purify(i, j);
    // 5. Each new stage: its first row is the next orthogonal vector, the rows after it lose
    //    their component along it. A vector of squared length zero by the tolerance test is a
    //    dependent row; the division by d[k] below is safe because that test came first.
    for (long k = kk; k <= end; ++k) {
        Q[k] = P[k][1];
        kernel::dot(d[k], Q[k].data, Q[k].data, c, scratch);
        if (Precision::equalsZero(d[k], true)) return k;
        L[k][k] = Constant<U>::ONE();
        for (long j = k + 1; j <= end; ++j)
            purify(k, j);
    }
    // 6. All rows independent.
    return 0;
}

template <class T>
void Matrix<T>::lq_ps_matrix(Matrix<T>& H, long k) const
{
    if (k < 1 || k > rowCount || k > colCount) fatal("lq_ps_matrix: k is invalid");
    const long m = colCount - k + 1;
    Vector<T> reflector;
    const bool reflects = householderReflector(rowData[k], k, reflector);
    H.makeZero(m, m);
    for (long i = 1; i <= m; ++i)
        H[i][i] = Constant<T>::ONE();
    if (!reflects) return;
    // H[i][j] = delta(i, j) - beta u[i] u[j].
    kernel::Scratch<T> scratch;
    for (long i = 1; i <= m; ++i)
        for (long j = 1; j <= m; ++j) {
            kernel::mul(scratch.sum, reflector[1], reflector[i + 1]);
            kernel::mulBy(scratch.sum, reflector[j + 1], scratch);
            kernel::subFrom(H[i][j], scratch.sum, scratch);
        }
}

template <class T>
template <class U>
long Matrix<T>::lq_full(Matrix<U>& L, Matrix<U>& Q, Array<Matrix<U>>& P, long kk, long end) const
{
    // 1. Arguments.
    if (kk < 1) fatal("lq_full: kk is invalid (< 1)");
    if (end == 0) end = rowCount;
    if (end > rowCount) fatal("lq_full: end index overflow");
    if (end < kk) fatal("lq_full: dimension mismatch");
    const long c = colCount;
    // 2. s is the last reflector step; a restart needs the reflectors before kk and the rows of L
    //    before kk from an earlier call on these rows.
    const long s = std::min(end, c - 1);
    const long kept = std::min(kk - 1, s);
    if (kk > 1) {
        bool complete = P.MN >= kept && L.rowCount >= kk - 1 && L.colCount == c;
        for (long i = 1; complete && i <= kept; ++i)
            complete = P[i].rowCount == 1 && P[i].colCount == c - i + 2;
        if (!complete) fatal("lq_full: no earlier stages to restart from");
    }
    P.setDimension(std::max(s, 0L), false);
    // 3.-4. L takes rows kk..end of B, and the earlier reflectors are applied to them; the rows
    //       before kk stand as the earlier call left them. Q is the product of the reflectors
    //       so far, rebuilt from P: a caller may have changed the Q it was handed back.
    L.setDimensions(end, c, false);
    for (long j = kk; j <= end; ++j)
        for (long col = 1; col <= c; ++col)
            Precision::conv(rowData[j][col], L[j][col], false);
    Q.makeZero(c, c);
    for (long i = 1; i <= c; ++i)
        Q[i][i] = Constant<U>::ONE();
    kernel::Scratch<U> scratch;
    U factor;
    for (long i = 1; i <= kept; ++i) {
        const Vector<U>& reflector = P[i][1];
        for (long j = kk; j <= end; ++j)
            reflect(L[j], reflector, i, scratch, factor);
        for (long r = 1; r <= c; ++r)
            reflect(Q[r], reflector, i, scratch, factor);
    }
    // 5. Each step reflects the rest of row k onto its diagonal entry and carries the reflector
    //    to the rows below and into Q. Rows before k are zero from column k on and stay so. The
    //    entries of row k right of the diagonal are rounding left by the reflection, or, where
    //    no reflector runs, entries within the tolerance of zero: they are set to an exact zero,
    //    so that L is lower triangular.
    for (long k = kk; k <= s; ++k) {
        P[k].setDimensions(1, c - k + 2, false);
        Vector<U>& reflector = P[k][1];
        const bool reflects = householderReflector(L[k], k, reflector);
        if (reflects)
            for (long j = k; j <= end; ++j)
                reflect(L[j], reflector, k, scratch, factor);
        for (long col = k + 1; col <= c; ++col)
            L[k][col] = Constant<U>::ZERO();
        if (reflects)
            for (long r = 1; r <= c; ++r)
                reflect(Q[r], reflector, k, scratch, factor);
    }
    // 6. The rows of Q are the orthonormal vectors.
    Q = Q.transpose();
    // 7. The rank: the diagonal entries of the first min(end, c) rows that are not zero.
    const long diagonal = std::min(end, c);
    long rank = diagonal;
    for (long i = 1; i <= diagonal; ++i)
        if (Precision::equalsZero(L[i][i], true)) --rank;
    return rank;
}

// The members defined here, for each pair of input and output type.
#define LATOPT_LQ_MEMBERS(R, U)                                                                              \
    template long Matrix<R>::lq_reduced(Matrix<U>&, Matrix<U>&, Array<Matrix<U>>&, Vector<U>&, long, long)   \
        const;                                                                                               \
    template long Matrix<R>::lq_full(Matrix<U>&, Matrix<U>&, Array<Matrix<U>>&, long, long) const;
LATOPT_LQ_MEMBERS(long double, long double)
LATOPT_LQ_MEMBERS(long double, QQ)
LATOPT_LQ_MEMBERS(QQ, long double)
LATOPT_LQ_MEMBERS(QQ, QQ)
#undef LATOPT_LQ_MEMBERS
template void Matrix<long double>::lq_ps_matrix(Matrix<long double>&, long) const;
template void Matrix<QQ>::lq_ps_matrix(Matrix<QQ>&, long) const;

} // namespace latopt
