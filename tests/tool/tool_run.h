// tool_run.h: runs the built tool as a user would, in a scratch directory, and captures what it
// leaves behind: standard output, standard error, exit status and the files.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace latopt::testing_tool {

struct ToolRun {
    int status = -1; // exit status, or -1 if the process didn't exit normally
    pid_t pid = 0;   // the process id the run had
    std::string out, err;
};

// The content of a file, or "<missing>" when there is none.
inline std::string fileText(const std::string& name)
{
    std::ifstream file(name);
    if (!file) return "<missing>";
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

// Runs binary with the given argv (argv[0] included) in directory, with input on standard input
// (none: the test's own standard input is inherited).
inline ToolRun runBinary(const char* binary, const std::vector<std::string>& arguments,
                         const std::string& directory, const std::string* input = nullptr)
{
    char inName[] = "/tmp/latopt_run_in_XXXXXX";
    char outName[] = "/tmp/latopt_run_out_XXXXXX";
    char errName[] = "/tmp/latopt_run_err_XXXXXX";
    const int in = mkstemp(inName);
    const int out = mkstemp(outName);
    const int err = mkstemp(errName);
    if (input != nullptr) {
        EXPECT_EQ(write(in, input->data(), input->size()), static_cast<ssize_t>(input->size()));
        lseek(in, 0, SEEK_SET);
    }
    ToolRun run;
    run.pid = fork();
    if (run.pid == 0) {
        if (chdir(directory.c_str()) != 0) _exit(127);
        if (input != nullptr) dup2(in, STDIN_FILENO);
        dup2(out, STDOUT_FILENO);
        dup2(err, STDERR_FILENO);
        std::vector<char*> argv;
        for (const std::string& argument : arguments)
            argv.push_back(const_cast<char*>(argument.c_str()));
        argv.push_back(nullptr);
        execv(binary, argv.data());
        _exit(127);
    }
    int status = 0;
    waitpid(run.pid, &status, 0);
    if (WIFEXITED(status)) run.status = WEXITSTATUS(status);
    run.out = fileText(outName);
    run.err = fileText(errName);
    for (const int descriptor : {in, out, err})
        close(descriptor);
    for (const char* name : {inName, outName, errName})
        unlink(name);
    return run;
}

// Runs the tool with the given argv (argv[0] included) in directory.
inline ToolRun runTool(const std::vector<std::string>& arguments, const std::string& directory)
{
    return runBinary(LATOPT_BINARY, arguments, directory);
}

// A fresh scratch directory per test, removed with everything in it afterwards.
class ToolSandbox : public testing::Test {
protected:
    void SetUp() override
    {
        char pattern[] = "/tmp/latopt_tool_test_XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        directory = pattern;
    }
    void TearDown() override { std::filesystem::remove_all(directory); }
    std::string path(const std::string& name) const { return directory + "/" + name; }
    std::set<std::string> listing() const
    {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(directory))
            names.insert(entry.path().filename());
        return names;
    }
    void write(const std::string& name, const std::string& text) const { std::ofstream(path(name)) << text; }
    std::string read(const std::string& name) const { return fileText(path(name)); }
    // A program from tests/data/tool as prog.opt.
    void useProgram(const std::string& dataName) const
    {
        const std::string text = fileText(std::string(LATOPT_TEST_DATA) + "/tool/" + dataName);
        ASSERT_NE(text, "<missing>") << dataName;
        write("prog.opt", text);
    }
    ToolRun run(const std::string& solName = "prog.sol") const
    {
        return runTool({"latopt", solName}, directory);
    }

    std::string directory;
};

} // namespace latopt::testing_tool
