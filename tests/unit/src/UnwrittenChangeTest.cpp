// Changes that reached the cache and not the disk: what is told of them when they are written after all.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <string_view>

#include "Exceptions.h"
#include "Faults.h"
#include "PolicyNode.h"
#include "Raised.h"

namespace LumConf {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class UnwrittenChange : public testing::Test {
protected:
    UnwrittenChange() {
        node.Install(Policy("a"));
        node.Install(Policy("b"));
        try {
            node->Notify("tester");
        } catch (const LumCtrl::ControlException&) {
            // Nobody listens yet: what was queued is gone all the same.
        }
    }
    static TestPolicy Policy(const std::string& id) {
        TestPolicy policy;
        policy.id = id;
        policy.name = "name of " + id;
        return policy;
    }
    static Selection Id(const char* id) { return Selection().SetPolicyId(id); }
    void Status(const char* id, int action) {
        node->SetStatus("tester", Id(id), action, PolicyForwarder::Options().SetNotify(true));
    }
    void Category(const char* id) {
        node->ModifyCategory("tester", "c1", Id(id), PolicyForwarder::Options().SetNotify(true),
                             PolicyOperation::AddCategory);
    }
    void Attribute(const char* id) {
        node->ModifyAttributes("tester", "n=v", Id(id), PolicyForwarder::Options().SetNotify(true),
                               PolicyOperation::AddAttribute);
    }
    /// While no document can be written.
    template <class Change>
    void Fail(Change&& change) {
        const FailingFile full("fsync", "");
        EXPECT_THROW(change(), LumPalIo::IOException_t);
    }

