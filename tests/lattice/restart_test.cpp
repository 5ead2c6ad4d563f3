#include "arith/constant.h"
#include "base/exceptions.h"
#include "found_vectors.h"
#include "lattice/lattice.h"
#include "lattice/lll_to_the_end.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <utility>
#include <vector>

namespace latopt {
namespace {

using L = Lattice<QQ, QQ>;
const std::vector<test::Point> POINTS{{1, 1, 0}, {3, 3, 3}, {2, 0, 1}, {0, 2, 1}, {1, 1, 0}};

// A restart regenerates the lattice from the unprepared program, here with x1 <= 1 learnt: the
// solutions that still hold come back with their times, the others go; then it unwinds. A hosted
// run ends with "stopped" in variable 2, and so does a restart at the iteration limit, which leaves
// the lattice as it is. The .sol and .lat files are written only while a write is pending.
TEST(Restart, RegeneratesAndThrowsOrEndsAHostedRun)
{
    const long iterations = L::statistics.iterations;
    auto lattice = test::embeddedSmallProgram<L>();
    std::string pattern = ::testing::TempDir() + "latopt_restart_XXXXXX";
    ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
    const std::filesystem::path directory(pattern);
    lattice->setFileNames((directory / "p.opt").string());
    lattice->params.hostedRun = true;
    test::offerAll(*lattice, POINTS);
    lattice->unprepared.rx[1] = QQ(1L);
    for (const bool pending : {false, true}) {
        lattice->pendingSolutionWrite = pending;
        try {
            lattice->restartOrTerminate(false);
            ADD_FAILURE() << "no restart";
        } catch (const RestartException& exception) {
            EXPECT_STREQ(exception.what(), "Lattice was regenerated");
        }
        EXPECT_EQ(test::solutionPoints(*lattice), test::expectedPoints(POINTS, [](const test::Point& x) {
                      return test::feasible(x) && x[0] <= 1;
                  }));
        EXPECT_EQ(lattice->checkSolution(test::latticeVector(*lattice, {2, 0, 0}), false, 0, false), 0);
        lattice->restartOrTerminate(true);
        EXPECT_EQ(lattice->vars.get(MMV_RUN_STATE), "stopped");
        EXPECT_EQ(std::filesystem::exists(directory / "p.sol"), pending);
        EXPECT_EQ(std::filesystem::exists(directory / "p.lat"), pending);
    }
    lattice->vars.set(MMV_RUN_STATE, "");
    lattice->params.iters = 7L;
    L::statistics.iterations = 7;
    lattice->unprepared.rx[3] = QQ(2L);
    const Matrix<QQ> before = lattice->B;
    lattice->restartOrTerminate(false);
    L::statistics.iterations = iterations;
    EXPECT_EQ(lattice->vars.get(MMV_RUN_STATE), "stopped");
    EXPECT_TRUE(lattice->B == before);
    std::filesystem::remove_all(directory);
}

// With the equation x1 + x2 = 2 and the target x3 to be minimised, every lattice of the run passes
// the equation stage. A first point of target 0 improves the target and restarts; an equal one
// joins it. Both come back from a restart, proved again (restoring: not counted again, and no
// restart from the restore), and so does the best target; with x1 <= 1 learnt, the second goes.
// Beside them a lattice may bring the vector that proved its equations solvable.
TEST(Restart, FoundVectorsCrossTheEquationStage)
{
    auto lattice = test::embeddedSmallProgram<L>("[ -inf ] [ [ 0 0 1 ] ]", "[ [ 1 1 0 ] ] [ 2 ]");
    lattice->params.hostedRun = true;
    lattice->params.snorm = -Constant<QQ>::INF(); // the target norm alone makes a solution
    lattice->params.tnorm = QQ(10L);
    lattice->solutions.setDimension(0, false); // nothing found yet
    lattice->bestTarget = TargetVector<QQ>();
    const long improvements = L::statistics.a, finds = L::statistics.b;
    EXPECT_THROW(lattice->checkSolution(test::latticeVector(*lattice, {1, 1, 0}), false, 1, false),
                 RestartException);
    EXPECT_NE(lattice->checkSolution(test::latticeVector(*lattice, {2, 0, 0}), false, 2, false) &
                  L::CHECK_FOUND,
              0);
    for (const bool tightened : {false, true}) {
        if (tightened) lattice->unprepared.rx[1] = QQ(1L);
        EXPECT_THROW(lattice->restartOrTerminate(false), RestartException);
        const auto found = test::solutionPoints(*lattice);
        EXPECT_EQ(found.count("1 1 0 @ 1"), 1U);
        EXPECT_EQ(found.count("2 0 0 @ 2"), tightened ? 0U : 1U);
        for (long i = 0; i <= lattice->solutions.dimension(); ++i) {
            Vector<QQ> x;
            ASSERT_EQ(lattice->lat2opt(i == 0 ? lattice->bestTarget : lattice->solutions[i], x, true, false),
                      1);
            EXPECT_TRUE(x[1] + x[2] == QQ(2L) && x[1] <= lattice->unprepared.rx[1] &&
                        (i > 0 || x[3] == QQ(0L)));
        }
        EXPECT_EQ(std::make_pair(L::statistics.a, L::statistics.b),
                  std::make_pair(improvements + 1, finds + 2));
    }
}

// A standalone run ends with SIGTERM to its own process.
TEST(RestartDeathTest, StandaloneRunEndsBySigterm)
{
    auto lattice = test::embeddedSmallProgram<L>();
    EXPECT_EXIT(lattice->restartOrTerminate(true), testing::KilledBySignal(SIGTERM), "");
}

// A restart from within the reduction (the gate finds a better target) rebuilds the lattice with a
// target column, one column more, while the reduction of the old one is still open; the row
// operations of a search right after it must not touch row images sized for the old lattice
// (the sanitizer build sees the bytes past them).
TEST(Restart, RowOperationsRightAfterARestartFromWithinTheReduction)
{
    auto lattice = test::embeddedSmallProgram<Lattice<long double, long double>>("[ inf ] [ [ 3 2 1 ] ]");
    lattice->params.hostedRun = true;
    const long columns = lattice->dimN;
    bool grown = false;
    for (long round = 1; round <= 6 && !lattice->runEnded; ++round) {
        try {
            lllToTheEnd(*lattice, 0, 1000, nullptr);
            lattice->restartOrTerminate(round == 6);
        } catch (const RestartException&) {
            grown = grown || lattice->dimN > columns;
            for (long i = 1; i < lattice->dimB; ++i)
                lattice->swapVectors(i, lattice->dimB + 1 - i, false);
        }
    }
    EXPECT_TRUE(grown);
    EXPECT_GT(lattice->solutions.dimension() + lattice->bestTarget.dimension(), 0);
}

} // namespace
} // namespace latopt
