/// @file
/// What the main functions of tools with subcommands do alike.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <utility>
#include <vector>

namespace lumtools {

/// What a subcommand does; it throws what goes wrong, and returns the program's exit code.
using Action = std::function<int()>;
using Actions = std::vector<std::pair<CLI::App*, Action>>;

/// What a program says of itself.
struct Program {
    const char *name, *version;
    const char* description;
    const char* usage;   ///< printed without arguments and for an unknown command; null: the whole help
    const char* footer;  ///< ends the help of the program and of each command
    /// Each adds subcommands to the application.
    std::vector<void (*)(CLI::App&, Actions&)> parts;
};

/// Reads the arguments and runs the command; "help COMMAND" is its --help. What was printed counts only when it has
/// arrived: else a program that did all fails after all. @returns the exit code of the process
int RunProgram(const Program& program, int argc, char** argv);

/// Ends the process at once: nobody waits for threads that wait for others. What was printed counts as at the end of
/// RunProgram, and is said; the code stays.
[[noreturn]] void EndNow(int code);

}  // namespace lumtools
