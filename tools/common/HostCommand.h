/// @file
/// A command that asks nodes, many of them at once.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "common/Command.h"
#include "common/Hosts.h"

namespace lumtools {

/// Adds --target-id. An empty id is refused: it would let every node pass.
CLI::Option* AddTargetId(CLI::App& command, std::string& targetId);

/// Begins the answer of a dry run: "changes" takes what would change.
void BeginDryRun(Answer& answer);
/// Without any change there is nothing to do.
void EndDryRun(const std::string& host, Answer& answer);

/// A command that asks nodes: one or many, at the same time. One result a node, in the order in which they were given;
/// with several nodes a summary at the end, and an exit code for all of them.
class HostCommand : public Command {
public:
    ExitCode Run() final;

protected:
    explicit HostCommand(CLI::App& command);
    /// Checks the arguments and makes what all requests share, before any node is asked; none is after a failure.
    /// @throws CLI::Error
    virtual Outcome Prepare() { return {}; }
    /// Whether it changes nodes: then it goes on to the last of them although nobody reads its output any more.
    virtual bool ChangesNodes() const { return false; }
    /// Asks one node. Called on several threads at once. Must not throw.
    virtual Answer Ask(const std::string& host) const = 0;
    bool AsksMany() const { return hosts.size() > 1; }
    /// Says warnings before the answer is there: on standard error at once; nothing with --json. Any thread.
    void Warn(const LumPalMsg::MessageList_t& warnings) const;

private:
    void PrintUnsent(const Outcome& outcome) const;
    void Print(const std::string& host, const Answer& answer) const;
    void PrintSummary(const std::vector<Answer>& answers) const;
    std::vector<Answer> AskAll() const;
    std::optional<std::chrono::seconds> GetTimeout() const;

    HostOptions hostOptions;
    std::vector<std::string> hosts;
};

}  // namespace lumtools
