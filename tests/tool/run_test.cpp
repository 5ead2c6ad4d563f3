// End-to-end runs of the tool on small programs and solution files: standard output, standard
// error, exit status and the rewritten solution file, byte for byte.
#include "tool_run.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <dirent.h>
#include <string>

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

const std::string A_OUT = "[ 1 2 3 ] | 0 | [ 1 2 3 ] | 1 | 12 | --beta=20 --sol=1 | 2.2.3\n";
const std::string B_OUT = "[ 2 2 2 ] | 2 | [ 2 2 2 ] | 2 | 3723 | --beta=20 --sol=1 | 2.2.3\n";
const std::string F_OUT = "[ 3 0 3 ] | 4 | [ 3 0 3 ] | 1 | 125 | --beta=20 --sol=1 | 2.2.3\n";

const std::string A_REPORT = "x = [ 1 2 3 ]\n\nTarget values: [ 1\u2193 2\u2191 3\u21924 ]\n"
                             "Target Norm: 0\nSlack Norm: 1\nFound after: 12 sec(s)\n";
const std::string B_REPORT = "x = [ 2 2 2 ]\n\nTarget values: [ 2\u2193 2\u2191 2\u21924 ]\n"
                             "Target Norm: 2\nSlack Norm: 2\n"
                             "Found after: 1:02:03 hour(s):min(s):sec(s) == 3723 secs\n";
const std::string F_REPORT = "x = [ 3 0 3 ]\n\nTarget values: [ 3\u2193 0\u2191 3\u21924 ]\n"
                             "Target Norm: 4\nSlack Norm: 1\nFound after: 2:05 min(s):sec(s) == 125 secs\n";
const std::string SEPARATOR = "\n---\n\n";

// The report of a run: a line feed, the records divided by separators, the final line feed.
std::string report(const std::vector<std::string>& records)
{
    std::string text = "\n";
    for (size_t i = 0; i < records.size(); ++i)
        text += (i > 0 ? SEPARATOR : "") + records[i];
    return text + "\n";
}

using ToolRunOn = ToolSandbox;

TEST_F(ToolRunOn, ValidRecordsAreRecomputedSortedAndReported)
{
    useProgram("three_targets.opt");
    write("prog.sol", F_IN + B_IN + A_IN);
    const ToolRun result = run();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(read("prog.sol"), A_OUT + B_OUT + F_OUT);
    EXPECT_EQ(result.out, report({A_REPORT, B_REPORT, F_REPORT}));
    // A second run finds nothing to change.
    const ToolRun again = run();
    EXPECT_EQ(read("prog.sol"), A_OUT + B_OUT + F_OUT);
    EXPECT_EQ(again.out, result.out);
}

TEST_F(ToolRunOn, FailingRecordsDisappearAndTheRecordBehindOneIsNotCheckedInThatPass)
{
    useProgram("three_targets.opt");
    // The record that moves into the place of a removed one is skipped: B keeps its file norms.
    write("prog.sol", A_IN + BAD_BOUND + B_IN);
    run();
    const std::string bUnchecked = "[ 2 2 2 ] | 98 | [ 0 0 0 ] | 98 | 3723 | --beta=20 --sol=1 | 2.2.3\n";
    EXPECT_EQ(read("prog.sol"), A_OUT + bUnchecked);
    // The next run checks it.
    run();
    EXPECT_EQ(read("prog.sol"), A_OUT + B_OUT);
}

TEST_F(ToolRunOn, OfTwoBadRecordsInARowTheSecondSurvivesOneRun)
{
    useProgram("three_targets.opt");
    write("prog.sol", A_IN + BAD_INEQUATION + BAD_EQUATION + F_IN);
    const ToolRun first = run();
    EXPECT_EQ(first.status, 0);
    // The survivor keeps the figures of its line, and they decide its place.
    EXPECT_EQ(read("prog.sol"), A_OUT + BAD_EQUATION + F_OUT);
    run();
    EXPECT_EQ(read("prog.sol"), A_OUT + F_OUT);
}

TEST_F(ToolRunOn, ASolutionFileWithoutAValidRecordIsRemoved)
{
    useProgram("three_targets.opt");
    write("prog.sol", BAD_BOUND);
    const ToolRun result = run();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "\n\n");
    EXPECT_EQ(read("prog.sol"), "<missing>");
}

TEST_F(ToolRunOn, MissingOrCommentOnlySolutionFilesAreEmptyRuns)
{
    useProgram("three_targets.opt");
    const ToolRun missing = run();
    EXPECT_EQ(missing.status, 0);
    EXPECT_EQ(missing.out, "\n\n");
    EXPECT_EQ(missing.err, "");
    EXPECT_EQ(read("prog.sol"), "<missing>");

    write("prog.sol", "// nothing yet\n\n/* still\nnothing */\n   \n");
    const ToolRun comments = run();
    EXPECT_EQ(comments.status, 0);
    EXPECT_EQ(comments.out, "\n\n");
    EXPECT_EQ(read("prog.sol"), "<missing>");
}

