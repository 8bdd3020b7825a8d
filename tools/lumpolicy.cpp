// The operator's tool for the policies of a node.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <string>
#include <vector>

#include "LumPalConsole.h"
#include "LumPalRuntime.h"
#include "lumpolicy/Command.h"

namespace {

using lumpolicy::Commands;

const char* const kUsage =
    "usage: lumpolicy COMMAND [OPTION...]\n"
    "  install FILE...              install policies, or replace installed ones\n"
    "  list, show                   list installed policies, show them in full\n"
    "  remove, enable, disable      do that to selected policies\n"
    "  set-owner OWNER              give them to an owner\n"
    "  add-category, remove-category, clear-categories\n"
    "  add-attribute, remove-attribute, clear-attributes\n"
    "  notify                       send what the node has queued for its consumers\n"
    "  reinit                       let the node read its store anew\n"
    "  validate FILE...             say all that is wrong with policy files\n"
    "  sign FILE...                 sign the data files of policy files\n"
    "  verify FILE... | --installed prove who signed the data files\n"
    "  dump                         write the policies of this node as one list\n"
    "--host HOST[:PORT] names a node (default: localhost). 'lumpolicy help COMMAND' tells more.\n";

const char* const kExitCodes =
    "Exit codes: 0 done, 1 failed, 2 wrong usage, 3 nothing to do, 4 not found, 5 refused,\n"
    "6 the node could not be reached, 7 done but not every consumer could be told.\n"
    "For many nodes: the code that all have in common; 0 also when some had nothing to do; else 8.";

Commands AddCommands(CLI::App& app) {
    Commands commands;
    for (auto* add : {lumpolicy::AddInstall, lumpolicy::AddQueries, lumpolicy::AddChanges, lumpolicy::AddNodeWork,
                      lumpolicy::AddLocal, lumpolicy::AddTrust}) {
        add(app, commands);
    }
    for (const auto& [subcommand, command] : commands) subcommand->footer(kExitCodes);
    return commands;
}

int Run(CLI::App& app, const Commands& commands) {
    for (const auto& [subcommand, command] : commands) {
        if (!subcommand->parsed()) continue;
        try {
            return command->Run();
        } catch (const CLI::Error& e) {
            app.exit(e);
            return lumtools::kWrongUsage;
        } catch (const std::exception& e) {
            std::cerr << "lumpolicy: " << e.what() << "\n";
            return lumtools::kWrongUsage;
        }
    }
    return lumtools::kWrongUsage;
}

/// "help COMMAND" is "COMMAND --help", and "help" alone is "--help".
std::vector<std::string> Arguments(int argc, char** argv) {
    std::vector<std::string> arguments(argv + 1, argv + argc);
    if (arguments.front() != "help") return arguments;
    arguments.erase(arguments.begin());
    arguments.push_back("--help");
    return arguments;
}

int Work(int argc, char** argv) {
    if (argc <= 1) {
        std::cerr << kUsage;
        return lumtools::kWrongUsage;
    }
    CLI::App app("Installs, lists, changes and removes the policies of nodes.", "lumpolicy");
    app.set_version_flag("--version", "lumpolicy " LUM_VERSION);
    app.require_subcommand(1);
    app.footer(kExitCodes);
    const Commands commands = AddCommands(app);
    std::vector<std::string> arguments = Arguments(argc, argv);
    const auto isNamed = [&arguments](CLI::App* command) { return command->check_name(arguments.front()); };
    if (arguments.front()[0] != '-' && app.get_subcommands(isNamed).empty()) {
        std::cerr << "lumpolicy: there is no command '" << arguments.front() << "'\n" << kUsage;
        return lumtools::kWrongUsage;
    }
    try {
        std::reverse(arguments.begin(), arguments.end());  // the parser takes them from the back
        app.parse(arguments);
    } catch (const CLI::ParseError& e) {
        return app.exit(e) == 0 ? lumtools::kDone : lumtools::kWrongUsage;
    }
    return Run(app, commands);
}

/// What was printed counts only when it has arrived.
int Ended(int code) {
    if (std::cout.flush()) return code;
    std::cerr << "lumpolicy: standard output cannot be written\n";
    return code == lumtools::kDone ? lumtools::kFailed : code;
}

}  // namespace

int main(int argc, char** argv) {
    LumPalConsole::OccupyStandardStreams();
    LumPalRuntime::App_t::Init(argc, argv);
    return Ended(Work(argc, argv));
}
