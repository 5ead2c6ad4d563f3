// driver.cpp: the search driver. An iteration reduces the lattice with LLL until every row has
// passed its exchange test, then (with eenum) runs tours of block reduction until a tour replaces
// nothing; the reduction and the enumeration offer what they meet to the candidate gate, which
// writes solutions and restarts the search on a regenerated lattice when a bound moves. An
// iteration that finds nothing new restarts through restartOrTerminate(false), after an
// enumeration of the whole box when the enumeration is unpruned (eprune 0), which proves that
// nothing more exists when it completes. See driver.h.
#include "search/driver.h"
#include "search/row_operations.h"
#include "search/sampling.h"

#include "arith/precision.h"
#include "base/exceptions.h"
#include "base/log.h"
#include "lattice/lll_to_the_end.h"
#include "os/generator.h"

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <vector>

namespace latopt {

volatile sig_atomic_t searchSignalled = 0;

namespace {

extern "C" void noteSearchSignal(int)
{
    searchSignalled = 1;
}

// What the gate has found so far: the counters of new best targets (a), solutions (b) and the
// first vector near feasibility (c), the number of solutions and the best vector. An iteration
// after which all of them stand as before made no progress.
template <class R1, class R2>
struct FoundMarks {
    long a, b, c, solutions;
    Vector<R1> best;

