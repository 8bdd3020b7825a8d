#include "Admission.h"

namespace LumVoxMsg {

Admission::Admission(unsigned most, unsigned mostOfAnAddress) noexcept
    : most(most),
      mostNameless(most - most / 4),
      keptForNewcomers(most / 8),
      mostStrangers(mostNameless - keptForNewcomers),
      mostOfAnAddress(mostOfAnAddress) {}

const char* Admission::WhyFull(const PeerAddress& from) const noexcept {
    if (IsAddressFull(from)) return "its address has as many open as MAX_ADDRESS_CONNECTIONS allows.";
    if (count >= most) return "as many are open as MAX_CONNECTIONS allows, and all are at work.";
    if (HaveStrangersTheirShare()) return "callers without an id have their share of MAX_CONNECTIONS, all at work.";
    return nullptr;
}

bool Admission::IsAddressFull(const PeerAddress& from) const noexcept {
    if (from.isLoopback) return false;
    const LumPalThread::PlainLock_t lock(mutex);
    const auto found = namelessFrom.find(from);
    return found != namelessFrom.end() && found->second >= mostOfAnAddress;
}

void Admission::Enter(const PeerAddress& from) {
    if (!from.isLoopback) {
        const LumPalThread::PlainLock_t lock(mutex);
        ++namelessFrom[from];
    }
    ++count;
    ++nameless;
}

bool Admission::Speak() noexcept {
    unsigned now = strangers;
    do {
        if (now >= mostStrangers) return false;
    } while (!strangers.compare_exchange_weak(now, now + 1));
    return true;
}

void Admission::Prove(const PeerAddress& from, PeerRank before) noexcept {
    if (before == PeerRank::Stranger) --strangers;
    ForgetNameless(from);
}

void Admission::Leave(const PeerAddress& from, PeerRank rank) noexcept {
    if (rank == PeerRank::Stranger) --strangers;
    if (rank != PeerRank::Proven) ForgetNameless(from);
    --count;
}

void Admission::ForgetNameless(const PeerAddress& from) noexcept {
    --nameless;
    if (from.isLoopback) return;
    const LumPalThread::PlainLock_t lock(mutex);
    const auto found = namelessFrom.find(from);
    if (--found->second == 0) namelessFrom.erase(found);
}

}  // namespace LumVoxMsg
