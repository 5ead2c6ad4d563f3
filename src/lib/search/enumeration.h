// enumeration.h: the search for short vectors on which a search driver stands. Schnorr-Euchner
// enumeration over the Gram-Schmidt data of the lattice (mu, gsNorm), on a block of rows (for the
// tours of block reduction) or on the whole basis within a ball (to visit every vector of the
// box), and the block reduction itself. Every vector the enumeration reaches goes to the candidate
// gate, so that a search finds solutions on the way, not only in the basis.
#pragma once

#include "lattice/lattice.h"

#include <functional>

namespace latopt {

// What an enumeration reports.
template <class R1, class R2>
struct EnumerationResult {
    // The shortest non-zero vector found below the bound, as integer coefficients over the rows
    // of the block (entry 1 for its first row); empty when none was below the bound.
    Vector<R1> coefficients;
    R2 squaredNorm;        // its squared projected length
    long leaves = 0;       // vectors reached (and offered to the gate)
    bool complete = false; // the whole tree was searched: no pruning, no time bound, no stop
};

// Tells an enumeration or a tour to stop between two steps (a signal, the end of the run, time).
using StopRequest = std::function<bool()>;

// Shortest vector of the projection of rows k..e (e <= dimB) orthogonal to rows 1..k-1, among
// those with a squared projected length below bound, by Schnorr-Euchner enumeration with the
// pruning named by the parameter eprune (0 none, 1 linear, 2 step, 3 aggressive) and the time
// bound btime (seconds per block, 0 none). Each vector reached is offered to the gate
// (checkSolution(v, true, 0, false)) while offer is set. Needs the Gram-Schmidt data of rows 1..e
// current; leaves B unchanged.
template <class R1, class R2>
EnumerationResult<R1, R2> enumerateBlock(Lattice<R1, R2>& lattice, long k, long e, const R2& bound,
                                         bool offer, const StopRequest& stop);

// Every lattice vector of squared length at most radius2 offered to the gate, without pruning
// when eprune is 0. complete tells whether every such vector was reached: with the radius of the
// box (max(l * l, r * r) of the untrimmed bounds) that is every point the program admits.
template <class R1, class R2>
EnumerationResult<R1, R2> enumerateBall(Lattice<R1, R2>& lattice, const R2& radius2, const StopRequest& stop);

// One tour of block reduction with blocks of beta rows (parameter beta): for k = 1 .. dimB - 1 the
// shortest vector of block k..min(k + beta - 1, dimB) replaces the basis at row k when it is
// shorter than b*_k by the factor of the reduction, by unimodular row operations
// (addRowMultiple, swapVectors: mirrored on the transformation stack), then the basis is reduced
// again with lll. True when a row was replaced. Ends early when stop() or the run has ended.
template <class R1, class R2>
bool bkzTour(Lattice<R1, R2>& lattice, const StopRequest& stop);

} // namespace latopt
