#include "NodesByName.h"

#include <gtest/gtest.h>

#include "ClusterNodeImpl.h"
#include "Exceptions.h"
#include "Raised.h"

namespace {

using namespace LumConfCluster;

TEST(NodesByName, AreAskedForWhenTheFirstIsWantedAndOnce) {
    int asked = 0;
    NodesByName nodes([&] {
        ++asked;
        ClusterNodes all;
        all.GetImpl()->Add(NodeOf("north", 1, NodeState::Online));
        all.GetImpl()->Add(NodeOf("NORTH", 2, NodeState::Offline));
        return all;
    });
    EXPECT_EQ(asked, 0);
    EXPECT_EQ(nodes["North"].GetId(), 1) << "the first one, whatever its case";
    EXPECT_EQ(nodes["NORTH"].GetState(), NodeState::Online);
    EXPECT_EQ(nodes.Find("north").GetId(), 1);
    EXPECT_EQ(nodes.Find("South").GetName(), "");
    EXPECT_EQ(asked, 1);
    const auto messages = MessagesOf<LumConf::ClusterNoNodeException>([&] { nodes["South"]; });
    EXPECT_EQ(LumPalStr::String_t(messages), "><No such element [South] in the collection.");
}

TEST(NodesByName, AFailureIsPassedOnAndTheNextOneAsksAgain) {
    int asked = 0;
    NodesByName nodes([&] {
        if (++asked == 1) LumConf::Raise<LumConf::ClusterException>(LumConf::msg::ToolFailed);
        return ClusterNodes();
    });
    EXPECT_RAISES(nodes["north"], LumConf::ClusterException, 335);
    EXPECT_RAISES(nodes["north"], LumConf::ClusterNoNodeException, 0);
    EXPECT_EQ(asked, 2);
}

}  // namespace
