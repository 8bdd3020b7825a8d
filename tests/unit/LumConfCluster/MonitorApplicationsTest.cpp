// Policies and commands follow the applications that are configured.
#include "Exceptions.h"
#include "LumPalDaemon.h"
#include "MonitoredNode.h"
#include "Raised.h"
#include "TraceLines.h"

namespace {

using LumConf::ClusterException;
using Applications = std::vector<TestApplication>;

class MonitorApplications : public MonitoredNode {
protected:
    MonitorApplications() {
        for (const char* id : {"a", "b"}) Install(id);
    }
    ~MonitorApplications() override { LumPalRuntime::SetStopping(false); }
    /// One application with one instance of web, which lists the policy a.
    TestApplication Shop() const { return {"shop", {{"one", "web"}}, {"a"}, {Note("start")}, {Note("stop")}}; }
};

TEST_F(MonitorApplications, AGroupThatComesHereRunsItsStartCommandsOnceAndEnablesItsPolicies) {
    Write({Shop()});
    Begin();
    Step();
    EXPECT_EQ(StatusOf("a"), "disabled");
    EXPECT_EQ(StatusOf("b"), "enabled") << "nobody lists it";
    EXPECT_EQ(Notes(), "") << "it was away before";
    Move("web", "north");
    Step();
    EXPECT_EQ(StatusOf("a"), "enabled");
    EXPECT_EQ(StoredStatusOf("a"), "enabled");
    EXPECT_EQ(Notes(), "start one\n");
    for (int i = 0; i < 3; ++i) Step();
    EXPECT_EQ(Notes(), "");
    EXPECT_EQ(StatusOf("a"), "enabled");
}

TEST_F(MonitorApplications, AGroupThatLeavesRunsItsStopCommandsOnceAndDisablesItsPolicies) {
    Write({Shop()});
    Move("web", "north");
    Begin();
    Step();
    Move("web", "south");
    Step();
    EXPECT_EQ(StatusOf("a"), "disabled");
    EXPECT_EQ(Notes(), "stop one\n");
    Step();
    EXPECT_EQ(Notes(), "");
    Move("web", "");
    Step();
    EXPECT_EQ(Notes(), "") << "from elsewhere to nowhere is no news here";
}

TEST_F(MonitorApplications, AnApplicationThatIsOnlineAtTheStartHasItsPoliciesCorrectedAndNoCommandRuns) {
    Install("a", {}, "disabled");
    Write({Shop()});
    Move("web", "north");
    Begin();
    Step();
    EXPECT_EQ(StatusOf("a"), "enabled");
    EXPECT_EQ(Notes(), "");
}

TEST_F(MonitorApplications, OperatorsAreToldOfEachComingAndGoing) {
    Write({Shop()});
    Begin();
    Move("web", "north");
    Step();
    Move("web", "");
    Step();
    Step();
    EXPECT_EQ(CountOf(log.Text(),
                      "The instance 'one' of the application 'shop' has come to this node: its 1 start "
                      "command(s) are run."),
              1);
    EXPECT_EQ(CountOf(log.Text(),
                      "The instance 'one' of the application 'shop' has left this node: its 1 stop "
                      "command(s) are run."),
              1);
}

TEST_F(MonitorApplications, OnlyTheFirstPlaceOfTheNameIsFilledInEachCommand) {
    TestApplication shop = Shop();
    shop.starts = {"/bin/sh -c \"echo $instanceName $instanceName x$instanceName &gt;&gt; " + NotesPath() + "; echo\"",
                   "/bin/sh -c \"echo none &gt;&gt; " + NotesPath() + "; echo\"", Note("last")};
    Write({shop});
    Begin();
    Move("web", "north");
    Step();
    EXPECT_EQ(Notes(), "one x\nnone\nlast one\n") << "the shell that the test runs knows no such variable";
}

TEST_F(MonitorApplications, NoShellIsInvolvedUnlessACommandIsOne) {
    TestApplication shop = Shop();
    shop.instances = {{"one;touch " + NotesPath() + ";$(touch " + NotesPath() + ")", "web"}};
    shop.starts = {"/bin/echo $instanceName &gt; " + NotesPath()};
    Write({shop});
    Begin();
    Move("web", "north");
    Step();
    EXPECT_FALSE(std::filesystem::exists(NotesPath()));
    EXPECT_FALSE(log.Holds("has failed"));
}

TEST_F(MonitorApplications, ACommandThatFailsIsToldAndStopsNeitherTheNextOneNorThePolicies) {
    TestApplication shop = Shop();
    shop.starts = {"/bin/sh -c \"exit 3\"",
                   "/no/such/program $instanceName",
                   "/bin/echo \"open quote",
                   "",
                   "/bin/true",
                   Note("last")};
    Write({shop});
    Begin();
    Move("web", "north");
    Step();
    EXPECT_EQ(Notes(), "last one\n");
    EXPECT_EQ(StatusOf("a"), "enabled");
    EXPECT_EQ(CountOf(log.Text(), "A command of an application has failed"), 4) << log.Text();
    EXPECT_TRUE(log.Holds("A command of an application has failed: /no/such/program one"));
    EXPECT_TRUE(log.Holds("Execute command failed. Child returned '3'."));
}

TEST_F(MonitorApplications, ACommandTakesAsLongAsItLikesUnlessItsOwnKeyLimitsIt) {
    TestApplication shop = Shop();
    shop.starts = {"/bin/sh -c \"sleep 1.2; echo slow &gt;&gt; " + NotesPath() + "\""};
    shop.stops = {"/bin/sh -c \"sleep 1000\"", Note("after")};
    Write({shop});
    Begin();
    Configure("conf.cluster", "TOOL_TIMEOUT", "1");
    Move("web", "north");
    Step();
    EXPECT_EQ(Notes(), "slow\n") << "the limit of tools is not one of commands";
    Configure("conf.cluster", "COMMAND_TIMEOUT", "1");
    Move("web", "");
    Step();
    EXPECT_EQ(Notes(), "after one\n");
    EXPECT_TRUE(log.Holds("The command took longer than '1' seconds, the limit COMMAND_TIMEOUT: /bin/sh -c"))
        << log.Text();
}

TEST_F(MonitorApplications, WhatACommandLeavesRunningStays) {
    TestApplication shop = Shop();
    shop.starts = {"/bin/sh -c \"sleep 1000 &amp; echo $! &gt;&gt; " + NotesPath() + "\""};
    Write({shop});
    Begin();
    Move("web", "north");
    Step();
    Step();
    const pid_t service = std::stoi(Notes());
    EXPECT_EQ(kill(service, 0), 0);
    kill(service, SIGKILL);
}

TEST_F(MonitorApplications, TheSameNameInTwoGroupsIsToldApartByTheGroup) {
    TestApplication shop = Shop();
    shop.instances = {{"one", "web"}, {"one", "db"}};
    shop.starts = {"/bin/sh -c \"echo start &gt;&gt; " + NotesPath() + "; echo\""};
    Write({shop});
    Move("web", "north");
    Begin();
    Step();
    EXPECT_EQ(Notes(), "");
    Move("db", "north");
    Step();
    EXPECT_EQ(Notes(), "start\n") << "one of them came";
    Step();
    EXPECT_EQ(Notes(), "");
    Move("web", "south");
    Step();
    EXPECT_EQ(Notes(), "stop one\n") << "the other one left";
    EXPECT_EQ(StatusOf("a"), "enabled") << "one is still here";
    Move("web", "north");
    Move("db", "");
    Step();
    EXPECT_EQ(Notes(), "start\nstop one\n") << "they swap";
}

TEST_F(MonitorApplications, ANameThatBecomesAmbiguousIsLookedUpByItsNameForOneCycle) {
    Write({Shop()});
    Move("web", "north");
    Begin();
    Step();
    TestApplication shop = Shop();
    shop.instances = {{"one", "web"}, {"one", "db"}};
    Write({shop});
    Step();
    EXPECT_EQ(Notes(), "stop one\n") << "kept: in the former look its name alone was looked up, and that was online";
    Step();
    EXPECT_EQ(Notes(), "");
}

TEST_F(MonitorApplications, ANewInstanceAndANewApplicationThatAreOnlineAreStarted) {
    Write({Shop()});
    Move("web", "north");
    Move("db", "north");
    Begin();
    Step();
    TestApplication shop = Shop(), second = {"store", {{"main", "db"}}, {"b"}, {Note("open")}};
    shop.instances.push_back({"two", "db"});
    Write({shop, second});
    Step();
    EXPECT_EQ(Notes(), "start two\nopen main\n");
    Write({shop});
    Step();
    EXPECT_EQ(Notes(), "") << "what the configuration does not name any more is not stopped";
}

TEST_F(MonitorApplications, AnApplicationWithoutInstancesLeavesItsPoliciesAlone) {
    TestApplication none{"none", {}, {"a"}};
    Write({none});
    for (const char* status : {"enabled", "disabled"}) {
        Install("a", {}, status);
        Begin();
        Step();
        EXPECT_EQ(StatusOf("a"), status);
    }
}

TEST_F(MonitorApplications, APolicyThatIsNotInstalledIsPassedOver) {
    TestApplication shop = Shop();
    shop.policies = {"missing", "a", "other:a", "b"};
    Write({shop});
    Begin();
    Step();
    EXPECT_EQ(StatusOf("a"), "disabled");
    EXPECT_EQ(StatusOf("b"), "disabled");
    EXPECT_EQ(log.Text(), "");
}

TEST_F(MonitorApplications, EveryPolicyOfTheNameIsMeantOfWhateverType) {
    TestPolicy twin;
    twin.id = "twin";
    twin.name = "a";
    twin.type = "others";
    node.Install(twin);
    Write({Shop()});
    Begin();
    Step();
    EXPECT_EQ(StatusOf("a"), "disabled");
    EXPECT_EQ(StatusOf("twin"), "disabled");
    TestApplication shop = Shop();
    shop.policies = {"others:a"};
    Write({shop});
    Move("web", "north");
    Step();
    EXPECT_EQ(StatusOf("a"), "disabled");
    EXPECT_EQ(StatusOf("twin"), "enabled") << "a type may be named";
}

TEST_F(MonitorApplications, WithoutAnyPolicyTheCommandsRunAllTheSame) {
    for (const char* id : {"a", "b"}) node.Remove(LumConf::Selection().SetPolicyId(id));
    Write({Shop()});
    Begin();
    Move("web", "north");
    Step();
    EXPECT_EQ(Notes(), "start one\n");
    EXPECT_TRUE(running);
}

TEST_F(MonitorApplications, ApplicationsThatCannotBeReadToTheEndCountAsFarAsTheyWereRead) {
    TestApplication store{"store", {{"main", "web"}}, {"b"}, {}, {Note("close")}};
    Write({Shop(), store});
    Move("web", "north");
    Begin();
    Step();
    store.instances = {{"main", "no such group"}};
    Write({Shop(), store});
    Move("web", "");
    Step();
    EXPECT_EQ(Notes(), "stop one\n");
    EXPECT_EQ(StatusOf("a"), "disabled");
    EXPECT_EQ(StatusOf("b"), "enabled") << "it was not read";
    store.instances = {{"main", "web"}};
    Write({Shop(), store});
    Step();
    EXPECT_EQ(Notes(), "") << "the look of before did not have it, so it was away";
    EXPECT_EQ(StatusOf("b"), "disabled");
    std::filesystem::remove(config.ListPath());
    Step();
    EXPECT_TRUE(running);
    EXPECT_EQ(log.Text().find("ERROR"), std::string::npos) << log.Text();
}

TEST_F(MonitorApplications, WhatCannotBeReadIsToldOnceWithItsCauseAndTakenForNewWhenItIsReadAgain) {
    Write({Shop()});
    Move("web", "north");
    Begin();
    Step();
    EXPECT_EQ(log.Text(), "");
    config.List("<Wrong/>");
    for (int i = 0; i < 3; ++i) Step();
    EXPECT_EQ(CountOf(log.Text(), "WARNING The applications of the cluster are not read to their end."), 1)
        << log.Text();
    EXPECT_TRUE(log.Holds("Unknown tag 'Wrong'"));
    EXPECT_EQ(StatusOf("a"), "enabled");
    Write({{"shop", {{"one", "no such group"}}, {"a"}}});
    Step();
    EXPECT_EQ(CountOf(log.Text(), "are not read to their end."), 2) << "another cause is told too";
    EXPECT_TRUE(log.Holds("Resource group 'no such group' does not exist in the cluster."));
    EXPECT_EQ(watcher.looks, "whole whole partial partial partial partial ");
    Write({Shop()});
    Step();
    EXPECT_EQ(CountOf(log.Text(), "INFO The applications of the cluster are read to their end again."), 1);
    EXPECT_EQ(Notes(), "start one\n");
    EXPECT_FALSE(log.Holds("has come to this node")) << "nobody knows that";
    EXPECT_EQ(
        CountOf(log.Text(),
                "The instance 'one' of the application 'shop' is online on this node. It could not be read before, "
                "and is taken for new: its 1 start command(s) are run."),
        1);
    Step();
    EXPECT_EQ(Notes(), "");
}

TEST_F(MonitorApplications, ANodeWithoutAListOfApplicationsSaysNothingOfIt) {
    std::filesystem::remove(config.ListPath());
    Begin();
    Step();
    EXPECT_EQ(log.Text(), "");
    EXPECT_EQ(watcher.looks, "whole whole ");
}

TEST_F(MonitorApplications, GroupsThatCannotBeReadAtTheStartAreToldAndNoLook) {
    Write({Shop()});
    Move("web", "north");
    const char* const groups = "hagrp -display -attribute SystemList";
    cluster.tools.Answer(groups, "", 1);
    Begin();
    EXPECT_EQ(watcher.looks, "partial ");
    EXPECT_EQ(CountOf(log.Text(), "are not read to their end."), 1);
}

TEST_F(MonitorApplications, CommandsAreToldBeforeAndBehindThemWhateverFailsThen) {
    TestApplication shop = Shop();
    shop.policies = {"a=b"};
    TestApplication quiet{"quiet", {{"two", "db"}}, {}};
    Write({quiet, shop});
    Begin();
    Move("web", "north");
    Move("db", "north");
    EXPECT_RAISES(Step(), ClusterException, 270);
    EXPECT_EQ(watcher.commands, "end two+ begin one+ end one+ ");
    EXPECT_EQ(watcher.looks, "whole ") << "the look was not followed to its end";
}

TEST_F(MonitorApplications, InstancesAreLookedUpInAnyCaseUnlessTheirNameStandsTwice) {
    Write({Shop()});
    Move("web", "north");
    Begin();
    TestApplication shop = Shop();
    shop.instances = {{"ONE", "web"}};
    Write({shop});
    Step();
    EXPECT_EQ(Notes(), "");
}

TEST_F(MonitorApplications, ANameThatNoPolicyCanHaveIsWarnedOfAndEndsTheMonitorInTheFirstCycle) {
    for (const char* name : {"", "a=b"}) {
        TestApplication shop = Shop();
        shop.policies = {"a", name, "b"};
        Write({shop});
        Install("b");
        Begin();
        EXPECT_RAISES(Step(), ClusterException, 270);
        EXPECT_FALSE(running);
        EXPECT_EQ(StatusOf("a"), "disabled");
        EXPECT_EQ(StatusOf("b"), "enabled");
        EXPECT_TRUE(log.Holds("The application 'shop' lists a policy by the name '" + std::string(name) +
                              "', which no policy can have"));
    }
    TestApplication shop = Shop();
    shop.instances = {};
    shop.policies = {"c=d"};
    Write({shop});
    Begin();
    Step();
    Step();
    EXPECT_TRUE(running) << "without instances nobody looks at it";
    EXPECT_EQ(CountOf(log.Text(), "'c=d'"), 1) << "but it is warned of, once";
}

TEST_F(MonitorApplications, APolicyOfTwoApplicationsOfWhichOneIsOnlineIsSwitchedOffAndOnInEveryCycle) {
    Write({{"first", {{"one", "web"}}, {"a"}}, {"second", {{"one", "db"}}, {"a"}}});
    Begin();
    Step();
    EXPECT_FALSE(log.Holds("switched off and on")) << "they agree";
    Move("db", "north");
    ForgetQueue();
    for (int i = 0; i < 3; ++i) {
        PolicyListener listener;
        Step();
        EXPECT_EQ(listener.Heard(), std::vector<std::string>{"ENABLE_POLICY:files a"}) << i;
        EXPECT_EQ(StatusOf("a"), "enabled");
    }
    EXPECT_EQ(CountOf(log.Text(),
                      "The policy 'a' is listed by the applications 'first' and 'second', of which one is "
                      "online on this node: it is switched off and on"),
              1)
        << log.Text();
}

TEST_F(MonitorApplications, APolicyUnderBothMechanismsIsSwitchedOffAndOnInEveryCycleThatTheyDoNotAgree) {
    Install("both", {"HARG:noHARG"});
    TestApplication shop = Shop();
    shop.policies = {"both"};
    Write({shop});
    Begin();
    for (int i = 0; i < 3; ++i) {
        ForgetQueue();
        PolicyListener listener;
        Step();
        EXPECT_EQ(listener.Heard(), std::vector<std::string>{"ENABLE_POLICY:files both"}) << i;
        EXPECT_EQ(StatusOf("both"), "enabled");
    }
    EXPECT_EQ(CountOf(log.Text(),
                      "The policy 'both' names a resource group by an attribute, and the application 'shop' "
                      "lists it too"),
              1);
    Begin();
    Step();
    EXPECT_EQ(CountOf(log.Text(), "The policy 'both' names"), 2) << "each start tells it";
}

TEST_F(MonitorApplications, WhatWasSwitchedIsReportedAlsoWhenTheProcessStopsInTheMiddleOfACycle) {
    Write({{"shop", {{"one", "db"}}, {"a"}}, {"store", {{"two", "web"}}, {}, {"/bin/sleep 1000"}}});
    Begin();
    Move("web", "north");
    ForgetQueue();
    PolicyListener listener;
    std::thread stopper([this] {
        EXPECT_TRUE(Eventually([this] { return log.Holds("has come to this node"); }));
        LumPalRuntime::SetStopping(true);
    });
    Step();
    stopper.join();
    EXPECT_EQ(StatusOf("a"), "disabled");
    EXPECT_EQ(listener.Heard(), std::vector<std::string>{"DISABLE_POLICY:files a"});
}

TEST_F(MonitorApplications, AProcessThatStopsRunsNothingMoreAndForgetsNothing) {
    TestApplication shop = Shop();
    shop.starts = {"/bin/sleep 1000", Note("never")};
    Write({shop});
    Begin();
    Move("web", "north");
    int looks = 0;
    seen = [&](const LumConfCluster::Applications&) { ++looks; };
    std::thread stopper([this] {
        EXPECT_TRUE(Eventually([this] { return log.Holds("has come to this node"); }));
        LumPalRuntime::SetStopping(true);
    });
    Step();
    stopper.join();
    EXPECT_EQ(Notes(), "");
    EXPECT_EQ(StatusOf("a"), "enabled") << "as it was installed";
    EXPECT_EQ(looks, 0) << "nobody is told that this was followed";
    EXPECT_EQ(watcher.commands, "begin one+ ") << "nor that its commands have run to their end";
    EXPECT_TRUE(running);
}

}  // namespace
