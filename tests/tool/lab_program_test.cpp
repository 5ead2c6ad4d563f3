// End-to-end runs of latopt-lab prep: the prepared program and what undoes the preparation, and a
// program without solutions stopping with the routine's own text; of embed and map: the lattice
// of a small program, vectors mapped both ways, a program whose equation has no integer solution and a bad
// input line refused.
#include "tool/lab_run.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <unistd.h>
#include <vector>

namespace latopt::testing_tool {
namespace {

// Writes text to a new temporary file and returns its name.
std::string programFile(const std::string& text)
{
    char name[] = "/tmp/latopt_lab_prep_XXXXXX";
    const int descriptor = mkstemp(name);
    EXPECT_EQ(write(descriptor, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    close(descriptor);
    return name;
}

// x1 in [1, 4] (shifted by 1), x2 <= 3 (swapped, then shifted by -3), x3 = 2 (removed), x4 in
// [0, 0.5] in tenths; x1 + x2 + x3 + x4 = 5 becomes 10 x1 - 10 x2' + x4' = -10; x1 + 2 x4 >= 1
// becomes 5 x1 + x4' - s = 5 (s an integer), shifted to right side 0; the target x1 + x2 near 1
// becomes x1 - x2' + t1 - t2 = -3 with the target t1 + t2, minimised.
TEST(LabProgram, PrepWritesThePreparedProgram)
{
    const std::string file =
        programFile("[ 1 ] [ [ 1 1 0 0 ] ] [ [ 1 1 1 1 ] ] [ 5 ] [ [ 1 0 0 2 ] ] [ 1 ] [ inf ]"
                    "[ 0 0 0 1 ] [ 1 -inf 2 0 ] [ 4 3 2 0.5 ]");
    const std::string empty = programFile("[ ] [ ] [ [ 2 ] ] [ 5 ] [ ] [ ] [ ] [ 0 ] [ 0 ] [ 1 ]");
    const std::string prepared =
        "[ -inf ]\n= [ -inf ]\n[ [ 0 0 0 0 1 1 ] ]\n"
        "[ [ 10 -10 1 0 0 0 ] [ 5 0 1 -1 0 0 ] [ 1 -1 0 0 1 -1 ] ]\n[ -10 0 -3 ]\n"
        "[ ]\n[ ]\n[ ]\n[ 0 0 1 0 0 0 ]\n[ 1 -3 0 0 0 0 ]\n[ 3 inf 5 inf inf inf ]\n"
        "constants [ 3=2 ]\nswapped [ 2 ]\noffsets [ 1 -3 0 0 0 0 ]\nslacks [ 4 5 6 ]\n";
    expectResults({{{"prep", file}, "", prepared}, {{"prep", file, "--ld"}, "", prepared}});
    expectRefusals(
        {{{"prep", empty},
          "",
          empty + ": Equality #1, lg = 0, this->bg = 5, rg = 2\n\n*** FAIL: Unfulfillable equality "
                  "detected --> NO SOLUTIONS!\n"}});
    std::remove(file.c_str());
    std::remove(empty.c_str());
}

// x1 in [0, 2], x2 in [1, 3] (shifted by 1), -1 <= x1 - x2 <= 1: R = 2, every scale 1; the
// inequation's column holds 2 (x1 - x2) - 0, the variables' 2 x - 2, the marker 1.
TEST(LabProgram, EmbedWritesTheLatticeAndMapGoesBothWays)
{
    const std::string file =
        programFile("[ -inf ] [ [ 1 1 ] ] [ ] [ ] [ [ 1 -1 ] ] [ -1 ] [ 1 ] [ 0 0 ] [ 0 1 ] [ 2 3 ]");
    const std::string unsolvable = programFile("[ ] [ ] [ [ 2 ] ] [ 1 ] [ ] [ ] [ ] [ 0 ] [ 0 ] [ 3 ]");
    const std::string lattice =
        "\n// B -- l, r -- c, R -- lx, rx -- tu, lrtu\n"
        "[\n[ -2 -2 -2 1 ]\n[ 2 2 0 0 ]\n[ -2 0 2 0 ]\n]\n\n"
        "[ -2 -2 -2 1 ]\n[ 2 2 2 1 ]\n\n[ 1 1 1 0 ]\n2\n\n[ 0 1 ]\n[ 2 3 ]\n\n0\n(-inf, inf)\n\n";
    for (const std::string precision : {"", "--ld"}) {
        std::vector<std::string> arguments{"embed", file};
        if (!precision.empty()) arguments.push_back(precision);
        const ToolRun run = runLab(arguments, "");
        EXPECT_EQ(run.status, 0);
        // The last line is the seconds of the run.
        EXPECT_EQ(run.out.substr(0, lattice.size()), lattice);
        EXPECT_EQ(run.out.find_first_not_of("0123456789\n", lattice.size()), std::string::npos);
    }
    // The lattice vector of x = (1, 2), and x = (0, 1) back from the inhomogenous row and its
    // negative; the zero vector has no marker.
    const std::string input = "opt [ 1 2 ]\nlat [ -2 -2 -2 1 ]\n\nlat [ 2 2 2 -1 ]\nlat [ 0 0 0 0 ]\n";
    const std::string answers = "lat [ -2 0 0 1 ]\nopt [ 0 1 ] 1\nopt [ 0 1 ] 1\nopt [ 1 2 ] -1\n";
    expectResults({{{"map", file}, input, answers}, {{"map", file, "--ld"}, input, answers}});
    // With an equation the lattice is that of its solutions; the embedding's own solution ends
    // nothing.
    const std::string solvable = programFile("[ ] [ ] [ [ 1 1 ] ] [ 2 ] [ ] [ ] [ ] [ 0 0 ] [ 0 0 ] [ 3 3 ]");
    expectResults(
        {{{"map", solvable}, "opt [ 1 1 ]\nlat [ -1 -1 1 ]\n", "lat [ -1 -1 1 ]\nopt [ 1 1 ] 1\n"}});
    std::remove(solvable.c_str());
    expectRefusals(
        {{{"embed", unsolvable}, "", "\n*** FAIL: The equation system has no integer solution :(\n"},
         {{"map", file}, "opt [ 1 2 3 ]\n", "latopt-lab: map: x has 3 entries, the program 2 variables\n"},
         {{"map", file}, "vec [ 1 2 ]\n", "latopt-lab: map: a line starts with \"vec\", not opt or lat\n"}});
    std::remove(file.c_str());
    std::remove(unsolvable.c_str());
}

} // namespace
} // namespace latopt::testing_tool
