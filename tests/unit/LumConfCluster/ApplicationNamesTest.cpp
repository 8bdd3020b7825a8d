#include "LumConfCluster/ApplicationNames.h"

#include <gtest/gtest.h>

namespace {

using LumConfCluster::ApplicationNames;
using LumConfCluster::FindAlikeButForCase;
using LumConfCluster::NamePairs;
using Entry = ApplicationNames::Entry;

TEST(ApplicationNames, ANameThatIsPartOfAnEarlierOneIsDropped) {
    ApplicationNames names;
    EXPECT_EQ(names.Add("shop"), Entry::First);
    EXPECT_EQ(names.Add("webshop"), Entry::First) << "it holds the other one, and not the other way round";
    EXPECT_EQ(names.Add("shop"), Entry::Further);
    EXPECT_EQ(names.Add("ebs"), Entry::Dropped);
    EXPECT_EQ(names.Add("hop"), Entry::Dropped);
    EXPECT_EQ(names.Add("hop"), Entry::Dropped) << "what is dropped is no application";
    EXPECT_EQ(names.Add("SHOP"), Entry::First);
    EXPECT_EQ(names.FindHolder("hop"), "shop");
    EXPECT_EQ(names.FindHolder("ebs"), "webshop");
    EXPECT_EQ(names.FindHolder("office"), "");
}

TEST(ApplicationNames, ANameOfTheMarkThatNamesAreKeptApartByIsDroppedThoughNoneHoldsIt) {
    EXPECT_EQ(ApplicationNames::Mark(), "~@$#%~");
    for (const char* name : {"", "~", "@", "@$"}) {
        ApplicationNames names;
        EXPECT_EQ(names.Add(name), Entry::Dropped) << name;
        EXPECT_EQ(names.FindHolder(name), "") << name;
    }
    ApplicationNames names;
    names.Add("shop");
    EXPECT_EQ(names.Add("op~"), Entry::Dropped);
    EXPECT_EQ(names.FindHolder("op~"), "");
}

TEST(ApplicationNames, WhatDiffersInItsCaseAloneIsFoundOnceWithTheFirstOfIt) {
    EXPECT_EQ(FindAlikeButForCase({}), NamePairs());
    EXPECT_EQ(FindAlikeButForCase({"till", "till", "stock", "tills"}), NamePairs()) << "the same name is none";
    EXPECT_EQ(FindAlikeButForCase({"till", "TILL", "stock", "Till", "TILL", "till"}),
              (NamePairs{{"TILL", "till"}, {"Till", "till"}}));
}

}  // namespace
