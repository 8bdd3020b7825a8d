#include "lumconfd/MonitorKeeper.h"

#include <algorithm>
#include <utility>

#include "common/ClusterProduct.h"
#include "lumconfd/Attempt.h"
#include "lumconfd/ClusterFound.h"

namespace lumconfd {

using LumConfCluster::Application;
using LumConfCluster::Applications;
using LumConfCluster::Instance;
using LumConfCluster::Instances;
using LumPalStr::String_t;
using LumPalThread::Thread_t;
using std::chrono::seconds;

namespace {

constexpr seconds kFirstPause(10);
constexpr seconds kLongestPause(300);

MonitorRecord::Sides SidesOf(const Applications& applications) {
    MonitorRecord::Sides sides;
    for (int i = 0; i < applications.Count(); ++i) {
        const Application application = applications[i];
        const Instances instances = application.GetInstances();
        for (int k = 0; k < instances.Count(); ++k) {
            const Instance instance = instances[k];
            sides.push_back({application.GetName().ToUtf8(), instance.GetName().ToUtf8(),
                             instance.GetResourceGroup().GetName().ToUtf8(), instance.IsActiveNodeLocal()});
        }
    }
    return sides;
}

std::int64_t SecondsNow() {
    using namespace std::chrono;
    return duration_cast<seconds>(system_clock::now().time_since_epoch()).count();
}

MonitorKeeper::Surroundings OfTheDaemon() {
    return {&SecondsNow, [](Bell& bell, seconds time) { bell.Pause(time); },
            [](MonitorRecord& record, Bell& bell) { return std::make_unique<WatchedMonitor>(record, bell); }};
}

}  // namespace

void WatchedMonitor::Run(const Thread_t& thread) {
    try {
        Watch(thread);
    } catch (const LumPalMsg::Exception_t& e) {
        reason = e.GetMessageList();
        throw;
    } catch (const std::exception& e) {
        reason = LumPalMsg::CreateError_t(String_t::FromUtf8(e.what()));
        throw;
    }
}

void WatchedMonitor::Done(bool success) {
    ClusterMonitor::Done(success);
    ended.Ring();
}

void WatchedMonitor::Seen(const Applications& applications) {
    Attempt("On which side the instances are is not written down: %1", [&] { record.Seen(SidesOf(applications)); });
}

seconds SuccessorPauses::After(seconds lived) {
    if (lived >= kLongestPause) next = kFirstPause;
    return std::exchange(next, std::min(2 * next, kLongestPause));
}

MonitorKeeper::MonitorKeeper() : MonitorKeeper(lumtools::FindClusterProduct(), OfTheDaemon()) {}

MonitorKeeper::MonitorKeeper(std::optional<LumConfCluster::ClusterType> found, Surroundings others)
    : product(found), surroundings(std::move(others)) {
    if (!product) return;
    thread = Thread_t("ClusterKeeper");
    thread.Start(*this);
}

MonitorKeeper::~MonitorKeeper() {
    Stop();
    thread.Join();
}

bool MonitorKeeper::WaitForEnd(std::chrono::milliseconds most) {
    return thread.IsNull() || ended.Wait(most) != Bell::Heard::TimeOver;
}

void MonitorKeeper::Run(const Thread_t&) {
    Attempt("Which cluster product is followed cannot be told: %1", [this] { SayWhichIsFollowed(*product); });
    while (!bell.IsStopped()) {
        if (!Attempt("The cluster is not followed for a moment: %1", [this] { RunOne(); })) {
            surroundings.pause(bell, kFirstPause);
        }
    }
    ended.Ring();
}

void MonitorKeeper::Fill() const {
    Attempt("Settings of conf.cluster that are empty cannot be set: %1", [this] { FillEmptyClusterKeys(*product); });
}

void MonitorKeeper::RunOne() {
    if (!record) record.emplace(LumConfCluster::DisplayText(*product), surroundings.now);
    Fill();
    record->Starting();
    const std::int64_t begun = surroundings.now();
    const std::unique_ptr<WatchedMonitor> monitor = surroundings.make(*record, bell);
    monitor->Start();
    bell.Wait();
    monitor->Stop();  // also for one that has ended: its thread is gone then
    if (bell.IsStopped()) return record->Stopped();
    const seconds pause = pauses.After(seconds(surroundings.now() - begun));
    record->Ended(monitor->GetReason(), pause.count());
    surroundings.pause(bell, pause);
    if (bell.IsStopped()) record->Stopped();
}

}  // namespace lumconfd
