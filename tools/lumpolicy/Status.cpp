// The command status.
#include "LumVoxSoap.h"
#include "PolicyForwarder.h"
#include "common/Arguments.h"
#include "common/Lazy.h"
#include "common/NodeStatusText.h"
#include "common/TableOptions.h"
#include "lumpolicy/Command.h"
#include "lumpolicy/StatusTable.h"

namespace lumpolicy {

using LumConf::NodeStatus;
using LumConf::PolicyForwarder;
using lumtools::Text;

namespace {

class Status : public HostCommand {
public:
    explicit Status(CLI::App& command) : HostCommand(command) {
        lumtools::AddTargetId(command, targetId);
        lumtools::AddForms(command, form, {"text", "table", "wide", "json"},
                           "text (of one node), table (of several), wide (all columns, whole), or json");
        command.add_flag("--no-headers", noHeaders, "Leave the line of headings out");
    }

private:
    lumtools::Outcome Prepare() override {
        json = json || form == "json";
        if (form.empty()) form = AsksMany() ? "table" : "text";
        return {};
    }

    bool IsShownTogether() const override { return form != "text"; }

    std::string ShowTogether(const std::vector<std::pair<std::string, const Answer*>>& answers) const override {
        lumtools::TableLayout layout = lumtools::TableLayout::ForOutput();
        const bool isWide = form == "wide";
        if (isWide) layout.columns = 0;
        layout.hasHeader = !noHeaders;
        return StatusTable(answers, isWide, layout);
    }

    Answer Ask(const std::string& host) const override {
        Answer answer;
        answer.isBlock = true;
        NodeStatus status;
        answer.outcome = lumtools::Attempt([&] { status = AskNode(host); });
        if (answer.outcome.code != lumtools::kDone) return answer;
        answer.text = lumtools::TextOf(status);
        answer.fields = lumtools::ToJson(status);
        answer.outcome = lumtools::Judge(status);
        return answer;
    }

    NodeStatus AskNode(const std::string& host) const try {
        return forwarder->GetStatus(Text(host), Text(targetId));
    } catch (const LumVoxSoap::SOAPFaultException& e) {
        throw LumVoxSoap::SOAPFaultException(
            LumPalMsg::CreateError_t("The node does not tell its status: it is of an older version.")
                .AddDetails(e.GetMessageList()));
    }

    std::string targetId, form;
    bool noHeaders = false;
    lumtools::Lazy<PolicyForwarder> forwarder;
};

}  // namespace

void AddStatus(CLI::App& app, Actions& actions) {
    AddCommand<Status>(app, actions, "status", "Tell how nodes fare");
}

}  // namespace lumpolicy
