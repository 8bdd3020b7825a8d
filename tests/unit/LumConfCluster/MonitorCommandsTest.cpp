// How the monitor runs the commands of applications.
#include "Exceptions.h"
#include "FollowedApplications.h"
#include "Raised.h"

namespace {

using LumConf::ClusterException;

class MonitorCommands : public FollowedApplications {};

TEST_F(MonitorCommands, OnlyTheFirstPlaceOfTheNameIsFilledInEachCommand) {
    TestApplication shop = Shop();
    shop.starts = {"/bin/sh -c \"echo $instanceName $instanceName x$instanceName &gt;&gt; " + NotesPath() + "; echo\"",
                   "/bin/sh -c \"echo none &gt;&gt; " + NotesPath() + "; echo\"", Note("last")};
    Write({shop});
    Begin();
    Move("web", "north");
    Step();
    EXPECT_EQ(Notes(), "one x\nnone\nlast one\n") << "the shell that the test runs knows no such variable";
}

TEST_F(MonitorCommands, NoShellIsInvolvedUnlessACommandIsOne) {
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

TEST_F(MonitorCommands, ACommandThatFailsIsToldAndStopsNeitherTheNextOneNorThePolicies) {
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

TEST_F(MonitorCommands, ACommandTakesAsLongAsItLikesUnlessItsOwnKeyLimitsIt) {
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

TEST_F(MonitorCommands, WhatACommandLeavesRunningStays) {
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

TEST_F(MonitorCommands, WithoutAnyPolicyTheCommandsRunAllTheSame) {
    for (const char* id : {"a", "b"}) node.Remove(LumConf::Selection().SetPolicyId(id));
    Write({Shop()});
    Begin();
    Move("web", "north");
    Step();
    EXPECT_EQ(Notes(), "start one\n");
    EXPECT_TRUE(running);
}

TEST_F(MonitorCommands, CommandsAreToldBeforeAndBehindThemWhateverFailsThen) {
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

}  // namespace
