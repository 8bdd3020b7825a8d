#include "FolderWatch.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <utility>

#include "NativePath_posix.h"
#include "SystemError.h"

namespace LumPalConfig {
namespace {

using LumPalStr::String_t;

constexpr std::uint32_t FileEvents = IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE;
constexpr std::uint32_t FolderEvents = IN_DELETE_SELF | IN_MOVE_SELF;
constexpr std::size_t BufferSize = 16384;

class Descriptor {
public:
    Descriptor(int number, const char* what) : number(number) {
        if (number < 0) LumPalIo::ThrowSystemError(what, String_t::Null(), errno);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { close(number); }
    int Get() const noexcept { return number; }

private:
    const int number;
};

}  // namespace

struct FolderWatch::Impl {
    explicit Impl(std::set<std::string> names) : names(std::move(names)) {}
    void Drain(FolderChanges& changes);
    void Take(const inotify_event& event, const char* name, FolderChanges& changes);

    const std::set<std::string> names;
    const Descriptor watch{inotify_init1(IN_CLOEXEC | IN_NONBLOCK), "Cannot watch folders"};
    const Descriptor wake{eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK), "Cannot watch folders"};
};

FolderWatch::FolderWatch(std::set<std::string> names) : impl(std::make_unique<Impl>(std::move(names))) {}
FolderWatch::~FolderWatch() = default;

int FolderWatch::Add(const String_t& folder) {
    const LumPalIo::NativePath native(folder);
    if (!native.IsUsable()) return NoFolder;
    const int number = inotify_add_watch(impl->watch.Get(), native.CStr(), FileEvents | FolderEvents | IN_ONLYDIR);
    return number < 0 ? NoFolder : number;
}

void FolderWatch::Remove(int number) {
    if (number != NoFolder) inotify_rm_watch(impl->watch.Get(), number);
}

void FolderWatch::Wake() {
    const std::uint64_t one = 1;
    // A full counter has woken the waiter already.
    [[maybe_unused]] const ssize_t written = write(impl->wake.Get(), &one, sizeof one);
}

void FolderWatch::Impl::Take(const inotify_event& event, const char* name, FolderChanges& changes) {
    if (event.mask & IN_Q_OVERFLOW) {
        changes.missed = true;
    } else if (event.mask & (FolderEvents | IN_IGNORED)) {
        // A folder that was moved is still watched under its new name, where nobody wants it.
        if (event.mask & IN_MOVE_SELF) inotify_rm_watch(watch.Get(), event.wd);
        changes.lost.insert(event.wd);
    } else if (event.len != 0 && names.count(name) != 0) {
        changes.changed.insert(event.wd);
    }
}

void FolderWatch::Impl::Drain(FolderChanges& changes) {
    char buffer[BufferSize];
    for (ssize_t size; (size = read(watch.Get(), buffer, sizeof buffer)) > 0;) {
        for (std::size_t at = 0; at < static_cast<std::size_t>(size);) {
            inotify_event event;
            std::memcpy(&event, buffer + at, sizeof event);
            Take(event, buffer + at + sizeof event, changes);
            at += sizeof event + event.len;
        }
    }
    std::uint64_t count;
    [[maybe_unused]] const ssize_t ignored = read(wake.Get(), &count, sizeof count);
}

FolderChanges FolderWatch::Wait(int milliseconds) {
    pollfd sources[] = {{impl->watch.Get(), POLLIN, 0}, {impl->wake.Get(), POLLIN, 0}};
    FolderChanges changes;
    poll(sources, 2, milliseconds);
    impl->Drain(changes);
    return changes;
}

}  // namespace LumPalConfig
