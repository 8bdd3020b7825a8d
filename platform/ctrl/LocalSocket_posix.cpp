#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <optional>

#include "../pal/SystemError.h"
#include "LocalSocket.h"
#include "LumCtrlState.h"
#include "LumPalIo.h"
#include "LumPalRuntime.h"

namespace LumCtrl {
namespace {

using LumPalIo::ThrowSystemError;
using LumPalStr::String_t;

/// An address for a path of any length: a long one goes by way of its open folder.
class Address {
public:
    explicit Address(const String_t& path) {
        std::string name = path.ToUtf8();
        if (name.size() >= sizeof address.sun_path) name = Shortened(path);
        address.sun_family = AF_UNIX;
        std::memcpy(address.sun_path, name.c_str(), name.size() + 1);
    }
    const sockaddr* Get() const { return reinterpret_cast<const sockaddr*>(&address); }
    static constexpr socklen_t kSize = sizeof(sockaddr_un);

private:
    std::string Shortened(const String_t& path) {
        const LumPalIo::File_t file(path);
        const std::string parent = file.GetParent().ToUtf8();
        folder = Descriptor(open(parent.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
        if (!folder) ThrowSystemError("Cannot open the folder of the control service", file.GetParent(), errno);
        return "/proc/self/fd/" + std::to_string(folder.Get()) + "/" + file.GetName().ToUtf8();
    }
    sockaddr_un address{};
    Descriptor folder;
};

Descriptor NewSocket() {
    Descriptor made(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!made) ThrowSystemError("Cannot make a socket", String_t(), errno);
    return made;
}

/// 0 or an errno value.
int TryConnect(const Descriptor& socket, const Address& address) {
    int result;
    do result = connect(socket.Get(), address.Get(), Address::kSize);
    while (result != 0 && errno == EINTR);
    return result == 0 ? 0 : errno;
}

[[noreturn]] void RefuseSecond(const String_t& path) {
    throw LumPalIo::IOException_t(
        LumPalMsg::CreateError_t("Another control service of this node runs already: '%1' is taken.") << path);
}

void RemoveStale(const String_t& path, const Address& address) {
    struct stat info {};
    if (lstat(path.ToUtf8().c_str(), &info) != 0) return;
    if (!S_ISSOCK(info.st_mode)) {
        throw LumPalIo::IOException_t(LumPalMsg::CreateError_t("'%1' stands in the way: it is no socket.") << path);
    }
    if (TryConnect(NewSocket(), address) == 0) RefuseSecond(path);
    unlink(path.ToUtf8().c_str());
}

using Clock = std::chrono::steady_clock;

int Remaining(Clock::time_point end, std::uint32_t milliseconds) {
    if (milliseconds == 0xFFFFFFFFu) return -1;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
    return static_cast<int>(std::clamp<std::int64_t>(left, 0, 0x7FFFFFFF));
}

/// Reads what is there. @return false at the end
bool ReadSome(int fd, FrameBuffer& buffer) {
    std::array<char, 65536> bytes;
    const ssize_t count = recv(fd, bytes.data(), bytes.size(), 0);
    if (count > 0) buffer.Append(bytes.data(), static_cast<std::size_t>(count));
    if (count < 0 && errno != EINTR && errno != ECONNRESET) {
        ThrowSystemError("Cannot hear from the control service", String_t(), errno);
    }
    return count > 0 || (count < 0 && errno == EINTR);
}

bool TakeFrame(FrameBuffer& buffer, Frame& frame) try {
    std::optional<Frame> next = buffer.Next();
    if (next) frame = std::move(*next);
    return next.has_value();
} catch (const FrameError& error) {
    throw LumPalIo::IOException_t(LumPalMsg::CreateError_t("The control service sent %1.") << error.reason);
}

}  // namespace

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
    if (this != &other) {
        Reset();
        fd = other.Release();
    }
    return *this;
}

void Descriptor::Reset() noexcept {
    if (fd >= 0) close(fd);
    fd = -1;
}

int Descriptor::Release() noexcept {
    const int released = fd;
    fd = -1;
    return released;
}

String_t SocketPath() {
    return LumPalRuntime::Dir_t::Path(LumPalRuntime::Spool) + "control.sock";
}

Descriptor LockSocket() {
    const String_t folder = LumPalRuntime::Dir_t::Path(LumPalRuntime::Spool), path = folder + "control.lock";
    LumPalIo::File_t(folder).Mkdirs();
    Descriptor lock(open(path.ToUtf8().c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!lock) ThrowSystemError("Cannot open the lock of the control service", path, errno);
    if (flock(lock.Get(), LOCK_EX | LOCK_NB) == 0) return lock;
    if (errno == EWOULDBLOCK) RefuseSecond(SocketPath());
    ThrowSystemError("Cannot take the lock of the control service", path, errno);
}

Descriptor ListenAt(const String_t& path) {
    const Address address(path);
    RemoveStale(path, address);
    Descriptor listener(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!listener) ThrowSystemError("Cannot make a socket", path, errno);
    if (bind(listener.Get(), address.Get(), Address::kSize) != 0) {
        ThrowSystemError("Cannot bind the control service to", path, errno);
    }
    // Nobody can connect before listen: there is no moment with a wider mode.
    if (!LumPalIo::File_t(path).SetMode(0600) || listen(listener.Get(), SOMAXCONN) != 0) {
        ThrowSystemError("Cannot serve at", path, errno);
    }
    return listener;
}

Descriptor ConnectTo(const String_t& path) {
    const Address address(path);
    Descriptor made = NewSocket();
    const int error = TryConnect(made, address);
    if (error != 0) ThrowSystemError("The control service cannot be reached at", path, error);
    return made;
}

std::optional<bool> IsServiceThere() try {
    const int error = TryConnect(NewSocket(), Address(SocketPath()));
    if (error == 0) return true;
    if (error == ENOENT || error == ECONNREFUSED || error == ENOTSOCK) return false;
    return std::nullopt;
} catch (const LumPalIo::FileNotFoundException_t&) {
    return false;  // a long path goes by way of its folder
}

bool IsFriend(int socket) noexcept {
    ucred peer{};
    socklen_t size = sizeof peer;
    if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) return false;
    return peer.uid == geteuid() || peer.uid == 0;
}

void SendAll(const Descriptor& socket, const std::string& bytes) {
    for (std::size_t sent = 0; sent < bytes.size();) {
        const ssize_t count = send(socket.Get(), bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (count >= 0) {
            sent += static_cast<std::size_t>(count);
        } else if (errno != EINTR) {
            ThrowSystemError("Cannot send to the control service", String_t(), errno);
        }
    }
}

WaitResult WaitForFrame(const Descriptor& socket, FrameBuffer& buffer, std::uint32_t milliseconds, Frame& frame) {
    const Clock::time_point end = Clock::now() + std::chrono::milliseconds(milliseconds);
    while (!TakeFrame(buffer, frame)) {
        pollfd wait{socket.Get(), POLLIN, 0};
        const int ready = poll(&wait, 1, Remaining(end, milliseconds));
        if (ready == 0) return WaitResult::TimeOut;
        if (ready < 0 && errno == EINTR) return WaitResult::Interrupted;
        if (ready < 0) ThrowSystemError("Cannot wait for the control service", String_t(), errno);
        if (!ReadSome(socket.Get(), buffer)) return WaitResult::Ended;
    }
    return WaitResult::Frame;
}

}  // namespace LumCtrl
