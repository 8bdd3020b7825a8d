/// @file
/// What the commands of the tools share: their options, their answers, and asking many nodes at once.
#pragma once

#include <CLI/CLI.hpp>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "common/ExitCode.h"
#include "common/Hosts.h"
#include "common/Outcome.h"
#include "common/Program.h"

namespace lumtools {

/// One command: its options, and what it does.
class Command {
public:
    virtual ~Command() = default;
    /// Runs the command and reports what came of it, unless it is to be quiet. @throws CLI::Error
    virtual ExitCode Run() = 0;

protected:
    /// Adds --json and --quiet.
    explicit Command(CLI::App& command);
    bool json = false, quiet = false;
};

/// What is wrong with an argument that must not be empty, empty when nothing is.
std::string IsGiven(const std::string& argument);
/// Adds --target-id. An empty id is refused: it would let every node pass.
CLI::Option* AddTargetId(CLI::App& command, std::string& targetId);

/// An object as one line; bytes that are no UTF-8 are replaced.
std::string OneLine(const nlohmann::ordered_json& object);
/// The members "result", "code" and "messages".
void Fill(nlohmann::ordered_json& object, const Outcome& outcome);

/// What one node answered.
struct Answer {
    Outcome outcome;
    std::string text;               ///< printed also when the outcome is a failure; lines end in a newline
    bool isBlock = false;           ///< the text does not name the node: with several nodes it stands below its name
    nlohmann::ordered_json fields;  ///< join the JSON object
};

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

    HostOptions hostOptions;
    std::vector<std::string> hosts;
};

/// Adds a subcommand that is an object of the class, made with the rest of the arguments.
template <class C, class... Rest>
void AddCommand(CLI::App& app, Actions& actions, const char* name, const char* help, const Rest&... rest) {
    CLI::App* subcommand = app.add_subcommand(name, help);
    const auto command = std::make_shared<C>(*subcommand, rest...);
    actions.emplace_back(subcommand, [command] { return command->Run(); });
}

}  // namespace lumtools
