// The commands that change local settings: set and clear.
#include <iostream>

#include "LumPalCfgFile.h"
#include "LumPalIo.h"
#include "LumPalWhole.h"
#include "ReturnValue.h"
#include "common/Arguments.h"
#include "common/Counted.h"
#include "common/KnownKeys.h"
#include "common/LockOut.h"
#include "common/Table.h"
#include "lumsettings/Command.h"
#include "lumsettings/SettingNotes.h"
#include "lumsettings/SettingsText.h"

namespace lumsettings {

using LumPalArray::CharArray_t;
using LumPalConfig::ConfigGroup_t;
using LumPalConfig::Configuration_t;
using LumPalStr::String_t;
using lumtools::Outcome;
using lumtools::Text;
using nlohmann::ordered_json;

namespace {

// What a node takes in one request, unless it is told otherwise. A file without end must not take all memory.
constexpr std::size_t kLargestFile = 64u << 20;

class StandardInput : public LumPalIo::InputStream_t::Impl {
    std::int64_t Read(char* target, std::size_t length) override {
        std::cin.read(target, static_cast<std::streamsize>(length));
        return std::cin.gcount() > 0 ? std::cin.gcount() : -1;
    }
};

CharArray_t ReadBytes(const LumPalIo::InputStream_t& stream, const String_t& name) {
    std::optional<CharArray_t> bytes = LumPalIo::ReadWhole(stream, kLargestFile);
    if (bytes) return *std::move(bytes);
    throw LumPalMsg::RuntimeException_t(
        LumPalMsg::CreateError_t("'%1' is too large: settings of at most %2 MiB are read.")
        << name << static_cast<unsigned>(kLargestFile >> 20));
}

class ChangeCommand : public NodeCommand {
protected:
    explicit ChangeCommand(CLI::App& command) : NodeCommand(command) {
        command.add_flag("-n,--dry-run", dryRun,
                         "Show what would change, as the node tells its settings; change nothing");
        command.add_flag("--force", force,
                         "Also values that a key cannot hold, and what locks the node's own tools out");
    }
    /// Reads the arguments.
    virtual void Read() = 0;
    /// The keys that the request changes.
    virtual ConfigGroup_t GetChanged(const ConfigGroup_t& told) const = 0;
    /// Whether it is worth asking the node.
    virtual bool MayConcernTools() const = 0;
    /// The settings of a node behind it. @param isHere  it is this node, of which the files tell more
    virtual ConfigGroup_t Then(const ConfigGroup_t& told, bool isHere) const = 0;
    virtual void Send(const std::string& host) const = 0;
    /// What the request would do to the settings that a node tells.
    virtual std::vector<Change> Foresee(const ConfigGroup_t& told) const = 0;
    /// What was done, without the node.
    virtual std::string Done() const = 0;
    /// What it cannot foresee.
    virtual const char* Remark() const { return ""; }
    /// When the change counts, empty for at once; and the same as the end of the sentence.
    virtual std::string Counts() const { return ""; }
    virtual std::string CountsText() const { return ""; }
    /// What was probably meant where nothing is to be changed; empty when all is as it seems.
    virtual std::string Hint() const { return ""; }

    LumConfPar::SettingsForwarder::Options options;
    bool force = false;
    LumPalMsg::MessageList_t warnings;  ///< of what is given, whatever the node
    std::vector<std::string> notes;     ///< likewise

private:
    Outcome Prepare() override {
        return lumtools::Attempt([&] {
            options = Options();
            Read();
            if (!json) TellWarnings();
        });
    }

    void TellWarnings() const {
        lumtools::PrintWarnings(std::cerr, warnings);
        for (const std::string& note : notes) {
            if (!quiet) lumtools::PrintFailure(std::cerr, "", {lumtools::kNothingToDo, {{0, note}}});
        }
    }

    bool ChangesNodes() const override { return !dryRun; }
    unsigned GetRight() const override { return dryRun ? LumConf::RightConfigGet : LumConf::RightConfigSet; }

