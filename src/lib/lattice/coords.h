// coords.h: the integer coordinates of a vector with respect to the basis B of a lattice.
// Plain rational solving fails when the basis has degenerated numerically, so CoordsComputation
// tries several independent routes and accepts only a result that reproduces the vector by
// multiplication. ComputeCoordsSolveCache keeps an elimination so that the next solve with the
// same matrix is one substitution. Built for the four pairs of long double and QQ (coords.cpp).
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
    // x A' = b for the cached A: one substitution when filled, else an elimination that fills
    // the cache. False when there is no solution.
    bool solve(Vector<R1>& x, const Vector<R1>& b);
    template <class S1>
    ComputeCoordsSolveCache& _assign(const ComputeCoordsSolveCache<S1>& other);
};

template <class R1, class R2>
class CoordsComputation {
public:
    Lattice<R1, R2>& lattice;
    ComputeCoordsSolveCache<R1> savedCache;   // over the transpose of B_save
    ComputeCoordsSolveCache<R1> currentCache; // over the transpose of the untrimmed B
    // A route with a reason to report fills this; compute throws PrecisionException with it.
    std::string failureText;

    explicit CoordsComputation(Lattice<R1, R2>& owner) : lattice(owner) {}
    CoordsComputation(const CoordsComputation&) = delete;
    CoordsComputation& operator=(const CoordsComputation&) = delete;

    // The coordinates of the untrimmed v: true when a route reproduces v.
    bool compute(const Vector<R1>& v, Vector<R1>& coords, bool noRound);
    bool lsolve(Vector<R1>& coords, const Vector<R1>& v, bool useSaved, bool noRound);
    // Through the orthogonal rows; w is trimmed.
    bool qsolve(Vector<R1>& coords, const Vector<R1>& w, bool noRound);
    template <class S1, class S2>
    CoordsComputation& _assign(const CoordsComputation<S1, S2>& other);
};

} // namespace latopt
