// The command that installs policies.
#include <iostream>
#include <optional>
#include <vector>

#include "PolicyForwarder.h"
#include "PolicyPackage.h"
#include "Selection.h"
#include "common/Arguments.h"
#include "common/Lazy.h"
#include "common/LockOut.h"
#include "lumpolicy/ApplyReport.h"
#include "lumpolicy/Changed.h"
#include "lumpolicy/Command.h"
#include "lumpolicy/DocumentWarnings.h"
#include "lumpolicy/ForeseenInstall.h"
#include "lumpolicy/InstallChoices.h"
#include "lumpolicy/PackageFiles.h"
#include "lumpolicy/PolicyText.h"
#include "lumpolicy/SharedFiles.h"
#include "lumpolicy/ToolsGuard.h"

namespace lumpolicy {

using LumConf::PolicyHeader;
using LumConf::Selection;
using lumtools::Attempt;
using lumtools::Outcome;
using lumtools::Text;

namespace {

/// Some messages do not say which file they are about.
void NameFile(lumtools::Outcome& outcome, const std::string& file) {
    const bool isOfTheNode = outcome.code == lumtools::kUnreachable || outcome.code == lumtools::kWrongUsage;
    if (isOfTheNode || outcome.messages.empty()) return;
    std::string& text = outcome.messages.front().text;
    if (text.find(file) == text.npos) text = file + ": " + text;
}

class Install : public HostCommand {
public:
    explicit Install(CLI::App& command) : HostCommand(command) {
        command.add_option("FILE", files, "Header files (<id>_header.xml); the data files lie beside them")->required();
        command.add_flag("--package", isPackage, "Send all files as one package: one request, one answer");
        command.add_flag("-n,--dry-run", dryRun, "Compare the files with what the node lists; install nothing");
        choices.AddTo(command);
    }

private:
    /// A package is built once for all nodes.
    Outcome Prepare() override {
        for (const auto& file : files) {
            warnings.Add(WarningsBeforeSending(file));
            // What is wrong with a document, the node says.
            Attempt([&] { TakeWarnings(file, PolicyHeader::Read(LumPalIo::File_t(Text(file)))); });
        }
        if (!json) lumtools::PrintWarnings(std::cerr, warnings);
        const Outcome made = Attempt([&] { options = choices.Make(); });
        return made.code == lumtools::kDone ? TakeAll() : made;
    }

    Outcome TakeAll() {
        for (const auto& file : files) {
            Outcome taken = Attempt([&] { Take(LumPalIo::File_t(Text(file))); });
            if (taken.code == lumtools::kDone) continue;
            NameFile(taken, file);
            if (!isPackage) return taken;
            Answer unsent{taken, "", false, {}};
            unsent.outcome.wasBegun = false;
            TellPackage(files, unsent);
            taken.messages = unsent.outcome.messages;
            return taken;
        }
        return {};
    }

    void TakeWarnings(const std::string& file, const PolicyHeader& header) {
        warnings.Add(given.Add(header));
        if (IsOfSettings(header) && MayConcernTools(file, header)) settingsFiles.push_back(file);
        const bool isOdd = !header.IsEnabled() && !header.IsDisabled() && !choices.enable && !choices.disable;
        if (!isOdd) return;
        warnings.Add(LumPalMsg::CreateWarn_t("The policy file '%1' has the status '%2', which is neither 'enabled' nor "
                                             "'disabled': a new policy will be neither on nor off.")
                     << Text(file) << header.GetStatus());
    }

    void Take(const LumPalIo::File_t& file) {
        if (dryRun) headers.push_back(PolicyHeader::Read(file));
        if (isPackage) (*package).AddPolicy(file);
    }

    bool ChangesNodes() const override { return !dryRun; }

    Answer Ask(const std::string& host) const override {
        LumPalMsg::MessageList_t all = warnings;
        Answer refused;
        refused.outcome = GuardTools(host);
        if (refused.outcome.code != lumtools::kDone) return refused;
        Answer answer = dryRun ? Foresee(host, all) : isPackage ? SendPackage(host, all) : SendEach(host, all);
        FillWarnings(answer.fields, all);
        return answer;
    }

