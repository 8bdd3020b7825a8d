// The commands that change selected policies. Each is a row of one table.
#include <set>
#include <sstream>

#include "PolicyForwarder.h"
#include "ReturnValue.h"
#include "common/Arguments.h"
#include "common/Lazy.h"
#include "common/LockOut.h"
#include "common/SelectionOptions.h"
#include "common/Table.h"
#include "lumpolicy/Changed.h"
#include "lumpolicy/Command.h"
#include "lumpolicy/DocumentWarnings.h"
#include "lumpolicy/PolicyText.h"
#include "lumpolicy/SharedFiles.h"
#include "lumpolicy/ToolsGuard.h"

namespace lumpolicy {

using LumConf::PolicyContainer;
using LumConf::PolicyForwarder;
using LumConf::PolicyHeader;
using LumConf::Selection;
using LumPalStr::String_t;
using lumtools::SelectionOptions;
using lumtools::SplitPair;
using lumtools::Text;

namespace {

/// What a request needs beside the node.
struct Request {
    std::string argument;
    Selection selection;
    PolicyForwarder::Options options;
};

std::string Trimmed(const std::string& text) {
    return String_t(Text(text)).Trim().ToUtf8();
}

/// Takes white space off the front alone.
std::string WithoutLead(const std::string& text) {
    std::string trimmed = Trimmed(text + "|");
    trimmed.pop_back();
    return trimmed;
}

/// As a node does it: blanks part words, other white space does not, but a word begins with none.
std::vector<std::string> WordsOf(const std::string& text) {
    std::vector<std::string> words;
    std::istringstream pieces(Trimmed(text));
    for (std::string piece; std::getline(pieces, piece, ' ');) {
        const std::string word = WithoutLead(piece);
        if (!word.empty()) words.push_back(word);
    }
    return words;
}

std::set<std::string> CategorySet(const PolicyHeader& header) {
    std::set<std::string> categories;
    for (int i = 0; i < header.GetCategoryCount(); ++i) categories.insert(header.GetCategory(i).ToUtf8());
    return categories;
}

bool HasAttribute(const PolicyHeader& header, const std::string& pair) {
    const auto [name, value] = SplitPair(pair);
    for (int i = 0; i < header.GetAttributesCount(); ++i) {
        const auto attribute = header.GetAttribute(i);
        if (attribute.GetName().ToUtf8() == name && attribute.GetValue().ToUtf8() == value) return true;
    }
    return false;
}

/// Those of the words that the policy has, or has not.
std::string Matching(const PolicyHeader& header, const std::string& words, bool wanted) {
    const std::set<std::string> categories = CategorySet(header);
    std::string matching;
    for (const std::string& word : WordsOf(words)) {
        if ((categories.count(word) > 0) == wanted) matching += (matching.empty() ? "" : " ") + word;
    }
    return matching;
}

std::string Unless(bool nothing, const std::string& change) {
    return nothing ? "" : change;
}

/// One command. `change` says what it would do to a policy, as the node lists it; empty for nothing.
struct Row {
    const char *name, *help, *argument, *argumentHelp, *done;
    unsigned right;
    void (*send)(const PolicyForwarder&, const String_t& host, const Request&);
    std::string (*change)(const PolicyHeader&, const std::string& argument);
    /// What it does to settings policies, for one that changes what they come to.
    void (LumConfPar::SettingsMerge::*imagine)(const String_t& ids) = nullptr;
};

const Row kRows[] = {
    {"remove", "Remove installed policies", nullptr, nullptr, "removed from ", LumConf::RightRemove,
     [](const PolicyForwarder& f, const String_t& host, const Request& r) { f.Remove(host, r.selection, r.options); },
     [](const PolicyHeader&, const std::string&) { return std::string("remove"); }, &LumConfPar::SettingsMerge::Remove},
    {"enable", "Enable disabled policies", nullptr, nullptr, "enabled on ", LumConf::RightEnable,
     [](const PolicyForwarder& f, const String_t& host, const Request& r) { f.Enable(host, r.selection, r.options); },
     [](const PolicyHeader& h, const std::string&) { return Unless(!h.IsDisabled(), "enable"); },
     &LumConfPar::SettingsMerge::Enable},
    {"disable", "Disable enabled policies", nullptr, nullptr, "disabled on ", LumConf::RightDisable,
     [](const PolicyForwarder& f, const String_t& host, const Request& r) { f.Disable(host, r.selection, r.options); },
     [](const PolicyHeader& h, const std::string&) { return Unless(!h.IsEnabled(), "disable"); },
     &LumConfPar::SettingsMerge::Disable},
    {"set-owner", "Give policies to an owner; an empty one takes the owner away", "OWNER", "The new owner",
     "set the owner on ", LumConf::RightModify,
     [](const PolicyForwarder& f, const String_t& host, const Request& r) {
         f.SetOwner(host, Text(r.argument), r.selection, r.options);
     },
     [](const PolicyHeader& h, const std::string& owner) {
         return Unless(h.GetOwner().ToUtf8() == owner,
                       "change the owner '" + h.GetOwner().ToUtf8() + "' to '" + owner + "' of");
     }},
    {"add-category", "Put policies into categories", "CATEGORY", "A category; blanks part several in one word",
     "added categories on ", LumConf::RightModify,
     [](const PolicyForwarder& f, const String_t& host, const Request& r) {
         f.AddCategory(host, Text(r.argument), r.selection, r.options);
     },
     [](const PolicyHeader& h, const std::string& words) {
         const std::string added = Matching(h, words, false);
         return Unless(added.empty(), "add '" + added + "' to");
     }},
    {"remove-category", "Take policies out of categories", "CATEGORY", "A category; blanks part several in one word",
     "removed categories on ", LumConf::RightModify,
     [](const PolicyForwarder& f, const String_t& host, const Request& r) {
         f.RemoveCategory(host, Text(r.argument), r.selection, r.options);
     },
     [](const PolicyHeader& h, const std::string& words) {
         const std::string taken = Matching(h, words, true);
         return Unless(taken.empty(), "take '" + taken + "' from");
     }},
    {"clear-categories", "Take policies out of all categories", nullptr, nullptr, "cleared the categories on ",
     LumConf::RightModify,
     [](const PolicyForwarder& f, const String_t& host, const Request& r) {
         f.RemoveAllCategories(host, r.selection, r.options);
     },
     [](const PolicyHeader& h, const std::string&) {
         return Unless(h.GetCategoryCount() == 0, "take '" + CategoriesOf(h) + "' from");
     }},
    {"add-attribute", "Give policies an attribute", "NAME=VALUE", "The attribute", "added the attribute on ",
     LumConf::RightModify,
     [](const PolicyForwarder& f, const String_t& host, const Request& r) {
         f.AddAttribute(host, Text(SplitPair(r.argument).first), Text(SplitPair(r.argument).second), r.selection,
                        r.options);
     },
     [](const PolicyHeader& h, const std::string& pair) {
         // A node trims what it adds, and not what it takes away.
         const auto [name, value] = SplitPair(pair);
         return Unless(HasAttribute(h, Trimmed(name) + "=" + Trimmed(value)), "add '" + pair + "' to");
     }},
    {"remove-attribute", "Take an attribute from policies", "NAME=VALUE", "The attribute", "removed the attribute on ",
     LumConf::RightModify,
     [](const PolicyForwarder& f, const String_t& host, const Request& r) {
         f.RemoveAttribute(host, Text(SplitPair(r.argument).first), Text(SplitPair(r.argument).second), r.selection,
                           r.options);
     },
     [](const PolicyHeader& h, const std::string& pair) {
         return Unless(!HasAttribute(h, pair), "take '" + pair + "' from");
     }},
    {"clear-attributes", "Take all attributes from policies", nullptr, nullptr, "cleared the attributes on ",
     LumConf::RightModify,
     [](const PolicyForwarder& f, const String_t& host, const Request& r) {
         f.RemoveAllAttributes(host, r.selection, r.options);
     },
     [](const PolicyHeader& h, const std::string&) {
         return Unless(h.GetAttributesCount() == 0, "take all attributes from");
     }},
};

class Change : public HostCommand {
public:
    Change(CLI::App& command, const Row& row) : HostCommand(command), row(row) {
        if (row.argument) command.add_option(row.argument, words, row.argumentHelp)->required()->expected(1);
        selectionOptions.AddTo(command, SelectionOptions::Demand::Yes);
        idOption = command.get_option("--id");
        command.add_flag("-n,--dry-run", dryRun,
                         "Show what would change, as the node lists its policies; change nothing");
        command.add_flag("--no-notify", noNotify, "Queue the notification of consumers; 'lumpolicy notify' sends it");
        if (row.imagine) command.add_flag("--force", force, "Also what locks the node's own tools out");
        lumtools::AddTargetId(command, targetId);
    }

private:
    lumtools::Outcome Prepare() override {
        CheckPair();
        request.argument = words;
        request.options.SetNotify(!noNotify).SetTargetID(Text(targetId));
        return lumtools::Attempt([&] {
            selections = selectionOptions.Make();
            request.selection = selections.GetFirst();
        });
    }

