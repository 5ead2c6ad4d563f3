// driver.h: the search driver, the caller of the engine. It reduces the lattice of a program
// (LLL, then tours of block reduction with enumeration), offers every vector it meets to the
// candidate gate, restarts on a regenerated lattice, and ends on the criteria of the parameters.
#pragma once

#include "lattice/lattice.h"
#include "search/enumeration.h"

#include <csignal>
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

template <class R1, class R2>
class SearchDriver {
public:
    explicit SearchDriver(Lattice<R1, R2>& lattice);
    // Iterates on the embedded lattice until an end criterion holds, restarting after every
    // regeneration; the files are written completely when it returns.
    SearchEnd run();

private:
    Lattice<R1, R2>& lattice;
    // One iteration: LLL to its end, then tours of block reduction; true when it made progress.
    bool iterate();
    bool shouldStop() const;
};

} // namespace latopt
