// The command that installs policies.
#include <iostream>
#include <vector>

#include "InstallOptions.h"
#include "PolicyForwarder.h"
#include "PolicyPackage.h"
#include "Selection.h"
#include "common/Arguments.h"
#include "common/Lazy.h"
#include "common/Table.h"
#include "lumpolicy/Command.h"
#include "lumpolicy/DocumentWarnings.h"
#include "lumpolicy/PolicyText.h"
#include "lumpolicy/SharedFiles.h"

namespace lumpolicy {

using LumConf::InstallOptions;
using LumConf::PolicyHeader;
using LumConf::Selection;
using lumtools::Attempt;
using lumtools::Outcome;
using lumtools::SplitPair;
using lumtools::Text;

namespace {

/// Every choice of an install.
struct Choices {
    bool noNotify = false, enable = false, disable = false, forceState = false, checkVersion = false;
    bool removeAllCategories = false, removeAllAttributes = false, removeOwner = false;
    bool force = false, forceOwner = false, forceCategories = false, forceAttributes = false, closeConnection = false;
    std::string owner, targetId;
    std::vector<std::string> addCategories, removeCategories, addAttributes, removeAttributes;

    void AddTo(CLI::App& command);
    InstallOptions Make() const;
};

void Choices::AddTo(CLI::App& c) {
    const std::string policy = "What the policy gets", installed = "When the policy is installed already",
                      request = "The request";
    auto* on = c.add_flag("--enable", enable, "Enable the policy, whatever its document says")->group(policy);
    c.add_flag("--disable", disable, "Disable the policy, whatever its document says")->group(policy)->excludes(on);
    c.add_option("--owner", owner, "Set the owner")->group(policy)->type_name("OWNER");
    c.add_flag("--remove-owner", removeOwner, "Clear the owner; wins over --owner")->group(policy);
    c.add_option("--add-category", addCategories, "Add a category; may be given often")
        ->group(policy)
        ->type_name("CATEGORY")
        ->allow_extra_args(false);
    c.add_option("--remove-category", removeCategories, "Drop a category of the document; may be given often")
        ->group(policy)
        ->type_name("CATEGORY")
        ->allow_extra_args(false);
    c.add_flag("--remove-all-categories", removeAllCategories, "Drop the categories of the document first")
        ->group(policy);
    c.add_option("--add-attribute", addAttributes, "Add an attribute; may be given often")
        ->group(policy)
        ->type_name("NAME=VALUE")
        ->allow_extra_args(false);
    c.add_option("--remove-attribute", removeAttributes, "Drop an attribute of the document; may be given often")
        ->group(policy)
        ->type_name("NAME=VALUE")
        ->allow_extra_args(false);
    c.add_flag("--remove-all-attributes", removeAllAttributes, "Drop the attributes of the document first")
        ->group(policy);
    c.add_flag("--check-version", checkVersion, "Refuse a version that does not sort above the installed one")
        ->group(installed);
    c.add_flag("--force", force, "Replace it without any check; nothing is taken over from it")->group(installed);
    c.add_flag("--force-owner", forceOwner, "Replace it although the owners differ")->group(installed);
    c.add_flag("--force-state", forceState, "The status of --enable wins over the installed one; without it: disabled")
        ->group(installed);
    c.add_flag("--force-categories", forceCategories, "Keep the arriving categories, not the installed ones")
        ->group(installed);
    c.add_flag("--force-attributes", forceAttributes, "Keep the arriving attributes, not the installed ones")
        ->group(installed);
    c.add_flag("--no-notify", noNotify, "Queue the notification of consumers; 'lumpolicy notify' sends it")
        ->group(request);
    lumtools::AddTargetId(c, targetId)->group(request);
    c.add_flag("--close-connection", closeConnection, "Accepted; a request never keeps a connection behind it")
        ->group(request);
}

InstallOptions Choices::Make() const {
    InstallOptions options;
    options.SetNotify(!noNotify).SetTargetID(Text(targetId)).SetCheckVersion(checkVersion).SetOwner(Text(owner));
    options.SetForceAll(force).SetForceOwner(forceOwner).SetForceCat(forceCategories).SetForceAttr(forceAttributes);
    options.SetRemoveAllCategories(removeAllCategories).SetRemoveAllAttributes(removeAllAttributes);
    options.SetCloseConnection(closeConnection);
    if (enable) options.SetEnabled();
    if (disable) options.SetDisabled();
    if (forceState) options.ForceState();
    if (removeOwner) options.RemoveOwner();
    for (const auto& category : addCategories) options.SetAddCategory(Text(category));
    for (const auto& category : removeCategories) options.SetRemoveCategory(Text(category));
    for (const auto& pair : addAttributes) {
        options.SetAddAttribute(Text(SplitPair(pair).first), Text(SplitPair(pair).second));
    }
    for (const auto& pair : removeAttributes) {
        options.SetRemoveAttribute(Text(SplitPair(pair).first), Text(SplitPair(pair).second));
    }
    return options;
}

/// Some messages do not say which file they are about.
void NameFile(lumtools::Outcome& outcome, const std::string& file) {
    const bool isOfTheFile = outcome.code == lumtools::kFailed || outcome.code == lumtools::kRefused;
    if (!isOfTheFile || outcome.messages.empty()) return;
    std::string& text = outcome.messages.front().text;
    if (text.find(file) == text.npos) text = file + ": " + text;
}

/// The exit code of several files: the first that is no success.
void Join(lumtools::Outcome& whole, const lumtools::Outcome& part) {
    if (whole.code == lumtools::kDone) whole.code = part.code;
    whole.messages.insert(whole.messages.end(), part.messages.begin(), part.messages.end());
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
            warnings.Add(WarningsOf(file));
            // What is wrong with a document, the node says.
            Attempt([&] { warnings.Add(given.Add(PolicyHeader::Read(LumPalIo::File_t(Text(file))))); });
        }
        if (!json) lumtools::PrintWarnings(std::cerr, warnings);
        return Attempt([&] {
            options = choices.Make();
            for (const auto& file : files) Take(LumPalIo::File_t(Text(file)));
        });
    }

