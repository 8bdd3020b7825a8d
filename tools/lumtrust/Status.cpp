// The command status.
#include <algorithm>
#include <iostream>
#include <memory>

#include "LumPalConfig.h"
#include "LumPalKeys.h"
#include "LumSecRevoked.h"
#include "common/CertificateCheck.h"
#include "common/Counted.h"
#include "common/ExitCode.h"
#include "common/NodeAccess.h"
#include "common/Table.h"
#include "common/TimeSpan.h"
#include "lumtrust/Command.h"
#include "lumtrust/Entries.h"
#include "lumtrust/RightsFile.h"
#include "lumtrust/Steps.h"

namespace lumtrust {

using LumSecCore::NodeIdentity;
using lumtools::Printable;
using nlohmann::ordered_json;

namespace {

std::string ReasonOf(const LumPalMsg::Exception_t& e) {
    return e.GetMessageList().Format(LumPalMsg::BareText).ToUtf8();
}

/// Told once, also when several steps meet it.
void Add(ordered_json& texts, const std::string& text) {
    if (std::find(texts.begin(), texts.end(), text) == texts.end()) texts.push_back(text);
}

/// Runs a step that tells something; what is wrong with it is told instead.
template <class Step>
void Ask(ordered_json& problems, Step step) try {
    step();
} catch (const LumPalMsg::Exception_t& e) {
    Add(problems, ReasonOf(e));
}

ordered_json Waiting() {
    constexpr std::size_t suffixBytes = 4;
    ordered_json rows = ordered_json::array();
    for (const LumPalIo::File_t& file : StoreFiles("requested", ".key")) {
        const std::string name = file.GetName().ToUtf8();
        rows.push_back({{"core_id", name.substr(0, name.size() - suffixBytes)}, {"since", WaitsSince(file)}});
    }
    return rows;
}

/// The node's own certificate among those that lie there; null for none.
ordered_json OwnOf(const std::string& coreId) {
    for (const ordered_json& entry : EntriesOf(kOwnPart))
        if (entry["alias"] == coreId) return entry;
    return nullptr;
}

/// As whoever checks the configuration is told. An operator's folder serves nobody.
void JudgeCertificates(ordered_json& problems, ordered_json& warnings) {
    using lumtools::Whose;
    const auto found = lumtools::FindInCertificates(HasWhatNodesHave() ? Whose::Node : Whose::Caller);
    for (const std::string& problem : found.problems) Add(problems, problem);
    for (const std::string& hindrance : found.hindrances) Add(problems, hindrance);
    for (const std::string& warning : found.warnings) Add(warnings, warning);
}

ordered_json Look() {
    ordered_json told, problems = ordered_json::array(), warnings = ordered_json::array();
    const bool isInstalled =
        LumPalConfig::ConfigNamespace_t(LumPalKeys::NsSecCmCert).Open().GetBool(LumPalKeys::CertInstalledKey);
    const std::string coreId =
        LumPalConfig::ConfigNamespace_t(LumPalKeys::NsSecCore).Open().GetValue(LumPalKeys::CoreIdKey).ToUtf8();
    Ask(problems, [] { NodeIdentity::Load().RequireUsable(); });
    told["core_id"] = coreId;
    told["certificate"] = isInstalled ? OwnOf(coreId) : ordered_json(nullptr);
    Ask(problems, [&] { JudgeCertificates(problems, warnings); });
    told["waiting"] = Waiting();
    told["trusted"] = EntriesOf(kTrustedPart);
    told["revoked"] = told["senders"] = nullptr;
    // RequireUsable has told what is wrong with the list.
    ordered_json known;
    Ask(known, [&] { told["revoked"] = LumSecCore::RevocationList::Load()->Get().size(); });
    Ask(problems, [&] { told["senders"] = RightsFile().Get().size(); });
    told["problems"] = problems;
    told["warnings"] = warnings;
    return told;
}

std::string TimeLeft(const ordered_json& entry) {
    return "valid until " + entry["not_after"].get<std::string>() + ", " +
           lumtools::EndText(entry["seconds_left"].get<std::int64_t>());
}

std::string OwnText(const ordered_json& told) {
    const std::string coreId = told["core_id"];
    const ordered_json& own = told["certificate"];
    if (own.is_null()) return (coreId.empty() ? "no core id" : coreId) + ", no certificate: loopback alone is served";
    if (own.contains("broken")) return coreId + ", its certificate cannot be read";
    return coreId + ", " + TimeLeft(own) + ", issued by " + own["issuer"].get<std::string>();
}

std::string TrustedText(const ordered_json& entry) {
    const std::string alias = entry["alias"];
    if (entry.contains("broken")) return alias + ", cannot be read";
    return alias + ", " + TimeLeft(entry) + ", vouches for " + VouchesFor(entry);
}

void PrintLine(const char* label, const std::string& text) {
    constexpr std::size_t width = 10;
    std::string start(label);
    if (!start.empty()) start += ':';
    start.resize(width, ' ');
    std::cout << start << Printable(text) << '\n';
}

/// The label stands in front of the first.
void PrintLines(const char* label, const std::vector<std::string>& lines) {
    if (lines.empty()) return PrintLine(label, "none");
    for (const std::string& line : lines) {
        PrintLine(label, line);
        label = "";
    }
}

std::string CountText(const ordered_json& count, const char* what) {
    if (count.is_null()) return "cannot be read";
    return lumtools::Counted(count.get<std::size_t>(), what);
}

void Print(const ordered_json& told) {
    std::vector<std::string> waiting, trusted;
    for (const ordered_json& row : told["waiting"])
        waiting.push_back(row["core_id"].get<std::string>() + ", requested " + row["since"].get<std::string>());
    for (const ordered_json& entry : told["trusted"]) trusted.push_back(TrustedText(entry));
    PrintLine("identity", OwnText(told));
    PrintLines("waiting", waiting);
    PrintLines("trusted", trusted);
    PrintLine("revoked", CountText(told["revoked"], "certificate"));
    PrintLine("rights", CountText(told["senders"], "sender"));
    std::cout << std::flush;
    for (const std::string problem : told["problems"]) std::cerr << "lumtrust: " << Printable(problem) << std::endl;
    for (const std::string warning : told["warnings"])
        std::cerr << "lumtrust: warning: " << Printable(warning) << std::endl;
}

int Status(bool json) {
    lumtools::RequireOpenKeys();
    const ordered_json told = Look();
    json ? static_cast<void>(std::cout << told.dump() << std::endl) : Print(told);
    return told["problems"].empty() ? lumtools::kDone : lumtools::kFailed;
}

}  // namespace

void AddStatus(CLI::App& app, Actions& actions) {
    auto json = std::make_shared<bool>(false);
    CLI::App* status = app.add_subcommand("status", "Tell who this node is, what waits, and whom it trusts");
    status->add_flag("--json", *json, "Print one JSON object");
    actions.emplace_back(status, [json] { return Status(*json); });
}

}  // namespace lumtrust
