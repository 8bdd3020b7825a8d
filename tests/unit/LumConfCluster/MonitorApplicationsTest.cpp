// Policies and commands follow the applications that are configured.
#include "FollowedApplications.h"
#include "LumPalDaemon.h"

namespace {

class MonitorApplications : public FollowedApplications {};

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

TEST_F(MonitorApplications, TheEndOfANameThatStandsTwiceIsLookedUpWithItsGroupAndIsNewInAnotherOne) {
    TestApplication shop = Shop();
    shop.instances = {{"ab", "web"}, {"ab", "db"}, {"b", "web"}};
    Write({shop});
    Move("web", "north");
    Begin();
    Step();
    EXPECT_EQ(Notes(), "");
    shop.instances = {{"ab", "web"}, {"ab", "db"}, {"b", "db"}};
    Write({shop});
    Move("db", "north");
    Step();
    EXPECT_EQ(Notes(), "start ab\nstart b\n") << "by its name alone b was online already";
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

TEST_F(MonitorApplications, OneThatIsDroppedIsWarnedOfWithTheReason) {
    Write({{"~", {}, {}, {}, {}}, {"shop", {}, {}, {}, {}}, {"hop", {}, {}, {}, {}}});
    Begin();
    Step();
    EXPECT_TRUE(
        log.Holds("The application '~' is not followed: its name is empty, or holds characters of '~@$#%~', by "
                  "which names are kept apart."))
        << log.Text();
    EXPECT_TRUE(
        log.Holds("The application 'hop' is not followed: its name is part of that of 'shop', which stands "
                  "before it in the list of applications."));
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

TEST_F(MonitorApplications, APolicyOfTwoApplicationsIsWarnedOfAsSoonAsItIsInstalled) {
    Write({{"first", {{"one", "web"}}, {"late"}}, {"second", {{"one", "db"}}, {"late"}}});
    Move("db", "north");
    Begin();
    for (int i = 0; i < 3; ++i) Step();
    EXPECT_EQ(log.Text(), "") << "nothing is switched";
    Install("late");
    for (int i = 0; i < 3; ++i) Step();
    EXPECT_EQ(CountOf(log.Text(), "The policy 'late' is listed by the applications 'first' and 'second'"), 1);
}

TEST_F(MonitorApplications, TwoThatSpellOnePolicyInTwoWaysAreWarnedOfTooAndTwoThatMeanTwoPoliciesAreNot) {
    struct Row {
        const char *first, *second;
        int warnings;
    };
    Move("db", "north");
    for (const Row& row : {Row{"a", "files:a", 1},
                           {"files:a", "a", 1},
                           {":a", "a", 1},
                           {"files:a", ":a", 1},
                           {"files:a", "files:a", 1},
                           {"files:a", "probes:a", 0},
                           {"a", "b", 0},
                           {"a", "A", 0}}) {
        SCOPED_TRACE(std::string(row.first) + " " + row.second);
        const int before = CountOf(log.Text(), "of which one is online on this node");
        Write({{"first", {{"one", "web"}}, {row.first}}, {"second", {{"one", "db"}}, {row.second}}});
        Begin();
        for (int i = 0; i < 3; ++i) Step();
        EXPECT_EQ(CountOf(log.Text(), "of which one is online on this node") - before, row.warnings);
    }
}

TEST_F(MonitorApplications, APolicyThatNamesAGroupIsWarnedOfHoweverAnApplicationSpellsIt) {
    Install("both", {"HARG:noHARG"});
    for (const char* spelled : {"both", "files:both", ":both", "probes:both"}) {
        const int before = CountOf(log.Text(), "names a resource group by an attribute");
        Write({{"shop", {{"one", "web"}}, {spelled}}});
        Begin();
        for (int i = 0; i < 3; ++i) Step();
        EXPECT_EQ(CountOf(log.Text(), "names a resource group by an attribute") - before,
                  std::string(spelled) == "probes:both" ? 0 : 1)
            << spelled;
    }
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
