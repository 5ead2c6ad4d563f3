// End-to-end runs of the tool on small programs and solution files: standard output, standard
// error, exit status and the rewritten solution file, byte for byte.
#include "tool_run.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <string>
#include <sys/stat.h>

namespace latopt::testing_tool {
namespace {

// Records of three_targets.opt (x1 + x2 + x3 = 6, -2 <= x1 - x2 <= 4, 0 <= x <= 5; minimise x1,
// maximise x2, x3 near 4): target norm x1 - x2 + |x3 - 4|, slack norm |x3 - 4|. The norms and
// target values in the input lines are wrong on purpose: a check replaces them.
const std::string A_IN = "[ 1 2 3 ] | 99 | [ 0 0 0 ] | 99 | 12 | --beta=20 --sol=1 | 2.2.3\n";
const std::string B_IN = "[ 2 2 2 ] | 98 | [ 0 0 0 ] | 98 | 3723 | --beta=20 --sol=1 | 2.2.3\n";
const std::string F_IN = "[ 3 0 3 ] | 97 | [ 0 0 0 ] | 97 | 125 | --beta=20 --sol=1 | 2.2.3\n";
const std::string BAD_INEQUATION = "[ 0 3 3 ] | 1 | [ 0 3 3 ] | 1 | 1 | --beta=20 | 2.2.3\n";
const std::string BAD_EQUATION = "[ 1 1 5 ] | 2 | [ 1 1 5 ] | 1 | 2 | --beta=20 | 2.2.3\n";
const std::string BAD_BOUND = "[ 6 0 0 ] | 6 | [ 6 0 0 ] | 4 | 3 | --beta=20 | 2.2.3\n";
const std::string OTHER_PARAMS = "[ 1 2 3 ] | 0 | [ 1 2 3 ] | 1 | 12 | --beta=30 --sol=1 | 2.2.3\n";

const std::string A_OUT = "[ 1 2 3 ] | 0 | [ 1 2 3 ] | 1 | 12 | --beta=20 --sol=1 | 2.2.3\n";
const std::string B_OUT = "[ 2 2 2 ] | 2 | [ 2 2 2 ] | 2 | 3723 | --beta=20 --sol=1 | 2.2.3\n";
const std::string F_OUT = "[ 3 0 3 ] | 4 | [ 3 0 3 ] | 1 | 125 | --beta=20 --sol=1 | 2.2.3\n";

const std::string A_SHOWN = "x = [ 1 2 3 ]\n\nTarget values: [ 1\u2193 2\u2191 3\u21924 ]\n"
                            "Target Norm: 0\nSlack Norm: 1\n";
const std::string A_REPORT = A_SHOWN + "Found after: 12 sec(s)\n";
const std::string B_REPORT = "x = [ 2 2 2 ]\n\nTarget values: [ 2\u2193 2\u2191 2\u21924 ]\n"
                             "Target Norm: 2\nSlack Norm: 2\n"
                             "Found after: 1:02:03 hour(s):min(s):sec(s) == 3723 secs\n";
const std::string F_REPORT = "x = [ 3 0 3 ]\n\nTarget values: [ 3\u2193 0\u2191 3\u21924 ]\n"
                             "Target Norm: 4\nSlack Norm: 1\nFound after: 2:05 min(s):sec(s) == 125 secs\n";
const std::string HUGE_X = "[ 1000000000000000000001 1000000000000000000000 ]";
const std::string HUGE_NORM = "1000000000000000000001";

// The report of a run: a line feed, the records divided by separators, the final line feed.
std::string report(const std::vector<std::string>& records)
{
    std::string text = "\n";
    for (size_t i = 0; i < records.size(); ++i)
        text += (i > 0 ? "\n---\n\n" : "") + records[i];
    return text + "\n";
}

struct Scenario {
    const char* name;
    const char* program;            // in tests/data/tool
    std::optional<std::string> sol; // prog.sol before the first run, if any
    std::vector<std::string> after; // prog.sol after each run ("<missing>": removed)
    std::optional<std::string> out; // standard output of every run
};

// clang-format off
const Scenario SCENARIOS[] = {
    {"valid records are recomputed, sorted and reported; a second run changes nothing", "three_targets.opt",
     F_IN + B_IN + A_IN, {A_OUT + B_OUT + F_OUT, A_OUT + B_OUT + F_OUT}, report({A_REPORT, B_REPORT, F_REPORT})},
    // The record that moves into the place of a removed one is skipped in that pass.
    {"failing record disappears, the one behind it keeps its file norms for one run", "three_targets.opt",
     A_IN + BAD_BOUND + B_IN, {A_OUT + B_IN, A_OUT + B_OUT}, std::nullopt},
    {"of two bad records in a row the second survives one run, placed by its line's figures",
     "three_targets.opt", A_IN + BAD_INEQUATION + BAD_EQUATION + F_IN,
     {A_OUT + BAD_EQUATION + F_OUT, A_OUT + F_OUT}, std::nullopt},
    {"a file without a valid record is removed", "three_targets.opt", BAD_BOUND, {"<missing>"}, "\n\n"},
    {"a missing solution file is an empty run", "three_targets.opt", std::nullopt, {"<missing>"}, "\n\n"},
    {"a comment-only solution file is an empty run and removed", "three_targets.opt",
     "// nothing yet\n\n/* still\nnothing */\n   \n", {"<missing>"}, "\n\n"},
    // No params and no version: the line ends in the separator of the empty params column.
    {"a short record is completed", "three_targets.opt", "// found by hand\n[ 1 2 3 ]\n",
     {"[ 1 2 3 ] | 0 | [ 1 2 3 ] | 1 | -1 | \n"}, report({A_SHOWN})},
    {"comments between records and fields", "three_targets.opt",
     "/* first */ [ 1 2 3 ] | /* norm */ 5 | [ 1 2 3 ] // values\n | 1 | 12 | --beta=20 --sol=1 | 2.2.3\n"
     "// between\n" + F_IN, {A_OUT + F_OUT}, std::nullopt},
    {"duplicates merge in the file only with equal params, always in the report", "three_targets.opt",
     A_IN + OTHER_PARAMS + A_IN, {A_OUT + OTHER_PARAMS}, report({A_REPORT})},
    {"a program without targets keeps the figures", "no_targets.opt",
     "[ 1 2 ] | 7 | [ ] | 0 | 3 | --beta=20\n[ 2 2 ] | 1 | [ ] | 0 | 4 | --beta=20\n",
     {"[ 1 2 ] | 7 | [ ] | 0 | 3 | --beta=20\n"},
     report({"x = [ 1 2 ]\n\nTarget values: [ ]\nTarget Norm: 7\nSlack Norm: 0\nFound after: 3 sec(s)\n"})},
    {"a record with slack norm -1 shows only its vector", "no_targets.opt",
     "[ 3 0 ] | 7 | [ ] | -1 | 3 | --beta=20\n", {}, report({"x = [ 3 0 ]\n\n"})},
    // x1 - x2 = 1 holds for the first record only; in long double both differences vanish.
    {"values beyond 10^18 are judged exactly", "huge.opt",
     HUGE_X + " | 0 | [ 0 ] | 0 | 5 | --beta=20\n"
              "[ 1000000000000000000002 1000000000000000000000 ] | 0 | [ 0 ] | 0 | 5 | --beta=20\n",
     {HUGE_X + " | " + HUGE_NORM + " | [ " + HUGE_NORM + " ] | 0 | 5 | --beta=20\n"},
     report({"x = " + HUGE_X + "\n\nTarget values: [ " + HUGE_NORM + "\u2193 ]\nTarget Norm: " + HUGE_NORM +
             "\nSlack Norm: 0\nFound after: 5 sec(s)\n"})},
    {"eleven-digit values are judged exactly and keep the standard form", "eleven_digits.opt",
     "[ 2 60000000002 ] | 0 | [ 0 ] | 0 | 5 | --beta=20\n[ 3 90000000002 ] | 0 | [ 0 ] | 0 | 6 | --beta=20\n",
     {"[ 2 60000000002 ] | 2 | [ 2 ] | 0 | 5 | --beta=20\n"}, std::nullopt},
};
// clang-format on

using ToolRunOn = ToolSandbox;

TEST_F(ToolRunOn, Scenarios)
{
    for (const Scenario& scenario : SCENARIOS) {
        SCOPED_TRACE(scenario.name);
        useProgram(scenario.program);
        std::remove(path("prog.sol").c_str());
        if (scenario.sol) write("prog.sol", *scenario.sol);
        for (size_t i = 0; i < std::max<size_t>(1, scenario.after.size()); ++i) {
            const ToolRun result = run();
            EXPECT_EQ(result.status, 0);
            EXPECT_EQ(result.err, "");
            EXPECT_EQ(result.out, scenario.out.value_or(result.out));
            if (i < scenario.after.size()) {
                EXPECT_EQ(read("prog.sol"), scenario.after[i]) << "run " << i + 1;
            }
        }
    }
}

// free_targets.opt: target norm x1 - x2 + |x3 - 4|, slack norm |x3 - 4|, no equation.
TEST_F(ToolRunOn, RecordsSortByEachCriterionInTurn)
{
    useProgram("free_targets.opt");
    const std::vector<std::string> sorted = {
        "[ 1 1 4 ] | 0 | [ 1 1 4 ] | 0 | 50 | --p=1 | 2.2.3\n", // target norm 0, slack norm 0
        "[ 3 4 3 ] | 0 | [ 3 4 3 ] | 1 | 5 | --p=1 | 2.2.3\n",  // slack norm 1: by seconds, -1 last
        "[ 2 3 3 ] | 0 | [ 2 3 3 ] | 1 | 7 | --p=1 | 2.2.3\n",
        "[ 4 5 3 ] | 0 | [ 4 5 3 ] | 1 | -1 | --p=1 | 2.10\n", // seconds -1: the newer version first
        "[ 0 1 3 ] | 0 | [ 0 1 3 ] | 1 | -1 | --a=1 | 2.9\n",  // same version: by the text of x, then params
        "[ 0 1 5 ] | 0 | [ 0 1 5 ] | 1 | -1 | --a=1 | 2.9\n",
        "[ 0 1 5 ] | 0 | [ 0 1 5 ] | 1 | -1 | --b=1 | 2.9\n",
        "[ 4 0 4 ] | 4 | [ 4 0 4 ] | 0 | 1 | --p=1 | 2.2.3\n", // target norm 4
    };
    std::string scrambled, expected;
    for (size_t i : {7u, 3u, 6u, 0u, 5u, 2u, 4u, 1u})
        scrambled += sorted[i];
    for (const std::string& line : sorted)
        expected += line;
    write("prog.sol", scrambled);
    const ToolRun result = run();
    EXPECT_EQ(read("prog.sol"), expected);
    // The report merges the two records of equal x: six separators of three dashes.
    EXPECT_EQ(std::count(result.out.begin(), result.out.end(), '-'), 3 * 6);
}

// A program that can't be used ends the run with its message, keeps the solution file and leaves
// no semaphore behind.
TEST_F(ToolRunOn, AnUnusableProgramStopsWithItsMessage)
{
    const struct {
        const char* program; // nullptr: no prog.opt
        const char* message;
    } cases[] = {
        {"[ 1 ]\n[ [ 1 2 ] [ 3 4 ] ]\n", "The row count of At (2) differs with the dimension of dt (1)"},
        {nullptr, "Could not read opt file: prog.opt"},
        {"[ ]\n[ ]\n[ ]\n[ ]\n[ ]\n", "Dimension error -- n == 0"},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.message);
        std::remove(path("prog.opt").c_str());
        if (test.program != nullptr) write("prog.opt", test.program);
        write("prog.sol", A_IN);
        const ToolRun result = run();
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, std::string("\n*** FAIL: ") + test.message + "\n");
        EXPECT_EQ(read("prog.sol"), A_IN);
        const std::string prefix = "sem." + std::to_string(result.pid) + "_";
        for (const auto& entry : std::filesystem::directory_iterator("/dev/shm"))
            EXPECT_NE(entry.path().filename().string().rfind(prefix, 0), 0u) << entry.path();
    }
}

TEST_F(ToolRunOn, TheNameDecidesWhereTheProgramIs)
{
    // ".sol" alone: the stem rule keeps the whole name, so the files are .sol.opt and .sol.sol.
    useProgram("three_targets.opt");
    write(".sol.opt", read("prog.opt"));
    write(".sol.sol", A_IN);
    write(".sol", B_IN);
    EXPECT_EQ(run(".sol").status, 0);
    EXPECT_EQ(read(".sol.sol"), A_OUT);
    EXPECT_EQ(read(".sol"), B_IN);
    // A dot in a directory name is no extension.
    ASSERT_EQ(mkdir(path("dir.v1").c_str(), 0755), 0);
    write("dir.v1/prog.opt", read("prog.opt"));
    write("dir.v1/prog.sol", F_IN);
    EXPECT_EQ(run("dir.v1/prog.sol").status, 0);
    EXPECT_EQ(read("dir.v1/prog.sol"), F_OUT);
}

} // namespace
} // namespace latopt::testing_tool
