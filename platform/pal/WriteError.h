/// @file
/// Standard error, without buffers.
#pragma once

#include <string_view>

namespace LumPal {

/// Writes the bytes to standard error at once, in one call when the system takes them so.
/// A failure is swallowed: nowhere is left where it could be reported. Any thread.
void WriteError(std::string_view bytes) noexcept;

}  // namespace LumPal
