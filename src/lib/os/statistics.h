// statistics.h: Statistics, the counters of a search run and its clock.
// One object for each lattice type (the static member Lattice::statistics); the search and the
// reduction count into it, the restart logic reads it. Not locked, except the run time, which a
// host reads from another thread through runTime.
#pragma once

#include "os/mutex.h"

namespace latopt {

class Statistics {
public:
    long iterations = 0;
    bool restoring = false; // true while found vectors are being restored into a new lattice
    // Progress counters of the search, from the most important one down.
    long a = 0;
    long b = 0;
    long c = 0;
    long primaryImprovement = 0; // restarts in a row without primary progress
    // a, b, c and d as they stood at the last restart; the search driver records them.
    long a0 = 0;
    long b0 = 0;
    long c0 = 0;
    long d0 = 0;
    long d = 0;              // deep insertions of the reduction
    long heuristicSteps = 0; // heuristic steps of the search
    long startTime;          // seconds of the clock at construction
    long startTimeCopy;      // a second copy of startTime, set with it
    MutexType<long> runTime; // seconds since startTime, as last published by elapsedSeconds()

    Statistics();

    // The seconds since startTime; also published in runTime for a host.
    long elapsedSeconds();

    // After a restart: counts the restarts in a row without primary progress in
    // primaryImprovement, judged against the values of the last restart (a0, b0, c0, d0).
    void adaptPrimaryImprovement();
};

} // namespace latopt
