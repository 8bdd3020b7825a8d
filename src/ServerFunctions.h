/// @file
/// The remote methods that are plain functions. Neither looks at the sender; any thread may call them.
#pragma once

namespace LumConf {

/// "mgrconf": takes up changed authorization data.
/// @param parameters  only traced
/// @return 0
int ManagerConfigurationChanged(const char* sender, bool authenticated, int count, const char16_t* const* parameters);

/// "checkpolicy": what is installed. Takes no lock of the policy operations.
/// @param parameters  none, or a first one with policy type names, separated by blanks; further ones are ignored
/// @return without a parameter 1 when a policy is installed, else 0. With one 0 when a policy of a named type is
///         installed, else 1 (kept: consumers rely on the opposite senses). -1 after a failure, which is logged.
int CheckPolicy(const char* sender, bool authenticated, int count, const char16_t* const* parameters);

}  // namespace LumConf
