#include "FollowApplications.h"

#include <optional>

#include "Exceptions.h"
#include "FormerLook.h"
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

/// An instance that has changed sides.
struct Change {
    Application application;
    Instance instance;
    bool isRead;  ///< false: nobody knows on which side it was, since the look before could not be read to its end
};

LumPalMsg::Message_t ReportOf(const Change& change, bool cameHere, int commands) {
    const String_t instance = Shown(change.instance.GetName()), application = Shown(change.application.GetName());
    if (!change.isRead) {
        return LumPalMsg::CreateInfo_t(
                   "The instance '%1' of the application '%2' is online on this node. "
                   "It could not be read before, and is taken for new: its %3 start command(s) are run.")
               << instance << application << commands;
    }
    return cameHere ? Make(msg::InstanceCame, instance, application, commands)
                    : Make(msg::InstanceLeft, instance, application, commands);
}

void Transit(const Change& change, bool cameHere, MonitorWatcher& watcher) {
    const Strings commands = cameHere ? change.application.GetStartActions() : change.application.GetStopActions();
    LumPalLog::Log(ReportOf(change, cameHere, commands.Count()));
    if (commands.Count() > 0) watcher.CommandsBegin(change.application, change.instance);
    ExecuteCommands(commands, change.instance.GetName());
    if (!IsStopping()) watcher.CommandsEnd(change.application, change.instance);
}

/// The former look, to be asked.
struct Former {
    const FormerLook look;
    const bool isWhole;
};

/// @return whether any instance is online here
bool FollowInstances(const Application& application, const Former& before, MonitorWatcher& watcher) {
    const Instances instances = application.GetInstances();
    bool anyOnline = false;
    for (int i = 0; i < instances.Count() && !IsStopping(); ++i) {
        const Instance instance = instances[i];
        const bool isOnline = instance.IsActiveNodeLocal();
        const std::optional<bool> side = before.look.SideOf(application.GetName(), instance);
        anyOnline = anyOnline || isOnline;
        if (isOnline == side.value_or(false)) continue;
        Transit({application, instance, side || before.isWhole}, isOnline, watcher);
    }
    return anyOnline;
}

/// @return whether it is done; not where no policy is meant
bool SetStatus(const String_t& policy, bool online, PolicyOperation& policies) {
    try {
        policies.SetStatus(names::NsConfCluster, Selection().SetPolicyName(policy),
                           online ? PolicyOperation::Enable : PolicyOperation::Disable,
                           PolicyForwarder::Options().SetNotify(false));
        return true;
    } catch (const ConfException& e) {
        LUMCONF_TRACE(trace::Cluster, e.GetMessageList());
        return false;
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
            LogAsMonitor(Make(msg::ApplicationCommandFailed, Shown(line), e));
        }
    }
}

void FollowApplications(const Applications& now, const LastLook& before, PolicyOperation& policies,
                        MonitorWarnings& warnings, MonitorWatcher& watcher) {
    const Former former{FormerLook(before.applications), before.read == MonitorWatcher::Look::Whole};
    for (int i = 0; i < now.Count() && !IsStopping(); ++i) {
        const Application application = now[i];
        if (application.GetInstances().Count() == 0) continue;
        const bool online = FollowInstances(application, former, watcher);
        const Strings listed = application.GetPolicyHeaders();
        for (int k = 0; k < listed.Count() && !IsStopping(); ++k) {
            if (SetStatus(listed[k], online, policies)) warnings.Listed(application.GetName(), listed[k], online);
        }
    }
}

}  // namespace LumConfCluster
