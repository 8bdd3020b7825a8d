#include "UnwrittenChanges.h"

#include <utility>

namespace LumConf {

using LumPalStr::String_t;

namespace {

bool IsStatus(AuditLog::Mode auditMode) {
    return auditMode == AuditLog::Enable || auditMode == AuditLog::Disable;
}

}  // namespace

bool UnwrittenChanges::Replaces(AuditLog::Mode auditMode, AuditLog::Mode earlierMode) {
    return auditMode == earlierMode || (IsStatus(auditMode) && IsStatus(earlierMode));
}

void UnwrittenChanges::Add(const String_t& id, const Report& report) {
    Reports& reports = changes[id];
    reports.reserve(reports.size() + 1);
    std::erase_if(reports, [&report](const Report& e) { return Replaces(report.auditMode, e.auditMode); });
    reports.push_back(report);
}

UnwrittenChanges::Reports UnwrittenChanges::Of(const String_t& id) const {
    const auto found = changes.find(id);
    return found == changes.end() ? Reports() : found->second;
}

void UnwrittenChanges::Set(const String_t& id, Reports reports) {
    if (reports.empty()) {
        changes.erase(id);
    } else {
        changes[id] = std::move(reports);
    }
}

std::vector<String_t> UnwrittenChanges::GetIds() const {
    std::vector<String_t> ids;
    for (const auto& [id, reports] : changes) ids.push_back(id);
    return ids;
}

}  // namespace LumConf
