// What runs of lumtrust that were killed have left aside.
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "Faults.h"
#include "Files.h"
#include "FlushFollower.h"
#include "ForkedProcess.h"
#include "LumSecPki.h"
#include "TempRoot.h"
#include "TestPki.h"
#include "TestRevocations.h"
#include "common/Program.h"
#include "lumtrust/Command.h"
#include "lumtrust/RightsFile.h"

using LumPalArray::CharArray_t;

namespace {

namespace fs = std::filesystem;

CharArray_t Bytes(const std::string& text) {
    return CharArray_t(text.data(), text.size());
}

std::vector<std::string> LeftAside(const std::string& folder) {
    std::vector<std::string> paths;
    for (const auto& entry : fs::recursive_directory_iterator(folder))
        if (entry.path().filename().string().starts_with(".lumtrust")) paths.push_back(entry.path());
    return paths;
}

using Paths = std::vector<std::string>;

/// What lumtrust does to a node, each under its lock.
struct Change {
    const char* says;
    std::function<void()> make;
};

const TestIdentity& Identity() {
    static const TestIdentity identity = TestAuthority("authority").Issue("node-1", "");
    return identity;
}

const Change kChanges[] = {
    {"a right is granted", [] { lumtrust::RightsFile().Set("operator", 1); }},
    {"a certificate is trusted",
     [] { lumtrust::ReplaceFile(lumtrust::StoreFile("trusted", "a", ".pem"), Bytes("x"), 0644); }},
    {"a key is made", [] { lumtrust::ReplaceFile(lumtrust::StoreFile("requested", "a", ".key"), Bytes("x"), 0600); }},
    {"a pair is installed",
     [] {
         lumtrust::InstallPair("node-1", Bytes(Identity().certificate),
                               LumSecPki::ReadPrivateKey(Bytes(Identity().key)));
     }},
    {"a certificate is revoked",
     [] { lumtrust::ReplaceFile(LumSecCore::RevocationList::Path(), Bytes("end 0\n"), 0644); }},
};

/// Runs a command as lumtrust's main function does, its words without the program's name. @return its exit code, or 1
int Run(const std::vector<std::string>& words) {
    std::vector<const char*> arguments{"lumtrust"};
    for (const std::string& word : words) arguments.push_back(word.c_str());
    const lumtools::Program program{
        "lumtrust",
        "",
        "",
        nullptr,
        "",
        {lumtrust::AddIdentity, lumtrust::AddTrusted, lumtrust::AddRights, lumtrust::AddRevoked, lumtrust::AddEnroll}};
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const int code =
        lumtools::RunProgram(program, static_cast<int>(arguments.size()), const_cast<char**>(arguments.data()));
    testing::internal::GetCapturedStdout();
    testing::internal::GetCapturedStderr();
    return code;
}

struct Command {
    std::vector<std::string> words;
    int code, repeated;  ///< what it ends with, and when it is given once more
    int flushes;         ///< that it needs at least, and when it is given once more
    int flushesRepeated;
};

/// A node that has no rights and trusts nobody but "old", with files for the commands.
void Prepare(const TempRoot& root) {
    static const TestAuthority authority("authority");
    WriteText(root.Native() + "/ca.pem", authority.Certificate());
    WriteText(root.Native() + "/node.pem", Identity().certificate);
    WriteText(root.Native() + "/node.key", Identity().key);
    InstallTrust("old", authority.Certificate());
    WriteKeyStore("requested/node-2.key", "waits");
    static const std::string leaf = authority.Issue("leaf", "").certificate,
                             revoked = authority.Issue("revoked", "").certificate;
    WriteText(root.Native() + "/leaf.pem", leaf);
    WriteText(root.Native() + "/revoked.pem", revoked);
    Revoke({revoked});
}

/// The words of a command with its files in the root.
std::vector<std::string> WordsAt(const TempRoot& root, std::vector<std::string> words) {
    for (std::string& word : words)
        if (word.starts_with("FILE/")) word = root.Native() + word.substr(4);
    return words;
}

/// What a power cut behind a command that was done could take back of it.
std::vector<std::string> UnflushedBy(const TempRoot& root, const std::vector<std::string>& words) {
    const FlushFollower follower(root.Native(), {});
    EXPECT_EQ(Run(WordsAt(root, words)), 0);
    EXPECT_GT(follower.Flushes(), 0);
    return follower.Faults();
}

/// Lets each flush of a command fail. @return how many there were
int FailEachFlush(const Command& command, bool repeated) {
    int flushes = 0;
    ForEachFault([&](int nth) {
        const TempRoot root(kFastFolder);
        Prepare(root);
        const std::vector<std::string> words = WordsAt(root, command.words);
        if (repeated) {
            EXPECT_EQ(Run(words), command.code);
        }
        Faults faults(nth);
        const int code = Run(words);
        faults.Stop();
        if (!faults.Fired()) {
            EXPECT_EQ(code, repeated ? command.repeated : command.code);
        }
        if (!faults.Failed().starts_with("fsync ")) return faults.Fired();
        ++flushes;
        EXPECT_EQ(code, 1) << faults.Failed();
        return true;
    });
    return flushes;
}

}  // namespace

