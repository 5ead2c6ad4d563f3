// End-to-end runs of latopt-lab prep: the prepared program and what undoes the preparation, and a
// program without solutions stopping with the routine's own text.
#include "tool/lab_run.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <unistd.h>

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

} // namespace
} // namespace latopt::testing_tool
