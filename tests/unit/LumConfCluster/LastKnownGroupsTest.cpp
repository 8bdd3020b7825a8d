#include "LastKnownGroups.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "CapturedLog.h"
#include "ClusterNodeImpl.h"
#include "ClusterResourceGroupImpl.h"
#include "TempRoot.h"

namespace {

using namespace LumConfCluster;
using LumPalStr::String_t;
using std::chrono::seconds;

struct Told {
    const char* name;
    RGState state;
    const char* node = "";
    std::vector<String_t> mayBeOn = {};
};

ClusterResourceGroups Groups(const std::vector<Told>& all) {
    const ClusterResourceGroups groups;
    for (const Told& told : all) {
        const ClusterResourceGroup group;
        group.GetImpl()->name = told.name;
        group.GetImpl()->state = told.state;
        group.GetImpl()->mayBeOn = told.mayBeOn;
        group.GetImpl()->activeNode = NodeOf(told.node, 1, NodeState::Online);
        groups.GetImpl()->Add(group);
    }
    return groups;
}

class LastKnown : public testing::Test {
protected:
    /// "web Online@a, db Offline"
    std::string See(const std::vector<Told>& told, seconds later = seconds(1)) {
        now += later;
        const ClusterResourceGroups settled = known.Settle(Groups(told), now);
        std::string text;
        for (int i = 0; i < settled.Count(); ++i) {
            const std::string node = settled[i].GetActiveNode().GetName().ToUtf8();
            text += (text.empty() ? "" : ", ") + settled[i].GetName().ToUtf8() + " " +
                    DisplayText(settled[i].GetState()) + (node.empty() ? "" : "@" + node);
        }
        return text;
    }

    const Told onA{"web", RGState::Online, "a"}, mayBeOnA{"web", RGState::Unknown, "", {"b", "a"}},
        mayBeOnB{"web", RGState::Unknown, "", {"b"}}, offline{"web", RGState::Offline};
    const TempRoot root;
    const CapturedLog log{root.Native()};
    LastKnownGroups known;
    LastKnownGroups::Moment now{};
};

TEST_F(LastKnown, OneThatMayStillBeWhereItWasCountsAsItWasAndTheOthersAsTheyAre) {
    const Told db{"db", RGState::Offline}, dbOnB{"db", RGState::Online, "b"};
    EXPECT_EQ(See({onA, db}), "web Online@a, db Offline");
    EXPECT_EQ(See({mayBeOnA, dbOnB}), "web Online@a, db Online@b");
    EXPECT_EQ(See({dbOnB, mayBeOnA}), "db Online@b, web Online@a") << "in their order";
    EXPECT_EQ(See({{"web", RGState::Online, "b"}}), "web Online@b");
    EXPECT_EQ(See({offline}), "web Offline");
    EXPECT_EQ(See({mayBeOnA}), "web Unknown") << "it did not run";
}

TEST_F(LastKnown, OneThatIsKnownToHaveLeftItsNodeIsOffThereWhereverElseItMayBe) {
    See({onA});
    EXPECT_EQ(See({mayBeOnB}), "web Unknown");
    EXPECT_EQ(See({mayBeOnA}), "web Unknown") << "what was given up does not come back by a doubt";
}

TEST_F(LastKnown, AnUnknownStateThatIsSettledCounts) {
    See({onA});
    EXPECT_EQ(See({{"web", RGState::Unknown}}), "web Unknown");
}

TEST_F(LastKnown, OneThatNeverWasSettledIsAsItIsTold) {
    EXPECT_EQ(See({mayBeOnA}), "web Unknown");
    See({onA});
    See({{"db", RGState::Online, "a"}});
    EXPECT_EQ(See({mayBeOnA}), "web Unknown") << "what was gone in between is another one";
}

TEST_F(LastKnown, AMinuteBehindTheFirstDoubtWhatIsToldCountsWithOneWarning) {
    See({onA});
    EXPECT_EQ(See({mayBeOnA}, seconds(3600)), "web Online@a") << "however long ago it was seen";
    EXPECT_EQ(See({mayBeOnA}, seconds(60)), "web Online@a");
    EXPECT_EQ(log.Text(), "");
    EXPECT_EQ(See({mayBeOnA}), "web Unknown");
    EXPECT_EQ(See({mayBeOnA}), "web Unknown");
    EXPECT_NE(log.Text().find("not known for '60' seconds whether the group 'web' still runs on 'a'"),
              std::string::npos);
    EXPECT_EQ(log.Text().find("'web'"), log.Text().rfind("'web'")) << "once";
    EXPECT_EQ(See({onA}), "web Online@a");
    EXPECT_EQ(See({mayBeOnA}), "web Online@a");
}

TEST_F(LastKnown, EachGroupHasItsOwnMinute) {
    const Told dbOnA{"db", RGState::Online, "a"}, dbMayBeOnA{"db", RGState::Unknown, "", {"a"}};
    See({onA, dbOnA});
    See({mayBeOnA, dbOnA});
    EXPECT_EQ(See({mayBeOnA, dbMayBeOnA}, seconds(61)), "web Unknown, db Online@a");
}

}  // namespace
