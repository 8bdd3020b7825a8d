/// @file
/// The terminal that a tool writes to.
#pragma once

#include "LumPalExport.h"

namespace LumPalConsole {

enum class Stream { Output, Error };

/// Whether the stream goes to a terminal. Any thread.
LUMPAL_API bool IsTerminal(Stream stream);

/// Columns of the terminal that the stream goes to: what the terminal says, else the environment's COLUMNS, else 80;
/// at least 40. 0 when the stream goes to no terminal. Any thread.
LUMPAL_API int Columns(Stream stream);

}  // namespace LumPalConsole
