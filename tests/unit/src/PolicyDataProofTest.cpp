// What is proven of a signed data file before it is believed: each step, and their order.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Exceptions.h"
#include "Faults.h"
#include "SignedPolicy.h"
#include "TestRevocations.h"
#include "TraceLines.h"

namespace LumConf {
namespace {

using LumPalArray::CharArray_t;
using LumPalIo::FileNotFoundException_t;
using LumPalMsg::IllegalArgumentError_t;
using LumPalStr::String_t;
using LumSecCore::SecCoreException;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
namespace fs = std::filesystem;

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

TEST_P(SignedWith, AnAuthorityWithSuchAKeyVouches) {
    const TestAuthority other("other", GetParam());
    InstallTrust("other", other.Certificate());
    Sign(other.Issue("signer", ""));
    Loaded().GetData(0, data);
    EXPECT_EQ(data.View(), "the first content");
    InstallTrust("other", TestAuthority("other", GetParam()).Certificate());
    EXPECT_THAT(Failure(), ElementsAre(33, 26));
}

TEST_P(SignedWith, OneChangedByteIsSeenAndTheContentIsHandedOutWithTheFailure) {
    Sign(authority.IssueFor(GetParam(), "signer"));
    WriteText(Folder() / "one", "the First content");
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
    Replace("signature", second);
    EXPECT_THAT(Failure(), ElementsAre(33, 30));
}

TEST_P(SignedWith, TheKeyOfAnotherCertificateOfTheSameNameIsWrong) {
    Sign(authority.IssueFor(GetParam(), "signer"));
    Replace("certificate", Base64Of(authority.IssueFor(GetParam(), "signer")));
    EXPECT_THAT(Failure(), ElementsAre(33, 30));
}

INSTANTIATE_TEST_SUITE_P(EachKind, SignedWith,
                         testing::Values("RSA:2048", "RSA:4096", "EC:P-256", "EC:P-384", "ED25519"));

/// One thing that is wrong with a policy that is signed well otherwise.
class FailedCheck : public SignedPolicy {
protected:
    struct Row {
        const char* label;
        std::string target;  ///< what is changed: two rows that change the same cannot be combined
        std::vector<unsigned> ids;
        const char* says;
        std::function<void()> make;
    };
    TestAuthority namesake{"authority"}, rsaNamesake{"authority", "RSA:2048"}, stranger{"stranger"},
        traveller{"../own/traveller"}, shortKey{"short", "RSA:1024"};
    const TestIdentity weak = authority.IssueFor("RSA:1024", "signer");
    const TestIdentity endedAndWeak = authority.IssueFor("RSA:1024", "signer", -1);

