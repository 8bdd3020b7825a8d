// Bad settings policies, and what is left of the others.
#include <gtest/gtest.h>

#include "Authorization.h"
#include "CapturedLog.h"
#include "Chain.h"
#include "Exceptions.h"
#include "LumSecCore.h"
#include "PolicySettings.h"
#include "Raised.h"
#include "SettingsPolicies.h"
#include "TestPki.h"
#include "TraceLines.h"

namespace {

using LumConf::PolicyContainer;
using LumConf::PolicyFileException;
using LumConf::PolicyHeader;
using LumConfPar::PolicySettings;
using LumPalArray::CharArray_t;
using LumPalMsg::IllegalStateError_t;
using LumPalMsg::RuntimeException_t;
using LumPalStr::String_t;
namespace fs = std::filesystem;

constexpr char kNoSettings[] = "[app]\nk=1\nno settings at all\n";

class PolicySettingsFailure : public testing::Test {
protected:
    void Put(const std::string& ids) const {
        for (const char id : ids) store.Put(std::string(1, id), std::string("name of ") + id, Mark(id));
    }
    static std::string Mark(char id) { return std::string("[") + id + "]\non=1\n"; }
    static std::string Marks(const std::string& ids) {
        std::string text;
        for (const char id : ids) text += (text.empty() ? "" : "\n") + Mark(id);
        return text;
    }
    std::string Settings() const { return store.Settings(); }
    /// Settings whose reader raises what no reader of the platform does, for the policies with these ids.
    static PolicySettings Failing(const std::string& ids) {
        return PolicySettings(PolicyContainer(), [ids](const PolicyHeader& header, int index, CharArray_t& data) {
            if (ids.find(header.GetContainerId().ToUtf8()) != std::string::npos) {
                throw LumPalMsg::Exception_t(LumPalMsg::CreateError_t("The platform is gone."));
            }
            header.GetData(index, data);
        });
    }
    bool IsLogged(const std::string& text) const { return log.Holds(text); }

    const SettingsStore store;
    const CapturedLog log{store.Files().Root()};
    const TraceLines trace;
    PolicySettings settings;
};

TEST_F(PolicySettingsFailure, NothingButAStartIsDoneBeforeTheStart) {
    void (PolicySettings::*const operations[])(const String_t&) = {&PolicySettings::Install, &PolicySettings::Remove,
                                                                   &PolicySettings::Enable, &PolicySettings::Disable};
    for (const auto operation : operations) EXPECT_RAISES((settings.*operation)("a"), IllegalStateError_t, 198);
    Put("a");
    settings.Start();
    for (const auto operation : operations) EXPECT_NO_THROW((settings.*operation)("a"));
    settings = PolicySettings();
    EXPECT_RAISES(settings.Install("a"), IllegalStateError_t, 198);
    EXPECT_EQ(MessagesOf<IllegalStateError_t>([&] { settings.Install("a"); }).Format(LumPalMsg::BareText),
              "State in policy settings object is not recognized.");
}

/// In a process of its own: a catalogue is opened once. @return its exit code
int OperationsNamedByACatalogue(const std::string& folder) {
    setenv("NLSPATH", (folder + "/%N.cat").c_str(), 1);
    PolicySettings settings;
    std::string names;
    void (PolicySettings::*const operations[])(const String_t&) = {&PolicySettings::Install, &PolicySettings::Remove,
                                                                   &PolicySettings::Enable, &PolicySettings::Disable};
    for (const auto operation : operations) {
        try {
            (settings.*operation)("a");
        } catch (const IllegalStateError_t& e) {
            names += e.GetMessageList().Format(LumPalMsg::BareText).ToUtf8() + ";";
        }
    }
    return names == "not yet: Install;not yet: Remove;not yet: Enable;not yet: Disable;" ? 0 : 1;
}

TEST_F(PolicySettingsFailure, ATranslatedTextMayNameTheOperation) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const std::string folder = store.Files().Root();
    WriteText(folder + "/conf.msg", "$set 1\n$quote \"\n198 \"not yet: %1\"\n");
    ASSERT_EQ(system(("gencat " + folder + "/conf.cat " + folder + "/conf.msg").c_str()), 0);
    const auto run = [&folder] {
        const int code = OperationsNamedByACatalogue(folder);
        fs::remove_all(folder);
        _exit(code);
    };
    EXPECT_EXIT(run(), testing::ExitedWithCode(0), "");
}

