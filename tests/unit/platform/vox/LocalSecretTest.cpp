#include "LocalSecret.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <vector>

#include "CapturedLog.h"
#include "Faults.h"
#include "Files.h"
#include "ForkedProcess.h"
#include "TempRoot.h"

using namespace LumVoxMsg;

namespace {

namespace fs = std::filesystem;

struct LocalSecretTest : testing::Test {
    TempRoot root;
    const std::string path = root.Native() + "/etc/local.secret";
};

}  // namespace

TEST_F(LocalSecretTest, IsAFileOfItsOwnerAlone) {
    LocalSecret secret;
    secret.Create();
    EXPECT_EQ(ModeOf(path), 0600u);
    const std::string digits = ReadText(path);
    EXPECT_EQ(digits.size(), 64u);
    EXPECT_EQ(digits.find_first_not_of("0123456789abcdef"), std::string::npos);
    EXPECT_EQ(LocalAuthorization(), "LumLocal " + digits);
    EXPECT_TRUE(secret.Matches(LocalAuthorization()));
}

TEST_F(LocalSecretTest, IsNewEachTime) {
    LocalSecret first, second;
    first.Create();
    const std::string old = LocalAuthorization();
    second.Create();
    EXPECT_NE(LocalAuthorization(), old);
    EXPECT_FALSE(second.Matches(old));
    EXPECT_TRUE(first.Matches(old));
}

TEST_F(LocalSecretTest, NothingElseMatches) {
    LocalSecret secret;
    secret.Create();
    const std::string good = LocalAuthorization();
    std::string wrongEnd = good, wrongStart = good;
    wrongEnd.back() = wrongEnd.back() == '0' ? '1' : '0';
    wrongStart[9] = wrongStart[9] == '0' ? '1' : '0';
    for (const std::string& wrong : {std::string(), std::string("LumLocal "), good.substr(9), good + "0", good + " ",
                                     " " + good, "lumlocal " + good.substr(9), good.substr(0, good.size() - 1),
                                     "Basic " + good.substr(9), wrongEnd, wrongStart})
        EXPECT_FALSE(secret.Matches(wrong)) << wrong;
}

TEST_F(LocalSecretTest, WithoutOneNothingMatches) {
    LocalSecret secret;
    EXPECT_FALSE(secret.Matches(""));
    EXPECT_FALSE(secret.Matches("LumLocal "));
    EXPECT_EQ(LocalAuthorization(), "");
    secret.Create();
    const std::string old = LocalAuthorization();
    secret.Remove();
    EXPECT_FALSE(secret.Matches(old));
    EXPECT_FALSE(secret.Matches(""));
    EXPECT_FALSE(std::filesystem::exists(path));
    secret.Remove();
}

TEST_F(LocalSecretTest, RemoveLeavesTheSecretOfAnother) {
    LocalSecret first, second;
    first.Create();
    second.Create();
    const std::string current = LocalAuthorization();
    first.Remove();
    EXPECT_EQ(LocalAuthorization(), current);
}

TEST_F(LocalSecretTest, AFileThatHoldsNoSecretIsNotSent) {
    for (const std::string& text : {std::string(), std::string("short"), std::string(64, 'X'), std::string(65, 'a'),
                                    std::string(63, 'a'), std::string(64, 'A'), std::string(63, 'a') + "\n"}) {
        WriteText(path, text);
        EXPECT_EQ(LocalAuthorization(), "") << text;
    }
}

TEST_F(LocalSecretTest, ALinkIsNotFollowed) {
    WriteText(root.Native() + "/elsewhere", std::string(64, 'a'));
    std::filesystem::create_directories(root.Native() + "/etc");
    std::filesystem::create_symlink(root.Native() + "/elsewhere", path);
    EXPECT_EQ(LocalAuthorization(), "");
    LocalSecret secret;
    secret.Create();
    EXPECT_EQ(ReadText(root.Native() + "/elsewhere"), std::string(64, 'a'));
    EXPECT_FALSE(std::filesystem::is_symlink(path));
}

TEST_F(LocalSecretTest, ACrashAtEachStepLeavesNothingBesideTheNextSecret) {
    const std::string folder = root.Native() + "/etc";
    const std::vector<std::string> foreign{"local.secret.", "local.secret.abcde", "local.secret.abcdefg", "mine"};
    for (const std::string& name : foreign) WriteText(folder + "/" + name, "kept");
    const auto entries = [&] { return std::distance(fs::directory_iterator(folder), fs::directory_iterator()); };
    int left = 0;
    for (const bool served : {true, false}) {
        ForEachFault([&](int nth) {
            const bool crashed = CrashesAt(nth, false, [] { LocalSecret().Create(); });
            left += entries() > static_cast<int>(foreign.size()) + fs::exists(path);
            LocalSecret secret;
            served ? secret.Create() : LocalSecret::RemoveLeftAside();
            EXPECT_EQ(entries(), static_cast<int>(foreign.size()) + fs::exists(path)) << nth;
            secret.Remove();
            fs::remove(path);
            return crashed;
        });
    }
    EXPECT_GE(left, 6) << "something was there to be removed";
    for (const std::string& name : foreign) EXPECT_EQ(ReadText(folder + "/" + name), "kept") << name;
}

TEST_F(LocalSecretTest, AFolderThatCannotBeWrittenIsAnErrorThatNamesIt) {
    WriteText(root.Native() + "/etc", "a file");
    try {
        LocalSecret().Create();
        FAIL() << "a secret was made";
    } catch (const LumPalIo::IOException_t& e) {
        EXPECT_NE(std::string(e.what()).find("local.secret"), std::string::npos) << e.what();
    }
}
