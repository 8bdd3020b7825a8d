/// @file
/// Whether the control service of the node runs.
#pragma once

#include <optional>

#include "LumPalExport.h"

namespace LumCtrl {

/// Whether a control service serves the root as it is set now, which it does as long as the node's daemon runs; nothing
/// where this user may not ask. It is told nothing, and nothing is changed. Any thread.
/// @throws LumPalIo::IOException_t without room for a socket
LUMPAL_API std::optional<bool> IsServiceThere();

}  // namespace LumCtrl
