// The command that writes the policies of a node into a folder.
#include <memory>

#include "Exceptions.h"
#include "PolicyForwarder.h"
#include "common/Arguments.h"
#include "common/Lazy.h"
#include "common/SelectionOptions.h"
#include "common/Table.h"
#include "lumpolicy/Command.h"
#include "lumpolicy/NodeExport.h"
#include "lumpolicy/PolicyText.h"

namespace lumpolicy {

using LumConf::PolicyHeader;
using lumtools::Attempt;
using lumtools::Outcome;
using nlohmann::ordered_json;

namespace {

constexpr int kAttempts = 2;

/// A data file that two policies share may have been replaced between them.
bool MayBeChange(const LumPalMsg::Exception_t& e) {
    return dynamic_cast<const PoliciesChanged*>(&e) || dynamic_cast<const FilesCollide*>(&e);
}

class Export : public HostCommand {
public:
    explicit Export(CLI::App& command) : HostCommand(command) {
        command.add_option("DIR", place, "The folder to make; its name must be free")
            ->required()
            ->check(lumtools::IsGiven);
        selectionOptions.AddTo(command, lumtools::SelectionOptions::Demand::No);
        command.add_flag("--force", force, "Where something has that name, keep it as DIR.1 and so on");
        lumtools::AddTargetId(command, targetId);
    }

private:
    using Headers = std::vector<PolicyHeader>;

    Outcome Prepare() override {
        if (AsksMany()) throw CLI::ValidationError("a folder takes the policies of one node: give one --host");
        return Attempt([&] {
            selections = selectionOptions.Make();
            folder =
                std::make_unique<ExportFolder>(place, force ? ExportFolder::Taken::Keep : ExportFolder::Taken::Refuse);
        });
    }

    bool TakesLong() const override { return true; }

    Answer Ask(const std::string& host) const override {
        Answer answer;
        std::string current;
        answer.outcome = Attempt([&] {
            const Headers headers = Read(host, current);
            Tell(headers, folder->Finish(), answer);
        });
        if (answer.outcome.code == lumtools::kDone) return answer;
        const bool isGone = folder->GiveUp();
        if (answer.outcome.code == lumtools::kNotFound && !selectionOptions.IsNarrow())
            answer.outcome = {lumtools::kNothingToDo, {{0, "There is no policy on '" + host + "'."}}};
        if (!current.empty()) answer.outcome.messages.push_back({1, "the policy: " + current});
        if (isGone) answer.outcome.messages.push_back({1, "Nothing was written."});
        return answer;
    }

    /// What was changed on the way is read anew, once: a node that is changed all the time is to be asked later.
    Headers Read(const std::string& host, std::string& current) const {
        const NodeExport::Source source{*forwarder, host, targetId, selections,
                                        [&](const std::string& step) { SetStep(host, step); }};
        for (int attempt = 1;; ++attempt) {
            NodeExport run(source, *folder);
            try {
                return run.Run();
            } catch (const LumPalMsg::Exception_t& e) {
                current = run.GetCurrent();
                if (attempt == kAttempts || !MayBeChange(e)) throw;
            }
        }
    }

    void Tell(const Headers& headers, const std::string& kept, Answer& answer) const {
        answer.fields["folder"] = place;
        if (!kept.empty()) answer.fields["kept"] = kept;
        answer.fields["policies"] = ordered_json::array();
        for (const PolicyHeader& header : headers) answer.fields["policies"].push_back(RowOf(header));
        answer.text = std::to_string(headers.size()) + (headers.size() == 1 ? " policy" : " policies") +
                      " exported to " + lumtools::Printable(place) + "\n";
        if (!kept.empty()) answer.text += "what was there is now " + lumtools::Printable(kept) + "\n";
    }

    static ordered_json RowOf(const PolicyHeader& header) {
        const std::string id = header.GetContainerId().ToUtf8(), type = header.GetTypeName().ToUtf8();
        return {
            {"id", id}, {"name", header.GetName().ToUtf8()}, {"type", type}, {"file", type + "/" + id + "_header.xml"}};
    }

    void AddUnknown(Answer& known) const override {
        if (folder->GiveUp()) known.outcome.messages.push_back({1, "Nothing was written."});
    }

    std::string place, targetId;
    bool force = false;
    lumtools::SelectionOptions selectionOptions;
    lumtools::Selections selections;
    std::unique_ptr<ExportFolder> folder;
    lumtools::Lazy<LumConf::PolicyForwarder> forwarder;
};

}  // namespace

void AddExport(CLI::App& app, Actions& actions) {
    AddCommand<Export>(app, actions, "export", "Write the policies of a node and their data into a new folder");
}

}  // namespace lumpolicy
