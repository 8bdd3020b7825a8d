// Whether the process ends, of LumPalDaemon.h.
#include <atomic>

#include "LumPalDaemon.h"

namespace LumPalRuntime {

namespace {

std::atomic<bool> stopping{false};

}  // namespace

void SetStopping(bool value) noexcept {
    stopping = value;
}

bool IsStopping() noexcept {
    return stopping;
}

}  // namespace LumPalRuntime
