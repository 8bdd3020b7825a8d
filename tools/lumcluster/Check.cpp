// The command check.
#include <algorithm>

#include "common/Counted.h"
#include "lumcluster/Checks.h"
#include "lumcluster/Command.h"

namespace lumcluster {

namespace {

class Check : public LocalCommand {
public:
    explicit Check(CLI::App& command) : LocalCommand(command) {
        command.add_flag("--problems", onlyProblems, "Leave out what is in order");
    }

private:
    bool IsPrintable() const override { return true; }

    void Work(Answer& answer) const override {
        const Findings findings = CheckAll(Subject::Take());
        answer.text = TextOf(findings, !onlyProblems, lumtools::TableLayout::ForOutput());
        answer.fields["schema"] = kSchema;
        answer.fields["checks"] = ToJson(findings);
        const auto count = std::count_if(findings.begin(), findings.end(),
                                         [](const Finding& f) { return f.state == Finding::State::Failed; });
        if (count == 0) return;
        answer.outcome = {lumtools::kFailed,
                          {{0, "This node does not follow its cluster as it should: " +
                                   lumtools::Counted(static_cast<std::uint64_t>(count), "check") +
                                   (count == 1 ? " has failed." : " have failed.")}}};
    }

    bool onlyProblems = false;
};

}  // namespace

void AddCheck(CLI::App& app, Actions& actions) {
    AddCommand<Check>(app, actions, "check", "Tell what this node needs to follow its cluster, and what to do");
}

}  // namespace lumcluster
