// signal.h: Signal, the holding back of SIGINT and SIGTERM while a file is written.
// blockAll() replaces the handlers of both signals with ignoreHandler, which only notes that a
// signal came; unblockAll() puts the old handlers back and, if a signal came meanwhile, raises
// SIGTERM, whichever of the two had arrived. So a run is ended only after the file is complete.
// Handlers change only the flag signalWhileBlocked. Not nestable: a second blockAll() would keep
// ignoreHandler as the "old" handler.
#pragma once

#include <string>

namespace latopt {

class Signal {
public:
    using Handler = void (*)(int);

    static Handler intHandler;               // the SIGINT handler that blockAll() replaced
    static Handler termHandler;              // the SIGTERM handler that blockAll() replaced
    static volatile long signalWhileBlocked; // 1: a signal arrived between blockAll and unblockAll

    // Notes the signal: signalWhileBlocked = 1, nothing else.
    static void ignoreHandler(int signal);
    static void blockAll();
    static void unblockAll();
    static void registerHandler(Handler onInterrupt, Handler onTerminate);
    // The description of a signal number (strsignal).
    static std::string toString(int signal);
};

} // namespace latopt
