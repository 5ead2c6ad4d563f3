// coords.cpp: the solve caches and the coordinates computation of a lattice. See coords.h.
#include "lattice/coords.h"

#include "arith/constant.h"
#include "arith/precision.h"
#include "arith/qq.h"
#include "base/exceptions.h"
#include "lattice/lattice.h"

namespace latopt {

namespace {

// A coordinate through the orthogonal rows is as approximate as they are. In QQ it goes onto the
// grid of 10^-18, so that the rest vector of the substitution keeps denominators that divide
// 10^18 instead of compounding them from row to row; a long double stays as it is.
void shortenCoordinate(long double& x)
{
    (void)x;
}

void shortenCoordinate(QQ& x)
{
    static const QQ GRID("1000000000000000000");
    x = round(x * GRID) / GRID;
}

} // namespace

// ComputeCoordsSolveCache

template <class R1>
void ComputeCoordsSolveCache<R1>::clear()
{
    A.setDimensions(0, A.colCount, false);
    echelon.setDimensions(0, echelon.colCount, false);
}

template <class R1>
bool ComputeCoordsSolveCache<R1>::solve(Vector<R1>& x, const Vector<R1>& b)
{
    // 1. A filled cache: echelon is the transformation Tr with Tr A in reduced echelon form, so
    //    y = Tr b gives the solution at the pivot columns without a new elimination.
    if (!empty()) {
        x.setDimension(A.colCount);
        return echelon.computeX0(x, pivots, b);
    }
    // 2. An empty one: the elimination of A leaves Tr and the pivots behind for the next call.
    Matrix<R1> kernelRows;
    return A.solve(echelon, kernelRows, pivots, x, b);
}

template <class R1>
template <class S1>
ComputeCoordsSolveCache<R1>& ComputeCoordsSolveCache<R1>::_assign(const ComputeCoordsSolveCache<S1>& other)
{
    A = other.A;
    echelon = other.echelon;
    pivots = other.pivots;
    return *this;
}

// UntrimmedLatticeVector

template <class R1, class R2>
const Vector<R1>& UntrimmedLatticeVector<R1, R2>::getTrimmedVector()
{
    if (trimmed.dimension() == 0) trimmed = lattice.handleScalingAndTranslation(vector, true);
    return trimmed;
}

// CoordsComputation

template <class R1, class R2>
bool CoordsComputation<R1, R2>::lsolve(Vector<R1>& coords, const Vector<R1>& v, bool useSaved, bool noRound)
{
    // 1. The cache of the basis asked for.
    ComputeCoordsSolveCache<R1>& cache = useSaved ? savedCache : currentCache;
    // 2. An empty cache gets its matrix: the basis rows, untrimmed, as columns.
    if (cache.empty())
        cache.A = useSaved ? lattice.B_save.transpose()
                           : lattice.removeTranslationAndScaling(lattice.B).transpose();
    // 3. The system A coords = v.
    if (!cache.solve(coords, v)) return false;
    // 4. Coordinates in a lattice are integers.
    if (!noRound) coords.makeInteger();
    // 5. Only a result that gives v back counts: after rounding, or with a basis that lost its
    //    independence in long double, the solution may miss it.
    return cache.A * coords == v;
}

template <class R1, class R2>
bool CoordsComputation<R1, R2>::qsolve(Vector<R1>& coords, const Vector<R1>& w, bool noRound)
{
    Lattice<R1, R2>& L = lattice;
    // 1. The orthogonal rows b*_i, scaled to length sqrt(gsNorm[i]). Surplus or dependent rows
    //    leave some b*_i missing or zero, and the substitution below would run out of rows or
    //    divide by zero: no answer by this route then.
    if (L.compute_gs_lq(1, 0, false) != 0) return false;
    const Matrix<R2> orthogonal = L.gsVectors;
    // 2. The rest of w still to be explained.
    Vector<R1> rest = w;
    coords.setDimension(L.dimB);
    Vector<R2> restR2;
    R2 product;
    // 3. From the last row up: b_i is the only row left with a component along b*_i, and that
    //    component is <b_i, b*_i> = gsNorm[i]. No rounding in between, so that a wrong row shows
    //    in the final comparison instead of being hidden by a later one.
    for (long i = L.dimB; i >= 1; --i) {
        Precision::conv(rest, restR2, false);
        product = orthogonal[i] * restR2;
        product /= L.gsNorm[i];
        shortenCoordinate(product);
        Precision::conv(product, coords[i], false);
        const Vector<R1>& row = L.B[i];
        for (long j = 1; j <= rest.dimension(); ++j)
            rest[j] -= coords[i] * row[j];
    }
    // 4. Integer coordinates unless asked otherwise.
    if (!noRound) coords.makeInteger();
    // 5. The answer counts if it reproduces w.
    return coords * L.B == w;
}

template <class R1, class R2>
bool CoordsComputation<R1, R2>::compute(const Vector<R1>& v, Vector<R1>& coords, bool noRound)
{
    Lattice<R1, R2>& L = lattice;
    failureText.clear();
    UntrimmedLatticeVector<R1, R2> untrimmed(v, L);
    // Over B_save first, then back to the present basis through the stack, which says B
    // (untrimmed) = P B_save with P = TT[MN] ... TT[1]: coords over B_save are y P for the
    // coordinates y over B. With rebuild, the top of the stack is made anew from the rows of B,
    // each solved over the basis the top acts on (B_save for a single matrix).
    auto transformationRoute = [&](bool rebuild) -> bool {
        const long top = L.TT.dimension();
        if (top == 0) return false;
        // A stack whose matrices don't chain from B_save to the present rows has nothing to say
        // (a top about to be rebuilt gets its shape then).
        for (long i = 1; i <= (rebuild ? top - 1 : top); ++i)
            if (L.TT[i].colCount != (i == 1 ? L.B_save.rowCount : L.TT[i - 1].rowCount)) return false;
        // 1. Coordinates over B_save.
        if (!lsolve(coords, v, true, noRound)) return false;
        Matrix<R1>& T = L.TT[top];
        // The lower matrices of the stack as one, TT[MN - 1] ... TT[1].
        Matrix<R1> lower;
        for (long i = 1; i < top; ++i)
            lower = i == 1 ? L.TT[1] : L.TT[i] * lower;
        // 2. T from the present basis. Every row of B is a lattice vector, so it has coordinates
        //    over B_save unless the two bases have drifted apart: an inconsistency that only the
        //    exact run can settle.
        if (rebuild) {
            const Matrix<R1> basis = L.removeTranslationAndScaling(L.B);
            if (top == 1) {
                T.setDimensions(basis.rowCount, L.B_save.rowCount, true);
                for (long i = 1; i <= basis.rowCount; ++i)
                    if (!lsolve(T[i], basis[i], true, false))
                        throw PrecisionException("transformation coord error");
            } else {
                ComputeCoordsSolveCache<R1> base;
                base.A = (lower * L.B_save).transpose();
                T.setDimensions(basis.rowCount, lower.rowCount, true);
                for (long i = 1; i <= basis.rowCount; ++i) {
                    const bool solved = base.solve(T[i], basis[i]);
                    T[i].makeInteger();
                    if (!solved || !(base.A * T[i] == basis[i]))
                        throw PrecisionException("transformation coord error");
                }
            }
        }
        const Matrix<R1> P = top == 1 ? T : T * lower;
        if (P.rowCount != L.dimB || P.colCount != coords.dimension()) return false;
        // 3. P^T y = coords.
        Matrix<R1> transformation;
        Vector<R1> y;
        if (!P.transpose().solve(transformation, y, coords)) return false;
        // 4. The coordinates over B.
        coords = y;
        if (!noRound) coords.makeInteger();
        // 5. They count if they give the trimmed v.
        return coords * L.B == untrimmed.getTrimmedVector();
    };
    const bool consistency = L.params.consistency.value;
    // 1. The current basis, by its cache.
    if (lsolve(coords, v, false, noRound)) return true;
    // 2. A maintained transformation stack needs no rebuild.
    if (consistency && transformationRoute(false)) return true;
    // 3. Through the orthogonal rows.
    if (qsolve(coords, untrimmed.getTrimmedVector(), noRound)) return true;
    // 4. An unmaintained stack is made anew from the basis.
    if (!consistency && transformationRoute(true)) return true;
    if (!failureText.empty()) throw PrecisionException(failureText);
    return false;
}

template <class R1, class R2>
template <class S1, class S2>
CoordsComputation<R1, R2>& CoordsComputation<R1, R2>::_assign(const CoordsComputation<S1, S2>& other)
{
    savedCache._assign(other.savedCache);
    currentCache._assign(other.currentCache);
    failureText = other.failureText;
    return *this;
}

// The closed set of types, see coords.h.
template class ComputeCoordsSolveCache<long double>;
template class ComputeCoordsSolveCache<QQ>;
template ComputeCoordsSolveCache<long double>&
ComputeCoordsSolveCache<long double>::_assign(const ComputeCoordsSolveCache<long double>&);
template ComputeCoordsSolveCache<long double>&
ComputeCoordsSolveCache<long double>::_assign(const ComputeCoordsSolveCache<QQ>&);
template ComputeCoordsSolveCache<QQ>&
ComputeCoordsSolveCache<QQ>::_assign(const ComputeCoordsSolveCache<long double>&);
template ComputeCoordsSolveCache<QQ>&
ComputeCoordsSolveCache<QQ>::_assign(const ComputeCoordsSolveCache<QQ>&);

#define LATOPT_COORDS_TYPES(R1, R2)                                                                          \
    template class UntrimmedLatticeVector<R1, R2>;                                                           \
    template class CoordsComputation<R1, R2>;                                                                \
    template CoordsComputation<R1, R2>& CoordsComputation<R1, R2>::_assign(                                  \
        const CoordsComputation<long double, long double>&);                                                 \
    template CoordsComputation<R1, R2>& CoordsComputation<R1, R2>::_assign(                                  \
        const CoordsComputation<long double, QQ>&);                                                          \
    template CoordsComputation<R1, R2>& CoordsComputation<R1, R2>::_assign(                                  \
        const CoordsComputation<QQ, long double>&);                                                          \
    template CoordsComputation<R1, R2>& CoordsComputation<R1, R2>::_assign(const CoordsComputation<QQ, QQ>&);
LATOPT_COORDS_TYPES(long double, long double)
LATOPT_COORDS_TYPES(long double, QQ)
LATOPT_COORDS_TYPES(QQ, long double)
LATOPT_COORDS_TYPES(QQ, QQ)
#undef LATOPT_COORDS_TYPES

} // namespace latopt
