/// @file
/// What is logged when a stream goes without Close and its bytes are lost.
#pragma once

#include <functional>

namespace LumPalIo {

/// For destructors: runs the last step of a stream; a failure goes to the application log, as nobody can catch it.
/// @param what  what is lost, as "a file"
void LogWhatIsLost(const char* what, const std::function<void()>& lastStep) noexcept;

}  // namespace LumPalIo
