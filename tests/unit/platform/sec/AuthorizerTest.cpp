#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <future>
#include <optional>
#include <string_view>
#include <thread>
#include <vector>

#include "CapturedLog.h"
#include "Configure.h"
#include "Files.h"
#include "LumPalFault.h"
#include "LumSecAuth.h"
#include "TempRoot.h"
#include "Tenfold.h"

using LumPalStr::String_t;
using LumSecAuth::Authorizer;

namespace {

struct AuthorizerTest : testing::Test {
    TempRoot root;
    CapturedLog log{root.Native()};

    void WriteRights(const std::string& text) { WriteText(root.Native() + "/etc/authorization.ini", text); }
    /// Every single right that the sender holds, as bits.
    static unsigned Held(Authorizer& authorizer, const char* sender, const char* domain = "conf") {
        unsigned held = 0;
        for (unsigned right = 1; right <= 256; right <<= 1)
            if (authorizer.IsAllowed(String_t::FromUtf8(sender), domain, right, 0)) held |= right;
        return held;
    }
};

}  // namespace

TEST_F(AuthorizerTest, ReadsRightsByNameAndNumber) {
    const struct {
        const char* words;
        unsigned bits;
    } rows[] = {
        {"install", 1},
        {"remove", 2},
        {"enable", 4},
        {"disable", 8},
        {"list", 16},
        {"modify", 32},
        {"configget", 64},
        {"configset", 128},
        {"sign", 256},
        {"all", 511},
        {"ALL", 511},
        {"Install LIST", 17},
        {"33", 33},
        {"0x21", 33},
        {"0X21 list", 49},
        {"511", 511},
        {"0", 0},
        {"", 0},
        {"1 1 1", 1},
        {"\tinstall \t list  ", 17},
        {"512", 0},
        {"-1", 0},
        {"+1", 0},
        {"1.5", 0},
        {"0x", 0},
        {"x21", 0},
        {"4294967297", 0},
        {"install,list", 0},
        {"installs", 0},
        {"nothing list", 16},
        {"install; list", 16},
        {"1x", 0},
    };
    for (const auto& row : rows) {
        WriteRights(std::string("[conf]\nsender=") + row.words + "\n");
        Authorizer authorizer;
        EXPECT_EQ(Held(authorizer, "sender"), row.bits) << "'" << row.words << "'";
    }
}

TEST_F(AuthorizerTest, NamesAWordThatIsNoRight) {
    WriteRights("[conf]\nsender=install frobnicate\n");
    Authorizer authorizer;
    EXPECT_TRUE(log.Holds("'frobnicate'")) << log.Text();
    EXPECT_TRUE(log.Holds("'sender'")) << log.Text();
    EXPECT_TRUE(log.Holds("authorization.ini")) << log.Text();
    EXPECT_EQ(Held(authorizer, "sender"), 1u);
}

TEST_F(AuthorizerTest, WhatIsNotGrantedIsRefused) {
    WriteRights("[conf]\nsender=modify\nM\xC3\xBCller=list\n[other]\nstranger=all\n");
    Authorizer authorizer;
    EXPECT_EQ(Held(authorizer, "sender"), 32u);
    EXPECT_EQ(Held(authorizer, "M\xC3\xBCller"), 16u);
    for (const char* sender : {"Sender", "sender ", " sender", "sende", "senders", "stranger", "", "conf.cluster"})
        EXPECT_EQ(Held(authorizer, sender), 0u) << "'" << sender << "'";
    EXPECT_EQ(Held(authorizer, "stranger", "other"), 511u);
    EXPECT_EQ(Held(authorizer, "sender", "Conf"), 0u);
    EXPECT_EQ(Held(authorizer, "sender", ""), 0u);
}

