#include "Reported.h"

#include <gtest/gtest.h>

#include <new>

#include "Raised.h"

namespace {

using namespace LumConfCluster;
using namespace LumConf;

TEST(Reported, WhatIsNoExceptionOfOursHasAMessageOfItsOwn) {
    const auto runsOutOfMemory = []() -> int { throw std::bad_alloc(); };
    const auto throwsANumber = []() -> int { throw 7; };
    const auto fails = []() -> int { Raise<ClusterException>(msg::ToolFailed); };
    EXPECT_EQ(Reported(msg::RhasStateNotRead, msg::RhasStateFailed, [] { return 7; }), 7);
    EXPECT_RAISES(Reported(msg::RhasStateNotRead, msg::RhasStateFailed, runsOutOfMemory), ClusterException, 221);
    EXPECT_RAISES(Reported(msg::ClusterNodesNotRead, msg::RhasNodesFailed, throwsANumber), ClusterException, 225);
    EXPECT_RAISES(Reported(msg::ClusterGroupsNotRead, msg::RhasGroupsFailed, throwsANumber), ClusterException, 232);
    const auto messages =
        MessagesOf<ClusterException>([&] { Reported(msg::RhasStateNotRead, msg::RhasStateFailed, fails); });
    EXPECT_EQ(messages.GetMessage(0).GetId(), 220u);
    EXPECT_EQ(messages.GetMessage(0).GetDetails().GetMessage(0).GetId(), 335u);
}

}  // namespace