TEST_F(PolicySettingsFailure, ASettingsDirectoryThatCannotBeMadeEndsTheStart) {
    Put("a");
    WriteText(store.Files().Root() + "/etc/pal", "a file where a folder belongs");
    EXPECT_RAISES(settings.Start(), LumPalIo::IOException_t, 7);
}

TEST_F(PolicySettingsFailure, AHeaderThatCannotBeReadEndsTheStartAndLeavesTheSettingsAsTheyWere) {
    Put("a");
    settings.Start();
    WriteText(store.Folder() + "/b_header.xml", "<header>");
    settings = PolicySettings();
    const auto messages = MessagesOf<PolicyFileException>([&] { settings.Start(); });
    ASSERT_EQ(messages.GetMessageCount(), 1);
    EXPECT_EQ(messages.GetMessage(0).GetMessageText(),
              "Could not initialize policy settings for policy type ('configsettings').");
    EXPECT_EQ(Chain(messages).at(1), 57u);
    EXPECT_EQ(Settings(), Marks("a"));
}

TEST_F(PolicySettingsFailure, AfterAStartThatCouldNotReadTheStoreNoChangeTakesTheSettingsOfOtherPoliciesAway) {
    void (PolicySettings::*const operations[])(const String_t&) = {&PolicySettings::Install, &PolicySettings::Remove,
                                                                   &PolicySettings::Enable, &PolicySettings::Disable};
    for (const auto operation : operations) {
        store.Clear();
        Put("ab");
        settings = PolicySettings();
        settings.Start();
        Put("c");
        WriteText(store.Folder() + "/bad_header.xml", "<header>");
        settings = PolicySettings();
        EXPECT_THROW(settings.Start(), PolicyFileException);
        EXPECT_THROW((settings.*operation)("c"), PolicyFileException);
        EXPECT_EQ(Settings(), Marks("ab")) << "nothing is merged of half a memory";
        fs::remove(store.Folder() + "/bad_header.xml");
        fs::remove(store.Folder() + "/b_header.xml");
        (settings.*operation)("c");
        EXPECT_EQ(Settings(), Marks("ac")) << "the store as it is now";
        settings.Disable("c");
        EXPECT_EQ(Settings(), Marks("a")) << "and from then on in memory";
    }
}

TEST_F(PolicySettingsFailure, AfterAStartWithoutItsDirectoryTheNextChangeTakesEveryPolicyIn) {
    Put("ab");
    WriteText(store.Files().Root() + "/etc/pal", "a file where a folder belongs");
    EXPECT_RAISES(settings.Start(), LumPalIo::IOException_t, 7);
    EXPECT_RAISES(settings.Enable("a"), LumPalIo::IOException_t, 7);
    fs::remove(store.Files().Root() + "/etc/pal");
    settings.Enable("a");
    EXPECT_EQ(Settings(), Marks("ab"));
}

TEST_F(PolicySettingsFailure, AStoreThatCannotBeReadIsToldAndNothingIsWritten) {
    Put("a");
    settings.Start();
    store.Clear();
    EXPECT_RAISES(settings.Install("a"), RuntimeException_t, 58);
    EXPECT_EQ(Settings(), Marks("a"));
}

TEST_F(PolicySettingsFailure, AnInstallOfAHeaderThatCannotBeReadEndsWithNothingMerged) {
    Put("ab");
    settings.Start();
    Put("c");
    WriteText(store.Folder() + "/a_header.xml", "<header>");
    EXPECT_NO_THROW(settings.Install("c a"));
    EXPECT_TRUE(IsLogged("Could not load policy id(s) 'c a' into the configuration settings cache."));
    EXPECT_TRUE(IsLogged("a_header.xml"));
    EXPECT_EQ(Settings(), Marks("ab"));
    settings.Enable("b");
    EXPECT_EQ(Settings(), Marks("b")) << "both were forgotten before they were read";
}

TEST_F(PolicySettingsFailure, AnInstallEndsAtTheFirstIdThatTheStoreDoesNotHave) {
    settings.Start();
    Put("abc");
    EXPECT_NO_THROW(settings.Install("a none c"));
    EXPECT_TRUE(IsLogged("Could not insert policy id 'none' during 'checkpolicy' operation (for policy settings)."));
    EXPECT_EQ(Settings(), "");
    settings.Enable("a");
    EXPECT_EQ(Settings(), Marks("a")) << "those before it are in, those behind it are not";
}

