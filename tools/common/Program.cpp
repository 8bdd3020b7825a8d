#include "common/Program.h"

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <string>

#include "LumPalDaemon.h"
#include "LumPalRuntime.h"
#include "common/ExitCode.h"
#include "common/Outcome.h"
#include "common/ProgramName.h"
#include "common/StandardOutput.h"
#include "common/Usage.h"
#include "common/Utf8Arguments.h"

namespace lumtools {

namespace {

using Arguments = std::vector<std::string>;

int RunAction(const CLI::App& app, const Action& action, const Arguments& arguments) {
    try {
        int code = kDone;
        const Outcome outcome = Attempt([&] { code = action(); });
        if (outcome.code == kDone) return code;
        PrintFailure(std::cerr, "", outcome);
        return outcome.code;
    } catch (const CLI::Error& e) {
        SayWrongUsage(app, e, arguments);
        return kWrongUsage;
    }
}

/// "help COMMAND" is "COMMAND --help", and "help" alone is "--help".
Arguments ArgumentsOf(int argc, char** argv) {
    Arguments arguments(argv + 1, argv + argc);
    if (arguments.empty() || arguments.front() != "help") return arguments;
    arguments.erase(arguments.begin());
    arguments.push_back("--help");
    return arguments;
}

int SayUsage(const Program& program, const CLI::App& app) {
    std::cerr << (program.usage ? program.usage : app.help());
    return kWrongUsage;
}

/// The parser takes the arguments from the back.
void Parse(CLI::App& app, Arguments arguments) {
    std::reverse(arguments.begin(), arguments.end());
    app.parse(std::move(arguments));
}

int Work(const Program& program, CLI::App& app, const Actions& actions, const Arguments& arguments) {
    if (arguments.empty()) return SayUsage(program, app);
    const auto isNamed = [&arguments](const CLI::App* command) { return command->check_name(arguments.front()); };
    if (!arguments.front().starts_with('-') && app.get_subcommands(isNamed).empty()) {
        SayNoSuchCommand(app, arguments.front());
        return kWrongUsage;
    }
    try {
        Parse(app, arguments);
    } catch (const CLI::ParseError& e) {
        if (e.get_exit_code() == 0) return app.exit(e);  // help and version
        SayWrongUsage(app, e, arguments);
        return kWrongUsage;
    }
    const auto asked = [](const auto& row) { return row.first->parsed(); };
    const auto found = std::find_if(actions.begin(), actions.end(), asked);
    return found == actions.end() ? kWrongUsage : RunAction(app, found->second, arguments);
}

int Ended(int code) {
    return !IsOutputWritten() && code == kDone ? kFailed : code;
}

}  // namespace

void EndNow(int code) {
    const int ended = Ended(code);
    std::cerr.flush();
    std::_Exit(ended);
}

int RunProgram(const Program& program, int argc, char** argv) {
    SetProgramName(program.name);
    // What a tool opens, a file of keys perhaps, must not take the number of a stream that is closed.
    OccupyStandardStreams();
    LumPalRuntime::KeepOutOfCoreImages();
    if (!AreArgumentsUtf8(program.name, argc, argv)) return kWrongUsage;
    LumPalRuntime::App_t::Init(argc, argv);
    CLI::App app(program.description, program.name);
    app.set_version_flag("--version", std::string(program.name) + " " + program.version);
    app.require_subcommand(1);
    Actions actions;
    const Outcome made = Attempt([&] {
        for (auto* add : program.parts) add(app, actions);
    });
    if (made.code != kDone) {
        PrintFailure(std::cerr, "", made);
        return made.code;
    }
    app.footer(program.footer);
    for (const auto& [subcommand, action] : actions) subcommand->footer(program.footer);
    return Ended(Work(program, app, actions, ArgumentsOf(argc, argv)));
}

}  // namespace lumtools
