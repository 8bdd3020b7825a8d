/// @file
/// The one place that turns the system's error numbers into exceptions.
#pragma once

#include "LumPalStr.h"

namespace LumPal {

/// The error number that the last failed system call of this thread left.
int LastError() noexcept;

/// How the system names an error number.
LumPalStr::String_t ReasonText(int error);

/// Raises the failure of a system call.
/// @param text     %1 is the subject (a path, a program), %2 the system's reason
/// @throws         LumPalIo::FileNotFoundException_t when the path leads nowhere; else LumPalIo::IOException_t
[[noreturn]] void ThrowSystemError(const char* text, const LumPalStr::String_t& subject, int error = LastError());

}  // namespace LumPal
