/// @file
/// What is reported of policy files before a node is asked: what can be used but acts otherwise than it looks, and all
/// that a node would refuse.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "LumPalMsg.h"
#include "PolicyCheck.h"
#include "common/Outcome.h"

namespace lumpolicy {

/// The warnings of one header file; none of a file that cannot be read: whoever uses it says why.
LumPalMsg::MessageList_t WarningsOf(const std::string& file);

/// The same, and of a settings policy what keeps the node from merging it: to be said before a node is asked to take
/// it.
LumPalMsg::MessageList_t WarningsBeforeSending(const std::string& file);

/// The member "warnings", in the form of "messages"; an empty list when there are none.
void FillWarnings(nlohmann::ordered_json& object, const LumPalMsg::MessageList_t& warnings);

/// Holds a file and what lies beside it against this node's rules, its BODY_LIMIT among them.
LumConf::PolicyCheck CheckFile(const std::string& file);

/// Each fault as a line below the first, with its place.
std::vector<lumtools::MessageLine> LinesOf(const std::vector<LumConf::PolicyFault>& faults);

/// The member "faults": "file" (the data file; null for the header), "line" and "column" (null for a fault without a
/// place), "text", "refused".
void FillFaults(nlohmann::ordered_json& object, const std::vector<LumConf::PolicyFault>& faults);

}  // namespace lumpolicy