    void SetUp() override {
        SignedPolicy::SetUp();
        MakeGood();
    }
    void MakeAllButTheHeaderGood() {
        fs::remove_all(KeyStoreFolder());
        InstallTrust("authority", authority.Certificate());
        WriteKeyStore("own/traveller.pem", traveller.Certificate());
        Grant(kGranted);
        WriteText(Folder() / "one", "the first content");
    }
    void MakeGood() {
        fs::remove_all(Folder());
        MakeAllButTheHeaderGood();
        Sign(authority.Issue("signer", ""));
    }
    static bool Overlap(const std::string& a, const std::string& b) {
        return a.find(b) != a.npos || b.find(a) != b.npos;
    }
    /// In the order of the steps.
    std::vector<Row> Rows() {
        const auto certificate = [this](const std::string& text) {
            return [this, text] { Replace("certificate", text); };
        };
        const auto trusted = [](const std::string& pem) { return [pem] { InstallTrust("authority", pem); }; };
        return {
            {"no Base64", "certificate", {33, 20, 0}, "decoding the policy certificate.", certificate("!!!!")},
            {"cut Base64", "certificate", {33, 20, 0}, "decoding the policy certificate.", certificate("AAA")},
            {"far too long",
             "certificate",
             {33, 20, 0},
             "'70000' bytes of Base64 text, and at most '65536' are read.",
             certificate(std::string(70000, 'A'))},
            {"no DER", "certificate", {33, 21, 0, 0}, "converting the policy certificate", certificate("Y2VydA==")},
            {"no certificate", "certificate", {33, 21, 0}, "converting the policy certificate", certificate("")},
            {"ended",
             "certificate",
             {33, 22, 0},
             "Policy certificate is not valid.",
             certificate(Base64Of(authority.Issue("signer", "", -1)))},
            {"not begun",
             "certificate",
             {33, 22, 0},
             "Policy certificate is not valid.",
             certificate(Base64Of(authority.IssueLater("signer", 2)))},
            {"ended, and its key cannot verify",
             "certificate",
             {33, 22, 0},
             "Policy certificate is not valid.",
             certificate(Base64Of(endedAndWeak))},
            {"no right",
             "rights",
             {33, 23},
             "The alias 'signer' from the certificate is not allowed",
             [] { Grant("[conf]\nsigner=install remove list\nanother=sign\n[other]\nsigner=sign\n"); }},
            {"another subject",
             "certificate",
             {33, 23},
             "The alias 'other' from the certificate is not allowed",
             certificate(Base64Of(authority.Issue("other", "")))},
            {"a subject without a name",
             "certificate",
             {33, 23},
             "The alias '' from the certificate is not allowed",
             certificate(Base64Of(authority.Issue("", "")))},
            {"no key store",
             "trust",
             {32, 0},
             "The security key store cannot be accessed.",
             [] { fs::remove_all(KeyStoreFolder()); }},
            {"a file in its place",
             "trust",
             {32, 0},
             "The security key store cannot be accessed.",
             [] {
                 fs::remove_all(KeyStoreFolder());
                 WriteText(KeyStoreFolder());
             }},
            {"issuer not trusted",
             "trust",
             {33, 24},
             "The issuer for the policy certificate is not a trusted certificate.",
             [] { fs::remove(KeyStoreFolder() / "trusted/authority.pem"); }},
            {"issued by a stranger",
             "certificate",
             {33, 24},
             "The issuer for the policy certificate is not a trusted certificate.",
             certificate(Base64Of(stranger.Issue("signer", "")))},
            {"issued by a name that leaves the trusted ones",
             "certificate",
             {33, 24},
             "The issuer for the policy certificate is not a trusted certificate.",
             certificate(Base64Of(traveller.Issue("signer", "")))},
            {"trusted without its certificate",
             "trust",
             {33, 25, 0},
             "The issuer CA certificate for 'authority' cannot be found",
             trusted("")},
            {"trusted with other words",
             "trust",
             {33, 25, 0},
             "The issuer CA certificate for 'authority' cannot be found",
             trusted("no certificate here\n")},
            {"a folder in place of the trusted certificate",
             "trust",
             {33, 25, 0},
             "The issuer CA certificate for 'authority' cannot be found",
             [] {
                 fs::remove(KeyStoreFolder() / "trusted/authority.pem");
                 fs::create_directory(KeyStoreFolder() / "trusted/authority.pem");
             }},
            {"trusted certificate broken",
             "trust",
             {32, 0, 0},
             "The security key store cannot be accessed.",
             trusted("-----BEGIN CERTIFICATE-----\nAAAA\n-----END CERTIFICATE-----\n")},
            {"another authority of the same name",
             "trust",
             {33, 26},
             "could not be validated with the issuer CA name 'authority'.",
             trusted(namesake.Certificate())},
            {"issued by one who is trusted but no authority",
             "certificate, trust",
             {33, 26},
             "could not be validated with the issuer CA name 'operator'.",
             [this] {
                 const TestIdentity operators = authority.Issue("operator", "");
                 InstallTrust("operator", operators.certificate);
                 Replace("certificate", Base64Of(TestAuthority(operators).Issue("signer", "")));
             }},
            {"issued with a short key",
             "certificate, trust",
             {33, 26},
             "could not be validated with the issuer CA name 'short'.",
             [this] {
                 InstallTrust("short", shortKey.Certificate());
                 Replace("certificate", Base64Of(shortKey.Issue("signer", "")));
             }},
            {"an authority with a key of another kind",
             "trust",
             {33, 27, 0},
             "because of an illegal argument error.",
             trusted(rsaNamesake.Certificate())},
            {"issued with a digest that others can meet",
             "certificate",
             {33, 26},
             "could not be validated with the issuer CA name 'authority'.",
             certificate(Base64Of(authority.IssueBy("SHA1", "signer")))},
            {"signer revoked",
             "certificate, trust",
             {33, 26, 0},
             "The certificate of 'signer' (serial number",
             [this] {
                 const TestIdentity signer = authority.Issue("signer", "");
                 Replace("certificate", Base64Of(signer));
                 Revoke({signer.certificate});
             }},
            {"authority revoked",
             "trust",
             {33, 26, 0},
             "of 'CN=authority') is revoked on this node.",
             [this] { Revoke({authority.Certificate()}); }},
            {"list of revoked certificates broken",
             "trust",
             {32, 0},
             "revoked.list' is broken in line 1: it is cut off.",
             [] { WriteKeyStore("revoked.list", "end"); }},
            {"a key that cannot verify",
             "certificate",
             {33, 28, 0},
             "The signature object cannot be initialized for verification.",
             certificate(Base64Of(weak))},
            {"signature no Base64",
             "signature",
             {33, 29, 0},
             "Error during decoding the policy data signature.",
             [this] { Replace("signature", "!!!!"); }},
            {"signature cut",
             "signature",
             {33, 31, 0},
             "Error during verifying the signature.",
             [this] {
                 Replace("signature", 0, [](const std::string& text) { return text.substr(0, text.size() / 8 * 4); });
             }},
            {"signature empty",
             "signature",
             {33, 31, 0},
             "Error during verifying the signature.",
             [this] { Replace("signature", ""); }},
            {"data changed",
             "data",
             {33, 30},
             "The signature is not correct for the policy data.",
             [this] { WriteText(Folder() / "one", "the First content"); }},
        };
    }
};

TEST_F(FailedCheck, TellsItsStepAndHandsTheContentOutAllTheSame) {
    const std::string place =
        " policy data file '" + (Folder() / "one").string() + "'";  // the first hole of both messages
    for (const Row& row : Rows()) {
        SCOPED_TRACE(row.label);
        MakeGood();
        row.make();
        const PolicyHeader header = Loaded();
        data = CharArray_t("untouched");
        String_t encoding = "untouched";
        const TraceLines trace;
        const auto list = MessagesOf<SecCoreException>([&] { header.GetData(0, data, encoding); });
        EXPECT_THAT(Chain(list), ElementsAreArray(row.ids));
        const std::string text = list.Format(LumPalMsg::Text | LumPalMsg::Details).ToUtf8();
        EXPECT_THAT(text, HasSubstr(row.says));
        EXPECT_THAT(text, HasSubstr(place));
        EXPECT_THAT(text, HasSubstr("policy name 'Backup' and policy id 'p1'"));
        EXPECT_EQ(data.View(), ReadText(Folder() / "one"));
        EXPECT_EQ(encoding, "untouched");
        EXPECT_TRUE(trace.Contains("Warning: Security check did not succeed for the policy data."));
    }
}

TEST_F(FailedCheck, OfTwoThatAreWrongTheEarlierIsTold) {
    const std::vector<Row> rows = Rows();
    int pairs = 0;
    for (std::size_t first = 0; first < rows.size(); ++first) {
        for (std::size_t second = first + 1; second < rows.size(); ++second) {
            if (Overlap(rows[first].target, rows[second].target)) continue;
            SCOPED_TRACE(std::string(rows[first].label) + ", and " + rows[second].label);
            MakeGood();
            rows[first].make();
            rows[second].make();
            EXPECT_THAT(Failure(), ElementsAreArray(rows[first].ids));
            ++pairs;
        }
    }
    EXPECT_GT(pairs, 150);
}

TEST_F(FailedCheck, IsNotRememberedNorIsASuccess) {
    for (const Row& row : Rows()) {
        if (Overlap(row.target, "certificate") || row.target == "signature") continue;  // these are the header's own
        SCOPED_TRACE(row.label);
        MakeGood();
        const PolicyHeader header = Loaded();
        header.GetData(0, data);
        row.make();
        EXPECT_THROW(header.GetData(0, data), SecCoreException);
        MakeAllButTheHeaderGood();
        header.GetData(0, data);
        EXPECT_EQ(data.View(), "the first content");
    }
}

TEST_F(FailedCheck, StandsBehindWhatMayNotBeReadAndWhatIsNotThere) {
    for (const Row& row : Rows()) {
        SCOPED_TRACE(row.label);
        MakeGood();
        row.make();
        const PolicyHeader header = Loaded();
        data = CharArray_t("untouched");
        EXPECT_RAISES(PolicyHeader::Read(HeaderFile()).GetData(7, data), LumPalMsg::IllegalStateError_t, 17);
        EXPECT_RAISES(header.GetData(7, data), IllegalArgumentError_t, 16);
        {
            const FailingFile file("read", "/one");
            EXPECT_RAISES(header.GetData(0, data), LumPalIo::IOException_t, 19);
        }
        fs::remove(Folder() / "one");
        EXPECT_RAISES(header.GetData(0, data), FileNotFoundException_t, 18);
        EXPECT_EQ(data.View(), "untouched");
    }
}

}  // namespace
}  // namespace LumConf
