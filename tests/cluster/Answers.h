/// @file
/// What the tools of several products have in common.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "Description.h"
#include "Product.h"

namespace sim {

/// A product's words for the states of a description.
using StateNames = std::map<std::string, std::string>;

/// The product's word; a state that it has none for stands for itself.
std::string Word(const StateNames& words, const std::string& state);
/// One line of output.
Answer Line(const std::string& text);
/// A line for each.
Answer Lines(const std::vector<std::string>& texts);
/// A text for the error stream, and a code.
Answer Refused(const std::string& text, int code = 1);
/// The text, filled up to a width with blanks; one that is as long or longer has one blank behind it all the same.
std::string Column(const std::string& text, std::size_t width);

bool IsOn(const Group& group, const std::string& system);
/// As the description says it; "offline" where it says nothing.
std::string StateOn(const Group& group, const std::string& system);
/// The system on which the group is online; empty where it is not.
std::string OwnerOf(const Group& group);

}  // namespace sim