    Answer Ask(const std::string& host) const override {
        Answer answer;
        FillWarnings(answer);
        answer.outcome = lumtools::Attempt([&] { RequireTools(host); });
        if (answer.outcome.code != lumtools::kDone) return answer;
        answer.outcome = lumtools::Attempt([&] {
            if (dryRun) {
                ShowForeseen(Foresee(forwarder->Get(Text(host), options)), answer);
            } else {
                SendTo(host, answer);
            }
        });
        if (dryRun) EndDryRun(host, answer);
        return answer;
    }

    void EndDryRun(const std::string& host, Answer& answer) const {
        lumtools::EndDryRun(host, answer);
        if (answer.outcome.code == lumtools::kNothingToDo && !Hint().empty())
            answer.outcome.messages.push_back({1, Hint()});
    }

    /// It is sent also where it changes nothing: the node judges, and its audit log tells who asked for it.
    void SendTo(const std::string& host, Answer& answer) const {
        const std::optional<bool> changes = ChangesHere(host);
        SetStep(host, "the change");
        Send(host);
        answer.fields["changed"] = changes ? ordered_json(*changes) : ordered_json(nullptr);
        if (!Counts().empty()) answer.fields["counts"] = Counts();
        answer.text = lumtools::Printable(Done() + OfGroup() + " on " + host + Ending(changes, answer)) + "\n";
    }

    std::string Ending(const std::optional<bool>& changes, Answer& answer) const {
        if (changes != false) return CountsText();
        const std::string same = ": nothing has changed, it was so already", hint = Hint();
        if (hint.empty()) return same;
        answer.fields["notes"].push_back({{"level", 0}, {"text", hint}});
        return same + ". " + hint;
    }

    /// Another node tells what is in force there, and not what is set by whom.
    std::optional<bool> ChangesHere(const std::string& host) const {
        if (host != "localhost" || IsOfGroup()) return std::nullopt;
        using namespace LumPalConfig;
        std::optional<bool> changes;
        lumtools::Attempt([&] { changes = !Foresee(ConfigBase_t::Open("", ConfigSource::Local)).empty(); });
        return changes;
    }

    void FillWarnings(Answer& answer) const {
        for (const lumtools::MessageLine& line : lumtools::LinesOf(warnings)) {
            answer.fields["warnings"].push_back({{"level", line.level}, {"text", line.text}});
        }
        for (const std::string& note : notes) answer.fields["notes"].push_back({{"level", 0}, {"text", note}});
    }

    /// The node does as it is told; the tools had to be mended by hand. A node that does not tell its settings is not
    /// asked twice.
    void RequireTools(const std::string& host) const {
        if (force || IsOfGroup() || !MayConcernTools()) return;
        ConfigGroup_t told;
        SetQuestion(host, "its settings");
        const Outcome asked = lumtools::Attempt([&] { told = forwarder->Get(Text(host), options); });
        if (asked.code != lumtools::kDone) return;
        const ConfigGroup_t changed = GetChanged(told);
        if (!lumtools::ConcernsTools(changed)) return;
        const auto now = lumtools::AskHowServed(host, TargetId());
        const bool isHere = host == "localhost";
        lumtools::RefuseLockOut(host, lumtools::WhyLockedOut(changed, Then(told, isHere), now, isHere));
    }

    void ShowForeseen(const std::vector<Change>& changes, Answer& answer) const {
        lumtools::BeginDryRun(answer);
        for (const Change& change : changes) {
            answer.fields["changes"].push_back(ToJson(change));
            answer.text += Shown(LinesOf(change));
        }
        if (!changes.empty()) answer.text += Remark();
    }

    bool dryRun = false;
};

class Set : public ChangeCommand {
public:
    explicit Set(CLI::App& command) : ChangeCommand(command) {
        command.add_option("NAMESPACE", nameSpace, "The namespace of the settings")->check(IsGiven);
        command.add_option("NAME=VALUE", pairs, "A setting and its value, which may be empty");
        command.add_option("--from", file, "All that a file of settings holds; '-' is standard input")
            ->type_name("FILE");
    }

private:
    void Read() override {
        if (file.empty() == pairs.empty() || file.empty() == nameSpace.empty()) {
            throw CLI::ValidationError("give a namespace and NAME=VALUE, or --from FILE");
        }
        if (file.empty()) {
            for (const std::string& pair : pairs) Add(pair);
        } else {
            ReadFile();
        }
        CheckNames(group);
        if (!IsOfGroup()) CheckKeys();
    }

