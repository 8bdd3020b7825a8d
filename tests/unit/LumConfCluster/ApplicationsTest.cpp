#include "LumConfCluster/Applications.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "AppConfig.h"
#include "Configure.h"
#include "HostName.h"
#include "Raised.h"
#include "Tenfold.h"

namespace {

using namespace LumConfCluster;
using LumConf::ClusterApplicationException;
using LumConf::ClusterParserException;
using LumConf::ClusterXmlDataTreeException;
using LumPalIo::FileNotFoundException_t;
using LumPalStr::String_t;

using Texts = std::vector<std::string>;

template <class List>
Texts NamesOf(const List& list) {
    Texts names;
    for (int i = 0; i < list.Count(); ++i) names.push_back(list[i].GetName().ToUtf8());
    return names;
}

Texts TextsOf(const Strings& list) {
    Texts texts;
    for (int i = 0; i < list.Count(); ++i) texts.push_back(list[i].ToUtf8());
    return texts;
}

std::string Entry(const std::string& name, const std::string& instances = "") {
    return AppConfig::Entry(name, instances);
}
std::string OneOf(const std::string& name, const std::string& package = "web") {
    return AppConfig::Instance(name, package);
}

/// A node north; the group web on line on it, db on south, idle nowhere, lost unknown.
class ApplicationsTest : public testing::Test {
protected:
    ApplicationsTest() {
        Configure("conf.cluster", "CLUSTER_LOCAL_NODENAME", "north");
        made.Add("web", RGState::Online, "north", 1);
        made.Add("db", RGState::Online, "south", 2);
        made.Add("idle", RGState::Offline, "north", 3);
        made.Add("lost", RGState::Unknown, "north", 4);
    }
    void Load(const std::string& list) {
        config.List(list);
        Load();
    }
    void Load() { applications.LoadConfig(made.cluster, made.groups); }
    /// The text of the parser's exception with this number.
    std::string Refused(const std::string& list, unsigned id) {
        config.List(list);
        return Refused(id);
    }
    std::string Refused(unsigned id) {
        const auto messages = MessagesOf<ClusterParserException>([&] { Load(); });
        if (messages.GetMessageCount() == 0) return "";
        EXPECT_EQ(messages.GetMessage(0).GetId(), id);
        EXPECT_EQ(messages.GetMessage(0).GetSeverity(), LumPalMsg::Severity_e::Error);
        return String_t(messages).ToUtf8();
    }
    std::string NotFound() {
        const auto messages = MessagesOf<FileNotFoundException_t>([&] { Load(); });
        if (messages.GetMessageCount() == 0) return "";
        EXPECT_EQ(messages.GetMessage(0).GetId(), 666u);
        EXPECT_EQ(messages.GetMessage(0).GetSeverity(), LumPalMsg::Severity_e::Info);
        EXPECT_EQ(String_t(messages), "Application configuration file not found.");
        return messages.Format(LumPalMsg::Text | LumPalMsg::Details).ToUtf8();
    }

