/// @file
/// The options that say which nodes a command asks, and asking many of them at once.
#pragma once

#include <CLI/CLI.hpp>
#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace lumtools {

/// --host (may be given often), --hosts-file, --parallel and --timeout.
class HostOptions {
public:
    void AddTo(CLI::App& command);
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

/// Does the job for each index below `count`, on at most `parallel` threads at a time; `done` is called on the
/// caller's thread after each, with the number of jobs that are done. The job must not throw.
void ForEach(std::size_t count, int parallel, const std::function<void(std::size_t index)>& job,
             const std::function<void(std::size_t doneCount)>& done);

}  // namespace lumtools
