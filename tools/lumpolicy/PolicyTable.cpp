#include "lumpolicy/PolicyTable.h"

#include <algorithm>
#include <sstream>
#include <tuple>

#include "common/Table.h"

namespace lumpolicy {

using lumtools::Table;
using nlohmann::ordered_json;

namespace {

const char* const kMissingExplained =
    "MISSING: data files that were not there when the node last read its store. Install these policies again.\n";

/// A policy, and the node that has it.
struct Listed {
    std::string host;
    const ordered_json* policy;
};

/// A member, or one of a member's.
std::string TextOf(const ordered_json& policy, const char* pointer) {
    return policy.at(ordered_json::json_pointer(pointer)).get<std::string>();
}

std::string Joined(const ordered_json& texts) {
    std::string joined;
    for (const ordered_json& text : texts) joined += (joined.empty() ? "" : ", ") + text.get<std::string>();
    return joined;
}

std::string Attributes(const ordered_json& policy) {
    std::string joined;
    for (const ordered_json& attribute : policy["attributes"]) {
        joined += (joined.empty() ? "" : ", ") + attribute["name"].get<std::string>() + "=" +
                  attribute["value"].get<std::string>();
    }
    return joined;
}

/// The first, and how many more there are; empty without any.
std::string Missing(const ordered_json& policy) {
    if (!policy.contains("missing_data_files")) return "";
    const ordered_json& files = policy["missing_data_files"];
    const std::string more = files.size() == 1 ? "" : " and " + std::to_string(files.size() - 1) + " more";
    return files.front().get<std::string>() + more;
}

struct Column {
    const char* heading;
    const char* sortKey;  ///< null: a list cannot be sorted by it
    bool isWide;          ///< only where there is room for all
    std::string (*cell)(const ordered_json& policy);
};

const Column kColumns[] = {
    {"TYPE", "type", false, [](const ordered_json& p) { return TextOf(p, "/type/name"); }},
    {"NAME", "name", false, [](const ordered_json& p) { return TextOf(p, "/name"); }},
    {"VERSION", "version", false, [](const ordered_json& p) { return TextOf(p, "/version"); }},
    {"STATUS", "status", false, [](const ordered_json& p) { return TextOf(p, "/status"); }},
    {"OWNER", "owner", false, [](const ordered_json& p) { return TextOf(p, "/owner"); }},
    {"CATEGORIES", "categories", false, [](const ordered_json& p) { return Joined(p["categories"]); }},
    {"ID", "id", false, [](const ordered_json& p) { return TextOf(p, "/id"); }},
    {"ATTRIBUTES", nullptr, true, Attributes},
    {"DESCRIPTION", nullptr, true, [](const ordered_json& p) { return TextOf(p, "/description"); }},
};

std::tuple<std::string, std::string, std::string> UsualOrder(const ordered_json& policy) {
    return {TextOf(policy, "/type/name"), TextOf(policy, "/name"), TextOf(policy, "/id")};
}

const Column* ColumnOf(const std::string& sortKey) {
    const auto isMeant = [&sortKey](const Column& column) { return column.sortKey && sortKey == column.sortKey; };
    const auto* found = std::find_if(std::begin(kColumns), std::end(kColumns), isMeant);
    return found == std::end(kColumns) ? nullptr : found;
}

bool IsBefore(const ordered_json& a, const ordered_json& b, const Column* column) {
    if (column) {
        const std::string first = column->cell(a), second = column->cell(b);
        if (first != second) return first < second;
    }
    return UsualOrder(a) < UsualOrder(b);
}

std::vector<Listed> LinesOf(const std::vector<ListedNode>& nodes, const Column* column) {
    std::vector<Listed> lines;
    for (const auto& [host, policies] : nodes) {
        const auto begin = static_cast<std::ptrdiff_t>(lines.size());
        for (const ordered_json& policy : policies) lines.push_back({host, &policy});
        std::stable_sort(lines.begin() + (column ? 0 : begin), lines.end(),
                         [column](const Listed& a, const Listed& b) { return IsBefore(*a.policy, *b.policy, column); });
    }
    return lines;
}

std::string Names(const std::vector<Listed>& lines, bool hasHosts) {
    std::string names;
    for (const Listed& line : lines) {
        const std::string name = TextOf(*line.policy, "/type/name") + ":" + TextOf(*line.policy, "/name");
        names += (hasHosts ? line.host + " " : "") + lumtools::Printable(name) + "\n";
    }
    return names;
}

Table::Mark MarkOf(const std::string& status) {
    if (status == "enabled") return Table::Mark::Good;
    return status == "disabled" ? Table::Mark::Doubtful : Table::Mark::Bad;
}

Table TableFor(const std::vector<Listed>& lines, const ListForm& form, bool hasMissing) {
    const bool isWide = form.kind == ListForm::Kind::Wide;
    const auto cells = [&](const std::string& host, const auto& cell, const std::string& missing) {
        std::vector<std::string> row;
        if (form.hasHosts) row.push_back(host);
        for (const Column& column : kColumns) {
            if (isWide || !column.isWide) row.push_back(cell(column));
        }
        if (hasMissing) row.push_back(missing);
        return row;
    };
    Table table(cells(
        "HOST", [](const Column& column) { return std::string(column.heading); }, "MISSING"));
    for (const Listed& line : lines) {
        table.Add(cells(
            line.host, [&](const Column& c) { return c.cell(*line.policy); }, Missing(*line.policy)));
    }
    if (form.hasHosts) table.KeepWhole(0);
    table.SetMarks(static_cast<std::size_t>(ColumnOf("status") - kColumns) + (form.hasHosts ? 1 : 0), MarkOf);
    return table;
}

}  // namespace

std::vector<std::string> SortKeys() {
    std::vector<std::string> keys;
    for (const Column& column : kColumns) {
        if (column.sortKey) keys.emplace_back(column.sortKey);
    }
    return keys;
}

void Sort(ordered_json& policies, const std::string& sortBy) {
    const Column* column = ColumnOf(sortBy);
    std::stable_sort(policies.begin(), policies.end(),
                     [column](const ordered_json& a, const ordered_json& b) { return IsBefore(a, b, column); });
}

std::string ListText(const std::vector<ListedNode>& nodes, const ListForm& form) {
    const std::vector<Listed> lines = LinesOf(nodes, ColumnOf(form.sortBy));
    if (form.kind == ListForm::Kind::Name) return Names(lines, form.hasHosts);
    const bool hasMissing = std::any_of(lines.begin(), lines.end(),
                                        [](const Listed& line) { return line.policy->contains("missing_data_files"); });
    lumtools::TableLayout layout = lumtools::TableLayout::ForOutput();
    layout.hasHeader = form.hasHeader;
    if (form.kind == ListForm::Kind::Wide) layout.columns = 0;
    std::ostringstream out;
    TableFor(lines, form, hasMissing).Print(out, layout);
    if (hasMissing && form.hasHeader) out << kMissingExplained;
    return out.str();
}

}  // namespace lumpolicy
