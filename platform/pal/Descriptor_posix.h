/// @file
/// An owned file descriptor.
#pragma once

#include <unistd.h>

#include <utility>

namespace LumPal {

/// Closes its descriptor when it goes. Movable; -1 is none.
class Descriptor {
public:
    explicit Descriptor(int number = -1) noexcept : number(number) {}
    Descriptor(Descriptor&& other) noexcept : number(other.Release()) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(number, other.number);
        return *this;
    }
    ~Descriptor() { Close(); }
    int Get() const noexcept { return number; }
    bool IsOpen() const noexcept { return number >= 0; }
    int Release() noexcept { return std::exchange(number, -1); }
    void Close() noexcept {
        if (IsOpen()) close(Release());
    }

private:
    int number;
};

}  // namespace LumPal
