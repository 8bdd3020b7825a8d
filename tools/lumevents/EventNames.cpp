#include "lumevents/EventNames.h"

#include <algorithm>
#include <cctype>
#include <vector>

#include "common/Nearest.h"
#include "common/TrustReload.h"

namespace lumevents {

namespace {

/// What stands before the type of a policy.
const std::vector<std::string> kKinds{"FIRST_POLICY",   "CHECK_POLICY",  "ENABLE_POLICY",
                                      "DISABLE_POLICY", "REMOVE_POLICY", "LAST_POLICY"};
constexpr const char* kOwnType = "configsettings";

/// An event's name in its parts.
struct Parts {
    explicit Parts(const std::string& event)
        : isPattern(event.ends_with('*')),
          stem(event.substr(0, event.size() - (isPattern ? 1 : 0))),
          hasColon(stem.find(':') != std::string::npos),
          kind(stem.substr(0, stem.find(':'))),
          type(hasColon ? stem.substr(kind.size() + 1) : "") {}
    bool isPattern;
    std::string stem;  ///< without the "*" at its end
    bool hasColon;
    std::string kind, type;
};

bool IsKind(const std::string& kind) {
    return std::find(kKinds.begin(), kKinds.end(), kind) != kKinds.end();
}

bool BeginsKind(const std::string& stem) {
    return std::any_of(kKinds.begin(), kKinds.end(), [&](const auto& kind) { return (kind + ":").starts_with(stem); });
}

std::string Capitals(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return text;
}

std::string Unknown(const std::string& event, const Parts& parts) {
    const std::string text = "The node itself sends no event '" + event + "'";
    std::string near = lumtools::NearestOf(Capitals(parts.kind), kKinds);
    if (near.empty()) return text + ".";
    near += ":" + parts.type + (parts.isPattern || parts.type.empty() ? "*" : "");
    return text + "; did you mean '" + near + "'?";
}

bool MeansReload(const Parts& parts) {
    const std::string reload = lumtools::kReloadEvent;
    return parts.isPattern ? reload.starts_with(parts.stem) : reload == parts.stem;
}

std::string WithoutType(const std::string& kind) {
    return "An event '" + kind + "' names a type too: '" + kind + ":TYPE', or '" + kind + ":*' for all of them.";
}

}  // namespace

std::string DoubtAbout(const std::string& event) {
    const Parts parts(event);
    const std::size_t star = parts.stem.find('*');
    if (star != std::string::npos)
        return "A '*' stands for any rest only at the end, and not in '" + event + "'; did you mean '" +
               event.substr(0, star + 1) + "'?";
    if (parts.isPattern && BeginsKind(parts.stem)) return "";
    if (MeansReload(parts)) return std::string("The event '") + lumtools::kReloadEvent + "' reaches the daemon alone.";
    if (!IsKind(parts.kind)) return Unknown(event, parts);
    if (parts.type.empty()) return WithoutType(parts.kind);
    if (parts.type != kOwnType || parts.isPattern) return "";
    return "Policies of the type '" + parts.type + "' are the node's own: it sends no event '" + event + "'.";
}

}  // namespace lumevents
