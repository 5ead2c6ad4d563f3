// aardal.cpp: the reduction of a lattice with equation columns to the lattice of the vectors that
// meet the equations. The equation columns are weighed with a large factor N and the basis is
// reduced: the reduction pushes the weight into as few rows as it can, and once exactly as many
// rows as equations keep a non-zero part there, the other rows span the integer solutions of the
// equations (the inhomogenous row among them with its marker). The product of the row operations,
// the transformation stack, is the result: the embedding applies it to the basis of the second
// stage. See lattice.h.
#include "arith/constant.h"
#include "arith/math.h"
#include "arith/precision.h"
#include "arith/qq.h"
#include "base/log.h"
#include "lattice/lattice.h"
#include "lattice/lll_to_the_end.h"

#include <algorithm>
#include <cmath>
#include <iostream>
#include <memory>
#include <string>

namespace latopt {
namespace {

// Whether row j of B has a non-zero entry among its first m columns.
template <class R1>
bool touchesEquations(const Matrix<R1>& B, long j, long m)
{
    for (long i = 1; i <= m; ++i)
        if (!Precision::equalsZero(B[j][i], true)) return true;
    return false;
}

// Reduces rows 1..r until every row before r has passed its exchange test, or a call makes no test
// (dependent rows at the end): one round of the weights is reduced to its end before N grows, so
// that N grows only where the reduction itself can't separate the kernel.
template <class R1, class R2>
void reduceRound(Lattice<R1, R2>& L, long r)
{
    L.sortEuklid(r);
    lllToTheEnd(L, r, 1L << 40, nullptr);
    L.sortEuklid(r);
    L.checkFixByTransformation(true, true);
}

// Moves the rows 1..r of L that have nothing left in the first m columns behind r, decreasing r
// for each; the order of the others is kept.
template <class R1, class R2>
long sweepKernelRows(Lattice<R1, R2>& L, long r, long m)
{
    long j = 1;
    while (j <= r) {
        if (touchesEquations(L.B, j, m)) {
            ++j;
            continue;
        }
        for (long t = j; t < r; ++t)
            L.swapVectors(t, t + 1, t > j);
        --r;
    }
    return r;
}

long double floorOf(const long double& x)
{
    return floorl(x);
}
QQ floorOf(const QQ& x)
{
    return floor(x);
}

} // namespace

template <class R1, class R2>
Array<Matrix<R1>> Lattice<R1, R2>::aardalReduce()
{
    const long m = this->Ag.rowCount;
    const long n = this->rx.dimension();
    // 1. The starting weight.
    R1 N = R1(10L * std::max(m, n));
    // 2. A silent copy that records its transformations and scales, whatever the user chose; this
    //    lattice stays untouched until the copy is done.
    auto L = std::make_unique<Lattice<R1, R2>>();
    L->_assign(*this, false);
    L->offerCandidates = offerCandidates;
    const Vector<R1> savedScale = static_cast<const Vector<R1>&>(trimming);
    L->params.verb = 0;
    L->params.consistency = true;
    L->setTrimming(true, L->params.translate.value);
    // 3. The stack of the copy: one identity.
    L->resetTransformationStack(false);
    // 4.-8. Rounds of growing weight until exactly m rows keep a part in the equation columns.
    long r = dimB;
    for (;;) {
        for (long i = 1; i <= m; ++i)
            L->scale(i, N);
        if (m < 1) L->rowState.makeZero();
        reduceRound(*L, r);
        r = sweepKernelRows(*L, r, m);
        if (r == m) break;
        if (r < m) fatal("aardalReduce: fewer rows than equations outside the kernel");
        N = N * R1(10L);
    }
    // 9. The kernel rows to the front, in reversed order.
    for (long i = 1; i <= dimB - m; ++i)
        L->swapVectors(i, dimB + 1 - i, i >= 2);
    // 10. The weights of the equation columns as they were.
    for (long i = 1; i <= m; ++i)
        L->scale(i, savedScale[i]);
    // 11. The copy back onto this lattice, with this lattice's parameters.
    _assign(*L, true);
    return TT;
}

template <class R1, class R2>
void Lattice<R1, R2>::lshiftLattice(long n)
{
    // 1.
    if (n == 0) return;
    // 2. The rows outside the kernel leave with the equation columns; the checkpoint starts
    //    afresh on what stays.
    long rows = dimB;
    if (n == -1) {
        n = this->Ag.rowCount;
        rows = dimB - n;
        const long oldRows = dimB;
        dimB = rows;
        resetTransformationStack(false);
        dimB = oldRows;
        B_save = removeTranslationAndScaling(B);
        B_save.throwOnLoss = true;
    }
    // 3. The found vectors without their first n entries, put aside.
    Array<Star<R1>> stars;
    Array<TimeVector<R1>> vectors;
    CollectionSet homogenous;
    CollectionSet inhomogenous;
    backupAndResetBestSieveVectors(BACKUP_LSHIFT, stars, vectors, homogenous, inhomogenous, n);
    // 4.-6. Every per-column member loses its first n entries.
    l.lshift(n);
    r.lshift(n);
    setMaxUnscaledLatVecSquaredEuclideanNorm();
    lTrimmed.lshift(n);
    rTrimmed.lshift(n);
    c.lshift(n);
    for (long i = 1; i <= B.rowCount; ++i)
        B[i].lshift(n);
    for (long i = 1; i <= B_save.rowCount; ++i)
        B_save[i].lshift(n);
    B.colCount -= n;
    B_save.colCount -= n;
    trimming.lshift(n);
    // 7. The new shape.
    dimN -= n;
    setDims(rows, dimN, false);
    rowState.makeZero();
    // 8. The found vectors back, through the candidate gate.
    restoreBestSieveBackups(stars, vectors, homogenous, inhomogenous, BACKUP_PADDED);
}

template <class R1, class R2>
Vector<R1> Lattice<R1, R2>::extractCurrentInhomogenousVector()
{
    const bool verbose = params.verb.value >= 2;
    if (verbose)
        std::cout << BEGINL() << " "
                  << "Extracting current inhomogenous vector ..." << LF();
    struct CloseLevel {
        bool verbose;
        ~CloseLevel()
        {
            if (verbose) std::cout << ENDL();
        }
    } closeLevel{verbose};
    // The Euclidean algorithm on the markers, over whole untrimmed rows. The smallest marker and
    // its row persist across rounds: a round that finds none smaller ends it.
    Matrix<R1> U = removeTranslationAndScaling(B);
    Vector<R1> v;
    R1 best = Constant<R1>::ZERO();
    long idx = 0;
    for (;;) {
        bool improved = false;
        for (long i = 1; i <= dimB; ++i) {
            const R1 a = Math::abs(U[i][dimN]);
            if (Precision::equalsZero(a, true)) continue;
            if (!Precision::equalsZero(best, true) && Math::abs(best) <= a) continue;
            best = U[i][dimN];
            idx = i;
            v = U[i];
            checkSolution(v, false, 0, false);
            if (inhomogenousComponentIsMinimal(v, false)) return v;
            improved = true;
        }
        // No row has a marker (empty v), or none beats the smallest: the gcd is found.
        if (!improved) return v;
        for (long j = 1; j <= dimB; ++j) {
            if (j == idx || Precision::equalsZero(U[j][dimN], true)) continue;
            const R1 q = floorOf(U[j][dimN] / best);
            for (long col = 1; col <= dimN; ++col)
                U[j][col] -= q * U[idx][col];
        }
    }
}

template <class R1, class R2>
bool Lattice<R1, R2>::inhomogenousComponentIsMinimal(const Vector<R1>& v, bool trimmed) const
{
    const R1& constant = trimmed ? scaledInhomogenousConstant : inhomogenousConstant;
    return Math::areEpsilonEqual(Math::abs(v[dimN]), Math::abs(constant));
}

#define LATOPT_AARDAL_MEMBERS(R1, R2)                                                                        \
    template Array<Matrix<R1>> Lattice<R1, R2>::aardalReduce();                                              \
    template void Lattice<R1, R2>::lshiftLattice(long);                                                      \
    template Vector<R1> Lattice<R1, R2>::extractCurrentInhomogenousVector();                                 \
    template bool Lattice<R1, R2>::inhomogenousComponentIsMinimal(const Vector<R1>&, bool) const;
LATOPT_AARDAL_MEMBERS(long double, long double)
LATOPT_AARDAL_MEMBERS(long double, QQ)
LATOPT_AARDAL_MEMBERS(QQ, long double)
LATOPT_AARDAL_MEMBERS(QQ, QQ)
#undef LATOPT_AARDAL_MEMBERS

} // namespace latopt
