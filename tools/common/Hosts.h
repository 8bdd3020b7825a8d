/// @file
/// The options that say which nodes a command asks.
#pragma once

#include <CLI/CLI.hpp>
#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace lumtools {

/// --host (may be given often), --hosts-file, --parallel and --timeout.
class HostOptions {
public:
    void AddTo(CLI::App& command);
    /// The last one alone: for a command about this node.
    void AddTimeoutTo(CLI::App& command);
    /// The hosts in the order in which they were given, each once; "localhost" when none is named.
    /// @throws CLI::ValidationError for a file that cannot be read or names no host, or a host that is none
    std::vector<std::string> Make() const;
    int GetParallel() const noexcept { return parallel; }
    /// The longest time for all the work with one node; none unless it is given.
    std::optional<std::chrono::seconds> GetTimeout() const noexcept {
        if (timeoutSeconds == 0) return std::nullopt;
        return std::chrono::seconds(timeoutSeconds);
    }

private:
    std::vector<std::string> hosts;
    std::string file;
    int parallel = 16;
    int timeoutSeconds = 0;
};

}  // namespace lumtools