TEST(TrustFiles, AFlushThatFailsIsAFailureOfTheCommandAlsoWhenThereIsNothingToDoAnyMore) {
    const Command commands[] = {
        {{"grant", "operator", "list"}, 0, 3, 2, 2},
        {{"revoke", "nobody"}, 3, 3, 0, 0},
        {{"trust", "FILE/ca.pem"}, 0, 0, 2, 2},
        {{"untrust", "old"}, 0, 4, 1, 1},
        {{"request", "--core-id", "node-1"}, 0, 1, 2, 0},
        {{"request", "--core-id", "node-1", "--force"}, 0, 0, 2, 2},
        {{"request", "--core-id", "node-1", "-o", "FILE/node.csr", "--force"}, 0, 0, 4, 4},
        {{"withdraw", "--core-id", "node-2"}, 0, 4, 1, 1},
        {{"revoke", "FILE/leaf.pem"}, 0, 3, 2, 2},
        {{"reinstate", "FILE/leaf.pem"}, 4, 4, 2, 2},
        {{"reinstate", "FILE/revoked.pem"}, 0, 4, 2, 2},
        {{"enroll", "FILE/authority", "--core-id", "node-1"}, 0, 0, 15, 8},
        {{"install", "FILE/node.pem", "--key", "FILE/node.key"}, 0, 0, 9, 6},
    };
    Identity();
    for (const Command& command : commands) {
        SCOPED_TRACE(command.words.front());
        EXPECT_GE(FailEachFlush(command, false), command.flushes);
        EXPECT_GE(FailEachFlush(command, true), command.flushesRepeated);
    }
}

TEST(TrustFiles, BeforeACommandSaysThatItIsDoneAllOfItIsFlushed) {
    const std::vector<std::vector<std::string>> commands = {
        {"grant", "operator", "list"},
        {"grant", "operator", "install"},
        {"revoke", "operator", "list"},
        {"revoke", "operator"},
        {"trust", "FILE/ca.pem"},
        {"trust", "FILE/ca.pem", "--alias", "other"},
        {"untrust", "old"},
        {"request", "--core-id", "node-1"},
        {"request", "--core-id", "node-1", "-o", "FILE/node.csr", "--force"},
        {"withdraw", "--core-id", "node-1"},
        {"install", "FILE/node.pem", "--key", "FILE/node.key"},
        {"revoke", "FILE/leaf.pem"},
        {"revoke", "FILE/node.pem", "--force"},
        {"reinstate", "FILE/node.pem"},
        {"enroll", "FILE/authority", "--core-id", "node-1", "--force"},
        {"operator", "FILE/home", "--core-id", "me", "--authority", "FILE/authority"},
        {"operator", "FILE/homes/own", "--trust", "FILE/ca.pem", "--certificate", "FILE/node.pem", "--key",
         "FILE/node.key"},
    };
    const TempRoot root(kFastFolder);
    Prepare(root);
    for (const std::vector<std::string>& command : commands) {
        SCOPED_TRACE(testing::PrintToString(command));
        EXPECT_EQ(UnflushedBy(root, command), std::vector<std::string>());
    }
}

