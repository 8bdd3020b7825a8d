#include "common/NodeStatusText.h"

#include <array>
#include <ctime>
#include <sstream>

#include "common/Counted.h"
#include "common/Table.h"
#include "common/TimeSpan.h"

namespace lumtools {

using LumConf::NodeStatus;
using nlohmann::ordered_json;

namespace {

std::string LocalTime(std::int64_t moment) {
    const std::time_t time = static_cast<std::time_t>(moment);
    std::tm parts{};
    std::array<char, 64> text{};
    if (!localtime_r(&time, &parts)) return std::to_string(moment);
    return std::string(text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &parts));
}

std::int64_t Now() {
    return std::time(nullptr);
}

std::string Line(const char* label, const std::string& text) {
    std::string line = label;
    line.resize(15, ' ');
    return line + Printable(text) + "\n";
}

std::string PoliciesOf(const NodeStatus& status) {
    std::string text = std::to_string(status.policies) + ": " + std::to_string(status.enabled) + " enabled, " +
                       std::to_string(status.disabled) + " disabled";
    const std::uint32_t known = status.enabled + status.disabled;
    if (status.policies > known) text += ", " + std::to_string(status.policies - known) + " neither";
    if (status.missingFiles > 0) text += "; " + std::to_string(status.missingFiles) + " without all their data files";
    return text;
}

std::string Name(const NodeStatus::Certificate& certificate) {
    return certificate.kind.ToUtf8() + " '" + certificate.name.ToUtf8() + "'";
}

/// How the port is served.
std::string RoadOf(const NodeStatus& status) {
    if (!status.tls) return "plain, on loopback alone";
    if (!status.awaitsRestart) return status.onLoopbackAlone ? "TLS, on loopback alone" : "TLS";
    return status.onLoopbackAlone ? "TLS, on loopback alone until a restart"
                                  : "TLS until a restart, then plain on loopback alone";
}

/// A text of several lines, the following ones below the first.
std::string Several(const char* label, const std::string& lines) {
    std::istringstream in(lines);
    std::string text;
    for (std::string line; std::getline(in, line);) text += Line(text.empty() ? label : "", line);
    return text;
}

}  // namespace

std::string TextOf(const NodeStatus& status) {
    std::string text = Line("serving", "version " + status.version.ToUtf8() + ", for " +
                                           SpanText(Now() - status.started) + ", since " + LocalTime(status.started));
    if (status.coreId.IsNotEmpty()) text += Line("core id", status.coreId.ToUtf8());
    text += Line("port", std::to_string(status.port) + ", " + RoadOf(status));
    for (const NodeStatus::Certificate& certificate : status.certificates) {
        text += Line("certificate", Name(certificate) + " " + EndText(certificate.end - Now()));
    }
    text += Line("policies", PoliciesOf(status));
    text += status.settingsBroken.IsEmpty() ? Line("settings", "merged")
                                            : Several("settings", "BROKEN: " + status.settingsBroken.ToUtf8());
    text +=
        Line("notifications", std::to_string(status.queued) + " queued, for " + Counted(status.consumers, "consumer"));
    text += Line("cluster", status.cluster.IsEmpty() ? "none is followed" : status.cluster.ToUtf8());
    for (const NodeStatus::Error& error : status.errors) {
        text += Several("error", LocalTime(error.time) + " " + error.text.ToUtf8());
    }
    return text;
}

ordered_json ToJson(const NodeStatus& status) {
    ordered_json object{{"schema", 1},
                        {"version", status.version.ToUtf8()},
                        {"core_id", status.coreId.ToUtf8()},
                        {"started", status.started},
                        {"port", status.port},
                        {"tls", status.tls},
                        {"on_loopback_alone", status.onLoopbackAlone},
                        {"awaits_restart", status.awaitsRestart},
                        {"policies", status.policies},
                        {"policies_enabled", status.enabled},
                        {"policies_disabled", status.disabled},
                        {"policies_missing_files", status.missingFiles},
                        {"settings_broken", status.settingsBroken.ToUtf8()},
                        {"notifications_queued", status.queued},
                        {"consumers", status.consumers},
                        {"cluster", status.cluster.ToUtf8()}};
    object["certificates"] = ordered_json::array();
    for (const NodeStatus::Certificate& certificate : status.certificates) {
        object["certificates"].push_back({{"kind", certificate.kind.ToUtf8()},
                                          {"name", certificate.name.ToUtf8()},
                                          {"end", certificate.end},
                                          {"seconds_left", certificate.end - Now()}});
    }
    object["errors"] = ordered_json::array();
    for (const NodeStatus::Error& error : status.errors) {
        object["errors"].push_back({{"time", error.time}, {"text", error.text.ToUtf8()}});
    }
    return object;
}

Outcome Judge(const NodeStatus& status) {
    Outcome outcome;
    const auto blame = [&outcome](const std::string& text) { outcome.messages.push_back({0, text}); };
    if (status.settingsBroken.IsNotEmpty())
        blame(
            "The settings policies cannot be merged: 'lumsettings explain' names the file. What was merged before is "
            "in force.");
    for (const NodeStatus::Certificate& certificate : status.certificates) {
        if (certificate.end <= Now()) blame("The certificate " + Name(certificate) + " has ended.");
    }
    if (status.missingFiles > 0)
        blame("Policies lack data files: " + std::to_string(status.missingFiles) + "; 'lumpolicy list' marks them.");
    if (!outcome.messages.empty()) outcome.code = kFailed;
    return outcome;
}

}  // namespace lumtools
