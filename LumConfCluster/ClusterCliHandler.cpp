#include "LumConfCluster/ClusterCliHandler.h"

#include <algorithm>
#include <iterator>

#include "ClusterListing.h"
#include "Exceptions.h"
#include "InstanceListing.h"
#include "ListingLines.h"
#include "LumConfCluster/ClusterBase.h"
#include "LumConfCluster/ClusterUtil.h"
#include "LumPalRuntime.h"
#include "Messages.h"

namespace LumConfCluster {

using namespace LumConf;
using LumPalMsg::IllegalArgumentError_t;
using LumPalRuntime::App_t;
using LumPalStr::NumToStr;
using LumPalStr::String_t;

namespace {

using eArg = ClusterCliHandler::eArg;

/// An option in its long and its short form; an empty short form is none.
struct Option {
    const char *name, *shortName;
    bool Is(const String_t& word) const { return word == name || (*shortName && word == shortName); }
};

struct FirstOptionRow : Option {
    eArg arg;
};

constexpr FirstOptionRow kOfClusterInfo[]{
    {{"-help", "-h"}, eArg::Help},       {{"-version", ""}, eArg::Version}, {{"-all", "-a"}, eArg::All},
    {{"-cluster", "-c"}, eArg::Cluster}, {{"-node", "-n"}, eArg::Node},     {{"-group", "-g"}, eArg::Group},
};

constexpr FirstOptionRow kOfAppInstance[]{
    {{"-help", "-h"}, eArg::Help},
    {{"-version", ""}, eArg::Version},
    {{"-instance", "-i"}, eArg::Instance},
    {{"-instances", "-is"}, eArg::Instances},
    {{"-activeInstances", "-ai"}, eArg::ActiveInstances},
    {{"-verifyConfig", "-vc"}, eArg::VerifyConfig},
};

// kept: in the third place "-h" asks for the host
constexpr Option kState{"-state", "-st"}, kHost{"-host", "-h"}, kNamespace{"-appNamespace", "-an"};

/// A question, and what answers it.
template <class... Of>
struct Question : Option {
    String_t (*answer)(const Of&... of);
};

constexpr Question<Cluster> kOfCluster[]{
    {{"-type", "-tp"}, [](const Cluster& c) { return String_t(DisplayText(c.GetType())); }},
    {{"-name", "-nm"}, [](const Cluster& c) { return c.GetName(); }},
    {{"-state", "-st"}, [](const Cluster& c) { return String_t(DisplayText(c.GetState())); }},
    {{"-nodes", "-nds"}, [](const Cluster& c) { return JoinedNames(c.GetNodes(), "\n"); }},
    {{"-groups", "-rgs"}, [](const Cluster& c) { return JoinedNames(c.GetGroups(), "\n"); }},
};

constexpr Question<ClusterNode> kOfNode[]{
    {{"-id", ""}, [](const ClusterNode& n) { return NumToStr(int{n.GetId()}); }},
    {{"-state", "-st"}, [](const ClusterNode& n) { return String_t(DisplayText(n.GetState())); }},
};

using Group = ClusterResourceGroup;

constexpr Question<Cluster, Group> kOfGroup[]{
    {{"-id", ""}, [](const Cluster&, const Group& g) { return NumToStr(int{g.GetId()}); }},
    {{"-state", "-st"}, [](const Cluster&, const Group& g) { return String_t(DisplayText(g.GetState())); }},
    {{"-localState", "-ls"}, [](const Cluster&, const Group& g) { return String_t(DisplayText(g.GetLocalState())); }},
    {{"-nodes", "-nds"},
     [](const Cluster& c, const Group& g) { return JoinedNames(c.GetGroupNodes(g.GetName()), "\n"); }},
    {{"-virtualIPAddress", "-vip"}, [](const Cluster&, const Group& g) { return AddressOf(g); }},
    {{"-activeNode", "-an"}, [](const Cluster&, const Group& g) { return g.GetActiveNode().GetName(); }},
};

/// The row of the word. @throws IllegalArgumentError_t 357
template <class Rows>
const auto& Chosen(const Rows& rows, const String_t& word) {
    const auto found =
        std::find_if(std::begin(rows), std::end(rows), [&](const Option& option) { return option.Is(word); });
    if (found == std::end(rows)) Raise<IllegalArgumentError_t>(msg::CliUnknownOption, word);
    return *found;
}

LumPalMsg::CreateMessage_t ClusterInfoUsage() {
    return Make(msg::ClusterInfoUsage, "Usage", "lumclusterinfo", "-h", "-help", "-version", "-a", "-all", "-c",
                "-cluster", "-tp", "-type", "-nm", "-name", "-st", "-state", "-nds", "-nodes", "-rgs", "-groups", "-n",
                "-node", "<node>", "-id", "-st", "-state", "-g", "-group", "<group>", "-id", "-st", "-state", "-ls",
                "-localState", "-nds", "-nodes", "-vip", "-virtualIPAddress", "-an", "-activeNode");
}

LumPalMsg::CreateMessage_t AppInstanceUsage() {
    return Make(msg::AppInstanceUsage, "Usage", "lumappinstance", "-h", "-help", "-version", "-i", "-instance",
                "<instance>", "-st", "-state", "-an", "-appNamespace", "<appNamespace>", "-i", "-instance",
                "<instance>", "-h", "-host", "-an", "-appNamespace", "<appNamespace>", "-is", "-instances", "-an",
                "-appNamespace", "<appNamespace>", "-ai", "-activeInstances", "-an", "-appNamespace", "<appNamespace>",
                "-vc", "-verifyConfig");
}

template <class Rows>
void AddNames(const Rows& rows, std::vector<String_t>& names) {
    for (const Option& option : rows) {
        if (std::find(names.begin(), names.end(), option.name) == names.end()) names.emplace_back(option.name);
    }
}

Applications LoadedApplications() {
    Applications applications;
    applications.LoadConfig();
    return applications;
}

String_t Listed(const Application& application, bool activeOnly) {
    return CollectApplication(application, activeOnly) + CollectInstances(application, activeOnly);
}

String_t ListedAll(const Applications& applications, bool activeOnly) {
    String_t text;
    for (int i = 0; i < applications.Count(); ++i) text += Listed(applications[i], activeOnly);
    return text;
}

int CountInGroup(const Instances& instances, const String_t& group) {
    int count = 0;
    for (int i = 0; i < instances.Count(); ++i) count += instances[i].GetResourceGroup().GetName() == group;
    return count;
}

void Print(const String_t& text) {
    ClusterUtil::I18N_CreateMessage(LumPalMsg::CreateMessage_t(text), false);
}

}  // namespace

ClusterCliHandler::ClusterCliHandler() : argCount(App_t::GetArgCount()), toolName(App_t::GetName()) {}

std::int32_t ClusterCliHandler::Process() {
    const eCli cli = Tool();
    return CheckOptions(cli, FirstOption(cli));
}

ClusterCliHandler::eCli ClusterCliHandler::Tool() const {
    if (toolName == ClusterBase::Get_lumclusterinfo_cli()) return eCli::ClusterInfo;
    if (toolName == ClusterBase::Get_lumappinstance_cli()) return eCli::AppInstance;
    Raise<IllegalArgumentError_t>(msg::CliUnknownTool, toolName);
}

eArg ClusterCliHandler::FirstOption(eCli cli) const {
    if (argCount <= argIndex) return eArg::Help;
    return cli == eCli::ClusterInfo ? Chosen(kOfClusterInfo, Argument(0)).arg : Chosen(kOfAppInstance, Argument(0)).arg;
}

String_t ClusterCliHandler::Argument(std::int32_t place) const {
    return App_t::GetArg(argIndex + place);
}

void ClusterCliHandler::ExpectNoMore() const {
    if (argCount > argIndex + 1) Raise<IllegalArgumentError_t>(msg::CliTrailingOptions, Argument(0));
}

std::int32_t ClusterCliHandler::ShowUsage(eCli cli) const {
    Usage(cli);
    return UsagePrinted;
}

std::int32_t ClusterCliHandler::CheckOptions(eCli cli, eArg arg) const {
    if (arg == eArg::Help || arg == eArg::Version) return TellGeneral(cli, arg);
    return cli == eCli::ClusterInfo ? TellCluster(arg) : TellInstances(arg);
}

std::int32_t ClusterCliHandler::TellGeneral(eCli cli, eArg arg) const {
    ExpectNoMore();
    return arg == eArg::Help ? ShowUsage(cli) : VersionWanted;
}

std::int32_t ClusterCliHandler::TellCluster(eArg arg) const {
    constexpr std::int32_t kOfOne = 3, kOfNamed = 4;
    if (arg == eArg::All) {
        ExpectNoMore();
        Print(ClusterListing(Cluster()));
        return Done;
    }
    if (argCount != (arg == eArg::Cluster ? kOfOne : kOfNamed)) return ShowUsage(eCli::ClusterInfo);
    Print(arg == eArg::Cluster ? ClusterValue() : arg == eArg::Node ? NodeValue() : GroupValue());
    return Done;
}

// In each of these the cluster is made, and the name looked up, before the question is looked at.

String_t ClusterCliHandler::ClusterValue() const {
    const Cluster cluster;
    return Chosen(kOfCluster, Argument(1)).answer(cluster);
}

String_t ClusterCliHandler::NodeValue() const {
    const ClusterNode node = Cluster().GetNodes()[Argument(1)];
    return Chosen(kOfNode, Argument(2)).answer(node);
}

String_t ClusterCliHandler::GroupValue() const {
    const Cluster cluster;
    const ClusterResourceGroup group = cluster.GetGroups()[Argument(1)];
    return Chosen(kOfGroup, Argument(2)).answer(cluster, group);
}

std::int32_t ClusterCliHandler::TellInstances(eArg arg) const {
    if (arg == eArg::Instance) return TellInstance();
    if (arg == eArg::VerifyConfig) return VerifyConfig();
    return ListInstances(arg == eArg::ActiveInstances);
}

void ClusterCliHandler::ExpectNamespaceOption(std::int32_t place) const {
    if (!kNamespace.Is(Argument(place))) Raise<IllegalArgumentError_t>(msg::CliUnknownOption, Argument(place));
}

std::int32_t ClusterCliHandler::TellInstance() const {
    constexpr std::int32_t kOfAny = 4, kOfOne = 6;
    if (argCount != kOfAny && argCount != kOfOne) return ShowUsage(eCli::AppInstance);
    const bool isInstanceState = kState.Is(Argument(2));
    if (!isInstanceState && !kHost.Is(Argument(2))) return ShowUsage(eCli::AppInstance);
    if (argCount == kOfOne) ExpectNamespaceOption(3);
    const String_t appNamespace = argCount == kOfOne ? Argument(4) : String_t::Null();
    Print(GetInstance(LoadedApplications(), appNamespace, Argument(1), isInstanceState));
    return Done;
}

std::int32_t ClusterCliHandler::ListInstances(bool activeOnly) const {
    constexpr std::int32_t kOfAll = 2, kWithoutName = 3, kOfOne = 4;
    if (argCount == kWithoutName) {
        if (kNamespace.Is(Argument(1))) Raise<IllegalArgumentError_t>(msg::CliNamespaceMissing);
        Raise<IllegalArgumentError_t>(msg::CliOptionExpected, kNamespace.shortName, kNamespace.name);
    }
    if (argCount != kOfAll && argCount != kOfOne) return ShowUsage(eCli::AppInstance);
    if (argCount == kOfOne) ExpectNamespaceOption(1);
    const Applications applications = LoadedApplications();
    Print(argCount == kOfOne ? Listed(applications[Argument(2)], activeOnly) : ListedAll(applications, activeOnly));
    return Done;
}

std::int32_t ClusterCliHandler::VerifyConfig() const {
    ExpectNoMore();
    String_t text;
    if (!LoadedApplications().AreAmbiguousInstancesPresent(text)) return Done;
    ClusterUtil::I18N_CreateMessage(Make(msg::AppsWithDuplicates, text), false);
    return DuplicatesFound;
}

void ClusterCliHandler::CheckInstanceDuplicates(const Applications& applications, const String_t& instance) {
    for (int i = 0; i < applications.Count(); ++i) {
        const int count = CountInGroup(applications[i].GetInstances(), instance);
        if (count > 1) Raise<ClusterInstanceException>(msg::InstanceDuplicates, count);
    }
}

std::vector<String_t> ClusterCliHandler::GetOptions(eCli cli) {
    std::vector<String_t> names;
    if (cli == eCli::ClusterInfo) {
        AddNames(kOfClusterInfo, names);
        AddNames(kOfCluster, names);
        AddNames(kOfNode, names);
        AddNames(kOfGroup, names);
    } else {
        AddNames(kOfAppInstance, names);
        AddNames(std::initializer_list<Option>{kState, kHost, kNamespace}, names);
    }
    return names;
}

void ClusterCliHandler::Usage(eCli cli) {
    ClusterUtil::I18N_CreateMessage(cli == eCli::ClusterInfo ? ClusterInfoUsage() : AppInstanceUsage(), false);
}

}  // namespace LumConfCluster
