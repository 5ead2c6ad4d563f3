// reduction.cpp: LLL with deep insertion over rows of B (lll, sizeReduce, sizeReduceGenuine,
// lovasz_reduce, deep_reduce, dependencyHandler), the row exchange that keeps the state words in
// step (swapVectors), and the two reorderings of the basis (sortEuklid, scale). See lattice.h.
#include "arith/constant.h"
#include "arith/math.h"
#include "arith/precision.h"
#include "arith/qq.h"
#include "base/exceptions.h"
#include "base/log.h"
#include "lattice/lattice.h"
#include "lattice/lll_to_the_end.h"
#include "lattice/reduction_numbers.h"

#include <algorithm>
#include <cmath>
#include <ctime>
#include <iostream>
#include <type_traits>
#include <utility>

namespace latopt {

using reduction::checkCoefficient;
using reduction::checkEntry;
using reduction::convert;
using reduction::integerImage;

namespace {

// Clears the flag "keep dependency marks" of the state words on every way out of lll.
class DependencyMarksGuard {
public:
    explicit DependencyMarksGuard(Array<short>& words) : rowState(words) {}
    DependencyMarksGuard(const DependencyMarksGuard&) = delete;
    DependencyMarksGuard& operator=(const DependencyMarksGuard&) = delete;
    ~DependencyMarksGuard() { rowState.allowPostCommaLoss = false; }

private:
    Array<short>& rowState;
};

// target -= q * source over entries 1..count; q of 1 and -1 without a product.
void subtractMultiple(QQ* target, const QQ* source, long count, const QQ& q)
{
    static const QQ ONE = Constant<QQ>::ONE();
    if (q == ONE) {
        for (long col = 1; col <= count; ++col)
            target[col] -= source[col];
    } else if (q == -ONE) {
        for (long col = 1; col <= count; ++col)
            target[col] += source[col];
    } else {
        for (long col = 1; col <= count; ++col)
            target[col] -= q * source[col];
    }
}

// The same in long double, where the largest changed entry must stay trusted: one test of it
// stands for the test of each.
void subtractMultiple(long double* target, const long double* source, long count, const long double& q)
{
    long double largest = 0;
    for (long col = 1; col <= count; ++col) {
        target[col] -= q * source[col];
        largest = std::max(largest, fabsl(target[col]));
    }
    checkEntry(largest);
}

} // namespace

namespace {

// Equal entry by entry, exactly (the tolerant vector comparison would call near vectors equal).
template <class R1>
bool sameEntries(const Vector<R1>& a, const Vector<R1>& b)
{
    if (a.dimension() != b.dimension()) return false;
    for (long i = a.dimension(); i >= 1; --i)
        if (!(a[i] == b[i])) return false;
    return true;
}

} // namespace

template <class R1, class R2>
void Lattice<R1, R2>::offerRow(long k)
{
    if (!offerCandidates || runEnded) return;
    // A vector the gate has just judged gets the same judgement again: the exchanges of the
    // reduction hand the same rows back and forth. The recent offers are kept untrimmed, as the
    // lattice vectors they are, so that a change of the trimming can't make two of them look alike.
    Vector<R1> untrimmed = handleScalingAndTranslation(B[k], false);
    for (const Vector<R1>& recent : recentOffers)
        if (sameEntries(recent, untrimmed)) return;
    // Stored before the gate runs: a regeneration inside it empties the store for the new lattice.
    const Vector<R1>& offered = recentOffers[recentOfferNext] = std::move(untrimmed);
    recentOfferNext = (recentOfferNext + 1) % recentOffers.size();
    // A checkpoint that replaced B clears every state word, the first row's included; then the
    // row images are stale and the rows before k, on which the reduction stands, are recomputed.
    // The gate takes the untrimmed row, already at hand, and copies it before anything can change.
    const bool firstRowCurrent = (rowState[1] & GS_CURRENT) != 0;
    ++offeredCount;
    checkSolution(offered, false, 0, false);
    if (firstRowCurrent && (rowState[1] & GS_CURRENT) != 0) return;
    invalidateRowImages();
    for (long i = 1; i < k; ++i)
        if (!compute_gs_classic(i, i)) break;
}

template <class R1, class R2>
void Lattice<R1, R2>::invalidateRowsFrom(long t)
{
    const bool keepDependencyMarks = rowState.allowPostCommaLoss;
    short* words = rowState.data;
    for (long x = std::max(t, 0L); x <= dimB; ++x)
        if (!(x >= 2 && keepDependencyMarks && words[x] == ROW_DEPENDENT)) words[x] = 0;
    coords.currentCache.clear();
}

template <class R1, class R2>
bool Lattice<R1, R2>::sizeReducePass(long k, bool careful, R2& maxQuotient)
{
    static const R2 HALF_DEC = Constant<R2>::HALF();
    static const R2 ONE_DEC = Constant<R2>::ONE();
    R2* muk = mu.rowData[k].data;
    R1* bk = B.rowData[k].data;
    bool changed = false;
    R1 q1;
    // While row k and row j have integer images (and the result stays below 2^53), the row is
    // updated on the image and B's row is written from it once (pending meanwhile).
    long long* integers = gsIntImage.data() + (k - 1) * dimN;
    bool pending = false;
    rowImage(k);
    // From the largest j down: the update of mu[k][i], i < j, uses row j, which is final.
    for (long j = k - 1; j >= 1; --j) {
        // A coefficient of exactly one half stays.
        if (!(Math::abs(muk[j]) > HALF_DEC)) continue;
        checkCoefficient(muk[j]);
        const R2 q = round(muk[j]);
        convert(q, q1);
        checkEntry(q1);
        const R1* bj = B.rowData[j].data;
        // Careful: a step that makes the largest entry of the row larger is skipped.
        if (careful) {
            R1 before = Constant<R1>::ZERO();
            R1 after = Constant<R1>::ZERO();
            for (long col = 1; col <= dimN; ++col) {
                before = std::max(before, Math::abs(bk[col]));
                after = std::max(after, Math::abs(R1(bk[col] - q1 * bj[col])));
            }
            if (after > before) continue;
        }
        const R2* muj = mu.rowData[j].data;
        if (q == ONE_DEC) {
            for (long i = 1; i < j; ++i)
                muk[i] -= muj[i];
        } else if (q == -ONE_DEC) {
            for (long i = 1; i < j; ++i)
                muk[i] += muj[i];
        } else {
            for (long i = 1; i < j; ++i)
                muk[i] -= q * muj[i];
        }
        muk[j] -= q;
        long long qi = 0;
        bool onIntegers = !careful && gsImageState.data[k] == 2 && integerImage(q, qi);
        if (onIntegers) {
            rowImage(j);
            const int qBits = 64 - __builtin_clzll(static_cast<unsigned long long>(qi < 0 ? -qi : qi));
            onIntegers =
                gsImageState.data[j] == 2 && qBits + gsIntBits.data[j] < 52 && gsIntBits.data[k] < 52;
        }
        if (onIntegers) {
            const long long* source = gsIntImage.data() + (j - 1) * dimN;
            unsigned long long largest = 0;
            for (long col = 0; col < dimN; ++col) {
                integers[col] -= qi * source[col];
                largest |=
                    static_cast<unsigned long long>(integers[col] < 0 ? -integers[col] : integers[col]);
            }
            gsIntBits.data[k] = static_cast<short>(largest == 0 ? 0 : 64 - __builtin_clzll(largest));
            pending = true;
        } else {
            if (pending) storeIntegerRow(k);
            pending = false;
            subtractMultiple(bk, bj, dimN, q1);
            gsImageState.data[k] = 0;
        }
        if (params.consistency.value) {
            Matrix<R1>& T = TT[TT.dimension()];
            subtractMultiple(T.rowData[k].data, T.rowData[j].data, T.colCount, q1);
        }
        maxQuotient = std::max(maxQuotient, Math::abs(q));
        changed = true;
    }
    if (pending) storeIntegerRow(k);
    return changed;
}

template <class R1, class R2>
bool Lattice<R1, R2>::sizeReduceGenuine(long k, bool careful)
{
    static const R2 EPSILON = Constant<R2>::EPSILON();
    // 2^32: a quotient this large leaves an error in the coefficients of the row that another
    // round must take out.
    static const R2 LARGE_QUOTIENT = R2(4294967296LL);
    static const long MAX_ROUNDS = 64;
    ReductionScope scope(*this);
    // 1. A size-reduced row has nothing to do.
    if ((rowState[k] & SIZE_REDUCED) != 0) return false;
    // 2. The Gram-Schmidt data of the row, with no verdict on dependency yet: before the
    //    reduction the projection is the small difference of large numbers, and in long double
    //    it may be mere rounding noise.
    if ((rowState[k] & GS_CURRENT) == 0) computeGsRow(k);
    bool changed = false;
    bool factorised = false;
    for (;;) {
        // 3. Rounds of reduction, each followed by a recomputation of the row, while a quotient
        //    was large.
        for (long round = 1; k >= 2 && round <= MAX_ROUNDS; ++round) {
            R2 maxQuotient = Constant<R2>::ZERO();
            if (!sizeReducePass(k, careful, maxQuotient)) break;
            changed = true;
            if (factorised) {
                rowState[k] = 0;
                compute_gs_mod(1, k, false);
            } else {
                computeGsRow(k);
            }
            if (maxQuotient < LARGE_QUOTIENT) break;
        }
        // 4. Now the verdict on dependency, from the projection of the reduced row.
        if (gsNorm[k] > EPSILON) break;
        // 5. The recurrence calls the row dependent; the factorisation, numerically safer, decides.
        //    Where it finds the row independent, its data are reduced against once more.
        if (!factorised) {
            rowState[k] = ROW_DEPENDENT;
            if (compute_gs_mod(1, k, false) == 0) {
                factorised = true;
                continue;
            }
        }
        // 6. Dependent: no bit 32, the word stays 1 for the dependency handler.
        if (changed) invalidateRowsFrom(k);
        rowState[k] = ROW_DEPENDENT;
        return changed;
    }
    // 7. Independent and reduced; a changed row invalidates the rows behind it.
    if (!changed) {
        addRowState(k, static_cast<short>(GS_CURRENT | SIZE_REDUCED));
        return false;
    }
    invalidateRowsFrom(k);
    rowState[k] = static_cast<short>(GS_CURRENT | SIZE_REDUCED);
    return true;
}

template <class R1, class R2>
long Lattice<R1, R2>::sizeReduceStep(long k, long n, bool& careful)
{
    // 1. Dependency marks of rows behind the first are kept while this row is worked on.
    rowState.allowPostCommaLoss = k >= 2;
    // 2. The row is offered before and, when changed, after its reduction.
    offerRow(k);
    if (sizeReduceGenuine(k, careful)) offerRow(k);
    // 3. A dependent row moves: forward by deep insertion, or behind the independent rows.
    long h = 0;
    try {
        h = dependencyHandler(k, n);
    } catch (const DependencyException&) {
        return 0;
    }
    if (h == 0) return k;
    // 4. After a blending the reduction goes careful.
    if (h < 0) {
        h = -h;
        careful = true;
    }
    return h > k ? k : -h;
}

template <class R1, class R2>
bool Lattice<R1, R2>::sizeReduce(long k, long n, bool& careful)
{
    ReductionScope scope(*this);
    const long step = sizeReduceStep(k, n, careful);
    if (step == 0) return false;
    if (step > 0) return true;
    // Rows h..k changed places: each is reduced again, up to the first that can't be.
    bool result = true;
    for (long i = -step; i <= k && result; ++i)
        result = sizeReduce(i, n, careful);
    return result;
}

template <class R1, class R2>
long Lattice<R1, R2>::lovasz_reduce(long k)
{
    // Just below one, not the textbook 3/4: a stronger reduction, paid for with more exchanges.
    static const R2 DELTA = Constant<R2>::DELTA();
    // 1. The first row has nothing to be exchanged with.
    if (k < 2) return k + 1;
    // 2. The projection of b_k orthogonally to b_1..b_{k-2}, against DELTA times that of b_{k-1}.
    const R2 left = gsNorm[k] + mu[k][k - 1] * mu[k][k - 1] * gsNorm[k - 1];
    const R2 right = DELTA * gsNorm[k - 1];
    // 3. Condition holds: go on. Otherwise exchange; row k-1 must be looked at again.
    if (left >= right) return k + 1;
    swapVectors(k, k - 1, false);
    return k - 1;
}

template <class R1, class R2>
long Lattice<R1, R2>::deep_reduce(long k)
{
    static const R2 DELTA = Constant<R2>::DELTA();
    static const R2 EPSILON = Constant<R2>::EPSILON();
    ReductionScope scope(*this);
    // 1. The first row has nothing to be exchanged with.
    if (k < 2) return k + 1;
    // 2. c runs through the squared lengths of the projections of b_k orthogonally to
    //    b_1..b_{j-1}, starting from the row itself.
    R2 c = rowProduct(k, k);
    const R2* muk = mu.rowData[k].data;
    long j = 1;
    for (;; ++j) {
        // 3. Position 1 is never a target, and a projection that has nearly vanished isn't moved.
        if (j >= 2 && c > EPSILON && c < DELTA * gsNorm[j]) break;
        if (j == k - 1) return k + 1;
        c -= muk[j] * muk[j] * gsNorm[j];
    }
    // 4. Insert b_k in front of b_j; only the last exchange invalidates.
    ++statistics.d;
    for (long i = k; i >= j + 1; --i)
        swapVectors(i, i - 1, i > j + 1);
    return j;
}

template <class R1, class R2>
long Lattice<R1, R2>::dependencyHandler(long k, long n)
{
    // 1. Only a row marked dependent.
    if (rowState[k] != ROW_DEPENDENT) return 0;
    // 2. A row that isn't zero may still be worth inserting further forward.
    bool zero = true;
    for (long col = 1; col <= dimN && zero; ++col)
        zero = Math::equalsEpsilonZero(B[k][col]);
    if (!zero) {
        const long j = deep_reduce(k);
        if (j < k) return j;
    }
    // 3. Blending: behind the last row of k+1..n that isn't marked dependent.
    for (long i = n; i >= k + 1; --i) {
        if (rowState[i] == ROW_DEPENDENT) continue;
        for (long t = k; t <= i - 1; ++t)
            swapVectors(t, t + 1, t > k);
        return -k;
    }
    throw DependencyException("Blending is not possible");
}

template <class R1, class R2>
void Lattice<R1, R2>::swapVectors(long i, long j, bool keepState)
{
    // 1. Nothing to exchange.
    if (i == j) return;
    // 2. The rows, and those of the transformation under consistency.
    B.swapRows(i, j);
    if (params.consistency.value) TT[TT.dimension()].swapRows(i, j);
    // 3. What travels with a row: its value, its stage, its state word and its images.
    std::swap(rowValues[i], rowValues[j]);
    std::swap(stages[i], stages[j]);
    std::swap(rowState[i], rowState[j]);
    if (rowImagesFit()) {
        if (i >= 1 && j >= 1) {
            std::swap(gsImageState.data[i], gsImageState.data[j]);
            std::swap(gsIntBits.data[i], gsIntBits.data[j]);
            std::swap_ranges(gsIntImage.begin() + (i - 1) * dimN, gsIntImage.begin() + i * dimN,
                             gsIntImage.begin() + (j - 1) * dimN);
            if constexpr (!std::is_same_v<R1, R2>) gsImage.swapRows(i, j);
        } else {
            gsImageState.data[i] = 0;
            gsImageState.data[j] = 0;
        }
    }
    // 4. Invalidate from the first exchanged row, unless the caller keeps the state.
    if (!keepState) invalidateRowsFrom(i == 0 ? j : std::min(i, j));
}

template <class R1, class R2>
void Lattice<R1, R2>::addRowMultiple(long i, long j, const R1& q)
{
    const R1 minusQ = -q;
    checkEntry(minusQ);
    subtractMultiple(B.rowData[i].data, B.rowData[j].data, dimN, minusQ);
    if (params.consistency.value) {
        Matrix<R1>& T = TT[TT.dimension()];
        subtractMultiple(T.rowData[i].data, T.rowData[j].data, T.colCount, minusQ);
    }
    if (rowImagesFit()) gsImageState.data[i] = 0;
    invalidateRowsFrom(i);
}

template <class R1, class R2>
long Lattice<R1, R2>::lll(long k, long m, long n)
{
    ReductionScope scope(*this);
    DependencyMarksGuard guard(rowState);
    // 1. Defaults; blending reaches at least as far as the reduction.
    const long start = k;
    if (m == 0) m = dimB;
    if (n == 0) n = dimB;
    if (n < m) n = m;
    const bool deep = params.deep.value;
    const long btime = params.btime.value;
    const long verb = params.verb.value;
    const std::time_t startTime = std::time(nullptr);
    std::time_t lastReport = startTime;
    bool careful = false;
    long steps = 0;
    long skips = 0;
    // 2. An empty interval costs one step of budget.
    if (m < k) {
        --lllStepBudget;
        return std::min(k, start);
    }
    // 3. The rows before k are the ground the loop stands on: a row whose data went stale (after
    //    scale, say) is recomputed, in ascending order, up to the first dependent one.
    for (long i = 1; i < k && i <= dimB; ++i)
        if ((rowState[i] & (GS_CURRENT | SIZE_REDUCED)) == 0 && !compute_gs_classic(i, i)) break;
    // 4. The loop over the rows.
    for (;;) {
        // 4.1 A row that passed its exchange test is skipped until a change clears the mark.
        if ((rowState[k] & EXCHANGE_TESTED) != 0) {
            const long old = k++;
            if (old >= m) break;
            continue;
        }
        // 4.2 Size reduction; a dependent row moved forward is where the loop goes on.
        const long step = sizeReduceStep(k, n, careful);
        if (step == 0 || runEnded) break;
        if (step < 0) {
            k = -step;
            continue;
        }
        // 4.3 The time bound, and the hourly report.
        if (btime != 0 && std::time(nullptr) - startTime >= btime) break;
        if (verb >= 2) {
            const std::time_t now = std::time(nullptr);
            if (now - lastReport > 3600) {
                std::cout << BEGINL() << " lll interval_tt status: k = " << k << " (m = " << m << ")" << LF();
                lastReport = now;
            }
        }
        // 4.4 Past the budget the call only size-reduces.
        if (steps >= lllStepBudget) {
            ++skips;
            if (++k > m) break;
            continue;
        }
        // 4.5 The exchange test; the row before the next one has passed it.
        k = deep ? deep_reduce(k) : lovasz_reduce(k);
        ++steps;
        ++exchangeTestCount;
        rowState[k - 1] = static_cast<short>(rowState[k - 1] | EXCHANGE_TESTED);
        if (k > m) break;
    }
    // 5. The budget follows the share of untested visits.
    if (steps / 10 < skips)
        lllStepBudget *= 2;
    else if (skips == 0)
        --lllStepBudget;
    // 6. After a break the rows behind it are still size-reduced, as far as they can be.
    if (k <= m)
        for (long i = k; i <= m; ++i)
            if (!sizeReduce(i, n, careful)) break;
    return std::min(k, start);
}

template <class R1, class R2>
void Lattice<R1, R2>::sortEuklid(long m)
{
    if (m == 0) m = dimB;
    // 1. Squared lengths in R1.
    Vector<R1> norms(m);
    for (long i = 1; i <= m; ++i)
        norms[i] = B[i] * B[i];
    auto exchange = [&](long a, long b) {
        swapVectors(a, b, false);
        std::swap(norms[a], norms[b]);
    };
    // 2. Sift down in a heap over 1..end: the larger child, while the parent is smaller.
    auto siftDown = [&](long root, long end) {
        while (2 * root <= end) {
            long child = 2 * root;
            if (child + 1 <= end && norms[child] < norms[child + 1]) ++child;
            if (!(norms[root] < norms[child])) return;
            exchange(root, child);
            root = child;
        }
    };
    // 3. Build the heap, then move its top behind the shrinking heap: ascending order.
    for (long i = m / 2; i >= 1; --i)
        siftDown(i, m);
    for (long end = m; end >= 2; --end) {
        exchange(1, end);
        siftDown(1, end - 1);
    }
}

template <class R1, class R2>
void Lattice<R1, R2>::scale(long i, const R1& s)
{
    // Remove and invalidate, store, re-evaluate the bound pair, apply and invalidate.
    if (!(trimming[i] == s)) {
        removeTranslationAndScalingAndInvalidate();
        trimming[i] = s;
        applyScalingAndTranslationToBnd(i);
        applyScalingAndTranslationAndInvalidate();
        if (i == dimN) scaledInhomogenousConstant = inhomogenousConstant * s;
    }
    for (long x = 0; x <= dimB; ++x)
        rowState[x] = 0;
}

template <class R1, class R2>
bool lllToTheEnd(Lattice<R1, R2>& lattice, long m, long budget, const std::function<bool()>& stop)
{
    const long last = m == 0 ? lattice.dimB : m;
    for (;;) {
        if (lattice.runEnded || (stop && stop())) return false;
        lattice.lllStepBudget = budget;
        const long tests = lattice.exchangeTestCount;
        lattice.lll(1, m, m);
        bool tested = true;
        for (long i = 1; i < last && tested; ++i)
            tested = (lattice.rowState[i] & Lattice<R1, R2>::EXCHANGE_TESTED) != 0;
        if (tested || lattice.exchangeTestCount == tests) return !lattice.runEnded;
    }
}

#define LATOPT_REDUCTION_MEMBERS(R1, R2)                                                                     \
    template void Lattice<R1, R2>::offerRow(long);                                                           \
    template void Lattice<R1, R2>::invalidateRowsFrom(long);                                                 \
    template bool Lattice<R1, R2>::sizeReducePass(long, bool, R2&);                                          \
    template bool Lattice<R1, R2>::sizeReduceGenuine(long, bool);                                            \
    template long Lattice<R1, R2>::sizeReduceStep(long, long, bool&);                                        \
    template bool Lattice<R1, R2>::sizeReduce(long, long, bool&);                                            \
    template long Lattice<R1, R2>::lovasz_reduce(long);                                                      \
    template long Lattice<R1, R2>::deep_reduce(long);                                                        \
    template long Lattice<R1, R2>::dependencyHandler(long, long);                                            \
    template void Lattice<R1, R2>::swapVectors(long, long, bool);                                            \
    template void Lattice<R1, R2>::addRowMultiple(long, long, const R1&);                                    \
    template long Lattice<R1, R2>::lll(long, long, long);                                                    \
    template void Lattice<R1, R2>::sortEuklid(long);                                                         \
    template void Lattice<R1, R2>::scale(long, const R1&);                                                   \
    template bool lllToTheEnd(Lattice<R1, R2>&, long, long, const std::function<bool()>&);
LATOPT_REDUCTION_MEMBERS(long double, long double)
LATOPT_REDUCTION_MEMBERS(long double, QQ)
LATOPT_REDUCTION_MEMBERS(QQ, long double)
LATOPT_REDUCTION_MEMBERS(QQ, QQ)
#undef LATOPT_REDUCTION_MEMBERS

} // namespace latopt