    /// Before the first is sent.
    Outcome GuardTools(const std::string& host) const {
        if (choices.force || settingsFiles.empty()) return {};
        return Attempt([&] {
            lumtools::RequireTools(host, choices.targetId,
                                   [&](LumConfPar::SettingsMerge& merge) { ImagineInstalls(merge, files, choices); });
            // Each counts as soon as the node has it, whatever becomes of those behind it.
            for (const std::string& file : settingsFiles) {
                lumtools::RequireTools(host, choices.targetId,
                                       [&](LumConfPar::SettingsMerge& merge) { ImagineInstall(merge, file, choices); });
            }
        });
    }

    /// Warns of what would become of the data files of other policies on the node. @return done, or unreachable
    Outcome WarnOfShared(const std::string& host, LumPalMsg::MessageList_t& all) const {
        LumPalMsg::MessageList_t shared;
        Outcome asked;
        SetQuestion(host, "which data files it has");
        Attempt([&] { asked = given.AskNode(*forwarder, host, choices.targetId, shared); });
        Warn(shared);
        all.Add(shared);
        return asked;
    }

    Answer SendPackage(const std::string& host, LumPalMsg::MessageList_t& all) const {
        Answer answer;
        answer.outcome = WarnOfShared(host, all);
        if (answer.outcome.code != lumtools::kDone) return answer;
        SetStep(host, "a package of " + std::to_string(files.size()));
        answer.outcome = Attempt([&] { LumConf::PolicyPackage(*package).Install(Text(host), options); });
        answer.fields["changed"] = WasChanged(answer.outcome);
        TellPackage(files, answer);
        if (answer.outcome.code != lumtools::kDone) return answer;
        answer.text = "installed a package of " + std::to_string(files.size()) + " on " + host + "\n";
        return answer;
    }

    Outcome Send(const std::string& file, const std::string& host) const {
        return Attempt([&] { forwarder->Install(Text(host), LumPalIo::File_t(Text(file)), options); });
    }

    /// The others go on when one fails.
    Answer SendEach(const std::string& host, LumPalMsg::MessageList_t& all) const {
        AddKnown(host, [](Answer& known) {
            known.fields["changed"] = false;
            known.fields["files"] = nlohmann::ordered_json::array();
        });
        Outcome asked = WarnOfShared(host, all);
        asked.isUnanswered = false;  // a question: none of the files was sent
        for (std::size_t i = 0; i < files.size(); ++i) {
            if (asked.code == lumtools::kDone)
                SetStep(host, std::to_string(i) + " of " + std::to_string(files.size()) + " files, now " + files[i]);
            Outcome outcome = asked.code == lumtools::kDone ? Send(files[i], host) : asked;
            NameFile(outcome, files[i]);
            AddKnown(host, [&](Answer& known) { AddFile(files[i], host, outcome, known); });
            if (outcome.code == lumtools::kUnreachable || outcome.code == lumtools::kWrongUsage) break;
        }
        Answer answer = GetKnown(host);
        AddUnsent(answer);
        return answer;
    }

    /// Those behind one with which the node could not be reached.
    void AddUnsent(Answer& answer) const {
        const std::size_t answered = answer.fields["files"].size();
        if (answered == files.size()) return;
        const Outcome unsent{lumtools::kFailed, {}, false};
        for (std::size_t i = answered; i < files.size(); ++i) AddFileWithout(files[i], unsent, answer);
        const std::size_t unsentFiles = files.size() - answered;
        answer.outcome.messages.push_back(
            {1, "Of " + std::to_string(files.size()) + " files the last " +
                    (unsentFiles == 1 ? "one was" : std::to_string(unsentFiles) + " were") + " not sent."});
    }

    /// Of a file to which the node has not said anything.
    static void AddFileWithout(const std::string& file, const Outcome& outcome, Answer& answer) {
        answer.fields["files"].push_back(
            {{"file", file}, {"result", outcome.Word()}, {"code", static_cast<int>(outcome.code)}});
    }

