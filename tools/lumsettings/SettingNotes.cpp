#include "lumsettings/SettingNotes.h"

#include "LumPalKeys.h"
#include "common/KnownKeys.h"

namespace lumsettings {

using LumPalConfig::ConfigGroup_t;
using LumPalConfig::Configuration_t;
using LumPalStr::String_t;
using lumtools::KnownKey;

namespace {

struct AuditNote {
    const char *value, *text;
};

const AuditNote kAuditNotes[] = {
    {"failure",
     "AUDIT_LOG_MODE=failure counts at the start of the daemon: after a restart it writes failures alone; when it "
     "takes "
     "the change up now it writes everything."},
    {"FAILURE",
     "AUDIT_LOG_MODE=FAILURE counts on a change: when the daemon takes it up now it writes failures alone; after a "
     "restart it writes everything."},
};

void AddAuditNotes(const ConfigGroup_t& group, std::vector<std::string>& notes) {
    using namespace LumPalKeys;
    if (!group.HasConfig(NsConfServer)) return;
    const String_t mode = group.GetConfig(String_t(NsConfServer)).GetValue(AuditLogModeKey);
    for (const AuditNote& note : kAuditNotes) {
        if (mode == note.value) notes.emplace_back(note.text);
    }
}

/// The known keys of the group that do not count at once.
std::vector<const KnownKey*> LateKeys(const ConfigGroup_t& group) {
    std::vector<const KnownKey*> late;
    for (const KnownKey& key : lumtools::KnownKeys()) {
        if (std::string(key.takenUp) == lumtools::kAtOnce || !group.HasConfig(key.nameSpace)) continue;
        if (group.GetConfig(String_t(key.nameSpace)).HasAttr(key.name)) late.push_back(&key);
    }
    return late;
}

bool NeedsRestart(const KnownKey& key) {
    return std::string(key.takenUp) == lumtools::kAfterRestart;
}

}  // namespace

std::vector<std::string> NotesOn(const ConfigGroup_t& group) {
    std::vector<std::string> notes = lumtools::KeysWithoutEffect(group);
    AddAuditNotes(group, notes);
    return notes;
}

std::string CountsOf(const ConfigGroup_t& group) {
    std::string counts;
    for (const KnownKey* key : LateKeys(group)) {
        if (NeedsRestart(*key)) return key->takenUp;
        if (counts.empty()) counts = key->takenUp;
    }
    return counts;
}

std::string CountsText(const ConfigGroup_t& group) {
    std::string restart, others;
    int count = 0;
    for (const KnownKey* key : LateKeys(group)) {
        if (NeedsRestart(*key)) {
            restart += (restart.empty() ? "; " : ", ") + std::string(key->name);
            ++count;
        } else {
            others += std::string("; ") + key->name + " counts thus: " + key->takenUp;
        }
    }
    if (count > 0) restart += std::string(count == 1 ? " counts " : " count ") + lumtools::kAfterRestart;
    return restart + others;
}

}  // namespace lumsettings
