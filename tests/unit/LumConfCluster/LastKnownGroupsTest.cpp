#include "LastKnownGroups.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "CapturedLog.h"
#include "ClusterResourceGroupImpl.h"
#include "TempRoot.h"

namespace {

using namespace LumConfCluster;
using std::chrono::seconds;

struct Told {
    const char* name;
    RGState state;
    bool isSettled = true;
};

ClusterResourceGroups Groups(const std::vector<Told>& all) {
    const ClusterResourceGroups groups;
    for (const Told& told : all) {
        const ClusterResourceGroup group;
        group.GetImpl()->name = told.name;
        group.GetImpl()->state = told.state;
        group.GetImpl()->isSettled = told.isSettled;
        groups.GetImpl()->Add(group);
    }
    return groups;
}

class LastKnown : public testing::Test {
protected:
    /// "web Online, db Offline"
    std::string See(const std::vector<Told>& told, seconds later = seconds(1)) {
        now += later;
        const ClusterResourceGroups settled = known.Settle(Groups(told), now);
        std::string text;
        for (int i = 0; i < settled.Count(); ++i) {
            text +=
                (text.empty() ? "" : ", ") + settled[i].GetName().ToUtf8() + " " + DisplayText(settled[i].GetState());
        }
        return text;
    }

    LastKnownGroups known;
    LastKnownGroups::Moment now{};
};

constexpr Told kWebUnknown{"web", RGState::Unknown, false};

TEST_F(LastKnown, AGroupThatIsNotSettledCountsAsItWasAndTheOthersAsTheyAre) {
    EXPECT_EQ(See({{"web", RGState::Online}, {"db", RGState::Offline}}), "web Online, db Offline");
    EXPECT_EQ(See({kWebUnknown, {"db", RGState::Online}}), "web Online, db Online");
    EXPECT_EQ(See({{"db", RGState::Online}, kWebUnknown}), "db Online, web Online") << "in their order";
    EXPECT_EQ(See({{"web", RGState::Offline}}), "web Offline");
    EXPECT_EQ(See({kWebUnknown}), "web Offline");
}

TEST_F(LastKnown, AnUnknownStateThatIsSettledCounts) {
    See({{"web", RGState::Online}});
    EXPECT_EQ(See({{"web", RGState::Unknown}}), "web Unknown");
    EXPECT_EQ(See({kWebUnknown}), "web Unknown");
}

TEST_F(LastKnown, OneThatNeverWasSettledIsAsItIsTold) {
    EXPECT_EQ(See({kWebUnknown}), "web Unknown");
    See({{"web", RGState::Online}});
    See({{"db", RGState::Online}});
    EXPECT_EQ(See({kWebUnknown}), "web Unknown") << "what was gone in between is another one";
}

TEST_F(LastKnown, BehindAMinuteWhatIsToldCountsWithOneWarning) {
    const TempRoot root;
    const CapturedLog log(root.Native());
    See({{"web", RGState::Online}});
    EXPECT_EQ(See({kWebUnknown}, seconds(30)), "web Online");
    EXPECT_EQ(See({kWebUnknown}, seconds(30)), "web Online");
    EXPECT_EQ(log.Text(), "");
    EXPECT_EQ(See({kWebUnknown}), "web Unknown");
    EXPECT_EQ(See({kWebUnknown}), "web Unknown");
    EXPECT_NE(log.Text().find("has not told for '60' seconds whether the group 'web' runs"), std::string::npos);
    EXPECT_EQ(log.Text().find("'web'"), log.Text().rfind("'web'")) << "once";
    EXPECT_EQ(See({{"web", RGState::Online}}), "web Online");
    EXPECT_EQ(See({kWebUnknown}), "web Online");
}

}  // namespace
