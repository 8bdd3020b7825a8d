#include "lumconfd/MonitorKeeper.h"

#include <algorithm>
#include <utility>

#include "LumPalDaemon.h"
#include "common/ClusterProduct.h"
#include "lumconfd/Attempt.h"
#include "lumconfd/ClusterFound.h"

namespace lumconfd {

using LumConfCluster::Application;
using LumConfCluster::Applications;
using LumConfCluster::Instance;
using LumConfCluster::Instances;
using LumPalStr::String_t;
using LumPalThread::Bell_t;
using LumPalThread::Thread_t;
using std::chrono::seconds;

namespace {

constexpr seconds kFirstPause(10);
constexpr seconds kLongestPause(300);
constexpr const char* kNotWritten = "On which side the instances are is not written down: %1";

lumtools::InstanceSide SideOf(const Application& application, const Instance& instance) {
    return {application.GetName().ToUtf8(), instance.GetName().ToUtf8(), instance.GetResourceGroup().GetName().ToUtf8(),
            instance.IsActiveNodeLocal()};
}

MonitorRecord::Sides SidesOf(const Applications& applications) {
    MonitorRecord::Sides sides;
    for (int i = 0; i < applications.Count(); ++i) {
        const Application application = applications[i];
        const Instances instances = application.GetInstances();
        for (int k = 0; k < instances.Count(); ++k) {
            sides.push_back(SideOf(application, instances[k]));
        }
    }
    return sides;
}

std::int64_t SecondsNow() {
    using namespace std::chrono;
    return duration_cast<seconds>(system_clock::now().time_since_epoch()).count();
}

MonitorKeeper::Surroundings OfTheDaemon() {
    return {&SecondsNow, [](Bell_t& bell, seconds time) { bell.Pause(time); },
            [](MonitorRecord& record, Bell_t& bell) { return std::make_unique<WatchedMonitor>(record, bell); }};
}

}  // namespace

seconds WatchedMonitor::SteadySeconds() {
    return std::chrono::duration_cast<seconds>(std::chrono::steady_clock::now().time_since_epoch());
}

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

void WatchedMonitor::Seen(const Applications& applications, Look look) {
    if (!born) born = clock();
    Attempt(kNotWritten, [&] { record.Seen(SidesOf(applications), look); });
}

void WatchedMonitor::CommandsBegin(const Application& application, const Instance& instance) {
    Attempt(kNotWritten, [&] { record.CommandsBegin(SideOf(application, instance)); });
}

void WatchedMonitor::CommandsEnd(const Application& application, const Instance& instance) {
    Attempt(kNotWritten, [&] { record.CommandsEnd(SideOf(application, instance)); });
}

void WatchedMonitor::CycleEnded(const LumPalMsg::MessageList_t& hindrance) {
    Attempt("What hinders the cluster monitor is not written down: %1", [&] { record.CycleEnded(hindrance); });
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
    return thread.IsNull() || ended.Wait(most) != Bell_t::Heard::TimeOver;
}

void MonitorKeeper::Run(const Thread_t&) {
    Attempt("Which cluster product is followed cannot be told: %1", [this] { SayWhichIsFollowed(*product); });
    while (!IsOver()) {
        if (!Attempt("The cluster cannot be followed at present: %1", [this] { RunOne(); })) {
            surroundings.pause(bell, pauses.After(seconds(0)));
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
    const std::unique_ptr<WatchedMonitor> monitor = surroundings.make(*record, bell);
    monitor->Start();
    bell.Wait();
    monitor->Stop();  // also for one that has ended: its thread is gone then
    if (IsOver()) return record->Stopped();
    const seconds pause = pauses.After(monitor->GetLived());
    record->Ended(monitor->GetReason(), pause.count());
    surroundings.pause(bell, pause);
    if (IsOver()) record->Stopped();
}

/// A monitor ends with its process also before somebody says so to the bell.
bool MonitorKeeper::IsOver() const {
    return bell.IsStopped() || LumPalRuntime::IsStopping();
}

}  // namespace lumconfd
