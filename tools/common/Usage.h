/// @file
/// What is said of arguments that are wrong.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace lumtools {

/// Says on standard error what is wrong, behind the program's name, with the word that was probably meant, and below it
/// one line of usage. @param arguments  as they were typed, without the program's name
void SayWrongUsage(const CLI::App& app, const CLI::Error& error, const std::vector<std::string>& arguments);
/// The same for a command that there is not.
void SayNoSuchCommand(const CLI::App& app, const std::string& command);

}  // namespace lumtools
