// What the monitor does with applications that cannot be read, or not as they are meant.
#include "Exceptions.h"
#include "FollowedApplications.h"
#include "Raised.h"

namespace {

using LumConf::ClusterException;

class MonitorUnread : public FollowedApplications {};

TEST_F(MonitorUnread, ApplicationsThatCannotBeReadToTheEndCountAsFarAsTheyWereRead) {
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

TEST_F(MonitorUnread, WhatCannotBeReadIsToldOnceWithItsCauseAndTakenForNewWhenItIsReadAgain) {
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

TEST_F(MonitorUnread, ANodeWithoutAListOfApplicationsSaysNothingOfIt) {
    std::filesystem::remove(config.ListPath());
    Begin();
    Step();
    EXPECT_EQ(log.Text(), "");
    EXPECT_EQ(watcher.looks, "whole whole ");
}

TEST_F(MonitorUnread, GroupsThatCannotBeReadAtTheStartAreToldAndNoLook) {
    Write({Shop()});
    Move("web", "north");
    const char* const groups = "hagrp -display -attribute SystemList";
    cluster.tools.Answer(groups, "", 1);
    Begin();
    EXPECT_EQ(watcher.looks, "partial ");
    EXPECT_EQ(CountOf(log.Text(), "are not read to their end."), 1);
}

TEST_F(MonitorUnread, BeforeTheModeIsOnNothingIsSaidAndBehindThatItIs) {
    config.List("<Wrong/>");
    for (const char* mode : {"", "false"}) {
        Configure("conf.cluster", "MONITOR_MODE", mode);
        Begin();
        EXPECT_EQ(log.Text(), "") << mode;
        EXPECT_EQ(watcher.looks, "partial ") << mode;
        watcher.looks.clear();
    }
    Step();
    EXPECT_EQ(log.Text(), "") << "it is off: no command runs";
    Configure("conf.cluster", "MONITOR_MODE", "true");
    Step();
    EXPECT_EQ(CountOf(log.Text(), "are not read to their end."), 1) << log.Text();
    Write({Shop()});
    Step();
    EXPECT_EQ(CountOf(log.Text(), "are read to their end again."), 1);
}

TEST_F(MonitorUnread, ANameThatNoPolicyCanHaveIsWarnedOfAndEndsTheMonitorInTheFirstCycle) {
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

}  // namespace
