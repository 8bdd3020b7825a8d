/// @file
/// The data files of a policy whose document may name a file more than once.
#pragma once

#include <vector>

#include "LumPalStr.h"
#include "PolicyHeaderImpl.h"

namespace LumConf {

/// The names of the data files in their order, each once.
std::vector<LumPalStr::String_t> DistinctDataFiles(const PolicyRecord& policy);

}  // namespace LumConf
