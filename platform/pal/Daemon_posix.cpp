// LumPalDaemon.h: signals, the service manager, one instance for a root.
#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#ifdef __GLIBC__
#include <malloc.h>
#endif
#ifdef __linux__
#include <sys/prctl.h>
#endif

#include "Descriptor_posix.h"
#include "LumPalDaemon.h"
#include "SystemError.h"

namespace LumPalRuntime {

namespace {

constexpr mode_t kLockMode = 0600;
std::atomic<bool> takesSignals{false};
[[maybe_unused]] constexpr int kLargeBlock = 1 << 20;

sigset_t HandledSignals() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGTERM);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGHUP);
    return set;
}

}  // namespace

InstanceLock_t::InstanceLock_t() = default;

InstanceLock_t::~InstanceLock_t() {
    if (descriptor >= 0) close(descriptor);
}

bool InstanceLock_t::TryLock(const LumPalStr::String_t& path) {
    return Take(path, LOCK_EX | LOCK_NB);
}

void InstanceLock_t::Lock(const LumPalStr::String_t& path) {
    Take(path, LOCK_EX);
}

bool InstanceLock_t::Take(const LumPalStr::String_t& path, int how) {
    const int opened = open(path.ToUtf8().c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, kLockMode);
    if (opened < 0) LumPalIo::ThrowSystemError("Cannot open lock file", path, errno);
    int failed = flock(opened, how);
    while (failed != 0 && errno == EINTR) failed = flock(opened, how);
    if (failed != 0) {
        const int error = errno;
        close(opened);
        if (error == EWOULDBLOCK) return false;
        LumPalIo::ThrowSystemError("Cannot lock file", path, error);
    }
    if (descriptor >= 0) close(descriptor);
    descriptor = opened;
    return true;
}

Signals_t::Signals_t() {
    const sigset_t set = HandledSignals();
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    takesSignals = true;
}

bool TakesSignals() noexcept {
    return takesSignals;
}

Signal_e Signals_t::Wait() const {
    const sigset_t set = HandledSignals();
    int signal = 0;
    while (sigwait(&set, &signal) != 0) {
    }
    return signal == SIGHUP ? Signal_e::Reload : Signal_e::Stop;
}

bool Signals_t::IsStopPending() const noexcept {
    sigset_t pending;
    return sigpending(&pending) == 0 && (sigismember(&pending, SIGTERM) == 1 || sigismember(&pending, SIGINT) == 1);
}

void KeepNoLargeBlocks() {
#ifdef __GLIBC__
    // Setting a threshold ends that the allocator moves it up to 32 MiB by itself.
    mallopt(M_MMAP_THRESHOLD, kLargeBlock);
    mallopt(M_TRIM_THRESHOLD, 2 * kLargeBlock);
#endif
}

void KeepOutOfCoreImages() noexcept {
#ifdef __linux__
    {
        const LumPal::Descriptor filter(open("/proc/self/coredump_filter", O_WRONLY | O_CLOEXEC));
        [[maybe_unused]] const ssize_t written = filter.IsOpen() ? write(filter.Get(), "0", 1) : 0;
    }
    prctl(PR_SET_DUMPABLE, 0, 0, 0, 0);  // last: the file above is root's then
#endif
}

void NotifyServiceManager(const char* state) {
    const char* path = std::getenv("NOTIFY_SOCKET");
    sockaddr_un address{};
    if (!path || !*path || std::strlen(path) >= sizeof address.sun_path) return;
    address.sun_family = AF_UNIX;
    const std::size_t length = std::strlen(path);
    std::memcpy(address.sun_path, path, length);
    if (address.sun_path[0] == '@') address.sun_path[0] = '\0';  // a name in the abstract namespace
    const int handle = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (handle < 0) return;
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + length);
    // A manager that does not listen is no reason to stop serving.
    [[maybe_unused]] const ssize_t sent =
        sendto(handle, state, std::strlen(state), MSG_NOSIGNAL, reinterpret_cast<const sockaddr*>(&address), size);
    close(handle);
}

}  // namespace LumPalRuntime