    /// An attribute without "=" would be sent with an empty value, which nobody means; none has an empty name.
    void CheckPair() const {
        if (row.argument && std::string(row.argument) == "NAME=VALUE" && words.find('=', 1) == std::string::npos) {
            throw CLI::ValidationError("'" + words + "' is no attribute: give NAME=VALUE");
        }
    }

    bool ChangesNodes() const override { return !dryRun; }
    unsigned GetRight() const override { return row.right; }

    Answer Ask(const std::string& host) const override {
        Answer refused;
        LumPalMsg::MessageList_t shared;
        refused.outcome = GuardTools(host);
        if (refused.outcome.code == lumtools::kDone && IsRemoval()) refused.outcome = WarnOfShared(host, shared);
        if (refused.outcome.code != lumtools::kDone) return refused;
        Answer answer = !dryRun && !selections.IsOne() ? SendEach(host) : SendWhole(host);
        if (!dryRun && !answer.fields.contains("changed")) answer.fields["changed"] = WasChanged(answer.outcome);
        if (IsOfStatus()) TellOddStatus(host, answer);
        if (IsRemoval()) FillWarnings(answer.fields, shared);
        return answer;
    }

    /// The node is asked which ones are meant where it has settings policies at all.
    lumtools::Outcome GuardTools(const std::string& host) const {
        if (force || !row.imagine) return {};
        return lumtools::Attempt([&] {
            lumtools::RequireTools(host, targetId, [&](LumConfPar::SettingsMerge& merge) {
                if (merge.GetPolicies().GetCount() == 0) return;
                const String_t ids = SettingsIdsAmong(ListSome(*forwarder, host, selections, targetId));
                if (!ids.IsEmpty()) (merge.*row.imagine)(ids);
            });
        });
    }

