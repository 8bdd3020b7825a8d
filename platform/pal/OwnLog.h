/// @file
/// Log files of one's own.
#pragma once

#include <memory>

#include "LogImpl.h"

namespace LumPalLog {

/// See the constructor of Log_t. @return null when the log could not be opened
std::shared_ptr<Log_t::Impl> OpenOwnLog(const LumPalStr::String_t& directory, const LumPalStr::String_t& name,
                                        const LumPalStr::String_t& component, unsigned options);

}  // namespace LumPalLog
