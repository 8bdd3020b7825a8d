#include <gtest/gtest.h>

#include <filesystem>

#include "Files.h"
#include "LumPalIo.h"
#include "LumSecCore.h"
#include "TempRoot.h"
#include "TestPki.h"

using LumPalStr::String_t;
using LumSecCore::IsAlias;
using LumSecCore::KeyStoreException;
using LumSecCore::NodeIdentity;

namespace {

struct NodeIdentityTest : testing::Test {
    TempRoot root;
    TestAuthority authority{"authority"};

    std::string FailureOfLoad() {
        try {
            NodeIdentity::Load();
        } catch (const KeyStoreException& e) {
            return e.what();
        }
        return "nothing was thrown";
    }
};

}  // namespace

TEST(Aliases, ArePlainFileNames) {
    const struct {
        String_t name;
        bool good;
    } rows[] = {
        {"node-1", true},
        {"a b", true},
        {"...", true},
        {"node.example.org", true},
        {"5C1A5D5E-0001-75B1-0000-000000000000", true},
        {String_t::FromUtf8("M\xC3\xBCller"), true},
        {String_t::FromUtf8(std::string(200, 'a')), true},
        {String_t::FromUtf8(std::string(201, 'a')), false},
        {"", false},
        {String_t::Null(), false},
        {".", false},
        {"..", false},
        {"../node", false},
        {"a/b", false},
        {"/etc/passwd", false},
        {"a\\b", false},
        {"a\nb", false},
        {String_t(u"a\0b", 3), false},
        {String_t(u"a\u007Fb"), false},
        {String_t(u"a\u0085b"), false},
    };
    for (const auto& row : rows) EXPECT_EQ(IsAlias(row.name), row.good) << "'" << row.name << "'";
}

TEST_F(NodeIdentityTest, ANewNodeHasNone) {
    const NodeIdentity identity = NodeIdentity::Load();
    EXPECT_FALSE(identity.certificateInstalled);
    EXPECT_TRUE(identity.coreId.IsEmpty());
    EXPECT_TRUE(identity.certificatePath.IsEmpty());
    EXPECT_TRUE(identity.trustedPaths.empty());
}

TEST_F(NodeIdentityTest, TheKeyStoreLiesBelowEtc) {
    EXPECT_EQ(LumSecCore::KeyStoreDirectory(), root.Path("etc/keystore/"));
}

TEST_F(NodeIdentityTest, AnInstalledCertificateIsFoundByTheCoreId) {
    InstallIdentity("node-1", authority.Issue("node-1", ""));
    InstallTrust("b", authority.Certificate());
    InstallTrust("a", authority.Certificate());
    WriteKeyStore("trusted/readme.txt", "no certificate");
    const NodeIdentity identity = NodeIdentity::Load();
    EXPECT_TRUE(identity.certificateInstalled);
    EXPECT_EQ(identity.coreId, "node-1");
    EXPECT_EQ(identity.certificatePath, root.Path("etc/keystore/own/node-1.pem"));
    EXPECT_EQ(identity.keyPath, root.Path("etc/keystore/own/node-1.key"));
    ASSERT_EQ(identity.trustedPaths.size(), 2u);
    EXPECT_EQ(identity.trustedPaths[0], root.Path("etc/keystore/trusted/a.pem"));
    EXPECT_EQ(identity.trustedPaths[1], root.Path("etc/keystore/trusted/b.pem"));
}

TEST_F(NodeIdentityTest, TrustThatIsTakenAwayWhileItIsReadIsNoFailure) {
    const TestAuthority other("other");
    InstallTrust("authority", authority.Certificate());
    InstallTrust("other", other.Certificate());
    InstallIdentity("node-1", authority.Issue("node-1", "DNS:localhost"));
    const NodeIdentity identity = NodeIdentity::Load();
    ASSERT_EQ(identity.trustedPaths.size(), 2u);
    LumPalIo::File_t(identity.trustedPaths[1]).Delete();
    EXPECT_NO_THROW(identity.RequireUsable());
    WriteKeyStore("trusted/other.pem", "broken");
    EXPECT_THROW(identity.RequireUsable(), KeyStoreException);
}

TEST_F(NodeIdentityTest, AMissingFileIsNamed) {
    const TestIdentity issued = authority.Issue("node-1", "");
    for (const char* name : {"own/node-1.pem", "own/node-1.key"}) {
        InstallIdentity("node-1", issued);
        std::filesystem::remove(root.Native() + "/etc/keystore/" + name);
        EXPECT_NE(FailureOfLoad().find(name), std::string::npos) << FailureOfLoad();
    }
}

TEST_F(NodeIdentityTest, ACoreIdThatIsNoFileNameIsRefused) {
    Configure("sec.cm.certificates", "CERT_INSTALLED", "true");
    for (const char* id : {"", "..", "../../secret", "a/b"}) {
        Configure("sec.core", "CORE_ID", id);
        EXPECT_NE(FailureOfLoad().find("CORE_ID"), std::string::npos) << "'" << id << "' " << FailureOfLoad();
    }
}
