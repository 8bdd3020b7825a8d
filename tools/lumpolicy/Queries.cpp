// The commands that read: list and show.
#include "Exceptions.h"
#include "LumPalIo.h"
#include "PolicyForwarder.h"
#include "common/Lazy.h"
#include "common/SelectionOptions.h"
#include "common/TableOptions.h"
#include "lumpolicy/Command.h"
#include "lumpolicy/PolicyTable.h"
#include "lumpolicy/PolicyText.h"

namespace lumpolicy {

using LumConf::PolicyContainer;
using LumConf::PolicyForwarder;
using LumConf::PolicyHeader;
using lumtools::SelectionOptions;
using nlohmann::ordered_json;

namespace {

/// A command that lists the selected policies and shows each of them.
class Query : public HostCommand {
protected:
    Query(CLI::App& command, SelectionOptions::Demand demand)
        : HostCommand(command), isDemanded(demand == SelectionOptions::Demand::Yes) {
        selectionOptions.AddTo(command, demand);
        lumtools::AddTargetId(command, targetId);
    }

    virtual void Show(const PolicyContainer& policies, const std::string& host, Answer& answer) const = 0;
    lumtools::Outcome Prepare() override {
        return lumtools::Attempt([&] { selections = selectionOptions.Make(); });
    }

private:
    Answer Ask(const std::string& host) const override {
        Answer answer;
        answer.isBlock = true;
        answer.outcome = lumtools::Attempt([&] { Show(ListWanted(host), host, answer); });
        return answer;
    }

    PolicyContainer ListWanted(const std::string& host) const {
        try {
            return ListSome(*forwarder, host, selections, targetId);
        } catch (const LumConf::NoPoliciesInstalledError&) {
            // A selection finds nothing then; all policies of the node are none.
            if (selectionOptions.IsNarrow() || isDemanded) throw;
            return {};
        }
    }

    const bool isDemanded;
    SelectionOptions selectionOptions;
    lumtools::Selections selections;
    std::string targetId;
    lumtools::Lazy<PolicyForwarder> forwarder;
};

class List : public Query {
public:
    explicit List(CLI::App& command) : Query(command, SelectionOptions::Demand::No) {
        const std::string group = "How they are shown";
        lumtools::AddForms(command, output, {"table", "wide", "name", "json"},
                           "table, wide (all columns, whole), name (TYPE:NAME), or json")
            ->group(group);
        command.add_option("--sort-by", form.sortBy, "type, name, version, status, owner, categories or id")
            ->group(group)
            ->type_name("KEY")
            ->check(CLI::IsMember(SortKeys()));
        command.add_flag("--no-headers", noHeaders, "Leave the line of headings out")->group(group);
    }

private:
    lumtools::Outcome Prepare() override {
        json = json || output == "json";
        form.kind = output == "wide"   ? ListForm::Kind::Wide
                    : output == "name" ? ListForm::Kind::Name
                                       : ListForm::Kind::Table;
        form.hasHeader = !noHeaders;
        form.hasHosts = AsksMany();
        return Query::Prepare();
    }

    bool IsShownTogether() const override { return true; }

    void Show(const PolicyContainer& policies, const std::string&, Answer& answer) const override {
        answer.fields["policies"] = ordered_json::array();
        for (int i = 0; i < policies.GetCount(); ++i) {
            answer.fields["policies"].push_back(ToJson(policies.GetPolicyHeader(i)));
        }
        if (json) Sort(answer.fields["policies"], form.sortBy);  // a table is sorted when all nodes have answered
    }

    /// Without any node that answered there is nothing to be headed.
    std::string ShowTogether(const std::vector<std::pair<std::string, const Answer*>>& answers) const override {
        std::vector<ListedNode> nodes;
        for (const auto& [host, answer] : answers) {
            if (answer->fields.contains("policies")) nodes.emplace_back(host, answer->fields["policies"]);
        }
        return nodes.empty() ? "" : ListText(nodes, form);
    }

    std::string output = "table";
    bool noHeaders = false;
    ListForm form;
};

/// What only the node's own store tells, as far as the caller may read it.
struct StoredPart {
    std::string text;
    ordered_json fields;
};

/// The listed policies in the node's own store, as far as they can be read. All are looked for at once: one after
/// another would be a look into each type's folder for each of them.
PolicyContainer FindStored(const PolicyContainer& listed) {
    LumPalStr::String_t ids;
    for (int i = 0; i < listed.GetCount(); ++i) {
        if (i > 0) ids += " ";
        ids += listed.GetPolicyHeader(i).GetContainerId();
    }
    const PolicyContainer store;
    lumtools::Attempt([&] { store.CheckPolicy(ids); });
    return store;
}

PolicyHeader ReadHeader(const PolicyContainer& store, const LumPalStr::String_t& id) {
    try {
        return store.GetPolicyHeader(id);
    } catch (const LumConf::PolicyNotFoundError&) {
        store.CheckPolicy(PolicyContainer::Options().SetPolicyId(id));
        return store.GetPolicyHeader(id);
    }
}

StoredPart ReadStored(const PolicyContainer& store, const PolicyHeader& listed) {
    const PolicyHeader header = ReadHeader(store, listed.GetContainerId());
    StoredPart part;
    part.fields["version_id"] = header.GetVersionId().ToUtf8();
    part.fields["signer"] = ToJson(LumConf::PolicySigner::Of(header));
    part.fields["data_files"] = ordered_json::array();
    part.text = "version id:   " + lumtools::Printable(header.GetVersionId().ToUtf8()) + "\n";
    part.text += "signer:       " + lumtools::Printable(SignerOf(header)) + "\n";
    for (int i = 0; i < header.GetDataFileCount(); ++i) {
        const std::string name = header.GetDataFile(i).ToUtf8(), encoding = header.GetDataFileEncoding(i).ToUtf8();
        part.fields["data_files"].push_back({{"name", name}, {"encoding", encoding}});
        part.text += "data file:    " + lumtools::Printable(name + " (" + encoding + ")") + "\n";
    }
    return part;
}

class ShowPolicies : public Query {
public:
    explicit ShowPolicies(CLI::App& command) : Query(command, SelectionOptions::Demand::Yes) {}

private:
    /// @param store  null on another node than this one
    static void ShowOne(const PolicyHeader& header, const PolicyContainer* store, Answer& answer) {
        ordered_json fields = ToJson(header);
        answer.text += (answer.text.empty() ? "" : "\n") + FieldsOf(header);
        if (store) {
            const auto read = lumtools::Attempt([&] {
                const StoredPart part = ReadStored(*store, header);
                fields.update(part.fields);
                answer.text += part.text;
            });
            if (read.code != lumtools::kDone) answer.text += "(the node's store cannot be read by this user)\n";
        }
        answer.fields["policies"].push_back(fields);
    }

    void Show(const PolicyContainer& policies, const std::string& host, Answer& answer) const override {
        answer.fields["policies"] = ordered_json::array();
        const bool isHere = host == "localhost";
        const PolicyContainer store = isHere ? FindStored(policies) : PolicyContainer();
        for (int i = 0; i < policies.GetCount(); ++i) {
            ShowOne(policies.GetPolicyHeader(i), isHere ? &store : nullptr, answer);
        }
    }
};

}  // namespace

void AddQueries(CLI::App& app, Actions& actions) {
    AddCommand<List>(app, actions, "list", "List installed policies; all of them unless told otherwise");
    AddCommand<ShowPolicies>(app, actions, "show", "Show policies in full; on the node itself also their data files");
}

}  // namespace lumpolicy
