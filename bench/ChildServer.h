/// @file
/// A server in a process of its own, on a port of the loopback.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace bench {

/// A port that nobody listens on.
unsigned FreePort();

/// Runs from its making to its end, which is asked for and waited for.
class ChildServer {
public:
    /// @param words        the program, found by PATH, and its arguments
    /// @param environment  added to this process's own
    /// @param log          a file that takes what it says
    /// @throws std::runtime_error when nobody listens on the port after half a minute
    ChildServer(const std::vector<std::string>& words, const std::map<std::string, std::string>& environment,
                const std::string& log, unsigned port);
    ~ChildServer();
    ChildServer(const ChildServer&) = delete;
    ChildServer& operator=(const ChildServer&) = delete;

private:
    int process;
};

}  // namespace bench
