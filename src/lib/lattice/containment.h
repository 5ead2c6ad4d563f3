// containment.h: ContainmentVerification, the proof that a vector lies in the lattice. It works
// on frozen data of the untrimmed basis B_save, taken at its first use after a change of the
// lattice's dimensions, so that the proof stays valid and cheap while the reduction moves B: a
// nearest-plane round (Babai) first, then a particular solution from the echelon form of the
// transposed basis, then the lattice's own coordinate routes. Every route counts only when its
// integer coordinates multiply back to the vector, and that product (an integer combination of
// basis rows, exact) is what the caller gets: a vector that is only close to the lattice, as the
// tolerant vector comparison allows, is replaced by the lattice vector it is close to.
// Built for the four pairs of long double and QQ (containment.cpp); other types do not link.
#pragma once

#include "base/array.h"
#include "lattice/triangular_coords.h"
#include "linalg/matrix.h"
#include "linalg/vector.h"

namespace latopt {

template <class R1, class R2>
class Lattice;

template <class R1, class R2>
class ContainmentVerification {
public:
    bool initialized = false;
    Lattice<R1, R2>& lattice;
    Matrix<R1> basis;          // a copy of B_save
    Matrix<R1> transposed;     // its transpose
    Matrix<R1> echelon;        // reduced row echelon form of transposed
    Matrix<R1> transformation; // the matrix that comes with it
    Array<long> pivots;        // its pivot columns
    Matrix<R2> gsVectors;      // Gram-Schmidt rows of basis
    Vector<R2> gsNorm;         // their squared lengths
    Vector<R1> coords;         // scratch, the row count of transposed
    // The basis's coordinates when it is triangular up to order, as the lattices of programs are:
    // the first route, in time of the nonzero entries. A copy builds its own from basis.
    TriangularCoordinates<R1> triangular;

    explicit ContainmentVerification(Lattice<R1, R2>& owner) : lattice(owner) {}
    ContainmentVerification(const ContainmentVerification&) = delete;
    ContainmentVerification& operator=(const ContainmentVerification&) = delete;

    // Freezes B_save: its Gram-Schmidt data (Householder, on a helper lattice made once) and the
    // echelon form of its transpose.
    void initialize();
    // True when v is an integer combination of the frozen basis; proved is then that combination
    // (for a v in the lattice, v itself). Initialises first when needed.
    bool verify(const Vector<R1>& v, Vector<R1>& proved);
    // Babai's nearest plane: closest, an integer combination of the frozen basis near v. Rows
    // whose Gram-Schmidt norm is 0 (within EPSILON) are passed over.
    void babaiCvp(const Vector<R1>& v, Vector<R1>& closest);
    // The other members through Precision::conv, without probe; the lattice reference stays.
    template <class S1, class S2>
    ContainmentVerification& _assign(const ContainmentVerification<S1, S2>& other);
};

} // namespace latopt
