// End-to-end runs of the built tool on command lines it must refuse (the accepted ones run in
// run_test.cpp).
#include "tool_run.h"

#include <gtest/gtest.h>

#include <string>
#include <sys/stat.h>
#include <utime.h>
#include <vector>

namespace latopt::testing_tool {
namespace {

using ToolCommandLine = ToolSandbox;

// A refused command line prints the usage with the base name of argv[0], exits with 1 and leaves
// the old file in the directory alone.
TEST_F(ToolCommandLine, WrongCommandLinesPrintUsageAndTouchNothing)
{
    write("x.txt", "unchanged\n");
    struct utimbuf times;
    times.actime = times.modtime = 1000000000;
    ASSERT_EQ(utime(path("x.txt").c_str(), &times), 0);
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
        {{"latopt"}, "latopt"},
        {{"latopt", "a.sol", "b.sol"}, "latopt"},
        {{"latopt", "x.txt"}, "latopt"},
        {{"latopt", "x.sol.txt"}, "latopt"},
        {{"latopt", "sol"}, "latopt"},
        {{"latopt", ""}, "latopt"},
        {{"/some/where/optimize", "x.txt"}, "optimize"},
        {{"/some/where/"}, ""},
    };
    for (const auto& [commandLine, shownName] : cases) {
        SCOPED_TRACE(testing::PrintToString(commandLine));
        const ToolRun result = runTool(commandLine, directory);
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.out, "Usage: " + shownName + " *.sol\n");
        EXPECT_EQ(result.err, "");
        EXPECT_EQ(listing(), (std::set<std::string>{"x.txt"}));
        struct stat status;
        ASSERT_EQ(stat(path("x.txt").c_str(), &status), 0);
        EXPECT_EQ(status.st_mtime, 1000000000);
        EXPECT_EQ(read("x.txt"), "unchanged\n");
    }
}

} // namespace
} // namespace latopt::testing_tool
