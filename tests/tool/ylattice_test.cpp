// The dual-precision protocol: a step that meets a value long double can't be trusted with is
// redone in exact arithmetic on the state from before the attempt, and nothing above notices.
#include "tool_run.h"
#include "ylattice.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace latopt::testing_tool {
namespace {

template <class Lattice>
std::vector<std::string> recordLines(const Lattice& lattice)
{
    std::vector<std::string> lines;
    for (long i = 1; i <= lattice.stars.MN; ++i)
        lines.push_back(lattice.stars[i].toString());
    return lines;
}

class YLatticeRun : public ToolSandbox {
protected:
    // The steps of a run up to the records, as the tool takes them.
    void readAll(YLattice<long double>& run) const
    {
        run.setFileNames(path("prog.sol"));
        run.readOptFile();
        run.switchToXtraLatPrecision();
        run.readStarsFromSolFile(false);
    }
};

// eleven_digits.opt: 30000000001 x1 = x2. The first record breaks the equation, the second has
// values beyond the trusted range of a long double, the third is small.
const std::string ELEVEN_DIGIT_RECORDS = "[ 1 30000000002 ] | 0 | [ 0 ] | 0 | 1 | --beta=20\n"
                                         "[ 2 60000000002 ] | 0 | [ 0 ] | 0 | 2 | --beta=20\n"
                                         "[ 0 0 ] | 5 | [ 5 ] | 0 | 3 | --beta=20\n"
                                         "[ 3 90000000003 ] | 0 | [ 0 ] | 0 | 4 | --beta=20\n";

TEST_F(YLatticeRun, AFallbackRestoresTheStateAndGivesTheResultOfAnExactPass)
{
    useProgram("eleven_digits.opt");
    write("prog.sol", ELEVEN_DIGIT_RECORDS);

    YLattice<long double> guarded;
    readAll(guarded);
    guarded.switchToStandardLatPrecision();
    ASSERT_FALSE(guarded.useXtraPrecision);
    const unsigned long depth = THREAD_DEPTH;
    guarded.checkStars();
    EXPECT_FALSE(guarded.useXtraPrecision);
    EXPECT_EQ(THREAD_DEPTH, depth);

    // The reference: the same pass on the exact lattice, which still holds the records as read.
    YLattice<long double> exact;
    readAll(exact);
    exact.extra.checkStars();
    const std::vector<std::string> expected = recordLines(exact.extra);
    ASSERT_EQ(expected.size(), 3u) << "the first record is removed, the one behind it is skipped";

    std::vector<std::string> actual;
    for (long i = 1; i <= guarded.standard.stars.MN; ++i) {
        Star<QQ> up;
        up._assign(guarded.standard.stars[i]);
        actual.push_back(up.toString());
    }
    EXPECT_EQ(actual, expected);
}

TEST_F(YLatticeRun, AStepThatNeedsNoFallbackStaysInStandardPrecision)
{
    useProgram("three_targets.opt");
    write("prog.sol", "[ 1 2 3 ]\n[ 6 0 0 ]\n[ 2 2 2 ]\n");
    YLattice<long double> run;
    readAll(run);
    run.switchToStandardLatPrecision();
    EXPECT_TRUE(run.checkStars() == false);
    EXPECT_FALSE(run.useXtraPrecision);
    EXPECT_EQ(run.standard.stars.MN, 2);
}

TEST_F(YLatticeRun, AFailingDownwardCopyKeepsTheRunInExtraPrecision)
{
    useProgram("huge.opt");
    write("prog.sol", "[ 1000000000000000000001 1000000000000000000000 ] | 0 | [ 0 ] | 0 | 5 | --beta=20\n");
    YLattice<long double> run;
    readAll(run);
    EXPECT_THROW(run.switchToStandardLatPrecision(), PrecisionException);
    EXPECT_TRUE(run.useXtraPrecision);
    // The next guarded step runs on the exact lattice and can't come down either.
    EXPECT_TRUE(run.checkStars());
    EXPECT_TRUE(run.useXtraPrecision);
    ASSERT_EQ(run.extra.stars.MN, 1);
    EXPECT_EQ(run.extra.stars[1].toString(), "[ 1000000000000000000001 1000000000000000000000 ] | "
                                             "1000000000000000000001 | [ 1000000000000000000001 ] | 0 | 5 | "
                                             "--beta=20");
}

TEST_F(YLatticeRun, VerbosityTwoShowsTheSwitchesAtTheIndentationOfTheRun)
{
    useProgram("eleven_digits.opt");
    write("prog.sol", ELEVEN_DIGIT_RECORDS);
    YLattice<long double> run;
    run.standard.params.verb = 2L;
    run.setFileNames(path("prog.sol"));
    testing::internal::CaptureStdout();
    run.readOptFile();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "|-> Reading opt file ...\n"
                                                      "|    |-> Switching to extended precision\n"
                                                      "|    |-> Using standard precision\n");
    EXPECT_EQ(THREAD_DEPTH, 0u);
    run.switchToXtraLatPrecision();
    run.readStarsFromSolFile(false);
    run.switchToStandardLatPrecision();
    testing::internal::CaptureStdout();
    std::cout << BEGINL() << " Checking" << LF();
    run.checkStars();
    std::cout << ENDL(true);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "|-> Checking\n"
                                                      "|    |-> Switching to extended precision\n"
                                                      "|    |-> Using standard precision\n");
    EXPECT_EQ(THREAD_DEPTH, 0u);
}

TEST(YLatticeSize, TheRunFitsOnTheDefaultStack)
{
    // main keeps the run on its stack; the usual 8 MiB must hold it with room to spare.
    EXPECT_LT(sizeof(YLattice<long double>), 256u * 1024u);
}

} // namespace
} // namespace latopt::testing_tool
