/// @file
/// What is printed counts only when it has arrived.
#pragma once

namespace lumtools {

/// LumPalConsole::OccupyStandardStreams; but what is printed to a standard output that was closed fails, and does not
/// vanish. To be called first of all.
void OccupyStandardStreams();

/// Whether the process was started without a standard output.
bool WasOutputClosed() noexcept;

/// Whether all that was printed to std::cout is written. If not, standard error says so.
bool IsOutputWritten();

}  // namespace lumtools
