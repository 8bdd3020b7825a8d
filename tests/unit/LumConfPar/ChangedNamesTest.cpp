#include "ChangedNames.h"

#include <gtest/gtest.h>

#include "Groups.h"

namespace LumConfPar {
namespace {

using LumPalConfig::ConfigGroup_t;

std::string Told(const ConfigGroup_t& group, Reach reach = Reach::Attributes, const char* package = "") {
    return ChangedNames(package, group, reach).ToUtf8();
}

TEST(ChangedNames, AreNamespacesWithTheirAttributesThoseThatTheNodeReadsFirst) {
    const ConfigGroup_t group = GroupOf({{"a", "X", "1"}, {"a", "Y", "2"}, {"sec.core", "CORE_ID", "me"}});
    group.GetConfig("empty");
    EXPECT_EQ(Told(group), "[sec.core] 'CORE_ID'; [a] 'X', 'Y'; [empty]");
    EXPECT_EQ(Told(group, Reach::Namespaces, "rg1"), "[sec.core]; [a]; [empty], of the package 'rg1'");
    EXPECT_EQ(Told(ConfigGroup_t()), "nothing");
}

TEST(ChangedNames, NoneThatTheNodeKnowsHidesBehindThoseThatSomebodyMakesUp) {
    ConfigGroup_t group;
    for (const char* const space : {"conf.a", "sec.a", "sec.cor", "sec.core", "vox.http.ext.conf", "conf.server"}) {
        LumPalConfig::Configuration_t configuration = group.GetConfig(space);
        for (int i = 0; i < 200; ++i)
            configuration.SetAttrValue(LumPalStr::String_t("A") + LumPalStr::NumToStr(i), "v");
    }
    group.GetConfig("sec.core").SetAttrValue("CORE_ID", "me");
    group.GetConfig("conf.server").SetAttrValue("AUDIT_LOGGING", "false");
    group.GetConfig("vox.http.ext.conf").SetAttrValue("LOCAL_SECRET_HEADER", "true");
    const std::string told = Told(group);
    EXPECT_TRUE(
        told.starts_with("[conf.server] 'AUDIT_LOGGING'; [sec.core] 'CORE_ID'; "
                         "[vox.http.ext.conf] 'LOCAL_SECRET_HEADER'; [conf.server] 'A0', 'A1', "))
        << told;
    EXPECT_NE(told.find("; and 1112 more"), std::string::npos) << told.substr(told.size() - 100);
}

TEST(ChangedNames, NoNamespaceThatTheNodeKnowsHidesBehindThoseThatSomebodyMakesUp) {
    ConfigGroup_t group;
    for (int i = 0; i < 200; ++i) group.GetConfig(LumPalStr::String_t("sec.") + LumPalStr::NumToStr(i));
    group.GetConfig("sec.core");
    EXPECT_TRUE(Told(group, Reach::Namespaces).starts_with("[sec.core]; [sec.0]; ")) << Told(group);
    EXPECT_TRUE(Told(group).starts_with("[sec.core]; [sec.0]; ")) << Told(group);
}

TEST(ChangedNames, NoNamespaceOfWordsForStatesHidesBehindThoseThatSomebodyMakesUp) {
    ConfigGroup_t group;
    for (int i = 0; i < 150; ++i) {
        group.GetConfig(LumPalStr::String_t("conf.a") + LumPalStr::NumToStr(i)).SetAttrValue("k", "v");
        group.GetConfig("conf.cluster.RGState.HACMP")
            .SetAttrValue(LumPalStr::String_t("A") + LumPalStr::NumToStr(i), "");
    }
    group.GetConfig("conf.cluster.RGState.VCS").SetAttrValue("OFFLINE", "ONLINE");
    group.GetConfig("conf.cluster.RGState.PCMK").SetAttrValue("Partial", "ONLINE");
    group.GetConfig("conf.cluster.RGState.X").SetAttrValue("OFFLINE", "ONLINE");
    group.GetConfig("sec.core").SetAttrValue("CORE_ID", "me");
    const std::string told = Told(group), spaces = Told(group, Reach::Namespaces);
    EXPECT_TRUE(told.starts_with("[sec.core] 'CORE_ID'; [conf.cluster.RGState.HACMP] 'A0', ")) << told;
    EXPECT_NE(told.find("; [conf.cluster.RGState.VCS] 'OFFLINE'; "), std::string::npos) << told;
    EXPECT_NE(told.find("; [conf.cluster.RGState.PCMK] 'Partial'; "), std::string::npos) << told;
    EXPECT_EQ(told.find("RGState.X"), std::string::npos) << told;
    EXPECT_TRUE(
        spaces.starts_with("[sec.core]; [conf.cluster.RGState.HACMP]; [conf.cluster.RGState.PCMK]; "
                           "[conf.cluster.RGState.VCS]; [conf.a0]; "))
        << spaces;
}

TEST(ChangedNames, OfWordsForStatesAreGivenWholeAsLongAsThereIsRoom) {
    ConfigGroup_t group;
    for (const char* const key : {"A", "B", "C", "D", "E", "F"})
        group.GetConfig("conf.cluster.RGState.SC").SetAttrValue(key, "ONLINE");
    EXPECT_EQ(Told(group), "[conf.cluster.RGState.SC] 'A', 'B', 'C', 'D', 'E'; [conf.cluster.RGState.SC] 'F'");
}

TEST(ChangedNames, OfOneNameNeverLookLikeTwo) {
    EXPECT_EQ(Told(GroupOf({{"a] 'X'; [b", "Y', 'Z", "1"}})), "[a\\] 'X'; \\[b] 'Y\\', \\'Z'");
    EXPECT_EQ(Told(GroupOf({{"a\\", "b\\", "1"}})), "[a\\\\] 'b\\\\'");
}

TEST(ChangedNames, OfALargeGroupAreCountedAndOfALongNameTheBeginningIsTold) {
    ConfigGroup_t group;
    for (int i = 0; i < 100000; ++i) {
        group.GetConfig(LumPalStr::String_t("n") + LumPalStr::NumToStr(i)).SetAttrValue("k", "v");
    }
    const std::string told = Told(group);
    EXPECT_LT(told.size(), 2000u);
    EXPECT_NE(told.find("; and 199900 more"), std::string::npos) << told.substr(told.size() - 100);
    group.GetConfig("sec.core").SetAttrValue("CORE_ID", "me");
    EXPECT_TRUE(Told(group).starts_with("[sec.core] 'CORE_ID'; [n0] 'k'; ")) << Told(group);
    const std::string longName(1000000, 'x');
    EXPECT_LT(Told(GroupOf({{longName.c_str(), longName.c_str(), "1"}})).size(), 300u);
}

}  // namespace
}  // namespace LumConfPar
