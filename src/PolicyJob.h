/// @file
/// What is handed to the one who makes the node's configuration of its settings policies.
#pragma once

#include <functional>

#include "LumPalStr.h"

namespace LumConf {

/// What became of a settings policy; the numbers are those of the notification queue's hand-over.
enum class JobKind : int { None = 0, Install = 1, Remove = 2, Enable = 3, Disable = 4 };

/// Takes a job for blank-separated ids and returns at once. Called under the mutex of the policy operations.
using JobSink = std::function<void(JobKind kind, const LumPalStr::String_t& ids)>;

}  // namespace LumConf
