/// @file
/// How several nodes fare, a line for each.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "common/Command.h"
#include "common/Table.h"

namespace lumpolicy {

/// Of those that have answered, in their order; empty when none has. @param answers  their fields are what
/// lumtools::ToJson makes of a status
/// @param isWide  with all columns
std::string StatusTable(const std::vector<std::pair<std::string, const lumtools::Answer*>>& answers, bool isWide,
                        const lumtools::TableLayout& layout);

}  // namespace lumpolicy
