// What lumcluster asks the tools of a cluster for.
#include "lumcluster/Look.h"

#include <gmock/gmock.h>

#include "MonitoredNode.h"

namespace {

using lumcluster::Addresses;
using lumcluster::GroupAnswers;
using lumcluster::Problem;
using std::chrono::seconds;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kAddressCall = "hares -value web_ip Address";

class LookAtACluster : public MonitoredNode {
protected:
    lumcluster::Sight Look(Addresses* addresses) { return lumcluster::Look(lumcluster::Keys::Read(), addresses); }
    std::string AddressOfWeb() {
        for (const lumcluster::GroupFacts& group : Look(&addresses).groups) {
            if (group.name == "web") return group.address.value_or("?");
        }
        return "no group";
    }
    std::size_t Asked() const { return cluster.tools.Count(kAddressCall); }
    GroupAnswers Answers() { return AskOfGroups(Look(nullptr), 16); }
    std::vector<std::string> Unanswered(std::size_t most = 16) {
        std::vector<std::string> questions;
        for (const Problem& problem : AskOfGroups(Look(nullptr), most).failed) questions.push_back(problem.what);
        return questions;
    }

    std::chrono::steady_clock::time_point now;
    Addresses addresses{[this] { return now; }};
};

TEST_F(LookAtACluster, AnAddressIsAskedForAgainWhenItsGroupHasMovedAndEveryMinute) {
    EXPECT_EQ(AddressOfWeb(), "10.0.0.7");
    now += seconds(59);
    EXPECT_EQ(AddressOfWeb(), "10.0.0.7");
    EXPECT_EQ(Asked(), 1u) << "nothing has changed";
    cluster.tools.Answer(kAddressCall, "10.0.0.8\n");
    now += seconds(1);
    EXPECT_EQ(AddressOfWeb(), "10.0.0.8") << "it is a minute old";
    cluster.tools.Answer(kAddressCall, "10.0.0.9\n");
    Move("web", "north");
    EXPECT_EQ(AddressOfWeb(), "10.0.0.9") << "another node";
    cluster.tools.Answer(kAddressCall, "10.0.0.10\n");
    cluster.tools.Answer("hagrp -value web State", "|OFFLINE|\n");
    Move("web", "");
    EXPECT_EQ(AddressOfWeb(), "10.0.0.10") << "another state";
    EXPECT_EQ(Asked(), 4u);
}

TEST_F(LookAtACluster, AnAddressThatCannotBeHadIsAskedForEachTime) {
    cluster.tools.Answer(kAddressCall, "", 1);
    EXPECT_EQ(AddressOfWeb(), "?");
    cluster.tools.Answer(kAddressCall, "10.0.0.7\n");
    EXPECT_EQ(AddressOfWeb(), "10.0.0.7");
}

TEST_F(LookAtACluster, AnAnswerThatIsEmptySinceItsToolFailsIsSeenAsEmpty) {
    EXPECT_THAT(Answers().withoutAddress, ElementsAre("db"));
    EXPECT_THAT(Answers().withoutNodes, IsEmpty());
    cluster.tools.Answer("hares -display web_ip -attribute Address -type IP", "", 1);
    EXPECT_THAT(Answers().withoutAddress, ElementsAre("web", "db"));
    cluster.tools.Answer("hagrp -value web SystemList", "\n");
    EXPECT_THAT(Answers().withoutNodes, ElementsAre("web"));
    EXPECT_THAT(Unanswered(), IsEmpty());
}

TEST_F(LookAtACluster, EachQuestionOfAGroupThatFailsIsNamed) {
    EXPECT_THAT(Unanswered(), IsEmpty());
    cluster.tools.Answer("hagrp -resources web", "", 1);
    EXPECT_THAT(Unanswered(), ElementsAre("address of the group 'web'"));
    cluster.tools.Answer("hagrp -value db SystemList", "", 1);
    EXPECT_THAT(Unanswered(), ElementsAre("address of the group 'web'", "nodes of the group 'db'"));
    EXPECT_THAT(Unanswered(1), ElementsAre("address of the group 'web'"));
    EXPECT_THAT(Unanswered(0), IsEmpty());
    LetClusterGoDown();
    EXPECT_THAT(Unanswered(), IsEmpty()) << "that is told by the look";
}

}  // namespace
