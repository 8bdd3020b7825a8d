#include "lumconfd/ExpiryWatch.h"

#include <chrono>

#include "lumconfd/Attempt.h"

namespace lumconfd {

namespace {

/// Often enough that neither a clock that was set nor a night asleep makes it late by more.
constexpr std::chrono::hours kInterval(1);

std::int64_t SystemSeconds() {
    using std::chrono::duration_cast, std::chrono::seconds, std::chrono::system_clock;
    return duration_cast<seconds>(system_clock::now().time_since_epoch()).count();
}

}  // namespace

ExpiryWatch::ExpiryWatch() : expiry(SystemSeconds), thread("ExpiryWatch") {
    thread.Start(*this);
}

ExpiryWatch::~ExpiryWatch() {
    bell.Stop();
    thread.Join();
}

void ExpiryWatch::Run(const LumPalThread::Thread_t&) {
    do {
        Attempt("The ends of the node's certificates cannot be looked at now: %1", [this] { expiry.Look(); });
    } while (bell.Wait(kInterval) != Bell::Heard::Stop);
}

}  // namespace lumconfd
