/// @file
/// What a program that serves needs of the system: one instance per root, signals, the service manager.
#pragma once

#include <cstdint>
#include <memory>

#include "LumPalExport.h"
#include "LumPalStr.h"

namespace LumPalRuntime {

/// Holds a lock file as long as it lives; the system frees it when the process ends, however it ends.
class LUMPAL_API InstanceLock_t {
public:
    InstanceLock_t();
    InstanceLock_t(const InstanceLock_t&) = delete;
    InstanceLock_t& operator=(const InstanceLock_t&) = delete;
    ~InstanceLock_t();
    /// Makes the file when it is not there (the folder must be) and locks it without waiting.
    /// @return false when another process, or another object, holds it; nothing was changed then
    /// @throws LumPalIo::IOException_t when the file cannot be made, or the system cannot lock it
    bool TryLock(const LumPalStr::String_t& path);
    /// The same, but waits until nobody else holds it.
    void Lock(const LumPalStr::String_t& path);

private:
    bool Take(const LumPalStr::String_t& path, int how);

    int descriptor = -1;
};

/// The right to serve the node's root, which one process has at a time: the lock of "lumconfd.lock" in the root. All
/// objects of a process share it, and the last one of them that goes frees it; the system does when the process ends. A
/// copy of the process (fork(2)) has it too. Any thread; an object is used by one at a time.
class LUMPAL_API RootLock_t {
public:
    RootLock_t() = default;
    RootLock_t(const RootLock_t&) = delete;
    RootLock_t& operator=(const RootLock_t&) = delete;
    /// Takes the lock of the root as it is set now, without waiting, and makes the root when it is not there.
    /// @return whether this process has it; true also when it had it before
    /// @throws LumPalIo::IOException_t when the file cannot be made, or the system cannot lock it
    bool TryTake();
    /// The file of the root as it is set now.
    static LumPalStr::String_t GetPath();

private:
    std::shared_ptr<InstanceLock_t> held;
};

/// What a signal asks a serving program to do.
enum class Signal_e {
    Stop,   ///< SIGTERM, SIGINT
    Reload  ///< SIGHUP
};

/// Takes SIGTERM, SIGINT and SIGHUP out of their default ways and hands them out one at a time. SIGPIPE and SIGXFSZ
/// (a file has reached its limit) are ignored: the write that raises them fails, and is reported like any other.
/// To be made by main before other threads run; one per process.
class LUMPAL_API Signals_t {
public:
    Signals_t();
    /// Blocks until a signal arrives.
    Signal_e Wait() const;
    /// Whether one that means Stop has arrived and was not handed out. Any thread.
    bool IsStopPending() const noexcept;
};

/// Whether this process has made its Signals_t: from then on a signal to stop does not end it by itself. Any thread.
LUMPAL_API bool TakesSignals() noexcept;

/// Says, or takes back, that this process is about to end. What nobody waits for and what comes again with the next
/// start (calls to other hosts, reading ahead, programs that are asked: LumPalCmd::Command_t::EndOnStop) is then given
/// up, and LumPalThread::Thread_t::Sleep returns. At the start nothing is said. Any thread.
LUMPAL_API void SetStopping(bool stopping) noexcept;
LUMPAL_API bool IsStopping() noexcept;
/// Lets time pass until the process is stopping. @return whether it is
LUMPAL_API bool WaitForStopping(std::uint32_t milliseconds);

/// Lets every large block of memory go back to the system as soon as it is freed; else the allocator, once it has
/// seen large ones, keeps tens of megabytes of them. To be called by main before other threads run.
LUMPAL_API void KeepNoLargeBlocks();

/// Keeps what this process knows (keys, the node's local secret) out of core images: the system writes none of it, lets
/// no other program of its user look into it, and leaves all its memory out of an image that root takes by force. A
/// program that it starts is free again, but for the last. To be called by main before other threads run. Never throws:
/// what the system does not grant is left.
LUMPAL_API void KeepOutOfCoreImages() noexcept;

/// Tells the service manager that started this program how it stands (sd_notify(3): "READY=1", "STOPPING=1", ...).
/// Without one (no NOTIFY_SOCKET in the environment) nothing happens. Never throws.
LUMPAL_API void NotifyServiceManager(const char* state);

}  // namespace LumPalRuntime
