// mutex.h: Lock, a binary semaphore owned by an object; MutexType<T>, a value behind its own
// Lock; MutexVars<K>, a map of locked texts; MainMutexVars, the variables that a host of the
// engine reads and sets while a search runs.
// A Lock is made and closed with its owner and is taken only within one accessor of the owner:
// locks aren't recursive and aren't held across calls into other MutexType objects. Every
// MutexType costs one kernel semaphore (see process.h); copies get a lock of their own and copy
// only the value. Instances in use: MutexType<long>, MutexType<std::string>.
// MutexVars locks each entry, not the map: its entries must exist before other threads use it.
// Fatal: "No semaphore available for lock!", and the semaphore failures of process.h.
#pragma once

#include "base/map.h"
#include "base/serializable.h"
#include "os/process.h"

#include <istream>
#include <ostream>
#include <string>

namespace latopt {

template <class T>
class Constant;

class Lock : public Mutex {
public:
    Lock();
    ~Lock();
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;
};

// Holds a lock for the rest of a scope, so that an exception (an allocation failing in a copy of
// the value) does not leave it taken.
class LockHold {
public:
    explicit LockHold(const Lock& lock) : semaphore(lock.semaphore) { Process::semaphoreWait(semaphore); }
    ~LockHold() { Process::semaphorePost(semaphore); }
    LockHold(const LockHold&) = delete;
    LockHold& operator=(const LockHold&) = delete;

private:
    sem_t* semaphore;
};

template <class T>
class MutexType : public Serializable {
public:
    Lock lock;
    T value{};                    // read and written only under lock
    std::string separators = ","; // as the other Serializable records

    MutexType() = default;
    explicit MutexType(const T& initial) : value(initial) {}
    MutexType(const MutexType& other) : Serializable(), value(other.get()), separators(other.separators) {}
    MutexType& operator=(const MutexType& other)
    {
        if (this != &other) set(other.get());
        return *this;
    }
    MutexType& operator=(const T& newValue)
    {
        set(newValue);
        return *this;
    }

    // A copy of the value, taken under the lock.
    T get() const
    {
        LockHold hold(lock);
        return value;
    }
    void set(const T& newValue)
    {
        LockHold hold(lock);
        value = newValue;
    }
    // Back to the default value.
    void emptify() { set(T()); }

    // The value as the stream's operator<< writes it, under the lock.
    void serialize(std::ostream& stream) const override
    {
        LockHold hold(lock);
        stream << value;
    }
    // The value as the stream's operator>> reads it (a text: one word), under the lock.
    void unserialize(std::istream& stream) override
    {
        LockHold hold(lock);
        stream >> value;
    }
};

template <class T>
std::istream& operator>>(std::istream& stream, MutexType<T>& object)
{
    object.unserialize(stream);
    return stream;
}

template <>
class Constant<MutexType<long>> {
public:
    // A fresh locked value 0.
    static MutexType<long> EMPTY() { return MutexType<long>(); }
};

// Texts by key, each behind its own lock.
template <class K>
class MutexVars : public Map<K, MutexType<std::string>> {
public:
    // Sets the value of key under the entry's lock; an absent key gets a new last entry first.
    void set(K key, const std::string& value) { (*this)(key).set(value); }
    // The value of key, read under the entry's lock; an absent key gets a new last entry first.
    std::string get(K key) { return (*this)(key).get(); }
};

// The variables of a run that its host reads and sets.
enum MainMutexVariable : int {
    MMV_HOST_0 = 0,
    MMV_HOST_1 = 1,
    MMV_RUN_STATE = 2, // "stopped" when a hosted run has ended
    MMV_HOST_3 = 3,
    MMV_HOST_4 = 4,
    MMV_RESET_5 = 5,        // "0" when the lattice is reset; otherwise the host's
    MMV_SOLUTION_COUNT = 6, // the number of solutions found, as decimal text; "0" on reset
    MMV_SOLUTIONS = 7,      // the text of the solutions found; "0" on reset
};

// All eight variables exist from the start, each with the empty text, so that the map never
// changes shape while a host reads it.
class MainMutexVars : public MutexVars<MainMutexVariable> {
public:
    MainMutexVars();
};

} // namespace latopt
