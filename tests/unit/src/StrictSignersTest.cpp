// Signers of whom the usual steps of a proof ask less than a server asks of its callers, and STRICT_SIGNERS as much.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "PolicyProof.h"
#include "SignedPolicy.h"

namespace LumConf {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

/// A signer of whom only the strict proof finds something wrong, and what.
struct Row {
    const char* what;
    TestAuthorityKind authority;
    int days, from;  ///< of the authority's certificate
    TestExtensions signer;
    const char* refusal;
};

const TestAuthorityKind kGood{"good", X509_VERSION_3, {{"basicConstraints", "critical,CA:TRUE"}}};
const TestAuthorityKind kWithCritical{
    "with a critical extension", X509_VERSION_3, {{"basicConstraints", "CA:TRUE"}, {"1.2.3.4", "critical,DER:0500"}}};
const TestAuthorityKind kForLan{
    "for some hosts", X509_VERSION_3, {{"basicConstraints", "CA:TRUE"}, {"nameConstraints", "permitted;DNS:lan"}}};

const Row kRows[] = {
    {"an ended authority", kGood, -1, -10, {}, "certificate has expired"},
    {"an authority whose time has not come", kGood, 3, 2, {}, "certificate is not yet valid"},
    {"a critical extension that nobody knows",
     kGood,
     1,
     -10,
     {{"1.2.3.4", "critical,DER:0500"}},
     "unhandled critical extension"},
    {"one of the authority", kWithCritical, 1, -10, {}, "unhandled critical extension"},
    {"a name that the authority may not vouch for",
     kForLan,
     1,
     -10,
     {{"subjectAltName", "DNS:host.elsewhere"}},
     "permitted subtree violation"},
    {"a key that encrypts", kGood, 1, -10, {{"keyUsage", "keyEncipherment"}}, "unsuitable certificate purpose"},
    {"a key that agrees on keys", kGood, 1, -10, {{"keyUsage", "keyAgreement"}}, "its key usage lets it sign nothing"},
    {"a certificate for servers",
     kGood,
     1,
     -10,
     {{"extendedKeyUsage", "serverAuth"}},
     "unsuitable certificate purpose"},
};

class StrictSignersTest : public SignedPolicy {
protected:
    static void SetStrict(const char* value) { Configure("conf.core", "STRICT_SIGNERS", value); }
    void SignAs(const Row& row) {
        const TestAuthority issuer("authority", row.authority, row.days, row.from);
        InstallTrust("authority", issuer.Certificate());
        Sign(issuer.IssueWith(row.signer, "signer"));
    }
    bool IsProven() {
        Loaded().GetData(0, data);
        return data.View() == "the first content";
    }
};

TEST_F(StrictSignersTest, WithoutTheKeyTheyAreProvenAndWhatIsWrongIsTold) {
    for (const Row& row : kRows) {
        SignAs(row);
        for (const char* value : {"", "false"}) {
            SetStrict(value);
            EXPECT_TRUE(IsProven()) << row.what;
            const StrictSigners strict = StrictSigners::Of(Loaded());
            EXPECT_FALSE(strict.demanded) << row.what;
            EXPECT_THAT(strict.refusal.ToUtf8(), HasSubstr(row.refusal)) << row.what;
            EXPECT_THAT(strict.refusal.ToUtf8(), HasSubstr("'signer'")) << row.what;
        }
    }
}

TEST_F(StrictSignersTest, WithTheKeyTheyProveNothing) {
    for (const Row& row : kRows) {
        SignAs(row);
        SetStrict("true");
        const LumPalMsg::MessageList_t messages = FailureMessages();
        EXPECT_THAT(Chain(messages), ElementsAre(33, 26, 0)) << row.what;
        EXPECT_THAT(messages.Format(LumPalMsg::Text | LumPalMsg::Details).ToUtf8(), HasSubstr(row.refusal)) << row.what;
        EXPECT_TRUE(StrictSigners::Of(Loaded()).demanded) << row.what;
    }
}

TEST_F(StrictSignersTest, AGoodSignerIsProvenEitherWay) {
    const TestExtensions usual = {{"keyUsage", "critical,digitalSignature"},
                                  {"extendedKeyUsage", "serverAuth,clientAuth"}};
    for (const TestExtensions& extensions :
         {TestExtensions(), usual, TestExtensions{{"keyUsage", "digitalSignature"}}}) {
        SignAs({"good", kGood, 1, -10, extensions, ""});
        for (const char* value : {"false", "true"}) {
            SetStrict(value);
            EXPECT_TRUE(IsProven());
            EXPECT_TRUE(StrictSigners::Of(Loaded()).refusal.IsEmpty()) << StrictSigners::Of(Loaded()).refusal.ToUtf8();
        }
    }
}

TEST_F(StrictSignersTest, WhoBearsTheNodesNameSignsWithItsKeyAlone) {
    Sign(authority.Issue("signer", ""));
    Configure("sec.core", "CORE_ID", "signer");
    Configure("sec.cm.certificates", "CERT_INSTALLED", "true");
    SetStrict("true");
    EXPECT_TRUE(IsProven()) << "the node's own key";
    Own(authority.Issue("signer", ""));
    EXPECT_THAT(Failure(), ElementsAre(33, 26, 0));
    EXPECT_THAT(StrictSigners::Of(Loaded()).refusal.ToUtf8(), HasSubstr("this node's own id"));
    Configure("sec.core", "CORE_ID", "another");
    Own(authority.Issue("another", ""), "another");
    EXPECT_TRUE(IsProven()) << "the node bears another name";
    Configure("sec.core", "CORE_ID", "signer");
    SetStrict("false");
    EXPECT_TRUE(IsProven());
}

TEST_F(StrictSignersTest, ANameThatIsNobodysOverTlsSignsOnlyWithoutTheKey) {
    for (const char* const name : {"conf.cluster", " Local Administrator "}) {
        Grant(std::string("[conf]\nsigner=sign\n") + name + "=sign\n");
        Sign(authority.Issue("signer", ""));
        Replace("certificate", Base64Of(authority.Issue(name, "")));
        SetStrict("true");
        EXPECT_THAT(StrictSigners::Of(Loaded()).refusal.ToUtf8(), HasSubstr("the common name is reserved")) << name;
    }
}

TEST_F(StrictSignersTest, ACertificateOverSha224ProvesEitherWay) {
    Sign(authority.IssueBy("SHA224", "signer"));
    for (const char* value : {"false", "true"}) {
        SetStrict(value);
        EXPECT_TRUE(IsProven());
    }
}

TEST_F(StrictSignersTest, WhoIsNoAuthorityMakesNoSignersEitherWay) {
    for (const TestAuthorityKind& kind : kNoAuthorities) {
        SignAs({kind.what, kind, 1, -10, {}, ""});
        for (const char* value : {"false", "true"}) {
            SetStrict(value);
            EXPECT_THAT(Failure(), ElementsAre(33, 26)) << kind.what;
        }
    }
}

TEST_F(StrictSignersTest, AConfigurationThatCannotBeReadProvesNothing) {
    Sign(authority.Issue("signer", ""));
    const PolicyHeader header = Loaded();
    WriteText(root.Native() + "/etc/pal/config/local_settings.ini", "neither\n");
    EXPECT_RAISES(header.GetData(0, data), LumSecCore::SecCoreException, 33);
}

}  // namespace
}  // namespace LumConf
