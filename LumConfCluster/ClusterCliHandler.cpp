#include "LumConfCluster/ClusterCliHandler.h"

#include <algorithm>
#include <iterator>

#include "ClusterListing.h"
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

constexpr FirstOptionRow kFirstOptions[]{
    {{"-help", "-h"}, eArg::Help},       {{"-version", ""}, eArg::Version}, {{"-all", "-a"}, eArg::All},
    {{"-cluster", "-c"}, eArg::Cluster}, {{"-node", "-n"}, eArg::Node},     {{"-group", "-g"}, eArg::Group},
};

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

String_t AddressOf(const ClusterResourceGroup& group) {
    const String_t address = group.GetVirtualIP();
    return address.IsEmpty() ? "None " : address;  // kept: the blank is there
}

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

void Print(const String_t& text) {
    ClusterUtil::I18N_CreateMessage(LumPalMsg::CreateMessage_t(text), false);
}

}  // namespace

ClusterCliHandler::ClusterCliHandler() : argCount(App_t::GetArgCount()), toolName(App_t::GetName()) {}

std::int32_t ClusterCliHandler::Process() {
    if (toolName != ClusterBase::Get_lumclusterinfo_cli()) Raise<IllegalArgumentError_t>(msg::CliUnknownTool, toolName);
    return CheckOptions(eCli::ClusterInfo, FirstOption());
}

eArg ClusterCliHandler::FirstOption() const {
    return argCount <= argIndex ? eArg::Help : Chosen(kFirstOptions, Argument(0)).arg;
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
    constexpr std::int32_t kOfOne = 3, kOfNamed = 4;
    switch (arg) {
        case eArg::Help:
            ExpectNoMore();
            return ShowUsage(cli);
        case eArg::Version:
            ExpectNoMore();
            return VersionWanted;
        case eArg::All:
            ExpectNoMore();
            Print(ClusterListing(Cluster()));
            return Done;
        case eArg::Cluster:
            if (argCount != kOfOne) return ShowUsage(cli);
            Print(ClusterValue());
            return Done;
        case eArg::Node:
            if (argCount != kOfNamed) return ShowUsage(cli);
            Print(NodeValue());
            return Done;
        case eArg::Group:
            if (argCount != kOfNamed) return ShowUsage(cli);
            Print(GroupValue());
            return Done;
    }
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

void ClusterCliHandler::Usage(eCli) {
    ClusterUtil::I18N_CreateMessage(
        Make(msg::ClusterInfoUsage, "Usage", "lumclusterinfo", "-h", "-help", "-version", "-a", "-all", "-c",
             "-cluster", "-tp", "-type", "-nm", "-name", "-st", "-state", "-nds", "-nodes", "-rgs", "-groups", "-n",
             "-node", "<node>", "-id", "-st", "-state", "-g", "-group", "<group>", "-id", "-st", "-state", "-ls",
             "-localState", "-nds", "-nodes", "-vip", "-virtualIPAddress", "-an", "-activeNode"),
        false);
}

}  // namespace LumConfCluster
