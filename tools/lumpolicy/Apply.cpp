// The commands that make nodes have the policies that are wanted: apply, and import of what export wrote.
#include <filesystem>
#include <iostream>

#include "PolicyForwarder.h"
#include "ReturnValue.h"
#include "common/Advice.h"
#include "common/Arguments.h"
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

/// What apply and import have in common.
class DesiredCommand : public HostCommand {
protected:
    explicit DesiredCommand(CLI::App& command);
    Outcome Prepare() override;
    bool ChangesNodes() const override { return !choices.dryRun; }
    unsigned GetRight() const override { return LumConf::RightRemove; }  // its one change that is no install
    lumtools::Rollout GetRollout() const override { return rollout; }
    Answer Ask(const std::string& host) const override;
    void AddUnknown(Answer& known) const override { report::EndEarly(wanted, known); }

    std::vector<std::string> given;
    ApplyChoices choices;

private:
    bool force = false;
    int serial = 0, mostFailed = -1;
    lumtools::Rollout rollout;
    std::vector<DesiredPolicy> wanted;
    LumPalMsg::MessageList_t warnings;
    lumtools::Lazy<LumConf::PolicyForwarder> forwarder;
};

DesiredCommand::DesiredCommand(CLI::App& c) : HostCommand(c) {
    c.add_flag("-n,--dry-run", choices.dryRun, "Say what would change; change nothing");
    c.add_flag("--diff", choices.showDiff, "Show each change as a unified diff of the header's fields and the data");
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

Outcome DesiredCommand::Prepare() {
    rollout.serial = static_cast<std::size_t>(serial);
    if (mostFailed >= 0) rollout.mostFailed = static_cast<std::size_t>(mostFailed);
    return Attempt([&] {
        wanted = ReadDesired(given);
        GivenPolicies shared;
        for (const DesiredPolicy& policy : wanted) {
            warnings.Add(WarningsBeforeSending(policy.file));
            warnings.Add(shared.Add(policy.header));
        }
        if (!json) lumtools::PrintWarnings(std::cerr, warnings);
    });
}

Answer DesiredCommand::Ask(const std::string& host) const {
    LumPalMsg::MessageList_t all = warnings;
    const NodeApply::Sink sink{[&](const auto& add) { AddKnown(host, add); },
                               [&](const std::string& step) { SetStep(host, step); },
                               [&](const std::string& step) { SetQuestion(host, step); },
                               [&](const LumPalMsg::MessageList_t& ofNode) {
                                   Warn(ofNode);
                                   all.Add(ofNode);
                               }};
    sink.add([](Answer& known) { known.isBlock = true; });
    NodeApply work(*forwarder, choices, wanted, host, sink);
    Outcome outcome = Attempt([&] {
        if (!force) {
            lumtools::RequireTools(host, choices.targetId, [&](LumConfPar::SettingsMerge& merge) {
                ImagineWanted(merge, wanted, choices.pruning);
            });
        }
        work.Run();
    });
    if (work.GetLackingRight() != 0 && outcome.code == lumtools::kRefused)
        lumtools::AddRight(host, work.GetLackingRight(), outcome);
    Answer answer = GetKnown(host);
    report::Join(answer.outcome, outcome);
    FillWarnings(answer.fields, all);
    return answer;
}

class Apply : public DesiredCommand {
public:
    explicit Apply(CLI::App& command);

private:
    Outcome Prepare() override {
        if (prune && !choices.pruning.IsWanted())
            throw CLI::ValidationError("--prune needs --type or --category: it removes nothing beyond them");
        return DesiredCommand::Prepare();
    }

    bool prune = false;
};

Apply::Apply(CLI::App& c) : DesiredCommand(c) {
    c.add_option("FILE", given, "Header files (<id>_header.xml), or folders of them; the data files lie beside them")
        ->required();
    auto* pruning = c.add_flag("--prune", prune, "Remove the policies of --type and --category that are not given");
    c.add_option("--type", choices.pruning.type, "What --prune looks at")
        ->type_name("TYPE")
        ->needs(pruning)
        ->check(lumtools::IsGiven);
    c.add_option("--category", choices.pruning.category, "What --prune looks at")
        ->type_name("CATEGORY")
        ->needs(pruning)
        ->check(lumtools::IsGiven);
}

/// Without anything that removes: what the node has besides stays.
class Import : public DesiredCommand {
public:
    explicit Import(CLI::App& command) : DesiredCommand(command) {
        given.resize(1);
        command.add_option("DIR", given.front(), "The folder that export has made")->required();
    }

private:
    Outcome Prepare() override {
        const Outcome looked = Attempt([&] {
            std::error_code error;
            if (std::filesystem::is_directory(given.front(), error)) return;
            throw LumPalMsg::IllegalArgumentError_t(LumPalMsg::CreateError_t("'%1' is no folder.")
                                                    << lumtools::Text(given.front()));
        });
        return looked.code == lumtools::kDone ? DesiredCommand::Prepare() : looked;
    }
};

}  // namespace

void AddApply(CLI::App& app, Actions& actions) {
    AddCommand<Apply>(app, actions, "apply", "Make nodes have these policies: install or change what differs");
    AddCommand<Import>(app, actions, "import", "Put the policies that export wrote onto nodes, as apply does");
}

}  // namespace lumpolicy
