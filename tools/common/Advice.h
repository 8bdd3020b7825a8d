/// @file
/// What to do about a failure, by the message that tells of it: one table.
#pragma once

#include <string>

#include "common/Outcome.h"

namespace lumtools {

/// A sentence for the message of the library that bears the number; empty where it says enough by itself.
std::string AdviceOn(unsigned message);

/// Tells a caller who was refused which right he lacks, or why he is nobody to the node.
/// @param right  bits of LumConf::Right
void AddRight(const std::string& host, unsigned right, Outcome& outcome);

/// The same for a refusal whose number tells it: a caller who was not let in which right he lacks, or why he is nobody
/// to the node.
/// @param host   as it was called
/// @param right  what the request asked for, bits of LumConf::Right; 0 when the command does not say
void AddLackingRight(const std::string& host, unsigned right, Outcome& outcome);

}  // namespace lumtools
