// The command explain.
#include "Exceptions.h"
#include "PolicyContainer.h"
#include "common/Arguments.h"
#include "common/TableOptions.h"
#include "lumcluster/Command.h"
#include "lumcluster/Follower.h"
#include "lumcluster/Look.h"
#include "lumcluster/Reasons.h"

namespace lumcluster {

using LumConf::PolicyContainer;
using LumConf::PolicyHeader;
using lumtools::Text;
using nlohmann::ordered_json;

namespace {

class ExplainPolicy : public LocalCommand {
public:
    explicit ExplainPolicy(CLI::App& command) : LocalCommand(command) {
        command.add_option("POLICY", wanted, "Its id, its name, or its type and name as TYPE:NAME")
            ->required()
            ->check(IsGiven);
        tableOptions.AddTo(command, json);
    }

private:
    bool IsPrintable() const override { return true; }

    void Work(Answer& answer) const override {
        const PolicyContainer store;
        ReadStore(store, answer);
        const std::vector<PolicyHeader> policies = Wanted(store);
        if (policies.empty()) throw LumConf::PolicyNotFoundError(NotThere());
        const Keys keys = Keys::Read();
        const Sight sight = Look(keys, nullptr);
        const Follower follower = Follower::Read();
        const std::vector<std::string> obstacles = Obstacles(follower, keys, sight);
        answer.fields["schema"] = kSchema;
        answer.fields["monitor"] = ToJson(follower, keys);
        answer.fields["policies"] = ordered_json::array();
        for (const PolicyHeader& policy : policies) Tell(policy, sight, obstacles, answer);
        for (const Problem& problem : sight.problems) AddFailure(problem, answer);
    }

    /// Headers that cannot be read are told, and leave the others.
    void ReadStore(const PolicyContainer& store, Answer& answer) const {
        LumPalMsg::MessageList_t problems;
        try {
            store.CheckPolicy();
        } catch (const LumConf::PolicyFileException& e) {
            problems = e.GetMessageList();
        }
        TellProblems(problems, answer);
    }

    std::vector<PolicyHeader> Wanted(const PolicyContainer& store) const {
        std::vector<PolicyHeader> found;
        const LumPalStr::String_t id = Text(wanted).ToLower();
        for (int i = 0; i < store.GetCount(); ++i) {
            const PolicyHeader policy = store.GetPolicyHeader(i);
            if (policy.GetContainerId() == id) return {policy};
            if (policy.GetName() == Text(wanted) || Means(wanted, policy)) found.push_back(policy);
        }
        return found;
    }

    void Tell(const PolicyHeader& policy, const Sight& sight, const std::vector<std::string>& obstacles,
              Answer& answer) const {
        const Explanation explanation = Explain(policy, sight, HasAddress);
        std::vector<std::string> all = obstacles;
        if (!explanation.brokenBy.empty()) all.push_back(explanation.brokenBy);
        answer.text += (answer.text.empty() ? "" : "\n") + TextOf(explanation, all, tableOptions.GetLayout());
        answer.fields["policies"].push_back(ToJson(explanation, all));
    }

    /// What is told rests on less than it should.
    static void AddFailure(const Problem& problem, Answer& answer) {
        if (answer.outcome.code == lumtools::kDone) answer.outcome = problem.outcome;
    }

    LumPalMsg::CreateMessage_t NotThere() const {
        return LumPalMsg::CreateError_t("No policy with the id or name '%1' is installed on this node.")
               << Text(wanted);
    }

    lumtools::TableOptions tableOptions;
    std::string wanted;
};

}  // namespace

void AddExplain(CLI::App& app, Actions& actions) {
    AddCommand<ExplainPolicy>(app, actions, "explain", "Tell why a policy is on or off on this node");
}

}  // namespace lumcluster
