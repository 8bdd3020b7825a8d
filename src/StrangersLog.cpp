#include "StrangersLog.h"

#include <algorithm>

#include "Messages.h"
#include "Names.h"
#include "StorePaths.h"

namespace LumConf {

using LumPalStr::String_t;
using LumPalThread::MutexLock_t;

namespace {

constexpr std::uint32_t kRetryMilliseconds = 200;

}  // namespace

StrangersLog::StrangersLog() : directory(paths::AuditLogDirectory()) {}

void StrangersLog::Refuse(const String_t& method, Clock::time_point now) {
    const MutexLock_t lock(mutex);
    LineShare& share = shares.try_emplace(method, kMostLines, kWhile).first->second;
    WriteCountsLocked(now);
    if (share.Take(now)) return WriteLocked(Make(msg::AuditNotAuthorized, String_t(""), method));
    if (!timing) StartTimerLocked();
}

void StrangersLog::WriteCounts(Clock::time_point now) {
    const MutexLock_t lock(mutex);
    WriteCountsLocked(now);
}

void StrangersLog::WriteCountsLocked(Clock::time_point now) {
    for (auto& [method, share] : shares) WriteCountLocked(method, share, share.TakeCount(now));
}

void StrangersLog::WriteCountLocked(const String_t& method, LineShare& share, unsigned count) try {
    if (count > 0) WriteLocked(Make(msg::AuditNotAuthorizedCounted, count, method));
} catch (...) {
    share.PutBack(count);
    throw;
}

void StrangersLog::WriteLocked(const LumPalMsg::Message_t& message) {
    if (!isOpen) {
        log = LumPalLog::Log_t(directory, names::StrangersLogName, names::ServerComponent,
                               LumPalLog::Rotate | LumPalLog::PrivateMode);
        isOpen = true;
    }
    log.Write(message, LumPalLog::None);
}

bool StrangersLog::HasCountsLocked() const {
    return std::any_of(shares.begin(), shares.end(), [](const auto& entry) { return entry.second.HasCount(); });
}

/// Without room for a thread the counts are written with the next refusal.
void StrangersLog::StartTimerLocked() try {
    timer.Join();
    timer = LumPalThread::Thread_t("Conf:Strangers");
    timer.Start(*this);
    timing = true;
} catch (const LumPalMsg::RuntimeException_t&) {
    timing = false;
}

void StrangersLog::Run(const LumPalThread::Thread_t&) {
    const MutexLock_t lock(mutex);
    while (!finishing && HasCountsLocked()) {
        try {
            AwaitEndLocked();
            WriteCountsLocked(Clock::now());
        } catch (const std::exception&) {
            // Memory ran out, say: the count waits until there is some, whether anybody calls or not.
            changed.Wait(mutex, kRetryMilliseconds);
        }
    }
    timing = false;
}

/// Of the while that ends first.
void StrangersLog::AwaitEndLocked() {
    auto end = Clock::time_point::max();
    for (const auto& [method, share] : shares)
        if (share.HasCount()) end = std::min(end, share.GetEnd());
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
    if (left.count() > 0) changed.Wait(mutex, static_cast<std::uint32_t>(left.count()));
}

void StrangersLog::Finish() {
    LumPalThread::Thread_t ending;
    {
        const MutexLock_t lock(mutex);
        for (auto& [method, share] : shares) {
            try {
                WriteCountLocked(method, share, share.TakeCount());
            } catch (const std::exception&) {
                LumPalLog::ReportLostLine();
            }
        }
        finishing = true;
        changed.Signal();
        ending = timer;
    }
    ending.Join();
    const MutexLock_t lock(mutex);
    finishing = false;
}

}  // namespace LumConf
