// signal.cpp: the handlers of SIGINT and SIGTERM around file writes.
#include "os/signal.h"

#include <csignal>
#include <cstring>

namespace latopt {

Signal::Handler Signal::intHandler = SIG_DFL;
Signal::Handler Signal::termHandler = SIG_DFL;
volatile long Signal::signalWhileBlocked = 0;

void Signal::ignoreHandler(int)
{
    signalWhileBlocked = 1;
}

void Signal::blockAll()
{
    intHandler = std::signal(SIGINT, ignoreHandler);
    termHandler = std::signal(SIGTERM, ignoreHandler);
}

void Signal::unblockAll()
{
    std::signal(SIGINT, intHandler);
    std::signal(SIGTERM, termHandler);
    if (signalWhileBlocked == 1) {
        signalWhileBlocked = 0;
        std::raise(SIGTERM);
    }
}

void Signal::registerHandler(Handler onInterrupt, Handler onTerminate)
{
    std::signal(SIGINT, onInterrupt);
    std::signal(SIGTERM, onTerminate);
}

std::string Signal::toString(int signal)
{
    return std::string(strsignal(signal));
}

} // namespace latopt
