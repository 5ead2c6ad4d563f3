// driver.h: the search driver, the caller of the engine. It reduces the lattice of a program
// (LLL, then tours of block reduction with enumeration), offers every vector it meets to the
// candidate gate, restarts on a regenerated lattice, and ends on the criteria of the parameters.
#pragma once

#include "lattice/lattice.h"
#include "search/enumeration.h"

#include <chrono>
#include <csignal>
#include <optional>
#include <string>

namespace latopt {

// Why a search ended.
enum class SearchEnd {
    SOLUTIONS,  // the number of solutions asked for (sol) was found
    ITERATIONS, // iters iterations were made
    TIME,       // rtime seconds have passed
    NORMS,      // a solution met snorm or tnorm
    SIGNAL,     // SIGINT or SIGTERM
    EXHAUSTED,  // the whole box was enumerated without pruning: nothing more exists
};

// Set by the handlers of SIGINT and SIGTERM that installSearchSignalHandlers installs: a search
// checks it between steps and ends with its files complete.
extern volatile sig_atomic_t searchSignalled;
void installSearchSignalHandlers();

// The trimming of a search without progress (parameters scale and translate), on top of kept,
// the trimming the last lattice had (a regenerated lattice starts untrimmed; kept of another
// dimension is ignored). With scale: the factors and steps of kept come back, then the factor of
// every column (but the last) in which bestVector lies outside its bounds grows by its step, the
// step doubling each time (1, 2, 4, ...), up to the lattice's scaleLimit. With translate: every
// column with finite bounds (but the last) is shifted so that the box is centred on 0. B stays
// the same lattice, trimmed anew. True when the trimming changed; kept becomes the new trimming.
template <class R1, class R2>
bool trimTowardsFeasibility(Lattice<R1, R2>& lattice, Trimming<R1>& kept);

template <class R1, class R2>
class SearchDriver {
public:
    explicit SearchDriver(Lattice<R1, R2>& lattice);
    // Iterates on the embedded lattice until an end criterion holds, restarting after every
    // regeneration; the files are written completely when it returns.
    SearchEnd run();

private:
    Lattice<R1, R2>& lattice;
    std::chrono::steady_clock::time_point start; // the start of run(), for rtime
    long variations = 0;                         // variations of the basis made (vary)
    // The pruning of the tours and of the enumeration of the box: eprune at first, one step less
    // after each enumeration of the box that found nothing and was cut by its pruning, down to
    // none, whose enumeration of the box completes.
    long pruning = 0;
    Trimming<R1> keptTrimming; // the trimming of the last lattice (trimTowardsFeasibility)
    // The block size of the tours: beta at first, two more after each iteration without progress,
    // up to beta + 10 (progressive block reduction: stronger tours where the weaker ones stalled).
    long blockSize = 0;
    // One iteration: LLL to its end, then tours of block reduction; true when it made progress
    // (a new best target, solution or best vector).
    bool iterate();
    // Pairwise recombination (pair): sums and differences of the best vectors of the collection
    // sets, pairLimit of each, offered to the gate.
    void recombine();
    // An end criterion holds, or the run has ended: checked between steps.
    bool shouldStop() const;
    // The criterion that ends the run now, if any.
    std::optional<SearchEnd> endReason() const;
    // snorm or tnorm was set and a solution (which the gate accepts only within them) was found.
    bool normsMet() const;
    // The squared radius of the ball through the farthest corner of the box of the program's
    // bounds in B's coordinates; none when the box is unbounded or trimmed with a target column.
    std::optional<R2> boxRadius2() const;
    // The enumeration of the ball around the box (eenum), pruned as pruning says, less after
    // each cut one (see driver.cpp); true when it was complete, which only an unpruned one can
    // be: no point of the box was left unvisited. iterationSeconds: the cost of the iteration
    // before it, against which a cut search is weighed.
    bool exhaustBox(double iterationSeconds);
    // After an iteration without progress, on the regenerated lattice: the trimming moved towards
    // feasibility (scale, translate), the best vectors inserted (reinsert), then the rows sorted
    // by length or shuffled (seeded), alternately, when variate is set.
    void vary();
    // The line of an iteration at verb 1: its number, the solutions, the norms of the best target,
    // the deviations of the best vector (count, sum), the block size, the pruning, the time.
    void printProgress() const;
    // Ends the run with its files written (restartOrTerminate(true) unless it has ended) and
    // returns end.
    SearchEnd finish(SearchEnd end);
};

} // namespace latopt
