/// @file
/// What was seen, for people and for programs.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "common/Table.h"
#include "lumcluster/Facts.h"
#include "lumcluster/Follower.h"

namespace lumcluster {

/// Lines and tables, without control characters but the colours of the layout.
std::string TextOf(const Sight& sight, const Follower& follower, const Keys& keys,
                   const lumtools::TableLayout& layout = {});
/// An object with the members of docs/tools.md.
nlohmann::ordered_json ToJson(const Sight& sight, const Follower& follower, const Keys& keys);

}  // namespace lumcluster
