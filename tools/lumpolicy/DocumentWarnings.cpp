#include "lumpolicy/DocumentWarnings.h"

#include <algorithm>

#include "LumPalConfig.h"
#include "LumPalKeys.h"
#include "LumVoxMsg.h"
#include "PolicyHeader.h"
#include "common/Arguments.h"
#include "lumpolicy/ToolsGuard.h"

namespace lumpolicy {

using LumConf::PolicyFault;
using LumPalMsg::MessageList_t;
using lumtools::MessageLine;

namespace {

/// The message of a document that cannot be parsed ends in the place and the reason.
std::string WithoutPlace(const std::string& text, const std::string& place) {
    const std::size_t at = text.find(place);
    return at == text.npos ? text : text.substr(at + place.size());
}

std::string PlaceOf(const PolicyFault& fault) {
    return "line " + std::to_string(fault.line) + ", column " + std::to_string(fault.column) + ": ";
}

std::vector<MessageLine> LinesOf(const PolicyFault& fault) {
    std::vector<MessageLine> lines = lumtools::LinesOf(MessageList_t(fault.message));
    if (fault.line == 0 || fault.file.IsNotEmpty() || lines.empty()) return lines;
    const std::string place = PlaceOf(fault);
    lines.front().text = "L" + place.substr(1) + WithoutPlace(lines.front().text, place);
    return lines;
}

/// What stands in members of its own is not told twice.
std::string TextOf(const PolicyFault& fault) {
    return WithoutPlace(fault.message.Format(LumPalMsg::BareText).ToUtf8(), PlaceOf(fault));
}

nlohmann::ordered_json NumberOrNull(int number) {
    return number == 0 ? nlohmann::ordered_json() : nlohmann::ordered_json(number);
}

nlohmann::ordered_json TextOrNull(const LumPalStr::String_t& text) {
    return text.IsEmpty() ? nlohmann::ordered_json() : nlohmann::ordered_json(text.ToUtf8());
}

}  // namespace

MessageList_t WarningsOf(const std::string& file) {
    MessageList_t warnings;
    lumtools::Attempt([&] { warnings = LumConf::PolicyHeader::FindWarnings(LumPalIo::File_t(lumtools::Text(file))); });
    return warnings;
}

MessageList_t WarningsBeforeSending(const std::string& file) {
    MessageList_t warnings = WarningsOf(file);
    lumtools::Attempt([&] {
        if (!IsOfSettings(LumConf::PolicyHeader::Read(LumPalIo::File_t(lumtools::Text(file))))) return;
        const std::vector<PolicyFault> faults = CheckFile(file).faults;
        const auto bad =
            std::find_if(faults.begin(), faults.end(), [](const PolicyFault& f) { return f.file.IsNotEmpty(); });
        if (bad == faults.end()) return;
        warnings.Add(LumPalMsg::CreateWarn_t("A node takes the policy file '%1', but can merge no settings policy any "
                                             "more as long as this one is enabled.")
                         .AddDetails(bad->message)
                     << lumtools::Text(file));
    });
    return warnings;
}

void FillWarnings(nlohmann::ordered_json& object, const MessageList_t& warnings) {
    object["warnings"] = nlohmann::ordered_json::array();
    for (const MessageLine& line : lumtools::LinesOf(warnings)) {
        object["warnings"].push_back({{"level", line.level}, {"text", line.text}});
    }
}

LumConf::PolicyCheck CheckFile(const std::string& file) {
    // Settings that cannot be read say nothing of the policy: then the usual limit counts.
    LumPalConfig::Configuration_t server{LumPalStr::String_t(LumPalKeys::NsVoxHttp)};
    lumtools::Attempt([&] { server = LumPalConfig::ConfigNamespace_t(LumPalKeys::NsVoxHttp).Open(); });
    return LumConf::PolicyCheck::Of(LumPalIo::File_t(lumtools::Text(file)), LumVoxMsg::LargestBody(server));
}

std::vector<MessageLine> LinesOf(const std::vector<PolicyFault>& faults) {
    std::vector<MessageLine> all;
    for (const PolicyFault& fault : faults) {
        for (const MessageLine& line : LinesOf(fault)) all.push_back({line.level + 1, line.text});
    }
    return all;
}

void FillFaults(nlohmann::ordered_json& object, const std::vector<PolicyFault>& faults) {
    object["faults"] = nlohmann::ordered_json::array();
    for (const PolicyFault& fault : faults) {
        object["faults"].push_back({{"file", TextOrNull(fault.file)},
                                    {"line", NumberOrNull(fault.line)},
                                    {"column", NumberOrNull(fault.column)},
                                    {"text", TextOf(fault)},
                                    {"refused", fault.isRefused}});
    }
}

}  // namespace lumpolicy
