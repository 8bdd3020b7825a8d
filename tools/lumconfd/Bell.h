/// @file
/// What a thread of the daemon sleeps on.
#pragma once

#include "LumPalBell.h"

namespace lumconfd {

using Bell = LumPalThread::Bell_t;

}  // namespace lumconfd