    void Take(const LumPalIo::File_t& file) {
        if (dryRun) headers.push_back(PolicyHeader::Read(file));
        if (isPackage) (*package).AddPolicy(file);
    }

    bool ChangesNodes() const override { return !dryRun; }

    Answer Ask(const std::string& host) const override {
        LumPalMsg::MessageList_t all = warnings;
        Answer answer = dryRun ? Foresee(host, all) : isPackage ? SendPackage(host, all) : SendEach(host, all);
        FillWarnings(answer.fields, all);
        return answer;
    }

    /// Warns of what would become of the data files of other policies on the node. @return done, or unreachable
    Outcome WarnOfShared(const std::string& host, LumPalMsg::MessageList_t& all) const {
        LumPalMsg::MessageList_t shared;
        Outcome asked;
        SetStep(host, "which data files it has");
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
        if (answer.outcome.code != lumtools::kDone) return answer;
        answer.text = "installed a package of " + std::to_string(files.size()) + " on " + host + "\n";
        return answer;
    }

    Outcome Send(const std::string& file, const std::string& host) const {
        return Attempt([&] { forwarder->Install(Text(host), LumPalIo::File_t(Text(file)), options); });
    }

    /// The others go on when one fails.
    Answer SendEach(const std::string& host, LumPalMsg::MessageList_t& all) const {
        AddKnown(host, [](Answer& known) { known.fields["files"] = nlohmann::ordered_json::array(); });
        const Outcome asked = WarnOfShared(host, all);
        for (std::size_t i = 0; i < files.size(); ++i) {
            SetStep(host, std::to_string(i) + " of " + std::to_string(files.size()) + " files, now " + files[i]);
            Outcome outcome = asked.code == lumtools::kDone ? Send(files[i], host) : asked;
            NameFile(outcome, files[i]);
            AddKnown(host, [&](Answer& known) { AddFile(files[i], host, outcome, known); });
            if (outcome.code == lumtools::kUnreachable || outcome.code == lumtools::kWrongUsage) break;
        }
        return GetKnown(host);
    }

