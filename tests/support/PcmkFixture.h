/// @file
/// The fixture of the tests of Pacemaker's adapter.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "Exceptions.h"
#include "LumConfCluster/Cluster.h"
#include "PcmkNode.h"
#include "Raised.h"

namespace LumConfCluster {

/// A node of a simulated cluster, and what is asked of it.
class Pcmk : public testing::Test {
protected:
    ClusterResourceGroup GroupOf(const std::string& elements) {
        node.SetResources(elements);
        return Cluster().GetGroups()[0];
    }
    /// What the innermost detail says.
    static std::string Reason(LumPalMsg::MessageList_t messages) {
        std::string text;
        for (; messages.GetMessageCount() > 0; messages = messages.GetMessage(0).GetDetails())
            text = messages.GetMessage(0).GetMessageText().ToUtf8();
        return text;
    }
    std::string WhyNoGroups() {
        return Reason(MessagesOf<LumConf::ClusterException>([] { Cluster().GetGroups(); }));
    }

    PcmkNode node;
    ToolScripts& tools = node.tools;
};

}  // namespace LumConfCluster
