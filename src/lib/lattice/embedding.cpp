// embedding.cpp: the embedding of the prepared program in the lattice: the basis B, its column
// scales c, the bounds l, r of the lattice coordinates and the common bound R. See lattice.h.
#include "arith/constant.h"
#include "arith/math.h"
#include "arith/qq.h"
#include "base/log.h"
#include "lattice/lattice.h"

#include <string>

namespace latopt {

namespace {

// Every entry of m becomes zero; the shape stays.
template <class T>
void zeroEntries(Matrix<T>& m)
{
    for (long i = 1; i <= m.rowCount; ++i)
        m[i].makeZero();
}

} // namespace

template <class R1, class R2>
void Lattice<R1, R2>::prepareVormByUnprepared(bool applyKnownBounds, bool forceSlackStage)
{
    const bool verbose = params.verb.value == 2;
    // 1.-3. The slack stage, unless it has nothing to do. Its passes run once per unprepared
    //       program in any case (slackified guards them); a program that has never been through
    //       them must be, whatever the own program's target data say.
    const bool nothingToDo = !applyKnownBounds && !forceSlackStage && unprepared.slackified &&
                             (this->tu == 0 || this->atu.dimension() != 0);
    if (!nothingToDo) unprepared.slackStage(applyKnownBounds, verbose);
    // 4. A fresh copy of the slackified program, prepared.
    static_cast<Vorm<R1>&>(*this)._assign(unprepared);
    this->prepareVorm(verbose);
}

template <class R1, class R2>
bool Lattice<R1, R2>::opt2lat()
{
    // 1. The program's figures, when asked for.
    if (params.verb.value == 2) this->printOptInfos();
    // The vectors found in an earlier lattice of the program cross the new one as the program's
    // x: their coordinates, or their columns, mean nothing in a basis built afresh.
    Array<Star<R1>> earlierStars;
    Array<TimeVector<R1>> earlierVectors;
    CollectionSet earlierHomogenous;
    CollectionSet earlierInhomogenous;
    if (checkVectorsState != 0)
        backupAndResetBestSieveVectors(BACKUP_PROGRAM, earlierStars, earlierVectors, earlierHomogenous,
                                       earlierInhomogenous, 0);
    // 2. Equations first: the basis of the vectors that meet them, as a transformation of the
    //    rows, and the check that the system has an integer solution at all (a marker that is
    //    the constant itself is reachable), unless found vectors have shown that already.
    Array<Matrix<R1>> kernel;
    if (this->Ag.rowCount > 0) {
        prepareLattice(true);
        kernel = aardalReduce();
        lshiftLattice(-1);
        if (this->solutions.dimension() == 0 && bestTarget.dimension() == 0 && bestVector.dimension() == 0) {
            const Vector<R1> v = extractCurrentInhomogenousVector();
            if (v.dimension() == 0 || !inhomogenousComponentIsMinimal(v, false))
                fatal("The equation system has no integer solution :(");
        }
    }
    // 3. The found vectors as coordinates in the basis, then the lattice of the bounds, the
    //    target and the inequations.
    Array<Star<R1>> stars;
    Array<TimeVector<R1>> vectors;
    CollectionSet homogenous;
    CollectionSet inhomogenous;
    backupAndResetBestSieveVectors(BACKUP_COORDINATES, stars, vectors, homogenous, inhomogenous, 0);
    prepareLattice(false);
    // 4. Its rows expressed in the kernel basis: the first rows of the product meet the
    //    equations, the last ones (one per equation) are dropped.
    if (kernel.dimension() != 0) {
        TT.setDimension(kernel.dimension(), false);
        for (long i = 1; i <= kernel.dimension(); ++i)
            TT[i] = kernel[i];
        B_save = applyTransformationTo(B_save);
        B_save.throwOnLoss = true;
        rowState.makeZero();
        zeroEntries(gsVectors);
        zeroEntries(mu);
        setDims(dimB - this->Ag.rowCount, 0, false);
        B = applyScalingAndTranslation(B_save);
        gsNorm.makeZero();
        rowNorm.makeZero();
        resetTransformationStack(false);
    }
    restoreBestSieveBackups(stars, vectors, homogenous, inhomogenous, BACKUP_COORDINATES);
    restoreBestSieveBackups(earlierStars, earlierVectors, earlierHomogenous, earlierInhomogenous,
                            BACKUP_PROGRAM);
    return true;
}

template <class R1, class R2>
void Lattice<R1, R2>::prepareLattice(bool aardal)
{
    const R1 zero = Constant<R1>::ZERO();
    const R1 two = Constant<R1>::ONE() + Constant<R1>::ONE();
    const R1 infinity = Constant<R1>::INF();
    // 1. The common bound: a multiple of every width (of the variables only with aardal).
    R = this->computeBoundsKgV(aardal);
    // 2. An existing basis loses its trimming, so that B below is filled untrimmed.
    if (dimB != 0) resetTrimming(true, true);
    // 3. Columns before the variables: the equations, or the target sum and the inequations.
    const long n = this->rx.dimension();
    const long h = unprepared.tu == 1 && !aardal ? 1 : 0;
    targetColumn = h == 1;
    const long p = this->Au.rowCount;
    const long e = this->Ag.rowCount;
    const long s = aardal ? e : h + p;
    setDims(n + 1, n + s + 1, true);
    zeroEntries(B);
    c.makeZero();
    l.makeZero();
    r.makeZero();
    // 4. The target column, centred on the middle of [ltu, rtu] with bounds 0, and the inequation
    //    columns, each mapping [lu, ru] onto [-R, R].
    if (!aardal) {
        if (h == 1) {
            const R1 width = this->rtu - this->ltu;
            c[1] = Math::equalsEpsilonZero(width) ? R : R / width;
            B[1][1] = -(this->ltu + this->rtu) * c[1];
            for (long j = 1; j <= n; ++j)
                B[j + 1][1] = two * c[1] * this->atu[j];
        }
        for (long i = 1; i <= p; ++i) {
            const long col = h + i;
            const R1 width = this->ru[i] - this->lu[i];
            if (Math::equalsEpsilonZero(width)) fatal("ineq bounds error2");
            c[col] = R / width;
            l[col] = -R;
            r[col] = R;
            B[1][col] = -(this->lu[i] + this->ru[i]) * c[col];
            for (long j = 1; j <= n; ++j)
                B[j + 1][col] = two * c[col] * this->Au[i][j];
        }
    }
    // 5. The equation columns hold Ag x - bg, to be brought to 0.
    if (aardal) {
        for (long i = 1; i <= e; ++i) {
            B[1][i] = -this->bg[i];
            for (long j = 1; j <= n; ++j)
                B[j + 1][i] = this->Ag[i][j];
        }
    }
    // 6. The variable columns. After the preparation a finite lx is the offset and the variable
    //    runs from 0 to rx, so the width is rx alone (rx - lx would count the offset twice and
    //    reject x in [1, 2]). Free variables and the slacks of targets have no upper bound.
    const long firstTargetSlack = n - this->slackTargetVariableCount + 1;
    for (long j = 1; j <= n; ++j) {
        const long col = s + j;
        const FreedomDegree degree = Vorm<R1>::evaluateFreedomDegree(this->lx[j], this->rx[j]);
        l[col] = degree == FREE ? -infinity : -R;
        if (j >= firstTargetSlack) {
            r[col] = infinity;
            c[col] = R;
        } else if (degree == FREE || degree == RIGHT_FREE) {
            r[col] = infinity;
            c[col] = Constant<R1>::ONE();
        } else {
            if (Math::equalsEpsilonZero(this->rx[j])) fatal("sol bounds error");
            r[col] = R;
            c[col] = R / this->rx[j];
        }
    }
    // 7. Each variable's row puts 2 c x[j] into its column, the inhomogenous row -R.
    for (long j = 1; j <= n; ++j) {
        const long col = s + j;
        B[1][col] = -R;
        B[j + 1][col] = two * c[col];
    }
    // 8. The marker of the inhomogenous row.
    l[dimN] = inhomogenousConstant;
    r[dimN] = inhomogenousConstant;
    c[dimN] = zero;
    B[1][dimN] = inhomogenousConstant;
    // 9. The trimming is the identity: the trimmed bounds are the plain ones.
    lTrimmed = l;
    rTrimmed = r;
    boundsSymmetric = (l == -r);
    // 10.
    checkVectorsState = aardal ? 1 : 2;
    // 11. Derived data start afresh: the bound on lengths, the row states, a transformation stack
    //     of one identity, the checkpoint basis and the Gram-Schmidt work data.
    setMaxUnscaledLatVecSquaredEuclideanNorm();
    rowState.makeZero();
    TT.setDimension(1, false);
    TT[1].setDimensions(dimB, dimB, false);
    zeroEntries(TT[1]);
    for (long i = 1; i <= dimB; ++i)
        TT[1][i][i] = Constant<R1>::ONE();
    const bool faithful = B_save.throwOnLoss;
    B_save = B;
    B_save.throwOnLoss = faithful; // a copy brings B's flags along; B_save keeps its own
    zeroEntries(gsVectors);
    zeroEntries(mu);
    gsNorm.makeZero();
    rowNorm.makeZero();
    gsStages.setDimension(0, false);
    gsDiag.setDimension(0, false);
    gsLower.setDimensions(0, 0, false);
    gsFullStages.setDimension(0, false);
    gsLowerFull.setDimensions(0, 0, false);
}

template <class R1, class R2>
void Lattice<R1, R2>::setMaxUnscaledLatVecSquaredEuclideanNorm()
{
    // The dot products of vectors with an infinite entry are +INF; no INF - INF arises (squares).
    const R1 left = l * l;
    const R1 right = r * r;
    maxUnscaledLatVecSquaredEuclideanNorm =
        (Constant<R1>::ONE() + Constant<R1>::ONE() + Constant<R1>::ONE()) * (left < right ? right : left);
}

#define LATOPT_EMBEDDING_MEMBERS(R1, R2)                                                                     \
    template void Lattice<R1, R2>::prepareVormByUnprepared(bool, bool);                                      \
    template bool Lattice<R1, R2>::opt2lat();                                                                \
    template void Lattice<R1, R2>::prepareLattice(bool);                                                     \
    template void Lattice<R1, R2>::setMaxUnscaledLatVecSquaredEuclideanNorm();
LATOPT_EMBEDDING_MEMBERS(long double, long double)
LATOPT_EMBEDDING_MEMBERS(long double, QQ)
LATOPT_EMBEDDING_MEMBERS(QQ, long double)
LATOPT_EMBEDDING_MEMBERS(QQ, QQ)
#undef LATOPT_EMBEDDING_MEMBERS

} // namespace latopt