TEST_F(PolicySettingsFailure, AnIdThatStandsForAPolicyOfAnotherTypeIsNotInstalled) {
    settings.Start();
    TestPolicy other = SettingsPolicy("a", "a", "[app]\nk=other\n");
    other.type = "files";
    store.Put(other);
    settings.Install("a");
    EXPECT_TRUE(IsLogged("Could not insert policy id 'a' during 'checkpolicy' operation"));
    settings.Enable("a");
    EXPECT_EQ(Settings(), "");
}

TEST_F(PolicySettingsFailure, AnInstallEndsAtTheFirstPolicyWhoseDataFailsAndThatOneIsOut) {
    settings = Failing("b");
    settings.Start();
    Put("abc");
    EXPECT_NO_THROW(settings.Install("a b c"));
    EXPECT_TRUE(IsLogged(
        "Could not load policy data file 'b.ini' for policy 'name of b:configsettings'. The policy data is ignored."));
    EXPECT_TRUE(IsLogged("The platform is gone."));
    EXPECT_EQ(Settings(), "");
    settings.Enable("a b c");
    EXPECT_EQ(Settings(), Marks("a"));
    EXPECT_TRUE(trace.Contains("Policy with id 'a b c' not found during enable"));
}

TEST_F(PolicySettingsFailure, AStartLeavesAPolicyOutWhoseDataFailsAndTakesAllOthers) {
    const struct {
        const char *bad, *left;
    } rows[] = {{"a", "bcd"}, {"b", "acd"}, {"d", "abc"}, {"ab", "cd"}, {"bc", "ad"}, {"ad", "bc"}, {"abcd", ""}};
    Put("abcd");
    for (const auto& row : rows) {
        settings = Failing(row.bad);
        settings.Start();
        EXPECT_EQ(Settings(), Marks(row.left)) << row.bad;
        for (const char id : std::string(row.bad)) {
            EXPECT_TRUE(IsLogged(std::string("Could not load policy data file '") + id +
                                 ".ini' for configuration settings policy type. The policy with name 'name of " + id +
                                 "' is ignored."));
        }
    }
    EXPECT_FALSE(IsLogged("Internal error."));
}

TEST_F(PolicySettingsFailure, AHeaderThatVanishesDuringTheStartIsLeftOut) {
    Put("abc");
    const PolicyContainer container;
    settings = PolicySettings(container, [container](const PolicyHeader& header, int index, CharArray_t& data) {
        if (header.GetContainerId() == "a") container.Remove("c");
        header.GetData(index, data);
    });
    settings.Start();
    EXPECT_TRUE(
        IsLogged("Internal error. Could not get the policy header (count '2') for configuration settings "
                 "policy type. This policy will be ignored."));
    EXPECT_EQ(Settings(), Marks("ab"));
}

TEST_F(PolicySettingsFailure, ADataFileThatCannotBeReadIsLeftOutAndThePolicyStays) {
    TestPolicy policy = SettingsPolicy("p", "p", "");
    policy.data = {{"one.ini", Mark('a')}, {"two.ini", Mark('b')}, {"three.ini", Mark('c')}};
    store.Put(policy);
    fs::remove(store.Folder() + "/two.ini");
    const std::string said =
        "Runtime exception during loading of policy data for file 'two.ini'. This data file will be ignored.";
    settings.Start();
    EXPECT_TRUE(IsLogged(said));
    EXPECT_TRUE(IsLogged("does not exist"));
    EXPECT_EQ(Settings(), Marks("ac"));
    fs::remove(store.Folder() + "/three.ini");
    settings.Install("p");
    EXPECT_TRUE(IsLogged("for file 'three.ini'"));
    EXPECT_EQ(Settings(), Marks("a"));
}

TEST_F(PolicySettingsFailure, ADataFileThatIsALinkOrLeavesTheStoreIsLeftOut) {
    WriteText(store.Files().Root() + "/outside.ini", Mark('x'));
    Put("abc");
    fs::remove(store.Folder() + "/b.ini");
    fs::create_symlink(store.Files().Root() + "/outside.ini", store.Folder() + "/b.ini");
    TestPolicy leaves = SettingsPolicy("c", "c", "");
    leaves.data = {{"../../outside.ini", Mark('x')}};
    store.Put(leaves);
    settings.Start();
    EXPECT_EQ(Settings(), Marks("a"));
    EXPECT_TRUE(IsLogged("for file 'b.ini'"));
    EXPECT_TRUE(IsLogged("for file '../../outside.ini'"));
}