TEST_F(ToolRunOn, ShortRecordsAreCompletedAndCommentsAreAccepted)
{
    useProgram("three_targets.opt");
    write("prog.sol", "// found by hand\n[ 1 2 3 ]\n");
    const ToolRun result = run();
    EXPECT_EQ(result.status, 0);
    // No params and no version: the line ends in the separator of the empty params column.
    EXPECT_EQ(read("prog.sol"), "[ 1 2 3 ] | 0 | [ 1 2 3 ] | 1 | -1 | \n");
    EXPECT_EQ(result.out, report({"x = [ 1 2 3 ]\n\nTarget values: [ 1\u2193 2\u2191 3\u21924 ]\n"
                                  "Target Norm: 0\nSlack Norm: 1\n"}));
}

TEST_F(ToolRunOn, CommentsBetweenRecordsAndFieldsAreAccepted)
{
    useProgram("three_targets.opt");
    write("prog.sol",
          "/* first */ [ 1 2 3 ] | /* norm */ 5 | [ 1 2 3 ] // values\n | 1 | 12 | --beta=20 --sol=1 | "
          "2.2.3\n// between\n" +
              F_IN);
    run();
    EXPECT_EQ(read("prog.sol"), A_OUT + F_OUT);
}

TEST_F(ToolRunOn, DuplicatesMergeInTheFileOnlyWithEqualParamsAndAlwaysInTheReport)
{
    useProgram("three_targets.opt");
    const std::string otherParams = "[ 1 2 3 ] | 0 | [ 1 2 3 ] | 1 | 12 | --beta=30 --sol=1 | 2.2.3\n";
    write("prog.sol", A_IN + otherParams + A_IN);
    const ToolRun result = run();
    EXPECT_EQ(read("prog.sol"), A_OUT + otherParams);
    EXPECT_EQ(result.out, report({A_REPORT}));
}

// free_targets.opt: target norm x1 - x2 + |x3 - 4|, slack norm |x3 - 4|, no equation.
TEST_F(ToolRunOn, RecordsSortByEachCriterionInTurn)
{
    useProgram("free_targets.opt");
    const std::vector<std::string> sorted = {
        // target norm 0, slack norm 0
        "[ 1 1 4 ] | 0 | [ 1 1 4 ] | 0 | 50 | --p=1 | 2.2.3\n",
        // target norm 0, slack norm 1: by seconds, -1 last
        "[ 3 4 3 ] | 0 | [ 3 4 3 ] | 1 | 5 | --p=1 | 2.2.3\n",
        "[ 2 3 3 ] | 0 | [ 2 3 3 ] | 1 | 7 | --p=1 | 2.2.3\n",
        // seconds -1: the newer version first
        "[ 4 5 3 ] | 0 | [ 4 5 3 ] | 1 | -1 | --p=1 | 2.10\n",
        // same version: by the text of x, then by params
        "[ 0 1 3 ] | 0 | [ 0 1 3 ] | 1 | -1 | --a=1 | 2.9\n",
        "[ 0 1 5 ] | 0 | [ 0 1 5 ] | 1 | -1 | --a=1 | 2.9\n",
        "[ 0 1 5 ] | 0 | [ 0 1 5 ] | 1 | -1 | --b=1 | 2.9\n",
        // target norm 4
        "[ 4 0 4 ] | 4 | [ 4 0 4 ] | 0 | 1 | --p=1 | 2.2.3\n",
    };
    std::string scrambled;
    for (size_t i : {7u, 3u, 6u, 0u, 5u, 2u, 4u, 1u})
        scrambled += sorted[i];
    write("prog.sol", scrambled);
    const ToolRun result = run();
    std::string expected;
    for (const std::string& line : sorted)
        expected += line;
    EXPECT_EQ(read("prog.sol"), expected);
    // The report merges the two records of equal x.
    EXPECT_EQ(std::count(result.out.begin(), result.out.end(), '-'), 3 * 6);
}

TEST_F(ToolRunOn, AProgramWithoutTargetsKeepsTheFigures)
{
    useProgram("no_targets.opt");
    write("prog.sol", "[ 1 2 ] | 7 | [ ] | 0 | 3 | --beta=20\n[ 2 2 ] | 1 | [ ] | 0 | 4 | --beta=20\n");
    const ToolRun result = run();
    EXPECT_EQ(read("prog.sol"), "[ 1 2 ] | 7 | [ ] | 0 | 3 | --beta=20\n");
    EXPECT_EQ(result.out, report({"x = [ 1 2 ]\n\nTarget values: [ ]\nTarget Norm: 7\nSlack Norm: 0\n"
                                  "Found after: 3 sec(s)\n"}));
}

