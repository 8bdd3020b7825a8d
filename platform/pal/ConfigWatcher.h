/// @file
/// Telling handlers of changed namespaces.
#pragma once

#include <condition_variable>
#include <memory>
#include <thread>
#include <vector>

#include "FolderWatch.h"
#include "LumPalBell.h"
#include "LumPalConfig.h"
#include "LumPalPlainMutex.h"

namespace LumPalConfig {

/// The process's one watcher of configuration folders. Its thread starts with the first registration
/// and ends with the process. Any thread may call it, handlers too.
class ConfigWatcher {
public:
    static ConfigWatcher& Get();
    /// @throws LumPalIo::IOException_t when the system cannot watch at all
    void Register(const LumPalStr::String_t& nameSpace, ConfigChangeHandler_i& handler);
    void Unregister(const LumPalStr::String_t& nameSpace, ConfigChangeHandler_i& handler);

private:
    struct Registration;
    struct Folder {
        LumPalStr::String_t path;
        int number;
    };
    using Registrations = std::vector<std::shared_ptr<Registration>>;

    ConfigWatcher();
    ~ConfigWatcher() = default;
    void Stop();
    void StartLocked() LUMPAL_REQUIRES(mutex);
    void WatchLocked(const LumPalStr::String_t& folder) LUMPAL_REQUIRES(mutex);
    void UnwatchIdleLocked() LUMPAL_REQUIRES(mutex);
    bool IsWaitingForFolderLocked() const LUMPAL_REQUIRES(mutex);
    std::chrono::milliseconds Step();
    void Look();
    int LongestWait();
    Registrations TakeLocked(const FolderChanges& changes) LUMPAL_REQUIRES(mutex);
    void Tell(Registration& registration);
    bool BeginCall(Registration& registration, const Configuration_t& now, ChangedConfiguration_t& changes);
    void EndCall();

    FolderWatch watch;
    LumPalThread::PlainMutex_t mutex;
    std::condition_variable callEnded;
    Registrations registrations LUMPAL_GUARDED_BY(mutex);
    std::vector<Folder> folders LUMPAL_GUARDED_BY(mutex);
    const Registration* inCall LUMPAL_GUARDED_BY(mutex) = nullptr;
    std::thread::id self LUMPAL_GUARDED_BY(mutex);
    bool started LUMPAL_GUARDED_BY(mutex) = false;
    bool again = false;  ///< the thread alone: look at everything
    LumPalThread::StepThread_t thread;
};

}  // namespace LumPalConfig
