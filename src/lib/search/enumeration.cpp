// enumeration.cpp: Schnorr-Euchner enumeration over the Gram-Schmidt data of a lattice, on a
// block of rows (enumerateBlock) or on the whole basis within a ball (enumerateBall), and the
// tours of block reduction built on it (bkzTour). See enumeration.h.
// The enumeration works on a copy of the block's mu and gsNorm (R2), so that the candidate gate,
// which may run a checkpoint of the transformation stack between two leaves, can't change the
// numbers under it; the leaves are built from the rows of B as they are when each is reached.
// Should the gate replace B (a rollback of the checkpoint), the data no longer describe the basis
// and the enumeration ends, its result empty.
#include "search/enumeration.h"

#include "search/row_operations.h"

#include "arith/constant.h"
#include "arith/precision.h"
#include "arith/qq.h"
#include "base/exceptions.h"
#include "lattice/reduction_numbers.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <vector>

namespace latopt {

namespace rows {

long nearestInteger(const QQ& x)
{
    const long double value = round(x).toDblRounded();
    if (!(fabsl(value) < 0x1p62L)) throw PrecisionException("Enumeration centre out of range");
    return static_cast<long>(value);
}

} // namespace rows

namespace {

using reduction::checkEntry;
using reduction::convert;
using rows::insertVector;
using rows::nearestInteger;

// An integer coefficient as a number of the lattice data (exact in both types).
template <class T>
T numberOf(long x)
{
    return T(x);
}

// The nearest integer of a / b, halves away from zero; b != 0.
long roundedQuotient(long a, long b)
{
    const long q = a / b;
    const long r = a - q * b;
    if (2 * std::labs(r) >= std::labs(b)) return q + ((r < 0) == (b < 0) ? 1 : -1);
    return q;
}

// How a run of the enumeration treats its radius.
enum class RadiusMode {
    SHRINKING, // shortest vector strictly below the bound; the radius follows the best leaf
    BALL,      // every vector of squared length at most the bound, the radius fixed
};

// The Schnorr-Euchner enumeration of the projection of rows k..e orthogonal to rows 1..k-1.
// Levels count 1..n over the rows k..e of the block; the tree is searched from level n (the last
// row) down to level 1, and a node at level i fixes x_i..x_n. With c_i = -sum_{j>i} x_j mu_ji
// the centre of level i and B_i = gsNorm, the squared projected length of the partial vector is
// partial_i = partial_{i+1} + (x_i - c_i)^2 B_i. The children of a node are visited in zig-zag
// order around the centre (nearest first, so their lengths grow) and, while every coefficient
// above is zero, in the positive direction only: so v and -v are reached once, and 0 never.
template <class R1, class R2>
class Enumerator {
public:
    Enumerator(Lattice<R1, R2>& owner, long first, long last, const StopRequest& stopRequest)
        : lattice(owner), k(first), e(last), n(last - first + 1), stop(stopRequest)
    {
    }

    RadiusMode mode = RadiusMode::SHRINKING;
    bool offer = true; // leaves go to the gate (while the lattice offers candidates)
    long pruning = 0;  // the parameter eprune
    long seconds = 0;  // the time bound, 0 none
    // Deep insertion: inner nodes whose partial length is below DELTA B_i of their own level are
    // recorded, the earliest level first (see bkzTour).
    bool deep = false;
    // After run with deep: the earliest level i >= 2 (n + 1: none) at which a node reached had a
    // nonzero partial length below DELTA B_i, the shortest such node of that level, and its
    // coefficients (x_i..x_n meaningful).
    long improvedLevel = 0;
    std::vector<long> improvedX;

    // Searches below (SHRINKING) or within (BALL) bound. best holds the coefficients of the
    // shortest leaf (levels 1..n), empty when there was none.
    EnumerationResult<R1, R2> run(const R2& bound, std::vector<long>& best);

private:
    Lattice<R1, R2>& lattice;
    const long k, e, n;
    const StopRequest& stop;

