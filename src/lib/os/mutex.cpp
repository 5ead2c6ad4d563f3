// mutex.cpp: the lock of an object and the variables of a run.
#include "os/mutex.h"

#include "base/log.h"

namespace latopt {

Lock::Lock()
{
    Process::semaphoreInit(this);
    if (semaphore == nullptr) fatal("No semaphore available for lock!");
}

Lock::~Lock()
{
    Process::semaphoreDestroy(*this);
}

MainMutexVars::MainMutexVars()
{
    // The order of creation is the order of the entries, which a host may walk.
    for (MainMutexVariable key : {MMV_HOST_0, MMV_HOST_1, MMV_HOST_3, MMV_RESET_5, MMV_SOLUTION_COUNT,
                                  MMV_SOLUTIONS, MMV_HOST_4, MMV_RUN_STATE})
        (*this)(key);
}

} // namespace latopt
