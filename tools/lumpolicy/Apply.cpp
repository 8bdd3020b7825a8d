// The command that makes nodes have the policies that are wanted.
#include <iostream>

#include "PolicyForwarder.h"
#include "common/Lazy.h"
#include "common/LockOut.h"
#include "lumpolicy/ApplyReport.h"
#include "lumpolicy/Command.h"
#include "lumpolicy/DocumentWarnings.h"
#include "lumpolicy/NodeApply.h"
#include "lumpolicy/SharedFiles.h"
#include "lumpolicy/ToolsGuard.h"

namespace lumpolicy {

using lumtools::Attempt;
using lumtools::Outcome;

namespace {

constexpr int kMostNodes = 1000000;

class Apply : public HostCommand {
public:
    explicit Apply(CLI::App& command);

private:
    Outcome Prepare() override;
    bool ChangesNodes() const override { return !choices.dryRun; }
    lumtools::Rollout GetRollout() const override { return rollout; }
    Answer Ask(const std::string& host) const override;
    void AddUnknown(Answer& known) const override { report::EndEarly(known); }

    std::vector<std::string> given;
    ApplyChoices choices;
    bool prune = false, force = false;
    int serial = 0, mostFailed = -1;
    lumtools::Rollout rollout;
    std::vector<DesiredPolicy> wanted;
    LumPalMsg::MessageList_t warnings;
    lumtools::Lazy<LumConf::PolicyForwarder> forwarder;
};

Apply::Apply(CLI::App& c) : HostCommand(c) {
    c.add_option("FILE", given, "Header files (<id>_header.xml), or folders of them; the data files lie beside them")
        ->required();
    c.add_flag("-n,--dry-run", choices.dryRun, "Say what would change; change nothing");
    c.add_flag("--diff", choices.showDiff, "Show each change as a unified diff of the header's fields and the data");
    auto* pruning = c.add_flag("--prune", prune, "Remove the policies of --type and --category that are not given");
    c.add_option("--type", choices.pruning.type, "What --prune looks at")
        ->type_name("TYPE")
        ->needs(pruning)
        ->check(lumtools::IsGiven);
    c.add_option("--category", choices.pruning.category, "What --prune looks at")
        ->type_name("CATEGORY")
        ->needs(pruning)
        ->check(lumtools::IsGiven);
    c.add_flag("--force-owner", choices.forceOwner, "Change policies of other owners too");
    c.add_flag("--force", force, "Also what locks the node's own tools out");
    c.add_flag("--no-notify", choices.noNotify, "Queue the notification of consumers; 'lumpolicy notify' sends it");
    c.add_option("--serial", serial, "Begin with the next N nodes when the N before them have answered")
        ->type_name("N")
        ->check(CLI::Range(1, kMostNodes));
    c.add_option("--max-fail", mostFailed, "Begin with no further node when more than N have failed")
        ->type_name("N")
        ->check(CLI::Range(0, kMostNodes));
    lumtools::AddTargetId(c, choices.targetId);
}

Outcome Apply::Prepare() {
    if (prune && !choices.pruning.IsWanted())
        throw CLI::ValidationError("--prune needs --type or --category: it removes nothing beyond them");
    rollout.serial = static_cast<std::size_t>(serial);
    if (mostFailed >= 0) rollout.mostFailed = static_cast<std::size_t>(mostFailed);
    return Attempt([&] {
        wanted = ReadDesired(given);
        GivenPolicies shared;
        for (const DesiredPolicy& policy : wanted) {
            warnings.Add(WarningsOf(policy.file));
            warnings.Add(shared.Add(policy.header));
        }
        if (!json) lumtools::PrintWarnings(std::cerr, warnings);
    });
}

Answer Apply::Ask(const std::string& host) const {
    const NodeApply::Sink sink{[&](const auto& add) { AddKnown(host, add); },
                               [&](const std::string& step) { SetStep(host, step); }};
    sink.add([](Answer& known) { known.isBlock = true; });
    const Outcome outcome = Attempt([&] {
        if (!force) {
            lumtools::RequireTools(host, choices.targetId, [&](LumConfPar::SettingsMerge& merge) {
                ImagineWanted(merge, wanted, choices.pruning);
            });
        }
        NodeApply(*forwarder, choices, wanted, host, sink).Run();
    });
    Answer answer = GetKnown(host);
    report::Join(answer.outcome, outcome);
    FillWarnings(answer.fields, warnings);
    return answer;
}

}  // namespace

void AddApply(CLI::App& app, Actions& actions) {
    AddCommand<Apply>(app, actions, "apply", "Make nodes have these policies: install or change what differs");
}

}  // namespace lumpolicy