    /// What nobody reads is hardly meant, but may be; a value that its key cannot hold does nothing but harm.
    void CheckKeys() {
        for (const std::string& unknown : lumtools::UnknownKeys(group)) {
            warnings.Add(LumPalMsg::CreateWarn_t("%1") << Text(unknown));
        }
        notes = NotesOn(group);
        for (int i = 0; !force && i < group.GetConfigCount(); ++i) {
            const Configuration_t configuration = group.GetConfig(i);
            String_t name, value;
            for (int j = 0; configuration.GetAttr(j, name, value); ++j) {
                const std::string wrong =
                    lumtools::WrongValue(configuration.GetNamespace().ToUtf8(), name.ToUtf8(), value);
                if (!wrong.empty()) RefuseValue(wrong);
            }
        }
    }

    /// How the command is called would not help.
    [[noreturn]] static void RefuseValue(const std::string& wrong) {
        throw LumPalMsg::IllegalArgumentError_t(LumPalMsg::CreateError_t("%1; --force sets it all the same")
                                                << Text(wrong));
    }

    std::string Counts() const override { return IsOfGroup() ? "" : CountsOf(group); }
    std::string CountsText() const override { return IsOfGroup() ? "" : lumsettings::CountsText(group); }

    bool MayConcernTools() const override { return lumtools::ConcernsTools(group); }
    ConfigGroup_t GetChanged(const ConfigGroup_t&) const override { return group; }

    ConfigGroup_t Then(const ConfigGroup_t& told, bool) const override {
        for (int i = 0; i < group.GetConfigCount(); ++i) {
            const Configuration_t configuration = group.GetConfig(i);
            String_t attribute, value;
            for (int j = 0; configuration.GetAttr(j, attribute, value); ++j)
                told.GetConfig(configuration.GetNamespace()).SetAttrValue(attribute, value);
        }
        return told;
    }

    void Add(const std::string& pair) {
        const auto [name, value] = lumtools::SplitPair(pair);
        if (name.empty() || pair.find('=') == std::string::npos) {
            throw CLI::ValidationError("'" + lumtools::Printable(pair) + "' is no setting: give NAME=VALUE");
        }
        Configuration_t configuration = group.GetConfig(Text(nameSpace));
        if (configuration.HasAttr(Text(name))) {
            throw CLI::ValidationError("'" + lumtools::Printable(name) + "' is given twice");
        }
        configuration.SetAttrValue(Text(name), Text(value));
    }

    void ReadFile() {
        const String_t name = file == "-" ? String_t("standard input") : Text(file);
        const CharArray_t bytes = ReadBytes(file == "-" ? LumPalIo::InputStream_t(std::make_shared<StandardInput>())
                                                        : LumPalIo::FileInputStream_t(name),
                                            name);
        LumPalCfgFile::ConfigReader_t::Load(LumPalIo::CharArrayInputStream_t::Over(bytes), group, name);
        if (CountSettings(group) == 0) {
            throw CLI::ValidationError((file == "-" ? "standard input" : "'" + file + "'") + " holds no settings");
        }
    }

    void Send(const std::string& host) const override { forwarder->Set(Text(host), group, options); }

    std::vector<Change> Foresee(const ConfigGroup_t& told) const override {
        std::vector<Change> changes;
        for (int i = 0; i < group.GetConfigCount(); ++i) {
            const Configuration_t wanted = group.GetConfig(i), now = told.GetConfig(wanted.GetNamespace());
            String_t name, value;
            for (int j = 0; wanted.GetAttr(j, name, value); ++j) {
                if (now.HasAttr(name) && now.GetValue(name) == value) continue;
                changes.push_back({wanted.GetNamespace(), name, {}, value});
                if (now.HasAttr(name)) changes.back().before = now.GetValue(name);
            }
        }
        return changes;
    }

    std::string Done() const override {
        const int count = CountSettings(group);
        return "set " + lumtools::Counted(count, "setting");
    }

