// Key and certificate change as one, wherever it is interrupted.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>

#include "Faults.h"
#include "Files.h"
#include "LumPalFault.h"
#include "LumSecPki.h"
#include "TempRoot.h"
#include "TestPki.h"
#include "lumtrust/Command.h"

using LumPalArray::CharArray_t;
using LumPalStr::String_t;
using LumSecCore::OwnPair;

namespace {

CharArray_t Bytes(const std::string& text) {
    return CharArray_t(text.data(), text.size());
}

int operationsLeft = 0;

/// Ends the process at the n-th file operation, with nothing tidied up.
bool CrashAtTheLast(const char*, const char*) {
    if (--operationsLeft == 0) _exit(9);
    return false;
}

/// Runs the work in a child that crashes at its n-th file operation. @return whether it met so many
bool CrashedAt(int nth, const std::function<void()>& work) {
    const pid_t child = fork();
    if (child == 0) {
        operationsLeft = nth;
        LumPalIo::SetFaultHookForTest(CrashAtTheLast);
        work();
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && (WEXITSTATUS(status) == 0 || WEXITSTATUS(status) == 9)) << nth;
    return WIFEXITED(status) && WEXITSTATUS(status) == 9;
}

struct InstallPairTest : testing::Test {
    TestAuthority authority{"authority"};
    const TestIdentity old = authority.Issue("node-1", ""), next = authority.Issue("node-1", "");

    static void Install(const TestIdentity& identity) {
        lumtrust::InstallPair("node-1", Bytes(identity.certificate), LumSecPki::ReadPrivateKey(Bytes(identity.key)));
    }
    /// What every reader finds; throws when key and certificate do not belong together.
    static std::string Found() {
        LumSecCore::NodeIdentity::Load();
        const OwnPair pair = OwnPair::Load("node-1");
        LumSecCore::Key key;
        LumSecCore::KeyStore().GetPrivateKey("node-1", key);
        EXPECT_TRUE(LumSecPki::Match(LumSecPki::ReadCertificate(Bytes(pair.certificate)), key)) << "signing";
        return pair.certificate;
    }
    static std::string KeyFiles(const TempRoot& root) {
        std::string names;
        for (const char* name : {"requested/node-1.key", "own/node-1.key"})
            if (std::filesystem::exists(root.Native() + "/etc/keystore/" + name)) names += std::string(name) + " ";
        return names;
    }
};

}  // namespace

TEST_F(InstallPairTest, ReplacesThePairAndLeavesNothingWaiting) {
    const TempRoot root;
    InstallIdentity("node-1", old);
    WriteKeyStore("requested/node-1.key", next.key);
    Install(next);
    EXPECT_EQ(Found(), next.certificate);
    EXPECT_EQ(KeyFiles(root), "own/node-1.key ");
    EXPECT_EQ(ModeOf(root.Native() + "/etc/keystore/own/node-1.key"), 0600u);
}

TEST_F(InstallPairTest, ACrashAtEachStepLeavesTheOldPairOrTheNewOneAndCanBeRepeated) {
    for (const bool waits : {true, false}) {
        int crashes = 0;
        std::string last = old.certificate;
        while (true) {
            const TempRoot root(kFastFolder);
            InstallIdentity("node-1", old);
            if (waits) WriteKeyStore("requested/node-1.key", next.key);
            if (!CrashedAt(crashes + 1, [&] { Install(next); })) break;
            ++crashes;
            const std::string found = Found();
            EXPECT_TRUE(found == old.certificate || found == next.certificate) << crashes;
            EXPECT_FALSE(last == next.certificate && found == old.certificate)
                << "it goes forth, not back: " << crashes;
            last = found;
            Install(next);
            EXPECT_EQ(Found(), next.certificate) << crashes;
            EXPECT_EQ(KeyFiles(root), "own/node-1.key ") << crashes;
        }
        EXPECT_GE(crashes, waits ? 5 : 9) << "every operation was met";
        EXPECT_EQ(last, next.certificate);
    }
}

TEST_F(InstallPairTest, AnOperationThatFailsLeavesTheOldPairOrTheNewOne) {
    for (const FaultMode mode : {FaultMode::Once, FaultMode::FromThenOn, FaultMode::DiskFull}) {
        ForEachFault([&](int nth) {
            const TempRoot root(kFastFolder);
            InstallIdentity("node-1", old);
            Faults faults(nth, mode);
            bool failed = false;
            try {
                Install(next);
            } catch (const LumPalMsg::Exception_t&) {
                failed = true;
            }
            faults.Stop();
            const std::string found = Found();
            EXPECT_TRUE(found == next.certificate || (failed && found == old.certificate)) << faults.Failed();
            return faults.Fired();
        });
    }
}

TEST_F(InstallPairTest, TheFirstPairOfANodeCanBeInterruptedToo) {
    for (int nth = 1;; ++nth) {
        const TempRoot root(kFastFolder);
        if (!CrashedAt(nth, [&] { Install(next); })) break;
        Install(next);
        Configure("sec.core", "CORE_ID", "node-1");
        Configure("sec.cm.certificates", "CERT_INSTALLED", "true");
        EXPECT_EQ(Found(), next.certificate) << nth;
    }
}

TEST_F(InstallPairTest, AKeyThatWaitsForAnotherCertificateGoesOnWaiting) {
    const TempRoot root;
    InstallIdentity("node-1", old);
    WriteKeyStore("requested/node-1.key", next.key);
    lumtrust::FinishInstallation("node-1");
    EXPECT_EQ(Found(), old.certificate);
    Install(old);
    EXPECT_EQ(Found(), old.certificate);
    EXPECT_EQ(ReadText(root.Native() + "/etc/keystore/requested/node-1.key"), next.key);
}

TEST_F(InstallPairTest, AnInterruptedInstallationIsFinished) {
    const TempRoot root;
    InstallIdentity("node-1", {next.certificate, old.key});
    WriteKeyStore("requested/node-1.key", next.key);
    EXPECT_EQ(Found(), next.certificate);
    lumtrust::FinishInstallation("node-1");
    EXPECT_EQ(KeyFiles(root), "own/node-1.key ");
    EXPECT_EQ(Found(), next.certificate);
    lumtrust::FinishInstallation("node-1");
    lumtrust::FinishInstallation("nobody");
    EXPECT_EQ(Found(), next.certificate);
}
