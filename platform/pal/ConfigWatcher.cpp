#include "ConfigWatcher.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <new>
#include <set>
#include <thread>
#include <utility>

#include "ConfigStore.h"
#include "ConfigValues.h"
#include "LumPalIo.h"
#include "LumPalLog.h"
#include "LumPalMsg.h"

namespace LumPalConfig {

using LumPalStr::String_t;

namespace {

// How soon a folder that went away is found again, and what had no memory is done anew.
constexpr int SearchMs = 250;

Configuration_t Load(const String_t& folder, const String_t& nameSpace) {
    return CopyOfNamespace(*LoadDatabase(folder), nameSpace);
}

// What stands in a broken file is not known: every attribute counts as changed once it is mended.
Configuration_t LoadOrNothing(const String_t& folder, const String_t& nameSpace) {
    try {
        return Load(folder, nameSpace);
    } catch (const LumPalMsg::Exception_t&) {
        return Configuration_t(nameSpace);
    }
}

/// @param makeDetails  makes them; memory may be out
template <class MakeDetails>
void Log(const char* text, const String_t& nameSpace, MakeDetails makeDetails) noexcept {
    LumPalLog::LogGuarded([&] {
        LumPalMsg::CreateError_t message{String_t(text)};
        message << nameSpace;
        message.AddDetails(makeDetails());
        return LumPalMsg::MessageList_t(message);
    });
}

LumPalMsg::MessageList_t DetailsOf(const std::exception& e) {
    return LumPalMsg::CreateError_t{String_t::FromUtf8(e.what())};
}

void Call(ConfigChangeHandler_i& handler, const ChangedConfiguration_t& changes, const Configuration_t& now) noexcept {
    static constexpr char Failure[] = "A handler for changes of the configuration '%1' failed.";
    try {
        handler.Update(changes, now);
    } catch (const LumPalMsg::Exception_t& e) {
        Log(Failure, now.GetNamespace(), [&] { return e.GetMessageList(); });
    } catch (const std::exception& e) {
        Log(Failure, now.GetNamespace(), [&] { return DetailsOf(e); });
    } catch (...) {
        Log(Failure, now.GetNamespace(), [] { return LumPalMsg::MessageList_t(); });
    }
}

}  // namespace

struct ConfigWatcher::Registration {
    const String_t nameSpace, folder;
    ConfigChangeHandler_i* const handler;
    Configuration_t last;  // guarded by the watcher's mutex, as the flag
    bool removed = false;

