/// @file
/// The refused calls of callers without an id.
#pragma once

#include <map>

#include "LineShare.h"
#include "LumPalLog.h"
#include "LumPalStr.h"
#include "LumPalThread.h"

namespace LumConf {

/// Writes a line for each of the first hundred refusals of an operation in ten seconds, and one that counts the others
/// when the ten seconds are over. It has files of its own, "conf.server.audit.strangers.log", so that nobody can push
/// the lines of proven callers out of theirs. The file is made with its first line. Any thread.
class StrangersLog final : private LumPalThread::Runnable_i {
public:
    using Clock = LineShare::Clock;
    static constexpr unsigned kMostLines = 100;
    static constexpr std::chrono::seconds kWhile{10};

    /// Lives in the directory of audit logs that there is now.
    StrangersLog();
    StrangersLog(const StrangersLog&) = delete;
    StrangersLog& operator=(const StrangersLog&) = delete;
    ~StrangersLog() override { Finish(); }
    void Refuse(const LumPalStr::String_t& method, Clock::time_point now = Clock::now());
    /// Writes the counts of all whiles that are over. Called by itself in time.
    void WriteCounts(Clock::time_point now);
    /// Writes every count for which there is memory. What is refused later is counted anew.
    void Finish();

private:
    void Run(const LumPalThread::Thread_t& thread) override;
    void AwaitEndLocked() LUMPAL_REQUIRES(mutex);
    void WriteCountsLocked(Clock::time_point now) LUMPAL_REQUIRES(mutex);
    void WriteCountLocked(const LumPalStr::String_t& method, LineShare& share, unsigned count) LUMPAL_REQUIRES(mutex);
    void WriteLocked(const LumPalMsg::Message_t& message) LUMPAL_REQUIRES(mutex);
    bool HasCountsLocked() const LUMPAL_REQUIRES(mutex);
    void StartTimerLocked() LUMPAL_REQUIRES(mutex);

    const LumPalStr::String_t directory;
    LumPalThread::Mutex_t mutex;  ///< held for each line
    LumPalThread::CondVar_t changed;
    LumPalLog::Log_t log LUMPAL_GUARDED_BY(mutex);
    bool isOpen LUMPAL_GUARDED_BY(mutex) = false;
    std::map<LumPalStr::String_t, LineShare> shares LUMPAL_GUARDED_BY(mutex);  ///< as many as there are operations
    LumPalThread::Thread_t timer LUMPAL_GUARDED_BY(mutex);  ///< runs as long as there is something to count
    bool timing LUMPAL_GUARDED_BY(mutex) = false;
    bool finishing LUMPAL_GUARDED_BY(mutex) = false;
};

}  // namespace LumConf
