// What runs of lumtrust that were killed have left aside.
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "Faults.h"
#include "Files.h"
#include "ForkedProcess.h"
#include "LumSecPki.h"
#include "TempRoot.h"
#include "TestPki.h"
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
};

}  // namespace

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
    const Paths folders{"etc/", "etc/keystore/own/", "etc/keystore/trusted/", "etc/keystore/requested/"};
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
