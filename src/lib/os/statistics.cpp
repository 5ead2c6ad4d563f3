// statistics.cpp: the run statistics.
#include "os/statistics.h"

#include <ctime>

namespace latopt {

Statistics::Statistics() : startTime(static_cast<long>(std::time(nullptr))), startTimeCopy(startTime)
{
}

long Statistics::elapsedSeconds()
{
    const long seconds = static_cast<long>(std::time(nullptr)) - startTime;
    runTime = seconds;
    return seconds;
}

void Statistics::adaptPrimaryImprovement()
{
    // No progress counted at all: nothing to judge.
    if (a == 0) return;
    // 1.-3. The last of a, b, c above zero (for c: with d0 at 0) stands where it stood at the
    // last restart.
    if ((a > 0 && b == 0 && a == a0) || (b > 0 && c == 0 && b == b0) || (c > 0 && d0 == 0 && c == c0)) {
        ++primaryImprovement;
        return;
    }
    // 4. Without heuristic steps, or with new deep insertions, the count starts again.
    if (heuristicSteps < 1 || d != d0) {
        primaryImprovement = 0;
        return;
    }
    // 5. Otherwise one more restart without progress.
    ++primaryImprovement;
}

} // namespace latopt
