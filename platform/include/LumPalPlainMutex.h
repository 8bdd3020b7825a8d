/// @file
/// The mutex that is locked once, with marks for clang's thread-safety analysis.
#pragma once

#include <condition_variable>
#include <mutex>

#include "LumPalThread.h"

namespace LumPalThread {

/// std::mutex with marks: whoever holds it must not lock it again, and it costs no memory beside its own. Where a
/// holder may come back (an operation within an operation) there is Mutex_t. Taken by PlainLock_t alone.
class LUMPAL_CAPABILITY("mutex") PlainMutex_t {
private:
    friend class PlainLock_t;
    std::mutex mutex;
};

/// Locks for a scope, in which it may be freed and taken again. Of one thread.
class LUMPAL_SCOPED_CAPABILITY PlainLock_t {
public:
    explicit PlainLock_t(PlainMutex_t& mutex) LUMPAL_ACQUIRE(mutex) : lock(mutex.mutex) {}
    ~PlainLock_t() LUMPAL_RELEASE() = default;
    PlainLock_t(const PlainLock_t&) = delete;
    PlainLock_t& operator=(const PlainLock_t&) = delete;
    void Lock() LUMPAL_ACQUIRE() { lock.lock(); }
    void Unlock() LUMPAL_RELEASE() { lock.unlock(); }
    /// For a wait on a condition variable of the standard library, which returns with the mutex taken. The condition
    /// stands in a loop round the wait and not in a function of its own, into which the analysis does not see.
    std::unique_lock<std::mutex>& ForWait() { return lock; }

private:
    std::unique_lock<std::mutex> lock;
};

}  // namespace LumPalThread
