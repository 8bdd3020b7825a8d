/// @file
/// Runs a program on a node of a simulated cluster.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace sim {

/// Ends a box that cannot be made; any other code is that of the program in it.
inline constexpr int kNoBox = 125;

struct BoxOptions {
    std::string folder;                ///< of the cluster, an absolute path; holds its description
    std::string host;                  ///< the name of this node; empty: the one of the description
    std::optional<uid_t> user;         ///< runs the program, with a group of the same number
    std::vector<std::string> command;  ///< the program, looked up in PATH, and its arguments
};

/// Runs a program in namespaces of its own, in which a product's tools stand at their true paths and the host bears the
/// name of the description. Nothing of that is seen outside or stays behind: all processes in it end with the program,
/// and with the caller. A root's right is not needed where users may have namespaces of their own.
///
/// When processes are still there half a second after the program has ended, the log of calls says {"left": true}.
/// @return the program's exit code; 128 + n when signal n ended it
/// @throws std::runtime_error when no box can be made
int RunInBox(const BoxOptions& options);

}  // namespace sim
