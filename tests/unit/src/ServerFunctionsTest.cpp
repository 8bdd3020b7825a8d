#include "ServerFunctions.h"

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "LumCtrl.h"
#include "PolicyWorker.h"
#include "ServerTest.h"
#include "TraceLines.h"

namespace {

using namespace LumConf;

class CheckPolicyTest : public ServerTest {};

TEST_F(CheckPolicyTest, WithoutAParameterAnEmptyStoreIs0AndAFullOneIs1) {
    EXPECT_EQ(Client().CheckPolicy({}), 0);
    node.Install(Policy("a"));
    EXPECT_EQ(Client().CheckPolicy({}), 1);
}

TEST_F(CheckPolicyTest, ATypeThatIsInstalledIs0AndOneThatIsNotIs1) {
    EXPECT_EQ(Client().CheckPolicy({"files"}), 1);
    node.Install(Policy("a", "files"));
    EXPECT_EQ(Client().CheckPolicy({"files"}), 0);
    EXPECT_EQ(Client().CheckPolicy({"file"}), 1);
    EXPECT_EQ(Client().CheckPolicy({"Files"}), 1) << "types are compared exactly";
}

TEST_F(CheckPolicyTest, OneOfSeveralTypesIsEnough) {
    node.Install(Policy("1", "b"));
    for (const char* types : {"a b", "b a", "  b  ", "a  b", "a b c"}) {
        EXPECT_EQ(Client().CheckPolicy({types}), 0) << types;
    }
    for (const char* types : {"a c", "ab", "a,b", "a\tb"}) EXPECT_EQ(Client().CheckPolicy({types}), 1) << types;
}

TEST_F(CheckPolicyTest, AnEmptyOrBlankParameterNamesNoType) {
    node.Install(Policy("a"));
    for (const char* types : {"", " ", "    "}) EXPECT_EQ(Client().CheckPolicy({types}), 1) << "'" << types << "'";
}

TEST_F(CheckPolicyTest, OfTwoParametersTheFirstDecides) {
    node.Install(Policy("a", "files"));
    EXPECT_EQ(Client().CheckPolicy({"files", "other"}), 0);
    EXPECT_EQ(Client().CheckPolicy({"other", "files"}), 1);
    EXPECT_EQ(Client().CheckPolicy({"", "files", "files"}), 1);
}

TEST_F(CheckPolicyTest, AnybodyMayAskAndNoLineIsAudited) {
    const RawAnswer answer =
        Client().Post(NodeClient::Envelope("<checkpolicy><t>files</t></checkpolicy>"), NodeClient::Sender::Nobody,
                      std::string(NodeClient::kBase) + "/checkpolicy/voxrpcserver");
    EXPECT_EQ(answer.status, 200);
    EXPECT_NE(answer.body.find(">1<"), std::string::npos) << answer.body;
    EXPECT_EQ(node.AuditText(), "");
}

TEST_F(CheckPolicyTest, AConsumerMayAskWhileTheInstallWaitsForIt) {
    LumCtrl::Service service;
    service.Start();
    const LumPalStr::String_t events[] = {"CHECK_POLICY:*", "FIRST_POLICY:*"};
    LumCtrl::Component consumer("consumer", events, 2);
    Reply installed;
    std::atomic<bool> answered{false};
    std::jthread install([&] {
        NodeClient installer(server.GetPort());
        installed = installer.Install(Policy("a").Array(), 1, InstallOptions());
        answered = true;
    });
    LumPalStr::String_t event, value;
    ASSERT_TRUE(consumer.Next(event, value, 30000));
    EXPECT_EQ(event, "FIRST_POLICY:files");
    consumer.Acknowledge();
    ASSERT_TRUE(consumer.Next(event, value, 30000));
    EXPECT_EQ(event, "CHECK_POLICY:files");
    EXPECT_EQ(Client().CheckPolicy({}), 1);
    EXPECT_EQ(Client().CheckPolicy({"files"}), 0);
    EXPECT_EQ(Client().CheckPolicy({"other"}), 1);
    EXPECT_FALSE(answered) << "the install still waits";
    consumer.Acknowledge();
    install.join();
    EXPECT_EQ(installed.value, 1) << installed.text;
}

/// Stops the first thread that traces a text, until it is let go.
class StoppedAt {
public:
    explicit StoppedAt(const char* text) : text(text) {}
    ~StoppedAt() { LetGo(); }
    bool WaitUntilReached() {
        std::unique_lock lock(mutex);
        return changed.wait_for(lock, std::chrono::seconds(30), [this] { return reached; });
    }
    void LetGo() {
        const std::lock_guard lock(mutex);
        free = true;
        changed.notify_all();
    }

private:
    void Heard(const LumPalStr::String_t& line) {
        if (line.Find(text) == LumPalStr::NotFound) return;
        std::unique_lock lock(mutex);
        reached = true;
        changed.notify_all();
        changed.wait_for(lock, std::chrono::seconds(30), [this] { return free; });
    }

