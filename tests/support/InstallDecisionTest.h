/// @file
/// The tests of what an install does about what is installed: a policy that stands on the node, and one that comes.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "PolicyNode.h"

namespace LumConf {

/// The policy that stands on the node in these tests.
inline TestPolicy Installed() {
    TestPolicy policy;
    policy.id = "a";
    policy.version = "5";
    policy.owner = "me";
    policy.status = "disabled";
    policy.categories = {"old2", "old1"};
    policy.attributes = {{"old", "2"}, {"old", "1"}};
    policy.data = {{"old.txt", "old data"}, {"both.txt", "old both"}};
    return policy;
}

/// The one that comes.
inline TestPolicy Arriving() {
    TestPolicy policy;
    policy.id = "a";
    policy.version = "6";
    policy.owner = "me";
    policy.status = "enabled";
    policy.categories = {"new"};
    policy.attributes = {{"new", "1"}};
    policy.data = {{"new.txt", "new data"}, {"both.txt", "new both"}};
    return policy;
}

inline std::string Describe(const PolicyHeader& header) {
    std::string text =
        header.GetVersion().ToUtf8() + "," + header.GetOwner().ToUtf8() + "," + header.GetStatus().ToUtf8() + ",";
    for (int i = 0; i < header.GetCategoryCount(); ++i) text += header.GetCategory(i).ToUtf8() + " ";
    text += ",";
    for (int i = 0; i < header.GetAttributesCount(); ++i) {
        text += header.GetAttribute(i).GetName().ToUtf8() + "=" + header.GetAttribute(i).GetValue().ToUtf8() + " ";
    }
    return text;
}

class InstallDecisionTest : public testing::Test {
protected:
    /// Cache and store say the same of the policy.
    std::string Result(const char* id = "a") {
        const std::string cached = Describe(node.Get(id));
        node->ReinitCache("tester");
        EXPECT_EQ(Describe(node.Get(id)), cached);
        return cached;
    }
    void ExpectUntouched() {
        EXPECT_EQ(Result(), "5,me,disabled,old2 old1 ,old=2 old=1 ");
        EXPECT_THAT(node.Installed(), testing::ElementsAre("files/a_header.xml", "files/both.txt", "files/old.txt"));
        EXPECT_EQ(node.InstalledContent("files/both.txt"), "old both");
        EXPECT_THAT(node.Incoming(), testing::IsEmpty());
    }
    PolicyNode node;
};

}  // namespace LumConf
