#include "PolicyWorker.h"

#include <optional>

#include "ConfParHandler.h"
#include "LumPalLog.h"
#include "LumPalMetrics.h"
#include "Messages.h"
#include "NodeHealth.h"
#include "PolicySettings.h"
#include "Trace.h"

namespace LumConfPar {

using namespace LumConf;
using LumPalStr::String_t;
using LumPalThread::MutexLock_t;

namespace {

/// For catch clauses: memory may be out.
template <class Text>
void TraceGuarded(Text text) noexcept {
    try {
        LUMCONF_TRACE(trace::Config, text());
    } catch (...) {
        LumPalLog::ReportLostLine();
    }
}

void NoteGuarded(const std::exception& e) noexcept {
    LumPalMetrics::Guarded(
        [&] { NodeHealth::GetInstance().SettingsFailed(LumPalMsg::CreateError_t(String_t::FromUtf8(e.what()))); });
}
void NoteGuarded(const LumPalMsg::Exception_t& e) noexcept {
    LumPalMetrics::Guarded([&] { NodeHealth::GetInstance().SettingsFailed(e.GetMessageList()); });
}

void LogGuarded(const std::exception& e) noexcept {
    LumPalLog::LogGuarded([&] {
        const LumPalMsg::CreateError_t reason(String_t::FromUtf8(e.what()));
        return Make(msg::WorkerJobErrors, names::SettingsTypeName, reason);
    });
}

/// Without memory for it nobody follows the choice, and nothing is cached: the next job tries again.
void FollowGuarded(std::optional<ConfParHandler>& choice) noexcept try {
    if (!choice) choice.emplace();
} catch (const std::exception& e) {
    LogGuarded(e);
}

}  // namespace

PolicyWorker& PolicyWorker::GetInstance() {
    static PolicyWorker& instance =
        *new PolicyWorker(MakePolicySettings());  // never destroyed: calls may outlive statics
    return instance;
}

PolicyWorker::PolicyWorker(SettingsSinkFactory factory) : makeSettings(std::move(factory)), settings(makeSettings()) {}

PolicyWorker::~PolicyWorker() = default;

void PolicyWorker::Start() {
    if (thread.IsNotNull()) Raise<LumPalMsg::IllegalStateError_t>(msg::WorkerAlreadyRunning);
    SetRunning(true);
    LumPalThread::Thread_t fresh("LumConf:PolicyWorker");
    try {
        fresh.Start(*this);
    } catch (...) {
        SetRunning(false);  // so that the next call tries again, and nobody queues jobs for nobody
        throw;
    }
    thread = fresh;
}

void PolicyWorker::SetRunning(bool on) {
    const MutexLock_t lock(mutex);
    running = working = on;
}

void PolicyWorker::Stop() {
    if (thread.IsNull()) Raise<LumPalMsg::IllegalStateError_t>(msg::WorkerNotRunning);
    MutexLock_t lock(mutex);
    running = false;
    condition.Signal();
    lock.Unlock();
    thread.Join();
}

void PolicyWorker::InsertJob(JobKind kind, const String_t& ids) {
    MutexLock_t lock(mutex);
    if (!running) {
        LUMCONF_TRACE(trace::Config, "the policy worker does not run, a job is dropped for " + ids);
        return;
    }
    queue.push_back({kind, ids});
    condition.Signal();
}

bool PolicyWorker::IsBusyForTest() {
    const MutexLock_t lock(mutex);
    return running && (working || !queue.empty());
}

void PolicyWorker::Run(const LumPalThread::Thread_t&) {
    std::optional<ConfParHandler> choice;
    FollowGuarded(choice);
    FirstStart();
    Job job;
    while (TakeJob(job)) {
        FollowGuarded(choice);
        TreatGuarded(job, choice && choice->IsCacheOn());
    }
}

void PolicyWorker::FirstStart() {
    try {
        settings->Start();
        NodeHealth::GetInstance().SettingsMerged();
    } catch (const LumPalMsg::Exception_t& e) {
        NoteGuarded(e);
        TraceGuarded([&] { return e.GetMessageList().Format(LumPalMsg::Text | LumPalMsg::Details); });
    } catch (const std::exception& e) {
        reloadNeeded = true;
        NoteGuarded(e);
        TraceGuarded([&] { return String_t::FromUtf8(e.what()); });
    }
}

/// One job's failure never ends the thread, whatever it is: nobody would take the next job.
void PolicyWorker::TreatGuarded(const Job& job, bool cacheOn) {
    try {
        Treat(job, cacheOn);
        NodeHealth::GetInstance().SettingsMerged();
    } catch (const LumPalMsg::Exception_t& e) {
        NoteGuarded(e);
        LumPalLog::LogGuarded([&] { return Make(msg::WorkerJobErrors, names::SettingsTypeName, e); });
    } catch (const std::exception& e) {
        // Memory ran out, say: what is in memory now is not known.
        reloadNeeded = true;
        NoteGuarded(e);
        LogGuarded(e);
    }
}

void PolicyWorker::Done(bool) {}

/// Waits for a job; a wake-up without one gives a job of kind None. False when the worker has been stopped.
bool PolicyWorker::TakeJob(Job& job) {
    MutexLock_t lock(mutex);
    working = false;
    if (running && queue.empty()) condition.Wait(mutex);
    if (!running) return false;
    working = true;
    job = {};
    if (!queue.empty()) {
        job = queue.front();
        queue.pop_front();
    }
    return true;
}

void PolicyWorker::Treat(const Job& job, bool cacheOn) {
    LUMCONF_TRACE(trace::Config, "job " + LumPalStr::NumToStr(static_cast<int>(job.kind)) + " for " + job.ids);
    if (cacheOn) {
        TreatCached(job);
    } else {
        // A reload takes in all that the job would have changed.
        reloadNeeded = true;
        Reload();
    }
}

void PolicyWorker::TreatCached(const Job& job) {
    switch (job.kind) {
        case JobKind::None:
            return ReloadIfNeeded();
        case JobKind::Install:
            ReloadIfNeeded();
            return settings->Install(job.ids);
        case JobKind::Remove:
            // Kept: a removal works on what is in memory, also when that is old.
            return settings->Remove(job.ids);
        case JobKind::Enable:
            ReloadIfNeeded();
            return settings->Enable(job.ids);
        case JobKind::Disable:
            ReloadIfNeeded();
            return settings->Disable(job.ids);
    }
    LUMCONF_TRACE(trace::Config, "a job of unknown kind is passed over");
}

void PolicyWorker::Reload() {
    settings = makeSettings();
    settings->Start();
}

void PolicyWorker::ReloadIfNeeded() {
    if (reloadNeeded) Reload();
    reloadNeeded = false;
}

}  // namespace LumConfPar
