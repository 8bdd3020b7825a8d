/// @file
/// What the inventory of a node says.
#pragma once

#include "LumDepl.h"

namespace LumDepl {

/// Where the inventory is asked for, below the root of a node's address.
inline constexpr const char* kInventoryPath = "/com.tessel.lum.depl/voxrpcserver";
/// The version of the library as the inventory gives it. Kept: peers take what lies between "03.00.010" and
/// "06.00.055" as plain texts for nodes that number the kinds of selections differently.
inline constexpr const char* kPackageVersion = "07.00.000";

/// The text table: a line of headings, a line for each object, columns at the same place in each line.
/// @param objectType  "package"; any other type lists nothing
LumPalStr::String_t InventoryTable(const LumPalStr::String_t& objectType);

}  // namespace LumDepl
