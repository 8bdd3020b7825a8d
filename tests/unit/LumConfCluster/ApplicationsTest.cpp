#include "LumConfCluster/Applications.h"

#include "HostName.h"
#include "NodeWithApplications.h"
#include "Tenfold.h"

namespace {

using namespace LumConfCluster;
using LumConf::ClusterApplicationException;
using LumPalStr::String_t;

class ApplicationsTest : public NodeWithApplications {};

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
    EXPECT_EQ(Names(applications), Texts({"shop", "desk"})) << "in the order of the first entries";
    EXPECT_EQ(Names(applications[0].GetInstances()), Texts({"one", "two"}));
    EXPECT_EQ(TextsOf(applications[0].GetPolicyNames()), Texts({"t", "t"})) << "its lists stand there twice";
    EXPECT_EQ(TextsOf(applications[0].GetStartActions()), Texts({"s", "s"}));
    EXPECT_EQ(TextsOf(applications[0].GetCustomAgents()), Texts({"a", "a"}));
}

TEST_F(ApplicationsTest, AnApplicationWhoseNameOccursInsideAnEarlierOneIsReadAndDropped) {
    config.Describe("webshop");
    config.Describe("shop", "<Template>t</Template>");
    config.Describe("shopping");
    Load(Entry("webshop") + Entry("shop", OneOf("one")) + Entry("shopping"));
    EXPECT_EQ(Names(applications), Texts({"webshop", "shopping"}));
    EXPECT_EQ(applications[0].GetInstances().Count(), 0);
    config.Describe("shop", "<Unknown/>");
    EXPECT_NE(Refused(347).find("'Unknown'"), std::string::npos) << "it is read all the same";
}

TEST_F(ApplicationsTest, TheCaseOfANameMakesAnotherApplication) {
    config.Describe("shop");
    config.Describe("SHOP");
    Load(Entry("shop") + Entry("SHOP", OneOf("one")));
    EXPECT_EQ(Names(applications), Texts({"shop", "SHOP"}));
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

TEST_F(ApplicationsTest, OnlyTheFirstElementOfAnApplicationsFileIsRead) {
    WriteText(config.Path("shop"),
              "<APMApplicationConfiguration><Application><Template>a</Template></Application>"
              "<Application><Template>b</Template></Application><Other/></APMApplicationConfiguration>");
    Load(Entry("shop"));
    EXPECT_EQ(TextsOf(applications[0].GetPolicyNames()), Texts({"a"}));
}

TEST_F(ApplicationsTest, ThoseAmbiguousAcrossAreForgottenByTheNextLoad) {
    config.Describe("shop");
    config.Describe("desk");
    Load(Entry("shop", OneOf("one")) + Entry("desk", OneOf("one")));
    EXPECT_TRUE(applications.IsInstanceAmbiguous("one"));
    Load(Entry("shop", OneOf("one")));
    EXPECT_FALSE(applications.IsInstanceAmbiguous("one"));
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
