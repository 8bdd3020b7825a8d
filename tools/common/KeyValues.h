/// @file
/// The values of configuration keys that are more than a number or a word.
#pragma once

#include <string>
#include <vector>

#include "LumPalStr.h"

namespace lumtools {

inline constexpr std::size_t kMostServers = 16;  ///< of PING_SERVER
inline constexpr long kMostWaitSeconds = 86400;  ///< of WAIT_TIME

/// Whether the text is a plain file name of at most 251 bytes.
bool IsFileName(const std::string& name);
/// The words of PING_SERVER, each once, in their order.
std::vector<std::string> HostsIn(const LumPalStr::String_t& text);
/// -1 for what is no number; one more than kMostWaitSeconds for one of many digits.
long NumberIn(const LumPalStr::String_t& text);
/// Whether the text is a host, or a host with a port, and nothing else.
bool IsServerName(const std::string& text);

/// What the value of a key must be, or null when it is in order.
const char* WantedListName(const LumPalStr::String_t& value);
const char* WantedServers(const LumPalStr::String_t& value);
const char* WantedWaitTime(const LumPalStr::String_t& value);

}  // namespace lumtools