TEST(TrustFiles, TheKeyIsOnTheDiskBeforeItsCertificateTakesItsPlace) {
    for (const bool waits : {true, false}) {
        const TempRoot root;
        Prepare(root);
        InstallIdentity("node-1", TestAuthority("authority").Issue("node-1", ""));
        const std::string before = ReadText(root.Native() + "/etc/keystore/own/node-1.pem");
        if (waits) WriteKeyStore("requested/node-1.key", Identity().key);
        const FailingFile folder("fsync", "/requested");
        EXPECT_THROW(kChanges[3].make(), LumPalIo::IOException_t);
        EXPECT_EQ(ReadText(root.Native() + "/etc/keystore/own/node-1.pem"), before);
    }
}

TEST(TrustFiles, ACrashAtEachStepOfAChangeLeavesNothingBehindTheNextRun) {
    Identity();
    for (const Change& change : kChanges) {
        SCOPED_TRACE(change.says);
        int left = 0;
        ForEachFault([&](int nth) {
            const TempRoot root(kFastFolder);
            const bool crashed = CrashesAt(nth, true, [&] {
                const lumtrust::ChangeLock lock;
                change.make();
            });
            left += !LeftAside(root.Native()).empty();
            { const lumtrust::ChangeLock lock; }
            EXPECT_EQ(LeftAside(root.Native()), Paths()) << nth;
            return crashed;
        });
        EXPECT_GE(left, 4);
    }
}

TEST(TrustFiles, TheNextFileInAFolderThatIsNotTheNodesTakesAwayWhatWasLeftThere) {
    const TempRoot root;
    const LumPalIo::File_t file(root.Path("elsewhere/request.pem"));
    int left = 0;
    ForEachFault([&](int nth) {
        const bool crashed = CrashesAt(nth, false, [&] { lumtrust::ReplaceFile(file, Bytes("x"), 0644); });
        left += !LeftAside(root.Native()).empty();
        { const lumtrust::ChangeLock lock; }
        lumtrust::ReplaceFile(file, Bytes("y"), 0644);
        EXPECT_EQ(LeftAside(root.Native()), Paths()) << nth;
        return crashed;
    });
    EXPECT_GE(left, 4);
}

TEST(TrustFiles, WhatHasASimilarNameIsSomebodyElsesAndStays) {
    const TempRoot root;
    const Paths folders{"etc/", "etc/keystore/", "etc/keystore/own/", "etc/keystore/trusted/",
                        "etc/keystore/requested/"};
    const Paths foreign{".lumtrust", ".lumtrust.conf", ".lumtrustabcde", ".lumtrustabcdefg", "lumtrustabcdef"};
    for (const std::string& folder : folders) {
        WriteText(root.Native() + "/" + folder + ".lumtrustaB3dE6", "left");
        for (const std::string& name : foreign) WriteText(root.Native() + "/" + folder + name, "kept");
    }
    WriteText(root.Native() + "/etc/keystore/mine/.lumtrustaB3dE6", "kept");
    { const lumtrust::ChangeLock lock; }
    for (const std::string& folder : folders) {
        EXPECT_FALSE(fs::exists(root.Native() + "/" + folder + ".lumtrustaB3dE6")) << folder;
        for (const std::string& name : foreign)
            EXPECT_EQ(ReadText(root.Native() + "/" + folder + name), "kept") << name;
    }
    EXPECT_EQ(ReadText(root.Native() + "/etc/keystore/mine/.lumtrustaB3dE6"), "kept");
}
