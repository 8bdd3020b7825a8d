/// @file
/// The one place that turns the system's error numbers into exceptions.
#pragma once

#include "LumPalMsg.h"
#include "LumPalStr.h"

namespace LumPalIo {

/// Raises FileNotFoundException_t where the path or a part of it is not there (ENOENT, ENOTDIR), NoSpaceException_t
/// where the disk or the user's share of it is full (ENOSPC, EDQUOT), else IOException_t.
/// @param action  what failed, as "Cannot open file"; the text is "<action> '<path>': <reason>"
/// @param path    what it was done to; null or empty leaves it out
/// @param error   an errno value
[[noreturn]] void ThrowSystemError(const char* action, const LumPalStr::String_t& path, int error);

/// The message that ThrowSystemError would raise, for those who raise another class.
LumPalMsg::Message_t SystemErrorMessage(const char* action, const LumPalStr::String_t& path, int error);

/// The system's reason for an errno value, in English whatever the locale.
LumPalStr::String_t SystemErrorText(int error);

}  // namespace LumPalIo
