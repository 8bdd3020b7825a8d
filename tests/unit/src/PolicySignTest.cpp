// Signed data files: what is proven before they are believed, and how they are signed.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Authorization.h"
#include "Chain.h"
#include "Exceptions.h"
#include "Files.h"
#include "LumSecCore.h"
#include "PolicyContainer.h"
#include "Raised.h"
#include "StorePaths.h"
#include "TempRoot.h"
#include "TestPki.h"
#include "TestPolicy.h"
#include "TraceLines.h"

namespace LumConf {
namespace {

using LumPalArray::CharArray_t;
using LumPalIo::File_t;
using LumPalStr::String_t;
using LumSecCore::SecCoreException;
using testing::ElementsAre;
using testing::HasSubstr;
namespace fs = std::filesystem;

class SignedPolicy : public testing::Test {
protected:
    TempRoot root;
    TestAuthority authority{"authority"};
    TestPolicy policy;
    CharArray_t data{"untouched"};

    void SetUp() override {
        policy.data = {{"one", "the first content"}, {"two", ""}};
        InstallTrust("authority", authority.Certificate());
        Grant("[conf]\nsigner=sign\n");
    }
    void Grant(const std::string& rights) {
        const fs::path file = LumPalRuntime::Dir_t::Path(LumPalRuntime::Etc).ToUtf8() + "authorization.ini";
        fs::create_directories(file.parent_path());
        std::ofstream(file) << rights;
        Authorization::GetInstance().Update();
    }
    fs::path Folder() const { return paths::PolicyInstallDirectory().GetAbsolutePath().ToUtf8() + "/" + policy.type; }
    std::string HeaderPath() const { return (Folder() / policy.HeaderName()).string(); }
    File_t HeaderFile() const { return File_t(String_t::FromUtf8(HeaderPath())); }
    static void Own(const TestIdentity& identity, const std::string& alias = "signer") {
        WriteKeyStore("own/" + alias + ".pem", identity.certificate);
        WriteKeyStore("own/" + alias + ".key", identity.key);
    }
    /// Puts the policy into the store, signed with the identity.
    void Sign(const TestIdentity& identity) {
        Own(identity);
        policy.WriteFiles(Folder().string());
        PolicyHeader::SignData(HeaderFile(), CharArray_t("signer"));
    }
    PolicyHeader Loaded() const {
        const PolicyContainer container;
        container.CheckPolicy();
        return container.GetPolicyHeader(String_t::FromUtf8(policy.id));
    }
    /// Changes the document between two tags, at the n-th place.
    void Replace(const std::string& tag, int place, const std::function<std::string(std::string)>& change) {
        std::string text = Document();
        std::size_t at = 0;
        for (int i = 0; i <= place; ++i) at = text.find("<" + tag + ">", at) + tag.size() + 2;
        const std::size_t end = text.find("</" + tag + ">", at);
        text.replace(at, end - at, change(text.substr(at, end - at)));
        fs::permissions(HeaderPath(), fs::perms::owner_all);
        std::ofstream(HeaderPath()) << text;
    }
    std::string Document() const {
        std::ifstream in(HeaderPath(), std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }
    /// The numbers of the failed check of the first data file.
    std::vector<unsigned> Failure() {
        const PolicyHeader header = Loaded();
        return Chain(MessagesOf<SecCoreException>([&] { header.GetData(0, data); }));
    }
};

// Verification

class SignedWith : public SignedPolicy, public testing::WithParamInterface<const char*> {};

TEST_P(SignedWith, ItsDataIsHandedOutAlsoFromAnEmptyFile) {
    Sign(authority.IssueFor(GetParam(), "signer"));
    const PolicyHeader header = Loaded();
    String_t encoding;
    header.GetData(0, data, encoding);
    EXPECT_EQ(data.View(), "the first content");
    EXPECT_EQ(encoding, "text/plain");
    header.GetData(1, data);
    EXPECT_EQ(data.GetLength(), 0u);
}

TEST_P(SignedWith, OneChangedByteIsSeenAndTheContentIsHandedOutWithTheFailure) {
    Sign(authority.IssueFor(GetParam(), "signer"));
    std::ofstream(Folder() / "one") << "the First content";
    EXPECT_THAT(Failure(), ElementsAre(33, 30));
    EXPECT_EQ(data.View(), "the First content");
}

TEST_P(SignedWith, ASignatureThatWasCutIsMalformed) {
    Sign(authority.IssueFor(GetParam(), "signer"));
    Replace("signature", 0, [](const std::string& text) { return text.substr(0, text.size() / 8 * 4); });
    EXPECT_THAT(Failure(), ElementsAre(33, 31, 0));
}

TEST_P(SignedWith, TheSignatureOfAnotherFileIsWrong) {
    Sign(authority.IssueFor(GetParam(), "signer"));
    std::string second;
    Replace("signature", 1, [&](const std::string& text) { return second = text; });
    Replace("signature", 0, [&](const std::string&) { return second; });
    EXPECT_THAT(Failure(), ElementsAre(33, 30));
}

INSTANTIATE_TEST_SUITE_P(EachKind, SignedWith,
                         testing::Values("RSA:2048", "RSA:4096", "EC:P-256", "EC:P-384", "ED25519"));

TEST_F(SignedPolicy, AllThatWasSignedIsReadInBlocksOfAnyLength) {
    policy.data = {
        {"one", std::string(8192, 'a')}, {"two", std::string(8193, 'b')}, {"three", std::string(100001, 'c')}};
    Sign(authority.Issue("signer", ""));
    const PolicyHeader header = Loaded();
    for (int i = 0; i < 3; ++i) {
        header.GetData(i, data);
        EXPECT_EQ(data.View(), policy.data[static_cast<std::size_t>(i)].second);
    }
}

TEST_F(SignedPolicy, ACertificateThatIsNoBase64OrNoCertificateIsTold) {
    Sign(authority.Issue("signer", ""));
    Replace("certificate", 0, [](const std::string& text) { return text.substr(1); });
    EXPECT_THAT(Failure(), ElementsAre(33, 20, testing::_));
    Replace("certificate", 0, [](const std::string&) { return "Y2VydA=="; });
    EXPECT_THAT(Failure(), ElementsAre(33, 21, 0, 0));
    Replace("certificate", 0, [](const std::string&) { return ""; });
    EXPECT_THAT(Failure(), testing::Contains(21u));
    EXPECT_EQ(data.View(), "the first content");
}

TEST_F(SignedPolicy, ACertificateWithBytesBehindItIsNone) {
    Sign(authority.Issue("signer", ""));
    CharArray_t der = Loaded().GetCertificate();
    der.Resize(der.GetLength() + 1);
    EXPECT_THROW(LumSecCore::X509Certificate{der}, SecCoreException);
    der.Resize(der.GetLength() - 2);
    EXPECT_THROW(LumSecCore::X509Certificate{der}, SecCoreException);
}

TEST_F(SignedPolicy, ACertificateBeforeAndAfterItsTimeIsNotValid) {
    Sign(authority.Issue("signer", "", -1));
    EXPECT_THAT(Failure(), ElementsAre(33, 22, 0));
    Sign(authority.IssueLater("signer", 2));
    EXPECT_THAT(Failure(), ElementsAre(33, 22, 0));
}

TEST_F(SignedPolicy, WhoMayNotSignIsRefusedBeforeTheSignatureIsLookedAt) {
    Sign(authority.Issue("signer", ""));
    Replace("signature", 0, [](const std::string&) { return "!"; });
    for (const char* rights :
         {"", "[conf]\nsigner=install remove list\n", "[conf]\nother=sign\n", "[other]\nsigner=sign\n"}) {
        Grant(rights);
        const PolicyHeader header = Loaded();
        const auto list = MessagesOf<SecCoreException>([&] { header.GetData(0, data); });
        EXPECT_THAT(Chain(list), ElementsAre(33, 23)) << rights;
        EXPECT_THAT(list.Format(36).ToUtf8(), HasSubstr("The alias 'signer' from the certificate"));
    }
}

TEST_F(SignedPolicy, AnIssuerThatIsNotTrustedIsRefused) {
    Sign(TestAuthority("stranger").Issue("signer", ""));
    EXPECT_THAT(Failure(), ElementsAre(33, 24));
}

TEST_F(SignedPolicy, ATrustedEntryWithoutItsCertificateIsTold) {
    Sign(authority.Issue("signer", ""));
    InstallTrust("authority", "");
    EXPECT_THAT(Failure(), ElementsAre(33, 25, 0));
    InstallTrust("authority", "no certificate here\n");
    EXPECT_THAT(Failure(), ElementsAre(33, 25, 0));
}

TEST_F(SignedPolicy, AnotherAuthorityOfTheSameNameDoesNotVouch) {
    Sign(TestAuthority("authority").Issue("signer", ""));
    EXPECT_THAT(Failure(), ElementsAre(33, 26));
}

TEST_F(SignedPolicy, AnAuthorityWithAKeyOfAnotherKindDoesNotVouch) {
    Sign(authority.Issue("signer", ""));
    InstallTrust("authority", TestAuthority("authority", "RSA:2048").Certificate());
    const std::vector<unsigned> ids = Failure();
    ASSERT_GE(ids.size(), 2u);
    EXPECT_EQ(ids[1], 27u);
}

TEST_F(SignedPolicy, ACertificateWhoseKeyCannotVerifyIsRefused) {
    Sign(authority.Issue("signer", ""));
    const std::string weak = authority.IssueFor("RSA:1024", "signer").certificate;
    const std::size_t begin = weak.find('\n') + 1;
    std::string base64 = weak.substr(begin, weak.find("-----END") - begin);
    base64.erase(std::remove(base64.begin(), base64.end(), '\n'), base64.end());
    Replace("certificate", 0, [&](const std::string&) { return base64; });
    EXPECT_THAT(Failure(), ElementsAre(33, 28, 0));
}

TEST_F(SignedPolicy, ASignatureThatIsNoBase64OrIsNotThereIsTold) {
    Sign(authority.Issue("signer", ""));
    Replace("signature", 0, [](const std::string&) { return "!!!!"; });
    EXPECT_THAT(Failure(), ElementsAre(33, 29, testing::_));
    std::string text = Document();
    for (std::size_t at; (at = text.find("<signature>")) != text.npos;)
        text.erase(at, text.find("</signature>", at) + 12 - at);
    std::ofstream(HeaderPath()) << text;
    EXPECT_THAT(Failure(), ElementsAre(33, 29, 35));
}

TEST_F(SignedPolicy, AKeyStoreThatIsNotThereOrIsBrokenIsTold) {
    Sign(authority.Issue("signer", ""));
    InstallTrust("authority", "-----BEGIN CERTIFICATE-----\nAAAA\n-----END CERTIFICATE-----\n");
    EXPECT_THAT(Failure(), ElementsAre(32, 0, 0));
    fs::remove_all(LumSecCore::KeyStoreDirectory().ToUtf8());
    const PolicyHeader header = Loaded();
    const auto list = MessagesOf<SecCoreException>([&] { header.GetData(0, data); });
    EXPECT_THAT(Chain(list), ElementsAre(32, 0));
    EXPECT_THAT(list.Format(36).ToUtf8(), HasSubstr("files/one' for policy name 'Backup' and policy id 'p1'"));
    EXPECT_EQ(data.View(), "the first content");
}

TEST_F(SignedPolicy, AFailedCheckIsTraced) {
    Sign(TestAuthority("stranger").Issue("signer", ""));
    const TraceLines trace;
    Failure();
    EXPECT_TRUE(trace.Contains("Warning: Security check did not succeed for the policy data."));
}

TEST_F(SignedPolicy, NothingIsRemembered) {
    Sign(authority.Issue("signer", ""));
    const PolicyHeader header = Loaded();
    header.GetData(0, data);
    Grant("");
    EXPECT_THROW(header.GetData(0, data), SecCoreException);
    Grant("[conf]\nsigner=sign\n");
    header.GetData(0, data);
    EXPECT_EQ(data.View(), "the first content");
}

// Signing

TEST_F(SignedPolicy, TheNodeSignsWithItsOwnIdentity) {
    policy.WriteFiles(Folder().string());
    EXPECT_RAISES(PolicyHeader::SignData(HeaderFile()), LumPalMsg::IllegalStateError_t, 37);
    Own(authority.Issue("signer", ""), "node");
    Configure("sec.core", "CORE_ID", "node");
    PolicyHeader::SignData(HeaderFile());
    Loaded().GetData(0, data);
    EXPECT_EQ(data.View(), "the first content");
}

TEST_F(SignedPolicy, WhatCannotBeSignedIsToldByItsNumberAndStaysAsItIs) {
    const CharArray_t alias("signer");
    EXPECT_RAISES(PolicyHeader::SignData(File_t()), LumPalMsg::IllegalArgumentError_t, 36);
    EXPECT_RAISES(PolicyHeader::SignData(File_t(), alias), LumPalMsg::IllegalArgumentError_t, 38);
    EXPECT_RAISES(PolicyHeader::SignData(HeaderFile(), alias), LumPalIo::IOException_t, 39);
    policy.WriteFiles(Folder().string());
    EXPECT_RAISES(PolicyHeader::SignData(HeaderFile().GetParent(), alias), LumPalIo::IOException_t, 40);
    EXPECT_RAISES(PolicyHeader::SignData(HeaderFile(), alias), LumSecCore::KeyStoreException, 45);
    const std::string before = Document();
    Own(authority.IssueFor("RSA:1024", "signer"));
    EXPECT_RAISES(PolicyHeader::SignData(HeaderFile(), alias), LumPalMsg::RuntimeException_t, 47);
    Own(authority.Issue("signer", ""));
    fs::remove(Folder() / "two");
    EXPECT_RAISES(PolicyHeader::SignData(HeaderFile(), alias), LumPalIo::IOException_t, 46);
    EXPECT_EQ(Document(), before);
    std::ofstream(HeaderPath()) << "<header";
    EXPECT_RAISES(PolicyHeader::SignData(HeaderFile(), alias), PolicyFileException, 41);
    policy.data.clear();
    std::ofstream(HeaderPath()) << policy.Document();
    EXPECT_RAISES(PolicyHeader::SignData(HeaderFile(), alias), PolicyHeaderException, 43);
    EXPECT_EQ(Document(), policy.Document());
}

TEST_F(SignedPolicy, SigningAgainReplacesWhatTheDocumentHolds) {
    Sign(authority.Issue("signer", ""));
    Own(authority.IssueFor("ED25519", "signer"));
    const TraceLines trace;
    PolicyHeader::SignData(HeaderFile(), CharArray_t("signer"));
    EXPECT_TRUE(trace.Contains("Certificate for policy file '" + HeaderPath() + "' is not empty."));
    EXPECT_TRUE(trace.Contains("will delete all '2' currently defined signatures."));
    const PolicyHeader header = Loaded();
    EXPECT_EQ(header.GetSignature(0).GetLength(), 64u);
    EXPECT_EQ(header.GetSignature(1).GetLength(), 64u);
    EXPECT_RAISES(header.GetSignature(2), LumPalMsg::IllegalArgumentError_t, 34);
    header.GetData(0, data);
    EXPECT_EQ(data.View(), "the first content");
}

TEST_F(SignedPolicy, UnknownElementsAndTheDataFilesSurviveSigning) {
    std::string text = policy.Document();
    text.insert(text.find("</policy>"), "<extra><deep>kept</deep></extra>");
    policy.document = text;
    Sign(authority.Issue("signer", ""));
    EXPECT_THAT(Document(), HasSubstr("<deep>kept</deep>"));
    std::ifstream one(Folder() / "one");
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(one), {}), "the first content");
}

TEST_F(SignedPolicy, ANameThatLeavesTheFolderNamesNoDataFileToSign) {
    policy.data = {{"../outside", "secret"}};
    policy.WriteFiles(Folder().string());
    Own(authority.Issue("signer", ""));
    EXPECT_RAISES(PolicyHeader::SignData(HeaderFile(), CharArray_t("signer")), LumPalIo::IOException_t, 46);
}

}  // namespace
}  // namespace LumConf
