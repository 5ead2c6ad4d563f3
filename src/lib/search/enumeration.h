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
// those with a squared projected length strictly below bound, by Schnorr-Euchner enumeration
// (zig-zag around the centres, depth first, the radius shrinking to the best vector found) with
// the pruning named by the parameter eprune and the time bound btime (seconds per block, 0 none).
// Pruning bounds the partial length at depth d of the n = e - k + 1 levels (d coefficients fixed)
// by the radius times: 0 one; 1 linear, d / n; 2 step, 1/2 for d <= n / 2, else one; 3 aggressive,
// min(1, 1.05 d / n)^2. Each vector reached (a leaf, the exact sum of x_i times the rows of B) is
// offered to the gate (checkSolution(v, true, 0, false)) while offer and the lattice's
// offerCandidates are set; the search ends when stop() says so (checked after each leaf and every
// 1024 nodes) or the run has ended. Makes the Gram-Schmidt data of rows 1..e current first; a
// dependent row among them gives an empty result. Leaves B unchanged; if the gate replaces B (a
// rollback of its checkpoint), the search ends with an empty result, since its data no longer
// describe the basis. In long double a centre beyond 2^62 or a leaf entry beyond 10^18 throws
// PrecisionException.
template <class R1, class R2>
EnumerationResult<R1, R2> enumerateBlock(Lattice<R1, R2>& lattice, long k, long e, const R2& bound,
                                         bool offer, const StopRequest& stop);

// Every lattice vector of squared length at most radius2 (in the coordinates of B), one of each
// pair v, -v, offered to the gate, without pruning when eprune is 0 (otherwise pruned as
// enumerateBlock, or as pruning says when it is 0 or more); btime does not apply. The radius stays fixed;
// leaves counts the vectors within it, each measured exactly (the tree is searched a relative 10^-9 wider, so
// that rounding of long double Gram-Schmidt data loses none on the rim), and coefficients / squaredNorm give
// the shortest of them. complete tells whether every such vector was reached (no pruning cut, no stop, no end
// of the run, no dependent row). Every point the program admits is a vector within the box lTrimmed..rTrimmed
// of B's coordinates, so within the radius of the box, the sum over the columns of max(lTrimmed_i^2,
// rTrimmed_i^2); with bounds symmetric column by column (and no trimming) that is max(l * l, r * r), but
// where they are not, max(l * l, r * r) may be smaller and miss points.
template <class R1, class R2>
EnumerationResult<R1, R2> enumerateBall(Lattice<R1, R2>& lattice, const R2& radius2, const StopRequest& stop,
                                        long pruning = -1);

// One tour of block reduction with blocks of beta rows (the parameter beta unless blockSize > 0), the
// enumeration pruned as eprune says (or as pruning says when it is 0 or more): for k = 1
// .. dimB - 1 the shortest vector of block k..min(k + beta - 1, dimB) replaces the basis at row k when it is
// shorter than b*_k by the factor of the reduction, by unimodular row operations
// (addRowMultiple, swapVectors: mirrored on the transformation stack), then the basis is reduced
// again with lll(1, e, e) under an unlimited lllStepBudget. The vector goes in by Euclid on its
// coefficients (b_p += q b_j), then the row that carries it moves to k, the others keeping their
// order. With the parameter deep, a block whose enumeration finds nothing below the factor of
// b*_k may still improve a later row: the enumeration records the nodes it reaches at the levels
// j = k+1..e whose partial length (the projection of sum_{i>=j} x_i b_i orthogonal to rows
// 1..j-1) is nonzero and below the factor of b*_j, the earliest such j first and the shortest
// node of it; that vector (the x_j..x_e divided by their gcd) goes in at row j by the same Euclid,
// so b*_j shrinks and the rows before j stay. A vector below the bound at k always goes in at k,
// the earliest row. True when a row was replaced. Ends early when stop() or the run has ended, and at a
// dependent row (lll keeps those behind the independent ones). lll offers rows to the gate, which
// may throw RestartException: it passes to the caller.
template <class R1, class R2>
bool bkzTour(Lattice<R1, R2>& lattice, const StopRequest& stop, long blockSize = 0, long pruning = -1);

} // namespace latopt
