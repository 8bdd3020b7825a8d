// What becomes of a data file that two policies of one type name.
#include "SharedDataFiles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "CapturedLog.h"
#include "Exceptions.h"
#include "InstallOptionsImpl.h"
#include "PolicyNode.h"

namespace LumConf {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

TestPolicy Policy(const char* id, const char* owner, const std::vector<std::pair<std::string, std::string>>& data) {
    TestPolicy policy;
    policy.id = id;
    policy.name = std::string("Name of ") + id;
    policy.owner = owner;
    policy.data = data;
    return policy;
}

Selection ById(const char* id) {
    return Selection().SetPolicyId(id);
}

class SharedDataFilesTest : public testing::Test {
protected:
    static void SetRule(const char* word) { Configure("conf.server", "SHARED_DATA_FILES", word); }
    std::string Path(const char* file) const { return node.InstallFolder() + "/files/" + file; }
    std::string Content(const char* file) const { return node.InstalledContent(std::string("files/") + file); }
    /// How often a text stands in the application log.
    int Said(const std::string& text) const {
        const std::string lines = log.Text();
        int count = 0;
        for (auto at = lines.find(text); at != std::string::npos; at = lines.find(text, at + 1)) ++count;
        return count;
    }
    /// Two policies of one owner share "both"; each has a file of its own.
    void InstallTwo() {
        node.Install(Policy("a", "me", {{"both", "of a"}, {"of-a", "1"}}));
        node.Install(Policy("b", "me", {{"both", "of b"}, {"of-b", "1"}}));
    }

