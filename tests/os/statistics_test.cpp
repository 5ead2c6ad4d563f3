#include "os/statistics.h"

#include <gtest/gtest.h>

#include <ctime>

namespace latopt {
namespace {

// Each rule once where it decides, and once where its condition just fails and a later rule
// decides; the value before is 3 throughout, so that +1 and the reset to 0 are told apart.
TEST(StatisticsRestart, PrimaryImprovementFollowsItsFiveRules)
{
    const struct {
        const char* rule;
        long a, b, c, d, a0, b0, c0, d0, heuristicSteps, after;
    } cases[] = {
        {"no progress counted: nothing happens", 0, 5, 5, 1, 0, 5, 5, 0, 0, 3},
        {"1: a alone, unchanged", 4, 0, 0, 0, 4, 0, 0, 0, 0, 4},
        {"1 fails: a changed; no steps", 4, 0, 0, 0, 3, 0, 0, 0, 0, 0},
        {"2: b last moved, unchanged", 4, 2, 0, 0, 1, 2, 0, 0, 0, 4},
        {"2 fails: b changed; no steps", 4, 2, 0, 0, 4, 1, 0, 0, 0, 0},
        {"3: c last moved, unchanged, d0 zero", 4, 2, 5, 0, 1, 1, 5, 0, 0, 4},
        {"3 fails: d0 not zero; d moved", 4, 2, 5, 2, 4, 2, 5, 1, 7, 0},
        {"4: no heuristic steps", 4, 2, 5, 1, 1, 1, 1, 1, 0, 0},
        {"4: deep insertions since the restart", 4, 2, 5, 2, 1, 1, 1, 1, 9, 0},
        {"5: steps and no new deep insertions", 4, 2, 5, 1, 1, 1, 1, 1, 9, 4},
        {"5: c moved but d0 not zero", 4, 2, 5, 1, 4, 2, 5, 1, 1, 4},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.rule);
        Statistics s;
        s.a = test.a, s.b = test.b, s.c = test.c, s.d = test.d;
        s.a0 = test.a0, s.b0 = test.b0, s.c0 = test.c0, s.d0 = test.d0;
        s.heuristicSteps = test.heuristicSteps;
        s.primaryImprovement = 3;
        s.adaptPrimaryImprovement();
        EXPECT_EQ(s.primaryImprovement, test.after);
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
    statistics.startTime -= 100;
    const long seconds = statistics.elapsedSeconds();
    EXPECT_GE(seconds, 100);
    EXPECT_EQ(statistics.runTime.get(), seconds);
}

} // namespace
} // namespace latopt
