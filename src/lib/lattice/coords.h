// coords.h: the integer coordinates of a vector with respect to the basis B of a lattice.
// Plain rational solving fails when the basis has degenerated numerically, so CoordsComputation
// tries several independent routes and accepts only a result that reproduces the vector by
// multiplication: an elimination against the untrimmed B (kept in currentCache), the
// transformation stack over B_save (savedCache), and a back-substitution through the orthogonal
// rows of the Gram-Schmidt data. A route that fails answers false; only an inconsistent
// transformation stack throws (PrecisionException, so that the exact run takes over).
// ComputeCoordsSolveCache keeps an elimination so that the next solve with the same matrix is one
// substitution; the lattice empties a cache whenever the basis it was made from changes.
// Built for the four pairs of long double and QQ (coords.cpp); other types do not link.
#pragma once

#include "base/array.h"
#include "linalg/matrix.h"
#include "linalg/vector.h"

#include <string>

namespace latopt {

template <class R1, class R2>
class Lattice;

template <class R1>
class ComputeCoordsSolveCache {
public:
    Matrix<R1> A;       // the matrix solved with (a transposed basis), filled by the owner
    Matrix<R1> echelon; // the transformation the elimination leaves (Tr of Matrix::solve)
    Array<long> pivots; // its pivot columns

    // Empty when A or echelon has no rows.
    bool empty() const { return A.rowCount == 0 || echelon.rowCount == 0; }
    // Both matrices keep their column counts and lose their rows.
    void clear();
    // A x = b (x gets the column count of A, free variables 0): one substitution y = echelon b
    // when the cache is filled, else an elimination of A that fills echelon and pivots. False
    // when there is no solution; the cache is filled all the same.
    bool solve(Vector<R1>& x, const Vector<R1>& b);
    // All three members through Precision::conv, without probe (the cache is derived data).
    template <class S1>
    ComputeCoordsSolveCache& _assign(const ComputeCoordsSolveCache<S1>& other);
};

// An untrimmed vector and, made on first demand and kept, its trimmed form, so that one
// computation trims a vector at most once. Lives no longer than the vector and the lattice.
template <class R1, class R2>
class UntrimmedLatticeVector {
public:
    const Vector<R1>& vector;       // untrimmed
    const Lattice<R1, R2>& lattice; // whose trimming applies

    UntrimmedLatticeVector(const Vector<R1>& untrimmed, const Lattice<R1, R2>& owner)
        : vector(untrimmed), lattice(owner)
    {
    }
    // handleScalingAndTranslation(vector, true) on the first call (and while that is empty).
    const Vector<R1>& getTrimmedVector();

private:
    Vector<R1> trimmed; // dimension 0 until made
};

template <class R1, class R2>
class CoordsComputation {
public:
    Lattice<R1, R2>& lattice;
    ComputeCoordsSolveCache<R1> savedCache;   // over the transpose of B_save
    ComputeCoordsSolveCache<R1> currentCache; // over the transpose of the untrimmed B
    // Emptied when compute starts; a route with a reason to report fills it, and compute throws it
    // as a PrecisionException when no route succeeds. No route fills it yet.
    std::string failureText;

    explicit CoordsComputation(Lattice<R1, R2>& owner) : lattice(owner) {}
    CoordsComputation(const CoordsComputation&) = delete;
    CoordsComputation& operator=(const CoordsComputation&) = delete;

    // The coordinates of the untrimmed v (coords * B is the trimmed v): the routes in turn, the
    // first that reproduces v answers. 1. lsolve on the current basis; 2. with the parameter
    // consistency, the transformation route on the stack as it stands; 3. qsolve on the trimmed
    // v; 4. without consistency, the transformation route with the top of the stack rebuilt.
    // Each route rounds the coordinates to integers unless noRound (then a vector outside the
    // lattice but in its span has fractional coordinates and counts as solved). False when no
    // route succeeds, or PrecisionException with failureText when a route left one. The rebuild
    // throws PrecisionException("transformation coord error") when a row of B has no
    // coordinates over B_save.
    bool compute(const Vector<R1>& v, Vector<R1>& coords, bool noRound);
    // coords over the untrimmed basis (useSaved: B_save, else B with its trimming removed), by the
    // cache of that basis, which fills on first use: coords A = v with A the basis, rounded
    // unless noRound, true when A^T coords equals v (Vector's tolerance).
    bool lsolve(Vector<R1>& coords, const Vector<R1>& v, bool useSaved, bool noRound);
    // coords * B = w for the trimmed w, by back-substitution through the orthogonal rows
    // (compute_gs_lq), from the last row up, rounded at the end unless noRound. False when the
    // rows are not independent (among them more rows than columns) or the product misses w.
    bool qsolve(Vector<R1>& coords, const Vector<R1>& w, bool noRound);
    // Both caches and the text through Precision::conv; the lattice reference stays.
    template <class S1, class S2>
    CoordsComputation& _assign(const CoordsComputation<S1, S2>& other);
};

} // namespace latopt
