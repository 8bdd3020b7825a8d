/// @file
/// What the commands of the tools share: their options and their answers.
#pragma once

#include <CLI/CLI.hpp>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "common/ExitCode.h"
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

/// Adds a subcommand that is an object of the class, made with the rest of the arguments.
template <class C, class... Rest>
void AddCommand(CLI::App& app, Actions& actions, const char* name, const char* help, const Rest&... rest) {
    CLI::App* subcommand = app.add_subcommand(name, help);
    const auto command = std::make_shared<C>(*subcommand, rest...);
    actions.emplace_back(subcommand, [command] { return command->Run(); });
}

}  // namespace lumtools
