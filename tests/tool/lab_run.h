// lab_run.h: runs the built latopt-lab with arguments and standard input, and checks what it
// writes: a table of cases, each with the exact standard output of a success or the exact line
// on standard error of a refusal.
#pragma once

#include "tool/tool_run.h"

#include <gtest/gtest.h>

#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace latopt::testing_tool {

// Runs latopt-lab with the arguments after argv[0] and input on standard input.
inline ToolRun runLab(const std::vector<std::string>& arguments, const std::string& input)
{
    char inName[] = "/tmp/latopt_lab_in_XXXXXX";
    char outName[] = "/tmp/latopt_lab_out_XXXXXX";
    char errName[] = "/tmp/latopt_lab_err_XXXXXX";
    const int in = mkstemp(inName), out = mkstemp(outName), err = mkstemp(errName);
    EXPECT_EQ(write(in, input.data(), input.size()), static_cast<ssize_t>(input.size()));
    lseek(in, 0, SEEK_SET);
    ToolRun run;
    run.pid = fork();
    if (run.pid == 0) {
        dup2(in, STDIN_FILENO);
        dup2(out, STDOUT_FILENO);
        dup2(err, STDERR_FILENO);
        std::vector<char*> argv{const_cast<char*>("latopt-lab")};
        for (const std::string& argument : arguments)
            argv.push_back(const_cast<char*>(argument.c_str()));
        argv.push_back(nullptr);
        execv(LATOPT_LAB_BINARY, argv.data());
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

struct LabCase {
    std::vector<std::string> arguments;
    std::string input;
    std::string expected; // standard output of a success, standard error of a refusal
};

// Successes: status 0, exactly the expected output, nothing on standard error.
inline void expectResults(const std::vector<LabCase>& cases)
{
    for (const LabCase& c : cases) {
        SCOPED_TRACE(::testing::PrintToString(c.arguments) + " " + c.input);
        const ToolRun run = runLab(c.arguments, c.input);
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.out, c.expected);
        EXPECT_EQ(run.err, "");
    }
}

// Refusals: status 1, nothing on standard output, exactly the expected standard error.
inline void expectRefusals(const std::vector<LabCase>& cases)
{
    for (const LabCase& c : cases) {
        SCOPED_TRACE(::testing::PrintToString(c.arguments) + " " + c.input);
        const ToolRun run = runLab(c.arguments, c.input);
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err, c.expected);
    }
}

} // namespace latopt::testing_tool
