// The command line of lumappinstance.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "AppConfig.h"
#include "ApplicationImpl.h"
#include "CliCall.h"
#include "InstanceImpl.h"
#include "InstanceListing.h"
#include "Raised.h"
#include "VcsNode.h"

namespace {

using namespace LumConfCluster;
using LumConf::AmbiguousInstanceNamesException;
using LumConf::ClusterApplicationException;
using LumConf::ClusterInstanceException;
using LumPalMsg::IllegalArgumentError_t;
using LumPalStr::String_t;
using Arguments = std::vector<const char*>;

const char* const kUsage =
    "\nUsage: lumappinstance\n"
    "  -h | -help\n"
    "  -version\n"
    "  -i | -instance <instance> {-st | -state} [-an | -appNamespace <appNamespace>]\n"
    "  -i | -instance <instance> {-h | -host} [-an | -appNamespace <appNamespace>]\n"
    "  -is | -instances [-an | -appNamespace <appNamespace>]\n"
    "  -ai | -activeInstances [-an | -appNamespace <appNamespace>]\n"
    "  -vc | -verifyConfig\n";

Told Ask(const Arguments& arguments) {
    return AskTool("/usr/bin/lumappinstance", arguments);
}

std::string Answer(const Arguments& arguments) {
    const Told told = Ask(arguments);
    EXPECT_EQ(told.code, 0);
    return told.output;
}

template <class E>
std::string Refused(const Arguments& arguments, unsigned id) {
    const auto messages = MessagesOf<E>([&] { Ask(arguments); });
    if (messages.GetMessageCount() == 0) return "";
    EXPECT_EQ(messages.GetMessage(0).GetId(), id);
    EXPECT_EQ(messages.GetMessage(0).GetSeverity(), LumPalMsg::Severity_e::Error);
    return String_t(messages).ToUtf8();
}

/// The application shop with the instances till (in web, on line on this node, which is south) and store (in db, off
/// line), and desk with counter (web). Their commands, agents and policies have names of their own.
class AppInstance : public testing::Test {
protected:
    AppInstance() {
        Configure("conf.cluster", "CLUSTER_LOCAL_NODENAME", "south");
        config.Describe("shop",
                        "<Template>shop-logs</Template><Template>shop-size</Template><Subagent>agent</Subagent>"
                        "<StartCommand>/bin/start $instanceName</StartCommand><StopCommand>/bin/stop</StopCommand>");
        config.Describe("desk");
        List("");
    }
    /// @param more  instances of shop beside its own
    void List(const std::string& more, const std::string& moreOfDesk = "") const {
        config.List(
            AppConfig::Entry("shop", AppConfig::Instance("till", "web") + AppConfig::Instance("store", "db") + more) +
            AppConfig::Entry("desk", AppConfig::Instance("counter", "web") + moreOfDesk));
    }

