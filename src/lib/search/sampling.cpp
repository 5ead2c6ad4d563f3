// sampling.cpp: random sampling of short lattice vectors, sieving of the collection sets and the
// re-insertion of the best vectors into the basis. See sampling.h.
// Sampling and re-insertion build vectors from the rows of B by the pieces the enumeration uses
// (row_operations.h): the exact integer combination of rows, and the Euclid insertion that makes a
// vector a row of B by operations mirrored on the transformation stack.
#include "search/sampling.h"

#include "arith/constant.h"
#include "arith/precision.h"
#include "arith/qq.h"
#include "base/exceptions.h"
#include "lattice/reduction_numbers.h"
#include "search/row_operations.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <vector>

namespace latopt {

namespace {

using reduction::convert;
using rows::bestFirst;
using rows::combination;
using rows::insertVector;
using rows::nearestInteger;

// How often one vector of a set is improved at most in sieving. The order of deviations is
// tolerant and so not transitive: a bound keeps a chain of "improvements" from circling.
constexpr long SIEVE_PASSES = 64;

// The number of rows from row 1 on whose Gram-Schmidt data are current after compute_gs_classic:
// the rows before the first dependent one.
template <class R1, class R2>
long independentRows(Lattice<R1, R2>& lattice)
{
    lattice.compute_gs_classic(1, lattice.dimB);
    long n = 0;
    while (n < lattice.dimB && (lattice.rowState[n + 1] & Lattice<R1, R2>::GS_CURRENT) != 0)
        ++n;
    return n;
}

// The number of tail rows drawn at random for count samples: the fewest u with 2^u > count, so
// that the nonzero tails are enough for distinct samples (each tail row adds up to b*_i^2 to the
// length, so no more than that), at least 1 and at most n - 1.
long tailRows(long count, long n)
{
    long u = 1;
    while (u < 62 && (1L << u) <= count)
        ++u;
    return std::max(1L, std::min(u, n - 1));
}

template <class R1>
bool isZero(const Vector<R1>& v)
{
    for (long i = 1; i <= v.dimension(); ++i)
        if (!(v[i] == Constant<R1>::ZERO())) return false;
    return true;
}

// The integer coordinates of the untrimmed v over the rows of B (x 1-based), proved exactly:
// x B equals the trimmed v entry by entry, with no tolerance. False for a vector that is not in the
// lattice of B, whose coordinates are not integers or exceed 2^62, or that no route solves.
template <class R1, class R2>
bool exactCoordinates(Lattice<R1, R2>& lattice, const Vector<R1>& v, std::vector<long>& x)
{
    if (v.dimension() != lattice.dimN || isZero(v)) return false;
    Vector<R1> coords;
    if (!lattice.coords.compute(v, coords, false) || coords.dimension() != lattice.dimB) return false;
    x.assign(static_cast<size_t>(lattice.dimB + 1), 0);
    for (long i = 1; i <= lattice.dimB; ++i) {
        long double magnitude;
        convert(coords[i], magnitude);
        if (!(round(coords[i]) == coords[i]) || !(fabsl(magnitude) < 0x1p62L)) return false;
        x[static_cast<size_t>(i)] = nearestInteger(coords[i]);
    }
    const Vector<R1> trimmed = lattice.handleScalingAndTranslation(v, true);
    const Vector<R1> sum = combination(lattice, 1, x, lattice.dimB);
    for (long col = 1; col <= lattice.dimN; ++col)
        if (!(sum[col] == trimmed[col])) return false;
    return true;
}

} // namespace

template <class R1, class R2>
long sampleVectors(Lattice<R1, R2>& lattice, long count, const StopRequest& stop)
{
    // 1. Samples go to the gate only; without it, or with fewer than two independent rows (a tail
    //    and a head), there is nothing to do.
    if (count <= 0 || !lattice.offerCandidates || lattice.runEnded || lattice.dimB < 2) return 0;
    const long n = independentRows(lattice);
    if (n < 2) return 0;
    const long u = tailRows(count, n);
    std::vector<long> x(static_cast<size_t>(n + 1), 0);
    long offered = 0;
    while (offered < count) {
        // 2. The tail: x_i in {0, 1} for the last u rows, not all zero (zero would be the zero
        //    vector, the head following it).
        bool nonzero = false;
        while (!nonzero)
            for (long i = n - u + 1; i <= n; ++i) {
                x[static_cast<size_t>(i)] = std::rand() % 2;
                nonzero = nonzero || x[static_cast<size_t>(i)] != 0;
            }
        // 3. The head by nearest planes, from row n - u down to row 1: x_i is the integer nearest
        //    the centre -sum_{j>i} x_j mu_ji, so the component along b*_i is at most half of it.
        for (long i = n - u; i >= 1; --i) {
            R2 c = Constant<R2>::ZERO();
            for (long j = i + 1; j <= n; ++j)
                if (x[static_cast<size_t>(j)] != 0) c -= R2(x[static_cast<size_t>(j)]) * lattice.mu[j][i];
            x[static_cast<size_t>(i)] = nearestInteger(c);
        }
        // 4. The vector, exactly, to the gate. A checkpoint that replaced B clears the state words
        //    (the data of the samples no longer describe B): the sampling ends.
        lattice.checkSolution(combination(lattice, 1, x, n), true, 0, false);
        ++offered;
        if (lattice.runEnded || lattice.dimB < n || (lattice.rowState[n] & Lattice<R1, R2>::GS_CURRENT) == 0)
            break;
        if (stop && stop()) break;
    }
    return offered;
}

template <class R1, class R2>
long sieveCollections(Lattice<R1, R2>& lattice, const StopRequest& stop)
{
    // 1. Copies of the sets, best first: the gate changes the sets as it collects, and may unwind
    //    to a restart.
    const std::vector<HeuristicVector<R1, R2>> homogenous = bestFirst<R1, R2>(lattice.goodVectors);
    std::vector<HeuristicVector<R1, R2>> targets = bestFirst<R1, R2>(lattice.bestVectors);
    targets.insert(targets.end(), homogenous.begin(), homogenous.end());
    long improvements = 0;
    // 2. Each vector h goes to h + g or h - g (g homogenous, so h stays in its coset) while that
    //    is better, the first improving g taken; each improvement is offered to the gate.
    for (HeuristicVector<R1, R2>& target : targets) {
        Vector<R1> h = target;
        HeuristicDeviation<R1> current = lattice.computeHeuristicDeviation(h, false);
        for (long pass = 0; pass < SIEVE_PASSES; ++pass) {
            bool improved = false;
            for (const HeuristicVector<R1, R2>& g : homogenous) {
                if (g.dimension() != h.dimension() || static_cast<const Vector<R1>&>(g) == h) continue;
                for (const bool plus : {true, false}) {
                    Vector<R1> w = plus ? h + g : h - g;
                    if (isZero(w)) continue;
                    const HeuristicDeviation<R1> deviation = lattice.computeHeuristicDeviation(w, false);
                    if (!(deviation < current)) continue;
                    h = std::move(w);
                    current = deviation;
                    improved = true;
                    ++improvements;
                    lattice.checkSolution(h, false, 0, false);
                    if (lattice.runEnded || (stop && stop())) return improvements;
                    break;
                }
                if (improved) break;
            }
            if (!improved) break;
        }
    }
    return improvements;
}

template <class R1, class R2>
bool reinsertBestVectors(Lattice<R1, R2>& lattice, const StopRequest& stop)
{
    if (lattice.runEnded || lattice.dimB < 1 || (stop && stop())) return false;
    // 1. The candidates, untrimmed: bestVector first (it goes to row 1), then the best of
    //    bestVectors (row 2).
    std::vector<Vector<R1>> candidates;
    if (lattice.bestVector.dimension() > 0) candidates.push_back(lattice.bestVector);
    if (lattice.bestVectors.last != nullptr)
        candidates.push_back(static_cast<const Vector<R1>&>(*lattice.bestVectors.last));
    bool changed = false;
    long row = 1;
    for (const Vector<R1>& v : candidates) {
        if (row > lattice.dimB) break;
        // 2. Its coordinates x over B, proved exactly; another lattice's vector has none.
        std::vector<long> x;
        if (!exactCoordinates(lattice, v, x)) continue;
        // 3. Rows before row hold the vectors inserted already: the part over rows row..dimB goes
        //    in at row (divided by the gcd of its coefficients), then the multiples of the
        //    earlier rows are added back, so that row holds +-v when that gcd is 1. A vector
        //    that lies in the span of the earlier rows is left out.
        std::vector<long> tail(static_cast<size_t>(lattice.dimB - row + 2), 0);
        bool anyTail = false;
        for (long i = row; i <= lattice.dimB; ++i) {
            tail[static_cast<size_t>(i - row + 1)] = x[static_cast<size_t>(i)];
            anyTail = anyTail || x[static_cast<size_t>(i)] != 0;
        }
        if (!anyTail) continue;
        const Vector<R1> w = combination(lattice, row, tail, lattice.dimB - row + 1);
        changed = insertVector(lattice, row, tail, lattice.dimB - row + 1) || changed;
        // Row row is now w or -w when the coefficients have gcd 1; only then it becomes +-v.
        const bool same = lattice.B[row] == w;
        if (same || lattice.B[row] == -w)
            for (long i = 1; i < row; ++i)
                if (x[static_cast<size_t>(i)] != 0) {
                    const long q = same ? x[static_cast<size_t>(i)] : -x[static_cast<size_t>(i)];
                    lattice.addRowMultiple(row, i, R1(q));
                    changed = true;
                }
        ++row;
    }
    if (!changed) return false;
    // 4. The basis reduced again, to the end.
    lattice.lllStepBudget = 1L << 40;
    lattice.lll(1, 0, 0);
    return true;
}

#define LATOPT_SAMPLING(R1, R2)                                                                              \
    template long sampleVectors(Lattice<R1, R2>&, long, const StopRequest&);                                 \
    template long sieveCollections(Lattice<R1, R2>&, const StopRequest&);                                    \
    template bool reinsertBestVectors(Lattice<R1, R2>&, const StopRequest&);
LATOPT_SAMPLING(long double, long double)
LATOPT_SAMPLING(long double, QQ)
LATOPT_SAMPLING(QQ, long double)
LATOPT_SAMPLING(QQ, QQ)
#undef LATOPT_SAMPLING

} // namespace latopt
