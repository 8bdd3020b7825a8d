/// @file
/// Steps of threads that must go on whatever happens.
#pragma once

#include "LumPalLog.h"
#include "LumPalMsg.h"
#include "LumPalStr.h"

namespace lumconfd {

/// Runs a step of a thread, which may not even have memory. @return false, after a line in the application log, when it
/// threw
/// @param what  the line's text, with %1 for the reason
template <class Step>
bool Attempt(const char* what, Step step) noexcept {
    try {
        step();
        return true;
    } catch (const std::exception& e) {
        LumPalLog::LogGuarded([&] {
            return LumPalMsg::CreateError_t(LumPalStr::String_t(what)) << LumPalStr::String_t::FromUtf8(e.what());
        });
        return false;
    }
}

}  // namespace lumconfd
