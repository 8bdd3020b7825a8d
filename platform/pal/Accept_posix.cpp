#include "Accept_posix.h"

#include <fcntl.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <climits>

#include "DescriptorRoom.h"
#include "Fault.h"

namespace LumPal {

namespace {

/// Whether the error says something of one connection that came and went, and nothing of the next.
bool IsOfOneConnection(int error) {
    switch (error) {
        case EAGAIN:
        case EINTR:
        case ECONNABORTED:
        case EPROTO:
        case EPERM:  // a packet filter forbids it
        case ENETDOWN:
        case ENOPROTOOPT:
        case EHOSTDOWN:
        case ENONET:
        case EHOSTUNREACH:
        case EOPNOTSUPP:
        case ENETUNREACH:
            return true;
        default:
            return false;
    }
}

}  // namespace

void MoveDown(Descriptor& socket) noexcept {
    Descriptor lower(fcntl(socket.Get(), F_DUPFD_CLOEXEC, 0));
    if (lower.IsOpen() && lower.Get() < socket.Get()) std::swap(socket, lower);
}

void MoveToKept(Descriptor& socket) noexcept {
    const auto first =
        static_cast<int>(std::min<unsigned>(FirstKept(MostDescriptors(), DescriptorUse::Caller), INT_MAX));
    Descriptor higher(fcntl(socket.Get(), F_DUPFD_CLOEXEC, first));
    if (higher.IsOpen() && LeavesEnough(higher.Get(), DescriptorUse::LocalProgram)) std::swap(socket, higher);
}

AcceptResult AcceptNext(int listener, const char* name, Descriptor& socket, int& error) noexcept {
    if (LumPalIo::FaultAt("accept", name)) {
        error = EMFILE;
        return AcceptResult::Exhausted;
    }
    socket = Descriptor(accept4(listener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (socket.IsOpen()) return AcceptResult::Taken;
    error = errno;
    return IsOfOneConnection(error) ? AcceptResult::Nothing : AcceptResult::Exhausted;
}

}  // namespace LumPal
