// lab_run.h: runs the built latopt-lab with arguments and standard input, and checks what it
// writes: a table of cases, each with the exact standard output of a success or the exact line
// on standard error of a refusal.
#pragma once

#include "tool/tool_run.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace latopt::testing_tool {

// Runs latopt-lab with the arguments after argv[0] and input on standard input.
inline ToolRun runLab(const std::vector<std::string>& arguments, const std::string& input)
{
    std::vector<std::string> argv{"latopt-lab"};
    argv.insert(argv.end(), arguments.begin(), arguments.end());
    return runBinary(LATOPT_LAB_BINARY, argv, ".", &input);
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
