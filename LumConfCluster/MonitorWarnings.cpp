#include "MonitorWarnings.h"

#include <vector>

#include "ApplicationImpl.h"
#include "LumConfCluster/ApplicationNames.h"
#include "LumPalLog.h"
#include "Messages.h"
#include "PlainName.h"
#include "Selection.h"

namespace LumConfCluster {

using namespace LumConf;
using LumPalMsg::CreateWarn_t;
using LumPalStr::String_t;

namespace {

bool CanBeSelected(const String_t& name) {
    try {
        Selection().SetPolicyName(name);
        return true;
    } catch (const LumPalMsg::IllegalArgumentError_t&) {
        return false;
    }
}

struct Line {
    LumPalMsg::Message_t message;
    String_t key;
};

using Lines = std::vector<Line>;

void AddDropped(const Applications& applications, Lines& lines) {
    for (const auto& [name, holder] : applications.GetImpl()->dropped) {
        const LumPalMsg::Message_t message =
            holder.IsEmpty() ? CreateWarn_t(
                                   "The application '%1' is not followed: its name is empty, or holds "
                                   "characters of '%2', by which names are kept apart.")
                                   << Shown(name) << ApplicationNames::Mark()
                             : CreateWarn_t(
                                   "The application '%1' is not followed: its name is part of that of '%2', "
                                   "which stands before it in the list of applications.")
                                   << Shown(name) << Shown(holder);
        lines.push_back({message, "dropped\n" + name});
    }
}

template <class T>
NamePairs AlikeIn(const T& list) {
    std::vector<String_t> names;
    for (int i = 0; i < list.Count(); ++i) names.push_back(list[i].GetName());
    return FindAlikeButForCase(names);
}

void AddAlike(const Applications& applications, Lines& lines) {
    for (const auto& [name, first] : AlikeIn(applications)) {
        lines.push_back({CreateWarn_t("The names of the applications '%1' and '%2' differ in nothing but the case: the "
                                      "commands of the second one may run every time that the cluster is asked.")
                             << Shown(first) << Shown(name),
                         "alike\n" + name});
    }
}

void AddAlikeInstances(const Application& application, Lines& lines) {
    const String_t owner = application.GetName();
    for (const auto& [name, first] : AlikeIn(application.GetInstances())) {
        lines.push_back({CreateWarn_t("The names of the instances '%1' and '%2' of the application '%3' differ in "
                                      "nothing but the case: while one of them alone is online on this node, the "
                                      "commands of the second one run every time that the cluster is asked.")
                             << Shown(first) << Shown(name) << Shown(owner),
                         "alike\n" + owner + "\n" + name});
    }
}

}  // namespace

void MonitorWarnings::Say(const LumPalMsg::Message_t& message, const String_t& key) {
    if (said.insert(key).second) LumPalLog::Log(message);
}

void MonitorWarnings::Loaded(const Applications& applications) {
    listed.clear();
    listedByName.clear();
    Lines lines;
    AddDropped(applications, lines);
    AddAlike(applications, lines);
    for (int i = 0; i < applications.Count(); ++i) {
        const Application application = applications[i];
        AddAlikeInstances(application, lines);
        const Strings policies = application.GetPolicyHeaders();
        for (int k = 0; k < policies.Count(); ++k) {
            const String_t name = policies[k], owner = application.GetName();
            if (CanBeSelected(name)) continue;
            Say(Make(msg::TemplateNameWrong, Shown(owner), Shown(name)), "name\n" + owner + "\n" + name);
        }
    }
    for (const Line& line : lines) Say(line.message, line.key);
}

void MonitorWarnings::Wishes::Add(const String_t& application, bool online) {
    if (!Of(online)) Of(online) = application;
}

/// An application that lists some of the same policies and wants the opposite; null without one.
const String_t* MonitorWarnings::WhoListsOtherwise(const ListedPolicy& policy, bool online) {
    const auto wishOf = [&](auto& wishes, const auto& key) -> const String_t* {
        const auto found = wishes.find(key);
        if (found == wishes.end() || !found->second.Of(!online)) return nullptr;
        return &*found->second.Of(!online);
    };
    if (policy.type.IsEmpty()) return wishOf(listedByName, policy.name);
    const String_t* const same = wishOf(listed, std::pair(policy.name, policy.type));
    return same ? same : wishOf(listed, std::pair(policy.name, String_t("")));
}

void MonitorWarnings::Listed(const String_t& application, const String_t& policy, bool online) {
    const ListedPolicy meant = ListedPolicy::Of(policy);
    if (const String_t* const other = WhoListsOtherwise(meant, online)) {
        Say(Make(msg::PolicyFollowsTwo, Shown(policy), Shown(*other), Shown(application)),
            "two\n" + meant.type + ":" + meant.name);
    }
    listed[{meant.name, meant.type}].Add(application, online);
    listedByName[meant.name].Add(application, online);
}

void MonitorWarnings::Grouped(const PolicyRecord& policy) {
    auto found = listed.find({policy.name, ""});
    if (found == listed.end()) found = listed.find({policy.name, policy.typeName});
    if (found == listed.end()) return;
    const Wishes& wishes = found->second;
    Say(Make(msg::PolicyFollowsBoth, Shown(policy.name), Shown(wishes.on ? *wishes.on : *wishes.off)),
        "both\n" + policy.typeName + ":" + policy.name);
}

}  // namespace LumConfCluster
