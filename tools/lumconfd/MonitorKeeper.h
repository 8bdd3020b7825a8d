/// @file
/// Lets the daemon follow the cluster as long as it runs.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

#include "LumConfCluster/ClusterMonitor.h"
#include "LumConfCluster/ClusterType.h"
#include "LumPalBell.h"
#include "LumPalMsg.h"
#include "LumPalThread.h"
#include "lumconfd/MonitorRecord.h"

namespace lumconfd {

/// A monitor that says how it fares.
class WatchedMonitor : public LumConfCluster::ClusterMonitor {
public:
    using Clock = std::function<std::chrono::seconds()>;

    /// @param record  told what it sees, on its thread
    /// @param ended   rung when it has ended
    /// @param clock   seconds since any moment, whatever is done to the time of day
    WatchedMonitor(MonitorRecord& record, LumPalThread::Bell_t& ended, Clock clock = &SteadySeconds)
        : record(record), ended(ended), clock(std::move(clock)) {}

    void Run(const LumPalThread::Thread_t& thread) override;
    void Done(bool success) override;
    /// What it has ended by; to be asked when its thread is gone.
    const LumPalMsg::MessageList_t& GetReason() const { return reason; }
    /// Since it has seen the cluster; 0 when it has not. To be asked when its thread is gone.
    std::chrono::seconds GetLived() const { return born ? clock() - *born : std::chrono::seconds(0); }

protected:
    /// The work of the thread.
    virtual void Watch(const LumPalThread::Thread_t& thread) { ClusterMonitor::Run(thread); }
    void Seen(const LumConfCluster::Applications& applications, Look look) override;
    void CommandsBegin(const LumConfCluster::Application& application,
                       const LumConfCluster::Instance& instance) override;
    void CommandsEnd(const LumConfCluster::Application& application, const LumConfCluster::Instance& instance) override;
    void CycleEnded(const LumPalMsg::MessageList_t& hindrance) override;

private:
    static std::chrono::seconds SteadySeconds();

    MonitorRecord& record;
    LumPalThread::Bell_t& ended;
    const Clock clock;
    std::optional<std::chrono::seconds> born;
    LumPalMsg::MessageList_t reason;
};

/// How long nobody watches after a monitor has ended by itself: 10 seconds, and twice as long after each that follows,
/// up to five minutes. Who has followed the cluster for five minutes begins with 10 seconds again.
class SuccessorPauses {
public:
    std::chrono::seconds After(std::chrono::seconds lived);

private:
    std::chrono::seconds next{10};
};

/// Runs a monitor on a machine where the daemon file of a cluster product is there, and a successor after each that has
/// ended by itself; elsewhere it does nothing and says nothing. The empty ones of the keys that a monitor needs are
/// filled before each. It keeps a record of how they stand. For a process that serves the root.
class MonitorKeeper final : private LumPalThread::Runnable_i {
public:
    /// What tests replace.
    struct Surroundings {
        MonitorRecord::Clock now;
        std::function<void(LumPalThread::Bell_t&, std::chrono::seconds)> pause;
        std::function<std::unique_ptr<WatchedMonitor>(MonitorRecord&, LumPalThread::Bell_t&)> make;
    };

    /// @throws LumPalMsg::RuntimeException_t without room for a thread
    MonitorKeeper();
    /// @param product  nothing: there is no cluster
    MonitorKeeper(std::optional<LumConfCluster::ClusterType> product, Surroundings surroundings);
    /// Stops, and waits for the monitor as long as that takes.
    ~MonitorKeeper() override;
    MonitorKeeper(const MonitorKeeper&) = delete;
    MonitorKeeper& operator=(const MonitorKeeper&) = delete;

    /// Lets the monitor end. Returns at once; in a process that is stopping that takes about a second.
    void Stop() { bell.Stop(); }
    /// @return whether it has ended by then
    bool WaitForEnd(std::chrono::milliseconds most);

private:
    void Run(const LumPalThread::Thread_t& thread) override;
    void RunOne();
    bool IsOver() const;
    void Fill() const;

    const std::optional<LumConfCluster::ClusterType> product;
    const Surroundings surroundings;
    LumPalThread::Bell_t bell;   ///< rung by a monitor that has ended
    LumPalThread::Bell_t ended;  ///< rung by the thread in its end
    std::optional<MonitorRecord> record;
    SuccessorPauses pauses;
    LumPalThread::Thread_t thread;
};

}  // namespace lumconfd
