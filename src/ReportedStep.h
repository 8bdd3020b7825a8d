/// @file
/// Steps of the server's start that may fail without ending it.
#pragma once

#include <functional>

#include "Messages.h"

namespace LumConf {

/// Runs the step. A failure of it is traced and written to the application log, with the row's message about the
/// application's name and with the failure in the details, and goes no further; what is no LumPalMsg::Exception_t
/// passes through.
void RunReported(const MessageOf<1>& row, const std::function<void()>& step);

}  // namespace LumConf
