/// @file
/// How several nodes fare, a line for each.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "common/Command.h"
#include "common/Table.h"

namespace lumpolicy {

/// In their order; of one that has told nothing the state says how it ended. @param answers  their fields are what
/// lumtools::ToJson makes of a status
/// @param isWide  with all columns
std::string StatusTable(const std::vector<std::pair<std::string, const lumtools::Answer*>>& answers, bool isWide,
                        const lumtools::TableLayout& layout);

}  // namespace lumpolicy
