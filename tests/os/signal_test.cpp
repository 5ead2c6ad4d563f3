#include "os/signal.h"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>

namespace latopt {
namespace {

// Lock-free atomics may be touched from a handler.
std::atomic<int> interrupts{0};
std::atomic<int> terminations{0};

void countInterrupt(int)
{
    ++interrupts;
}
void countTermination(int)
{
    ++terminations;
}

Signal::Handler currentHandler(int signal)
{
    struct sigaction action {};
    sigaction(signal, nullptr, &action);
    return action.sa_handler;
}

// Installs counting handlers for SIGINT and SIGTERM and puts the defaults back afterwards.
class SignalBlocking : public testing::Test {
protected:
    void SetUp() override
    {
        interrupts = 0;
        terminations = 0;
        Signal::signalWhileBlocked = 0;
        Signal::registerHandler(countInterrupt, countTermination);
    }
    void TearDown() override { Signal::registerHandler(SIG_DFL, SIG_DFL); }
};

TEST_F(SignalBlocking, WithoutASignalUnblockRestoresTheHandlersAndRaisesNothing)
{
    Signal::blockAll();
    EXPECT_EQ(currentHandler(SIGINT), &Signal::ignoreHandler);
    EXPECT_EQ(currentHandler(SIGTERM), &Signal::ignoreHandler);
    Signal::unblockAll();
    EXPECT_EQ(currentHandler(SIGINT), &countInterrupt);
    EXPECT_EQ(currentHandler(SIGTERM), &countTermination);
    EXPECT_EQ(interrupts, 0);
    EXPECT_EQ(terminations, 0);
    EXPECT_EQ(Signal::signalWhileBlocked, 0);
}

TEST_F(SignalBlocking, InterruptWhileBlockedIsNotedAndComesBackAsTermination)
{
    Signal::blockAll();
    std::raise(SIGINT);
    std::raise(SIGINT);
    EXPECT_EQ(Signal::signalWhileBlocked, 1);
    EXPECT_EQ(interrupts, 0);
    EXPECT_EQ(terminations, 0);
    Signal::unblockAll();
    EXPECT_EQ(interrupts, 0);
    EXPECT_EQ(terminations, 1);
    EXPECT_EQ(Signal::signalWhileBlocked, 0);
}

TEST(SignalDeathTest, InterruptWhileBlockedEndsTheProcessBySigtermAtUnblock)
{
    EXPECT_EXIT(
        {
            Signal::blockAll();
            std::raise(SIGINT);
            std::fprintf(stderr, "file complete\n");
            Signal::unblockAll();
            std::exit(0);
        },
        testing::KilledBySignal(SIGTERM), "file complete");
}

} // namespace
} // namespace latopt
