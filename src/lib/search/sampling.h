// sampling.h: ways of a search to meet vectors besides enumeration: random sampling of short
// lattice vectors, sieving of the collection sets, and putting the best vectors found so far back
// into the basis. Every vector met goes to the candidate gate, like the leaves of an enumeration.
#pragma once

#include "lattice/lattice.h"
#include "search/enumeration.h"

namespace latopt {

// Random sampling after Schnorr (parameters sample, sampleLimit): count vectors, each the exact
// sum of x_i times the rows of B, where the coefficients of the last u rows (u a few, at most
// dimB - 1) are drawn 0 or 1 by rand() (the driver seeds it through Generator) and those of the
// rows before them, from the last to the first, are the integers nearest their centres (Babai's
// nearest plane, so that each projection is short). Each vector is offered to the gate
// (checkSolution(v, true, 0, false)) while the lattice offers candidates. Returns the number of
// vectors offered; ends early when stop() says so or the run has ended, or when the gate replaced
// B. In long double a centre or an entry beyond the trusted range throws PrecisionException.
template <class R1, class R2>
long sampleVectors(Lattice<R1, R2>& lattice, long count, const StopRequest& stop);

// Sieving of the collection sets (parameter sieve): each vector h of bestVectors and goodVectors
// is replaced by h + g or h - g, g in goodVectors (g != h), as long as that improves its heuristic
// deviation; each improved vector is offered to the gate (untrimmed, checkSolution(v, false, 0,
// false)), which collects it. Works on copies of the sets (the gate changes them and may restart
// the search). Returns the number of improvements; ends early on stop() or the end of the run.
template <class R1, class R2>
long sieveCollections(Lattice<R1, R2>& lattice, const StopRequest& stop);

// Re-insertion (parameter reinsert): bestVector and the best vector of bestVectors, where they
// are vectors of the lattice spanned by B (integer coordinates over B, computed exactly), go into
// B as its first rows by unimodular row operations (addRowMultiple, swapVectors, mirrored on the
// transformation stack), then lll reduces B again. True when B changed. A vector of another
// lattice (a regenerated one, or an earlier embedding) is skipped.
template <class R1, class R2>
bool reinsertBestVectors(Lattice<R1, R2>& lattice, const StopRequest& stop);

} // namespace latopt