    bool IsOf(const String_t& name, const ConfigChangeHandler_i& other) const {
        return nameSpace == name && handler == &other;
    }
};

ConfigWatcher::ConfigWatcher()
    : watch({LocalFile, PolicyFile}),
      thread("LumPal:ConfigWatcher",
             {"Changes of the configuration are looked for again: %1", std::chrono::milliseconds(SearchMs)},
             [this](LumPalThread::Bell_t&) { return Step(); }) {}

ConfigWatcher& ConfigWatcher::Get() {
    static ConfigWatcher& watcher = *new ConfigWatcher;  // never destroyed: handlers may be taken away to the end
    return watcher;
}

void ConfigWatcher::Register(const String_t& nameSpace, ConfigChangeHandler_i& handler) {
    const String_t folder = DatabaseFolder(String_t::Null());
    const LumPalThread::PlainLock_t lock(mutex);
    const bool known = std::any_of(registrations.begin(), registrations.end(), [&](const auto& registration) {
        return registration->IsOf(nameSpace, handler) && registration->folder == folder;
    });
    if (known) return;
    // Watching before reading: a change in between is seen by one of the two.
    WatchLocked(folder);
    const std::shared_ptr<Registration> made(
        new Registration{nameSpace, folder, &handler, LoadOrNothing(folder, nameSpace)});
    StartLocked();
    registrations.push_back(made);  // last: whoever fails here is not told, and may be gone
}

void ConfigWatcher::Unregister(const String_t& nameSpace, ConfigChangeHandler_i& handler) {
    LumPalThread::PlainLock_t lock(mutex);
    // Without memory too: the handler may be gone when this returns.
    std::erase_if(registrations, [&](const auto& registration) {
        const bool isGone = registration->IsOf(nameSpace, handler);
        registration->removed = registration->removed || isGone;
        return isGone;
    });
    try {
        UnwatchIdleLocked();
    } catch (const std::bad_alloc&) {
        // The folder stays watched until the next handler goes.
    }
    if (std::this_thread::get_id() == self) return;
    while (inCall && inCall->removed && inCall->IsOf(nameSpace, handler)) callEnded.wait(lock.ForWait());
}

void ConfigWatcher::StartLocked() {
    if (started || thread.IsStopped()) return;
    thread.Start();
    started = true;
    std::atexit([] { Get().Stop(); });
}

void ConfigWatcher::Stop() {
    thread.Stop();
    watch.Wake();
    thread.Finish();
}

void ConfigWatcher::WatchLocked(const String_t& folder) {
    for (const Folder& known : folders) {
        if (known.path == folder) return;
    }
    // A folder that cannot be made may still come: the watcher looks for it.
    LumPalIo::File_t(folder).Mkdirs();
    folders.push_back({folder, watch.Add(folder)});
    if (folders.back().number == FolderWatch::NoFolder) watch.Wake();
}

void ConfigWatcher::UnwatchIdleLocked() {
    std::set<String_t> used;
    for (const auto& registration : registrations) used.insert(registration->folder);
    const auto isUsed = [&](const Folder& folder) { return used.count(folder.path) != 0; };
    const auto idle = std::stable_partition(folders.begin(), folders.end(), isUsed);
    std::set<int> numbers;
    for (auto folder = idle; folder != folders.end(); ++folder) numbers.insert(folder->number);
    folders.erase(idle, folders.end());
    // Two paths may lead to one folder.
    for (const Folder& folder : folders) numbers.erase(folder.number);
    for (const int number : numbers) watch.Remove(number);
}

bool ConfigWatcher::IsWaitingForFolderLocked() const {
    return std::any_of(folders.begin(), folders.end(),
                       [](const Folder& folder) { return folder.number == FolderWatch::NoFolder; });
}

ConfigWatcher::Registrations ConfigWatcher::TakeLocked(const FolderChanges& changes) {
    std::set<String_t> touched;
    for (Folder& folder : folders) {
        bool changed = changes.missed || changes.changed.count(folder.number) != 0;
        if (changes.lost.count(folder.number) != 0) folder.number = FolderWatch::NoFolder;
        if (folder.number == FolderWatch::NoFolder) {
            // Gone or there again: both change what is read.
            folder.number = watch.Add(folder.path);
            changed = true;
        }
        if (changed) touched.insert(folder.path);
    }
    Registrations result;
    for (const auto& registration : registrations) {
        if (touched.count(registration->folder) != 0) result.push_back(registration);
    }
    return result;
}

std::chrono::milliseconds ConfigWatcher::Step() {
    try {
        Look();
        again = false;
    } catch (...) {
        again = true;  // what had been seen when memory ran out is not known any more
        throw;
    }
    return std::chrono::milliseconds(0);
}

int ConfigWatcher::LongestWait() {
    const LumPalThread::PlainLock_t lock(mutex);
    self = std::this_thread::get_id();
    if (again) return 0;
    return IsWaitingForFolderLocked() ? SearchMs : -1;
}

void ConfigWatcher::Look() {
    FolderChanges changes = watch.Wait(LongestWait());
    changes.missed = changes.missed || again;
    LumPalThread::PlainLock_t lock(mutex);
    const Registrations touched = TakeLocked(changes);
    lock.Unlock();
    for (const auto& registration : touched) Tell(*registration);
}

bool ConfigWatcher::BeginCall(Registration& registration, const Configuration_t& now, ChangedConfiguration_t& changes) {
    const LumPalThread::PlainLock_t lock(mutex);
    if (registration.removed || thread.IsStopped()) return false;
    const auto names = std::make_shared<ChangedConfiguration_t::Impl>();
    names->names = Difference(registration.last, now);
    if (names->names.empty()) return false;
    registration.last = CopyOf(now);
    changes = ChangedConfiguration_t(names);
    inCall = &registration;
    return true;
}

void ConfigWatcher::EndCall() {
    const LumPalThread::PlainLock_t lock(mutex);
    inCall = nullptr;
    callEnded.notify_all();
}

void ConfigWatcher::Tell(Registration& registration) {
    try {
        const Configuration_t now = Load(registration.folder, registration.nameSpace);
        ChangedConfiguration_t changes;
        if (!BeginCall(registration, now, changes)) return;
        Call(*registration.handler, changes, now);
        EndCall();
    } catch (const LumPalMsg::Exception_t& e) {
        Log("The changed configuration '%1' could not be read; what was read before stays.", registration.nameSpace,
            [&] { return e.GetMessageList(); });
    }
}

}  // namespace LumPalConfig