TEST_F(AuthorizerTest, AsksForAllOfSeveralRights) {
    WriteRights("[conf]\nsender=install list\n");
    Authorizer authorizer;
    EXPECT_TRUE(authorizer.IsAllowed("sender", "conf", 17, 0));
    EXPECT_FALSE(authorizer.IsAllowed("sender", "conf", 19, 0));
    EXPECT_FALSE(authorizer.IsAllowed("sender", "conf", 0, 0));
    EXPECT_FALSE(authorizer.IsAllowed("sender", "conf", 1u << 20, 0));
    EXPECT_FALSE(authorizer.IsAllowed("sender", "conf", 0xFFFFFFFFu, 0));
    EXPECT_FALSE(authorizer.IsAllowed("sender", "conf", 1, 1));
}

TEST_F(AuthorizerTest, NobodyButTheAdministratorHasRightsWithoutAFile) {
    Authorizer authorizer;
    EXPECT_EQ(Held(authorizer, "sender"), 0u);
    EXPECT_EQ(Held(authorizer, LumSecAuth::LocalAdministrator()), 255u);
}

TEST_F(AuthorizerTest, TheNameOfTheNodeHoldsNoRightByItself) {
    Configure("sec.core", "CORE_ID", "node-1");
    Authorizer authorizer;
    EXPECT_EQ(Held(authorizer, "node-1"), 0u);
    Configure("sec.core", "CORE_ID", "sender");
    authorizer.Update();
    EXPECT_EQ(Held(authorizer, "sender"), 0u);
    WriteRights("[conf]\nnode-1=sign\n");
    authorizer.Update();
    EXPECT_EQ(Held(authorizer, "node-1"), 256u);
}

TEST_F(AuthorizerTest, AnEmptySenderHoldsNothingWhateverTheFileSays) {
    WriteRights("[conf]\n=all\n");
    Authorizer authorizer;
    EXPECT_EQ(Held(authorizer, ""), 0u);
}

TEST_F(AuthorizerTest, UpdateTakesUpChangedRights) {
    WriteRights("[conf]\nsender=install\n");
    Authorizer authorizer;
    WriteRights("[conf]\nsender=list\nother=remove\n");
    EXPECT_EQ(Held(authorizer, "sender"), 1u);
    authorizer.Update();
    EXPECT_EQ(Held(authorizer, "sender"), 16u);
    EXPECT_EQ(Held(authorizer, "other"), 2u);
    std::filesystem::remove(root.Native() + "/etc/authorization.ini");
    authorizer.Update();
    EXPECT_EQ(Held(authorizer, "sender"), 0u);
}

TEST_F(AuthorizerTest, AFileThatGoesAndComesBackAsItWasGrantsTheSameAgain) {
    WriteRights("[conf]\nsender=install\n");
    Authorizer authorizer;
    std::filesystem::remove(root.Native() + "/etc/authorization.ini");
    authorizer.Update();
    EXPECT_EQ(Held(authorizer, "sender"), 0u);
    for (const char* const between : {"[conf]\nsender=install\n", "no line\n", "[conf]\nsender=install\n"}) {
        WriteRights(between);
        authorizer.Update();
        EXPECT_EQ(Held(authorizer, "sender"), 1u) << between;
    }
}

TEST_F(AuthorizerTest, AFileThatIsAsItWasIsNotTakenUpOnceMore) {
    std::string text = "[conf]\n";
    for (int i = 0; i < 40000; ++i) text += "sender" + std::to_string(i) + "=install list\n";
    WriteRights(text);
    std::optional<Authorizer> authorizer;
    const double once = ProcessorSeconds([&] { authorizer.emplace(); });
    const double again = ProcessorSeconds([&] {
        for (int i = 0; i < 10; ++i) authorizer->Update();
    });
    EXPECT_LT(again, 3 * once) << "ten times without it";
    EXPECT_EQ(Held(*authorizer, "sender39999"), 17u);
}

