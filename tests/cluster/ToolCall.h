/// @file
/// One call of a simulated tool.
#pragma once

#include <string>

#include "Description.h"

namespace sim {

/// Names in the folder that a cluster lives in.
inline constexpr char kDescriptionFile[] = "cluster.json";
inline constexpr char kCallsFile[] = "calls";

/// Writes the call to the log, answers it as the description says, and may not come back.
/// @param folder  of the cluster
/// @param call    the tool's name without its folder, and its words
/// @return what the process ends with
/// @throws std::runtime_error
int AnswerCall(const std::string& folder, const Words& call);

}  // namespace sim
