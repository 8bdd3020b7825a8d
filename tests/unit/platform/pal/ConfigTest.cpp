#include <gtest/gtest.h>

#include "LumPalConfig.h"
#include "LumPalMsg.h"

using LumPalConfig::ChangedConfiguration_t;
using LumPalConfig::ConfigGroup_t;
using LumPalConfig::Configuration_t;
using LumPalMsg::IllegalArgumentError_t;
using LumPalStr::String_t;

TEST(Configuration, AnAbsentKeyReadsAsEmptyFalseOrZero) {
    const Configuration_t config("ns");
    EXPECT_EQ(config.GetNamespace(), "ns");
    EXPECT_EQ(config.GetValue("x"), "");
    EXPECT_TRUE(config.GetValue("x").IsNotNull());
    EXPECT_EQ(config.GetAttrValue("x"), "");
    EXPECT_FALSE(config.GetBool("x"));
    EXPECT_EQ(config.GetInt("x"), 0);
    EXPECT_FALSE(config.HasAttr("x"));
    EXPECT_EQ(config.GetAttrCount(), 0);
    EXPECT_EQ(Configuration_t().GetNamespace(), "");
}

TEST(Configuration, ReadsBooleansByFourWords) {
    Configuration_t config;
    for (const char* word : {"true", "TRUE", "True", "yes", "YES", "on", "On", "1"}) {
        config.SetAttrValue("k", word);
        EXPECT_TRUE(config.GetBool("k")) << word;
    }
    for (const char* word : {"", "false", "no", "off", "0", "2", "10", "truee", " true", "true ", "y", "t"}) {
        config.SetAttrValue("k", word);
        EXPECT_FALSE(config.GetBool("k")) << word;
    }
}

TEST(Configuration, ReadsIntegers) {
    struct Row {
        const char* text;
        int value;
    };
    const Row rows[] = {{"12", 12}, {"-7", -7}, {" 8", 8}, {"9x", 9}, {"x", 0}, {"", 0}, {"99999999999", 2147483647}};
    Configuration_t config;
    for (const auto& row : rows) {
        config.SetAttrValue("k", row.text);
        EXPECT_EQ(config.GetInt("k"), row.value) << row.text;
    }
}

TEST(Configuration, WalksItsAttributesInTheOrderOfTheirNames) {
    Configuration_t config("ns");
    for (const char* name : {"b", "a", "C", "b"}) config.SetAttrValue(name, String_t("of ") + name);
    config.SetAttrValue("b", "again");
    ASSERT_EQ(config.GetAttrCount(), 3);
    const char* const expected[][2] = {{"C", "of C"}, {"a", "of a"}, {"b", "again"}};
    String_t name, value;
    for (int i = 0; i < 3; ++i) {
        EXPECT_TRUE(config.GetAttr(i, name, value));
        EXPECT_EQ(name, expected[i][0]);
        EXPECT_EQ(value, expected[i][1]);
    }
    for (const int outside : {-1, 3, 1000}) EXPECT_FALSE(config.GetAttr(outside, name, value)) << outside;
    EXPECT_EQ(name, "b") << "what is not there changes nothing";
}

TEST(Configuration, ClearsAnAttribute) {
    Configuration_t config;
    config.SetAttrValue("a", "1");
    config.SetAttrValue("b", "");
    config.ClearAttr("a");
    config.ClearAttr("x");
    EXPECT_FALSE(config.HasAttr("a"));
    EXPECT_TRUE(config.HasAttr("b"));
    EXPECT_EQ(config.GetAttrCount(), 1);
}

TEST(Configuration, TakesTheAttributesOfAnotherOverItsOwnAndSharesNothingWithIt) {
    Configuration_t target("a"), source("b");
    for (const char* name : {"k", "m"}) target.SetAttrValue(name, "old");
    for (const char* name : {"l", "m"}) source.SetAttrValue(name, "new");
    target.SetAttrs(source);
    EXPECT_EQ(target.GetNamespace(), "a");
    EXPECT_EQ(target.GetAttrCount(), 3);
    EXPECT_EQ(target.GetValue("k"), "old");
    EXPECT_EQ(target.GetValue("m"), "new");
    source.SetAttrValue("l", "later");
    EXPECT_EQ(target.GetValue("l"), "new");
    target.SetAttrs(target);
    target.SetAttrs(Configuration_t());
    EXPECT_EQ(target.GetAttrCount(), 3);
}

TEST(Configuration, WhatWasTakenOverByAnEmptyOneChangesForItselfOnBothSides) {
    Configuration_t from("a"), to("a"), third("a");
    from.SetAttrValue("k", "1");
    to.SetAttrs(from);
    third.SetAttrs(to);
    from.SetAttrValue("k", "2");
    to.SetAttrValue("m", "3");
    third.ClearAttr("k");
    EXPECT_EQ(from.GetValue("k"), "2");
    EXPECT_EQ(from.GetAttrCount(), 1);
    EXPECT_EQ(to.GetValue("k"), "1");
    EXPECT_EQ(to.GetValue("m"), "3");
    EXPECT_EQ(third.GetAttrCount(), 0);
    to.SetAttrs(Configuration_t("b"));
    EXPECT_EQ(to.GetAttrCount(), 2);
}

