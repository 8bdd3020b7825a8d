#include "SettingsWriter.h"

#include <gtest/gtest.h>

#include <functional>

#include "LumPalCfgFile.h"
#include "Raised.h"
#include "SettingsFiles.h"
#include "TraceLines.h"

namespace {

using LumConfPar::SettingsWriter;
using LumPalConfig::ConfigGroup_t;
using LumPalMsg::IllegalArgumentError_t;
using LumPalMsg::IllegalStateError_t;
using LumPalStr::String_t;

constexpr char kEqual[] =
    "Policy settings file does not need to be merged (no update trigger neccessary). Both policy files are equal.";

class SettingsWriterTest : public testing::Test {
protected:
    const SettingsFiles files;
    const TraceLines trace;
};

using LocalSettings = SettingsWriterTest;
using PolicySettingsFile = SettingsWriterTest;

TEST_F(LocalSettings, EveryAttributeOfTheGroupIsSetAndTheOthersStay) {
    WriteText(files.Local(), "[a]\nk=old\nm=old\n[c]\nk=old\n");
    SettingsWriter("", GroupOf({{"b", "k", "1"}, {"a", "k", "1"}, {"a", "n", "1"}})).WriteLocalSettings();
    EXPECT_EQ(ReadText(files.Local()), "[a]\nk=1\nm=old\nn=1\n\n[b]\nk=1\n\n[c]\nk=old\n");
    EXPECT_FALSE(std::filesystem::exists(files.Policy()));
}

TEST_F(LocalSettings, TheNullPackageIsTheNodesDatabaseAndAnotherHasItsOwn) {
    SettingsWriter(String_t::Null(), GroupOf({{"a", "k", "node"}})).WriteLocalSettings();
    SettingsWriter("group 1", GroupOf({{"a", "k", "group"}})).WriteLocalSettings();
    EXPECT_EQ(ReadText(files.Local()), "[a]\nk=node\n");
    EXPECT_EQ(ReadText(files.Folder() + "group 1/local_settings.ini"), "[a]\nk=group\n");
}

TEST_F(LocalSettings, NoGroupTakesNewPolicySettingsOver) {
    WriteText(files.NewPolicy(), "[a]\nk=ha");
    ConfigGroup_t withoutAttributes;
    withoutAttributes.GetConfig("a");
    for (const ConfigGroup_t& group : {ConfigGroup_t(), withoutAttributes, GroupOf({{"a", "k", "1"}})}) {
        SettingsWriter("", group).WriteLocalSettings();
        EXPECT_EQ(ReadText(files.NewPolicy()), "[a]\nk=ha");
        EXPECT_FALSE(std::filesystem::exists(files.Policy()));
    }
}

TEST_F(LocalSettings, OneNameThatCannotBeLeavesAllAsItWas) {
    WriteText(files.Local(), "[a]\nk=old\n");
    const auto refuse = [&](const ConfigGroup_t& group) {
        EXPECT_THROW(SettingsWriter("", group).WriteLocalSettings(), IllegalArgumentError_t);
        EXPECT_EQ(ReadText(files.Local()), "[a]\nk=old\n");
    };
    refuse(GroupOf({{"a", "k", "1"}, {"b", "x\ny", "1"}}));
    refuse(GroupOf({{"a", "k", "1"}, {"b\n[c]", "x", "1"}}));
    refuse(GroupOf({{"a", "k", "1"}, {"b", "", "1"}}));
    refuse(GroupOf({{"", "x", "1"}, {"a", "k", "1"}}));
}

TEST_F(LocalSettings, ValuesKeepEveryCharacter) {
    const String_t value(u" a\\b=\n[c]\r#\t\U0001F600 \u2028");
    ConfigGroup_t group;
    group.GetConfig("[a] =").SetAttrValue("#k=", value);
    SettingsWriter("", group).WriteLocalSettings();
    EXPECT_EQ(LumPalConfig::ConfigNamespace_t("[a] =").Open().GetValue("#k="), value);
}

TEST_F(PolicySettingsFile, TheFirstOneIsTakenOverWithoutAComparison) {
    SettingsWriter("", GroupOf({{"b", "k", "2"}, {"a", "k", "1"}})).WritePolicySettings();
    EXPECT_EQ(ReadText(files.Policy()), "[a]\nk=1\n\n[b]\nk=2\n");
    EXPECT_TRUE(files.WasApplied());
    EXPECT_FALSE(files.HasNewPolicy());
    EXPECT_FALSE(trace.Contains("comparing"));
    EXPECT_FALSE(std::filesystem::exists(files.Local()));
}

TEST_F(PolicySettingsFile, ItReplacesAllThatPoliciesSaidBefore) {
    WriteText(files.Policy(), "[a]\nk=old\nm=old\n[b]\nk=old\n");
    WriteText(files.NewPolicy(), "[left]\nbehind=by a crash, and longer than what is written now\n");
    SettingsWriter(String_t::Null(), GroupOf({{"a", "k", "1"}})).WritePolicySettings();
    EXPECT_EQ(ReadText(files.Policy()), "[a]\nk=1\n");
    EXPECT_FALSE(files.HasNewPolicy());
}

TEST_F(PolicySettingsFile, AnEqualOneIsDeletedAndNothingIsApplied) {
    WriteText(files.Policy(), "[a]\nk=1\n\n[b]\nk=2\n");
    const std::string before = SettingsFiles::IdentityOf(files.Policy());
    SettingsWriter("", GroupOf({{"a", "k", "1"}, {"b", "k", "2"}})).WritePolicySettings();
    EXPECT_FALSE(files.HasNewPolicy());
    EXPECT_FALSE(files.WasApplied());
    EXPECT_EQ(SettingsFiles::IdentityOf(files.Policy()), before);
    EXPECT_TRUE(trace.Contains(kEqual));
}

TEST_F(PolicySettingsFile, TwoEmptyOnesAreEqual) {
    WriteText(files.Policy(), "");
    SettingsWriter("", ConfigGroup_t()).WritePolicySettings();
    EXPECT_FALSE(files.HasNewPolicy());
    EXPECT_FALSE(files.WasApplied());
    EXPECT_TRUE(trace.Contains(kEqual));
}

TEST_F(PolicySettingsFile, WithoutAnySettingsItBecomesEmpty) {
    WriteText(files.Policy(), "[a]\nk=1\n");
    SettingsWriter("", ConfigGroup_t()).WritePolicySettings();
    EXPECT_TRUE(std::filesystem::exists(files.Policy()));
    EXPECT_EQ(ReadText(files.Policy()), "");
    EXPECT_FALSE(files.HasNewPolicy());
}

/// An old file that is not what the group {a: k=1, b: k=2} is written as.
struct Different {
    const char* what;
    const char* old;
};

class DifferentPolicySettings : public testing::TestWithParam<Different> {};

TEST_P(DifferentPolicySettings, AreApplied) {
    const SettingsFiles files;
    const TraceLines trace;
    WriteText(files.Policy(), GetParam().old);
    SettingsWriter("", GroupOf({{"a", "k", "1"}, {"b", "k", "2"}})).WritePolicySettings();
    EXPECT_EQ(ReadText(files.Policy()), "[a]\nk=1\n\n[b]\nk=2\n");
    EXPECT_TRUE(files.WasApplied());
    EXPECT_FALSE(files.HasNewPolicy());
    EXPECT_FALSE(trace.Contains(kEqual));
}

INSTANTIATE_TEST_SUITE_P(All, DifferentPolicySettings,
                         testing::Values(Different{"AnotherOrder", "[b]\nk=2\n\n[a]\nk=1\n"},
                                         Different{"OneByte", "[a]\nk=1\n\n[b]\nk=3\n"},
                                         Different{"TheFirstByte", "#a]\nk=1\n\n[b]\nk=2\n"},
                                         Different{"AComment", "[a]\nk=1\n\n[b]\nk=2\n#\n"},
                                         Different{"OtherLineEnds", "[a]\r\nk=1\r\n\r\n[b]\r\nk=2\r\n"},
                                         Different{"Blanks", "[a]\nk=1\n \n[b]\nk=2\n"},
                                         Different{"AShorterOne", "[a]\nk=1\n\n[b]\nk=2"},
                                         Different{"ALongerOne", "[a]\nk=1\n\n[b]\nk=2\n\n"},
                                         Different{"AnEmptyOne", ""}, Different{"ABrokenOne", "broken"}),
                         [](const auto& row) { return row.param.what; });

/// A group whose file has exactly that many bytes.
ConfigGroup_t GroupOfBytes(std::size_t bytes, char last) {
    const std::string frame = "[a]\nk=\n";
    return GroupOf({{"a", "k", (std::string(bytes - frame.size() - 1, 'x') + last).c_str()}});
}

TEST_F(PolicySettingsFile, EveryByteOfABigOneIsCompared) {
    for (const std::size_t bytes : {8191u, 8192u, 8193u, 16384u, 3 * 8192u + 1, 1000000u}) {
        SettingsWriter("", GroupOfBytes(bytes, 'y')).WritePolicySettings();
        ASSERT_EQ(std::filesystem::file_size(files.Policy()), bytes);
        const std::string before = SettingsFiles::IdentityOf(files.Policy());
        SettingsWriter("", GroupOfBytes(bytes, 'y')).WritePolicySettings();
        EXPECT_EQ(SettingsFiles::IdentityOf(files.Policy()), before) << bytes;
        SettingsWriter("", GroupOfBytes(bytes, 'z')).WritePolicySettings();
        EXPECT_NE(SettingsFiles::IdentityOf(files.Policy()), before) << bytes;
        EXPECT_EQ(ReadText(files.Policy()).substr(bytes - 3), "xz\n") << bytes;
        EXPECT_FALSE(files.HasNewPolicy());
    }
}

TEST_F(PolicySettingsFile, APackageHasItsOwn) {
    const SettingsFiles package("/tmp", "group 1");
    const ConfigGroup_t group = GroupOf({{"a", "k", "1"}});
    SettingsWriter("group 1", group).WritePolicySettings();
    EXPECT_EQ(ReadText(package.Policy()), "[a]\nk=1\n");
    EXPECT_FALSE(package.HasNewPolicy());
    EXPECT_FALSE(std::filesystem::exists(package.Root() + "/etc/pal/config/policy_settings.ini"));
    const std::string before = SettingsFiles::IdentityOf(package.Policy());
    SettingsWriter("group 1", group).WritePolicySettings();
    EXPECT_EQ(SettingsFiles::IdentityOf(package.Policy()), before);
    EXPECT_FALSE(package.HasNewPolicy());
}

TEST_F(SettingsWriterTest, ASecondOperationIsRefusedWhicheverItIs) {
    const std::function<void(SettingsWriter&)> operations[] = {&SettingsWriter::WriteLocalSettings,
                                                               &SettingsWriter::WritePolicySettings};
    for (const auto& first : operations) {
        SettingsWriter writer("", GroupOf({{"a", "k", "1"}}));
        first(writer);
        std::filesystem::remove_all(files.Folder());
        for (const auto& second : operations) EXPECT_RAISES(second(writer), IllegalStateError_t, 182);
        EXPECT_FALSE(std::filesystem::exists(files.Folder()));
    }
}

TEST_F(SettingsWriterTest, AWriterOfEqualSettingsOrOfNoneIsUsedUpToo) {
    WriteText(files.Policy(), "");
    SettingsWriter equal("", ConfigGroup_t()), none("", ConfigGroup_t());
    equal.WritePolicySettings();
    EXPECT_RAISES(equal.WritePolicySettings(), IllegalStateError_t, 182);
    none.WriteLocalSettings();
    EXPECT_RAISES(none.WriteLocalSettings(), IllegalStateError_t, 182);
}

TEST_F(SettingsWriterTest, APackageThatIsNoPlainFileNameIsRefusedAndNothingIsMade) {
    for (const char* package : {".", "..", "../x", "/etc", "a/b", "a\\b", "a\nb", ".lock", "policy_settings.ini"}) {
        SettingsWriter writer(package, GroupOf({{"a", "k", "1"}}));
        EXPECT_THROW(writer.WriteLocalSettings(), IllegalArgumentError_t) << package;
        EXPECT_THROW(writer.WritePolicySettings(), IllegalArgumentError_t) << package;
    }
    EXPECT_FALSE(std::filesystem::exists(files.Root() + "/etc"));
}

TEST_F(PolicySettingsFile, NamesThatCannotBeLeaveNoFileBehind) {
    WriteText(files.Policy(), "[a]\nk=old\n");
    SettingsWriter writer("", GroupOf({{"a", "k", "1"}, {"b\n[c]", "k", "1"}}));
    EXPECT_THROW(writer.WritePolicySettings(), IllegalArgumentError_t);
    EXPECT_EQ(ReadText(files.Policy()), "[a]\nk=old\n");
    EXPECT_FALSE(files.HasNewPolicy());
}

}  // namespace
