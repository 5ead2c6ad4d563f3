// lab_search_test.cpp: latopt-lab reduce on random small programs: every record it writes is a
// feasible point (brute force), and the tool, proving the file, keeps every record.
#include "lattice/small_program.h"
#include "test_seed.h"
#include "tool/lab_run.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <random>
#include <set>
#include <sstream>
#include <string>
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

} // namespace
} // namespace latopt::testing_tool
