/// @file
/// What the operations that change headers have in common; private to PolicyModify.cpp and PolicyChange.cpp.
#pragma once

#include <functional>

#include "PolicyOperation.h"

namespace LumConf {

/// What one of the operations does to each header, and how that is written down.
struct PolicyOperation::HeaderChange {
    AuditLog::Mode auditMode;
    /// Changes the header in the cache. @return whether its document is to be rewritten
    std::function<bool(PolicyHeaderImpl&)> apply;
    /// Queues the notification.
    void (NotifyStore::*queue)(const LumPalStr::String_t& type,
                               const LumPalStr::String_t& id) = &NotifyStore::AddInstall;
    bool auditsSuccess = true;      ///< a line for each policy that was changed
    bool namesFailedPolicy = true;  ///< the line of a failure names the policy
    bool repeats = true;            ///< what it does to a policy counts again when the selection gives it again
};

}  // namespace LumConf
