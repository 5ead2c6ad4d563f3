// process.h: Process, the services of the operating system that the engine uses, and Mutex, the
// record of one named POSIX semaphore. The other process services: signal.h (signal blocking
// around file writes), mutex.h (locks and locked values), generator.h (the seed of rand()),
// statistics.h (the run statistics).
// Semaphores are the system's only locks. Each gets a name of its own, "<pid>_<seconds>_<ctr>",
// and the name is removed again right after the semaphore is created: the handle stays valid for
// the process, and no name can outlive the process, however it ends (a fatal error calls exit(1)
// with its locks alive). Closing a semaphore therefore only closes it.
// Failures of the semaphore calls are fatal, after a line "ERRNO = <text of errno>" on standard
// error: "SEM could not be opened", "SEM could not be unlinked", "SEM could not be closed".
// The path of the program comes from /proc/self/exe on Linux (_NSGetExecutablePath on macOS);
// a failing realpath is an assertion failure, also in release builds.
#pragma once

#include <semaphore.h>
#include <string>

namespace latopt {

// The record of one semaphore; a plain value, copied freely (Lock owns the semaphore).
class Mutex {
public:
    std::string name;           // the semaphore's name in the system, "<pid>_<seconds>_<ctr>"
    std::string owner;          // a second copy of the name, kept for the close
    sem_t* semaphore = nullptr; // the handle from sem_open; null until semaphoreInit succeeds
};

class Process {
public:
    static long getPid();

    // Creates a semaphore with a name that no other semaphore has (unlocked: count 1), removes
    // the name at once, and stores name and handle in out. Not synchronized: locks are made by the
    // thread that owns their objects.
    static void semaphoreInit(Mutex* out);
    // Takes the semaphore; a wait broken off by a signal handler is resumed.
    static void semaphoreWait(sem_t* semaphore);
    static void semaphorePost(sem_t* semaphore);
    // Closes the semaphore of the record; its name is gone already.
    static void semaphoreDestroy(Mutex mutex);

    // The full path of the running program, links resolved; at most 1023 characters.
    static std::string getExecutablePath();
    // The directory part of getExecutablePath(), cut to 1024 characters.
    static std::string getExecutableDir();
};

} // namespace latopt
