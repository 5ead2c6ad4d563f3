// sampling.h: ways of a search to meet vectors besides enumeration: random sampling of short
// lattice vectors, sieving of the collection sets, and putting the best vectors found so far back
// into the basis. Every vector met goes to the candidate gate, like the leaves of an enumeration.
#pragma once

#include "lattice/lattice.h"
#include "search/enumeration.h"

namespace latopt {

// Random sampling after Schnorr (parameters sample, sampleLimit): count vectors, each the exact
// sum of x_i times the rows 1..n of B (n the rows before the first dependent one, at least 2),
// where the coefficients of the last u rows are drawn 0 or 1 by rand() (the driver seeds it
// through Generator), not all 0, and those of the rows before them, from the last to the first,
// are the integers nearest their centres -sum_{j>i} x_j mu_ji (Babai's nearest plane, so that the
// component along each b*_i of the head is at most half of b*_i). u is the fewest bits that count
// takes (2^u > count: enough distinct tails), at least 1 and at most n - 1. Each vector is offered to the
// gate (checkSolution(v, true, 0, false)) while the lattice offers candidates. Returns the number of vectors
// offered; ends early when stop() says so or the run has ended, or when the gate replaced B. In long double a
// centre or an entry beyond the trusted range throws PrecisionException.
template <class R1, class R2>
long sampleVectors(Lattice<R1, R2>& lattice, long count, const StopRequest& stop);

// Sieving of the collection sets (parameter sieve): each vector h of bestVectors and goodVectors
// is replaced by h + g or h - g, g in goodVectors (g != h), as long as that improves its heuristic
// deviation; each improved vector is offered to the gate (untrimmed, checkSolution(v, false, 0,
// false)), which collects it. The first improving g (best first) is taken, and then the search
// for one starts again, at most 64 times per vector (the tolerant order of deviations is not
// transitive). A zero sum is never taken. Works on copies of the sets (the gate changes them and
// may restart the search), so that the sets themselves only gain better vectors. Returns the
// number of improvements; ends early on stop() or the end of the run.
template <class R1, class R2>
long sieveCollections(Lattice<R1, R2>& lattice, const StopRequest& stop);

// Re-insertion (parameter reinsert): bestVector and the best vector of bestVectors (both
// untrimmed), where they are vectors of the lattice spanned by B, go into B as rows 1 and 2 by
// unimodular row operations (addRowMultiple, swapVectors, mirrored on the transformation stack):
// the coordinates x over B (CoordsComputation) count only when they are integers and x B equals
// the trimmed vector exactly, entry by entry; the part over rows j.. goes in at row j by the
// Euclid insertion of the tours (so +-v itself when those coefficients have gcd 1, else a lattice
// vector of the same direction there), then the multiples of the rows inserted before are added.
// Then lll(1, 0, 0) reduces B again under an unlimited budget (with deep, row 1 stays). True when
// B changed. A vector of another lattice (a regenerated one, or an earlier embedding), or one in
// the span of the rows inserted before, is skipped.
template <class R1, class R2>
bool reinsertBestVectors(Lattice<R1, R2>& lattice, const StopRequest& stop);

} // namespace latopt
