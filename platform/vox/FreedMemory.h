/// @file
/// Giving memory back to the system.
#pragma once

namespace LumVoxRpc {

/// Gives what the process has freed, and the allocator still keeps, back to the system. Takes time; any thread.
void ReturnFreedMemory();

}  // namespace LumVoxRpc
