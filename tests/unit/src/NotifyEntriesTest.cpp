#include "NotifyEntries.h"

#include <gtest/gtest.h>

#include "StringList.h"

namespace {

using LumConf::NotifyEntries;

std::string Show(const NotifyEntries& entries) {
    std::string all;
    for (const auto& one : entries.ByType()) {
        all += one.type.ToUtf8() + ":" + LumConf::JoinWithBlanks(one.ids).ToUtf8() + ";";
    }
    return all;
}

TEST(NotifyEntries, TypesComeInTheirOrderAndIdsInThatOfTheirInsertion) {
    NotifyEntries entries;
    entries.Add("t2", "z");
    entries.Add("t1", "b");
    entries.Add("t2", "a");
    EXPECT_EQ(Show(entries), "t1:b;t2:z a;");
}

TEST(NotifyEntries, APairIsThereOnceAndKeepsItsPlace) {
    NotifyEntries entries;
    entries.Add("t", "a");
    entries.Add("t", "b");
    entries.Add("t", "a");
    EXPECT_EQ(Show(entries), "t:a b;");
}

TEST(NotifyEntries, AnErasedPairThatComesBackGoesToTheEnd) {
    NotifyEntries entries;
    entries.Add("t", "a");
    entries.Add("t", "b");
    entries.Erase("t", "a");
    EXPECT_FALSE(entries.Contains("t", "a"));
    entries.Add("t", "a");
    EXPECT_EQ(Show(entries), "t:b a;");
}

TEST(NotifyEntries, ATypeWithoutIdsIsGone) {
    NotifyEntries entries;
    entries.Add("t", "a");
    entries.Erase("t", "other");
    entries.Erase("other", "a");
    EXPECT_FALSE(entries.IsEmpty());
    entries.Erase("t", "a");
    EXPECT_TRUE(entries.IsEmpty());
    EXPECT_TRUE(entries.ByType().empty());
}

TEST(NotifyEntries, TheSameIdOfAnotherTypeIsAnotherPair) {
    NotifyEntries entries;
    entries.Add("t", "a");
    EXPECT_FALSE(entries.Contains("u", "a"));
    entries.Add("u", "a");
    EXPECT_EQ(Show(entries), "t:a;u:a;");
    entries.Clear();
    EXPECT_TRUE(entries.IsEmpty());
}

}  // namespace
