/// @file
/// The status of a node for people and for scripts.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "NodeStatus.h"
#include "common/Outcome.h"

namespace lumtools {

/// Lines of labels and values; times are local.
std::string TextOf(const LumConf::NodeStatus& status);
/// The members of the JSON object; times are seconds since 1970-01-01T00:00:00Z.
nlohmann::ordered_json ToJson(const LumConf::NodeStatus& status);
/// Whether all is well with the node; else a failure with a message for each thing that somebody has to mend: settings
/// policies that cannot be merged, certificates that have ended, policies without their data files.
Outcome Judge(const LumConf::NodeStatus& status);

}  // namespace lumtools
