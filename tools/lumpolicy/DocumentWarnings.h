/// @file
/// What is reported of policy files that can be used, but act otherwise than they look.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "LumPalMsg.h"

namespace lumpolicy {

/// The warnings of one header file; none of a file that cannot be read: whoever uses it says why.
LumPalMsg::MessageList_t WarningsOf(const std::string& file);

/// The member "warnings", in the form of "messages"; an empty list when there are none.
void FillWarnings(nlohmann::ordered_json& object, const LumPalMsg::MessageList_t& warnings);

}  // namespace lumpolicy
