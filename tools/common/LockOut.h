/// @file
/// Changes of settings after which a node's own tools could not reach it.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "LumPalConfig.h"
#include "NodeStatus.h"
#include "SettingsMerge.h"

namespace lumtools {

/// Whether a group names a key on which it depends whether a node's tools reach it.
bool ConcernsTools(const LumPalConfig::ConfigGroup_t& changed);

/// Why they would not, at once or when the daemon starts again; empty when they would.
/// @param changed  the keys that change
/// @param then     all settings of the node behind the change
/// @param now      how its port is served; none where it does not tell
/// @param isHere   it is this node, so that its key store can be looked at
std::string WhyLockedOut(const LumPalConfig::ConfigGroup_t& changed, const LumPalConfig::ConfigGroup_t& then,
                         const std::optional<LumConf::NodeStatus>& now, bool isHere);

/// How the node's port is served; none where it does not tell.
std::optional<LumConf::NodeStatus> AskHowServed(const std::string& host, const std::string& targetId);

/// Refuses a change of settings policies after which the tools of this node could not reach it. Of another node, and
/// where its files cannot be read or what is installed cannot be merged, it refuses nothing: the node judges.
/// @param imagine  makes the change to what is installed
/// @throws LumSecAuth::NotAuthorizedException that says why
void RequireTools(const std::string& host, const std::string& targetId,
                  const std::function<void(LumConfPar::SettingsMerge&)>& imagine);

/// @throws LumSecAuth::NotAuthorizedException with the reason, unless that is empty
void RefuseLockOut(const std::string& host, const std::string& why);

}  // namespace lumtools
