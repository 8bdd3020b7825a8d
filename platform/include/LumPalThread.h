/// @file
/// Threads, the recursive mutex, condition variables.
#pragma once

#include <cstdint>
#include <memory>

#include "LumPalExport.h"
#include "LumPalStr.h"

// Marks for clang's thread-safety analysis (-Wthread-safety); nothing for other compilers.
#if defined(__clang__)
#define LUMPAL_THREAD_MARK(mark) __attribute__((mark))
#else
#define LUMPAL_THREAD_MARK(mark)
#endif
#define LUMPAL_CAPABILITY(name) LUMPAL_THREAD_MARK(capability(name))
#define LUMPAL_SCOPED_CAPABILITY LUMPAL_THREAD_MARK(scoped_lockable)
#define LUMPAL_GUARDED_BY(mutex) LUMPAL_THREAD_MARK(guarded_by(mutex))
#define LUMPAL_REQUIRES(...) LUMPAL_THREAD_MARK(requires_capability(__VA_ARGS__))
#define LUMPAL_EXCLUDES(...) LUMPAL_THREAD_MARK(locks_excluded(__VA_ARGS__))
#define LUMPAL_ACQUIRE(...) LUMPAL_THREAD_MARK(acquire_capability(__VA_ARGS__))
#define LUMPAL_ASSERT_HELD(...) LUMPAL_THREAD_MARK(assert_capability(__VA_ARGS__))
#define LUMPAL_RELEASE(...) LUMPAL_THREAD_MARK(release_capability(__VA_ARGS__))
#define LUMPAL_UNCHECKED_LOCKS LUMPAL_THREAD_MARK(no_thread_safety_analysis)

namespace LumPalThread {

class Thread_t;

/// What a thread runs.
class LUMPAL_API Runnable_i {
public:
    virtual ~Runnable_i();
    virtual void Run(const Thread_t& thread) = 0;
    /// Called on the thread when Run has ended; false when Run ended by an exception. The base does nothing.
    virtual void Done(bool success);
};

/// A named thread. A handle: copies mean the same thread. Null until constructed with a name.
/// A thread whose last handle goes runs on. The system shows the first 15 bytes of the name.
/// Signals for the process never arrive in it (they are blocked), so that they reach the main thread.
class LUMPAL_API Thread_t {
public:
    Thread_t() noexcept;
    explicit Thread_t(const char* name);
    /// Starts the thread; the runnable must live until it has ended.
    /// An exception that leaves Run is written to the application log and ends only the thread.
    /// @throws LumPalMsg::IllegalStateError_t when null or started before;
    ///         LumPalMsg::RuntimeException_t when the system has no room for a thread (Start may be called again).
    void Start(Runnable_i& runnable);
    /// Waits for the end, Done included. Returns at once when not started, when already joined and when called
    /// from the thread itself. Any thread, any number of times.
    void Join() const;
    bool IsNull() const noexcept;
    bool IsNotNull() const noexcept;
    LumPalStr::String_t GetName() const;
    static void Sleep(std::uint32_t milliseconds);  ///< returns early when the process is stopping (LumPalDaemon.h)

private:
    struct Impl;
    std::shared_ptr<Impl> impl;
};

/// A mutex that its holder may lock again; as many calls of Unlock free it. Not copyable.
class LUMPAL_API LUMPAL_CAPABILITY("mutex") Mutex_t {
public:
    Mutex_t();
    Mutex_t(const Mutex_t&) = delete;
    Mutex_t& operator=(const Mutex_t&) = delete;
    ~Mutex_t();
    void Lock() LUMPAL_ACQUIRE();
    /// @throws LumPalMsg::IllegalStateError_t when the caller does not hold it
    void Unlock() LUMPAL_RELEASE();
    /// For who holds it by his caller, where no mark can say so.
    /// @throws LumPalMsg::IllegalStateError_t when the calling thread does not hold it
    void RequireHeld() const LUMPAL_ASSERT_HELD();

private:
    friend class CondVar_t;
    /// Frees the mutex whatever the depth. @return the depth, for Restore
    /// @throws LumPalMsg::IllegalStateError_t when the caller does not hold it
    unsigned ReleaseWholly();
    void Restore(unsigned depth);

    struct Impl;
    std::unique_ptr<Impl> impl;
};

/// Locks for a scope; Unlock releases early (a second Unlock does nothing).
class LUMPAL_API LUMPAL_SCOPED_CAPABILITY MutexLock_t {
public:
    explicit MutexLock_t(Mutex_t& mutex) LUMPAL_ACQUIRE(mutex) : mutex(&mutex) { mutex.Lock(); }
    MutexLock_t(const MutexLock_t&) = delete;
    MutexLock_t& operator=(const MutexLock_t&) = delete;
    ~MutexLock_t() LUMPAL_RELEASE() LUMPAL_UNCHECKED_LOCKS { Unlock(); }
    void Unlock() LUMPAL_RELEASE() LUMPAL_UNCHECKED_LOCKS {
        if (mutex) mutex->Unlock();
        mutex = nullptr;
    }

private:
    Mutex_t* mutex;
};

/// A condition variable. The caller holds the mutex, at any depth; waiting frees it wholly, and
/// the depth is back when the wait returns.
///
/// A wait ends by a Signal that came after the mutex was freed, or by its time; never for
/// nothing. What was signalled may have changed again until the waiter has the mutex: test it in a loop.
class LUMPAL_API CondVar_t {
public:
    CondVar_t();
    CondVar_t(const CondVar_t&) = delete;
    CondVar_t& operator=(const CondVar_t&) = delete;
    ~CondVar_t();
    /// Wakes every waiter. The caller need not hold the mutex.
    void Signal();
    /// @throws LumPalMsg::IllegalStateError_t when the caller does not hold the mutex
    void Wait(Mutex_t& mutex) LUMPAL_REQUIRES(mutex);
    /// @return whether it was signalled before the time (of the steady clock) was over; false after a time-out.
    /// @throws LumPalMsg::IllegalStateError_t when the caller does not hold the mutex
    bool Wait(Mutex_t& mutex, std::uint32_t milliseconds) LUMPAL_REQUIRES(mutex);

private:
    struct Impl;
    std::unique_ptr<Impl> impl;
};

}  // namespace LumPalThread
