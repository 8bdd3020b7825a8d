// The node's certificate and key as every reader finds them.
#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <thread>

#include "Configure.h"
#include "Files.h"
#include "LumSecCore.h"
#include "LumSecPki.h"
#include "TempRoot.h"
#include "TestPki.h"

using LumSecCore::KeyStoreException;
using LumSecCore::OwnPair;

namespace {

struct OwnPairTest : testing::Test {
    TempRoot root;
    TestAuthority authority{"authority"};
    const TestIdentity first = authority.Issue("node-1", ""), second = authority.Issue("node-1", "");

    static std::string FailureOfLoad() {
        try {
            OwnPair::Load("node-1");
        } catch (const KeyStoreException& e) {
            return e.what();
        }
        return "nothing was thrown";
    }
    static std::string Signer() {
        LumSecCore::Key key;
        LumSecCore::KeyStore().GetPrivateKey("node-1", key);
        return std::string(LumSecPki::ToPem(key).View());
    }
};

}  // namespace

TEST_F(OwnPairTest, IsTheTwoFilesOfItsName) {
    InstallIdentity("node-1", first);
    const OwnPair pair = OwnPair::Load("node-1");
    EXPECT_EQ(pair.certificate, first.certificate);
    EXPECT_EQ(pair.key, first.key);
    EXPECT_EQ(OwnPair::Load("node-1", pair), pair);
}

TEST_F(OwnPairTest, TheKeyOfAnInterruptedInstallationIsFoundWhereItWaits) {
    InstallIdentity("node-1", {second.certificate, first.key});
    WriteKeyStore("requested/node-1.key", second.key);
    EXPECT_EQ(OwnPair::Load("node-1").key, second.key);
    EXPECT_EQ(Signer(), second.key);
    std::filesystem::remove(root.Native() + "/etc/keystore/own/node-1.key");
    EXPECT_EQ(OwnPair::Load("node-1").key, second.key);
    EXPECT_EQ(Signer(), second.key);
    EXPECT_EQ(LumSecCore::NodeIdentity::Load().keyPath, root.Path("etc/keystore/requested/node-1.key"));
}

TEST_F(OwnPairTest, AKeyThatWaitsForItsCertificateChangesNothing) {
    InstallIdentity("node-1", first);
    for (const std::string& waiting : {second.key, std::string("broken"), std::string()}) {
        WriteKeyStore("requested/node-1.key", waiting);
        EXPECT_EQ(OwnPair::Load("node-1").key, first.key);
        EXPECT_EQ(Signer(), first.key);
    }
}

TEST_F(OwnPairTest, WhatWasKnownBeforeDoesNotHideWhatIsThereNow) {
    InstallIdentity("node-1", first);
    const OwnPair known = OwnPair::Load("node-1");
    InstallIdentity("node-1", second);
    EXPECT_EQ(OwnPair::Load("node-1", known).certificate, second.certificate);
    WriteKeyStore("own/node-1.key", first.key);
    EXPECT_THROW(OwnPair::Load("node-1", known), KeyStoreException);
}

TEST_F(OwnPairTest, WhatCannotBeUsedIsNamed) {
    const struct {
        const char* file;
        std::string text;
    } rows[] = {
        {"own/node-1.pem", ""}, {"own/node-1.pem", "broken"}, {"own/node-1.pem", first.certificate.substr(0, 200)},
        {"own/node-1.key", ""}, {"own/node-1.key", "broken"}, {"own/node-1.key", second.key}};
    for (const auto& row : rows) {
        InstallIdentity("node-1", first);
        WriteKeyStore(row.file, row.text);
        EXPECT_NE(FailureOfLoad().find(row.file), std::string::npos) << FailureOfLoad();
    }
    for (const char* file : {"own/node-1.pem", "own/node-1.key"}) {
        InstallIdentity("node-1", first);
        std::filesystem::remove(root.Native() + "/etc/keystore/" + file);
        EXPECT_NE(FailureOfLoad().find(file), std::string::npos) << FailureOfLoad();
    }
}

TEST_F(OwnPairTest, IsNeverHalfOfOneThatIsBeingReplaced) {
    InstallIdentity("node-1", first);
    const std::filesystem::path store = root.Native() + "/etc/keystore";
    std::atomic<bool> stop{false};
    std::atomic<int> wrong{0}, readings{0};
    std::thread reader([&] {
        OwnPair known;
        while (!stop) {
            try {
                known = OwnPair::Load("node-1", known);
                const bool isFirst = known.certificate == first.certificate;
                wrong += known.key != (isFirst ? first.key : second.key);
            } catch (const KeyStoreException&) {
                ++wrong;
            }
            ++readings;
        }
    });
    for (int round = 0; round < 100; ++round) {
        const TestIdentity& next = round % 2 ? first : second;
        WriteKeyStore("requested/aside", next.key);
        std::filesystem::rename(store / "requested/aside", store / "requested/node-1.key");
        WriteKeyStore("own/aside", next.certificate);
        std::filesystem::rename(store / "own/aside", store / "own/node-1.pem");
        std::filesystem::rename(store / "requested/node-1.key", store / "own/node-1.key");
        // A reading meets one replacement at most, as with administrators.
        const int before = readings;
        EXPECT_TRUE(Eventually([&] { return readings > before; }));
    }
    stop = true;
    reader.join();
    EXPECT_EQ(wrong, 0);
}