TEST_F(PolicySettingsFailure, ADataFileWithASyntaxErrorStopsTheWholeMerge) {
    Put("a");
    settings.Start();
    Put("b");
    store.Put("bad", "name of bad", kNoSettings);
    const auto messages = MessagesOf<RuntimeException_t>([&] { settings.Install("bad b"); });
    EXPECT_EQ(Chain(messages).at(0), 208u);
    EXPECT_TRUE(IsLogged("Internal error during creating policy settings in memory."));
    EXPECT_TRUE(IsLogged("Line 3 of 'bad.ini of policy name of bad (bad)'"));
    EXPECT_FALSE(IsLogged("no settings at all")) << "what a line holds may be a secret";
    EXPECT_EQ(Settings(), Marks("a")) << "not even the part of the others is written";
    EXPECT_RAISES(settings.Enable("a"), RuntimeException_t, 208);
}

TEST_F(PolicySettingsFailure, ABadDataFileHarmsNobodyOnceItsPolicyIsDisabledOrRemoved) {
    Put("a");
    store.Put("bad", "bad", kNoSettings);
    EXPECT_RAISES(settings.Start(), RuntimeException_t, 208);
    EXPECT_FALSE(fs::exists(store.Files().Policy()));
    settings.Disable("bad");
    EXPECT_EQ(Settings(), Marks("a"));
    Put("b");
    settings.Install("b");
    EXPECT_EQ(Settings(), Marks("ab"));
    EXPECT_RAISES(settings.Enable("bad"), RuntimeException_t, 208);
    settings.Remove("bad");
    EXPECT_EQ(Settings(), Marks("ab"));
}

TEST_F(PolicySettingsFailure, SettingsThatCannotBeWrittenAreToldAndTheNextChangeTriesAgain) {
    Put("a");
    settings.Start();
    Put("b");
    fs::create_directories(store.Files().NewPolicy() + "/in the way");
    const auto messages = MessagesOf<RuntimeException_t>([&] { settings.Install("b"); });
    EXPECT_EQ(Chain(messages).at(0), 210u);
    EXPECT_EQ(Chain(messages).at(1), 184u);
    EXPECT_EQ(Settings(), Marks("a"));
    fs::remove_all(store.Files().NewPolicy());
    settings.Enable("a");
    EXPECT_EQ(Settings(), Marks("ab"));
}

constexpr char kUnproven[] = "Security check will be ignored for this policy type.";

/// A node that trusts an authority and lets "signer" sign.
class SignedSettings : public PolicySettingsFailure {
protected:
    void SetUp() override {
        const TestIdentity signer = authority.Issue("signer", "");
        InstallTrust("authority", authority.Certificate());
        WriteKeyStore("own/signer.pem", signer.certificate);
        WriteKeyStore("own/signer.key", signer.key);
        WriteText(store.Files().Root() + "/etc/authorization.ini", "[conf]\nsigner=sign\n");
        LumConf::Authorization::GetInstance().Update();
        Put("a");
        PolicyHeader::SignData(LumPalIo::File_t(ToString(store.Folder() + "/a_header.xml")), CharArray_t("signer"));
    }

    TestAuthority authority{"authority"};
};

TEST_F(SignedSettings, AProvenPolicyIsTakenWithoutAWord) {
    settings.Start();
    EXPECT_EQ(Settings(), Marks("a"));
    EXPECT_FALSE(trace.Contains(kUnproven));
}

TEST_F(SignedSettings, APolicyWhoseSignatureFailsIsTakenAndTheTraceSaysSo) {
    WriteText(store.Folder() + "/a.ini", Mark('x'));
    settings.Start();
    EXPECT_EQ(Settings(), Marks("x"));
    EXPECT_TRUE(trace.Contains(kUnproven));
    EXPECT_TRUE(trace.Contains("The signature is not correct for the policy data."));
    EXPECT_EQ(log.Text(), "") << "the trace alone";
}

TEST_F(SignedSettings, APolicyThatNobodySignedIsTakenAndTheTraceSaysSo) {
    Put("b");
    settings.Start();
    EXPECT_EQ(Settings(), Marks("ab"));
    EXPECT_TRUE(trace.Contains(kUnproven));
    EXPECT_EQ(log.Text(), "");
}

TEST_F(SignedSettings, APolicyIsTakenAlsoWhenTheKeyStoreIsGone) {
    fs::remove_all(LumSecCore::KeyStoreDirectory().ToUtf8());
    settings.Start();
    EXPECT_EQ(Settings(), Marks("a"));
    EXPECT_TRUE(trace.Contains("The security key store cannot be accessed."));
}

}  // namespace
