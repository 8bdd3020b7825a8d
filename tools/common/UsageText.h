/// @file
/// The words for arguments that are wrong.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace lumtools {

/// What is wrong with the arguments that the parser refused, a line for each fault, with the word that was probably
/// meant where one is near. @param command  the one that they were given to. @param arguments  as they were typed
std::vector<std::string> TextsOf(const CLI::App& app, const CLI::App& command, const CLI::Error& error,
                                 const std::vector<std::string>& arguments);

}  // namespace lumtools
