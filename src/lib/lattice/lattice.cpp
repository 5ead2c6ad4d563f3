// lattice.cpp: construction, reset, resizing and copy of Lattice<R1, R2>, the stages of its rows,
// and the file names of its program. See lattice.h.
#include "lattice/lattice.h"

#include "arith/constant.h"
#include "arith/precision.h"
#include "arith/qq.h"
#include "base/string.h"

#include <string>
#include <type_traits>

namespace latopt {

namespace {

// Every entry of m becomes zero; the shape stays (Matrix::makeZero would make it square).
template <class T>
void zeroEntries(Matrix<T>& m)
{
    for (long i = 1; i <= m.rowCount; ++i)
        m[i].makeZero();
}

// m becomes the n by n identity.
template <class T>
void makeIdentity(Matrix<T>& m, long n)
{
    m.setDimensions(n, n, false);
    zeroEntries(m);
    for (long i = 1; i <= n; ++i)
        m[i][i] = Constant<T>::ONE();
}

} // namespace

// Stage

template <class R1, class R2>
Stage<R1, R2>::Stage()
    : center(Constant<R2>::ZERO()), partialNorm(Constant<R2>::ZERO()), offset(Constant<R2>::ZERO()),
      step(Constant<R2>::ZERO()), bound(Constant<R2>::ZERO()), direction(Constant<R2>::ONE())
{
}

template <class R1, class R2>
template <class S1, class S2>
Stage<R1, R2>& Stage<R1, R2>::_assign(const Stage<S1, S2>& other)
{
    if (static_cast<const void*>(&other) == static_cast<const void*>(this)) return *this;
    Precision::conv(static_cast<const Vector<S1>&>(other), static_cast<Vector<R1>&>(*this), false);
    const bool probe = this->throwOnLoss;
    const bool postComma = this->allowPostCommaLoss;
    Precision::conv(other.center, center, probe, postComma);
    Precision::conv(other.partialNorm, partialNorm, probe, postComma);
    Precision::conv(other.offset, offset, probe, postComma);
    Precision::conv(other.step, step, probe, postComma);
    Precision::conv(other.bound, bound, probe, postComma);
    Precision::conv(other.direction, direction, probe, postComma);
    return *this;
}

// ExtendedParams bound to a lattice

template <class R2>
template <class R1>
ExtendedParams<R2>::ExtendedParams(Lattice<R1, R2>& lattice) : ExtendedParams()
{
    consistency.setChangeCallback([this, &lattice](const std::string& text) {
        if (consistency == text || consistency.value) return;
        lattice.TT.setDimension(1, false);
        makeIdentity(lattice.TT[1], lattice.dimB);
        lattice.TT.throwOnLoss = true;
    });
    // Both trimming callbacks act only while their parameter is off. B then carries no part of
    // the trimming that the parameter governs, so the removal under the present settings is
    // exact, and the reset leaves nothing for the new setting to find: scale factors 1, or a zero
    // translation.
    scale.setChangeCallback([this, &lattice](const std::string& text) {
        if (scale == text || scale.value) return;
        lattice.removeTranslationAndScalingAndInvalidate();
        lattice.trimming.resetScaling();
        lattice.scaledInhomogenousConstant = lattice.inhomogenousConstant;
        Trimming<R1>::scaleLimit = Constant<R1>::SCALE_LIMIT_DEFAULT();
        for (long i = 1; i <= lattice.dimN; ++i)
            lattice.applyScalingAndTranslationToBnd(i);
        lattice.applyScalingAndTranslationAndInvalidate();
    });
    translate.setChangeCallback([this, &lattice](const std::string& text) {
        if (translate == text || translate.value) return;
        lattice.resetTrimming(false, true);
    });
}

// Lattice

template <class R1, class R2>
Statistics Lattice<R1, R2>::statistics;

template <class R1, class R2>
Lattice<R1, R2>::Lattice(const Matrix<R1>* basis)
    : inhomogenousConstant(Constant<R1>::ONE()), scaledInhomogenousConstant(Constant<R1>::ONE()),
      params(*this), TT(std::string(",")), B_save(std::string(",")), B(std::string(",")),
      gsVectors(std::string(",")), mu(std::string(",")), R(Constant<R1>::ZERO()),
      maxUnscaledLatVecSquaredEuclideanNorm(Constant<R1>::ZERO()), containment(*this), coords(*this),
      gsLower(std::string(",")), gsLowerFull(std::string(",")), stageValue(Constant<R2>::ZERO())
{
    resetLattice(basis, true);
}

template <class R1, class R2>
void Lattice<R1, R2>::resetLattice(const Matrix<R1>* basis, bool clearFileName)
{
    // 1. The untrimmed basis: a copy of basis, or nothing.
    if (basis != nullptr)
        B_save = *basis;
    else
        B_save.setDimensions(0, 0, false);
    // 2. The dimensions follow it.
    dimB = B_save.rowCount;
    dimN = B_save.colCount;
    // 3. The transformation stack: one identity.
    TT.setDimension(1, false);
    makeIdentity(TT[1], dimB);
    // 4. Everything that follows the rows and columns. The found vectors aren't carried: the
    //    reset drops them below, and carrying them would send each through the candidate gate of
    //    a lattice that is half reset.
    setDims(dimB, dimN, true);
    // 5. The file name of the lattice.
    if (clearFileName) latFile.clear();
    // 6. Results and counters.
    iterationCount = 0;
    runEnded = false;
    bestVector.resetAllMembers();
    bestTarget = TargetVector<R1>();
    solutions.setDimension(0, false);
    // 7. The host's variables, in this order.
    vars.set(MMV_SOLUTION_COUNT, "0");
    vars.set(MMV_SOLUTIONS, "0");
    vars.set(MMV_RESET_5, "0");
    // 8. The collection sets, empty, with the limit collectLimit; the embedding's data.
    goodVectors.clear();
    goodVectors.limit = params.collectLimit.value;
    bestVectors.clear();
    bestVectors.limit = params.collectLimit.value;
    c.makeZero();
    l.makeZero();
    lTrimmed.makeZero();
    r.makeZero();
    rTrimmed.makeZero();
    R = Constant<R1>::ZERO();
    maxUnscaledLatVecSquaredEuclideanNorm = Constant<R1>::ZERO();
    boundsSymmetric = false;
    targetColumn = false;
    checkVectorsState = 0;
    lllStepBudget = 100;
    // 9. The state words, the Gram-Schmidt data and the work matrices.
    rowState.makeZero();
    zeroEntries(gsVectors);
    zeroEntries(mu);
    for (long i = 1; i <= gsStages.dimension(); ++i)
        zeroEntries(gsStages[i]);
    gsDiag.makeZero();
    zeroEntries(gsLower);
    for (long i = 1; i <= gsFullStages.dimension(); ++i)
        zeroEntries(gsFullStages[i]);
    zeroEntries(gsLowerFull);
    // 10. The trimming back to none, then the basis is the untrimmed one. (The containment test
    //     forgets its frozen basis in setDims.)
    resetTrimming(true, true);
    B = B_save;
    // 11. The two solve caches: their bases are gone.
    coords.savedCache.clear();
    coords.currentCache.clear();
    // 12. The members that must not lose a value on the way down to long double.
    B_save.throwOnLoss = true;
    solutions.throwOnLoss = true;
    TT.throwOnLoss = true;
    c.throwOnLoss = true;
    l.throwOnLoss = true;
    lTrimmed.throwOnLoss = true;
    r.throwOnLoss = true;
    rTrimmed.throwOnLoss = true;
    rowValues.throwOnLoss = true;
    stages.throwOnLoss = true;
    rowNorm.throwOnLoss = true;
    rowNorm.allowPostCommaLoss = true;
}

template <class R1, class R2>
void Lattice<R1, R2>::setDims(long rows, long cols, bool keepBest)
{
    // 1. A negative size means nothing to do.
    if (rows < 0 || cols < 0) return;
    // 2. No columns given: the present ones.
    if (cols == 0) cols = dimN;
    // 3. The basis; the containment test, the recent offers (judged by the old bounds) and the
    //    solve caches lose their data; the stack's matrices grow to the rows.
    B.setDimensions(rows, cols, false);
    containment.initialized = false;
    for (Vector<R1>& recent : recentOffers)
        recent.setDimension(0);
    B_save.setDimensions(rows, cols, false);
    coords.savedCache.clear();
    coords.currentCache.clear();
    for (long i = 1; i <= TT.dimension(); ++i)
        if (TT[i].rowCount < rows || TT[i].colCount < rows) TT[i].setDimensions(rows, rows, false);
    // 4. What follows the rows, and what follows the columns.
    rowState.setDimension(rows, false);
    mu.setDimensions(rows, rows, false);
    gsVectors.setDimensions(rows, cols, false);
    gsNorm.setDimension(rows, false);
    rowNorm.setDimension(rows, false);
    rowValues.setDimension(rows, false);
    stages.setDimension(rows + 1, false);
    c.setDimension(cols, false);
    l.setDimension(cols, false);
    lTrimmed.setDimension(cols, false);
    r.setDimension(cols, false);
    rTrimmed.setDimension(cols, false);
    trimming.setDimension(cols, false);
    // 5. The new dimensions.
    dimB = rows;
    if (cols > 0) dimN = cols;
    // The row images belong to the rows that were: a lattice rebuilt while a reduction of the
    // old one is still open (a restart from within the gate) must not trust them.
    invalidateRowImages();
    // 6. Without keepBest the found vectors are cut or padded to the new size and checked again
    //    by the candidate gate. On an empty lattice there is nothing to carry and nothing is
    //    checked.
    if (!keepBest) {
        Array<Star<R1>> stars;
        Array<TimeVector<R1>> vectors;
        CollectionSet homogenous;
        CollectionSet inhomogenous;
        backupAndResetBestSieveVectors(BACKUP_PADDED, stars, vectors, homogenous, inhomogenous, 0);
        restoreBestSieveBackups(stars, vectors, homogenous, inhomogenous, BACKUP_PADDED);
    }
}

template <class R1, class R2>
template <class S1, class S2>
Lattice<R1, R2>& Lattice<R1, R2>::_assign(const Lattice<S1, S2>& other, bool keepParams)
{
    // 1. Self-assignment does nothing.
    if (static_cast<const void*>(&other) == static_cast<const void*>(this)) return *this;
    // Scalars of the lattice data must arrive exactly on the way down to long double; a copy up
    // must never fail.
    constexpr bool faithful = std::is_same_v<S1, QQ> && !std::is_same_v<R1, QQ>;
    // 2. The program and its unprepared twin.
    Vorm<R1>::_assign(static_cast<const Vorm<S1>&>(other));
    unprepared._assign(other.unprepared);
    // 3. Dimensions and file name.
    dimB = other.dimB;
    dimN = other.dimN;
    latFile = other.latFile;
    // 4. The settings, unless this lattice keeps its own.
    if (!keepParams) params._assign(other.params);
    // 5. Results, stack and basis, then the rest in the order of the members.
    iterationCount = other.iterationCount;
    bestVector._assign(other.bestVector);
    Precision::conv(other.bestTarget, bestTarget, false);
    solutions._assign(other.solutions);
    TT._assign(other.TT);
    B = other.B;
    B_save = other.B_save;
    rollbackEnabled = other.rollbackEnabled;
    containment._assign(other.containment);
    coords._assign(other.coords);
    Precision::conv(other.inhomogenousConstant, inhomogenousConstant, faithful);
    Precision::conv(other.scaledInhomogenousConstant, scaledInhomogenousConstant, faithful);
    gsVectors = other.gsVectors;
    mu = other.mu;
    rowNorm = other.rowNorm;
    gsNorm = other.gsNorm;
    vars = other.vars;
    Precision::conv(other.R, R, faithful);
    c = other.c;
    l = other.l;
    lTrimmed = other.lTrimmed;
    r = other.r;
    rTrimmed = other.rTrimmed;
    Precision::conv(other.maxUnscaledLatVecSquaredEuclideanNorm, maxUnscaledLatVecSquaredEuclideanNorm,
                    faithful);
    boundsSymmetric = other.boundsSymmetric;
    targetColumn = other.targetColumn;
    lllStepBudget = other.lllStepBudget;
    checkVectorsState = other.checkVectorsState;
    rowState = other.rowState;
    gsStages._assign(other.gsStages);
    gsDiag = other.gsDiag;
    gsLower = other.gsLower;
    gsFullStages._assign(other.gsFullStages);
    gsLowerFull = other.gsLowerFull;
    rowValues = other.rowValues;
    Precision::conv(other.stageValue, stageValue, false);
    stages._assign(other.stages);
    goodVectors._assign(other.goodVectors);
    bestVectors._assign(other.bestVectors);
    trimming._assign(other.trimming);
    invalidateRowImages();
    return *this;
}

template <class R1, class R2>
void Lattice<R1, R2>::setFileNames(const std::string& name)
{
    // 1. The last extension goes; a dot in a directory name is safe.
    String stem = String(name).replaceRegex("\\.[^./]*$", "");
    // 2. A name that is all extension is its own stem.
    if (stem.empty()) stem = name;
    // 3. The program's files, in the program and in its unprepared twin; the lattice's own file.
    this->optFile = stem + ".opt";
    this->solFile = stem + ".sol";
    unprepared.optFile = this->optFile;
    unprepared.solFile = this->solFile;
    latFile = stem + ".lat";
}

// The closed set of lattice types; the other lattice units instantiate the members they define.
template class Stage<long double, long double>;
template class Stage<long double, QQ>;
template class Stage<QQ, long double>;
template class Stage<QQ, QQ>;

template class Lattice<long double, long double>;
template class Lattice<long double, QQ>;
template class Lattice<QQ, long double>;
template class Lattice<QQ, QQ>;

template ExtendedParams<long double>::ExtendedParams(Lattice<long double, long double>&);
template ExtendedParams<QQ>::ExtendedParams(Lattice<long double, QQ>&);
template ExtendedParams<long double>::ExtendedParams(Lattice<QQ, long double>&);
template ExtendedParams<QQ>::ExtendedParams(Lattice<QQ, QQ>&);

#define LATOPT_STAGE_ASSIGN(R1, R2)                                                                          \
    template Stage<R1, R2>& Stage<R1, R2>::_assign(const Stage<long double, long double>&);                  \
    template Stage<R1, R2>& Stage<R1, R2>::_assign(const Stage<long double, QQ>&);                           \
    template Stage<R1, R2>& Stage<R1, R2>::_assign(const Stage<QQ, long double>&);                           \
    template Stage<R1, R2>& Stage<R1, R2>::_assign(const Stage<QQ, QQ>&);
LATOPT_STAGE_ASSIGN(long double, long double)
LATOPT_STAGE_ASSIGN(long double, QQ)
LATOPT_STAGE_ASSIGN(QQ, long double)
LATOPT_STAGE_ASSIGN(QQ, QQ)
#undef LATOPT_STAGE_ASSIGN

#define LATOPT_LATTICE_ASSIGN(R1, R2)                                                                        \
    template Lattice<R1, R2>& Lattice<R1, R2>::_assign(const Lattice<long double, long double>&, bool);      \
    template Lattice<R1, R2>& Lattice<R1, R2>::_assign(const Lattice<long double, QQ>&, bool);               \
    template Lattice<R1, R2>& Lattice<R1, R2>::_assign(const Lattice<QQ, long double>&, bool);               \
    template Lattice<R1, R2>& Lattice<R1, R2>::_assign(const Lattice<QQ, QQ>&, bool);
LATOPT_LATTICE_ASSIGN(long double, long double)
LATOPT_LATTICE_ASSIGN(long double, QQ)
LATOPT_LATTICE_ASSIGN(QQ, long double)
LATOPT_LATTICE_ASSIGN(QQ, QQ)
#undef LATOPT_LATTICE_ASSIGN

} // namespace latopt
