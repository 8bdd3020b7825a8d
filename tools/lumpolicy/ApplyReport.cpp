#include "lumpolicy/ApplyReport.h"

#include <algorithm>
#include <sstream>

#include "common/Table.h"
#include "lumpolicy/Changed.h"
#include "lumpolicy/PolicyText.h"

namespace lumpolicy::report {

using lumtools::Answer;
using lumtools::Outcome;
using nlohmann::ordered_json;

namespace {

/// What is said of a kind of step.
struct Words {
    const char *action, *done, *foreseen;
};

constexpr Words kUnchanged{"unchanged", "unchanged", "unchanged"};
constexpr Words kCreate{"create", "created", "would create"};
constexpr Words kChange{"change", "changed", "would change"};
constexpr Words kRemove{"remove", "removed", "would remove"};

const Words& WordsOf(Step::Kind kind) {
    switch (kind) {
        case Step::Kind::None:
            return kUnchanged;
        case Step::Kind::Create:
            return kCreate;
        case Step::Kind::Change:
            return kChange;
        case Step::Kind::Displace:
        case Step::Kind::Remove:
            return kRemove;
    }
    return kUnchanged;
}

const Words& WordsOf(const ordered_json& row) {
    for (const Words* words : {&kCreate, &kChange, &kRemove}) {
        if (row["action"] == words->action) return *words;
    }
    return kUnchanged;
}

ordered_json RowOf(const LumConf::PolicyHeader& header) {
    return {{"id", header.GetContainerId().ToUtf8()},
            {"name", header.GetName().ToUtf8()},
            {"type", header.GetTypeName().ToUtf8()}};
}

ordered_json RowOf(const Step& step, const std::string& diff) {
    ordered_json row = RowOf(step.GetHeader());
    if (step.wanted) row["file"] = step.wanted->file;
    row["action"] = WordsOf(step.kind).action;
    for (const Difference& one : step.differences) {
        row["differences"].push_back({{"field", one.field}, {"was", one.was}, {"wanted", one.wanted}});
    }
    if (!diff.empty()) row["diff"] = diff;
    return row;
}

/// "backup (type cron, id 1a2b): version, data file x"
std::string Sentence(const ordered_json& row) {
    std::string text = row["name"].get<std::string>() + " (type " + row["type"].get<std::string>() + ", id " +
                       row["id"].get<std::string>() + ")";
    if (!row.contains("differences")) return lumtools::Printable(text);
    const char* separator = ": ";
    for (const ordered_json& one : row["differences"]) {
        text += separator + one["field"].get<std::string>();
        separator = ", ";
    }
    return lumtools::Printable(text);
}

/// Tabs are text here.
std::string PrintableDiff(const std::string& diff) {
    std::istringstream lines(diff);
    std::string out;
    for (std::string line; std::getline(lines, line); out += '\n') {
        std::istringstream pieces(line);
        const char* separator = "";
        for (std::string piece; std::getline(pieces, piece, '\t'); separator = "\t") {
            out += separator + lumtools::Printable(piece);
        }
    }
    return out;
}

bool IsDryRun(const Answer& answer) {
    return answer.fields.contains("dry_run");
}

void Count(const char* what, Answer& answer) {
    ordered_json& count = answer.fields["counts"][what];
    count = count.get<int>() + 1;
}

void EndRow(ordered_json& row, const char* result, const Outcome& outcome) {
    row["result"] = result;
    row["code"] = static_cast<int>(outcome.code);
}

void EndWell(ordered_json& row, const Outcome& outcome, Answer& answer) {
    const Words& words = WordsOf(row);
    const char* said = IsDryRun(answer) ? words.foreseen : words.done;
    EndRow(row, said, outcome);
    Count(words.done, answer);
    if (&words == &kUnchanged) return;
    answer.fields["changed"] = true;
    answer.text += std::string(said) + " " + Sentence(row) + "\n";
    if (row.contains("diff")) answer.text += PrintableDiff(row["diff"].get<std::string>());
}

/// Before the node has told what it has.
void BeginUnplanned(const std::vector<DesiredPolicy>& wanted, Answer& answer) {
    answer.fields["changed"] = false;
    answer.fields["policies"] = ordered_json::array();
    for (const DesiredPolicy& policy : wanted) {
        ordered_json row = RowOf(policy.header);
        row["file"] = policy.file;
        answer.fields["policies"].push_back(std::move(row));
    }
}

/// @param unknown  how many were sent and not answered
std::string LeftText(int unknown, int unsent) {
    if (unknown == 0) return "Of the policies that are left, " + std::to_string(unsent) + ", none was sent.";
    return "Of " + std::to_string(unknown) + " policies that were sent it is unknown, and " + std::to_string(unsent) +
           " were not sent.";
}

}  // namespace

void Join(Outcome& whole, const Outcome& part) {
    const bool isWorse = part.code != lumtools::kDone && part.code != lumtools::kUntold;
    if (whole.code == lumtools::kDone || (whole.code == lumtools::kUntold && isWorse)) {
        whole.code = part.code;
        whole.message = part.message;
    }
    whole.isUnanswered = whole.isUnanswered || part.isUnanswered;
    whole.messages.insert(whole.messages.end(), part.messages.begin(), part.messages.end());
}

bool IsDone(const Outcome& outcome) {
    return outcome.code == lumtools::kDone || outcome.code == lumtools::kUntold;
}

void Begin(const std::vector<Step>& steps, const std::vector<std::string>& diffs, bool dryRun, Answer& answer) {
    answer.isBlock = true;
    if (dryRun) answer.fields["dry_run"] = true;
    answer.fields["changed"] = false;
    for (const Words* words : {&kCreate, &kChange, &kRemove, &kUnchanged}) answer.fields["counts"][words->done] = 0;
    answer.fields["counts"]["failed"] = 0;
    ordered_json rows = ordered_json::array();
    for (std::size_t i = 0; i < steps.size(); ++i) rows.push_back(RowOf(steps[i], diffs[i]));
    answer.fields["policies"] = std::move(rows);
    for (std::size_t i = 0; i < steps.size(); ++i) {
        if (steps[i].kind == Step::Kind::None) End(i, {}, answer);
    }
}

void Send(std::size_t index, Answer& answer) {
    answer.fields["policies"][index]["result"] = "unknown";
}

void End(std::size_t index, const Outcome& outcome, Answer& answer) {
    ordered_json& row = answer.fields["policies"][index];
    if (IsDone(outcome)) {
        EndWell(row, outcome, answer);
    } else {
        EndRow(row, outcome.isUnanswered ? "unknown" : outcome.Word(), outcome);
        Count("failed", answer);
    }
    Join(answer.outcome, outcome);
}

void Close(const std::string& host, Answer& answer) {
    std::string counts;
    for (const auto& [what, count] : answer.fields["counts"].items()) {
        if (count.get<int>() > 0)
            counts += (counts.empty() ? "" : ", ") + std::to_string(count.get<int>()) + " " + what;
    }
    if (!counts.empty()) answer.text += (IsDryRun(answer) ? "would be: " : "") + counts + "\n";
    if (answer.outcome.code != lumtools::kDone || answer.fields["changed"].get<bool>()) return;
    answer.outcome = {lumtools::kNothingToDo, {{0, "Nothing has to change on '" + host + "'."}}};
}

void EndEarly(const std::vector<DesiredPolicy>& wanted, Answer& answer) {
    if (!answer.fields.contains("policies")) BeginUnplanned(wanted, answer);
    const Outcome unknown{answer.outcome.code, {}, true}, notAsked{answer.outcome.code, {}, false};
    int counts[2] = {0, 0};
    for (ordered_json& row : answer.fields["policies"]) {
        if (row.contains("code")) continue;
        const bool wasSent = row.contains("result");
        EndRow(row, (wasSent ? unknown : notAsked).Word(), unknown);
        ++counts[wasSent];
    }
    if (counts[1] > 0) JoinChanged(nullptr, answer.fields["changed"]);
    answer.outcome.messages.push_back({1, LeftText(counts[1], counts[0])});
}

}  // namespace lumpolicy::report
