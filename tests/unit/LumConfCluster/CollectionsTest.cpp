#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "ClusterNodeImpl.h"
#include "ClusterResourceGroupImpl.h"
#include "LumConfCluster/ClusterNodes.h"
#include "LumConfCluster/ClusterResourceGroups.h"
#include "LumConfCluster/Strings.h"
#include "Raised.h"
#include "StringsImpl.h"
#include "TraceLines.h"

namespace {

using namespace LumConfCluster;
using LumPalStr::String_t;

ClusterNode Node(const char* name, std::uint16_t id = 1, NodeState state = NodeState::Online) {
    const ClusterNode node;
    node.GetImpl()->name = name;
    node.GetImpl()->id = id;
    node.GetImpl()->state = state;
    return node;
}

ClusterResourceGroup Group(const char* name, std::uint16_t id = 1) {
    const ClusterResourceGroup group;
    group.GetImpl()->name = name;
    group.GetImpl()->id = id;
    return group;
}

template <class E, class Action>
std::string TextOf(Action&& action) {
    return String_t(MessagesOf<E>(action)).ToUtf8();
}

TEST(ClusterNode, IsEmptyAtFirst) {
    const ClusterNode node;
    EXPECT_EQ(node.GetName(), "");
    EXPECT_EQ(node.GetId(), 0);
    EXPECT_EQ(node.GetState(), NodeState::Unknown);
    EXPECT_EQ(node.GetType(), NodeType::Default);
}

TEST(ClusterNode, EqualsByNameIdAndState) {
    EXPECT_TRUE(Node("a") == Node("a"));
    EXPECT_FALSE(Node("NODE1") == Node("node1"));
    EXPECT_FALSE(Node("a", 1) == Node("a", 2));
    EXPECT_FALSE(Node("a", 1, NodeState::Online) == Node("a", 1, NodeState::Offline));
    const ClusterNode other = Node("a");
    other.GetImpl()->type = static_cast<NodeType>(3);
    EXPECT_TRUE(other == Node("a")) << "the type takes no part";
}

TEST(ClusterResourceGroup, IsEmptyAtFirst) {
    const ClusterResourceGroup group;
    EXPECT_EQ(group.GetName(), "");
    EXPECT_EQ(group.GetId(), 0);
    EXPECT_EQ(group.GetState(), RGState::Unknown);
    EXPECT_EQ(group.GetLocalState(), RGState::Unknown);
    EXPECT_TRUE(group.GetActiveNode() == ClusterNode());
}

TEST(ClusterResourceGroup, AsksForItsAddressOnlyWhileItIsNotKnown) {
    const ClusterResourceGroup group = Group("g");
    EXPECT_LT(group.GetImpl()->virtualIPKnown, 0);
    // No cluster is here: whoever asks hears so.
    EXPECT_THROW(group.GetVirtualIP(), LumConf::ClusterException);
    EXPECT_LT(group.GetImpl()->virtualIPKnown, 0) << "the next call tries again";
    group.GetImpl()->virtualIP = String_t::Null();
    group.GetImpl()->virtualIPKnown = 0;
    EXPECT_TRUE(group.GetVirtualIP().IsNull()) << "a null text was fetched";
    group.GetImpl()->virtualIP = "10.0.0.7";
    group.GetImpl()->virtualIPKnown = 1;
    EXPECT_EQ(group.GetVirtualIP(), "10.0.0.7");
}

TEST(ClusterResourceGroup, EqualsByNameAndIdWhateverTheStates) {
    const ClusterResourceGroup online = Group("g");
    online.GetImpl()->state = online.GetImpl()->localState = RGState::Online;
    EXPECT_TRUE(online == Group("g"));
    EXPECT_FALSE(Group("g") == Group("G"));
    EXPECT_FALSE(Group("g", 1) == Group("g", 2));
}

TEST(ClusterCollections, AnEmptyListHoldsNothing) {
    const ClusterNodes nodes;
    EXPECT_EQ(nodes.Count(), 0);
    EXPECT_EQ(TextOf<LumConf::ClusterNoNodeException>([&] { nodes[0]; }), "><Index is out of range.");
    EXPECT_EQ(TextOf<LumConf::ClusterNoNodeException>([&] { nodes[-1]; }), "><Index is out of range.");
    EXPECT_EQ(TextOf<LumConf::ClusterNoNodeException>([&] { nodes["Some"]; }),
              "><No such element [Some] in the collection.");
}

TEST(ClusterCollections, ElementsAreFoundByIndex) {
    const ClusterNodes nodes;
    nodes.GetImpl()->Add(Node("b"));
    nodes.GetImpl()->Add(Node("a"));
    ASSERT_EQ(nodes.Count(), 2);
    EXPECT_EQ(nodes[0].GetName(), "b");
    EXPECT_EQ(nodes[1].GetName(), "a");
    for (const int index : {-1, 2, 2147483647, -2147483647 - 1}) {
        EXPECT_EQ(TextOf<LumConf::ClusterNoNodeException>([&] { nodes[index]; }), "><Index is out of range.");
    }
}

TEST(ClusterCollections, ElementsAreFoundByNameInAnyCaseTheFirstOfSeveral) {
    const ClusterNodes nodes;
    nodes.GetImpl()->Add(Node("node1", 1));
    nodes.GetImpl()->Add(Node("NODE1", 2));
    EXPECT_EQ(nodes["NODE1"].GetId(), 1);
    EXPECT_EQ(nodes["node1"].GetId(), 1);
    EXPECT_EQ(nodes.Count(), 2) << "names may come twice";
    EXPECT_EQ(TextOf<LumConf::ClusterNoNodeException>([&] { nodes["NODE11"]; }),
              "><No such element [NODE11] in the collection.")
        << "the name as it was given";
    EXPECT_EQ(TextOf<LumConf::ClusterNoNodeException>([&] { nodes[""]; }), "><No such element [] in the collection.");
}

TEST(ClusterCollections, NamesOfOtherScriptsMatchInAnyCase) {
    const ClusterResourceGroups groups;
    groups.GetImpl()->Add(Group("x"));
    const ClusterResourceGroup umlaut;
    umlaut.GetImpl()->name = u"\u00C4RGER";
    groups.GetImpl()->Add(umlaut);
    EXPECT_EQ(groups[String_t(u"\u00E4rger")].GetName(), String_t(u"\u00C4RGER"));
}

TEST(ClusterCollections, EachListHasItsOwnException) {
    EXPECT_EQ(TextOf<LumConf::ClusterNoGroupException>([] { ClusterResourceGroups()[0]; }), "><Index is out of range.");
    EXPECT_EQ(TextOf<LumConf::ClusterNoGroupException>([] { ClusterResourceGroups()["g"]; }),
              "><No such element [g] in the collection.");
    EXPECT_EQ(TextOf<LumConf::ClusterNoStringException>([] { Strings()[0]; }), "><Index is out of range.");
    EXPECT_EQ(TextOf<LumConf::ClusterNoStringException>([] { StringsImpl().At(String_t("s")); }),
              "><No such element [s] in the collection.");
}

TEST(ClusterCollections, AFailedLookUpHasNoNumberAndIsTraced) {
    const TraceLines traced;
    const auto messages = MessagesOf<LumConf::ClusterNoNodeException>([] { ClusterNodes()["x"]; });
    EXPECT_EQ(messages.GetMessage(0).GetId(), 0u);
    EXPECT_EQ(messages.GetMessage(0).GetSeverity(), LumPalMsg::Severity_e::Error);
    EXPECT_TRUE(traced.Contains("><No such element [x] in the collection."));
}

TEST(Strings, GiveTheIndexOfWhatIsAdded) {
    Strings texts;
    EXPECT_EQ(texts.Count(), 0);
    EXPECT_EQ(texts.Add("a"), 0);
    EXPECT_EQ(texts.Add("a"), 1);
    EXPECT_EQ(texts[1], "a");
}

TEST(ClusterHandles, CopiesShareOneList) {
    const ClusterNodes one;
    const ClusterNodes other = one;
    one.GetImpl()->Add(Node("a"));
    EXPECT_EQ(other.Count(), 1);
    Strings texts, more;
    more = texts;
    texts.Add("t");
    EXPECT_EQ(more.Count(), 1);
}

TEST(ClusterHandles, AssigningAHandleToItselfChangesNothing) {
    ClusterNode node = Node("a");
    const ClusterNode& same = node;
    node = same;
    EXPECT_EQ(node.GetName(), "a");
    EXPECT_EQ(node.GetImpl()->GetRefCount(), 1);
}

TEST(ClusterHandles, AHandleThatWasMovedFromIsStillWhole) {
    ClusterNode node = Node("a");
    const ClusterNode moved = std::move(node);
    EXPECT_EQ(node.GetName(), "a");
    EXPECT_EQ(moved.GetName(), "a");
}

TEST(ClusterHandles, MayBeCopiedAndDroppedInSeveralThreads) {
    const ClusterNodes nodes;
    nodes.GetImpl()->Add(Node("a"));
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([nodes] {
                for (int round = 0; round < 2000; ++round) {
                    const ClusterNodes copy = nodes;
                    const ClusterNode node = copy[0];
                    ASSERT_EQ(node.GetName(), "a");
                }
            });
        }
    }
    EXPECT_EQ(nodes.GetImpl()->GetRefCount(), 1);
    EXPECT_EQ(nodes[0].GetImpl()->GetRefCount(), 2) << "the list's and this one";
}

TEST(ClusterStates, HaveTheirTexts) {
    EXPECT_STREQ(DisplayText(ClusterState::Unknown), "Unknown");
    EXPECT_STREQ(DisplayText(ClusterState::Up), "Up");
    EXPECT_STREQ(DisplayText(ClusterState::Down), "Down");
    for (const int value : {0, 1, 2}) {
        const char* const text = value == 0 ? "Unknown" : value == 1 ? "Online" : "Offline";
        EXPECT_STREQ(DisplayText(static_cast<NodeState>(value)), text);
        EXPECT_STREQ(DisplayText(static_cast<RGState>(value)), text);
        EXPECT_STREQ(DisplayText(static_cast<InstanceState>(value)), text);
    }
    EXPECT_STREQ(DisplayText(static_cast<RGState>(3)), "Unknown");
    EXPECT_STREQ(DisplayText(static_cast<RGState>(-1)), "Unknown");
}

}  // namespace
