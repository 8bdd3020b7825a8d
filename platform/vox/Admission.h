/// @file
/// How many connections there are, and of whom.
#pragma once

#include <atomic>
#include <mutex>
#include <unordered_map>

#include "PeerAddress.h"

namespace LumVoxMsg {

/// A connection is a stranger's until its peer has proven who he is. Strangers may have three quarters of all
/// connections, so that a proven caller keeps those that he has, and an address so many of them as its limit says, but
/// for loopback. Any thread.
class Admission {
public:
    /// @param most            connections
    /// @param mostOfAnAddress connections of strangers
    Admission(unsigned most, unsigned mostOfAnAddress) noexcept;
    /// Why one more from there cannot be taken; null when it can.
    const char* WhyFull(const PeerAddress& from) const noexcept;
    /// Whether the address alone keeps it out.
    bool IsAddressFull(const PeerAddress& from) const noexcept;
    /// Whether strangers have all that they may have.
    bool HaveStrangersTheirShare() const noexcept { return strangers >= mostStrangers; }
    unsigned GetCount() const noexcept { return count; }

    /// A stranger has come. @throws std::bad_alloc, and nothing is counted then
    void Enter(const PeerAddress& from);
    /// He is none any more.
    void Prove(const PeerAddress& from) noexcept;
    void Leave(const PeerAddress& from, bool proven) noexcept;

private:
    struct Hash {
        std::size_t operator()(const PeerAddress& address) const noexcept { return address.Hash(); }
    };
    void ForgetStranger(const PeerAddress& from) noexcept;

    const unsigned most, mostStrangers, mostOfAnAddress;
    std::atomic<unsigned> count{0}, strangers{0};
    mutable std::mutex mutex;
    std::unordered_map<PeerAddress, unsigned, Hash> strangersFrom;  ///< guarded by mutex; without loopback
};

}  // namespace LumVoxMsg
