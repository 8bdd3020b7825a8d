/// @file
/// Which tools were run on a node of a simulated cluster.
#pragma once

#include <string>
#include <vector>

namespace bench {

/// Reads them from the simulator's log. @param path  of the log @param first  how many lines of it are passed over
/// @return for each call the path of the tool and its arguments
/// @throws std::exception for a line that is none of a call, and for a tool that stands nowhere
std::vector<std::vector<std::string>> ReadToolCalls(const std::string& path, long first);

}  // namespace bench
