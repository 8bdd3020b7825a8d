/// @file
/// The member "changed" of an answer: whether the node's policies are otherwise than before.
#pragma once

#include <nlohmann/json.hpp>

#include "common/Outcome.h"

namespace lumpolicy {

/// true, false, or null where it is not known, as a request ended.
nlohmann::ordered_json WasChanged(const lumtools::Outcome& outcome);
/// Of several: what was changed counts most, then what is not known.
void JoinChanged(const nlohmann::ordered_json& part, nlohmann::ordered_json& whole);

}  // namespace lumpolicy
