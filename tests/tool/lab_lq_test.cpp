// End-to-end runs of latopt-lab's commands on dependent rows and LQ factorisations: elim, lqr,
// lqf, exact and with --ld, and their refusal of bad input.
#include "tool/lab_run.h"

#include <gtest/gtest.h>

namespace latopt::testing_tool {
namespace {

// Each command exact and in long double. [2] and [3] span the integers that [1] spans; a restart
// at row 3 gives the fresh run (hand-checked: Q[2] = [4 5 6] - 16/7 [1 2 3]); a dependent row is
// reported where it stands; lqf gives rank 1 for a reflection of [3 4] onto -5 e_1.
TEST(LabLq, CommandsWriteTheirResults)
{
    const std::string lqr = "[ [ 1 0 0 ] [ 2:2/7 1 0 ] [ 3:11/14 1:7/9 1 ] ]\n"
                            "[ [ 1 2 3 ] [ 1:5/7 3/7 -6/7 ] [ 1/6 -1/3 1/6 ] ]\n"
                            "[ 14 3:6/7 1/6 ]\n0\n";
    const std::string lqf = "[ [ -5 0 ] ]\n[ [ -3/5 -4/5 ] [ -4/5 3/5 ] ]\n1\n";
    expectResults({
        {{"elim"}, "[ [ 2 ] [ 3 ] ]", "[ [ 1 ] ]\n"},
        {{"elim", "--ld"}, "[ [ 1 2 ] [ 1 2 ] [ 3 4 ] ]", "[ [ 1 2 ] [ 3 4 ] ]\n"},
        {{"lqr"}, "[ [ 1 2 3 ] [ 4 5 6 ] [ 7 8 10 ] ]", lqr},
        {{"lqr", "--restart=3"}, "[ [ 1 2 3 ] [ 4 5 6 ] [ 7 8 10 ] ]", lqr},
        {{"lqr", "--ld", "--restart=2"},
         "[ [ 1 2 ] [ 2 4 ] ]",
         "[ [ 1 0 ] [ 2 0 ] ]\n[ [ 1 2 ] [ 0 0 ] ]\n[ 5 0 ]\n2\n"},
        {{"lqf"}, "[ [ 3 4 ] ]", lqf},
        {{"lqf", "--ld"}, "[ [ 3 4 ] ]", "[ [ -5 0 ] ]\n[ [ -0.6 -0.8 ] [ -0.8 0.6 ] ]\n1\n"},
    });
}

// Bad input: one line on standard error, nothing on standard output, status 1.
TEST(LabLq, BadInputFailsWithOneLine)
{
    expectRefusals({
        {{"elim"}, "[ [ 1 1/2 ] ]", "latopt-lab: A: elim needs integer entries (row 1, column 2)\n"},
        {{"elim", "--ld"}, "[ [ 2000000002 ] [ 3000000003 ] ]", "latopt-lab: elim: row overflow\n"},
        {{"lqf"}, "[ [ 1 2 ]", "latopt-lab: B: the text ends inside the operand (a \"]\" is missing)\n"},
        {{"lqr", "--restart=4"},
         "[ [ 1 ] [ 2 ] ]",
         "latopt-lab: --restart=4 must lie in 1..2, the rows of B\n"},
        {{"lqr", "--restart=2"},
         "[ [ 0 0 ] [ 1 2 ] ]",
         "latopt-lab: --restart=2 lies beyond row 1, the first dependent row, where the first run stopped\n"},
    });
}

} // namespace
} // namespace latopt::testing_tool