namespace {

std::atomic<int> readings{0};

bool CountReading(const char* operation, const char* path) {
    if (std::string_view(operation) == "read" && std::string_view(path).ends_with("/authorization.ini")) ++readings;
    return false;
}

}  // namespace

TEST_F(AuthorizerTest, AFileThatWasLeftAloneIsNotOpenedOnceMore) {
    // One that nobody has touched for a while.
    const std::string place = root.Native() + "/etc/authorization.ini";
    std::filesystem::create_directories(root.Native() + "/etc");
    std::filesystem::create_symlink(LUM_TEST_DATA "/rights/authorization.ini", place);
    Authorizer authorizer;
    readings = 0;
    LumPalIo::SetFaultHookForTest(CountReading);
    for (int i = 0; i < 10; ++i) authorizer.Update();
    EXPECT_EQ(readings, 0);
    std::filesystem::remove(place);
    WriteRights("[conf]\nsender=list\n");
    authorizer.Update();
    LumPalIo::SetFaultHookForTest(nullptr);
    EXPECT_EQ(readings, 1);
    EXPECT_EQ(Held(authorizer, "sender"), 16u);
}

TEST_F(AuthorizerTest, AChangeOfTheSameLengthRightBehindAnotherOneIsTakenUp) {
    WriteRights("[conf]\nsender=list\n");
    Authorizer authorizer;
    for (int round = 0; round < 300; ++round) {
        WriteRights(round % 2 ? "[conf]\nsender=list\n" : "[conf]\nsender=sign\n");
        authorizer.Update();
        ASSERT_EQ(Held(authorizer, "sender"), round % 2 ? 16u : 256u) << round;
    }
}

TEST_F(AuthorizerTest, AFileThatIsTooLargeIsABrokenOne) {
    WriteRights("[conf]\nsender=install\n");
    Authorizer authorizer;
    WriteRights("[conf]\nsender=list\n#" + std::string(1 << 20, 'x') + "\n");
    authorizer.Update();
    EXPECT_EQ(Held(authorizer, "sender"), 1u);
    EXPECT_TRUE(log.Holds("authorization.ini' is too large: rights of at most 1024 KiB are read.")) << log.Text();
}

TEST_F(AuthorizerTest, ABrokenFileKeepsTheLastGoodRights) {
    WriteRights("[conf]\nsender=install\n");
    Authorizer authorizer;
    WriteRights("[conf]\nsender=install list\nthis is no line\n");
    authorizer.Update();
    EXPECT_EQ(Held(authorizer, "sender"), 1u);
    EXPECT_TRUE(log.Holds("the last good ones stay")) << log.Text();
}

TEST_F(AuthorizerTest, WhatIsWrongWithAFileIsWrittenInFullOnceHoweverOftenItIsReadAgain) {
    const struct {
        const char *broken, *another, *told;
    } rows[] = {
        {"[conf]\nsender=install\nthis is no line\n", "[conf]\nsender=lst\n", "'lst' is no right"},
        {"[conf]\nsender=instal\n", "[conf]\nsender=remov\n", "'remov' is no right"},
    };
    for (const auto& row : rows) {
        WriteRights(row.broken);
        Authorizer authorizer;
        authorizer.Update();
        const std::size_t once = log.Text().size();
        for (int i = 0; i < 1000; ++i) authorizer.Update();
        EXPECT_LT(log.Text().size(), once + 1000) << row.broken;
        EXPECT_TRUE(log.Holds("What is wrong with the rights in")) << row.broken;
        EXPECT_FALSE(log.Holds(row.told));
        WriteRights(row.another);
        authorizer.Update();
        EXPECT_TRUE(log.Holds(row.told)) << "another fault is told at once";
    }
}

