/// @file
/// Unix-domain stream sockets below the node's root.
#pragma once

#include <cstdint>
#include <string>

#include "Frame.h"
#include "LumPalStr.h"

namespace LumCtrl {

/// Owns a file descriptor; -1 is none.
class Descriptor {
public:
    explicit Descriptor(int fd = -1) noexcept : fd(fd) {}
    Descriptor(Descriptor&& other) noexcept : fd(other.Release()) {}
    Descriptor& operator=(Descriptor&& other) noexcept;
    ~Descriptor() { Reset(); }
    int Get() const noexcept { return fd; }
    explicit operator bool() const noexcept { return fd >= 0; }
    void Reset() noexcept;

private:
    int Release() noexcept;
    int fd;
};

/// Path of the control service's socket: `control.sock` in folder kind 9.
LumPalStr::String_t SocketPath();

/// Takes the lock file beside the socket (`control.lock`), which says that a service lives.
/// @throws LumPalIo::IOException_t when another one does, or the file cannot be made
Descriptor LockSocket();

/// Removes a socket that nobody serves, and opens a new one: mode 0600, not blocking. The path may be of any length.
/// @throws LumPalIo::IOException_t when the path is served, or is no socket, or cannot be bound
Descriptor ListenAt(const LumPalStr::String_t& path);

/// @throws LumPalIo::IOException_t when nobody serves there
Descriptor ConnectTo(const LumPalStr::String_t& path);

/// Whether who is at the other end may speak to the service: the same user, or root.
bool IsFriend(int socket) noexcept;

/// Sends all of it, blocking. @throws LumPalIo::IOException_t
void SendAll(const Descriptor& socket, const std::string& bytes);

enum class WaitResult { Frame, TimeOut, Interrupted, Ended };

/// Waits for the next frame of a blocking socket.
/// @param milliseconds  0xFFFFFFFF: without limit
/// @throws LumPalIo::IOException_t also for what is no frame
WaitResult WaitForFrame(const Descriptor& socket, FrameBuffer& buffer, std::uint32_t milliseconds, Frame& frame);

}  // namespace LumCtrl
