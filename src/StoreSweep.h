/// @file
/// What a crash may leave in the store beside policies.
#pragma once

#include "LumPalStr.h"
#include "PolicyContainerImpl.h"

namespace LumConf {

/// Deletes the copies that a crash left beside their destinations, where the store is another file system than the
/// folders that policies come from. Only files whose names the system gives to such copies go, and none that an
/// installed policy names as its data file. One that cannot be deleted is traced.
/// @param installed  the headers of the whole store
/// Called by a start, behind the end of a change that a crash interrupted, and before anything else changes the store.
void DeleteAsideCopies(const PolicyContainerImpl& installed);

/// Whether a name is one that the system gives to such a copy.
bool IsAsideName(const LumPalStr::String_t& name);

}  // namespace LumConf