    TempRoot root;
    const AppConfig config{root};
    MadeUpCluster made;
    Applications applications;
};

TEST_F(ApplicationsTest, AnApplicationIsWhatItsTwoFilesSay) {
    config.Describe("shop",
                    "<Name>whatever</Name><Template>shop-logs</Template><Subagent> agent </Subagent>"
                    "<StartCommand>/bin/start $instanceName</StartCommand><StopCommand>/bin/stop</StopCommand>"
                    "<Template>shop-size</Template>");
    Load(Entry("shop", OneOf("one") + "<Other/>" + OneOf("two", "DB")));
    ASSERT_EQ(applications.Count(), 1);
    const Application shop = applications["SHOP"];
    EXPECT_EQ(shop.GetName(), "shop");
    EXPECT_EQ(TextsOf(shop.GetPolicyHeaders()), Texts({"shop-logs", "shop-size"}));
    EXPECT_EQ(TextsOf(shop.GetPolicyNames()), TextsOf(shop.GetPolicyHeaders()));
    EXPECT_EQ(shop.GetPolicyNames().GetImpl(), shop.GetPolicyHeaders().GetImpl()) << "the same list";
    EXPECT_EQ(TextsOf(shop.GetCustomAgents()), Texts({"agent"}));
    EXPECT_EQ(TextsOf(shop.GetStartActions()), Texts({"/bin/start $instanceName"}));
    EXPECT_EQ(TextsOf(shop.GetStopActions()), Texts({"/bin/stop"}));
    ASSERT_EQ(shop.GetInstances().Count(), 2);
    const Instance two = shop.GetInstances()["Two"];
    EXPECT_EQ(two.GetName(), "two");
    EXPECT_EQ(two.GetResourceGroup().GetName(), "db");
    EXPECT_EQ(two.GetActiveNode().GetName(), "south");
    EXPECT_EQ(two.GetLocalHost(), "north");
    EXPECT_FALSE(two.IsNodeLocalResponsible());
}

TEST_F(ApplicationsTest, CopiesShareTheList) {
    const Applications copy = applications;
    config.Describe("shop");
    Load(Entry("shop"));
    EXPECT_EQ(copy.Count(), 1);
    EXPECT_TRUE(copy[0] == applications[0]);
    EXPECT_FALSE(copy[0] == Application());
}

TEST_F(ApplicationsTest, AnApplicationThatIsNotThereIsAnError) {
    EXPECT_EQ(String_t(MessagesOf<ClusterApplicationException>([&] { applications["Shop"]; })),
              "><No such element [Shop] in the collection.");
    EXPECT_EQ(String_t(MessagesOf<ClusterApplicationException>([&] { applications[0]; })), "><Index is out of range.");
}

TEST_F(ApplicationsTest, AnEntryWithoutInstancesIsAnApplicationWithoutInstances) {
    config.Describe("shop", "<Template>t</Template>");
    Load(Entry("shop"));
    EXPECT_EQ(applications["shop"].GetInstances().Count(), 0);
    EXPECT_EQ(applications["shop"].GetOnlineInstancesCount(), 0);
    EXPECT_EQ(applications["shop"].GetPolicyNames().Count(), 1);
}

TEST_F(ApplicationsTest, AnApplicationsFileIsLookedForInTwoFolders) {
    WriteText(config.OtherPath("shop"), AppConfig::Document("<Template>other</Template>"));
    Load(Entry("shop"));
    EXPECT_EQ(TextsOf(applications[0].GetPolicyNames()), Texts({"other"}));
    config.Describe("shop", "<Template>first</Template>");
    Load();
    EXPECT_EQ(TextsOf(applications[0].GetPolicyNames()), Texts({"first"}));
}

TEST_F(ApplicationsTest, TheSecondEntryOfAnApplicationAddsItsInstancesAndReadsItsFileAgain) {
    config.Describe("shop", "<Template>t</Template><StartCommand>s</StartCommand><Subagent>a</Subagent>");
    config.Describe("desk");
    Load(Entry("shop", OneOf("one")) + Entry("desk") + Entry("shop", OneOf("two", "db")));
    EXPECT_EQ(NamesOf(applications), Texts({"shop", "desk"})) << "in the order of the first entries";
    EXPECT_EQ(NamesOf(applications[0].GetInstances()), Texts({"one", "two"}));
    EXPECT_EQ(TextsOf(applications[0].GetPolicyNames()), Texts({"t", "t"})) << "its lists stand there twice";
    EXPECT_EQ(TextsOf(applications[0].GetStartActions()), Texts({"s", "s"}));
    EXPECT_EQ(TextsOf(applications[0].GetCustomAgents()), Texts({"a", "a"}));
}

TEST_F(ApplicationsTest, AnApplicationWhoseNameOccursInsideAnEarlierOneIsReadAndDropped) {
    config.Describe("webshop");
    config.Describe("shop", "<Template>t</Template>");
    config.Describe("shopping");
    Load(Entry("webshop") + Entry("shop", OneOf("one")) + Entry("shopping"));
    EXPECT_EQ(NamesOf(applications), Texts({"webshop", "shopping"}));
    EXPECT_EQ(applications[0].GetInstances().Count(), 0);
    config.Describe("shop", "<Unknown/>");
    EXPECT_NE(Refused(347).find("'Unknown'"), std::string::npos) << "it is read all the same";
}

TEST_F(ApplicationsTest, TheCaseOfANameMakesAnotherApplication) {
    config.Describe("shop");
    config.Describe("SHOP");
    Load(Entry("shop") + Entry("SHOP", OneOf("one")));
    EXPECT_EQ(NamesOf(applications), Texts({"shop", "SHOP"}));
    EXPECT_EQ(applications["SHOP"].GetName(), "shop") << "the first one is found, whatever the case";
}

TEST_F(ApplicationsTest, AnInstanceThatStandsTwiceInAnApplicationIsAmbiguousInIt) {
    config.Describe("shop");
    config.Describe("desk");
    Load(Entry("shop", OneOf("one") + OneOf("one", "db") + OneOf("one", "idle") + OneOf("two")) +
         Entry("desk", OneOf("three")));
    EXPECT_EQ(applications[0].GetInstances().Count(), 4);
    EXPECT_TRUE(applications[0].IsInstanceAmbiguous("one"));
    EXPECT_FALSE(applications[0].IsInstanceAmbiguous("ONE"));
    EXPECT_FALSE(applications[0].IsInstanceAmbiguous("two"));
    EXPECT_FALSE(applications[1].IsInstanceAmbiguous("one"));
    EXPECT_FALSE(applications.IsInstanceAmbiguous("one")) << "it is in one application only";
}

TEST_F(ApplicationsTest, TheEndOfANameCountsAsTheName) {
    config.Describe("shop");
    Load(Entry("shop", OneOf("ab") + OneOf("b") + OneOf("a")));
    EXPECT_TRUE(applications[0].IsInstanceAmbiguous("b")) << "ab ends with it";
    EXPECT_FALSE(applications[0].IsInstanceAmbiguous("a"));
    EXPECT_EQ(applications[0].GetInstances()["a"].GetName(), "a");
    EXPECT_RAISES(applications[0].GetInstances()["b"], LumConf::AmbiguousInstanceNamesException, 673);
}

TEST_F(ApplicationsTest, AnInstanceInTwoApplicationsIsAmbiguousAcrossThem) {
    config.Describe("shop");
    config.Describe("desk");
    Load(Entry("shop", OneOf("one") + OneOf("two")) + Entry("desk", OneOf("one", "db")) +
         Entry("shop", OneOf("three")));
    EXPECT_TRUE(applications.IsInstanceAmbiguous("one"));
    EXPECT_FALSE(applications.IsInstanceAmbiguous("two"));
    EXPECT_FALSE(applications.IsInstanceAmbiguous("three"));
    EXPECT_FALSE(applications[0].IsInstanceAmbiguous("one"));
    EXPECT_FALSE(applications[1].IsInstanceAmbiguous("one"));
}

TEST_F(ApplicationsTest, TheSecondEntryFindsTheInstancesOfTheFirst) {
    config.Describe("shop");
    Load(Entry("shop", OneOf("one")) + Entry("shop", OneOf("one", "db")));
    EXPECT_TRUE(applications[0].IsInstanceAmbiguous("one"));
    EXPECT_FALSE(applications.IsInstanceAmbiguous("one"));
    EXPECT_EQ(applications[0].GetInstances().Count(), 2);
}

TEST_F(ApplicationsTest, AnInstanceIsOnlineWhereItsGroupIsOnThisNodeByItsConfiguredName) {
    config.Describe("shop");
    made.Add("shouted", RGState::Online, "NORTH");
    made.Add("nowhere", RGState::Online, "");
    Load(Entry("shop", OneOf("a", "web") + OneOf("b", "db") + OneOf("c", "idle") + OneOf("d", "lost") +
                           OneOf("e", "shouted") + OneOf("f", "nowhere")));
    const Instances all = applications[0].GetInstances();
    const InstanceState states[] = {InstanceState::Online,  InstanceState::Offline, InstanceState::Offline,
                                    InstanceState::Unknown, InstanceState::Offline, InstanceState::Offline};
    for (int i = 0; i < 6; ++i) {
        EXPECT_EQ(all[i].GetState(), states[i]) << i;
        EXPECT_EQ(all[i].IsActiveNodeLocal(), i == 0) << i;
    }
    EXPECT_EQ(applications[0].GetOnlineInstancesCount(), 1);
}

TEST_F(ApplicationsTest, WithoutAConfiguredNameTheAddressTellsWhateverTheGroupsState) {
    Configure("conf.cluster", "CLUSTER_LOCAL_NODENAME", "");
    const OwnHostName name("localhost");
    config.Describe("shop");
    for (const auto& [name, state, node] : std::initializer_list<std::tuple<const char*, RGState, const char*>>{
             {"other form", RGState::Online, "127.0.0.1"},
             {"same name", RGState::Online, "localhost"},
             {"offline", RGState::Offline, "127.0.0.1"},
             {"unknown", RGState::Unknown, "127.0.0.1"},
             {"elsewhere", RGState::Online, "192.0.2.1"},
             {"nowhere", RGState::Online, ""},
             {"unresolved", RGState::Online, "no such host"}}) {
        made.Add(name, state, node);
    }
    Load(Entry("shop", OneOf("a", "other form") + OneOf("b", "same name") + OneOf("c", "offline") +
                           OneOf("d", "unknown") + OneOf("e", "elsewhere") + OneOf("f", "nowhere") +
                           OneOf("g", "unresolved")));
    const Instances all = applications[0].GetInstances();
    const InstanceState states[] = {InstanceState::Online,  InstanceState::Online,  InstanceState::Online,
                                    InstanceState::Unknown, InstanceState::Offline, InstanceState::Offline,
                                    InstanceState::Offline};
    for (int i = 0; i < 7; ++i) {
        EXPECT_EQ(all[i].GetState(), states[i]) << i;
        EXPECT_EQ(all[i].IsActiveNodeLocal(), i == 1) << i << ": there the names themselves are compared";
        EXPECT_EQ(all[i].GetLocalHost(), "localhost");
    }
}

TEST_F(ApplicationsTest, AConfiguredNameOfAnotherFormIsNotThisNode) {
    made.Add("other form", RGState::Online, "127.0.0.1");
    Configure("conf.cluster", "CLUSTER_LOCAL_NODENAME", "localhost");
    config.Describe("shop");
    Load(Entry("shop", OneOf("a", "other form")));
    EXPECT_EQ(applications[0].GetInstances()[0].GetState(), InstanceState::Offline);
}

TEST_F(ApplicationsTest, WithoutTheListNoApplicationIsConfigured) {
    const std::string text = NotFound();
    EXPECT_NE(text.find("Cannot parse xml file '" + config.ListPath() + "'"), text.npos) << text;
    EXPECT_EQ(made.impl->asked, 0);
}

TEST_F(ApplicationsTest, AnApplicationWithoutAFileEndsTheLoadAndLeavesThoseBeforeIt) {
    config.Describe("shop");
    config.List(Entry("shop", OneOf("one")) + Entry("desk") + Entry("bank"));
    const std::string text = NotFound();
    EXPECT_NE(text.find("'" + config.OtherPath("desk") + "'"), text.npos) << text;
    EXPECT_EQ(NamesOf(applications), Texts({"shop"}));
    config.Describe("desk");
    config.Describe("bank");
    Load();
    EXPECT_EQ(applications.Count(), 3);
    std::filesystem::remove(config.ListPath());
    NotFound();
    EXPECT_EQ(applications.Count(), 0) << "the list is cleared first";
}

TEST_F(ApplicationsTest, ANameThatLeadsElsewhereHasNoFileAndNothingIsOpened) {
    const std::string outside = AppConfig::Document("<Template>stolen</Template>");
    std::filesystem::create_directories(root.Native() + "/bin/instrumentation/conf/sub");
    for (const char* place : {"/evil.apm.xml", "/bin/evil.apm.xml", "/bin/instrumentation/conf/sub/evil.apm.xml",
                              "/bin/instrumentation/conf/sub\\evil.apm.xml", "/bin/instrumentation/conf/...apm.xml",
                              "/bin/instrumentation/conf/a\tb.apm.xml", "/bin/instrumentation/conf/a\nb.apm.xml"}) {
        WriteText(root.Native() + place, outside);
    }
    WriteText("/tmp/lumtest-evil.apm.xml", outside);
    for (const std::string& name :
         {std::string("../../../evil"), std::string("../../evil"), std::string("sub/evil"), std::string("sub\\evil"),
          std::string(".."), std::string("."), std::string("/tmp/lumtest-evil"), std::string("a\tb"),
          std::string("a\xC2\x85x"), std::string(248, 'n')}) {
        config.List(Entry(name));
        EXPECT_NE(NotFound().find("its name cannot be part of the name of a file."), std::string::npos) << name;
        EXPECT_EQ(applications.Count(), 0);
    }
    std::filesystem::remove("/tmp/lumtest-evil.apm.xml");
    config.Describe(std::string(247, 'n'));
    Load(Entry(std::string(247, 'n')));
    EXPECT_EQ(applications.Count(), 1);
}

TEST_F(ApplicationsTest, AnotherDocumentInPlaceOfTheListIsRefused) {
    WriteText(config.ListPath(), "<apmclusterconfiguration/>");
    EXPECT_EQ(Refused(346),
              "First tag in APM common config file '" + config.ListPath() + "' should be APMClusterConfiguration.");
    EXPECT_EQ(made.impl->asked, 0);
}

TEST_F(ApplicationsTest, AnotherElementInTheListIsRefused) {
    config.Describe("shop");
    EXPECT_EQ(Refused(Entry("shop") + "<application/>", 347),
              "Unknown tag 'application' in configuration file '" + config.ListPath() + "'.");
    EXPECT_EQ(applications.Count(), 1) << "what stood before it stays";
}

TEST_F(ApplicationsTest, AnotherDocumentInPlaceOfAnApplicationsFileIsRefused) {
    WriteText(config.Path("shop"), "<APMClusterConfiguration/>");
    EXPECT_EQ(Refused(Entry("shop"), 348), "First tag in APM application config file '" + config.Path("shop") +
                                               "' should be APMApplicationConfiguration.");
}

TEST_F(ApplicationsTest, AnotherElementInAnApplicationsFileIsRefusedByTheNameOfThatFile) {
    config.Describe("shop", "<Name/><template>x</template>");
    EXPECT_EQ(Refused(Entry("shop"), 347),
              "Unknown tag 'template' in configuration file '" + config.Path("shop") + "'.");
    std::filesystem::remove(config.Path("shop"));
    WriteText(config.OtherPath("shop"), "<APMApplicationConfiguration><App/></APMApplicationConfiguration>");
    EXPECT_EQ(Refused(347), "Unknown tag 'App' in configuration file '" + config.OtherPath("shop") + "'.");
}

TEST_F(ApplicationsTest, OnlyTheFirstElementOfAnApplicationsFileIsRead) {
    WriteText(config.Path("shop"),
              "<APMApplicationConfiguration><Application><Template>a</Template></Application>"
              "<Application><Template>b</Template></Application><Other/></APMApplicationConfiguration>");
    Load(Entry("shop"));
    EXPECT_EQ(TextsOf(applications[0].GetPolicyNames()), Texts({"a"}));
}

TEST_F(ApplicationsTest, AGroupThatTheClusterDoesNotHaveIsNamedWithTheApplicationsFile) {
    config.Describe("shop");
    EXPECT_EQ(Refused(Entry("shop", OneOf("one") + OneOf("two", "None")), 349),
              "Error during parsing of the '" + config.Path("shop") +
                  "' file. Resource group 'None' does not exist in the cluster.");
    EXPECT_EQ(applications.Count(), 0) << "its application is not in the list yet";
}

TEST_F(ApplicationsTest, ElementsThatLackPassAsFailuresOfTheTree) {
    config.Describe("shop");
    for (const auto& [list, missing] : std::initializer_list<std::pair<const char*, const char*>>{
             {"<Application/>", "Name"},
             {"<Application><Name>shop</Name><Instance/></Application>", "Name"},
             {"<Application><Name>shop</Name><Instance><Name>x</Name></Instance></Application>", "Package"}}) {
        config.List(list);
        EXPECT_EQ(String_t(MessagesOf<ClusterXmlDataTreeException>([&] { Load(); })),
                  String_t("><No such element [") + missing + "] in the collection.");
    }
    WriteText(config.Path("shop"), "<APMApplicationConfiguration/>");
    config.List(Entry("shop"));
    EXPECT_EQ(String_t(MessagesOf<ClusterXmlDataTreeException>([&] { Load(); })), "><Index is out of range.");
}

TEST_F(ApplicationsTest, AFileThatIsNoXmlPassesAsAFailureOfTheTree) {
    WriteText(config.ListPath(), "<APMClusterConfiguration>");
    EXPECT_RAISES(Load(), ClusterXmlDataTreeException, 352);
    WriteText(config.Path("shop"), "no");
    config.List(Entry("shop"));
    EXPECT_RAISES(Load(), ClusterXmlDataTreeException, 352);
}

TEST_F(ApplicationsTest, WhatElseGoesWrongIsToldAsAnErrorOfTheParser) {
    std::filesystem::create_directories(config.ListPath());
    EXPECT_EQ(Refused(351), "Error during parsing configuration of application.");
    const auto messages = MessagesOf<ClusterParserException>([&] { Load(); });
    ASSERT_EQ(messages.GetMessageCount(), 1);
    ASSERT_EQ(messages.GetMessage(0).GetDetails().GetMessageCount(), 1);
    EXPECT_EQ(messages.GetMessage(0).GetDetails().GetMessage(0).GetId(), 354u);
}

TEST_F(ApplicationsTest, AClusterThatDoesNotTellItsNodesFailsTheLoad) {
    config.Describe("shop");
    Load(Entry("shop"));
    EXPECT_EQ(made.impl->asked, 1);
    made.impl->fails = true;
    EXPECT_EQ(Refused(351), "Error during parsing configuration of application.");
    EXPECT_EQ(applications.Count(), 0);
}

TEST_F(ApplicationsTest, ThoseAmbiguousAcrossAreForgottenByTheNextLoad) {
    config.Describe("shop");
    config.Describe("desk");
    Load(Entry("shop", OneOf("one")) + Entry("desk", OneOf("one")));
    EXPECT_TRUE(applications.IsInstanceAmbiguous("one"));
    Load(Entry("shop", OneOf("one")));
    EXPECT_FALSE(applications.IsInstanceAmbiguous("one"));
}

TEST_F(ApplicationsTest, ANodeWithoutAClusterIsToldSoBeforeAnyFileIsRead) {
    EXPECT_RAISES(applications.LoadConfig(), LumConf::ClusterException, 211);
}

TEST_F(ApplicationsTest, ManyNamesThatAreHardToReadAreTakenAsTheyAre) {
    const std::string hard = "a~@$#%~b&amp; \xC3\xA9\xF0\x9F\x98\x80 %1 $instanceName";
    made.Add("we~@$#%~b", RGState::Online, "north");
    config.Describe("shop");
    Load(Entry("shop", OneOf(hard, "we~@$#%~b") + OneOf("", "web")));
    EXPECT_EQ(applications[0].GetInstances()[0].GetName(),
              String_t::FromUtf8("a~@$#%~b& \xC3\xA9\xF0\x9F\x98\x80 %1 $instanceName"));
    EXPECT_TRUE(applications[0].IsInstanceAmbiguous("")) << "each list has the end of a name that is empty";
}

TEST_F(ApplicationsTest, ABlankBeforeAnEntityOfACommandIsLostButNotInSectionsOfCharacters) {
    config.Describe(
        "shop",
        "<StartCommand>run &quot;a b&quot; &amp; go</StartCommand><StartCommand>run \"a b\" go</StartCommand>"
        "<StartCommand><![CDATA[run <a & b> \"c\"]]></StartCommand>"
        "<StartCommand>first\n  second </StartCommand>");
    Load(Entry("shop"));
    EXPECT_EQ(TextsOf(applications[0].GetStartActions()),
              Texts({"run\"a b\"& go", "run \"a b\" go", "run <a & b> \"c\"", "first  second"}));
}

TEST_F(ApplicationsTest, TenTimesTheInstancesAndGroupsCostTenTimesAsMuch) {
    config.Describe("shop");
    const auto cost = [&](int count) {
        const MadeUpCluster many;
        std::string instances;
        for (int i = 0; i < count; ++i) {
            const std::string name = "group" + std::to_string(i);
            many.Add(name.c_str(), RGState::Online, "north");
            instances += OneOf("instance" + std::to_string(i), name);
        }
        config.List(Entry("shop", instances));
        return ProcessorSeconds([&] { applications.LoadConfig(many.cluster, many.groups); });
    };
    EXPECT_LT(TenfoldRatio(200, cost), kMostForTenfold);
}

}  // namespace
