// containment.cpp: the membership proof on frozen data of B_save.
#include "lattice/containment.h"

#include "arith/constant.h"
#include "arith/precision.h"
#include "arith/qq.h"
#include "base/const.h"
#include "base/exceptions.h"
#include "lattice/lattice.h"
#include "lattice/reduction_numbers.h"

#include <algorithm>
#include <cmath>
#include <memory>

namespace latopt {

namespace {

// An integer combination of integer rows is exact in long double while every product and every
// partial sum stays an integer the significand holds; beyond 10^18 that is no longer sure, and the
// proof must go to exact Gram-Schmidt data or exact arithmetic. QQ is exact at any size.
void checkCombinationEntry(const long double& x)
{
    if (!(fabsl(x) <= Const::DOUBLE_FATAL_OVERFLOW()))
        throw PreCommaPrecisionException("containment combination overflow");
}
void checkCombinationEntry(const QQ& x)
{
    (void)x;
}

// sum += factor * row, entry by entry, each product and each new entry checked.
template <class R1>
void addMultiple(Vector<R1>& sum, const R1& factor, const Vector<R1>& row)
{
    R1 term;
    for (long j = 1; j <= sum.dimension(); ++j) {
        term = factor * row[j];
        checkCombinationEntry(term);
        sum[j] += term;
        checkCombinationEntry(sum[j]);
    }
}

// The combination of the rows with the given integer coefficients; zero coefficients cost nothing.
template <class R1>
Vector<R1> combination(const Vector<R1>& coefficients, const Matrix<R1>& rows)
{
    Vector<R1> sum(rows.colCount);
    for (long i = 1; i <= rows.rowCount; ++i)
        if (!(coefficients[i] == Constant<R1>::ZERO())) addMultiple(sum, coefficients[i], rows[i]);
    return sum;
}

template <class R1>
bool isIntegral(const Matrix<R1>& rows)
{
    for (long i = 1; i <= rows.rowCount; ++i)
        for (long j = 1; j <= rows.colCount; ++j)
            if (!(round(rows[i][j]) == rows[i][j])) return false;
    return true;
}

} // namespace

template <class R1, class R2>
void ContainmentVerification<R1, R2>::initialize()
{
    // One helper lattice per instantiation, with an empty program: it only lends its
    // Householder Gram-Schmidt routine to the frozen basis.
    static Lattice<R1, R2> helper(nullptr);
    // 1. Freeze the untrimmed basis.
    basis = lattice.B_save;
    // 2.-3. Its Gram-Schmidt rows and norms. The helper serves every lattice of this type, so the
    //       rows from the first dependent one on hold another basis's values: their norms go to 0
    //       and the nearest-plane round passes them over.
    helper.resetLattice(&basis, true);
    const long stop = helper.compute_gs_lq(1, 0, false);
    gsVectors = helper.gsVectors;
    gsNorm = helper.gsNorm;
    if (stop != 0)
        for (long i = stop; i <= gsNorm.dimension(); ++i)
            gsNorm[i] = Constant<R2>::ZERO();
    // 4.-5. The transposed basis in reduced echelon form, with the transformation Tr that takes
    //       transposed there: Tr v then gives a particular solution of transposed x = v.
    transposed = basis.transpose();
    echelon = transposed;
    Matrix<R1> kernel;
    echelon.normierte_zeilenstufenform(transformation, kernel, pivots);
    // 6. The coordinates are one per basis row, so that every pivot column is reached also when
    //    there are more rows than columns.
    coords.setDimension(basis.rowCount);
    triangular.build(basis);
    initialized = true;
}

template <class R1, class R2>
void ContainmentVerification<R1, R2>::babaiCvp(const Vector<R1>& v, Vector<R1>& closest)
{
    static const R2 EPSILON = Constant<R2>::EPSILON();
    // 1. closest starts at zero, the rest w at v.
    closest.setDimension(v.dimension());
    closest.makeZero();
    Vector<R2> w(v.dimension());
    for (long j = 1; j <= v.dimension(); ++j)
        reduction::convert(v[j], w[j]);
    R2 y;
    R2 z;
    R2 entry;
    R1 factor;
    // 2. From the last orthogonal row up: the nearest plane of row i is z = round(y) planes
    //    away, and z b_i goes into closest and out of w. w keeps its component along b*_i: b*_i
    //    is orthogonal to the rows still to come, so removing it too (the (z - y) b*_i term of
    //    the projected form) would change no later coefficient, while the plain update keeps w
    //    the difference of two integer vectors, whose QQ entries stay short instead of taking on
    //    the denominators of the orthogonal rows. A row without an orthogonal part (a dependent
    //    or surplus row) has no plane to round to.
    const long rows = std::min(gsVectors.rowCount, basis.rowCount);
    for (long i = rows; i >= 1; --i) {
        if (gsNorm[i] <= EPSILON) continue;
        y = gsVectors[i] * w;
        y /= gsNorm[i];
        z = round(y);
        if (z == Constant<R2>::ZERO()) continue;
        reduction::convert(z, factor);
        addMultiple(closest, factor, basis[i]);
        const Vector<R1>& row = basis[i];
        for (long j = 1; j <= w.dimension(); ++j) {
            reduction::convert(row[j], entry);
            w[j] -= z * entry;
        }
    }
}

template <class R1, class R2>
bool ContainmentVerification<R1, R2>::verify(const Vector<R1>& v, Vector<R1>& proved)
{
    // 1. The frozen data, at the first use after a change of dimensions.
    if (!initialized) initialize();
    // A basis that is triangular up to order has one set of coordinates for v, read off its
    // pivots: no orthogonal data needed. The routes below decide whatever this one refuses.
    if (triangular.prove(v, proved)) return true;
    // 2. The common case: the nearest lattice vector is v. The comparison is tolerant, proved is
    //    the exact combination.
    babaiCvp(v, proved);
    if (proved == v) return true;
    // 3. A particular solution of transposed x = v from the echelon form, rounded to integers.
    if (transformation.computeX0(coords, pivots, v)) {
        coords.makeInteger();
        proved = combination(coords, basis);
        if (proved == v) return true;
    }
    // 4. The lattice's own coordinate routes have the last word. Their coordinates refer to the
    //    present basis B; trimming is linear, so the same integers over the untrimmed rows of B
    //    give the untrimmed vector. Untrimming in long double may leave the rows a rounding away
    //    from the integers they are: in an integral lattice the combination is put back on them.
    Vector<R1> x;
    if (!lattice.coords.compute(v, x, false)) return false;
    const Matrix<R1> rows = lattice.removeTranslationAndScaling(lattice.B);
    if (x.dimension() != rows.rowCount) return false;
    x.makeInteger();
    proved = combination(x, rows);
    if (isIntegral(basis)) proved.makeInteger();
    return proved == v;
}

template <class R1, class R2>
bool Lattice<R1, R2>::containsVector(const Vector<R1>& v, Vector<R1>& proved)
{
    // 1. The frozen data of this lattice.
    try {
        return containment.verify(v, proved);
    } catch (const PreCommaPrecisionException&) {
        // 2. The arithmetic overflowed: again on a copy with exact Gram-Schmidt data, whose
        //    containment freezes anew. Its own exceptions pass on.
    }
    auto exact = std::make_unique<Lattice<R1, QQ>>(nullptr);
    exact->_assign(*this, false);
    exact->containment.initialized = false;
    Vector<R1> exactProved;
    const bool contained = exact->containment.verify(v, exactProved);
    Precision::conv(exactProved, proved, false);
    return contained;
}

template <class R1, class R2>
template <class S1, class S2>
ContainmentVerification<R1, R2>&
ContainmentVerification<R1, R2>::_assign(const ContainmentVerification<S1, S2>& other)
{
    if (static_cast<const void*>(&other) == static_cast<const void*>(this)) return *this;
    initialized = other.initialized;
    basis = other.basis;
    transposed = other.transposed;
    echelon = other.echelon;
    transformation = other.transformation;
    pivots = other.pivots;
    gsVectors = other.gsVectors;
    gsNorm = other.gsNorm;
    coords = other.coords;
    triangular.clear();
    if (initialized) triangular.build(basis);
    return *this;
}

#define LATOPT_CONTAINMENT(R1, R2)                                                                           \
    template class ContainmentVerification<R1, R2>;                                                          \
    template bool Lattice<R1, R2>::containsVector(const Vector<R1>&, Vector<R1>&);                           \
    template ContainmentVerification<R1, R2>& ContainmentVerification<R1, R2>::_assign(                      \
        const ContainmentVerification<long double, long double>&);                                           \
    template ContainmentVerification<R1, R2>& ContainmentVerification<R1, R2>::_assign(                      \
        const ContainmentVerification<long double, QQ>&);                                                    \
    template ContainmentVerification<R1, R2>& ContainmentVerification<R1, R2>::_assign(                      \
        const ContainmentVerification<QQ, long double>&);                                                    \
    template ContainmentVerification<R1, R2>& ContainmentVerification<R1, R2>::_assign(                      \
        const ContainmentVerification<QQ, QQ>&);
LATOPT_CONTAINMENT(long double, long double)
LATOPT_CONTAINMENT(long double, QQ)
LATOPT_CONTAINMENT(QQ, long double)
LATOPT_CONTAINMENT(QQ, QQ)
#undef LATOPT_CONTAINMENT

} // namespace latopt
