#include "Admission.h"

namespace LumVoxMsg {

Admission::Admission(unsigned most, unsigned mostOfAnAddress) noexcept
    : most(most), mostStrangers(most - most / 4), mostOfAnAddress(mostOfAnAddress) {}

const char* Admission::WhyFull(const PeerAddress& from) const noexcept {
    if (IsAddressFull(from)) return "its address has as many open as MAX_ADDRESS_CONNECTIONS allows.";
    if (count >= most) return "as many are open as MAX_CONNECTIONS allows, and all are at work.";
    if (HaveStrangersTheirShare()) return "callers without an id have their share of MAX_CONNECTIONS, all at work.";
    return nullptr;
}

bool Admission::IsAddressFull(const PeerAddress& from) const noexcept {
    if (from.isLoopback) return false;
    const std::lock_guard lock(mutex);
    const auto found = strangersFrom.find(from);
    return found != strangersFrom.end() && found->second >= mostOfAnAddress;
}

void Admission::Enter(const PeerAddress& from) {
    if (!from.isLoopback) {
        const std::lock_guard lock(mutex);
        ++strangersFrom[from];
    }
    ++count;
    ++strangers;
}

void Admission::Prove(const PeerAddress& from) noexcept {
    ForgetStranger(from);
}

void Admission::Leave(const PeerAddress& from, bool proven) noexcept {
    if (!proven) ForgetStranger(from);
    --count;
}

void Admission::ForgetStranger(const PeerAddress& from) noexcept {
    --strangers;
    if (from.isLoopback) return;
    const std::lock_guard lock(mutex);
    const auto found = strangersFrom.find(from);
    if (--found->second == 0) strangersFrom.erase(found);
}

}  // namespace LumVoxMsg
