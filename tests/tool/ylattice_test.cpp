// The dual-precision protocol: a step that meets a value long double can't be trusted with is
// redone in exact arithmetic on the state from before the attempt, and nothing above notices.
#include "tool_run.h"
#include "ylattice.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace latopt::testing_tool {
namespace {

class YLatticeRun : public ToolSandbox {
protected:
    // The steps of a run up to the records, as the tool takes them.
    void readAll(YLattice<long double>& run, const char* program, const std::string& records) const
    {
        useProgram(program);
        write("prog.sol", records);
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
    YLattice<long double> guarded;
    readAll(guarded, "eleven_digits.opt", ELEVEN_DIGIT_RECORDS);
    guarded.switchToStandardLatPrecision();
    ASSERT_FALSE(guarded.useXtraPrecision);
    const unsigned long depth = THREAD_DEPTH;
    guarded.checkStars();
    EXPECT_FALSE(guarded.useXtraPrecision);
    EXPECT_EQ(THREAD_DEPTH, depth);

    // The reference: the same pass on the exact lattice, which still holds the records as read.
    YLattice<long double> exact;
    readAll(exact, "eleven_digits.opt", ELEVEN_DIGIT_RECORDS);
    exact.extra.checkStars();
    ASSERT_EQ(exact.extra.stars.MN, 3) << "the first record is removed, the one behind it is skipped";
    ASSERT_EQ(guarded.standard.stars.MN, 3);
    for (long i = 1; i <= 3; ++i) {
        Star<QQ> up;
        up._assign(guarded.standard.stars[i]);
        EXPECT_EQ(up.toString(), exact.extra.stars[i].toString());
    }
}

TEST_F(YLatticeRun, AStepThatNeedsNoFallbackStaysInStandardPrecision)
{
    YLattice<long double> run;
    readAll(run, "three_targets.opt", "[ 1 2 3 ]\n[ 6 0 0 ]\n[ 2 2 2 ]\n");
    run.switchToStandardLatPrecision();
    EXPECT_FALSE(run.checkStars());
    EXPECT_FALSE(run.useXtraPrecision);
    EXPECT_EQ(run.standard.stars.MN, 2);
}

TEST_F(YLatticeRun, AFailingDownwardCopyKeepsTheRunInExtraPrecision)
{
    const std::string record = "[ 1000000000000000000001 1000000000000000000000 ] | 1000000000000000000001 | "
                               "[ 1000000000000000000001 ] "
                               "| 0 | 5 | --beta=20";
    YLattice<long double> run;
    readAll(run, "huge.opt",
            "[ 1000000000000000000001 1000000000000000000000 ] | 0 | [ 0 ] | 0 | 5 | --beta=20\n");
    EXPECT_THROW(run.switchToStandardLatPrecision(), PrecisionException);
    EXPECT_TRUE(run.useXtraPrecision);
    // The next guarded step runs on the exact lattice and can't come down either.
    EXPECT_TRUE(run.checkStars());
    EXPECT_TRUE(run.useXtraPrecision);
    ASSERT_EQ(run.extra.stars.MN, 1);
    EXPECT_EQ(run.extra.stars[1].toString(), record);
}

TEST_F(YLatticeRun, VerbosityTwoShowsTheSwitchesAtTheIndentationOfTheRun)
{
    const std::string switches =
        "|    |-> Switching to extended precision\n|    |-> Using standard precision\n";
    useProgram("eleven_digits.opt");
    write("prog.sol", ELEVEN_DIGIT_RECORDS);
    YLattice<long double> run;
    run.standard.params.verb = 2L;
    run.setFileNames(path("prog.sol"));
    testing::internal::CaptureStdout();
    run.readOptFile();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "|-> Reading opt file ...\n" + switches);
    EXPECT_EQ(THREAD_DEPTH, 0u);
    run.switchToXtraLatPrecision();
    run.readStarsFromSolFile(false);
    run.switchToStandardLatPrecision();
    testing::internal::CaptureStdout();
    std::cout << BEGINL() << " Checking" << LF();
    run.checkStars();
    std::cout << ENDL(true);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "|-> Checking\n" + switches);
    EXPECT_EQ(THREAD_DEPTH, 0u);
}

// main keeps the run on its stack; the usual 8 MiB must hold it with room to spare.
TEST(YLatticeSize, TheRunFitsOnTheDefaultStack)
{
    EXPECT_LT(sizeof(YLattice<long double>), 256u * 1024u);
}

} // namespace
} // namespace latopt::testing_tool
