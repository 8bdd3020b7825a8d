#include "lumconfd/Expiry.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "CapturedLog.h"
#include "TempRoot.h"
#include "TestPki.h"

using lumconfd::Expiry;

namespace {

constexpr std::int64_t kDay = 86400;

std::int64_t Now() {
    return std::chrono::duration_cast<std::chrono::seconds>(std::chrono::system_clock::now().time_since_epoch())
        .count();
}

/// A node whose certificate ends in 100 days, as its authority does, and a clock that the test sets.
struct ExpiryTest : testing::Test {
    static constexpr int kDays = 100;

    TempRoot root;
    CapturedLog log{root.Native()};
    TestAuthority authority{"authority", "EC:P-256", kDays};
    const std::int64_t end = Now() + kDays * kDay;
    std::int64_t now = Now();
    Expiry expiry{[this] { return now; }};

    ExpiryTest() { InstallIdentity("node-1", authority.Issue("node-1", "", kDays)); }
    void TrustIt() { InstallTrust("authority", authority.Certificate()); }

    int Count(const std::string& words) const {
        const std::string text = log.Text();
        int count = 0;
        for (std::size_t at = text.find(words); at != text.npos; at = text.find(words, at + 1)) ++count;
        return count;
    }
    /// Looks when so much time is left; a minute earlier than exactly then, since the certificate is a little older.
    void LookBefore(double days) {
        now = end - static_cast<std::int64_t>(days * kDay) + (days > 0 ? 60 : 0);
        expiry.Look();
    }
};

TEST_F(ExpiryTest, EachThresholdIsSaidOnceAndTheEndAsAnError) {
    const struct {
        double daysLeft;
        int lines;
        const char* said;
    } rows[] = {{99, 0, ""},
                {30.1, 0, ""},
                {30, 1, "in less than 30 day(s)"},
                {29, 1, ""},
                {7.1, 1, ""},
                {7, 2, "in less than 7 day(s)"},
                {1.1, 2, ""},
                {1, 3, "in less than 1 day(s)"},
                {0.1, 3, ""},
                {-0.1, 4, "has ended on"},
                {-100, 4, ""}};
    for (const auto& row : rows) {
        LookBefore(row.daysLeft);
        expiry.Look();
        EXPECT_EQ(Count("The node's certificate of 'node-1'"), row.lines) << row.daysLeft << "\n" << log.Text();
        EXPECT_TRUE(log.Holds(row.said)) << row.daysLeft;
    }
    EXPECT_EQ(Count("WARNING The node's"), 3);
    EXPECT_EQ(Count("ERROR The node's"), 1);
    EXPECT_TRUE(log.Holds("own/node-1.pem")) << log.Text();
}

TEST_F(ExpiryTest, WhatIsMetLateIsSaidOnceWithTheNearestThreshold) {
    LookBefore(0.5);
    EXPECT_EQ(Count("The node's certificate"), 1) << log.Text();
    EXPECT_TRUE(log.Holds("in less than 1 day(s)"));
}

TEST_F(ExpiryTest, WhatHasEndedBeforeTheStartIsSaidAsAnErrorAlone) {
    LookBefore(-5);
    EXPECT_EQ(Count("ERROR The node's certificate"), 1) << log.Text();
    EXPECT_EQ(Count("The node's certificate"), 1);
}

TEST_F(ExpiryTest, ATrustedCertificateIsSaidToo) {
    TrustIt();
    LookBefore(30);
    LookBefore(-1);
    EXPECT_EQ(Count("WARNING The trusted certificate of 'authority'"), 1) << log.Text();
    EXPECT_EQ(Count("ERROR The trusted certificate of 'authority'"), 1) << log.Text();
}

TEST_F(ExpiryTest, TheChainBehindTheNodesCertificateIsLookedAtToo) {
    const TestIdentity own = authority.Issue("node-1", "", 2 * kDays);
    InstallIdentity("node-1", {own.certificate + authority.Certificate(), own.key});
    LookBefore(30);
    EXPECT_EQ(Count("The node's certificate of 'authority'"), 1) << log.Text();
    EXPECT_EQ(Count("The node's certificate of 'node-1'"), 0);
}

TEST_F(ExpiryTest, ARenewedCertificateIsSaidAnew) {
    LookBefore(1);
    InstallIdentity("node-1", authority.Issue("node-1", "", 2 * kDays));
    expiry.Look();
    EXPECT_EQ(Count("The node's certificate"), 1) << log.Text();
    now = end + (kDays - 30) * kDay + 60;
    expiry.Look();
    EXPECT_EQ(Count("in less than 30 day(s)"), 1) << log.Text();
}

TEST_F(ExpiryTest, ACertificateInstalledWhileTheDaemonRunsIsSaidAtTheReload) {
    TempRoot fresh;
    expiry.Look();
    InstallIdentity("node-1", authority.Issue("node-1", "", 6));
    now = Now();
    expiry.Look();
    EXPECT_EQ(Count("in less than 7 day(s)"), 1) << log.Text();
}

TEST_F(ExpiryTest, AFileThatIsBrokenStandsForWhatItHeldBefore) {
    TrustIt();
    expiry.Look();
    WriteKeyStore("own/node-1.pem", "broken");
    WriteKeyStore("trusted/authority.pem", "-----BEGIN CERTIFICATE-----\nAAAA\n");
    LookBefore(7);
    EXPECT_EQ(Count("The node's certificate"), 1) << log.Text();
    EXPECT_EQ(Count("The trusted certificate"), 1) << log.Text();
}

TEST_F(ExpiryTest, WhatIsNoLongerTrustedOrInstalledIsNotSaid) {
    TrustIt();
    expiry.Look();
    std::filesystem::remove(root.Native() + "/etc/keystore/trusted/authority.pem");
    Configure("sec.cm.certificates", "CERT_INSTALLED", "false");
    LookBefore(-1);
    EXPECT_EQ(log.Text(), "");
}

TEST_F(ExpiryTest, ABrokenFileThatWasNeverReadHarmsNobody) {
    InstallTrust("empty", "");
    InstallTrust("nothing", "nothing");
    LookBefore(1);
    EXPECT_EQ(Count("The node's certificate"), 1) << log.Text();
}

TEST_F(ExpiryTest, AClockThatGoesBackRepeatsNothing) {
    LookBefore(7);
    LookBefore(29);
    LookBefore(7);
    EXPECT_EQ(Count("The node's certificate"), 1) << log.Text();
}

}  // namespace
