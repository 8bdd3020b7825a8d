/// @file
/// Policies and commands follow the applications that are configured.
#pragma once

#include "LumConfCluster/Applications.h"
#include "LumConfCluster/MonitorWatcher.h"
#include "MonitorWarnings.h"
#include "PolicyOperation.h"

namespace LumConfCluster {

/// What a cycle is held against.
struct LastLook {
    Applications applications;
    MonitorWatcher::Look read = MonitorWatcher::Look::Whole;
};

/// Runs the start commands of each instance that has come to this node since the look before, and the stop commands of
/// each that has left, one after another; then enables the policies of an application of which an instance is online
/// here, and disables those of one of which none is. An application without instances is passed over. What changes is
/// queued for its consumers. Ends early when the process is stopping.
/// @param before  the former look: the side that an instance had then counts
/// @param watcher  told of each instance that changes sides
/// @throws LumPalMsg::Exception_t  what changing a policy ends in, unless it is a ConfException; what comes after it is
///         not done
void FollowApplications(const Applications& now, const LastLook& before, LumConf::PolicyOperation& policies,
                        MonitorWarnings& warnings, MonitorWatcher& watcher);

/// Runs the lines of an application one after another, with the name of the instance in the place of the first
/// "$instanceName" of each. One that fails is logged, and the next one runs.
void ExecuteCommands(const Strings& commands, const LumPalStr::String_t& instanceName);

}  // namespace LumConfCluster
