#include "FollowApplications.h"

#include "Exceptions.h"
#include "LumPalDaemon.h"
#include "LumPalLog.h"
#include "Messages.h"
#include "MonitorLog.h"
#include "Names.h"
#include "PlainName.h"
#include "Selection.h"
#include "ToolRun.h"
#include "Trace.h"

namespace LumConfCluster {

using namespace LumConf;
using LumPalRuntime::IsStopping;
using LumPalStr::String_t;

namespace {

constexpr const char* kInstanceName = "$instanceName";
constexpr std::uint32_t kInstanceNameLength = 13;

/// Where a name stands twice, an instance is what has the same name and the same group.
bool WasOnlineByPair(const Instances& before, const Instance& instance) {
    for (int i = 0; i < before.Count(); ++i) {
        const Instance other = before[i];
        if (other.GetName() != instance.GetName()) continue;
        if (other.GetResourceGroup().GetName() == instance.GetResourceGroup().GetName()) {
            return other.IsActiveNodeLocal();
        }
    }
    return false;
}

bool WasOnline(const Instances& before, const Instance& instance) {
    try {
        return before[instance.GetName()].IsActiveNodeLocal();
    } catch (const AmbiguousInstanceNamesException&) {
        return WasOnlineByPair(before, instance);
    }
}

bool WasOnline(const Applications& before, const String_t& application, const Instance& instance) {
    try {
        return WasOnline(before[application].GetInstances(), instance);
    } catch (const ClusterApplicationException&) {
        return false;
    } catch (const ClusterInstanceException&) {
        return false;
    }
}

template <unsigned Holes>
void Transit(const MessageOf<Holes>& row, const Strings& commands, const Application& application,
             const Instance& instance) {
    LumPalLog::Log(Make(row, Shown(instance.GetName()), Shown(application.GetName()), commands.Count()));
    ExecuteCommands(commands, instance.GetName());
}

/// @return whether any instance is online here
bool FollowInstances(const Application& application, const Applications& before) {
    const Instances instances = application.GetInstances();
    bool anyOnline = false;
    for (int i = 0; i < instances.Count() && !IsStopping(); ++i) {
        const Instance instance = instances[i];
        const bool isOnline = instance.IsActiveNodeLocal();
        const bool wasOnline = WasOnline(before, application.GetName(), instance);
        anyOnline = anyOnline || isOnline;
        if (isOnline && !wasOnline) Transit(msg::InstanceCame, application.GetStartActions(), application, instance);
        if (!isOnline && wasOnline) Transit(msg::InstanceLeft, application.GetStopActions(), application, instance);
    }
    return anyOnline;
}

void SetStatus(const String_t& policy, bool online, PolicyOperation& policies) {
    try {
        policies.SetStatus(names::NsConfCluster, Selection().SetPolicyName(policy),
                           online ? PolicyOperation::Enable : PolicyOperation::Disable,
                           PolicyForwarder::Options().SetNotify(false));
    } catch (const ConfException& e) {
        LUMCONF_TRACE(trace::Cluster, e.GetMessageList());
    }
}

void RunCommand(const String_t& line) {
    const int code = ExitCodeOf(line, ConfiguredCommandLimits());
    if (code != 0) Raise<ClusterException>(msg::ToolReturned, code);
}

}  // namespace

void ExecuteCommands(const Strings& commands, const String_t& instanceName) {
    for (int i = 0; i < commands.Count(); ++i) {
        String_t line = commands[i];
        const std::uint32_t at = line.Find(kInstanceName);
        if (at != LumPalStr::NotFound) line.Replace(at, kInstanceNameLength, instanceName);
        try {
            RunCommand(line);
        } catch (const LumPalMsg::Exception_t& e) {
            TellAsMonitor(Make(msg::ApplicationCommandFailed, Shown(line), e));
        }
    }
}

void FollowApplications(const Applications& now, const Applications& before, PolicyOperation& policies,
                        MonitorWarnings& warnings) {
    for (int i = 0; i < now.Count() && !IsStopping(); ++i) {
        const Application application = now[i];
        if (application.GetInstances().Count() == 0) continue;
        const bool online = FollowInstances(application, before);
        const Strings listed = application.GetPolicyHeaders();
        for (int k = 0; k < listed.Count() && !IsStopping(); ++k) {
            SetStatus(listed[k], online, policies);
            warnings.Listed(application.GetName(), listed[k], online);
        }
    }
}

}  // namespace LumConfCluster