    const char* const text;
    std::mutex mutex;
    std::condition_variable changed;
    bool reached = false, free = false;
    LumPalTrc::ScopedListener_t listener{[this](const char*, int, const LumPalStr::String_t& line) { Heard(line); }};
};

TEST_F(CheckPolicyTest, DuringAReloadTheAnswerIsThatOfTheOldCache) {
    node.Install(Policy("a"));
    Client().CheckPolicy({});
    std::filesystem::remove_all(node.InstallFolder() + "/files");
    std::filesystem::create_symlink("/nowhere", node.InstallFolder() + "/a link");
    StoppedAt reload("Passed over, since it is a symbolic link");
    Reply reloaded;
    std::atomic<bool> answered{false};
    std::jthread reinit([&] {
        NodeClient other(server.GetPort());
        reloaded = other.Operate(15);
        answered = true;
    });
    ASSERT_TRUE(reload.WaitUntilReached());
    EXPECT_EQ(Client().CheckPolicy({}), 1);
    EXPECT_EQ(Client().CheckPolicy({"files"}), 0);
    EXPECT_FALSE(answered) << "the reload is still under way";
    reload.LetGo();
    reinit.join();
    EXPECT_EQ(reloaded.value, 1);
    EXPECT_EQ(Client().CheckPolicy({}), 0);
    EXPECT_EQ(Client().CheckPolicy({"files"}), 1);
}

// In a process of its own: only the first use of the policy operations can fail.
void AskAStoreThatCannotBeMade() {
    TempRoot root;
    std::filesystem::create_symlink("/nowhere/at/all", root.Native() + "/policies");
    bool good = false;
    {
        const CapturedLog log(root.Native());
        const char16_t* const types[] = {u"files"};
        const bool refused = CheckPolicy("", false, 0, nullptr) == -1 && CheckPolicy("", false, 1, types) == -1;
        good = refused && log.Holds("WARNING The 'checkpolicy' RPC call returned errors (returning '-1').") &&
               log.Holds("Could not create policy installation directory");
    }
    std::filesystem::remove(root.Native() + "/policies");
    good = good && CheckPolicy("", false, 0, nullptr) == 0;
    LumConfPar::PolicyWorker::GetInstance().Stop();
    std::filesystem::remove_all(root.Native());
    std::exit(good ? 0 : 1);
}

TEST(CheckPolicyFailureTest, AStoreThatCannotBeMadeIsMinus1AndSaidInTheLog) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(AskAStoreThatCannotBeMade(), testing::ExitedWithCode(0), "");
}

class ManagerConfigurationTest : public ServerTest {};

TEST_F(ManagerConfigurationTest, TheResultIs0WhateverTheParametersAre) {
    EXPECT_EQ(Client().ManagerConfiguration({}), 0);
    EXPECT_EQ(Client().ManagerConfiguration({""}), 0);
    EXPECT_EQ(Client().ManagerConfiguration({"notify", "größe", "%1 %2", "a b c"}), 0);
    EXPECT_EQ(node.AuditText(), "");
}

TEST_F(ManagerConfigurationTest, EachParameterIsTraced) {
    TraceLines traced;
    Client().ManagerConfiguration({"first one", "größe"});
    EXPECT_TRUE(traced.Contains("mgrconf: first one"));
    EXPECT_TRUE(traced.Contains("mgrconf: größe"));
}

TEST_F(ManagerConfigurationTest, ChangedRightsAreTakenUp) {
    WriteText(node.Root() + "/etc/authorization.ini", "[conf]\nsomebody=list\n");
    EXPECT_FALSE(Authorization::GetInstance().IsAuthorized("somebody", 16));
    EXPECT_EQ(Client().ManagerConfiguration({}), 0);
    EXPECT_TRUE(Authorization::GetInstance().IsAuthorized("somebody", 16));
    WriteText(node.Root() + "/etc/authorization.ini", "[conf]\n");
    server.UpdateAuthorization();
    EXPECT_FALSE(Authorization::GetInstance().IsAuthorized("somebody", 16));
}

TEST_F(ManagerConfigurationTest, BrokenRightsKeepTheLastGoodOnes) {
    node.Grant("somebody=list");
    WriteText(node.Root() + "/etc/authorization.ini", "no section\n");
    EXPECT_EQ(Client().ManagerConfiguration({}), 0);
    EXPECT_TRUE(Authorization::GetInstance().IsAuthorized("somebody", 16));
    EXPECT_TRUE(log.Holds("Cannot load the rights"));
}

}  // namespace
