// process.cpp: the semaphore calls and the path of the running program.
// The path lookup asserts in every build type, so NDEBUG is lifted before <cassert> comes in.
#undef NDEBUG
#include <cassert>

#include "os/process.h"

#include "base/log.h"

#include <cerrno>
#include <climits>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <libgen.h>
#include <stdlib.h>
#include <unistd.h>

#ifdef __APPLE__
#include <mach-o/dyld.h>
#endif

namespace latopt {

namespace {

// The size of the buffers of the program path, as on the platform of origin.
constexpr std::size_t PATH_BUFFER_SIZE = 1024;

[[noreturn]] void semaphoreFailure(const std::string& message)
{
    PRINT(std::string("ERRNO = ") + std::strerror(errno));
    fatal(message);
}

} // namespace

long Process::getPid()
{
    return static_cast<long>(getpid());
}

void Process::semaphoreInit(Mutex* out)
{
    // 1. Names count up within one second of the clock and start at 1 in the next.
    static std::time_t lastTime = std::time(nullptr);
    static unsigned long ctr = 1;
    for (;;) {
        // 2. A new second starts the counter anew.
        const std::time_t now = std::time(nullptr);
        if (now != lastTime) {
            lastTime = now;
            ctr = 1;
        }
        // 3. The process id is asked each time, so that a forked child names its own semaphores.
        const std::string name = std::to_string(getPid()) + "_" + std::to_string(static_cast<long>(now)) +
                                 "_" + std::to_string(ctr++);
        // 4. Created unlocked; O_EXCL makes sure that the semaphore is new.
        sem_t* semaphore = sem_open(name.c_str(), O_CREAT | O_EXCL, 0600, 1);
        if (semaphore == SEM_FAILED) {
            // 5. A name in use: the next counter value.
            if (errno == EEXIST) continue;
            semaphoreFailure("SEM could not be opened");
        }
        // 6. The name goes at once; the handle stays valid until it is closed. Nothing is left
        // behind when the process ends without closing (exit(1) on a fatal error, a signal).
        if (sem_unlink(name.c_str()) != 0) semaphoreFailure("SEM could not be unlinked");
        out->name = name;
        out->owner = name;
        out->semaphore = semaphore;
        return;
    }
}

void Process::semaphoreWait(sem_t* semaphore)
{
    // A handler that interrupts the wait (the one of Signal::blockAll) must not leave the lock
    // untaken, or the post that follows would unlock it twice.
    while (sem_wait(semaphore) != 0 && errno == EINTR) {
    }
}

void Process::semaphorePost(sem_t* semaphore)
{
    sem_post(semaphore);
}

void Process::semaphoreDestroy(Mutex mutex)
{
    if (sem_close(mutex.semaphore) != 0) semaphoreFailure("SEM could not be closed");
}

std::string Process::getExecutablePath()
{
#ifdef __APPLE__
    char raw[PATH_BUFFER_SIZE];
    uint32_t size = sizeof raw;
    const char* source = _NSGetExecutablePath(raw, &size) == 0 ? raw : "";
#else
    const char* source = "/proc/self/exe";
#endif
    // realpath may write up to PATH_MAX characters; the result must also fit the 1024 of the
    // buffer, or it counts as a failing realpath.
    char resolved[PATH_MAX > PATH_BUFFER_SIZE ? PATH_MAX : PATH_BUFFER_SIZE];
    const char* path = realpath(source, resolved);
    assert(path != nullptr && std::strlen(path) < PATH_BUFFER_SIZE);
    return std::string(path);
}

std::string Process::getExecutableDir()
{
    char buffer[PATH_BUFFER_SIZE];
    std::strncpy(buffer, getExecutablePath().c_str(), PATH_BUFFER_SIZE - 1);
    buffer[PATH_BUFFER_SIZE - 1] = '\0';
    return std::string(dirname(buffer));
}

} // namespace latopt
