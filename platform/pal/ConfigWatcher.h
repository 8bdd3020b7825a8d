/// @file
/// Telling handlers of changed namespaces.
#pragma once

#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "FolderWatch.h"
#include "LumPalConfig.h"
#include "LumPalThread.h"

namespace LumPalConfig {

/// The process's one watcher of configuration folders. Its thread starts with the first registration
/// and ends with the process. Any thread may call it, handlers too.
class ConfigWatcher : private LumPalThread::Runnable_i {
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
    ~ConfigWatcher() override = default;
    void Run(const LumPalThread::Thread_t& thread) override;
    void Stop();
    void StartLocked();
    void WatchLocked(const LumPalStr::String_t& folder);
    void UnwatchIdleLocked();
    bool IsWaitingForFolderLocked() const;
    void Begin();
    bool IsStopping();
    void Step(bool again);
    Registrations TakeLocked(const FolderChanges& changes);
    void Tell(Registration& registration);
    bool BeginCall(Registration& registration, const Configuration_t& now, ChangedConfiguration_t& changes);
    void EndCall();

    FolderWatch watch;
    std::mutex mutex;
    // Guarded by mutex:
    std::condition_variable callEnded;
    Registrations registrations;
    std::vector<Folder> folders;
    const Registration* inCall = nullptr;
    std::thread::id self;
    bool stopping = false;
    LumPalThread::Thread_t thread;
};

}  // namespace LumPalConfig