    PolicyNode node{kFastFolder};
};

TEST_F(UnwrittenChange, OfTwoStatusesThatFoundNoRoomTheLastOneIsToldWhenItIsWritten) {
    PolicyListener listener;
    Fail([&] { Status("a", PolicyOperation::Disable); });
    Fail([&] { node->SetStatus("tester", Id("b"), PolicyOperation::Disable, PolicyForwarder::Options()); });
    Fail([&] { Status("a", PolicyOperation::Enable); });
    EXPECT_THAT(listener.Heard(), IsEmpty());
    EXPECT_EQ(FailureOf<NoPolicyOperation>([&] { Status("a", PolicyOperation::Enable); }).id, 116u);
    EXPECT_THAT(listener.Heard(), ElementsAre("ENABLE_POLICY:files a"));
    EXPECT_EQ(node.Audited("(name: 'name of a', id: 'a') was successfully enabled"), 1) << node.AuditText();
    EXPECT_EQ(node.Audited("(name: 'name of a', id: 'a') was successfully disabled"), 0) << node.AuditText();
    EXPECT_TRUE(node.Get("a").IsEnabled());
}

TEST_F(UnwrittenChange, EveryKindOfChangeThatFoundNoRoomIsToldWithTheNextOneThatIsWritten) {
    PolicyListener listener;
    Fail([&] { Category("a"); });
    Fail([&] { Attribute("a"); });
    Status("a", PolicyOperation::Disable);
    EXPECT_THAT(listener.Heard(), UnorderedElementsAre("CHECK_POLICY:files a"))
        << "who is told of a new document looks at its status too";
    EXPECT_EQ(node.Audited("(name: 'name of a', id: 'a') category was successfully changed"), 1) << node.AuditText();
    EXPECT_EQ(node.Audited("(name: 'name of a', id: 'a') attribute was successfully changed"), 1) << node.AuditText();
    EXPECT_EQ(node.Audited("was successfully disabled"), 1);
    const std::string document = node.InstalledContent("files/a_header.xml");
    EXPECT_NE(document.find("c1"), std::string::npos);
    EXPECT_NE(document.find("disabled"), std::string::npos);
    EXPECT_EQ(FailureOf<PolicyNotFoundError>([&] { Category("a"); }).id, 122u) << "nothing waits any more";
}

TEST_F(UnwrittenChange, WhatWasToBeWrittenTogetherWithADocumentThatCannotBeMovedIsWrittenByTheRetryToo) {
    const auto disableAll = [&] {
        node->SetStatus("tester", Selection(), PolicyOperation::Disable, PolicyForwarder::Options().SetNotify(true));
    };
    PolicyListener listener;
    // The store is a file system of its own, and full: documents can be made, and not moved.
    LumPalIo::SetFaultHookForTest([](const char* operation, const char* path) {
        const std::string_view asked = operation, place = path;
        if (asked == "rename" && place.find("/conf_tmp/") != place.npos) return true;
        if (asked != "open" || place.find("/policies/") == place.npos) return false;
        errno = ENOSPC;
        return true;
    });
    EXPECT_THROW(disableAll(), LumPalIo::NoSpaceException_t);
    LumPalIo::SetFaultHookForTest(nullptr);
    EXPECT_EQ(node.InstalledContent("files/a_header.xml").find("disabled"), std::string::npos);
    EXPECT_EQ(node.InstalledContent("files/b_header.xml").find("disabled"), std::string::npos);
    EXPECT_THAT(node.Temporary(), IsEmpty());
    EXPECT_EQ(FailureOf<NoPolicyOperation>(disableAll).id, 116u);
    EXPECT_THAT(listener.Heard(), ElementsAre("DISABLE_POLICY:files a b"));
    EXPECT_EQ(node.Audited("was successfully disabled"), 2) << node.AuditText();
    node.Restart();
    EXPECT_TRUE(node.Get("a").IsDisabled());
    EXPECT_TRUE(node.Get("b").IsDisabled());
}

TEST_F(UnwrittenChange, AReportOfStatusesWritesWhatFoundNoRoomAndTellsIt) {
    PolicyListener listener;
    Fail([&] { Status("a", PolicyOperation::Disable); });
    EXPECT_EQ(node.InstalledContent("files/a_header.xml").find("disabled"), std::string::npos);
    node->NotifyEnableDisable("conf.cluster");
    EXPECT_NE(node.InstalledContent("files/a_header.xml").find("disabled"), std::string::npos);
    EXPECT_THAT(listener.Heard(), ElementsAre("DISABLE_POLICY:files a"));
    node->NotifyEnableDisable("conf.cluster");
    EXPECT_THAT(listener.Heard(), IsEmpty()) << "once";
    node.Restart();
    EXPECT_TRUE(node.Get("a").IsDisabled());
}

TEST_F(UnwrittenChange, AReportOfStatusesThatFindsNoRoomTellsTheOthersAndTriesAgainNextTime) {
    PolicyListener listener;
    Fail([&] { Status("a", PolicyOperation::Disable); });
    node->SetStatus("tester", Id("b"), PolicyOperation::Disable, PolicyForwarder::Options().SetNotify(false));
    Fail([&] { node->NotifyEnableDisable("conf.cluster"); });
    EXPECT_THAT(listener.Heard(), ElementsAre("DISABLE_POLICY:files b"));
    EXPECT_EQ(node.InstalledContent("files/a_header.xml").find("disabled"), std::string::npos);
    node->NotifyEnableDisable("conf.cluster");
    EXPECT_NE(node.InstalledContent("files/a_header.xml").find("disabled"), std::string::npos);
    EXPECT_THAT(listener.Heard(), ElementsAre("DISABLE_POLICY:files a"));
}

TEST_F(UnwrittenChange, APolicyThatWasReplacedUnderAnotherIdIsForgotten) {
    Fail([&] { Status("a", PolicyOperation::Disable); });
    TestPolicy fresh = Policy("z");
    fresh.name = "name of a";
    node.Install(fresh);
    const Selection nobody = Selection().SetPolicyName("nobody");
    const PolicyForwarder::Options options;
    EXPECT_EQ(FailureOf<PolicyNotFoundError>([&] {
                  node->SetStatus("tester", nobody, PolicyOperation::Disable, options);
              }).id,
              115u);
    EXPECT_EQ(FailureOf<PolicyNotFoundError>([&] { node->SetOwner("tester", "o", nobody, options); }).id, 118u);
}

TEST_F(UnwrittenChange, AChangeThatChangesNothingLeavesWhatWaitsAsItIs) {
    Fail([&] { Category("a"); });
    EXPECT_EQ(FailureOf<PolicyNotFoundError>([&] {
                  node->ModifyAttributes("tester", "n=v", Id("a"), PolicyForwarder::Options(),
                                         PolicyOperation::RemoveAttribute);
              }).id,
              126u);
    EXPECT_NE(node.InstalledContent("files/a_header.xml").find("c1"), std::string::npos)
        << "it was selected, and there is room";
}

}  // namespace
}  // namespace LumConf
