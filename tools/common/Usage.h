/// @file
/// What is said of arguments that are wrong.
#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>
#include <vector>

namespace lumtools {

/// Says on standard error what is wrong, behind the program's name, with the word that was probably meant, and below it
/// one line of usage. @param arguments  as they were typed, without the program's name
void SayWrongUsage(const CLI::App& app, const CLI::Error& error, const std::vector<std::string>& arguments);
/// The same for a command that there is not.
void SayNoSuchCommand(const CLI::App& app, const std::string& command);

/// Reads the arguments of a program without commands. What is wrong with them is said, and help and version are
/// printed. @returns the exit code with which the process is to end then; none when it has to work
std::optional<int> EndOfArguments(CLI::App& app, int argc, char** argv);

}  // namespace lumtools