    std::vector<R2> mu; // mu[i * (n + 1) + j] = mu_{k+j-1, k+i-1}, i < j (row i: the column i)
    // The centres by partial sums: sigma[i * (n + 2) + j] = -sum_{m >= j} x_m mu_mi for j > i,
    // sigma_{i, n+1} = 0, so c_i = sigma_{i, i+1}. Entries j > stale[i] of row i are current;
    // a descent to level i refreshes j = stale[i] .. i+1 and passes stale[i] on to level i - 1,
    // whose coefficients above changed as well: amortised a few products per node instead of n.
    std::vector<R2> sigma;
    std::vector<long> stale;
    std::vector<R2> norm;     // B_i of the block
    std::vector<R2> factor;   // the pruning factor of each level
    std::vector<R2> limit;    // radius times factor, per level
    std::vector<R2> center;   // c_i
    std::vector<R2> partial;  // partial_i; partial_{n+1} = 0
    std::vector<R2> improves; // DELTA B_i, the length below which a node of level i improves it
    R2 improvedLength;        // the partial length of the recorded node
    std::vector<long> x, dx, ddx;
    bool cut = false; // pruning cut a node within the radius
    bool basisChanged = false;

    // The pruning factor of level i, whose node fixes depth = n - i + 1 coefficients.
    // 0 none; 1 linear, depth / n; 2 step, 1/2 for the first half of the depths (the upper
    // levels, where a cut removes the largest subtrees), then 1; 3 aggressive, a curve after
    // Gama, Nguyen and Regev's extreme pruning, min(1, 1.05 depth / n)^2, below the linear one
    // up to nine tenths of the depth. Every curve keeps the full radius at the leaves.
    R2 pruningFactor(long i) const;
    void setLimits(const R2& radius);
    // One level down to level i: its centre, and x_i the integer nearest to it.
    void descendTo(long i);
    // The next child of level i's parent, in zig-zag order.
    void nextSibling(long i);
    // sum x_i b_{k+i-1}, from the rows of B as they are now.
    Vector<R1> leafVector() const;
    // Offers v to the gate; false when the enumeration must end (run ended, basis replaced).
    bool offerLeaf(const Vector<R1>& v);
};

template <class R1, class R2>
R2 Enumerator<R1, R2>::pruningFactor(long i) const
{
    const R2 one = Constant<R2>::ONE();
    const long depth = n - i + 1;
    switch (pruning) {
    case 1:
        return numberOf<R2>(depth) / numberOf<R2>(n);
    case 2:
        return 2 * depth <= n ? one / numberOf<R2>(2) : one;
    case 3: {
        R2 f = numberOf<R2>(105 * depth) / numberOf<R2>(100 * n);
        if (f > one) f = one;
        return f * f;
    }
    default:
        return one;
    }
}

template <class R1, class R2>
void Enumerator<R1, R2>::setLimits(const R2& radius)
{
    for (long i = 1; i <= n; ++i)
        limit[i] = radius * factor[i];
}

template <class R1, class R2>
void Enumerator<R1, R2>::descendTo(long i)
{
    const long from = std::min(stale[i], n);
    R2* row = &sigma[static_cast<size_t>(i * (n + 2))];
    const R2* column = &mu[static_cast<size_t>(i * (n + 1))];
    for (long j = from; j > i; --j)
        row[j] = x[j] == 0 ? row[j + 1] : row[j + 1] - numberOf<R2>(x[j]) * column[j];
    if (i > 1 && stale[i - 1] < from) stale[i - 1] = from;
    stale[i] = i + 1;
    center[i] = row[i + 1];
    x[i] = nearestInteger(center[i]);
    dx[i] = ddx[i] = center[i] >= numberOf<R2>(x[i]) ? 1 : -1;
}

template <class R1, class R2>
void Enumerator<R1, R2>::nextSibling(long i)
{
    // Above all zero (the centre is 0): the positive direction only, so that -v is never reached.
    if (partial[i + 1] == Constant<R2>::ZERO()) {
        ++x[i];
        return;
    }
    x[i] += dx[i];
    ddx[i] = -ddx[i];
    dx[i] = ddx[i] - dx[i];
}

template <class R1, class R2>
Vector<R1> Enumerator<R1, R2>::leafVector() const
{
    return rows::combination(lattice, k, x, n);
}

template <class R1, class R2>
bool Enumerator<R1, R2>::offerLeaf(const Vector<R1>& v)
{
    if (!offer || !lattice.offerCandidates || lattice.runEnded) return !lattice.runEnded;
    lattice.checkSolution(v, true, 0, false);
    if (lattice.runEnded) return false;
    // A checkpoint clears the state words only when it replaced B.
    if (lattice.dimB < e || (lattice.rowState[e] & Lattice<R1, R2>::GS_CURRENT) == 0) {
        basisChanged = true;
        return false;
    }
    return true;
}

template <class R1, class R2>
EnumerationResult<R1, R2> Enumerator<R1, R2>::run(const R2& bound, std::vector<long>& best)
{
    EnumerationResult<R1, R2> result;
    result.squaredNorm = Constant<R2>::ZERO();
    best.clear();
    // 1. The Gram-Schmidt data of rows 1..e; a dependent row leaves nothing to enumerate on.
    if (k < 1 || n < 1 || e > lattice.dimB || !lattice.compute_gs_classic(1, e)) return result;
    // 2. The block's data, copied, and the state of the levels.
    mu.assign(static_cast<size_t>((n + 1) * (n + 1)), Constant<R2>::ZERO());
    norm.assign(static_cast<size_t>(n + 1), Constant<R2>::ZERO());
    for (long j = 1; j <= n; ++j) {
        norm[j] = lattice.gsNorm[k + j - 1];
        for (long i = 1; i < j; ++i)
            mu[i * (n + 1) + j] = lattice.mu[k + j - 1][k + i - 1];
    }
    factor.assign(static_cast<size_t>(n + 1), Constant<R2>::ONE());
    for (long i = 1; i <= n; ++i)
        factor[i] = pruningFactor(i);
    limit.assign(static_cast<size_t>(n + 1), Constant<R2>::ZERO());
    center.assign(static_cast<size_t>(n + 2), Constant<R2>::ZERO());
    partial.assign(static_cast<size_t>(n + 2), Constant<R2>::ZERO());
    sigma.assign(static_cast<size_t>((n + 1) * (n + 2)), Constant<R2>::ZERO());
    stale.assign(static_cast<size_t>(n + 1), n);
    improvedLevel = n + 1;
    improvedLength = Constant<R2>::ZERO();
    improvedX.clear();
    if (deep) {
        improves.assign(static_cast<size_t>(n + 1), Constant<R2>::ZERO());
        for (long j = 2; j <= n; ++j)
            improves[j] = Constant<R2>::DELTA() * norm[j];
    }
    x.assign(static_cast<size_t>(n + 2), 0);
    dx.assign(static_cast<size_t>(n + 2), 1);
    ddx.assign(static_cast<size_t>(n + 2), 1);
    // 3. The radius. A ball is searched a hair wider than asked, so that rounding in long double
    //    can't lose a vector on its rim; every leaf is then measured exactly, and only those
    //    within the bound count.
    const bool ball = mode == RadiusMode::BALL;
    R2 radius = ball ? bound + bound * Constant<R2>::EPSILON() : bound;
    setLimits(radius);
    const auto start = std::chrono::steady_clock::now();
    bool interrupted = false;
    // 4. The depth-first search, from the top level with all coefficients zero.
    long i = n;
    descendTo(n);
    for (long nodes = 1;; ++nodes) {
        // 4.1 Now and then: the stop request and the time bound.
        if ((nodes & 1023) == 0) {
            if (stop && stop()) {
                interrupted = true;
                break;
            }
            if (seconds > 0 && std::chrono::steady_clock::now() - start >= std::chrono::seconds(seconds)) {
                interrupted = true;
                break;
            }
        }
        const R2 deviation = numberOf<R2>(x[i]) - center[i];
        const R2 length = partial[i + 1] + deviation * deviation * norm[i];
        const bool inside = ball ? !(length > limit[i]) : length < limit[i];
        if (!inside) {
            // 4.2 Beyond the limit: so are the further children of this level; one level up.
            if (factor[i] < Constant<R2>::ONE() && (ball ? !(length > radius) : length < radius)) cut = true;
            if (++i > n) break;
            nextSibling(i);
            continue;
        }
        if (i > 1) {
            // 4.3 Inside: one level down, to the child nearest the centre. With deep, a node whose
            //     projection improves B_i of its own level is recorded (the earliest level wins;
            //     zero is the all-zero path, no vector).
            if (deep && (i < improvedLevel || (i == improvedLevel && length < improvedLength)) &&
                length < improves[i] && length > Constant<R2>::ZERO()) {
                improvedLevel = i;
                improvedLength = length;
                improvedX = x;
            }
            partial[i] = length;
            descendTo(--i);
            continue;
        }
        // 4.4 A leaf (the zero vector only on the first way down).
        if (!(x[1] == 0 && partial[2] == Constant<R2>::ZERO())) {
            const Vector<R1> v = leafVector();
            bool counts = true;
            if (ball) {
                R2 exact;
                convert(v * v, exact);
                counts = !(exact > bound);
            }
            if (counts) {
                ++result.leaves;
                if (best.empty() || length < result.squaredNorm) {
                    best.assign(x.begin(), x.end());
                    result.squaredNorm = length;
                    if (!ball) {
                        radius = length;
                        setLimits(radius);
                    }
                }
                if (!offerLeaf(v) || (stop && stop())) {
                    interrupted = true;
                    break;
                }
            }
        }
        nextSibling(1);
    }
    if (basisChanged) {
        best.clear();
        improvedLevel = n + 1;
    }
    result.complete = !interrupted && !cut;
    if (!best.empty()) {
        result.coefficients.setDimension(n);
        for (long j = 1; j <= n; ++j)
            result.coefficients[j] = numberOf<R1>(best[j]);
    } else {
        result.squaredNorm = Constant<R2>::ZERO();
    }
    return result;
}

} // namespace

template <class R1, class R2>
Vector<R1> rows::combination(const Lattice<R1, R2>& lattice, long k, const std::vector<long>& x, long n)
{
    Vector<R1> v(lattice.dimN);
    for (long i = 1; i <= n; ++i) {
        if (x[i] == 0) continue;
        const R1 q = numberOf<R1>(x[i]);
        const Vector<R1>& row = lattice.B[k + i - 1];
        for (long col = 1; col <= lattice.dimN; ++col)
            v[col] += q * row[col];
    }
    // In long double an entry beyond the trusted range is a precision failure (exact redo).
    for (long col = 1; col <= lattice.dimN; ++col)
        checkEntry(v[col]);
    return v;
}

template <class R1, class R2>
bool rows::insertVector(Lattice<R1, R2>& lattice, long k, std::vector<long> x, long n)
{
    long pivot = 0;
    bool changed = false;
    for (;;) {
        pivot = 0;
        long count = 0;
        for (long j = 1; j <= n; ++j) {
            if (x[j] == 0) continue;
            ++count;
            if (pivot == 0 || std::labs(x[j]) < std::labs(x[pivot])) pivot = j;
        }
        if (count <= 1) break;
        for (long j = 1; j <= n; ++j) {
            if (j == pivot || x[j] == 0) continue;
            const long q = roundedQuotient(x[j], x[pivot]);
            if (q == 0) continue;
            lattice.addRowMultiple(k + pivot - 1, k + j - 1, numberOf<R1>(q));
            x[j] -= q * x[pivot];
            changed = true;
        }
    }
    if (pivot == 0 || (pivot == 1 && !changed)) return false;
    for (long t = k + pivot - 1; t > k; --t)
        lattice.swapVectors(t, t - 1, false);
    return true;
}

template <class R1, class R2>
EnumerationResult<R1, R2> enumerateBlock(Lattice<R1, R2>& lattice, long k, long e, const R2& bound,
                                         bool offer, const StopRequest& stop)
{
    Enumerator<R1, R2> enumerator(lattice, k, e, stop);
    enumerator.offer = offer;
    enumerator.pruning = lattice.params.eprune.value;
    enumerator.seconds = lattice.params.btime.value;
    std::vector<long> best;
    return enumerator.run(bound, best);
}

template <class R1, class R2>
EnumerationResult<R1, R2> enumerateBall(Lattice<R1, R2>& lattice, const R2& radius2, const StopRequest& stop,
                                        long pruning)
{
    Enumerator<R1, R2> enumerator(lattice, 1, lattice.dimB, stop);
    enumerator.mode = RadiusMode::BALL;
    enumerator.pruning = pruning >= 0 ? pruning : lattice.params.eprune.value;
    std::vector<long> best;
    if (lattice.dimB == 0) {
        EnumerationResult<R1, R2> empty;
        empty.squaredNorm = Constant<R2>::ZERO();
        empty.complete = true;
        return empty;
    }
    return enumerator.run(radius2, best);
}

template <class R1, class R2>
bool bkzTour(Lattice<R1, R2>& lattice, const StopRequest& stop, long blockSize, long pruning)
{
    static const R2 DELTA = Constant<R2>::DELTA();
    const long beta = std::max(2L, blockSize > 0 ? blockSize : lattice.params.beta.value);
    const bool deep = lattice.params.deep.value;
    bool replaced = false;
    for (long k = 1; k < lattice.dimB; ++k) {
        if (lattice.runEnded || (stop && stop())) break;
        // 1. The block and its Gram-Schmidt data; a dependent row ends the tour (lll keeps such
        //    rows behind the independent ones, so nothing after it can be enumerated either).
        const long e = std::min(k + beta - 1, lattice.dimB);
        if (!lattice.compute_gs_classic(1, e)) break;
        // 2. The shortest vector of the projected block, below the reduction's factor of b*_k;
        //    with deep, the nodes that improve a later row of the block are recorded as well.
        Enumerator<R1, R2> enumerator(lattice, k, e, stop);
        enumerator.pruning = pruning >= 0 ? pruning : lattice.params.eprune.value;
        enumerator.seconds = lattice.params.btime.value;
        enumerator.deep = deep;
        std::vector<long> best;
        enumerator.run(DELTA * lattice.gsNorm[k], best);
        if (lattice.runEnded) continue;
        // 3. It becomes row k, or (deep, nothing below the bound at k) the recorded node's vector
        //    becomes row j, the earliest it improves; the rows up to e are reduced again.
        const long n = e - k + 1;
        if (!best.empty()) {
            if (!insertVector(lattice, k, best, n)) continue;
        } else if (enumerator.improvedLevel <= n) {
            const long level = enumerator.improvedLevel;
            std::vector<long> tail(static_cast<size_t>(n - level + 2), 0);
            for (long i = level; i <= n; ++i)
                tail[static_cast<size_t>(i - level + 1)] = enumerator.improvedX[static_cast<size_t>(i)];
            if (!insertVector(lattice, k + level - 1, tail, n - level + 1)) continue;
        } else {
            continue;
        }
        replaced = true;
        lattice.lllStepBudget = 1L << 40;
        lattice.lll(1, e, e);
    }
    return replaced;
}

#define LATOPT_ENUMERATION(R1, R2)                                                                           \
    template EnumerationResult<R1, R2> enumerateBlock(Lattice<R1, R2>&, long, long, const R2&, bool,         \
                                                      const StopRequest&);                                   \
    template EnumerationResult<R1, R2> enumerateBall(Lattice<R1, R2>&, const R2&, const StopRequest&, long); \
    template bool bkzTour(Lattice<R1, R2>&, const StopRequest&, long, long);                                 \
    template Vector<R1> rows::combination(const Lattice<R1, R2>&, long, const std::vector<long>&, long);     \
    template bool rows::insertVector(Lattice<R1, R2>&, long, std::vector<long>, long);
LATOPT_ENUMERATION(long double, long double)
LATOPT_ENUMERATION(long double, QQ)
LATOPT_ENUMERATION(QQ, long double)
LATOPT_ENUMERATION(QQ, QQ)
#undef LATOPT_ENUMERATION

} // namespace latopt
