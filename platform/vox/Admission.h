/// @file
/// How many connections there are, and of whom.
#pragma once

#include <atomic>
#include <unordered_map>

#include "LumPalPlainMutex.h"
#include "PeerAddress.h"

namespace LumVoxMsg {

/// What a connection's peer has shown of himself.
enum class PeerRank {
    Newcomer,  ///< nothing: no request of his was taken yet
    Stranger,  ///< a request of his was taken, and he has proven nothing
    Proven,    ///< who he is
    None       ///< he has no place any more
};

/// Whoever has not proven who he is, newcomer or stranger, is one of those without an id. They may have three quarters
/// of all connections, so that a proven caller keeps those that he has, and an address so many of them as its limit
/// says, but for loopback. An eighth of all is for newcomers alone: however many strangers there are, who comes can say
/// who he is. Any thread.
class Admission {
public:
    /// @param most            connections
    /// @param mostOfAnAddress connections without an id
    Admission(unsigned most, unsigned mostOfAnAddress) noexcept;
    /// Why one more from there cannot be taken; null when it can.
    const char* WhyFull(const PeerAddress& from) const noexcept;
    /// Whether the address alone keeps it out.
    bool IsAddressFull(const PeerAddress& from) const noexcept;
    /// Whether those without an id have all that they may have.
    bool HaveStrangersTheirShare() const noexcept { return nameless >= mostNameless; }
    /// Whether all places are taken, and proven callers have so many that fewer are left than are kept for newcomers.
    bool IsFilledByProven() const noexcept { return count >= most && nameless < keptForNewcomers; }
    unsigned GetCount() const noexcept { return count; }

    /// A newcomer has come. @throws std::bad_alloc, and nothing is counted then
    void Enter(const PeerAddress& from);
    /// A newcomer's request is to be taken, and makes him a stranger. @return false when there are too many, and
    /// nothing is counted then
    bool Speak() noexcept;
    /// It was not taken after all.
    void TakeBackSpeaking() noexcept { --strangers; }
    /// He has proven who he is. @param before  what he was
    void Prove(const PeerAddress& from, PeerRank before) noexcept;
    void Leave(const PeerAddress& from, PeerRank rank) noexcept;

private:
    struct Hash {
        std::size_t operator()(const PeerAddress& address) const noexcept { return address.Hash(); }
    };
    void ForgetNameless(const PeerAddress& from) noexcept;

    const unsigned most, mostNameless, keptForNewcomers, mostStrangers, mostOfAnAddress;
    std::atomic<unsigned> count{0}, nameless{0}, strangers{0};
    mutable LumPalThread::PlainMutex_t mutex;
    std::unordered_map<PeerAddress, unsigned, Hash> namelessFrom LUMPAL_GUARDED_BY(mutex);  ///< without loopback
};

}  // namespace LumVoxMsg