    explicit FoundMarks(const Lattice<R1, R2>& lattice)
        : a(Lattice<R1, R2>::statistics.a), b(Lattice<R1, R2>::statistics.b),
          c(Lattice<R1, R2>::statistics.c), solutions(lattice.solutions.dimension()), best(lattice.bestVector)
    {
    }
    bool operator==(const FoundMarks& other) const
    {
        return a == other.a && b == other.b && c == other.c && solutions == other.solutions &&
               best.dimension() == other.best.dimension() && (best.dimension() == 0 || best == other.best);
    }
};

// The seconds since start, to the millisecond.
double secondsSince(std::chrono::steady_clock::time_point start)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

} // namespace

void installSearchSignalHandlers()
{
    struct sigaction action = {};
    action.sa_handler = noteSearchSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

namespace {

// The factors and steps of kept back on the lattice, each column but the last.
template <class R1, class R2>
void restoreScaling(Lattice<R1, R2>& lattice, const Trimming<R1>& kept)
{
    if (kept.dimension() != lattice.dimN) return;
    for (long i = 1; i < lattice.dimN; ++i) {
        lattice.scale(i, kept[i]);
        lattice.trimming.scaleStep[i] = kept.scaleStep[i];
        lattice.trimming.scaleStepCount[i] = kept.scaleStepCount[i];
    }
}

// One step more on the factor of each column in which bestVector deviates from its bounds.
template <class R1, class R2>
bool scaleDeviatingColumns(Lattice<R1, R2>& lattice)
{
    if (lattice.bestVector.dimension() != lattice.dimN) return false;
    Trimming<R1>& trimming = lattice.trimming;
    bool changed = false;
    const auto deviations = lattice.computeDeviations(lattice.bestVector, true, false);
    for (long k = 1; k <= deviations.dimension(); ++k) {
        const long i = deviations[k].left;
        if (i >= lattice.dimN) continue;
        const R1 step =
            trimming.scaleStep[i] == Constant<R1>::ZERO() ? R1(1L) : trimming.scaleStep[i] * R1(2L);
        R1 factor = trimming[i] + step;
        if (Trimming<R1>::scaleLimit < factor) factor = Trimming<R1>::scaleLimit;
        if (!(trimming[i] < factor)) continue;
        lattice.scale(i, factor);
        trimming.scaleStep[i] = step;
        ++trimming.scaleStepCount[i];
        changed = true;
    }
    return changed;
}

// The translation that centres every finite box column on 0.
template <class R1, class R2>
bool centreTheBox(Lattice<R1, R2>& lattice)
{
    Vector<R1> translation = lattice.trimming.translation;
    for (long i = 1; i < lattice.dimN; ++i) {
        const R1 inf = Constant<R1>::INF();
        if (lattice.l[i] == -inf || lattice.r[i] == inf) continue;
        translation[i] = -(lattice.l[i] + lattice.r[i]) * lattice.trimming[i] / R1(2L);
    }
    if (translation == lattice.trimming.translation) return false;
    lattice.removeTranslationAndScalingAndInvalidate();
    lattice.trimming.translation = translation;
    for (long i = 1; i <= lattice.dimN; ++i)
        lattice.applyScalingAndTranslationToBnd(i);
    lattice.applyScalingAndTranslationAndInvalidate();
    return true;
}

} // namespace

template <class R1, class R2>
bool trimTowardsFeasibility(Lattice<R1, R2>& lattice, Trimming<R1>& kept)
{
    bool changed = false;
    if (lattice.params.scale.value) {
        restoreScaling(lattice, kept);
        changed = scaleDeviatingColumns(lattice);
    }
    if (lattice.params.translate.value) changed = centreTheBox(lattice) || changed;
    kept = lattice.trimming;
    return changed;
}

template <class R1, class R2>
SearchDriver<R1, R2>::SearchDriver(Lattice<R1, R2>& lattice) : lattice(lattice)
{
}

template <class R1, class R2>
bool SearchDriver<R1, R2>::shouldStop() const
{
    if (lattice.runEnded || searchSignalled != 0) return true;
    const long seconds = lattice.params.rtime.value.get();
    return seconds > 0 && secondsSince(start) >= static_cast<double>(seconds);
}

template <class R1, class R2>
bool SearchDriver<R1, R2>::normsMet() const
{
    // The gate accepts as a solution only what meets snorm and tnorm; the run ends on them only
    // when one of them was asked for (their defaults hold for programs without targets, where
    // every point of the box is a solution and sol counts them).
    const bool asked = lattice.params.snorm.sval.get() != lattice.params.snorm.defaultValue ||
                       lattice.params.tnorm.sval.get() != lattice.params.tnorm.defaultValue;
    return asked && lattice.solutions.dimension() > 0;
}

template <class R1, class R2>
bool SearchDriver<R1, R2>::iterate()
{
    const FoundMarks<R1, R2> before(lattice);
    // 1. LLL until every row has passed its exchange test, in calls of a bounded number of tests
    //    so that an end criterion is seen between two of them. A call that makes no test has
    //    reached dependent rows, which the reduction leaves at the end.
    const StopRequest stop = [this] { return shouldStop(); };
    if (!lllToTheEnd(lattice, 0, 1000, stop)) return true;
    // 2. Tours of block reduction until one replaces no row.
    if (lattice.params.eenum.value) {
        while (bkzTour(lattice, stop, blockSize, pruning))
            if (shouldStop()) return true;
    }
    // 3. Sums and differences of the vectors the gate collected, random samples of short
    //    vectors, the collection sets sieved.
    if (lattice.params.pair.value) recombine();
    if (lattice.params.sample.value && !shouldStop())
        sampleVectors(lattice, static_cast<long>(lattice.params.sampleLimit.value), stop);
    if (lattice.params.sieve.value && !shouldStop()) sieveCollections(lattice, stop);
    return !(FoundMarks<R1, R2>(lattice) == before);
}

template <class R1, class R2>
void SearchDriver<R1, R2>::recombine()
{
    // 1. Copies of the best pairLimit of each collection set.
    const long limit = static_cast<long>(lattice.params.pairLimit.value);
    const std::vector<HeuristicVector<R1, R2>> inhomogenous =
        rows::bestFirst<R1, R2>(lattice.bestVectors, limit);
    const std::vector<HeuristicVector<R1, R2>> homogenous =
        rows::bestFirst<R1, R2>(lattice.goodVectors, limit);
    // 2. u + w and u - w for u near feasibility and w homogenous (u moves within its coset), then
    //    w1 + w2 and w1 - w2: each offered to the gate as an untrimmed vector.
    auto offer = [this](const Vector<R1>& first, const Vector<R1>& second) {
        lattice.checkSolution(first + second, false, 0, false);
        if (shouldStop()) return false;
        lattice.checkSolution(first - second, false, 0, false);
        return !shouldStop();
    };
    for (const auto& u : inhomogenous)
        for (const auto& w : homogenous)
            if (!offer(u, w)) return;
    for (size_t i = 0; i < homogenous.size(); ++i)
        for (size_t j = i + 1; j < homogenous.size(); ++j)
            if (!offer(homogenous[i], homogenous[j])) return;
}

template <class R1, class R2>
std::optional<R2> SearchDriver<R1, R2>::boxRadius2() const
{
    // Every point the program admits lies in the box lTrimmed..rTrimmed of B's coordinates, so
    // within the ball through its farthest corner, sum_i max(lTrimmed_i^2, rTrimmed_i^2). An
    // infinite bound leaves the box unbounded.
    // The target sum's column is the exception: its bounds are 0 (the lattice pulls towards the
    // middle of [ltu, rtu]), while a point whose target sum lies in [ltu, rtu], as every
    // improvement does, has a value in [-R, R] there; untrimmed, so only without trimming.
    const Params& params = lattice.params;
    if (lattice.targetColumn && (params.scale.value || params.translate.value)) return std::nullopt;
    R2 radius2 = Constant<R2>::ZERO();
    for (long i = 1; i <= lattice.dimN; ++i) {
        if (i == 1 && lattice.targetColumn) {
            R2 bound;
            Precision::conv(lattice.R, bound, false);
            radius2 += bound * bound;
            continue;
        }
        R1 lower = lattice.lTrimmed[i] * lattice.lTrimmed[i];
        const R1 upper = lattice.rTrimmed[i] * lattice.rTrimmed[i];
        if (lower < upper) lower = upper;
        if (lower == Constant<R1>::INF()) return std::nullopt;
        R2 term;
        Precision::conv(lower, term, false);
        radius2 += term;
    }
    return radius2;
}

template <class R1, class R2>
bool SearchDriver<R1, R2>::exhaustBox(double iterationSeconds)
{
    if (!lattice.params.eenum.value) return false;
    const std::optional<R2> radius2 = boxRadius2();
    if (!radius2) return false;
    const StopRequest stop = [this] { return shouldStop(); };
    for (;;) {
        const auto begin = std::chrono::steady_clock::now();
        const EnumerationResult<R1, R2> result = enumerateBall(lattice, *radius2, stop, pruning);
        const double seconds = secondsSince(begin);
        if (lattice.params.verb.value >= 2)
            std::cout << BEGINL() << " Box enumerated with pruning " << pruning << ": " << result.leaves
                      << " vectors, " << (result.complete ? "complete" : "incomplete") << ", " << seconds
                      << " s" << ENDL(false);
        if (shouldStop()) return false;
        if (result.complete || pruning == 0) return result.complete;
        // Cut by its pruning and nothing new found: the searches prune less from now on, so that
        // a run that finds nothing ends with the proof instead of repeating cut searches until
        // its time is up. The next enumeration of the box follows at once on this basis while a
        // cut one costs less than an iteration, and on the next basis otherwise (several cheap
        // tries on varied bases); the unpruned one always on the next, after tours without
        // pruning, which find a short solution much sooner than the whole box does.
        --pruning;
        if (pruning == 0 || seconds >= iterationSeconds) return false;
    }
}

template <class R1, class R2>
void SearchDriver<R1, R2>::vary()
{
    trimTowardsFeasibility(lattice, keptTrimming);
    // Alternately the rows sorted by length and a seeded shuffle, so that the reduction of the
    // regenerated lattice does not retrace the last one; then the best vectors in front.
    if (lattice.params.variate.value && lattice.dimB >= 2) {
        if (++variations % 2 == 1) {
            lattice.sortEuklid(lattice.dimB);
        } else {
            for (long i = lattice.dimB; i >= 2; --i)
                lattice.swapVectors(i, 1 + std::rand() % i, false);
        }
    }
    if (lattice.params.reinsert.value) reinsertBestVectors(lattice, [this] { return shouldStop(); });
    blockSize = std::min(blockSize + 2, lattice.params.beta.value + 10);
}

template <class R1, class R2>
void SearchDriver<R1, R2>::printProgress() const
{
    std::cout << BEGINL() << " Iteration " << Lattice<R1, R2>::statistics.iterations << ", "
              << lattice.solutions.dimension() << " solution(s)";
    if (lattice.bestTarget.dimension() > 0)
        std::cout << ", best target norm " << lattice.bestTarget.targetNorm << ", slack norm "
                  << lattice.bestTarget.slackNorm;
    if (lattice.bestVector.dimension() > 0)
        std::cout << ", best vector deviating in " << lattice.bestVector.deviation.deviationCount
                  << " coordinate(s) by " << lattice.bestVector.deviation.sumDeviation;
    std::cout << ", block size " << blockSize << ", pruning " << pruning << ", " << secondsSince(start)
              << " s" << ENDL(false);
}

template <class R1, class R2>
SearchEnd SearchDriver<R1, R2>::finish(SearchEnd end)
{
    // The run ends with its files complete: unless the engine ended it already (and wrote them),
    // restartOrTerminate(true) writes them now. A standalone run ends with a SIGTERM to itself,
    // which the handlers turn into the flag.
    if (!lattice.runEnded) lattice.restartOrTerminate(true);
    return end;
}

template <class R1, class R2>
std::optional<SearchEnd> SearchDriver<R1, R2>::endReason() const
{
    // The engine ended the run: the solutions asked for, or the last iteration (iters).
    if (lattice.runEnded) {
        const long wanted = lattice.params.sol.value;
        if (wanted >= 1 && lattice.solutions.dimension() >= wanted) return SearchEnd::SOLUTIONS;
        if (normsMet()) return SearchEnd::NORMS;
        return SearchEnd::ITERATIONS;
    }
    if (searchSignalled != 0) return SearchEnd::SIGNAL;
    if (normsMet()) return SearchEnd::NORMS;
    // The engine ends at iters only in a restart after an iteration without progress; one that
    // made progress must not take the run past the limit.
    const long iters = lattice.params.iters.value;
    if (iters >= 0 && Lattice<R1, R2>::statistics.iterations >= iters) return SearchEnd::ITERATIONS;
    const long seconds = lattice.params.rtime.value.get();
    if (seconds > 0 && secondsSince(start) >= static_cast<double>(seconds)) return SearchEnd::TIME;
    return std::nullopt;
}

template <class R1, class R2>
SearchEnd SearchDriver<R1, R2>::run()
{
    start = std::chrono::steady_clock::now();
    pruning = lattice.params.eprune.value;
    blockSize = lattice.params.beta.value;
    Generator::initializeSeed(1);
    bool varyNext = false;
    // A restart unwinds through levels of the log tree that it opened: each iteration starts at
    // the level of the run.
    const unsigned long depth = THREAD_DEPTH;
    for (;;) {
        THREAD_DEPTH = depth;
        try {
            if (varyNext) vary();
            varyNext = false;
            std::optional<SearchEnd> end = endReason();
            if (end) return finish(*end);
            ++Lattice<R1, R2>::statistics.iterations;
            if (lattice.params.verb.value >= 1) printProgress();
            const auto iterationStart = std::chrono::steady_clock::now();
            const bool progress = iterate();
            end = endReason();
            if (end) return finish(*end);
            if (progress) continue;
            // Nothing new: the ball around the box is searched; completed (without pruning), it is
            // a proof that nothing (better) exists.
            if (exhaustBox(secondsSince(iterationStart))) return finish(SearchEnd::EXHAUSTED);
            end = endReason();
            if (end) return finish(*end);
            varyNext = true;
            lattice.restartOrTerminate(false);
            // Not restarted: the last iteration (iters) was made, and the run has ended.
        } catch (const RestartException&) {
            // A regenerated lattice (an improvement, or a restart after no progress): go on.
        }
    }
}

#define LATOPT_DRIVER_MEMBERS(R1, R2)                                                                        \
    template class SearchDriver<R1, R2>;                                                                     \
    template bool trimTowardsFeasibility(Lattice<R1, R2>&, Trimming<R1>&);
LATOPT_DRIVER_MEMBERS(long double, long double)
LATOPT_DRIVER_MEMBERS(QQ, QQ)
#undef LATOPT_DRIVER_MEMBERS

} // namespace latopt