TEST(Configuration, CopiesShareAndAssignmentBindsAnew) {
    Configuration_t config("a");
    Configuration_t copy = config;
    copy.SetAttrValue("k", "1");
    EXPECT_EQ(config.GetValue("k"), "1");
    copy = Configuration_t("b");
    copy.SetAttrValue("k", "2");
    EXPECT_EQ(config.GetValue("k"), "1");
}

TEST(Configuration, AHundredThousandAttributesAreCheap) {
    Configuration_t config;
    for (int i = 100000; i > 0; --i) config.SetAttrValue(LumPalStr::NumToStr(i), "v");
    String_t name, value;
    int count = 0;
    while (config.GetAttr(count, name, value)) ++count;
    EXPECT_EQ(count, 100000);
    EXPECT_EQ(name, "99999");
}

TEST(ConfigGroup, MakesTheConfigurationThatIsAskedFor) {
    const ConfigGroup_t group;
    EXPECT_EQ(group.GetConfigCount(), 0);
    EXPECT_FALSE(group.HasConfig("b"));
    group.GetConfig("b").SetAttrValue("k", "1");
    group.GetConfig("a");
    EXPECT_EQ(group.GetConfigCount(), 2);
    EXPECT_TRUE(group.HasConfig("b"));
    EXPECT_EQ(group.GetConfig("b").GetValue("k"), "1");
    EXPECT_EQ(group.GetConfig(0).GetNamespace(), "a");
    EXPECT_EQ(group.GetConfig(1).GetNamespace(), "b");
}

TEST(ConfigGroup, RefusesAnIndexThatIsNotThere) {
    ConfigGroup_t group;
    EXPECT_THROW(group.GetConfig(0), IllegalArgumentError_t);
    group.GetConfig("a");
    EXPECT_THROW(group.GetConfig(-1), IllegalArgumentError_t);
    EXPECT_THROW(group.GetConfig(1), IllegalArgumentError_t);
}

TEST(ConfigGroup, ResetEmptiesEveryCopyAndLeavesWhatWasTaken) {
    ConfigGroup_t group;
    const ConfigGroup_t copy = group;
    const Configuration_t taken = group.GetConfig("a");
    group.GetConfig("a").SetAttrValue("k", "1");
    group.Reset();
    EXPECT_EQ(copy.GetConfigCount(), 0);
    EXPECT_EQ(taken.GetValue("k"), "1");
    EXPECT_EQ(group.GetConfig("a").GetAttrCount(), 0);
}

TEST(ConfigGroup, WhatIsMovedInStandsOverWhatWasThereAndLeavesTheOtherEmpty) {
    ConfigGroup_t group, other;
    const ConfigGroup_t copyOfOther = other;
    group.GetConfig("a").SetAttrValue("k", "old");
    group.GetConfig("a").SetAttrValue("m", "old");
    other.GetConfig("a").SetAttrValue("m", "new");
    other.GetConfig("b").SetAttrValue("k", "new");
    const Configuration_t kept = group.GetConfig("a"), moved = other.GetConfig("b");
    group.MoveIn(other);
    EXPECT_EQ(copyOfOther.GetConfigCount(), 0);
    EXPECT_EQ(group.GetConfigCount(), 2);
    EXPECT_EQ(kept.GetValue("k"), "old");
    EXPECT_EQ(kept.GetValue("m"), "new") << "who holds a configuration sees what came to it";
    group.GetConfig("b").SetAttrValue("k", "later");
    EXPECT_EQ(moved.GetValue("k"), "later");
}

TEST(ConfigGroup, MovedIntoItselfItStays) {
    ConfigGroup_t group, copy = group;
    group.GetConfig("a").SetAttrValue("k", "1");
    group.MoveIn(copy);
    EXPECT_EQ(group.GetConfig("a").GetValue("k"), "1");
}

TEST(ConfigGroup, ANamespaceThatIsClearedIsGoneFromEveryCopyAndLeavesWhatWasTaken) {
    ConfigGroup_t group;
    const ConfigGroup_t copy = group;
    const Configuration_t taken = group.GetConfig("b");
    for (const char* name : {"a", "b", "c"}) group.GetConfig(name).SetAttrValue("k", "1");
    group.ClearConfig("b");
    group.ClearConfig("none");
    EXPECT_EQ(copy.GetConfigCount(), 2);
    EXPECT_FALSE(copy.HasConfig("b"));
    EXPECT_EQ(copy.GetConfig(1).GetNamespace(), "c");
    EXPECT_EQ(taken.GetValue("k"), "1");
    EXPECT_EQ(group.GetConfig("b").GetAttrCount(), 0);
}

TEST(ChangedConfiguration, ADefaultOneHoldsNoChange) {
    EXPECT_FALSE(ChangedConfiguration_t().HasChanged("a"));
    EXPECT_EQ(ChangedConfiguration_t().GetCount(), 0);
}
