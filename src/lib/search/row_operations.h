// row_operations.h: the pieces the searches on a lattice share (internal to src/lib/search):
// rounding a centre to an integer coefficient, the exact sum of integer multiples of rows of B,
// and putting a vector given by its coefficients into B by unimodular row operations.
// Defined in enumeration.cpp for the four pairs of long double and QQ; other types do not link.
#pragma once

#include "base/exceptions.h"
#include "lattice/lattice.h"

#include <cmath>
#include <vector>

namespace latopt::rows {

// The nearest integer of a centre (halves away from zero, as round). A centre beyond 2^62 comes
// only from Gram-Schmidt data that have broken down: PrecisionException. The long double one is
// inline: the enumeration calls it at every node.
inline long nearestInteger(const long double& x)
{
    if (!(fabsl(x) < 0x1p62L)) throw PrecisionException("Enumeration centre out of range");
    // The truncation and the fraction behind it are exact; roundl costs more than a node.
    const long whole = static_cast<long>(x);
    const long double fraction = x - static_cast<long double>(whole);
    if (fraction >= 0.5L) return whole + 1;
    if (fraction <= -0.5L) return whole - 1;
    return whole;
}
long nearestInteger(const QQ& x);

// sum_{i=1..n} x[i] b_{k+i-1}, from the rows of B as they are now (x 1-based, x[0] unused). In
// long double an entry beyond 10^18 throws PrecisionException (the exact run takes over).
template <class R1, class R2>
Vector<R1> combination(const Lattice<R1, R2>& lattice, long k, const std::vector<long>& x, long n);

// Makes sum_{i=1..n} x[i] b_{k+i-1} (x 1-based, not all zero) row k of B, up to its sign and
// divided by the gcd of the x (so exactly +-that vector when they have no common divisor), by
// unimodular operations on rows k..k+n-1: Euclid on the coefficients, each step b_p += q b_j with
// x_j -= q x_p for the smallest nonzero |x_p|, until one coefficient is left, and the row that holds
// it moved to k, the rows between keeping their order. Every operation goes through addRowMultiple
// and swapVectors, so it is mirrored on the transformation stack. False when the vector is row k
// already, or x is zero (nothing changed).
template <class R1, class R2>
bool insertVector(Lattice<R1, R2>& lattice, long k, std::vector<long> x, long n);

// Copies of the best limit elements of a collection set (all of them when limit < 0), the best
// first; the set stands worst first. Copies, because the gate changes the sets while it judges
// and may unwind to a restart.
template <class R1, class R2>
std::vector<HeuristicVector<R1, R2>> bestFirst(const typename Lattice<R1, R2>::CollectionSet& set,
                                               long limit = -1)
{
    std::vector<HeuristicVector<R1, R2>> vectors;
    for (auto* element = set.last;
         element != nullptr && (limit < 0 || static_cast<long>(vectors.size()) < limit);
         element = element->previous)
        vectors.push_back(static_cast<const HeuristicVector<R1, R2>&>(*element));
    return vectors;
}

} // namespace latopt::rows