    VcsNode node;
    const AppConfig config{node.root};
};

const std::string kShop =
    "#Application shop\n"
    "start command  /bin/start $instanceName\n"
    "stop command   /bin/stop\n"
    "custom agent   agent\n"
    "policy         shop-logs\n"
    "policy         shop-size\n";
const std::string kTill =
    "#Instance till\n"
    "virtual IP   10.0.0.7\n"
    "state          Online\n"
    "active node    south\n";
const std::string kStore =
    "#Instance store\n"
    "virtual IP   None \n"
    "state          Offline\n"
    "active node    \n";
const std::string kDesk =
    "#Application desk\n"
    "#Instance counter\n"
    "virtual IP   10.0.0.7\n"
    "state          Online\n"
    "active node    south\n";

TEST(AppInstanceUsage, IsPrintedWhereItIsAskedForOrArgumentsLack) {
    for (const Arguments& arguments :
         {Arguments{}, Arguments{"-help"}, Arguments{"-h"}, Arguments{"-instance"}, Arguments{"-i", "till"},
          Arguments{"-i", "till", "-foo"}, Arguments{"-i", "till", "-state", "-an"},
          Arguments{"-i", "till", "-foo", "-an", "shop"}, Arguments{"-i", "till", "-state", "-an", "shop", "more"},
          Arguments{"-i", "till", "-State"}, Arguments{"-instances", "-an", "shop", "more"},
          Arguments{"-ai", "a", "b", "c", "d"}}) {
        const Told told = Ask(arguments);
        EXPECT_EQ(told.code, 2);
        EXPECT_EQ(told.output, kUsage);
    }
}

TEST(AppInstanceUsage, TheVersionIsLeftToTheProgram) {
    const Told told = Ask({"-version"});
    EXPECT_EQ(told.code, 3);
    EXPECT_EQ(told.output, "");
}

TEST(AppInstanceUsage, OptionsOfTheOtherToolAndOtherCasesAreUnknown) {
    for (const char* option : {"-all", "-a", "-cluster", "-node", "-group", "-INSTANCE", "-Is", "", "instance",
                               "--help", "-foo", "-activeinstances"}) {
        EXPECT_EQ(Refused<IllegalArgumentError_t>({option}, 357), "Unknown option '" + std::string(option) + "'.");
    }
}

TEST(AppInstanceUsage, OptionsBehindOneThatTakesNoneAreRefused) {
    for (const char* option : {"-help", "-h", "-version", "-verifyConfig", "-vc"}) {
        EXPECT_EQ(Refused<IllegalArgumentError_t>({option, "extra"}, 361),
                  "Trailing option(s) with option '" + std::string(option) + "'.");
    }
}

TEST(AppInstanceUsage, ThreeArgumentsLackANamespaceOrTheOptionBeforeIt) {
    for (const char* list : {"-instances", "-is", "-activeInstances", "-ai"}) {
        for (const char* option : {"-an", "-appNamespace"})
            EXPECT_EQ(Refused<IllegalArgumentError_t>({list, option}, 360), "Application namespace is missing.");
        for (const char* option : {"-x", "shop", ""})
            EXPECT_EQ(Refused<IllegalArgumentError_t>({list, option}, 359),
                      "Expected option '-an' or '-appNamespace'.");
        EXPECT_EQ(Refused<IllegalArgumentError_t>({list, "-x", "shop"}, 357), "Unknown option '-x'.");
    }
    EXPECT_EQ(Refused<IllegalArgumentError_t>({"-i", "till", "-state", "-x", "shop"}, 357), "Unknown option '-x'.");
}

TEST(AppInstanceUsage, WithoutAClusterItIsNotDetectedWhateverIsAsked) {
    const OwnOpt opt;
    const TempRoot root;
    for (const Arguments& arguments : {Arguments{"-i", "x", "-st"}, Arguments{"-is"}, Arguments{"-ai"},
                                       Arguments{"-vc"}, Arguments{"-is", "-an", "shop"}})
        EXPECT_RAISES(Ask(arguments), LumConf::ClusterException, 211);
}

TEST_F(AppInstance, StateAndAddressOfAnInstance) {
    for (const char* option : {"-instance", "-i"}) {
        for (const char* state : {"-state", "-st"}) {
            EXPECT_EQ(Answer({option, "till", state}), "Online\n");
            EXPECT_EQ(Answer({option, "store", state}), "Offline\n");
            EXPECT_EQ(Answer({option, "store", state, "-an", "shop"}), "Offline\n");
        }
        for (const char* host : {"-host", "-h"}) {
            EXPECT_EQ(Answer({option, "till", host}), "10.0.0.7\n");
            EXPECT_EQ(Answer({option, "store", host}), "None \n");
            EXPECT_EQ(Answer({option, "till", host, "-appNamespace", "SHOP"}), "10.0.0.7\n");
        }
    }
}

TEST_F(AppInstance, AnInstanceThatIsNotThereIsToldWithItsNamespace) {
    EXPECT_EQ(Refused<ClusterInstanceException>({"-i", "Till", "-st"}, 366), "Instance 'Till' does not exist.");
    EXPECT_EQ(Refused<ClusterInstanceException>({"-i", "till", "-st", "-an", "desk"}, 365),
              "Instance 'till' does not exist for application namespace 'desk'.");
    EXPECT_EQ(Refused<ClusterApplicationException>({"-i", "till", "-h", "-an", "bank"}, 0),
              "><No such element [bank] in the collection.");
    EXPECT_EQ(Refused<ClusterApplicationException>({"-i", "till", "-h", "-an", ""}, 0),
              "><No such element [] in the collection.");
}

TEST_F(AppInstance, WithoutApplicationsTheInstanceIsMissingWhateverTheNamespace) {
    config.List("");
    EXPECT_EQ(Refused<ClusterInstanceException>({"-i", "till", "-st", "-an", "shop"}, 365),
              "Instance 'till' does not exist for application namespace 'shop'.");
    EXPECT_EQ(Refused<ClusterInstanceException>({"-i", "till", "-st"}, 366), "Instance 'till' does not exist.");
    EXPECT_EQ(Answer({"-is"}), "");
    EXPECT_EQ(Answer({"-vc"}), "");
}

TEST_F(AppInstance, ANameInTwoApplicationsNeedsANamespace) {
    List("", AppConfig::Instance("till", "db"));
    EXPECT_EQ(Refused<AmbiguousInstanceNamesException>({"-i", "till", "-state"}, 669),
              "Instance Name 'till' is ambiguous across application namespaces. Use '-an | -appNamespace' option and "
              "specify the application namespace to resolve the ambguity. Use '-h | -help' option for more "
              "information.");
    EXPECT_EQ(Answer({"-i", "till", "-state", "-an", "shop"}), "Online\n");
    EXPECT_EQ(Answer({"-i", "till", "-state", "-an", "desk"}), "Offline\n");
    EXPECT_EQ(Answer({"-vc"}), "") << "that is no duplicate";
}

TEST_F(AppInstance, ANameTwiceInOneApplicationCannotBeAskedFor) {
    List(AppConfig::Instance("till", "db"));
    EXPECT_EQ(Refused<AmbiguousInstanceNamesException>({"-i", "till", "-host", "-an", "Shop"}, 668),
              "Instance Name 'till' is ambiguous within the application namespace 'Shop'.");
    EXPECT_EQ(Refused<AmbiguousInstanceNamesException>({"-i", "till", "-host"}, 668),
              "Instance Name 'till' is ambiguous within the application namespace 'shop'.");
    EXPECT_EQ(Answer({"-i", "counter", "-state"}), "Online\n");
}

TEST_F(AppInstance, ANameThatIsAmbiguousBothWaysIsToldAsAmbiguousAcrossFirst) {
    config.List(AppConfig::Entry("desk", AppConfig::Instance("till", "web")) +
                AppConfig::Entry("shop", AppConfig::Instance("till", "web")) +
                AppConfig::Entry("shop", AppConfig::Instance("till", "db")));
    EXPECT_RAISES(Ask({"-i", "till", "-st"}), AmbiguousInstanceNamesException, 669);
    EXPECT_RAISES(Ask({"-i", "till", "-st", "-an", "shop"}), AmbiguousInstanceNamesException, 668);
}

TEST_F(AppInstance, InstancesAreListedBehindTheirApplications) {
    for (const char* option : {"-instances", "-is"}) {
        EXPECT_EQ(Answer({option}), kShop + kTill + kStore + kDesk);
        EXPECT_EQ(Answer({option, "-an", "shop"}), kShop + kTill + kStore);
        EXPECT_EQ(Answer({option, "-appNamespace", "Desk"}), kDesk);
    }
    EXPECT_EQ(Refused<ClusterApplicationException>({"-is", "-an", "bank"}, 0),
              "><No such element [bank] in the collection.");
}

TEST_F(AppInstance, OnlyActiveOnesAreListedWhereTheyAreAskedFor) {
    for (const char* option : {"-activeInstances", "-ai"}) {
        EXPECT_EQ(Answer({option}), kShop + kTill + kDesk);
        EXPECT_EQ(Answer({option, "-an", "shop"}), kShop + kTill);
    }
    Configure("conf.cluster", "CLUSTER_LOCAL_NODENAME", "north");
    EXPECT_EQ(Answer({"-ai"}), "") << "nothing is on line here";
    EXPECT_EQ(Answer({"-ai", "-an", "desk"}), "");
}

TEST_F(AppInstance, TheCheckOfTheConfigurationTellsOfNamesThatStandTwice) {
    for (const char* option : {"-verifyConfig", "-vc"}) EXPECT_EQ(Answer({option}), "");
    List(AppConfig::Instance("till", "db") + AppConfig::Instance("store", "db"), AppConfig::Instance("counter", "db"));
    const Told told = Ask({"-vc"});
    EXPECT_EQ(told.code, 4);
    EXPECT_EQ(told.output,
              "\nWARNING: Following Application(s) contain more than one instance with the same name.\n"
              "You will not be able to query information about these instances using the 'lumappinstance' tool. \n\n"
              " desk:: counter ; shop:: till, store ; \n");
}

TEST_F(AppInstance, AMissingListIsToldAndPrintsNothing) {
    std::filesystem::remove(config.ListPath());
    for (const Arguments& arguments :
         {Arguments{"-is"}, Arguments{"-ai"}, Arguments{"-vc"}, Arguments{"-i", "a", "-h"}})
        EXPECT_RAISES(Ask(arguments), LumPalIo::FileNotFoundException_t, 666);
}

TEST_F(AppInstance, AFailureInTheMiddlePrintsNothing) {
    node.tools.Answer("hagrp -resources db", "db_disk\n", 1);
    EXPECT_RAISES(Ask({"-is"}), LumConf::ClusterException, 335);
    EXPECT_EQ(Answer({"-ai"}), kShop + kTill + kDesk) << "nobody asked for that address";
}

TEST(AppInstanceDuplicates, InstancesOfOneApplicationInOneGroupAreCounted) {
    const Applications applications;
    for (const auto& groups : {std::vector<const char*>{"web", "web", "db", "web"}, std::vector<const char*>{"db"}}) {
        const Application application;
        for (const char* group : groups) {
            const Instance instance;
            instance.GetImpl()->resourceGroup.GetImpl()->name = group;
            application.GetInstances().GetImpl()->Add(instance);
        }
        applications.GetImpl()->Add(application);
    }
    const auto messages =
        MessagesOf<ClusterInstanceException>([&] { ClusterCliHandler::CheckInstanceDuplicates(applications, "web"); });
    ASSERT_EQ(messages.GetMessageCount(), 1);
    EXPECT_EQ(messages.GetMessage(0).GetId(), 362u);
    EXPECT_EQ(String_t(messages),
              "Found '3' application instance duplicate(s). Please specify application namespace identifier.");
    for (const char* group : {"db", "WEB", "none"}) ClusterCliHandler::CheckInstanceDuplicates(applications, group);
}

TEST(AppInstanceDuplicates, AllAddressesOfANameAreToldWhereItIsNotKnownAsAmbiguous) {
    const Applications applications;
    const Application application;
    for (const char* address : {"10.0.0.1", "", "10.0.0.2"}) {
        const Instance instance;
        instance.GetImpl()->name = "till";
        instance.GetImpl()->resourceGroup.GetImpl()->virtualIP = address;
        instance.GetImpl()->resourceGroup.GetImpl()->virtualIPKnown = 1;
        application.GetInstances().GetImpl()->Add(instance);
    }
    applications.GetImpl()->Add(application);
    EXPECT_EQ(GetInstance(applications, String_t::Null(), "till", false), "10.0.0.1\nNone 10.0.0.2\n");
}

}  // namespace
