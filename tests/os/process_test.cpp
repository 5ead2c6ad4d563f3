#include "os/mutex.h"
#include "os/process.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <memory>
#include <semaphore.h>
#include <string>
#include <unistd.h>
#include <vector>

namespace latopt {
namespace {

// Lock names are "pid_seconds_counter"; two made in the same second differ by the counter.
TEST(SemaphoreNames, TwoInTheSameSecondDifferByTheCounter)
{
    // A second boundary may fall between the two; then try again.
    for (int attempt = 0; attempt < 10; ++attempt) {
        Lock one;
        Lock two;
        long a[3] = {}, b[3] = {};
        ASSERT_EQ(std::sscanf(one.name.c_str(), "%ld_%ld_%ld", &a[0], &a[1], &a[2]), 3) << one.name;
        ASSERT_EQ(std::sscanf(two.name.c_str(), "%ld_%ld_%ld", &b[0], &b[1], &b[2]), 3) << two.name;
        EXPECT_EQ(one.owner, one.name);
        EXPECT_EQ(a[0], static_cast<long>(getpid()));
        if (a[1] != b[1]) continue;
        EXPECT_EQ(b[0], a[0]);
        EXPECT_EQ(b[2], a[2] + 1);
        return;
    }
    FAIL() << "no two locks in the same second";
}

TEST(SemaphoreLock, NameIsGoneAtOnceAndTheLockStartsFreeAndAdmitsOneHolder)
{
    Lock lock;
    errno = 0;
    EXPECT_EQ(sem_open(lock.name.c_str(), 0), SEM_FAILED);
    EXPECT_EQ(errno, ENOENT);
    Process::semaphoreWait(lock.semaphore);
    errno = 0;
    EXPECT_NE(sem_trywait(lock.semaphore), 0);
    EXPECT_EQ(errno, EAGAIN);
    Process::semaphorePost(lock.semaphore);
    ASSERT_EQ(sem_trywait(lock.semaphore), 0);
    Process::semaphorePost(lock.semaphore);
}

// The semaphore files in /dev/shm whose names begin with the given process id.
std::vector<std::string> semaphoreFilesOf(long pid)
{
    const std::string prefix = "sem." + std::to_string(pid) + "_";
    std::vector<std::string> found;
    for (const auto& entry : std::filesystem::directory_iterator("/dev/shm"))
        if (entry.path().filename().string().rfind(prefix, 0) == 0) found.push_back(entry.path().filename());
    return found;
}

// A run that stops on a fatal error with locks alive: exit(1) closes no lock, and still no
// semaphore of the child may remain in /dev/shm.
TEST(SemaphoreLeakDeathTest, FatalExitWithLiveLocksLeavesNoSemaphore)
{
    // The scan sees a named semaphore of this process that is still there.
    const std::string probe = std::to_string(getpid()) + "_probe";
    sem_t* probeSemaphore = sem_open(probe.c_str(), O_CREAT | O_EXCL, 0600, 1);
    ASSERT_NE(probeSemaphore, SEM_FAILED);
    EXPECT_EQ(semaphoreFilesOf(getpid()), std::vector<std::string>({"sem." + probe}));
    sem_unlink(probe.c_str());
    sem_close(probeSemaphore);
    EXPECT_TRUE(semaphoreFilesOf(getpid()).empty());

    // The child writes its process id; the parent looks for its semaphores after its end. The
    // child runs the test anew, so it takes the file's name, unique per parent, from the
    // environment.
    const char* inherited = std::getenv("LATOPT_LEAK_PID_FILE");
    const std::string pidFile =
        inherited != nullptr ? inherited
                             : testing::TempDir() + "latopt_leak_child_pid_" + std::to_string(getpid());
    ::setenv("LATOPT_LEAK_PID_FILE", pidFile.c_str(), 1);
    const auto stopWithLocksAlive = [&] {
        std::ofstream(pidFile) << getpid();
        auto locks = std::make_unique<Lock[]>(5);
        auto value = std::make_unique<MutexType<long>>(7L);
        auto vars = std::make_unique<MainMutexVars>();
        fatal("stopped with locks alive");
    };
    EXPECT_EXIT(stopWithLocksAlive(), testing::ExitedWithCode(1),
                "^\n\\*\\*\\* FAIL: stopped with locks alive\n$");
    long child = 0;
    ASSERT_TRUE(std::ifstream(pidFile) >> child);
    std::remove(pidFile.c_str());
    ::unsetenv("LATOPT_LEAK_PID_FILE");
    EXPECT_TRUE(semaphoreFilesOf(child).empty());
}

TEST(ExecutablePath, NamesThisTestProgramWithLinksResolved)
{
    const std::string path = Process::getExecutablePath();
    char resolved[PATH_MAX];
    ASSERT_NE(realpath(path.c_str(), resolved), nullptr);
    EXPECT_EQ(path, resolved);
    EXPECT_EQ(Process::getExecutableDir() + "/tests_os", path);
}

} // namespace
} // namespace latopt
