#include "common/NodesText.h"

#include <map>
#include <tuple>

namespace lumtools {

namespace {

constexpr std::size_t kMostNamed = 3;

std::string WithStep(const std::string& host, const std::string& step) {
    return step.empty() ? host : host + ": " + step;
}

std::string NamesOf(const std::vector<NodesWork::Asked>& asked, const std::vector<std::string>& hosts) {
    std::string names;
    for (std::size_t i = 0; i < asked.size() && i < kMostNamed; ++i) {
        names += (i > 0 ? ", " : "") + WithStep(hosts[asked[i].index], asked[i].step);
    }
    return asked.size() <= kMostNamed ? names : names + " and " + std::to_string(asked.size() - kMostNamed) + " more";
}

}  // namespace

std::string TextOf(const NodesWork& work, const std::vector<std::string>& hosts, std::chrono::seconds elapsed) {
    const std::vector<NodesWork::Asked> asked = work.GetAsked();
    const std::string time = " (" + std::to_string(elapsed.count()) + " s)";
    if (hosts.size() == 1) return WithStep("waiting for " + hosts.front() + time, asked.empty() ? "" : asked[0].step);
    return std::to_string(work.CountAnswered()) + " of " + std::to_string(hosts.size()) + " nodes" + time +
           ", waiting for " + NamesOf(asked, hosts);
}

std::string SummaryOf(const std::vector<const Answer*>& answers) {
    // Who was not asked stands behind those of whom nothing is known.
    std::map<std::tuple<ExitCode, bool, std::string>, int> counts;
    for (const Answer* answer : answers) {
        const Outcome& outcome = answer->outcome;
        ++counts[{outcome.code, !outcome.wasBegun, outcome.Word()}];
    }
    std::string text = std::to_string(answers.size()) + " nodes";
    const char* separator = ": ";
    for (const auto& [kind, count] : counts) {
        text += separator + std::to_string(count) + " " + std::get<std::string>(kind);
        separator = ", ";
    }
    return text;
}

ExitCode CodeOf(const std::vector<const Answer*>& answers) {
    std::map<ExitCode, std::size_t> counts;
    for (const Answer* answer : answers) ++counts[answer->outcome.code];
    if (counts.size() == 1) return counts.begin()->first;
    const std::size_t well = counts[kDone] + counts[kNothingToDo];
    if (well == answers.size()) return kDone;
    return well + counts[kUntold] == answers.size() ? kUntold : kSomeFailed;
}

}  // namespace lumtools