TEST_F(ToolRunOn, ARecordWithSlackNormMinusOneShowsOnlyItsVector)
{
    useProgram("no_targets.opt");
    write("prog.sol", "[ 3 0 ] | 7 | [ ] | -1 | 3 | --beta=20\n");
    const ToolRun result = run();
    EXPECT_EQ(result.out, report({"x = [ 3 0 ]\n\n"}));
}

TEST_F(ToolRunOn, ValuesBeyondTenToTheEighteenAreJudgedExactly)
{
    useProgram("huge.opt");
    // x1 - x2 = 1 holds for the first record only; in long double both differences vanish.
    write("prog.sol", "[ 1000000000000000000001 1000000000000000000000 ] | 0 | [ 0 ] | 0 | 5 | --beta=20\n"
                      "[ 1000000000000000000002 1000000000000000000000 ] | 0 | [ 0 ] | 0 | 5 | --beta=20\n");
    const ToolRun result = run();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(read("prog.sol"),
              "[ 1000000000000000000001 1000000000000000000000 ] | 1000000000000000000001 | "
              "[ 1000000000000000000001 ] | 0 | 5 | --beta=20\n");
    EXPECT_EQ(result.out,
              report({"x = [ 1000000000000000000001 1000000000000000000000 ]\n\n"
                      "Target values: [ 1000000000000000000001\u2193 ]\n"
                      "Target Norm: 1000000000000000000001\nSlack Norm: 0\nFound after: 5 sec(s)\n"}));
}

TEST_F(ToolRunOn, ElevenDigitValuesAreJudgedExactlyAndKeepTheStandardForm)
{
    useProgram("eleven_digits.opt");
    write("prog.sol", "[ 2 60000000002 ] | 0 | [ 0 ] | 0 | 5 | --beta=20\n"
                      "[ 3 90000000002 ] | 0 | [ 0 ] | 0 | 6 | --beta=20\n");
    const ToolRun result = run();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(read("prog.sol"), "[ 2 60000000002 ] | 2 | [ 2 ] | 0 | 5 | --beta=20\n");
}

TEST_F(ToolRunOn, AMalformedProgramStopsWithItsMessageAndKeepsTheSolutionFile)
{
    write("prog.opt", "[ 1 ]\n[ [ 1 2 ] [ 3 4 ] ]\n");
    write("prog.sol", A_IN);
    const ToolRun result = run();
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "\n*** FAIL: The row count of At (2) differs with the dimension of dt (1)\n");
    EXPECT_EQ(read("prog.sol"), A_IN);
}

TEST_F(ToolRunOn, AMissingProgramStopsWithItsName)
{
    write("prog.sol", A_IN);
    const ToolRun result = run();
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "\n*** FAIL: Could not read opt file: prog.opt\n");
    EXPECT_EQ(read("prog.sol"), A_IN);
}

TEST_F(ToolRunOn, AFatalEndLeavesNoSemaphoreBehind)
{
    write("prog.opt", "[ ]\n[ ]\n[ ]\n[ ]\n[ ]\n");
    const ToolRun result = run();
    ASSERT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "\n*** FAIL: Dimension error -- n == 0\n");
    const std::string prefix = "sem." + std::to_string(result.pid) + "_";
    DIR* shm = opendir("/dev/shm");
    ASSERT_NE(shm, nullptr);
    while (dirent* entry = readdir(shm))
        EXPECT_NE(std::string(entry->d_name).rfind(prefix, 0), 0u) << entry->d_name;
    closedir(shm);
}

TEST_F(ToolRunOn, TheNameDecidesWhereTheProgramIs)
{
    // ".sol" alone: the stem rule keeps the whole name, so the files are .sol.opt and .sol.sol.
    useProgram("three_targets.opt");
    write(".sol.opt", read("prog.opt"));
    write(".sol.sol", A_IN);
    write(".sol", B_IN);
    const ToolRun result = run(".sol");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(read(".sol.sol"), A_OUT);
    EXPECT_EQ(read(".sol"), B_IN);
    // A dot in a directory name is no extension.
    ASSERT_EQ(mkdir(path("dir.v1").c_str(), 0755), 0);
    write("dir.v1/prog.opt", read("prog.opt"));
    write("dir.v1/prog.sol", F_IN);
    EXPECT_EQ(run("dir.v1/prog.sol").status, 0);
    EXPECT_EQ(read("dir.v1/prog.sol"), F_OUT);
    std::remove(path("dir.v1/prog.opt").c_str());
    std::remove(path("dir.v1/prog.sol").c_str());
    rmdir(path("dir.v1").c_str());
}

} // namespace
} // namespace latopt::testing_tool
