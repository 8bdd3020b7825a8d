#include "lumpolicy/PackageFiles.h"

#include <algorithm>
#include <iterator>

#include "MessageNumbers.h"
#include "lumpolicy/DocumentWarnings.h"

namespace lumpolicy {

using lumtools::Answer;
using lumtools::MessageLine;
using lumtools::Outcome;

namespace {

/// What a node would refuse of a file.
std::vector<MessageLine> RefusedOf(const std::string& file) {
    LumConf::PolicyCheck check;
    const Outcome checking = lumtools::Attempt([&] { check = CheckFile(file); });
    std::vector<LumConf::PolicyFault> refused;
    std::copy_if(check.faults.begin(), check.faults.end(), std::back_inserter(refused),
                 [](const LumConf::PolicyFault& fault) { return fault.isRefused; });
    std::vector<MessageLine> lines = checking.messages;
    for (const MessageLine& line : LinesOf(refused)) lines.push_back({line.level - 1, line.text});
    return lines;
}

/// Whether what came of the package came of each of its files.
bool IsOfAll(const Outcome& whole) {
    const bool isOfSome = whole.code == lumtools::kFailed ||
                          (whole.code == lumtools::kRefused && whole.message != LumConf::kInstallNotAllowed);
    return !isOfSome;
}

nlohmann::ordered_json RowOf(const std::string& file, const char* result, const Outcome& outcome) {
    nlohmann::ordered_json row{{"file", file}};
    Fill(row, outcome);
    row["result"] = result;
    return row;
}

/// A file that the failure names itself has its reason there.
void Blame(const std::string& file, const std::vector<MessageLine>& lines, Outcome& whole) {
    if (!whole.messages.empty() && whole.messages.front().text.find(file) != file.npos) return;
    whole.messages.push_back({1, file + ":"});
    for (const MessageLine& line : lines) whole.messages.push_back({line.level + 2, line.text});
}

}  // namespace

void TellPackage(const std::vector<std::string>& files, Answer& answer) {
    auto& rows = answer.fields["files"] = nlohmann::ordered_json::array();
    const Outcome whole = answer.outcome;
    for (const std::string& file : files) {
        if (IsOfAll(whole)) {
            rows.push_back(RowOf(file, whole.Word(), {whole.code, {}}));
            continue;
        }
        const std::vector<MessageLine> lines = RefusedOf(file);
        // Of a package that was sent and failed some may be installed.
        const char* const unblamed = whole.wasBegun ? "unknown" : "not tried";
        rows.push_back(RowOf(file, lines.empty() ? unblamed : "failed", {whole.code, lines}));
        if (!lines.empty()) Blame(file, lines, answer.outcome);
    }
}

}  // namespace lumpolicy
