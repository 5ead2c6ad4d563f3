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

// While blocked, SIGINT and SIGTERM go to the ignoring handler, which notes that one came;
// unblocking restores the handlers and turns a noted signal (however many came) into one SIGTERM.
TEST(SignalBlocking, BlockedSignalIsNotedOnceAndComesBackAsTermination)
{
    Signal::signalWhileBlocked = 0;
    Signal::registerHandler(countInterrupt, countTermination);
    for (int raised : {0, 2}) {
        SCOPED_TRACE(raised);
        interrupts = terminations = 0;
        Signal::blockAll();
        EXPECT_EQ(currentHandler(SIGINT), &Signal::ignoreHandler);
        EXPECT_EQ(currentHandler(SIGTERM), &Signal::ignoreHandler);
        for (int i = 0; i < raised; ++i)
            std::raise(SIGINT);
        EXPECT_EQ(Signal::signalWhileBlocked, raised > 0 ? 1 : 0);
        Signal::unblockAll();
        EXPECT_EQ(currentHandler(SIGINT), &countInterrupt);
        EXPECT_EQ(currentHandler(SIGTERM), &countTermination);
        EXPECT_EQ(interrupts, 0);
        EXPECT_EQ(terminations, raised > 0 ? 1 : 0);
        EXPECT_EQ(Signal::signalWhileBlocked, 0);
    }
    Signal::registerHandler(SIG_DFL, SIG_DFL);
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
