// End-to-end runs of latopt-lab's elimination commands (rref, det, unimod, gauss, rsolve, lsolve),
// exact and with --ld, and the refusal of bad input with one line and status 1.
#include "tool/lab_run.h"

#include <gtest/gtest.h>

namespace latopt::testing_tool {
namespace {

// Hand-checked results: the reduced form of a rank-2 matrix whose first row has no leading
// entry in column 1; det [[1 0] [2 1]] is 1 whatever the pivot exchanges, and 10^10 stays a pivot
// in exact arithmetic; row pivoting takes the largest entry of each column.
TEST(LabElimination, CommandsWriteTheirResults)
{
    const std::string rref = "[ [ 1 0 -1 ] [ 0 1 2 ] [ 0 0 0 ] ]\n[ 1 2 ]\n";
    expectResults({
        {{"rref"},
         "[ [ 0 2 4 ] [ 1 1 1 ] [ 2 2 2 ] ]",
         rref + "[ [ -1/2 0 1/2 ] [ 1/2 0 0 ] [ 0 1 -1/2 ] ]\n2\n"},
        {{"rref", "--ld"},
         "[ [ 0 2 4 ] [ 1 1 1 ] [ 2 2 2 ] ]",
         rref + "[ [ -0.5 0 0.5 ] [ 0.5 0 0 ] [ 0 1 -0.5 ] ]\n2\n"},
        {{"det", "--ld"}, "[ [ 1 0 ] [ 2 1 ] ]", "1\n"},
        {{"det"}, "[ [ 10000000000 1 ] [ 1 0 ] ]", "-1\n"},
        {{"unimod"}, "[ [ 2 1 ] [ 1 1 ] ]", "true\n"},
        {{"unimod", "--ld"}, "[ [ 2 1 ] [ 1 2 ] ]", "false\n"},
        {{"gauss"},
         "[ [ 1 2 ] [ 3 4 ] [ 5 6 ] ]",
         "[ [ 0 0 1 ] [ 1 0 0 ] [ 0 1 0 ] ]\n[ [ 1 0 ] [ 1/5 1 ] [ 3/5 1/2 ] ]\n[ [ 5 6 ] [ 0 4/5 ] ]\n"},
        {{"rsolve"}, "[ [ 1 2 ] [ 3 4 ] ] [ 5 6 ]", "[ -4 4:1/2 ]\n"},
        {{"rsolve"}, "[ [ 1 2 ] [ 2 4 ] ] [ 5 6 ]", "none\n"},
        {{"lsolve", "--ld"}, "[ [ 1 2 ] [ 3 4 ] ] [ 5 6 ]", "[ -1 2 ]\n"},
    });
}

TEST(LabElimination, BadInputFailsWithOneLine)
{
    expectRefusals({
        {{}, "", "latopt-lab: no command given (latopt-lab --help lists the commands)\n"},
        {{"frob"},
         "[ [ 1 ] ]",
         "latopt-lab: unknown command \"frob\" (latopt-lab --help lists the commands)\n"},
        {{"det", "--foo"}, "[ [ 1 ] ]", "latopt-lab: unknown option \"--foo\" for det\n"},
        {{"rref"},
         "[ [ 1 2 ] [ 3 ] ]",
         "latopt-lab: A: rows of different lengths (row 1 has 2 entries, row 2 has 1)\n"},
        {{"det"}, "[ [ 1 2 ] ]", "latopt-lab: det needs a square matrix, A is 1 x 2\n"},
        {{"det"}, "hello", "latopt-lab: A: expected a matrix, found \"hello\"\n"},
        {{"det"}, "[ [ 1 x ] [ 3 4 ] ]", "latopt-lab: A: \"x\" is not a number\n"},
        {{"rsolve"}, "[ [ 1 2 ] [ 3 4 ] ]", "latopt-lab: b: missing operand (a vector)\n"},
        {{"rsolve"},
         "[ [ 1 2 ] [ 3 4 ] ] [ 1 2 3 ]",
         "latopt-lab: b has 3 entries, A is 2 x 2 (rsolve needs 2)\n"},
        {{"lsolve"}, "[ [ 1 ] ] [ 1 ] [ 2 ]", "latopt-lab: unexpected text after the operands of lsolve\n"},
    });
}

} // namespace
} // namespace latopt::testing_tool