    bool IsRemoval() const { return row.right == LumConf::RightRemove; }

    /// Of data files that other policies lose. @return done, or unreachable
    lumtools::Outcome WarnOfShared(const std::string& host, LumPalMsg::MessageList_t& warnings) const {
        SetQuestion(host, "which data files it has");
        lumtools::Outcome asked;
        lumtools::Attempt([&] { asked = AskOfRemoval(*forwarder, host, selections, targetId, warnings); });
        Warn(warnings);
        return asked;
    }

    bool IsOfStatus() const { return row.right == LumConf::RightEnable || row.right == LumConf::RightDisable; }

    /// To a node such a policy is neither on nor off, so that there is nothing to switch.
    void TellOddStatus(const std::string& host, Answer& answer) const {
        lumtools::Outcome& outcome = answer.outcome;
        const bool isIdle = outcome.code == lumtools::kNothingToDo;
        const bool isDone = outcome.code == lumtools::kDone || outcome.code == lumtools::kUntold;
        // One policy that was switched had the other status.
        if (!isIdle && (!isDone || (idOption->count() > 0 && !dryRun))) return FillWarnings(answer.fields, {});
        const LumPalMsg::MessageList_t odd = FindOddStatus(host);
        if (isIdle) {
            for (const auto& line : lumtools::LinesOf(odd)) outcome.messages.push_back({line.level + 1, line.text});
        } else {
            Warn(odd);
        }
        FillWarnings(answer.fields, isIdle ? LumPalMsg::MessageList_t() : odd);
    }

    LumPalMsg::MessageList_t FindOddStatus(const std::string& host) const {
        constexpr int mostTold = 10;
        PolicyContainer policies;
        SetStep(host, "which policies have another status");
        lumtools::Attempt([&] { policies = ListSome(*forwarder, host, selections, targetId); });
        LumPalMsg::MessageList_t odd;
        for (int i = 0; i < policies.GetCount() && odd.GetMessageCount() < mostTold; ++i) {
            const PolicyHeader header = policies.GetPolicyHeader(i);
            if (header.IsEnabled() || header.IsDisabled()) continue;
            odd.Add(
                LumPalMsg::CreateWarn_t("%1 has the status '%2', which is neither 'enabled' nor 'disabled'. Install "
                                        "it again: 'lumpolicy install --force-state --%3 FILE'.")
                << Text(NameOf(header)) << header.GetStatus() << row.name);
        }
        return odd;
    }

