/// @file
/// Threads, the recursive mutex, condition variables.
#pragma once

#include <cstdint>
#include <memory>

#include "LumPalExport.h"
#include "LumPalStr.h"

namespace LumPalThread {

class Thread_t;

/// What a thread runs.
class LUMPAL_API Runnable_i {
public:
    virtual ~Runnable_i();
    virtual void Run(const Thread_t& thread) = 0;
    /// Called on the thread when Run has ended; false when Run ended by an exception.
    virtual void Done(bool success);
};

/// A named thread. A handle: copies mean the same thread. Null until constructed with a name.
class LUMPAL_API Thread_t {
public:
    Thread_t() noexcept;
    explicit Thread_t(const char* name);
    /// Starts the thread; the runnable must live until it has ended.
    /// An exception that leaves Run is written to the application log and ends only the thread.
    /// @throws LumPalMsg::IllegalStateError_t when null or started before.
    void Start(Runnable_i& runnable);
    /// Waits for the end. Returns at once when not started, when already joined and when called
    /// from the thread itself. Any thread, any number of times.
    void Join() const;
    bool IsNull() const noexcept;
    bool IsNotNull() const noexcept;
    LumPalStr::String_t GetName() const;
    static void Sleep(std::uint32_t milliseconds);

private:
    struct Impl;
    std::shared_ptr<Impl> impl;
};

/// A mutex that its holder may lock again. Not copyable.
class LUMPAL_API Mutex_t {
public:
    Mutex_t();
    Mutex_t(const Mutex_t&) = delete;
    Mutex_t& operator=(const Mutex_t&) = delete;
    ~Mutex_t();
    void Lock();
    void Unlock();

private:
    friend class CondVar_t;
    struct Impl;
    std::unique_ptr<Impl> impl;
};

/// Locks for a scope; Unlock releases early (a second Unlock does nothing).
class LUMPAL_API MutexLock_t {
public:
    explicit MutexLock_t(Mutex_t& mutex) : mutex(&mutex) { mutex.Lock(); }
    MutexLock_t(const MutexLock_t&) = delete;
    MutexLock_t& operator=(const MutexLock_t&) = delete;
    ~MutexLock_t() { Unlock(); }
    void Unlock() {
        if (mutex) mutex->Unlock();
        mutex = nullptr;
    }

private:
    Mutex_t* mutex;
};

/// A condition variable. The caller holds the mutex, at any depth; waiting frees it wholly.
class LUMPAL_API CondVar_t {
public:
    CondVar_t();
    CondVar_t(const CondVar_t&) = delete;
    CondVar_t& operator=(const CondVar_t&) = delete;
    ~CondVar_t();
    /// Wakes every waiter.
    void Signal();
    void Wait(Mutex_t& mutex);
    /// @return whether it was signalled before the time was over (false after a time-out).
    bool Wait(Mutex_t& mutex, std::uint32_t milliseconds);

private:
    struct Impl;
    std::unique_ptr<Impl> impl;
};

}  // namespace LumPalThread
