#include "base/exceptions.h"
#include "base/log.h"

#include <gtest/gtest.h>

#include <sstream>
#include <type_traits>

namespace latopt {
namespace {

// Every test starts and ends with an empty log tree.
class LogTree : public testing::Test {
protected:
    void SetUp() override { resetLog(); }
    void TearDown() override { resetLog(); }
    static void resetLog()
    {
        THREAD_DEPTH = 0;
        for (unsigned long level = 0; level < MAX_THREAD_DEPTH; ++level)
            LINE_OPEN[level] = SKIP_NEXT_NL[level] = false;
    }
};

TEST_F(LogTree, NestedStepsIndentAndCloseTheirLines)
{
    std::ostringstream out;
    out << BEGINL() << " Reading opt file ..." << LF();
    out << BEGINL() << " Using standard precision" << ENDL(false);
    out << ENDL(true);
    EXPECT_EQ(out.str(), "|-> Reading opt file ...\n|    |-> Using standard precision\n");
    EXPECT_EQ(THREAD_DEPTH, 0u);
}

TEST_F(LogTree, SecondOpenWithoutTextCutsTheLineShort)
{
    EXPECT_EQ(BEGINL(), "|->");
    EXPECT_EQ(BEGINL(), "\n|    |->");
    EXPECT_EQ(ENDL(false), "\n");
    EXPECT_EQ(ENDL(false), "");
}

// Surplus closes at the root, and closes right after a line feed, owe nothing.
TEST_F(LogTree, ClosesWithNothingOpenWriteNothing)
{
    EXPECT_EQ(ENDL(false), "");
    EXPECT_EQ(ENDL(true), "");
    EXPECT_EQ(THREAD_DEPTH, 0u);
    for (bool newline : {true, false}) {
        BEGINL();
        LF();
        EXPECT_EQ(ENDL(newline), "");
    }
}

TEST_F(LogTree, GuardRestoresDepthWhenAnExceptionPasses)
{
    try {
        ThreadDepthGuard guard;
        BEGINL();
        BEGINL();
        throw PrecisionException();
    } catch (const PrecisionException&) {
    }
    EXPECT_EQ(THREAD_DEPTH, 0u);
}

TEST(LogDeathTest, FatalWarningAndTheDepthLimit)
{
    EXPECT_EXIT(fatal("boom"), testing::ExitedWithCode(1), "^\n\\*\\*\\* FAIL: boom\n$");
    EXPECT_EXIT((warning("careful"), failure()), testing::ExitedWithCode(1), "^\n\\*\\*\\* careful\n$");
    auto openAll = [] {
        for (unsigned long level = 0; level < MAX_THREAD_DEPTH; ++level)
            BEGINL();
    };
    EXPECT_EXIT(openAll(), testing::ExitedWithCode(1), "\n\\*\\*\\* FAIL: Maximum thread depth reached\n$");
}

TEST(Exceptions, TextsAndDefaults)
{
    EXPECT_STREQ(PrecisionException().what(), "Precision exception");
    EXPECT_STREQ(PrecisionException("q overflow").what(), "q overflow");
    EXPECT_STREQ(PostCommaPrecisionException().what(), "PostCommaPrecision exception");
    EXPECT_STREQ(PreCommaPrecisionException("7").what(), "PreCommaPrecision exception: 7");
    EXPECT_STREQ(FatalPrecisionException("y").what(), "FatalPrecisionException exception: y");
    EXPECT_STREQ(DependencyException().what(), "Dependency exception");
    static_assert(std::is_base_of_v<PrecisionException, PreCommaPrecisionException>);
}

} // namespace
} // namespace latopt
