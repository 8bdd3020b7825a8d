#include "common/Interruption.h"

#include <atomic>
#include <csignal>

namespace lumtools {

namespace {

constexpr int kSignals[] = {SIGINT, SIGTERM};

std::atomic<int> arrived{0};
static_assert(std::atomic<int>::is_always_lock_free, "a signal handler sets it");

extern "C" void Note(int signal) {
    arrived = signal;
    std::signal(signal, SIG_DFL);
}

void Set(int signal, void (*handler)(int)) {
    if (std::signal(signal, handler) == SIG_IGN) std::signal(signal, SIG_IGN);
}

}  // namespace

Interruption::Interruption() {
    for (const int signal : kSignals) Set(signal, Note);
}

Interruption::~Interruption() {
    for (const int signal : kSignals) Set(signal, SIG_DFL);
}

int Interruption::GetSignal() noexcept {
    return arrived;
}

}  // namespace lumtools
