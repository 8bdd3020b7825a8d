/// @file
/// lumtrust: the keys, certificates and rights of the local node.
#include <CLI/CLI.hpp>
#include <iostream>

#include "LumPalConsole.h"
#include "LumPalRuntime.h"
#include "common/ExitCode.h"
#include "common/Outcome.h"
#include "lumtrust/Command.h"

namespace {

const char* const kFooter =
    "To be run as the user to whom the node's files belong.\n"
    "Exit codes: 0 done, 1 failed, 2 wrong usage, 3 nothing to do, 4 not found.";

int Run(const lumtrust::Action& action) {
    int code = lumtools::kDone;
    const lumtools::Outcome outcome = lumtools::Attempt([&] { code = action(); });
    if (outcome.code == lumtools::kDone) return code;
    lumtools::PrintFailure(std::cerr, "", outcome);
    return outcome.code;
}

}  // namespace

int main(int argc, char** argv) {
    // A file of keys must not take the number of a stream that is closed.
    LumPalConsole::OccupyStandardStreams();
    LumPalRuntime::App_t::Init(argc, argv);
    CLI::App app("Changes the keys, certificates and rights of the local node.", "lumtrust");
    app.set_version_flag("--version", "lumtrust " LUM_VERSION);
    app.require_subcommand(1);
    app.footer(kFooter);
    lumtrust::Actions actions;
    for (auto* add : {lumtrust::AddAuthority, lumtrust::AddIdentity, lumtrust::AddTrusted, lumtrust::AddList,
                      lumtrust::AddRights}) {
        add(app, actions);
    }
    try {
        app.parse(argc, argv);
        for (const auto& [command, action] : actions) {
            if (command->parsed()) return Run(action);
        }
    } catch (const CLI::Error& e) {
        return app.exit(e) == 0 ? lumtools::kDone : lumtools::kWrongUsage;
    }
    return lumtools::kWrongUsage;
}