    static void AddFile(const std::string& file, const std::string& host, const Outcome& outcome, Answer& answer) {
        nlohmann::ordered_json object{{"file", file}};
        Fill(object, outcome);
        if (outcome.isUnanswered) object["result"] = "unknown";
        answer.fields["files"].push_back(std::move(object));
        JoinChanged(WasChanged(outcome), answer.fields["changed"]);
        if (outcome.code == lumtools::kDone) answer.text += "installed " + file + " on " + host + "\n";
        report::Join(answer.outcome, outcome);
    }

    /// The file that was sent last, and those behind it.
    void AddUnknown(Answer& known) const override {
        if (isPackage || dryRun) return;
        const std::size_t answered = known.fields["files"].size();
        if (answered < files.size() && known.outcome.wasBegun) JoinChanged(nullptr, known.fields["changed"]);
        Outcome unknown{known.outcome.code, {}, known.outcome.wasBegun};
        for (std::size_t i = answered; i < files.size(); ++i, unknown.wasBegun = false) {
            AddFileWithout(files[i], unknown, known);
        }
        if (answered >= files.size() || !known.outcome.wasBegun) return;
        known.outcome.messages.push_back({1, "Of " + std::to_string(files.size()) + " files " +
                                                 std::to_string(answered) + " are answered, and of '" +
                                                 files[answered] + "' it is unknown. Nothing behind it was sent."});
    }

    /// A policy that would be refused stops no other one.
    Answer Foresee(const std::string& host, LumPalMsg::MessageList_t& all) const {
        Answer answer;
        lumtools::BeginDryRun(answer);
        for (std::size_t i = 0; i < headers.size(); ++i) {
            SetStep(host, std::to_string(i) + " of " + std::to_string(headers.size()) + " files, now " + files[i]);
            Outcome outcome = ForeseeOne(headers[i], host, answer);
            NameFile(outcome, files[i]);
            nlohmann::ordered_json object{{"file", files[i]}};
            Fill(object, outcome);
            answer.fields["files"].push_back(std::move(object));
            report::Join(answer.outcome, outcome);
            if (outcome.code == lumtools::kUnreachable) return answer;
        }
        const Outcome asked = WarnOfShared(host, all);
        if (answer.outcome.code == lumtools::kDone) answer.outcome = asked;
        return answer;
    }

    Outcome ForeseeOne(const PolicyHeader& header, const std::string& host, Answer& answer) const {
        std::optional<ForeseenInstall> foreseen;
        const Outcome outcome = Attempt([&] {
            const Selection sameId = Selection().SetPolicyId(header.GetContainerId());
            foreseen.emplace(header, choices, ListAs(sameId, host), ListNamed(header, host));
        });
        if (outcome.code != lumtools::kDone) return outcome;
        answer.text += foreseen->GetText();
        answer.fields["changes"].push_back(foreseen->ToJson());
        return foreseen->GetOutcome();
    }

    std::optional<PolicyHeader> ListAs(const Selection& selection, const std::string& host) const {
        const auto policies = ListOf(*forwarder, host, lumtools::Selections({selection}), choices.targetId);
        if (policies.IsEmpty()) return {};
        return policies.GetPolicyHeader(0);
    }

    std::optional<PolicyHeader> ListNamed(const PolicyHeader& header, const std::string& host) const {
        if (header.GetName().IsEmpty() || header.GetTypeName().IsEmpty()) return {};
        return ListAs(Selection().SetPolicyNameAndTypeName(header.GetName(), header.GetTypeName()), host);
    }

    std::vector<std::string> files;
    std::vector<std::string>
        settingsFiles;  ///< of settings policies on which it may depend where the tools find a node
    bool isPackage = false, dryRun = false;
    InstallChoices choices;
    LumConf::InstallOptions options;
    std::vector<PolicyHeader> headers;
    GivenPolicies given;
    LumPalMsg::MessageList_t warnings;  ///< of the files, whatever the node
    lumtools::Lazy<LumConf::PolicyPackage> package;
    lumtools::Lazy<LumConf::PolicyForwarder> forwarder;
};

}  // namespace

void AddInstall(CLI::App& app, Actions& actions) {
    AddCommand<Install>(app, actions, "install", "Install policies, or replace installed ones");
}

}  // namespace lumpolicy
