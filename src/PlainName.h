/// @file
/// Names from outside that become names of files and folders.
#pragma once

#include <cstdint>
#include <vector>

#include "LumPalStr.h"

namespace LumConf {

/// Bytes that a file system takes in one name.
inline constexpr std::uint32_t kMaxNameBytes = 255;

/// Whether a text may become the name of a file or folder on every system that nodes run on: not empty, not "." or
/// "..", no separator ("/" and "\"), no control or line separating character, well-formed UTF-16, and at most
/// kMaxNameBytes bytes of UTF-8 together with a suffix.
/// @param suffixBytes  length of what will be appended to the name
bool IsPlainName(const LumPalStr::String_t& name, std::uint32_t suffixBytes = 0);

/// A text from outside as messages and logs show it: of one that has more units the beginning and "...". Documents
/// and callers may give a name of any length, and an answer or a line of a log must not grow with it.
LumPalStr::String_t Shown(const LumPalStr::String_t& name, std::uint32_t mostUnits = 1024);

/// Whether the text ends as the names of policy headers do (exact, also as to case).
bool IsHeaderName(const LumPalStr::String_t& name);

/// Raises for the name of a header file that does not end so, or is not plain. @throws PolicyFileException
void CheckHeaderFileName(const LumPalStr::String_t& name);
/// @throws PolicyFileException with a text that shows the name (its beginning, if it is long)
void CheckPlainName(const LumPalStr::String_t& name);
/// A policy id: plain, also as the name of its header file. @throws PolicyFileException
void CheckPolicyId(const LumPalStr::String_t& id);
/// A data file: a plain name that is no header's name. @throws PolicyFileException
void CheckDataFileName(const LumPalStr::String_t& name);
/// All data files of one policy: each as above, and no name twice. @throws PolicyFileException
void CheckDataFileNames(const std::vector<LumPalStr::String_t>& names);

}  // namespace LumConf