TEST_F(AuthorizerTest, AnUpdateIsNotUndoneByAnotherThatBeganBeforeTheChange) {
    WriteRights("[conf]\nsender=install\n");
    Authorizer authorizer;
    std::atomic<bool> stop{false};
    std::vector<std::jthread> others;
    for (int i = 0; i < 3; ++i) {
        others.emplace_back([&] {
            while (!stop) authorizer.Update();
        });
    }
    for (int round = 0; round < 100; ++round) {
        WriteRights(round % 2 ? "[conf]\nsender=install\n" : "[conf]\nsender=list\n");
        authorizer.Update();
        for (int i = 0; i < 20; ++i) EXPECT_EQ(Held(authorizer, "sender"), round % 2 ? 1u : 16u) << round;
    }
    stop = true;
}

namespace {

/// The file is opened, and does not come.
std::atomic<bool> hangs{false}, isHanging{false};

bool HangAtTheFile(const char* operation, const char* path) {
    if (std::string_view(operation) != "read" || !std::string_view(path).ends_with("/authorization.ini")) return false;
    isHanging = hangs.load();
    isHanging.notify_all();
    hangs.wait(true);
    return false;
}

}  // namespace

TEST_F(AuthorizerTest, QuestionsAreAnsweredWhileAnUpdateHangsInTheFile) {
    WriteRights("[conf]\nsender=install\n");
    Authorizer authorizer;
    WriteRights("[conf]\nsender=list\n");
    hangs = true;
    LumPalIo::SetFaultHookForTest(HangAtTheFile);
    std::thread updater([&] { authorizer.Update(); });
    isHanging.wait(false);
    auto asked = std::async(std::launch::async, [&] { return Held(authorizer, "sender"); });
    const bool isAnswered = asked.wait_for(std::chrono::seconds(10)) == std::future_status::ready;
    hangs = false;
    hangs.notify_all();
    updater.join();
    LumPalIo::SetFaultHookForTest(nullptr);
    EXPECT_TRUE(isAnswered);
    EXPECT_EQ(asked.get(), 1u);
    EXPECT_EQ(Held(authorizer, "sender"), 16u);
}

TEST_F(AuthorizerTest, ABrokenFileAtTheStartGrantsNothing) {
    WriteRights("[conf]\nsender=install\nthis is no line\n");
    Authorizer authorizer;
    EXPECT_EQ(Held(authorizer, "sender"), 0u);
    EXPECT_EQ(Held(authorizer, LumSecAuth::LocalAdministrator()), 255u);
    EXPECT_TRUE(log.Holds("no sender holds any right")) << log.Text();
}

TEST_F(AuthorizerTest, AFileThatIsAFolderIsABrokenOne) {
    std::filesystem::create_directories(root.Native() + "/etc/authorization.ini");
    Authorizer authorizer;
    EXPECT_EQ(Held(authorizer, "sender"), 0u);
    EXPECT_TRUE(log.Holds("authorization.ini")) << log.Text();
}

TEST_F(AuthorizerTest, AQuestionBesideAnUpdateSeesOneStateOrTheOther) {
    WriteRights("[conf]\nsender=install list\n");
    Authorizer authorizer;
    std::atomic<bool> stop{false};
    std::thread asker([&] {
        while (!stop) EXPECT_TRUE(authorizer.IsAllowed("sender", "conf", 17, 0));
    });
    for (int i = 0; i < 200; ++i) authorizer.Update();
    stop = true;
    asker.join();
}

TEST(ReservedIds, AreTheOnesWithAMeaningInside) {
    const struct {
        const char* id;
        bool reserved;
    } rows[] = {
        {"", true},
        {" ", true},
        {"conf.cluster", true},
        {"Conf.Cluster", true},
        {" conf.cluster ", true},
        {"local administrator", true},
        {"LOCAL ADMINISTRATOR", true},
        {"local administrator\t", true},
        {"conf", false},
        {"conf.cluster2", false},
        {"localadministrator", false},
        {"node-1", false},
    };
    for (const auto& row : rows) EXPECT_EQ(LumSecAuth::IsReservedId(row.id), row.reserved) << "'" << row.id << "'";
}
