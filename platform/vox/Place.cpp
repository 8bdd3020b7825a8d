// What becomes of a connection's place: its loop and whoever needs the place may both decide, and the first one does.
#include "HttpServerCore_beast.h"

namespace LumVoxMsg {

bool Place::Speak() noexcept {
    if (rank != PeerRank::Newcomer) return true;
    if (!core->admission.Speak()) return false;
    PeerRank before = PeerRank::Newcomer;
    if (!rank.compare_exchange_strong(before, PeerRank::Stranger)) core->admission.TakeBackSpeaking();
    return true;
}

void Place::Prove() noexcept {
    PeerRank before = rank;
    do {
        if (before == PeerRank::Proven || before == PeerRank::None) return;
    } while (!rank.compare_exchange_weak(before, PeerRank::Proven));
    core->admission.Prove(from, before);
}

void Place::Forfeit() noexcept {
    const PeerRank before = rank.exchange(PeerRank::None);
    if (before != PeerRank::None) core->Leave(from, before);
}

}  // namespace LumVoxMsg
