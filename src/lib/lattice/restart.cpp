// restart.cpp: the end of a pass of a search. restartOrTerminate writes out what was found and
// then either rebuilds the lattice from the unprepared program, whose bounds the found vectors
// have tightened, and unwinds to the search loop with RestartException, or ends the run.
// regenerate is the rebuilding; the found vectors cross it in program variables (backup.cpp).
// See lattice.h.
#include "arith/qq.h"
#include "base/exceptions.h"
#include "base/log.h"
#include "lattice/lattice.h"

#include <csignal>
#include <iostream>

namespace latopt {
namespace {

// Remembers whether a program's solutions are to be written and their figures printed, and puts
// both flags back when the scope ends, however it ends.
template <class R1>
class PersistingPaused {
public:
    explicit PersistingPaused(Vorm<R1>& program)
        : program(program), solutionWrite(program.pendingSolutionWrite),
          solutionStats(program.pendingSolutionStats)
    {
    }
    PersistingPaused(const PersistingPaused&) = delete;
    PersistingPaused& operator=(const PersistingPaused&) = delete;
    ~PersistingPaused()
    {
        program.pendingSolutionWrite = solutionWrite;
        program.pendingSolutionStats = solutionStats;
    }

private:
    Vorm<R1>& program;
    bool solutionWrite;
    bool solutionStats;
};

} // namespace

template <class R1, class R2>
void Lattice<R1, R2>::restartOrTerminate(bool terminate)
{
    const bool verbose = params.verb.value == 2;
    // 1. A level of the log tree for what follows.
    if (verbose)
        std::cout << BEGINL() << " "
                  << "Restart / termination handling ..." << LF();
    // 2. What was found is persisted, with a checkpoint of the transformation stack.
    if (this->pendingSolutionWrite) {
        writeSolFile(false);
        checkFixByTransformation(false, false);
    }
    // 3. The figures of the search, when asked for: at the end of a run, or at every restart in
    //    the verbose log.
    if (this->pendingSolutionStats && (verbose || terminate)) std::cout << solutionStats() << LF();
    // 4. A restart, unless the run has made its last iteration: a new lattice, and the search
    //    loop starts over on it.
    if (!terminate && statistics.iterations != params.iters.value) {
        regenerate();
        statistics.adaptPrimaryImprovement();
        if (this->pendingSolutionWrite) persistConsistent();
        if (verbose) std::cout << ENDL(true);
        throw RestartException("Lattice was regenerated");
    }
    // 5.-6. The run ends. The log level is closed first, so that the output is complete even
    //    when SIGTERM takes its default action. A standalone run sends SIGTERM to its own process
    //    (the driver's handler decides what happens then); a hosted run tells its host instead.
    if (verbose) std::cout << ENDL(true);
    runEnded = true;
    if (!params.hostedRun.value) {
        std::raise(SIGTERM);
        return;
    }
    vars.set(MMV_RUN_STATE, "stopped");
}

template <class R1, class R2>
void Lattice<R1, R2>::regenerate()
{
    const bool verbose = params.verb.value == 2;
    // 1.
    if (verbose)
        std::cout << BEGINL() << " "
                  << "Regenerating lattice ..." << LF();
    // 2. The found vectors as the program's x, which means the same in any lattice of the program.
    Array<Star<R1>> stars;
    Array<TimeVector<R1>> vectors;
    CollectionSet homogenous;
    CollectionSet inhomogenous;
    backupAndResetBestSieveVectors(BACKUP_PROGRAM, stars, vectors, homogenous, inhomogenous, 0);
    // 3.-4. The prepared program anew from the unprepared one, with the bounds the search has
    //    learnt. Nothing is written while the lattice is rebuilt and the found vectors come back:
    //    the flags of persisting are off until then (the copy of unprepared brings its own).
    {
        const PersistingPaused<R1> paused(*this);
        prepareVormByUnprepared(false, false);
        this->pendingSolutionWrite = false;
        this->pendingSolutionStats = false;
        // 5. The new lattice.
        opt2lat();
        // 6. The found vectors that still hold in it come back, through the candidate gate.
        restoreBestSieveBackups(stars, vectors, homogenous, inhomogenous, BACKUP_PROGRAM);
        // 7. Persisting as before, also when the gate unwinds from here.
    }
    // 8. The snapshot of the new lattice.
    writeLatFile();
}

#define LATOPT_RESTART_MEMBERS(R1, R2)                                                                       \
    template void Lattice<R1, R2>::restartOrTerminate(bool);                                                 \
    template void Lattice<R1, R2>::regenerate();
LATOPT_RESTART_MEMBERS(long double, long double)
LATOPT_RESTART_MEMBERS(long double, QQ)
LATOPT_RESTART_MEMBERS(QQ, long double)
LATOPT_RESTART_MEMBERS(QQ, QQ)
#undef LATOPT_RESTART_MEMBERS

} // namespace latopt
