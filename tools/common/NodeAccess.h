/// @file
/// Whether this user may read the node's files.
#pragma once

#include <string>

namespace lumtools {

/// Whether this user may not look into the node's folders: what failed then failed for that. Any thread.
bool IsNodeClosed();

/// What such a user is told: the root, and whose it is. For IsNodeClosed.
std::string ClosedNodeText();

/// For who would take what cannot be looked into for what is not there.
/// @throws LumPalMsg::RuntimeException_t, which Attempt makes a refusal
void RequireOpenNode();

}  // namespace lumtools
