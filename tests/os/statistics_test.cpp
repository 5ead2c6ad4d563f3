#include "os/statistics.h"

#include <gtest/gtest.h>

#include <ctime>
#include <string>

namespace latopt {
namespace {

struct ImprovementCase {
    const char* rule;
    long a, b, c, d;
    long a0, b0, c0, d0;
    long heuristicSteps;
    long before, after;
};

// Each rule once where it decides, and once where its condition just fails and a later rule
// decides; "before" is 3 throughout, so that +1 and the reset to 0 are told apart.
const ImprovementCase CASES[] = {
    {"no progress counted: nothing happens", 0, 5, 5, 1, 0, 5, 5, 0, 0, 3, 3},
    {"1: a alone, unchanged", 4, 0, 0, 0, 4, 0, 0, 0, 0, 3, 4},
    {"1 fails: a changed; no steps", 4, 0, 0, 0, 3, 0, 0, 0, 0, 3, 0},
    {"2: b last moved, unchanged", 4, 2, 0, 0, 1, 2, 0, 0, 0, 3, 4},
    {"2 fails: b changed; no steps", 4, 2, 0, 0, 4, 1, 0, 0, 0, 3, 0},
    {"3: c last moved, unchanged, d0 zero", 4, 2, 5, 0, 1, 1, 5, 0, 0, 3, 4},
    {"3 fails: d0 not zero; d moved", 4, 2, 5, 2, 4, 2, 5, 1, 7, 3, 0},
    {"4: no heuristic steps", 4, 2, 5, 1, 1, 1, 1, 1, 0, 3, 0},
    {"4: deep insertions since the restart", 4, 2, 5, 2, 1, 1, 1, 1, 9, 3, 0},
    {"5: steps and no new deep insertions", 4, 2, 5, 1, 1, 1, 1, 1, 9, 3, 4},
    {"5: c moved but d0 not zero", 4, 2, 5, 1, 4, 2, 5, 1, 1, 3, 4},
};

TEST(StatisticsRestart, PrimaryImprovementFollowsItsFiveRules)
{
    for (const ImprovementCase& test : CASES) {
        SCOPED_TRACE(test.rule);
        Statistics statistics;
        statistics.a = test.a;
        statistics.b = test.b;
        statistics.c = test.c;
        statistics.d = test.d;
        statistics.a0 = test.a0;
        statistics.b0 = test.b0;
        statistics.c0 = test.c0;
        statistics.d0 = test.d0;
        statistics.heuristicSteps = test.heuristicSteps;
        statistics.primaryImprovement = test.before;
        statistics.adaptPrimaryImprovement();
        EXPECT_EQ(statistics.primaryImprovement, test.after);
    }
}

TEST(StatisticsClock, StartsNowAndPublishesTheRunTime)
{
    const long before = static_cast<long>(std::time(nullptr));
    Statistics statistics;
    const long after = static_cast<long>(std::time(nullptr));
    EXPECT_GE(statistics.startTime, before);
    EXPECT_LE(statistics.startTime, after);
    EXPECT_EQ(statistics.startTimeCopy, statistics.startTime);
    EXPECT_FALSE(statistics.restoring);
    statistics.startTime -= 100;
    const long seconds = statistics.elapsedSeconds();
    EXPECT_GE(seconds, 100);
    EXPECT_EQ(statistics.runTime.get(), seconds);
}

} // namespace
} // namespace latopt
