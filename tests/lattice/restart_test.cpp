#include "base/exceptions.h"
#include "found_vectors.h"
#include "lattice/lattice.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>

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

// A standalone run ends with SIGTERM to its own process.
TEST(RestartDeathTest, StandaloneRunEndsBySigterm)
{
    auto lattice = test::embeddedSmallProgram<L>();
    EXPECT_EXIT(lattice->restartOrTerminate(true), testing::KilledBySignal(SIGTERM), "");
}

} // namespace
} // namespace latopt
