/// @file
/// The reference for everything that reads settings: the least that makes something of their text.
#pragma once

#include <map>
#include <string>
#include <string_view>

namespace bench {

/// Attributes by namespace, in the containers and texts of the standard library, as bytes of UTF-8.
using BareSettings = std::map<std::string, std::map<std::string, std::string>>;

/// What a text of settings says: lines, comments, namespaces, names and values, escapes of one letter. Nothing is
/// checked, neither the names nor the encoding, and what is no settings is passed over.
BareSettings BareReadSettings(std::string_view text);

}  // namespace bench