    PolicyNode node;
    CapturedLog log{node.Root().Native()};
};

TEST_F(SharedDataFilesTest, WithoutTheKeyTheLastInstallWinsAndTheLogNamesBothPoliciesAndTheFile) {
    InstallTwo();
    EXPECT_EQ(Content("both"), "of b");
    EXPECT_EQ(node.Ids(), "a b");
    EXPECT_THAT(log.Text(), HasSubstr("WARNING The data file '" + Path("both") +
                                      "' of policy 'Name of b' with id 'b' takes the place of that of policy "
                                      "'Name of a' with id 'a', which has the same type."));
    EXPECT_EQ(Said("takes the place"), 1);
    EXPECT_THAT(log.Text(), Not(HasSubstr("of-")));
}

TEST_F(SharedDataFilesTest, WithoutTheKeyARemovalTakesTheFileAlongAndSaysWhoLosesIt) {
    InstallTwo();
    node.Remove(ById("b"));
    EXPECT_THAT(node.Installed(), ElementsAre("files/a_header.xml", "files/of-a"));
    EXPECT_THAT(log.Text(), HasSubstr("WARNING The data file '" + Path("both") +
                                      "' goes with policy 'Name of b' with id 'b', although policy 'Name of a' with id "
                                      "'a', which has the same type, names it too."));
}

TEST_F(SharedDataFilesTest, WithoutTheKeyAnUpdateThatDropsTheFileSaysWhoLosesIt) {
    InstallTwo();
    node.Install(Policy("a", "me", {{"of-a", "2"}}));
    EXPECT_THAT(node.Installed(), ElementsAre("files/a_header.xml", "files/b_header.xml", "files/of-a", "files/of-b"));
    EXPECT_EQ(Said("goes with policy 'Name of a' with id 'a', although policy 'Name of b' with id 'b'"), 1);
}

TEST_F(SharedDataFilesTest, AnUpdateThatBringsTheFileAgainIsOneReplacement) {
    InstallTwo();
    node.Install(Policy("a", "me", {{"both", "of a again"}}));
    EXPECT_EQ(Content("both"), "of a again");
    EXPECT_EQ(Said("of policy 'Name of a' with id 'a' takes the place of that of policy 'Name of b' with id 'b'"), 1);
    EXPECT_EQ(Said("goes with"), 0);
}

TEST_F(SharedDataFilesTest, AFileOfAnotherNameOrTypeOrOfTheReplacedPolicyIsNotShared) {
    for (const char* word : {"allow", "keep", "refuse"}) {
        SetRule(word);
        node.Install(Policy("a", "me", {{"x", "1"}}));
        TestPolicy otherType = Policy("b", "you", {{"x", "1"}});
        otherType.type = "other";
        node.Install(otherType);
        node.Install(Policy("c", "you", {{"X", "1"}}));
        node.Install(Policy("a", "me", {{"x", "2"}}));
        TestPolicy builtAnew = Policy("new-id", "me", {{"x", "3"}});
        builtAnew.name = "Name of a";
        node.Install(builtAnew);
        node.Remove(Selection());
        EXPECT_THAT(node.Installed(), IsEmpty()) << word;
    }
    EXPECT_EQ(Said("data file"), 0) << log.Text();
}

TEST_F(SharedDataFilesTest, KeepSparesTheFileOfARemovedPolicy) {
    SetRule("keep");
    InstallTwo();
    node.Remove(ById("a"));
    EXPECT_THAT(node.Installed(), ElementsAre("files/b_header.xml", "files/both", "files/of-b"));
    EXPECT_EQ(Content("both"), "of b");
    EXPECT_THAT(log.Text(), HasSubstr("INFO The data file '" + Path("both") +
                                      "' of policy 'Name of a' with id 'a' stays, since policy 'Name of b' with id "
                                      "'b', which has the same type, names it too."));
    node.Remove(ById("b"));
    EXPECT_THAT(node.Installed(), IsEmpty());
}

TEST_F(SharedDataFilesTest, KeepLeavesNothingBehindWhenAllGoTogether) {
    SetRule("keep");
    InstallTwo();
    node.Remove(Selection());
    EXPECT_THAT(node.Installed(), IsEmpty());
    EXPECT_FALSE(std::filesystem::exists(node.InstallFolder() + "/files"));
}

TEST_F(SharedDataFilesTest, KeepSparesTheFileThatAnUpdateDrops) {
    SetRule("KEEP");
    InstallTwo();
    node.Install(Policy("b", "me", {{"new", "1"}}));
    EXPECT_THAT(node.Installed(),
                ElementsAre("files/a_header.xml", "files/b_header.xml", "files/both", "files/new", "files/of-a"));
    EXPECT_EQ(Said("of policy 'Name of b' with id 'b' stays"), 1);
}

TEST_F(SharedDataFilesTest, KeepSparesTheFileOfAPolicyThatMovesToAnotherType) {
    SetRule("keep");
    InstallTwo();
    TestPolicy moved = Policy("b", "me", {{"both", "elsewhere"}});
    moved.type = "other";
    node.Install(moved, InstallOptions().SetForceAll(true));
    EXPECT_THAT(node.Installed(),
                ElementsAre("files/a_header.xml", "files/both", "files/of-a", "other/b_header.xml", "other/both"));
    EXPECT_EQ(Content("both"), "of b");
    EXPECT_EQ(Said("stays"), 1);
}

TEST_F(SharedDataFilesTest, KeepLetsTheSameOwnerReplaceItsFileAndSaysSo) {
    SetRule("keep");
    InstallTwo();
    EXPECT_EQ(Content("both"), "of b");
    EXPECT_EQ(Said("takes the place of that of policy 'Name of a'"), 1);
}

struct OwnerRow {
    const char* what;
    const char* installed;
    const char* arriving;
    void (*set)(InstallOptions&);
    bool passes;
};

const OwnerRow kOwners[] = {
    {"another owner", "me", "you", [](InstallOptions&) {}, false},
    {"no owner", "me", "", [](InstallOptions&) {}, false},
    {"an owner in other letters", "me", "Me", [](InstallOptions&) {}, false},
    {"another owner by the options", "me", "me", [](InstallOptions& o) { o.SetOwner("you"); }, false},
    {"the owner taken away by the options", "me", "me", [](InstallOptions& o) { o.RemoveOwner(); }, false},
    {"the same owner", "me", "me", [](InstallOptions&) {}, true},
    {"the same owner by the options", "me", "you", [](InstallOptions& o) { o.SetOwner("me"); }, true},
    {"the file of a policy without owner", "", "you", [](InstallOptions&) {}, true},
    {"a forced owner", "me", "you", [](InstallOptions& o) { o.SetForceOwner(true); }, true},
    {"force", "me", "you", [](InstallOptions& o) { o.SetForceAll(true); }, true},
};

TEST_F(SharedDataFilesTest, KeepGivesNobodyTheFileOfAnotherOwner) {
    SetRule("keep");
    for (const OwnerRow& row : kOwners) {
        SCOPED_TRACE(row.what);
        node.Install(Policy("a", row.installed, {{"both", "of a"}}));
        InstallOptions options;
        row.set(options);
        const CaughtFailure failure = FailureOf<PolicyOwnerError>([&] {
            node.Install(Policy("b", row.arriving, {{"new", "1"}, {"both", "of b"}}), options);
        });
        EXPECT_EQ(failure.text.empty(), row.passes) << failure.text;
        EXPECT_EQ(Content("both"), row.passes ? "of b" : "of a");
        EXPECT_EQ(node.Ids(), row.passes ? "a b" : "a");
        EXPECT_THAT(node.Incoming(), IsEmpty());
        node.Remove(Selection());
    }
}

TEST_F(SharedDataFilesTest, ARefusalOfAnotherOwnerNamesTheFileBothPoliciesAndBothOwners) {
    SetRule("keep");
    node.Install(Policy("a", "me", {{"both", "of a"}}));
    const CaughtFailure failure = FailureOf<PolicyOwnerError>([&] {
        node.Install(Policy("b", "you", {{"both", "of b"}}));
    });
    EXPECT_EQ(failure.id, 0u);
    EXPECT_THAT(failure.text, HasSubstr("The data file 'both' of policy 'Name of b' with id 'b' is also one of the "
                                        "installed policy 'Name of a' with id 'a', which has the same type. The owner "
                                        "'you' does not match with its owner 'me'."));
    EXPECT_EQ(node.Audited("Failure Audit: INSTALL: Policy (name: 'Name of b', id: 'b')"), 1);
}

TEST_F(SharedDataFilesTest, KeepFindsTheOtherOwnerBehindOneThatMatches) {
    SetRule("allow");
    node.Install(Policy("a", "me", {{"both", "1"}}));
    node.Install(Policy("z", "you", {{"both", "2"}}));
    SetRule("keep");
    const CaughtFailure failure = FailureOf<PolicyOwnerError>([&] {
        node.Install(Policy("m", "me", {{"own", "3"}, {"both", "3"}}));
    });
    EXPECT_THAT(failure.text, HasSubstr("'Name of z' with id 'z'"));
    EXPECT_EQ(Content("both"), "2");
}

TEST_F(SharedDataFilesTest, KeepRefusesAnUpdateThatReachesForAFileOfAnotherOwnerAndTheOldVersionStays) {
    SetRule("keep");
    node.Install(Policy("a", "me", {{"x", "of a"}}));
    node.Install(Policy("b", "you", {{"y", "of b"}}));
    EXPECT_NE(FailureOf<PolicyOwnerError>([&] {
                  node.Install(Policy("b", "you", {{"x", "2"}, {"y", "2"}}));
              }).text,
              "");
    EXPECT_THAT(node.Installed(), ElementsAre("files/a_header.xml", "files/b_header.xml", "files/x", "files/y"));
    EXPECT_EQ(Content("x") + Content("y"), "of aof b");
    EXPECT_THAT(node.Incoming(), IsEmpty());
}

TEST_F(SharedDataFilesTest, RefuseLetsNoPolicyBesideAnotherThatNamesItsFile) {
    SetRule("refuse");
    node.Install(Policy("a", "", {{"both", "of a"}}));
    for (const bool forcesOwner : {false, true}) {
        const InstallOptions options = InstallOptions().SetForceOwner(forcesOwner);
        const CaughtFailure failure = FailureOf<PolicyException>([&] {
            node.Install(Policy("b", "", {{"n", "1"}, {"both", "of b"}}), options);
        });
        EXPECT_EQ(failure.id, 0u);
        EXPECT_THAT(failure.text, HasSubstr("The data file 'both' of policy 'Name of b' with id 'b' is also one of the "
                                            "installed policy 'Name of a' with id 'a', which has the same type. This "
                                            "node refuses that (SHARED_DATA_FILES)."));
    }
    EXPECT_EQ(FailureOf<PolicyOwnerError>([&] { node.Install(Policy("a", "", {{"both", "again"}})); }).text, "");
    EXPECT_THAT(node.Installed(), ElementsAre("files/a_header.xml", "files/both"));
    EXPECT_EQ(Content("both"), "again");
    EXPECT_THAT(node.Incoming(), IsEmpty());
}

TEST_F(SharedDataFilesTest, RefuseLeavesTheInstalledVersionOfARefusedUpdateWhole) {
    SetRule("refuse");
    node.Install(Policy("a", "me", {{"x", "of a"}}));
    node.Install(Policy("b", "me", {{"y", "of b"}}));
    EXPECT_NE(FailureOf<PolicyException>([&] { node.Install(Policy("b", "me", {{"x", "2"}})); }).text, "");
    EXPECT_THAT(node.Installed(), ElementsAre("files/a_header.xml", "files/b_header.xml", "files/x", "files/y"));
    EXPECT_EQ(Content("x") + Content("y"), "of aof b");
}

TEST_F(SharedDataFilesTest, RefuseGivesWayToForceAndSparesAsKeepDoes) {
    SetRule("refuse");
    node.Install(Policy("a", "me", {{"both", "of a"}}));
    node.Install(Policy("b", "you", {{"both", "of b"}}), InstallOptions().SetForceAll(true));
    EXPECT_EQ(Content("both"), "of b");
    EXPECT_EQ(Said("takes the place"), 1);
    node.Remove(ById("b"));
    EXPECT_EQ(Content("both"), "of b");
    EXPECT_EQ(Said("stays"), 1);
}

TEST_F(SharedDataFilesTest, RefuseEndsAPackageAtTheSecondOfTwoThatShare) {
    SetRule("refuse");
    InstallOptions options;
    options.SetNotify(false);
    const auto package = PackageOf({Policy("a", "", {{"both", "1"}}), Policy("b", "", {{"both", "2"}})});
    EXPECT_NE(FailureOf<PolicyException>([&] { node->InstallPackage("tester", package, options); }).text, "");
    EXPECT_EQ(node.Ids(), "a");
    EXPECT_EQ(Content("both"), "1");
}

TEST_F(SharedDataFilesTest, AnUnknownWordCountsAsAllowAndIsSaidOnceUntilItChanges) {
    SetRule("sometimes");
    InstallTwo();
    node.Remove(ById("b"));
    EXPECT_THAT(node.Installed(), ElementsAre("files/a_header.xml", "files/of-a"));
    EXPECT_EQ(Said("SHARED_DATA_FILES has the unknown value 'sometimes', which counts as 'allow'."), 1);
    SetRule("keep");
    SharedDataFiles::GetRule();
    SetRule("sometimes");
    EXPECT_EQ(SharedDataFiles::GetRule(), SharedDataFiles::Rule::Allow);
    EXPECT_EQ(Said("'sometimes'"), 2);
}

TEST_F(SharedDataFilesTest, AnUnknownWordIsSaidAtTheStartAlready) {
    SetRule("never again");
    node.Restart();
    EXPECT_EQ(Said("unknown value 'never again'"), 1);
}

TEST_F(SharedDataFilesTest, WhileTheConfigurationCannotBeReadNothingIsLost) {
    InstallTwo();
    std::ofstream(node.Root().Native() + "/etc/pal/config/local_settings.ini") << "[broken\n";
    node.Remove(ById("b"));
    EXPECT_EQ(Content("both"), "of b");
    EXPECT_EQ(Said("SHARED_DATA_FILES cannot be read, and counts as 'keep'"), 1);
}

TEST_F(SharedDataFilesTest, OfAPolicyThatSharesManyFilesTheLogHasTheFirstAndACount) {
    std::vector<std::pair<std::string, std::string>> data;
    for (int i = 0; i < 30; ++i) data.emplace_back("f" + std::to_string(i), "");
    node.Install(Policy("a", "me", data));
    node.Install(Policy("b", "me", data));
    EXPECT_EQ(Said("takes the place"), SharedDataFiles::kMostLines);
    EXPECT_EQ(Said("Policy 'Name of b' with id 'b' has '20' more data files that other policies of its type name"), 1);
    node.Remove(ById("b"));
    EXPECT_EQ(Said("goes with policy"), SharedDataFiles::kMostLines);
}

TEST_F(SharedDataFilesTest, EachOfThreePoliciesThatShareAFileIsNamed) {
    InstallTwo();
    node.Install(Policy("c", "me", {{"both", "of c"}}));
    node.Remove(ById("a"));
    EXPECT_EQ(Said("although policy 'Name of b' with id 'b'"), 1);
    EXPECT_EQ(Said("although policy 'Name of c' with id 'c'"), 1);
}

TEST_F(SharedDataFilesTest, OfAFileThatIsGoneAlreadyNobodyIsSaidToLoseIt) {
    InstallTwo();
    node.Install(Policy("c", "me", {{"both", "of c"}}));
    std::filesystem::remove(Path("both"));
    EXPECT_NE(FailureOf<PolicyException>([&] { node.Remove(ById("b")); }).text, "");
    EXPECT_EQ(Said("goes with"), 0);
}

}  // namespace
}  // namespace LumConf
