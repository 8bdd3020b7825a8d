#include "MonitorWarnings.h"

#include "LumPalLog.h"
#include "Messages.h"
#include "PlainName.h"
#include "Selection.h"

namespace LumConfCluster {

using namespace LumConf;
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

}  // namespace

void MonitorWarnings::Say(const LumPalMsg::Message_t& message, const String_t& key) {
    if (said.insert(key).second) LumPalLog::Log(message);
}

void MonitorWarnings::Loaded(const Applications& applications) {
    listed.clear();
    listedByName.clear();
    for (int i = 0; i < applications.Count(); ++i) {
        const Application application = applications[i];
        const Strings policies = application.GetPolicyHeaders();
        for (int k = 0; k < policies.Count(); ++k) {
            const String_t name = policies[k], owner = application.GetName();
            if (CanBeSelected(name)) continue;
            Say(Make(msg::TemplateNameWrong, Shown(owner), Shown(name)), "name\n" + owner + "\n" + name);
        }
    }
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
