// The operator's tool for the policies of a node.
#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <vector>

#include "LumPalRuntime.h"
#include "lumpolicy/Command.h"

namespace {

using lumpolicy::Command;
using lumpolicy::Global;
using lumtools::ExitCode;

const char* const kUsage =
    "usage: lumpolicy COMMAND [OPTION...]\n"
    "  install FILE...   install policies, or replace installed ones\n"
    "  remove            remove installed policies\n"
    "  list              list installed policies\n"
    "  notify            send what the node has queued for its consumers\n"
    "  reinit            let the node read its store anew\n"
    "--host HOST[:PORT] names the node (default: localhost). 'lumpolicy COMMAND --help' tells more.\n";

const char* const kExitCodes =
    "Exit codes: 0 done, 1 failed, 2 wrong usage, 3 nothing to do, 4 not found, 5 refused,\n"
    "6 the node could not be reached, 7 done but not every consumer could be told.";

/// A command and the words that call it.
struct Entry {
    CLI::App* subcommand = nullptr;
    std::unique_ptr<Command> command;
};

void AddGlobal(CLI::App& command, Global& global) {
    command
        .add_option("--host", global.host, "The node: a name or an address, with a port when it is not the usual one")
        ->capture_default_str()
        ->type_name("HOST[:PORT]");
    command.add_flag("--json", global.json, "Print one JSON object per answer");
    command.add_flag("-q,--quiet", global.quiet, "Print nothing on success");
}

std::vector<Entry> AddCommands(CLI::App& app, Global& global) {
    std::vector<Entry> entries;
    for (auto* add : {lumpolicy::AddInstall, lumpolicy::AddRemove, lumpolicy::AddList, lumpolicy::AddNotify,
                      lumpolicy::AddReinit}) {
        Entry entry;
        entry.command = add(app, entry.subcommand);
        AddGlobal(*entry.subcommand, global);
        entry.subcommand->footer(kExitCodes);
        entries.push_back(std::move(entry));
    }
    return entries;
}

int Run(CLI::App& app, const std::vector<Entry>& entries, const Global& global) {
    for (const Entry& entry : entries) {
        if (!entry.subcommand->parsed()) continue;
        try {
            return entry.command->Run(global);
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

}  // namespace

int main(int argc, char** argv) {
    LumPalRuntime::App_t::Init(argc, argv);
    if (argc == 1) {
        std::cerr << kUsage;
        return lumtools::kWrongUsage;
    }
    CLI::App app("Installs, lists and removes the policies of a node.", "lumpolicy");
    app.set_version_flag("--version", "lumpolicy " LUM_VERSION);
    app.require_subcommand(1);
    app.footer(kExitCodes);
    Global global;
    const std::vector<Entry> entries = AddCommands(app, global);
    const auto isNamed = [argv](CLI::App* command) { return command->check_name(argv[1]); };
    if (argv[1][0] != '-' && app.get_subcommands(isNamed).empty()) {
        std::cerr << "lumpolicy: there is no command '" << argv[1] << "'\n" << kUsage;
        return lumtools::kWrongUsage;
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        return app.exit(e) == 0 ? lumtools::kDone : lumtools::kWrongUsage;
    }
    return Run(app, entries, global);
}
