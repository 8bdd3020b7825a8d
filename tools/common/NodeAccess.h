/// @file
/// Whether this user may read the node's files.
#pragma once

#include <string>

namespace lumtools {

/// Whether this user may not look into the node's root or its settings. Any thread.
bool IsNodeClosed();

/// Whether what failed, and said this, failed since the user may not look into the node: into its root or its settings,
/// or, where it speaks of a permission, into the folders of its keys and certificates. Any thread.
bool HasFailedForAccess(const std::string& said);

/// What such a user is told: the root, and whose it is.
std::string ClosedNodeText();

/// For who would take what cannot be looked into for what is not there.
/// @throws LumPalMsg::RuntimeException_t, which Attempt makes a refusal
void RequireOpenNode();
/// The same, of the keys and certificates too.
void RequireOpenKeys();

}  // namespace lumtools
