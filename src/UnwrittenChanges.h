/// @file
/// Changes of headers that the cache holds and the disk does not.
#pragma once

#include <map>
#include <vector>

#include "AuditLog.h"
#include "LumPalStr.h"
#include "NotifyStore.h"

namespace LumConf {

/// Remembers, for each policy whose document could not be rewritten, what is to be reported when it is. A value, used
/// under the mutex of the policy operations.
class UnwrittenChanges {
public:
    /// How a change is reported once it is written.
    struct Report {
        AuditLog::Mode auditMode;
        void (NotifyStore::*queue)(const LumPalStr::String_t& type, const LumPalStr::String_t& id);
    };
    /// In the order in which they were made.
    using Reports = std::vector<Report>;

    /// Adds a change. Of enabling and disabling the last one stays, and of each other kind one.
    void Add(const LumPalStr::String_t& id, const Report& report);
    /// What waits for a policy; empty for nothing.
    Reports Of(const LumPalStr::String_t& id) const;
    /// Puts back what Of answered before.
    void Set(const LumPalStr::String_t& id, Reports reports);
    bool Has(const LumPalStr::String_t& id) const { return changes.count(id) > 0; }
    /// The document is written, or the policy is gone.
    void Forget(const LumPalStr::String_t& id) { changes.erase(id); }
    void Clear() { changes.clear(); }
    std::vector<LumPalStr::String_t> GetIds() const;

    /// Whether a change of one kind makes an earlier one of the other kind none.
    static bool Replaces(AuditLog::Mode auditMode, AuditLog::Mode earlierMode);

private:
    std::map<LumPalStr::String_t, Reports> changes;
};

}  // namespace LumConf
