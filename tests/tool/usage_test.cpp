// End-to-end runs of the built tool on command lines it must refuse or accept.
#include "tool_run.h"

#include <gtest/gtest.h>

#include <string>
#include <sys/stat.h>
#include <utime.h>
#include <vector>

namespace latopt::testing_tool {
namespace {

// A scratch directory holding one old file that a refused command line must leave alone.
class ToolCommandLine : public ToolSandbox {
protected:
    void SetUp() override
    {
        ToolSandbox::SetUp();
        write("x.txt", "unchanged\n");
        struct utimbuf times;
        times.actime = times.modtime = 1000000000;
        ASSERT_EQ(utime(path("x.txt").c_str(), &times), 0);
    }
    void expectNothingTouched() const
    {
        EXPECT_EQ(listing(), (std::set<std::string>{"x.txt"}));
        struct stat status;
        ASSERT_EQ(stat(path("x.txt").c_str(), &status), 0);
        EXPECT_EQ(status.st_mtime, 1000000000);
        EXPECT_EQ(read("x.txt"), "unchanged\n");
    }
};

TEST_F(ToolCommandLine, WrongCommandLinesPrintUsageAndExitWithOne)
{
    const std::vector<std::vector<std::string>> commandLines = {
        {"latopt"},          {"latopt", "a.sol", "b.sol"},
        {"latopt", "x.txt"}, {"latopt", "x.sol.txt"},
        {"latopt", "sol"},   {"latopt", ""},
    };
    for (const auto& commandLine : commandLines) {
        SCOPED_TRACE(testing::PrintToString(commandLine));
        const ToolRun result = runTool(commandLine, directory);
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.out, "Usage: latopt *.sol\n");
        EXPECT_EQ(result.err, "");
        expectNothingTouched();
    }
}

TEST_F(ToolCommandLine, UsageNamesTheBaseNameOfTheProgram)
{
    const ToolRun result = runTool({"/some/where/optimize", "x.txt"}, directory);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "Usage: optimize *.sol\n");
    const ToolRun bare = runTool({"/some/where/"}, directory);
    EXPECT_EQ(bare.out, "Usage:  *.sol\n");
    expectNothingTouched();
}

// Names ending in ".sol" pass the check; each has a copy of the example program beside it, so
// the run that follows has what it needs (the solution files themselves don't exist).
TEST_F(ToolCommandLine, NamesEndingInSolAreAccepted)
{
    useProgram("../../../examples/example.opt");
    const std::string example = read("prog.opt");
    ASSERT_EQ(mkdir(path("dir").c_str(), 0700), 0);
    // ".sol" has no stem, so its program is ".sol.opt".
    write(".sol.opt", example);
    write("dir/run.opt", example);
    for (const char* name : {"prog.sol", ".sol", "dir/run.sol"}) {
        SCOPED_TRACE(name);
        const ToolRun result = runTool({"latopt", name}, directory);
        EXPECT_EQ(result.out, "\n\n");
        EXPECT_EQ(result.err, "");
        EXPECT_EQ(result.status, 0);
    }
    std::remove(path("dir/run.opt").c_str());
    rmdir(path("dir").c_str());
}

} // namespace
} // namespace latopt::testing_tool
