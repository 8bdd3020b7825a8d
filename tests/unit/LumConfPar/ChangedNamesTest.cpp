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
