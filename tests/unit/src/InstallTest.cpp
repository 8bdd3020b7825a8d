// What an install does with a policy that is accepted: unpacking, options, places, books, notifications.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Exceptions.h"
#include "Files.h"
#include "InstallOptionsImpl.h"
#include "InstallTest.h"
#include "TraceLines.h"

namespace LumConf {
namespace {

using LumPalStr::String_t;
using testing::ElementsAre;
using testing::IsEmpty;
namespace fs = std::filesystem;

std::string Categories(const PolicyHeader& header) {
    std::string all;
    for (int i = 0; i < header.GetCategoryCount(); ++i) all += header.GetCategory(i).ToUtf8() + ";";
    return all;
}

std::string Attributes(const PolicyHeader& header) {
    std::string all;
    for (int i = 0; i < header.GetAttributesCount(); ++i) {
        const PolicyAttribute attribute = header.GetAttribute(i);
        all += attribute.GetName().ToUtf8() + "=" + attribute.GetValue().ToUtf8() + ";";
    }
    return all;
}

TEST_F(InstallTest, ANewPolicyTakesItsPlaceAndLeavesNothingElsewhere) {
    node.Install(Policy("a"));
    EXPECT_THAT(node.Installed(), ElementsAre("files/a.one", "files/a.two", "files/a_header.xml"));
    EXPECT_EQ(node.InstalledContent("files/a.one"), "1 of a");
    EXPECT_THAT(node.Incoming(), IsEmpty());
    EXPECT_THAT(node.Temporary(), IsEmpty());
    EXPECT_EQ(node.Ids(), "a");
    EXPECT_EQ(node.Audited("Success Audit: INSTALL: Policy (name: 'name of a', id: 'a') was successfully installed."
                           " Calling system: 'tester'"),
              1);
}

TEST_F(InstallTest, WhatIsInstalledRestsReadOnly) {
    node.Install(Policy("a"));
    for (const std::string& file : node.Installed())
        EXPECT_EQ(ModeOf(node.InstallFolder() + "/" + file), 0440u) << file;
}

TEST_F(InstallTest, ANewPolicyKeepsTheStatusOfItsDocumentAndIsToldWithItsType) {
    PolicyListener listener;
    TestPolicy policy = Policy("a");
    policy.status = "disabled";
    InstallOptions options;
    node->Install("tester", policy.Array(), options);
    EXPECT_THAT(listener.Heard(), ElementsAre("FIRST_POLICY:files ", "CHECK_POLICY:files a"));
    EXPECT_TRUE(Stored("a").IsDisabled());
}

TEST_F(InstallTest, ASecondPolicyOfATypeIsNotItsFirst) {
    PolicyListener listener;
    InstallOptions options;
    node->Install("tester", Policy("a").Array(), options);
    listener.Heard();
    node->Install("tester", Policy("b").Array(), options);
    EXPECT_THAT(listener.Heard(), ElementsAre("CHECK_POLICY:files b"));
}

TEST_F(InstallTest, AnUpdateIsToldWithoutItsTypeAndAForcedMoveWithTheNewTypeAlone) {
    PolicyListener listener;
    InstallOptions options;
    TestPolicy policy = Policy("a");
    node->Install("tester", policy.Array(), options);
    listener.Heard();
    node->Install("tester", policy.Array(), options);
    EXPECT_THAT(listener.Heard(), ElementsAre("CHECK_POLICY:files a"));
    policy.type = "other";
    node->Install("tester", policy.Array(), options.SetForceAll(true));
    EXPECT_THAT(listener.Heard(), ElementsAre("FIRST_POLICY:other ", "CHECK_POLICY:other a"));
}

TEST_F(InstallTest, AnInstallWithoutNotificationQueuesIt) {
    PolicyListener listener;
    node.Install(Policy("a"));
    EXPECT_THAT(listener.Heard(), IsEmpty());
    node.Install(Policy("b"));
    node->Notify("tester");
    EXPECT_THAT(listener.Heard(), ElementsAre("FIRST_POLICY:files ", "CHECK_POLICY:files a b"));
}

TEST_F(InstallTest, WhenNobodyCanBeToldThePolicyIsInstalledAllTheSame) {
    InstallOptions options;
    EXPECT_EQ(FailureOf<LumCtrl::ControlException>([&] { node->Install("x", Policy("a").Array(), options); }).id, 91u);
    EXPECT_EQ(node.Ids(), "a");
    EXPECT_EQ(node.Installed().size(), 3u);
    EXPECT_EQ(node.Audited("was successfully installed"), 1);
    EXPECT_EQ(node.Audited("could not be installed"), 0);
    EXPECT_THAT(node.Incoming(), IsEmpty());
}

TEST_F(InstallTest, IdsAndTypesAreKeptInLowerCase) {
    TestPolicy policy = Policy("A");
    policy.type = "Files";
    node.Install(policy);
    EXPECT_EQ(node.Installed().count("files/a_header.xml"), 1u);
    EXPECT_EQ(node.Get("a").GetTypeName(), "files");
}

TEST_F(InstallTest, AnEmptyDataFileAndNamesOutsideAsciiAreInstalled) {
    TestPolicy policy = Policy("gr\xC3\xB6n");
    policy.name = "\xE6\x97\xA5\xE6\x9C\xAC";
    policy.data = {{"leer", ""}, {"\xE6\x97\xA5.txt", "x"}};
    node.Install(policy);
    EXPECT_THAT(node.Installed(), ElementsAre("files/gr\xC3\xB6n_header.xml", "files/leer", "files/\xE6\x97\xA5.txt"));
    EXPECT_EQ(node.InstalledContent("files/leer"), "");
    EXPECT_EQ(node.InstalledContent("files/\xE6\x97\xA5.txt"), "x");
    node->ReinitCache("tester");
    EXPECT_EQ(node.List().GetPolicyHeader(0).GetName(), String_t::FromUtf8(policy.name));
}

TEST_F(InstallTest, TheNameOfTheHeaderFileOnTheWayDoesNotMatter) {
    TestPolicy policy = Policy("a");
    policy.headerName = "anything_header.xml";
    node.Install(policy);
    EXPECT_EQ(node.Installed().count("files/a_header.xml"), 1u);
    EXPECT_EQ(node.Installed().size(), 3u);
}

TEST_F(InstallTest, WhatTheDocumentSaysBeyondWhatIsKnownIsKept) {
    TestPolicy policy = Policy("a");
    policy.document = policy.Document();
    policy.document.insert(policy.document.find("<policytype>"), "<news><item>1</item></news>");
    node.Install(policy);
    EXPECT_NE(node.InstalledContent("files/a_header.xml").find("<item>1</item>"), std::string::npos);
}

// Options on a new policy

struct OptionsRow {
    const char* what;
    void (*set)(InstallOptions&);
    const char* status;
    const char* owner;
    const char* categories;
    const char* attributes;
};

const OptionsRow kOptions[] = {
    {"no options", [](InstallOptions&) {}, "odd", "me", "c1;c2;", "k=1;k=2;"},
    {"enabled", [](InstallOptions& o) { o.SetEnabled(); }, "enabled", "me", "c1;c2;", "k=1;k=2;"},
    {"disabled", [](InstallOptions& o) { o.SetDisabled(); }, "disabled", "me", "c1;c2;", "k=1;k=2;"},
    {"a status that is none", [](InstallOptions& o) { o.GetImpl().SetState(2); }, "odd", "me", "c1;c2;", "k=1;k=2;"},
    {"all categories away, and one of them named",
     [](InstallOptions& o) { o.SetRemoveAllCategories(true).SetRemoveCategory("c1"); }, "odd", "me", "", "k=1;k=2;"},
    {"all attributes away, and one of them named",
     [](InstallOptions& o) { o.SetRemoveAllAttributes(true).SetRemoveAttribute("k", "1"); }, "odd", "me", "c1;c2;", ""},
    {"a forced status without a status", [](InstallOptions& o) { o.ForceState(); }, "odd", "me", "c1;c2;", "k=1;k=2;"},
    {"another owner", [](InstallOptions& o) { o.SetOwner("you"); }, "odd", "you", "c1;c2;", "k=1;k=2;"},
    {"no owner", [](InstallOptions& o) { o.RemoveOwner(); }, "odd", "", "c1;c2;", "k=1;k=2;"},
    {"no owner wins over another", [](InstallOptions& o) { o.SetOwner("you").RemoveOwner(); }, "odd", "", "c1;c2;",
     "k=1;k=2;"},
    {"a category more", [](InstallOptions& o) { o.SetAddCategory("c3").SetAddCategory("c1"); }, "odd", "me",
     "c1;c2;c3;", "k=1;k=2;"},
    {"a category less", [](InstallOptions& o) { o.SetRemoveCategory("c1").SetRemoveCategory("none"); }, "odd", "me",
     "c2;", "k=1;k=2;"},
    {"a category removed and added", [](InstallOptions& o) { o.SetRemoveCategory("c1").SetAddCategory("c1"); }, "odd",
     "me", "c2;c1;", "k=1;k=2;"},
    {"other categories", [](InstallOptions& o) { o.SetRemoveAllCategories(true).SetAddCategory("n"); }, "odd", "me",
     "n;", "k=1;k=2;"},
    {"an attribute more", [](InstallOptions& o) { o.SetAddAttribute("k", "3").SetAddAttribute("k", "1"); }, "odd", "me",
     "c1;c2;", "k=1;k=2;k=3;"},
    {"an attribute less", [](InstallOptions& o) { o.SetRemoveAttribute("k", "1").SetRemoveAttribute("k", "9"); }, "odd",
     "me", "c1;c2;", "k=2;"},
    {"other attributes", [](InstallOptions& o) { o.SetRemoveAllAttributes(true).SetAddAttribute("n", ""); }, "odd",
     "me", "c1;c2;", "n=;"},
};

TEST_F(InstallTest, TheOptionsChangeANewPolicy) {
    for (const OptionsRow& row : kOptions) {
        SCOPED_TRACE(row.what);
        TestPolicy policy = Policy("a");
        policy.status = "odd";
        policy.owner = "me";
        policy.categories = {"c1", "c2"};
        policy.attributes = {{"k", "1"}, {"k", "2"}};
        InstallOptions options;
        row.set(options);
        node.Install(policy, options);
        const PolicyHeader header = Stored("a");
        EXPECT_EQ(header.GetStatus(), row.status);
        EXPECT_EQ(header.GetOwner(), row.owner);
        EXPECT_EQ(Categories(header), row.categories);
        EXPECT_EQ(Attributes(header), row.attributes);
        node.Remove(Selection());
    }
}

TEST_F(InstallTest, ASettingsPolicyGoesToTheWorkerAndNotToTheControlService) {
    TestPolicy policy = Policy("a");
    policy.type = "configsettings";
    InstallOptions options;
    EXPECT_NO_THROW(node->Install("tester", policy.Array(), options)) << "no control service runs here";
    EXPECT_EQ(node.Ids(), "a");
}

TEST_F(InstallTest, ASettingsPolicyThatBecomesOneOfAnotherTypeLeavesTheSettings) {
    for (const char* cache : {"true", "false"}) {
        Configure("conf.core", "CACHE_CONFIGSETTINGS_POLICIES", cache);
        node.Restart();
        TestPolicy policy = Policy("a");
        policy.type = "configsettings";
        policy.data = {{"a.ini", "[app]\nk=1\n"}};
        node->Install("tester", policy.Array(), InstallOptions().SetForceAll(true));
        const std::string settings = node.Root().Native() + "/etc/pal/config/policy_settings.ini";
        EXPECT_TRUE(Eventually([&] { return ReadText(settings) == "[app]\nk=1\n"; })) << cache;
        policy.type = "files";
        node.Install(policy, InstallOptions().SetForceAll(true));
        // Nobody listens for the other type.
        EXPECT_THROW(node->Notify("tester"), LumCtrl::ControlException);
        EXPECT_TRUE(Eventually([&] { return ReadText(settings).empty(); })) << cache;
    }
}

TEST_F(InstallTest, InAProcessThatSawNoClusterAnAttributeForTheClusterChangesNothing) {
    TestPolicy policy = Policy("a");
    policy.attributes = {{"HARG", "group1"}};
    node.Install(policy);
    EXPECT_TRUE(Stored("a").IsEnabled());
}

TEST_F(InstallTest, AFailureOfTheClusterIsTracedAndDoesNotFailTheInstall) {
    node.SetClusterChange([](PolicyHeaderImpl*) {
        throw LumPalMsg::RuntimeException_t(LumPalMsg::CreateError_t("The cluster does not answer."));
    });
    TraceLines trace;
    EXPECT_NO_THROW(node.Install(Policy("a")));
    EXPECT_TRUE(
        trace.Contains("Error changing policy status using cluster APM mechanism. This error will be ignored."));
    EXPECT_TRUE(trace.Contains("The cluster does not answer."));
    EXPECT_TRUE(Stored("a").IsEnabled());
    EXPECT_EQ(node.Audited("could not be installed"), 0);
}

TEST_F(InstallTest, TheStatusThatTheClusterGivesIsInstalledAndComesAfterThatOfTheOptions) {
    node.SetClusterChange([](PolicyHeaderImpl* header) { header->SetDisabled(); });
    node.Install(Policy("a"), InstallOptions().SetEnabled());
    EXPECT_TRUE(node.Get("a").IsDisabled());
    EXPECT_TRUE(Stored("a").IsDisabled());
}

TEST_F(InstallTest, ATypeWhoseFolderIsALinkIsRefused) {
    fs::create_directory(node.Root().Native() + "/elsewhere");
    fs::create_directory_symlink(node.Root().Native() + "/elsewhere", node.InstallFolder() + "/files");
    const CaughtFailure failure = FailureOf<PolicyFileException>([&] { node.Install(Policy("a")); });
    EXPECT_EQ(failure.id, 0u);
    EXPECT_NE(failure.text.find(node.InstallFolder() + "/files"), std::string::npos);
    EXPECT_THAT(PolicyNode::FilesBelow(node.Root().Native() + "/elsewhere"), IsEmpty());
    EXPECT_THAT(node.Incoming(), IsEmpty());
    EXPECT_FALSE(node->IsPolicyInstalled());
}

TEST_F(InstallTest, ALinkInThePlaceOfAFileOfThePolicyIsReplaced) {
    WriteText(node.Root().Native() + "/victim", "keep");
    fs::create_directory(node.InstallFolder() + "/files");
    fs::create_symlink(node.Root().Native() + "/victim", node.InstallFolder() + "/files/a.one");
    fs::create_symlink(node.Root().Native() + "/victim", node.InstallFolder() + "/files/a_header.xml");
    node.Install(Policy("a"));
    EXPECT_EQ(PolicyNode::Content(node.Root().Native() + "/victim"), "keep");
    EXPECT_FALSE(fs::is_symlink(node.InstallFolder() + "/files/a.one"));
    EXPECT_FALSE(fs::is_symlink(node.InstallFolder() + "/files/a_header.xml"));
}

}  // namespace
}  // namespace LumConf
