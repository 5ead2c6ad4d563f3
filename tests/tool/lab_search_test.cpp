// lab_search_test.cpp: latopt-lab reduce on random small programs: every record it writes is a
// feasible point (brute force), and the tool, proving the file, keeps every record. On market
// split instances (equations only) a feasible one gets exactly one record with --sol=1, which
// solves the equations, and an infeasible one none.
#include "lattice/small_program.h"
#include "market_split.h"
#include "test_seed.h"
#include "tool/lab_run.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace latopt::testing_tool {
namespace {

// The x of each record of a .sol text: the numbers between the first "[" and "]" of each line.
std::set<std::vector<long>> recordPoints(const std::string& text)
{
    std::set<std::vector<long>> points;
    std::istringstream lines(text);
    std::string line;
    while (std::getline(lines, line)) {
        if (line.find('[') == std::string::npos) continue; // no file, no record
        std::istringstream words(line.substr(line.find('[') + 1, line.find(']') - line.find('[') - 1));
        std::vector<long> x;
        for (long value; words >> value;)
            x.push_back(value);
        points.insert(x);
    }
    return points;
}

class LabSearch : public ToolSandbox {};

TEST_F(LabSearch, WritesOnlyFeasiblePointsAndTheToolKeepsThem)
{
    std::mt19937_64 random(test::testSeed());
    size_t total = 0;
    for (long round = 0; round < test::rounds(6); ++round) {
        const test::SmallProgram program = test::randomSmallProgram(random);
        SCOPED_TRACE(program.text());
        write("prog.opt", program.text());
        std::filesystem::remove(path("prog.sol"));
        const ToolRun lab =
            runLab({"reduce", path("prog.opt"), "--sol=0", round % 2 == 0 ? "--ld" : "--sol=0"}, "");
        ASSERT_EQ(lab.status, 0) << lab.err;
        const std::set<std::vector<long>> written = recordPoints(read("prog.sol"));
        total += written.size();
        EXPECT_NE(lab.out.find("solutions " + std::to_string(written.size()) + "\n"), std::string::npos)
            << lab.out;
        for (const auto& x : written)
            EXPECT_TRUE(program.feasible(x));
        const ToolRun tool = run();
        EXPECT_EQ(tool.status, 0) << tool.err;
        EXPECT_EQ(recordPoints(read("prog.sol")), written);
    }
    EXPECT_GT(total, 0U);
}

// A target, an equation and an inequation: the best targets found while each lattice is built
// and reduced are all feasible (the tool keeps every record), in both precisions.
TEST_F(LabSearch, BestTargetsWithEquationsAndInequationsAreFeasible)
{
    for (const char* precision : {"--ld", "--sol=0"}) {
        write("prog.opt", "[ -inf ] [ [ 2 3 1 ] ] [ [ 1 1 1 ] ] [ 6 ] [ [ 1 -1 0 ] ] [ 1 ] [ 4 ] "
                          "[ 0 0 0 ] [ 0 0 0 ] [ 5 5 3 ]");
        std::filesystem::remove(path("prog.sol"));
        ASSERT_EQ(runLab({"reduce", path("prog.opt"), "--sol=0", precision}, "").status, 0);
        const std::set<std::vector<long>> written = recordPoints(read("prog.sol"));
        EXPECT_FALSE(written.empty());
        EXPECT_EQ(run().status, 0);
        EXPECT_EQ(recordPoints(read("prog.sol")), written);
    }
}

// Seeds of market split instances with m equations from the test seed on: the first `feasible`
// ones that have a 0-1 solution and the first one that has none, by brute force.
std::vector<std::pair<std::uint64_t, bool>> marketSplitSeeds(long m, long feasible)
{
    std::vector<std::pair<std::uint64_t, bool>> seeds;
    bool infeasibleTaken = false;
    for (std::uint64_t seed = test::testSeed(); feasible > 0 || !infeasibleTaken; ++seed) {
        const bool solvable = test::marketSplit(m, seed).solution().has_value();
        if (solvable ? feasible-- <= 0 : std::exchange(infeasibleTaken, true)) continue;
        seeds.emplace_back(seed, solvable);
    }
    return seeds;
}

// m = 2 runs exactly, m = 3 in long double (exactly it takes seconds), once with deep insertion.
TEST_F(LabSearch, MarketSplitGetsItsSolutionOrNoRecord)
{
    for (const long m : {2L, 3L}) {
        long count = 0;
        for (const auto& [seed, feasible] : marketSplitSeeds(m, m == 2 ? 2 : 3)) {
            const test::MarketSplit instance = test::marketSplit(m, seed);
            SCOPED_TRACE("m = " + std::to_string(m) + ", " + test::seedTrace(seed) + "\n" + instance.text());
            write("prog.opt", instance.text());
            std::filesystem::remove(path("prog.sol"));
            std::vector<std::string> arguments{"reduce", path("prog.opt"), "--sol=1"};
            if (m == 3) arguments.push_back("--ld");
            if (m == 3 && ++count == 2) arguments.push_back("--deep=1");
            const ToolRun lab = runLab(arguments, "");
            if (!feasible) {
                // Either the reduction ends without a solution, or the equations have none in
                // integers at all; nothing is written.
                const bool noIntegerSolution =
                    lab.status == 1 &&
                    lab.err == "\n*** FAIL: The equation system has no integer solution :(\n";
                EXPECT_TRUE(noIntegerSolution ||
                            (lab.status == 0 && lab.out.find("solutions 0\n") != std::string::npos))
                    << lab.status << "\n"
                    << lab.out << lab.err;
                EXPECT_EQ(read("prog.sol"), "<missing>");
                continue;
            }
            // The run ends with the first solution it accepts.
            ASSERT_EQ(lab.status, 0) << lab.err;
            EXPECT_NE(lab.out.find("accepted 1\nsolutions 1\n"), std::string::npos) << lab.out;
            const std::set<std::vector<long>> written = recordPoints(read("prog.sol"));
            ASSERT_EQ(written.size(), 1U) << read("prog.sol");
            EXPECT_TRUE(instance.solves(*written.begin()));
            const ToolRun tool = run();
            EXPECT_EQ(tool.status, 0) << tool.err;
            EXPECT_EQ(recordPoints(read("prog.sol")), written);
        }
    }
}

} // namespace
} // namespace latopt::testing_tool
