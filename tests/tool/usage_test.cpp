// End-to-end runs of the built tool on command lines it must refuse or accept.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <fstream>
#include <set>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utime.h>
#include <vector>

namespace {

struct ToolRun {
    int status = -1; // exit status, or -1 if the process didn't exit normally
    std::string out, err;
};

std::string slurp(int descriptor)
{
    std::string text;
    char buffer[4096];
    for (ssize_t count; (count = read(descriptor, buffer, sizeof buffer)) > 0;)
        text.append(buffer, static_cast<size_t>(count));
    close(descriptor);
    return text;
}

// Runs the tool with the given argv (argv[0] included) in directory.
ToolRun runTool(const std::vector<std::string>& arguments, const std::string& directory)
{
    char outName[] = "/tmp/latopt_usage_out_XXXXXX";
    char errName[] = "/tmp/latopt_usage_err_XXXXXX";
    const int out = mkstemp(outName);
    const int err = mkstemp(errName);
    ToolRun run;
    const pid_t child = fork();
    if (child == 0) {
        if (chdir(directory.c_str()) != 0) _exit(127);
        dup2(out, STDOUT_FILENO);
        dup2(err, STDERR_FILENO);
        std::vector<char*> argv;
        for (const std::string& argument : arguments)
            argv.push_back(const_cast<char*>(argument.c_str()));
        argv.push_back(nullptr);
        execv(LATOPT_BINARY, argv.data());
        _exit(127);
    }
    int status = 0;
    waitpid(child, &status, 0);
    if (WIFEXITED(status)) run.status = WEXITSTATUS(status);
    lseek(out, 0, SEEK_SET);
    lseek(err, 0, SEEK_SET);
    run.out = slurp(out);
    run.err = slurp(err);
    unlink(outName);
    unlink(errName);
    return run;
}

// A fresh working directory holding one old file, with a listing to compare against.
class ToolCommandLine : public testing::Test {
protected:
    void SetUp() override
    {
        char pattern[] = "/tmp/latopt_usage_test_XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        directory = pattern;
        std::ofstream(directory + "/x.txt") << "unchanged\n";
        struct utimbuf times;
        times.actime = times.modtime = 1000000000;
        ASSERT_EQ(utime((directory + "/x.txt").c_str(), &times), 0);
    }
    void TearDown() override
    {
        for (const std::string& name : listing())
            std::remove((directory + "/" + name).c_str());
        rmdir(directory.c_str());
    }
    std::set<std::string> listing() const
    {
        std::set<std::string> names;
        DIR* handle = opendir(directory.c_str());
        while (dirent* entry = readdir(handle))
            if (std::string(entry->d_name) != "." && std::string(entry->d_name) != "..")
                names.insert(entry->d_name);
        closedir(handle);
        return names;
    }
    void expectNothingTouched() const
    {
        EXPECT_EQ(listing(), (std::set<std::string>{"x.txt"}));
        struct stat status;
        ASSERT_EQ(stat((directory + "/x.txt").c_str(), &status), 0);
        EXPECT_EQ(status.st_mtime, 1000000000);
        EXPECT_EQ(status.st_size, 10);
    }
    std::string directory;
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
        const ToolRun run = runTool(commandLine, directory);
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.out, "Usage: latopt *.sol\n");
        EXPECT_EQ(run.err, "");
        expectNothingTouched();
    }
}

TEST_F(ToolCommandLine, UsageNamesTheBaseNameOfTheProgram)
{
    const ToolRun run = runTool({"/some/where/optimize", "x.txt"}, directory);
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out, "Usage: optimize *.sol\n");
    const ToolRun bare = runTool({"/some/where/"}, directory);
    EXPECT_EQ(bare.out, "Usage:  *.sol\n");
    expectNothingTouched();
}

// Names ending in ".sol" pass the check; the program of the name is a copy of the example, so
// the run that follows has what it needs (the solution files themselves don't exist).
TEST_F(ToolCommandLine, NamesEndingInSolAreAccepted)
{
    const std::string example = std::string(LATOPT_TEST_DATA) + "/../../examples/example.opt";
    ASSERT_EQ(mkdir((directory + "/dir").c_str(), 0700), 0);
    // ".sol" has no stem, so its program is ".sol.opt".
    for (const char* program : {"prog.opt", ".sol.opt", "dir/run.opt"}) {
        std::ifstream in(example);
        ASSERT_TRUE(in.good()) << example;
        std::ofstream(directory + "/" + program) << in.rdbuf();
    }
    for (const char* name : {"prog.sol", ".sol", "dir/run.sol"}) {
        SCOPED_TRACE(name);
        const ToolRun run = runTool({"latopt", name}, directory);
        EXPECT_EQ(run.out.find("Usage:"), std::string::npos);
        EXPECT_EQ(run.err, "");
        EXPECT_EQ(run.status, 0);
    }
    for (const char* program : {"prog.opt", ".sol.opt", "dir/run.opt"})
        std::remove((directory + "/" + program).c_str());
    rmdir((directory + "/dir").c_str());
}

} // namespace
