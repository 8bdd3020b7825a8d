/// @file
/// What the commands of lumpolicy share.
#pragma once

#include <CLI/CLI.hpp>
#include <memory>
#include <string>

#include "common/ExitCode.h"
#include "common/Outcome.h"

namespace lumpolicy {

/// What stands before or behind every command.
struct Global {
    std::string host = "localhost";
    bool json = false;
    bool quiet = false;
};

/// One command: its options, and what it does.
class Command {
public:
    virtual ~Command() = default;
    /// Runs the command and says what came of it, unless it was told to be quiet.
    virtual lumtools::ExitCode Run(const Global& global) = 0;
};

/// Each adds its subcommand to the application.
std::unique_ptr<Command> AddInstall(CLI::App& app, CLI::App*& subcommand);
std::unique_ptr<Command> AddRemove(CLI::App& app, CLI::App*& subcommand);
std::unique_ptr<Command> AddList(CLI::App& app, CLI::App*& subcommand);
std::unique_ptr<Command> AddNotify(CLI::App& app, CLI::App*& subcommand);
std::unique_ptr<Command> AddReinit(CLI::App& app, CLI::App*& subcommand);

/// Says what came of one request: a line of success on standard output, a failure on standard error, or one JSON
/// object on standard output.
/// @param subject  what the request was about, as "backup_header.xml"; may be empty
/// @param success  the line for success
void Say(const Global& global, const lumtools::Outcome& outcome, const std::string& subject,
         const std::string& success);

}  // namespace lumpolicy
