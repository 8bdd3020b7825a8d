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
    listings.clear();
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

void MonitorWarnings::Listed(const String_t& application, const String_t& policy, bool online) {
    const auto [found, isNew] = listings.try_emplace(policy, Listing{application, online});
    if (isNew || found->second.online == online) return;
    Say(Make(msg::PolicyFollowsTwo, Shown(policy), Shown(found->second.application), Shown(application)),
        "two\n" + policy);
}

void MonitorWarnings::Grouped(const PolicyRecord& policy) {
    auto found = listings.find(policy.name);
    if (found == listings.end()) found = listings.find(policy.typeName + ":" + policy.name);
    if (found == listings.end()) return;
    Say(Make(msg::PolicyFollowsBoth, Shown(policy.name), Shown(found->second.application)), "both\n" + found->first);
}

}  // namespace LumConfCluster
