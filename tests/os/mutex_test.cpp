#include "os/mutex.h"

#include <gtest/gtest.h>

#include <chrono>
#include <semaphore.h>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace latopt {
namespace {

// The lock is free: it can be taken without waiting (and is given back at once).
bool isFree(const Lock& lock)
{
    if (sem_trywait(lock.semaphore) != 0) return false;
    sem_post(lock.semaphore);
    return true;
}

TEST(MutexTypeAccess, ValuesGoInAndOutAndEveryAccessorReleasesTheLock)
{
    MutexType<long> number;
    number = 42L;
    EXPECT_EQ(number.toString(), "42");
    std::istringstream(" -17 rest") >> number;
    EXPECT_EQ(number.get(), -17);
    number.emptify();
    EXPECT_EQ(number.get(), 0);
    EXPECT_TRUE(isFree(number.lock));

    MutexType<std::string> text(std::string("inf"));
    std::ostringstream output;
    output << text;
    EXPECT_EQ(output.str(), "inf");
    EXPECT_TRUE(isFree(text.lock));
}

TEST(MutexTypeAccess, CopiesHaveTheirOwnLock)
{
    MutexType<std::string> original(std::string("x"));
    MutexType<std::string> copy(original);
    EXPECT_NE(copy.lock.name, original.lock.name);
    copy = std::string("y");
    EXPECT_EQ(original.get(), "x");
    original = copy;
    const MutexType<std::string>& same = original;
    original = same; // self-assignment must not take the lock twice
    EXPECT_EQ(original.get(), "y");
    EXPECT_TRUE(isFree(original.lock) && isFree(copy.lock));
}

TEST(MutexTypeAccess, WriterWaitsWhileTheLockIsHeld)
{
    MutexType<long> number(1L);
    Process::semaphoreWait(number.lock.semaphore);
    std::thread writer([&number] { number = 2L; });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(number.value, 1); // read without the lock, which this thread holds
    Process::semaphorePost(number.lock.semaphore);
    writer.join();
    EXPECT_EQ(number.get(), 2);
}

template <class K>
std::vector<K> keys(const MutexVars<K>& vars)
{
    std::vector<K> result;
    for (long i = 1; i <= vars.dimension(); ++i)
        result.push_back(vars[i].left);
    return result;
}

TEST(MutexVarsAccess, SetCreatesEachKeyOnceAndKeepsTheOrder)
{
    MutexVars<long> vars;
    vars.set(4, "four");
    vars.set(2, "two");
    vars.set(4, "FOUR");
    EXPECT_EQ(keys(vars), std::vector<long>({4, 2}));
    EXPECT_EQ(vars.get(4) + vars.get(2), "FOURtwo");
    // An entry made again after the map was emptied starts empty.
    vars.resetAllMembers();
    EXPECT_EQ(vars.get(2), "");
    EXPECT_EQ(vars.dimension(), 1);
}

} // namespace
} // namespace latopt
