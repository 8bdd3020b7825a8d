/// @file
/// The name under which the program speaks.
#pragma once

namespace lumtools {

/// To be called by main before other threads run. @param name  stays as long as the process
void SetProgramName(const char* name) noexcept;
/// Empty before it is set. Any thread.
const char* ProgramName() noexcept;

}  // namespace lumtools
