#include "lumpolicy/StatusTable.h"

#include <algorithm>
#include <ctime>
#include <optional>
#include <sstream>

#include "common/TimeSpan.h"

namespace lumpolicy {

using lumtools::Answer;
using lumtools::Mark;
using nlohmann::ordered_json;

namespace {

constexpr const char *kInOrder = "ok", *kToMend = "failed", *kBroken = "BROKEN", *kEnded = "ENDED",
                     *kUnreachable = "unreachable", *kRefused = "refused", *kUntold = "not told";

std::string TextOf(const Answer& answer, const char* member) {
    return answer.fields.at(member).get<std::string>();
}

std::string CountOf(const Answer& answer, const char* member) {
    return std::to_string(answer.fields.at(member).get<std::int64_t>());
}

std::string Word(const Answer& answer) {
    return answer.outcome.code == lumtools::kDone ? kInOrder : kToMend;
}

/// Of one that told nothing; why stands on standard error.
std::string WordOfSilent(const Answer& answer) {
    if (answer.outcome.code == lumtools::kUnreachable) return kUnreachable;
    return answer.outcome.code == lumtools::kRefused ? kRefused : kUntold;
}

std::string Serving(const Answer& answer) {
    return lumtools::SpanText(std::time(nullptr) - answer.fields.at("started").get<std::int64_t>());
}

std::string Settings(const Answer& answer) {
    return TextOf(answer, "settings_broken").empty() ? "merged" : kBroken;
}

/// How long the one that ends first lasts.
std::string Certificate(const Answer& answer) {
    std::optional<std::int64_t> left;
    for (const ordered_json& certificate : answer.fields.at("certificates")) {
        const auto seconds = certificate.at("seconds_left").get<std::int64_t>();
        left = std::min(left.value_or(seconds), seconds);
    }
    if (!left) return "";
    return *left > 0 ? lumtools::SpanText(*left) : kEnded;
}

std::string Port(const Answer& answer) {
    return CountOf(answer, "port") + (answer.fields.at("tls").get<bool>() ? ", TLS" : "");
}

std::string LastError(const Answer& answer) {
    const ordered_json& errors = answer.fields.at("errors");
    return errors.empty() ? "" : errors.back().at("text").get<std::string>();
}

Mark MarkOf(const std::string& cell) {
    const auto isBad = [&](const char* bad) { return cell == bad; };
    constexpr const char* kBad[]{kToMend, kBroken, kEnded, kUnreachable, kRefused, kUntold};
    if (std::any_of(std::begin(kBad), std::end(kBad), isBad)) return Mark::Bad;
    return cell == kInOrder ? Mark::Good : Mark::None;
}

struct Column {
    const char* heading;
    bool isWide;  ///< only where there is room for all
    std::string (*cell)(const Answer& answer);
};

const Column kColumns[] = {
    {"STATE", false, Word},
    {"VERSION", false, [](const Answer& a) { return TextOf(a, "version"); }},
    {"SERVING", false, Serving},
    {"POLICIES", false, [](const Answer& a) { return CountOf(a, "policies"); }},
    {"SETTINGS", false, Settings},
    {"CERTIFICATE", false, Certificate},
    {"QUEUED", false, [](const Answer& a) { return CountOf(a, "notifications_queued"); }},
    {"ENABLED", true, [](const Answer& a) { return CountOf(a, "policies_enabled"); }},
    {"DISABLED", true, [](const Answer& a) { return CountOf(a, "policies_disabled"); }},
    {"MISSING FILES", true, [](const Answer& a) { return CountOf(a, "policies_missing_files"); }},
    {"CONSUMERS", true, [](const Answer& a) { return CountOf(a, "consumers"); }},
    {"CORE ID", true, [](const Answer& a) { return TextOf(a, "core_id"); }},
    {"PORT", true, Port},
    {"CLUSTER", true, [](const Answer& a) { return TextOf(a, "cluster"); }},
    {"LAST ERROR", true, LastError},
};

template <class Cell>
std::vector<std::string> Row(const std::string& host, bool isWide, const Cell& cell) {
    std::vector<std::string> row{host};
    for (const Column& column : kColumns) {
        if (isWide || !column.isWide) row.push_back(cell(column));
    }
    return row;
}

}  // namespace

std::string StatusTable(const std::vector<std::pair<std::string, const Answer*>>& answers, bool isWide,
                        const lumtools::TableLayout& layout) {
    lumtools::Table table(Row("HOST", isWide, [](const Column& column) { return std::string(column.heading); }));
    for (const auto& [host, answer] : answers) {
        if (!answer->fields.contains("version")) {
            table.Add(Row(host, isWide, [&answer = *answer](const Column& column) {
                return column.cell == &Word ? WordOfSilent(answer) : std::string();
            }));
            continue;
        }
        table.Add(Row(host, isWide, [&answer = *answer](const Column& column) { return column.cell(answer); }));
    }
    for (const std::size_t whose : {0, 1}) table.KeepWhole(whose);  // the node, and its state
    for (std::size_t i = 1; i <= std::size(kColumns); ++i) table.SetMarks(i, MarkOf);
    std::ostringstream out;
    table.Print(out, layout);
    return out.str();
}

}  // namespace lumpolicy
