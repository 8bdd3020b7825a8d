// Explanations for people and for programs.
#include <sstream>

#include "lumcluster/Reasons.h"
#include "lumcluster/StateMarks.h"

namespace lumcluster {

using nlohmann::ordered_json;

namespace {

const char* YesNo(bool yes) {
    return yes ? "yes" : "no";
}

void AddRow(const Tie& tie, const std::string& by, lumtools::Table& table) {
    table.Add({by, tie.isNoGroup ? "" : tie.group, tie.state, tie.activeNode, YesNo(tie.isHere),
               tie.isLookedAt ? tie.Because() : "not looked at: one before it is online here"});
}

void AddRows(const Listing& listing, lumtools::Table& table) {
    const std::string by = "application " + listing.application;
    for (const Tie& tie : listing.instances) AddRow(tie, by + ", instance " + tie.by, table);
    if (listing.instances.empty())
        table.Add({by, "", "", "", "", "it has no instances, and leaves its policies alone"});
}

std::string Ties(const Explanation& explanation, const lumtools::TableLayout& layout) {
    if (!explanation.IsTied()) return "";
    lumtools::Table table({"TIED BY", "GROUP", "STATE", "ACTIVE NODE", "HERE", "BECAUSE"});
    for (const Listing& listing : explanation.listings) AddRows(listing, table);
    for (const Tie& tie : explanation.attributes) AddRow(tie, tie.by, table);
    std::ostringstream out;
    table.SetMarks(2, MarkOfState);
    table.Print(out, layout);
    return out.str();
}

/// What else may tie it.
std::string WhatIsNotKnown(const Explanation& explanation) {
    if (explanation.unknownBecause.empty()) return "";
    return (explanation.IsTied() ? "Whether an application ties it besides is not known: "
                                 : "What ties it to a resource group is not known: ") +
           explanation.unknownBecause + ".\n";
}

std::string Steps(const Explanation& explanation) {
    std::string text;
    for (const CycleStep& step : explanation.steps) {
        text += (text.empty() ? "" : ", ") + step.by + (step.enables ? " enable" : " disable");
        text += step.by.starts_with("the") ? "s it" : " it";
    }
    return text;
}

std::string NextCycle(const Explanation& explanation) {
    if (explanation.isUnseen) return "A cycle that cannot see the groups leaves it alone.\n";
    if (explanation.isUndecided) return "What the next cycle does with it hangs on where a group was before.\n";
    const bool isAllKnown = explanation.unknownBecause.empty();
    if (explanation.steps.empty() && !isAllKnown) return "As far as it is known, the next cycle leaves it alone.\n";
    if (explanation.steps.empty()) return "The next cycle leaves it alone.\n";
    std::string text = (isAllKnown ? "In the next cycle " : "As far as it is known, in the next cycle ") +
                       Steps(explanation) + ": it ";
    text += explanation.status == explanation.after ? "stays " : "becomes ";
    text += explanation.after + ".\n";
    if (explanation.inEveryCycle) {
        text += "It is switched off and on in every cycle, since they do not agree. Let only one of them name it.\n";
    }
    return text;
}

ordered_json ToJson(const Tie& tie) {
    return {{"group", tie.isNoGroup ? ordered_json(nullptr) : ordered_json(tie.group)},
            {"group_known", tie.isGroupKnown},
            {"state", tie.isGroupKnown ? ordered_json(tie.state) : ordered_json(nullptr)},
            {"settled", tie.isSettled},
            {"active_node", tie.activeNode},
            {"local_name", tie.comparison.local},
            {"local_name_configured", tie.comparison.isConfigured},
            {"here", tie.isHere},
            {"because", tie.Because()}};
}

ordered_json Named(const char* member, const Tie& tie) {
    ordered_json object{{member, tie.by}};
    object.update(ToJson(tie));
    return object;
}

ordered_json ToJson(const Listing& listing) {
    ordered_json object{{"application", listing.application}, {"listed_as", listing.listedAs}};
    object["instances"] = ordered_json::array();
    for (const Tie& tie : listing.instances) object["instances"].push_back(Named("instance", tie));
    return object;
}

ordered_json NextCycleToJson(const Explanation& explanation) {
    ordered_json steps = ordered_json::array();
    for (const CycleStep& step : explanation.steps) {
        steps.push_back({{"by", step.by}, {"status", step.enables ? "enabled" : "disabled"}});
    }
    return {{"steps", steps},
            {"status", explanation.after},
            {"switches", explanation.changes},
            {"in_every_cycle", explanation.inEveryCycle},
            {"undecided", explanation.isUndecided}};
}

}  // namespace

std::string TextOf(const Explanation& explanation, const std::vector<std::string>& obstacles,
                   const lumtools::TableLayout& layout) {
    std::string text = lumtools::Printable(explanation.name + " (type " + explanation.typeName + ", id " +
                                           explanation.id + ") is " + explanation.status + " on this node.") +
                       "\n";
    if (!explanation.IsTied() && explanation.unknownBecause.empty()) {
        return text + "Nothing ties it to a resource group: it is never switched.\n";
    }
    std::string rest = WhatIsNotKnown(explanation) + NextCycle(explanation);
    for (const std::string& obstacle : obstacles) rest += "Not now: " + obstacle + ".\n";
    return text + Ties(explanation, layout) + lumtools::PrintableLines(rest);
}

ordered_json ToJson(const Explanation& explanation, const std::vector<std::string>& obstacles) {
    ordered_json object{{"id", explanation.id},
                        {"name", explanation.name},
                        {"type", explanation.typeName},
                        {"status", explanation.status}};
    object["applications"] = ordered_json::array();
    for (const Listing& listing : explanation.listings) object["applications"].push_back(ToJson(listing));
    object["attributes"] = ordered_json::array();
    for (const Tie& tie : explanation.attributes) {
        object["attributes"].push_back(Named("attribute", tie));
        object["attributes"].back()["looked_at"] = tie.isLookedAt;
    }
    object["unknown_because"] =
        explanation.unknownBecause.empty() ? ordered_json(nullptr) : ordered_json(explanation.unknownBecause);
    object["next_cycle"] = NextCycleToJson(explanation);
    object["kept_from_it"] = obstacles;
    return object;
}

}  // namespace lumcluster
