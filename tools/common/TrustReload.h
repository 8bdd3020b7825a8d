/// @file
/// How a running daemon is notified, through the node's control service, that keys, certificates or rights were
/// changed. Only the node's own user and root may speak to that service.
#pragma once

namespace lumtools {

inline constexpr char kReloadComponent[] = "lumconfd", kReloadEvent[] = "RELOAD_TRUST";

}  // namespace lumtools