    std::string nameSpace, file;
    std::vector<std::string> pairs;
    ConfigGroup_t group;
};

class Clear : public ChangeCommand {
public:
    explicit Clear(CLI::App& command) : ChangeCommand(command) {
        command.add_option("NAMESPACE", nameSpace, "The namespace")->required()->check(IsGiven);
        command.add_option("NAME", name, "Only this setting")->check(IsGiven);
    }

private:
    void Read() override {
        const ConfigGroup_t group;
        group.GetConfig(Text(nameSpace)).SetAttrValue(name.empty() ? String_t("any") : Text(name), "");
        CheckNames(group);
    }

    bool MayConcernTools() const override { return lumtools::ConcernsTools(AllKeys()); }

    /// What the node does not tell is not there.
    ConfigGroup_t GetChanged(const ConfigGroup_t& told) const override {
        const ConfigGroup_t changed;
        for (const Change& change : Foresee(told)) changed.GetConfig(change.nameSpace).SetAttrValue(change.name, "");
        return changed;
    }

    /// What a policy sets counts then. Of another node that is not known: as if none did.
    ConfigGroup_t Then(const ConfigGroup_t& told, bool isHere) const override {
        const ConfigGroup_t then, changed = GetChanged(told);
        if (isHere) UncoverPolicies(then);
        for (int i = 0; i < told.GetConfigCount(); ++i) {
            const Configuration_t configuration = told.GetConfig(i);
            String_t attribute, value;
            for (int j = 0; configuration.GetAttr(j, attribute, value); ++j) {
                const String_t space = configuration.GetNamespace();
                if (!changed.HasConfig(space) || !changed.GetConfig(space).HasAttr(attribute))
                    then.GetConfig(space).SetAttrValue(attribute, value);
            }
        }
        return then;
    }

    /// What they set, where it is cleared.
    void UncoverPolicies(const ConfigGroup_t& then) const {
        const Configuration_t policies =
            LumPalConfig::ConfigBase_t::Open("", LumPalConfig::ConfigSource::Policy).GetConfig(Text(nameSpace));
        String_t attribute, value;
        for (int i = 0; policies.GetAttr(i, attribute, value); ++i) {
            if (name.empty() || attribute == Text(name)) then.GetConfig(Text(nameSpace)).SetAttrValue(attribute, value);
        }
    }

    /// All that the arguments may mean.
    ConfigGroup_t AllKeys() const {
        const ConfigGroup_t keys;
        for (const lumtools::KnownKey& key : lumtools::KnownKeys()) {
            if (nameSpace == key.nameSpace && (name.empty() || name == key.name))
                keys.GetConfig(Text(key.nameSpace)).SetAttrValue(key.name, "");
        }
        return keys;
    }

    void Send(const std::string& host) const override {
        const CharArray_t nameSpaceBytes(Text(nameSpace));
        if (name.empty()) {
            forwarder->Clear(Text(host), nameSpaceBytes, options);
        } else {
            forwarder->Clear(Text(host), nameSpaceBytes, CharArray_t(Text(name)), options);
        }
    }

    std::vector<Change> Foresee(const ConfigGroup_t& told) const override {
        std::vector<Change> changes;
        const Configuration_t now = told.GetConfig(Text(nameSpace));
        String_t attribute, value;
        for (int i = 0; now.GetAttr(i, attribute, value); ++i) {
            if (name.empty() || attribute == Text(name)) changes.push_back({Text(nameSpace), attribute, value, {}});
        }
        return changes;
    }

    const char* Remark() const override {
        return "# what policies set stays, or counts again: on the node 'lumsettings explain' tells\n";
    }

    std::string Hint() const override { return IsOfGroup() ? "" : lumtools::NobodyReads(nameSpace, name); }

    std::string Done() const override { return "cleared [" + nameSpace + "]" + (name.empty() ? "" : " " + name); }

    std::string nameSpace, name;
};

}  // namespace

void AddChanges(CLI::App& app, Actions& actions) {
    AddCommand<Set>(app, actions, "set", "Change local settings of nodes: all of them, or none");
    AddCommand<Clear>(app, actions, "clear", "Take local settings of nodes away; what policies set stays");
}

}  // namespace lumsettings