    static void AddFile(const std::string& file, const std::string& host, const Outcome& outcome, Answer& answer) {
        answer.fields["files"].push_back(
            {{"file", file}, {"result", outcome.Word()}, {"code", static_cast<int>(outcome.code)}});
        if (outcome.code == lumtools::kDone) answer.text += "installed " + file + " on " + host + "\n";
        Join(answer.outcome, outcome);
    }

    /// The file that was sent last, and those behind it.
    void AddUnknown(Answer& known) const override {
        if (isPackage || dryRun) return;
        auto& list = known.fields["files"];
        const std::size_t answered = list.size();
        Outcome unknown{known.outcome.code, {}};
        for (std::size_t i = answered; i < files.size(); ++i, unknown.wasBegun = false) {
            list.push_back({{"file", files[i]}, {"result", unknown.Word()}, {"code", static_cast<int>(unknown.code)}});
        }
        if (answered >= files.size()) return;
        known.outcome.messages.push_back({1, "Of " + std::to_string(files.size()) + " files " +
                                                 std::to_string(answered) + " are answered, and of '" +
                                                 files[answered] + "' it is unknown. Nothing behind it was sent."});
    }

    Answer Foresee(const std::string& host, LumPalMsg::MessageList_t& all) const {
        Answer answer;
        answer.isBlock = true;
        answer.fields["dry_run"] = true;
        answer.fields["changes"] = nlohmann::ordered_json::array();
        for (const PolicyHeader& header : headers) {
            std::string change;
            const Outcome outcome = Attempt([&] { change = Compare(header, host); });
            Join(answer.outcome, outcome);
            if (outcome.code != lumtools::kDone) break;
            answer.text += "would " + change + "\n";
            answer.fields["changes"].push_back({{"id", header.GetContainerId().ToUtf8()}, {"change", change}});
        }
        if (answer.outcome.code == lumtools::kDone) answer.outcome = WarnOfShared(host, all);
        return answer;
    }

    /// What is installed under the same id, and under the same name and type; whether it may be replaced is the node's
    /// decision.
    std::string Compare(const PolicyHeader& header, const std::string& host) const {
        const std::string name = NameOf(header), version = header.GetVersion().ToUtf8();
        const auto sameId = ListOf(*forwarder, host, Wanted(Selection().SetPolicyId(header.GetContainerId())));
        const auto sameName = ListNamed(header, host);
        if (sameId.IsEmpty() && sameName.IsEmpty()) {
            return lumtools::Printable("install " + name + ", version " + version + ", which is new to the node");
        }
        const PolicyHeader old = (sameId.IsEmpty() ? sameName : sameId).GetPolicyHeader(0);
        std::string change = "ask the node to replace " + NameOf(old) + ", version " + old.GetVersion().ToUtf8() +
                             " of owner '" + old.GetOwner().ToUtf8() + "', by version " + version + " of owner '" +
                             header.GetOwner().ToUtf8() + "'";
        if (sameId.IsEmpty()) change += " under the id " + header.GetContainerId().ToUtf8();
        if (!sameId.IsEmpty() && !sameName.IsEmpty() && !IsSamePolicy(old, sameName.GetPolicyHeader(0))) {
            change += ", and to remove " + NameOf(sameName.GetPolicyHeader(0)) + ", whose name it takes";
        }
        return lumtools::Printable(change + ": the node decides");
    }

    static lumtools::Selections Wanted(const Selection& selection) { return lumtools::Selections({selection}); }

    static bool IsSamePolicy(const PolicyHeader& a, const PolicyHeader& b) {
        return a.GetContainerId() == b.GetContainerId();
    }

    LumConf::PolicyContainer ListNamed(const PolicyHeader& header, const std::string& host) const {
        if (header.GetName().IsEmpty() || header.GetTypeName().IsEmpty()) return {};
        return ListOf(*forwarder, host,
                      Wanted(Selection().SetPolicyNameAndTypeName(header.GetName(), header.GetTypeName())));
    }

    std::vector<std::string> files;
    bool isPackage = false, dryRun = false;
    Choices choices;
    InstallOptions options;
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
