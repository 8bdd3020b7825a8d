/// @file
/// Arguments are UTF-8, or the program does not begin.
#pragma once

#include <string>
#include <vector>

namespace lumtools {

/// What is wrong with the first argument that is not UTF-8: its number (the first behind the program's name is 1), the
/// option that it belongs to, and its bytes as \xNN; empty when all are UTF-8.
std::string WhatIsNotUtf8(const std::vector<std::string>& arguments);

/// For the main function of every program, before anything is done: such bytes would become another text on their way,
/// and be stored, or name something else.
/// @return whether all arguments are UTF-8; if not, standard error says what is wrong. The program ends as with any
///         other wrong usage
bool AreArgumentsUtf8(const char* program, int argc, const char* const* argv);

}  // namespace lumtools
