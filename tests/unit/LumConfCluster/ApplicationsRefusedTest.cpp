// What ends the loading of applications, and how it is told.
#include "NodeWithApplications.h"

namespace {

using namespace LumConfCluster;
using LumConf::ClusterParserException;
using LumConf::ClusterXmlDataTreeException;
using LumPalStr::String_t;

class ApplicationsRefused : public NodeWithApplications {};

TEST_F(ApplicationsRefused, WithoutTheListNoApplicationIsConfigured) {
    const std::string text = NotFound();
    EXPECT_NE(text.find("Cannot parse xml file '" + config.ListPath() + "'"), text.npos) << text;
    EXPECT_EQ(made.impl->asked, 0);
}

TEST_F(ApplicationsRefused, AnApplicationWithoutAFileEndsTheLoadAndLeavesThoseBeforeIt) {
    config.Describe("shop");
    config.List(Entry("shop", OneOf("one")) + Entry("desk") + Entry("bank"));
    const std::string text = NotFound();
    EXPECT_NE(text.find("'" + config.OtherPath("desk") + "'"), text.npos) << text;
    EXPECT_EQ(Names(applications), Texts({"shop"}));
    config.Describe("desk");
    config.Describe("bank");
    Load();
    EXPECT_EQ(applications.Count(), 3);
    std::filesystem::remove(config.ListPath());
    NotFound();
    EXPECT_EQ(applications.Count(), 0) << "the list is cleared first";
}

TEST_F(ApplicationsRefused, ANameThatLeadsElsewhereHasNoFileAndNothingIsOpened) {
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

TEST_F(ApplicationsRefused, AnotherDocumentInPlaceOfTheListIsRefused) {
    WriteText(config.ListPath(), "<apmclusterconfiguration/>");
    EXPECT_EQ(Refused(346),
              "First tag in APM common config file '" + config.ListPath() + "' should be APMClusterConfiguration.");
    EXPECT_EQ(made.impl->asked, 0);
}

TEST_F(ApplicationsRefused, AnotherElementInTheListIsRefused) {
    config.Describe("shop");
    EXPECT_EQ(Refused(Entry("shop") + "<application/>", 347),
              "Unknown tag 'application' in configuration file '" + config.ListPath() + "'.");
    EXPECT_EQ(applications.Count(), 1) << "what stood before it stays";
}

TEST_F(ApplicationsRefused, AnotherDocumentInPlaceOfAnApplicationsFileIsRefused) {
    WriteText(config.Path("shop"), "<APMClusterConfiguration/>");
    EXPECT_EQ(Refused(Entry("shop"), 348), "First tag in APM application config file '" + config.Path("shop") +
                                               "' should be APMApplicationConfiguration.");
}

TEST_F(ApplicationsRefused, AnotherElementInAnApplicationsFileIsRefusedByTheNameOfThatFile) {
    config.Describe("shop", "<Name/><template>x</template>");
    EXPECT_EQ(Refused(Entry("shop"), 347),
              "Unknown tag 'template' in configuration file '" + config.Path("shop") + "'.");
    std::filesystem::remove(config.Path("shop"));
    WriteText(config.OtherPath("shop"), "<APMApplicationConfiguration><App/></APMApplicationConfiguration>");
    EXPECT_EQ(Refused(347), "Unknown tag 'App' in configuration file '" + config.OtherPath("shop") + "'.");
}

TEST_F(ApplicationsRefused, AGroupThatTheClusterDoesNotHaveIsNamedWithTheApplicationsFile) {
    config.Describe("shop");
    EXPECT_EQ(Refused(Entry("shop", OneOf("one") + OneOf("two", "None")), 349),
              "Error during parsing of the '" + config.Path("shop") +
                  "' file. Resource group 'None' does not exist in the cluster.");
    EXPECT_EQ(applications.Count(), 0) << "its application is not in the list yet";
}

TEST_F(ApplicationsRefused, ElementsThatLackPassAsFailuresOfTheTree) {
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

TEST_F(ApplicationsRefused, AFileThatIsNoXmlPassesAsAFailureOfTheTree) {
    WriteText(config.ListPath(), "<APMClusterConfiguration>");
    EXPECT_RAISES(Load(), ClusterXmlDataTreeException, 352);
    WriteText(config.Path("shop"), "no");
    config.List(Entry("shop"));
    EXPECT_RAISES(Load(), ClusterXmlDataTreeException, 352);
}

TEST_F(ApplicationsRefused, WhatElseGoesWrongIsToldAsAnErrorOfTheParser) {
    std::filesystem::create_directories(config.ListPath());
    EXPECT_EQ(Refused(351), "Error during parsing configuration of application.");
    const auto messages = MessagesOf<ClusterParserException>([&] { Load(); });
    ASSERT_EQ(messages.GetMessageCount(), 1);
    ASSERT_EQ(messages.GetMessage(0).GetDetails().GetMessageCount(), 1);
    EXPECT_EQ(messages.GetMessage(0).GetDetails().GetMessage(0).GetId(), 354u);
}

TEST_F(ApplicationsRefused, AClusterThatDoesNotTellItsNodesFailsTheLoad) {
    config.Describe("shop");
    Load(Entry("shop"));
    EXPECT_EQ(made.impl->asked, 1);
    made.impl->fails = true;
    EXPECT_EQ(Refused(351), "Error during parsing configuration of application.");
    EXPECT_EQ(applications.Count(), 0);
}

TEST_F(ApplicationsRefused, ANodeWithoutAClusterIsToldSoBeforeAnyFileIsRead) {
    EXPECT_RAISES(applications.LoadConfig(), LumConf::ClusterException, 211);
}

}  // namespace
