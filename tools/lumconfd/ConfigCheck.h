/// @file
/// Looks at a node's configuration without serving it.
#pragma once

#include <iosfwd>

namespace lumconfd {

/// Reads every configuration file of the node, says on `out` what is wrong, one line each, and ends with a line
/// of summary. Changes nothing.
/// @return whether nothing is wrong
bool CheckConfiguration(std::ostream& out);

}  // namespace lumconfd