    Answer SendWhole(const std::string& host) const {
        SetStep(host, row.name);
        Answer answer;
        answer.outcome = lumtools::Attempt([&] {
            if (dryRun) {
                Foresee(host, answer);
            } else {
                row.send(*forwarder, Text(host), request);
                answer.text = row.done + host + "\n";
            }
        });
        if (dryRun) lumtools::EndDryRun(host, answer);
        return answer;
    }

    /// A request has one selection: several become one request for each policy that all of them mean.
    Answer SendEach(const std::string& host) const {
        SetQuestion(host, "which policies it has");
        PolicyContainer policies;
        Answer answer;
        answer.outcome = lumtools::Attempt([&] { policies = ListSome(*forwarder, host, selections, targetId); });
        if (answer.outcome.code != lumtools::kDone) return answer;
        AddKnown(host, [](Answer& known) { known.fields["policies"] = nlohmann::ordered_json::array(); });
        std::vector<lumtools::Outcome> outcomes;
        for (int i = 0; i < policies.GetCount(); ++i) {
            SetStep(host, std::string(row.name) + ", " + std::to_string(i) + " of " +
                              std::to_string(policies.GetCount()) + " policies");
            outcomes.push_back(SendOne(host, policies.GetPolicyHeader(i)));
            if (outcomes.back().code == lumtools::kUnreachable) break;
        }
        answer = GetKnown(host);
        answer.fields["changed"] = WasAnyChanged(outcomes);
        answer.outcome = Joined(outcomes);
        if (answer.outcome.code == lumtools::kDone) answer.text = row.done + host + "\n";
        return answer;
    }

    lumtools::Outcome SendOne(const std::string& host, const PolicyHeader& policy) const {
        Request one = request;
        one.selection.SetPolicyId(policy.GetContainerId());
        const auto outcome = lumtools::Attempt([&] { row.send(*forwarder, Text(host), one); });
        AddKnown(host, [&](Answer& known) {
            known.fields["policies"].push_back({{"id", policy.GetContainerId().ToUtf8()},
                                                {"result", outcome.Word()},
                                                {"code", static_cast<int>(outcome.code)}});
        });
        return outcome;
    }

    static nlohmann::ordered_json WasAnyChanged(const std::vector<lumtools::Outcome>& outcomes) {
        nlohmann::ordered_json whole = false;
        for (const lumtools::Outcome& one : outcomes) JoinChanged(WasChanged(one), whole);
        return whole;
    }

    /// A failure counts for all; that there was nothing to do only when there was for none.
    static lumtools::Outcome Joined(const std::vector<lumtools::Outcome>& outcomes) {
        lumtools::Outcome joined{lumtools::kNothingToDo, {}};
        for (const lumtools::Outcome& one : outcomes) {
            const bool isIdle = one.code == lumtools::kNothingToDo;
            const bool isBetter = joined.code == lumtools::kNothingToDo || joined.code == lumtools::kDone;
            if (isBetter && !isIdle) joined = {one.code, joined.messages, true, one.message, one.isUnanswered};
            if (!isIdle) joined.messages.insert(joined.messages.end(), one.messages.begin(), one.messages.end());
        }
        if (joined.code == lumtools::kNothingToDo) joined.messages = outcomes.front().messages;
        return joined;
    }

    void Foresee(const std::string& host, Answer& answer) const {
        lumtools::BeginDryRun(answer);
        const auto policies = ListSome(*forwarder, host, selections, targetId);
        for (int i = 0; i < policies.GetCount(); ++i) {
            const PolicyHeader header = policies.GetPolicyHeader(i);
            const std::string change = row.change(header, request.argument);
            if (change.empty()) continue;
            answer.fields["changes"].push_back({{"id", header.GetContainerId().ToUtf8()},
                                                {"name", header.GetName().ToUtf8()},
                                                {"type", header.GetTypeName().ToUtf8()},
                                                {"change", change}});
            answer.text += "would " + lumtools::Printable(change) + " " + NameOf(header) + "\n";
        }
    }

    const Row& row;
    SelectionOptions selectionOptions;
    const CLI::Option* idOption = nullptr;
    std::string words, targetId;
    bool noNotify = false, dryRun = false, force = false;
    lumtools::Selections selections;
    Request request;
    lumtools::Lazy<PolicyForwarder> forwarder;
};

}  // namespace

void AddChanges(CLI::App& app, Actions& actions) {
    for (const Row& row : kRows) {
        AddCommand<Change>(app, actions, row.name, row.help, row);
    }
}

}  // namespace lumpolicy
