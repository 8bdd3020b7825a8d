#include "lumconfd/ExpiryWatch.h"

#include <chrono>

namespace lumconfd {

namespace {

/// Often enough that neither a clock that was set nor a night asleep makes it late by more.
constexpr std::chrono::milliseconds kInterval = std::chrono::hours(1);

std::int64_t SystemSeconds() {
    using std::chrono::duration_cast, std::chrono::seconds, std::chrono::system_clock;
    return duration_cast<seconds>(system_clock::now().time_since_epoch()).count();
}

}  // namespace

ExpiryWatch::ExpiryWatch()
    : expiry(SystemSeconds),
      thread("ExpiryWatch", {"The ends of the node's certificates cannot be looked at now: %1", kInterval},
             [this](LumPalThread::Bell_t&) {
                 expiry.Look();
                 revoked.Look();
                 return kInterval;
             }) {
    thread.Start();
}

}  // namespace lumconfd
