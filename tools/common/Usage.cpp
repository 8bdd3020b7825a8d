#include "common/Usage.h"

#include <iostream>

#include "LumPalConsole.h"
#include "common/ExitCode.h"
#include "common/Nearest.h"
#include "common/Outcome.h"
#include "common/StandardOutput.h"
#include "common/Table.h"
#include "common/UsageText.h"

namespace lumtools {

namespace {

const CLI::App& CommandIn(const CLI::App& app) {
    const auto parsed = app.get_subcommands();
    return parsed.empty() ? app : *parsed.front();
}

std::string ArgumentText(const CLI::Option& argument) {
    const std::string text = argument.get_name(true) + (argument.get_items_expected_max() > 1 ? "..." : "");
    return argument.get_required() ? " " + text : " [" + text + "]";
}

/// One line; the help has the rest.
std::string UsageLine(const CLI::App& app) {
    const CLI::App& command = CommandIn(app);
    std::string line = "usage: " + app.get_name();
    if (&command != &app) line += " " + command.get_name();
    if (&command == &app && !app.get_subcommands([](const CLI::App*) { return true; }).empty()) line += " COMMAND";
    for (const CLI::Option* option : command.get_options([](const CLI::Option* o) { return o->get_positional(); })) {
        line += ArgumentText(*option);
    }
    const std::string help = &command == &app ? " --help" : " help " + command.get_name();
    return line + " [OPTION...] ('" + app.get_name() + help + "' tells more)";
}

void Say(const CLI::App& app, const std::vector<std::string>& faults) {
    for (const std::string& fault : faults) PrintFailure(std::cerr, "", {kWrongUsage, {{0, fault}}});
    std::cerr << LumPalConsole::JournalMark(LumPalConsole::Priority::Info) << UsageLine(app) << std::endl;
}

}  // namespace

void SayWrongUsage(const CLI::App& app, const CLI::Error& error, const std::vector<std::string>& arguments) {
    Say(app, TextsOf(app, CommandIn(app), error, arguments));
}

void SayNoSuchCommand(const CLI::App& app, const std::string& command) {
    std::vector<std::string> names{"help"};
    for (const CLI::App* one : app.get_subcommands([](const CLI::App*) { return true; }))
        names.push_back(one->get_name());
    Say(app, {"there is no command '" + Printable(command) + "'" + Suggestion(command, names)});
}

std::optional<int> EndOfArguments(CLI::App& app, int argc, char** argv) {
    try {
        app.parse(argc, argv);
        return std::nullopt;
    } catch (const CLI::ParseError& e) {
        if (e.get_exit_code() != 0) {
            SayWrongUsage(app, e, {argv + 1, argv + argc});
            return kWrongUsage;
        }
        app.exit(e);  // help and version
        return IsOutputWritten() ? kDone : kFailed;
    }
}

}  // namespace lumtools
