/// @file
/// The thread that applies changes of settings policies.
#pragma once

#include <deque>
#include <memory>

#include "LumPalStr.h"
#include "LumPalThread.h"
#include "PolicyJob.h"
#include "SettingsSink.h"

namespace LumConfPar {

using LumConf::JobKind;

/// Works off jobs one at a time, in the order of their insertion, so that no request waits for it. It is started once
/// and stopped once. InsertJob may be called by any thread; Start and Stop by one thread at a time.
class PolicyWorker : public LumPalThread::Runnable_i {
public:
    /// The one worker, made at the first call; it lives to the end of the process.
    static PolicyWorker& GetInstance();
    /// A worker of one's own.
    explicit PolicyWorker(SettingsSinkFactory factory);
    PolicyWorker(const PolicyWorker&) = delete;
    PolicyWorker& operator=(const PolicyWorker&) = delete;
    /// A worker that runs must be stopped before.
    ~PolicyWorker() override;

    /// @throws LumPalMsg::IllegalStateError_t WorkerAlreadyRunning when it was started before, also when it was stopped
    ///         since; LumPalMsg::RuntimeException_t when the system gives no thread: then it may be called again
    void Start();
    /// Waits for the job in work; those behind it are dropped.
    /// @throws LumPalMsg::IllegalStateError_t WorkerNotRunning when it was never started
    void Stop();
    /// Appends a job for blank-separated ids; dropped unless the worker runs.
    void InsertJob(JobKind kind, const LumPalStr::String_t& ids);

    /// Whether a job, or what comes first after the start, is in work or waits.
    bool IsBusyForTest();

    void Run(const LumPalThread::Thread_t& thread) override;
    void Done(bool success) override;

private:
    struct Job {
        JobKind kind = JobKind::None;
        LumPalStr::String_t ids;
    };
    void SetRunning(bool on);
    void FirstStart();
    bool TakeJob(Job& job);
    void TreatGuarded(const Job& job, bool cacheOn);
    void Treat(const Job& job, bool cacheOn);
    void TreatCached(const Job& job);
    void Reload();
    void ReloadIfNeeded();

    // Set once.
    const SettingsSinkFactory makeSettings;
    LumPalThread::Thread_t thread;  ///< Start and Stop
    // The queue.
    LumPalThread::Mutex_t mutex;
    LumPalThread::CondVar_t condition;
    bool running LUMPAL_GUARDED_BY(mutex) = false;
    bool working LUMPAL_GUARDED_BY(mutex) = false;
    std::deque<Job> queue LUMPAL_GUARDED_BY(mutex);
    // The worker thread alone.
    std::unique_ptr<SettingsSink> settings;
    bool reloadNeeded = false;
};

}  // namespace LumConfPar
