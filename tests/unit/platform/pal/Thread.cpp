#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>

#include <atomic>
#include <functional>
#include <future>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "Captured.h"
#include "LumPalMsg.h"
#include "LumPalThread.h"
#include "RunsForTest.h"
#include "TempRoot.h"

namespace {

using namespace LumPalThread;
using LumPalMsg::IllegalStateError_t;

TEST(Thread, IsNullUntilItHasAName) {
    Thread_t thread;
    EXPECT_TRUE(thread.IsNull());
    EXPECT_FALSE(thread.IsNotNull());
    EXPECT_TRUE(thread.GetName().IsNull());
    thread = Thread_t("named");
    EXPECT_TRUE(thread.IsNotNull());
    EXPECT_EQ(thread.GetName(), "named");
}

TEST(Thread, RunsItsRunnableOnAnotherThreadAndThenDone) {
    std::string order;
    std::thread::id id;
    Runs runs([&](const Thread_t&) { id = std::this_thread::get_id(), order += "run "; },
              [&](bool success) { order += success ? "done" : "failed"; });
    Thread_t thread("worker");
    thread.Start(runs);
    thread.Join();
    EXPECT_EQ(order, "run done");
    EXPECT_NE(id, std::this_thread::get_id());
}

TEST(Thread, RunsARunnableThatHasNoDone) {
    struct Plain : Runnable_i {
        void Run(const Thread_t&) override { ran = true; }
        bool ran = false;
    } plain;
    Thread_t thread("plain");
    thread.Start(plain);
    thread.Join();
    EXPECT_TRUE(plain.ran);
}

TEST(Thread, HandsItselfToTheRunnable) {
    std::string name;
    Runs runs([&](const Thread_t& self) { name = self.GetName().ToUtf8(); });
    Thread_t thread("the name");
    thread.Start(runs);
    thread.Join();
    EXPECT_EQ(name, "the name");
}

TEST(Thread, ShowsTheSystemTheBeginningOfItsName) {
    char shown[32] = "";
    Runs runs([&](const Thread_t&) { pthread_getname_np(pthread_self(), shown, sizeof shown); });
    Thread_t thread("LumConf:PolicyWorker");
    thread.Start(runs);
    thread.Join();
    EXPECT_STREQ(shown, "LumConf:PolicyW");
    EXPECT_EQ(thread.GetName(), "LumConf:PolicyWorker");
}

TEST(Thread, CanNotBeStartedWhenNullOrTwice) {
    Runs runs([](const Thread_t&) {});
    Thread_t null;
    EXPECT_THROW(null.Start(runs), IllegalStateError_t);
    Thread_t thread("once");
    thread.Start(runs);
    EXPECT_THROW(thread.Start(runs), IllegalStateError_t);
    thread.Join();
    EXPECT_THROW(thread.Start(runs), IllegalStateError_t);
    Thread_t copy = thread;
    EXPECT_THROW(copy.Start(runs), IllegalStateError_t);
}

TEST(Thread, JoinReturnsAtOnceWhenThereIsNothingToWaitFor) {
    Thread_t().Join();
    Thread_t("never started").Join();
    Runs runs([](const Thread_t&) {});
    Thread_t thread("joined");
    thread.Start(runs);
    thread.Join();
    thread.Join();
}

TEST(Thread, JoinFromWithinReturnsAtOnce) {
    bool returned = false;
    Runs runs([&](const Thread_t& self) { self.Join(), returned = true; });
    Thread_t thread("self");
    thread.Start(runs);
    thread.Join();
    EXPECT_TRUE(returned);
}

TEST(Thread, RefusesASecondStartFromWithinWhileItIsJoined) {
    bool refused = false;
    Runs runs([&](const Thread_t& self) {
        Thread_t again = self;
        Runs other([](const Thread_t&) {});
        try {
            again.Start(other);
        } catch (const IllegalStateError_t&) {
            refused = true;
        }
    });
    Thread_t thread("self");
    thread.Start(runs);
    thread.Join();
    EXPECT_TRUE(refused);
}

TEST(Thread, SeveralThreadsMayJoinIt) {
    std::promise<void> go;
    std::atomic<bool> ended{false};
    Runs runs([&](const Thread_t&) { go.get_future().wait(), ended = true; });
    Thread_t thread("joined by many");
    thread.Start(runs);
    std::vector<std::thread> joiners;
    for (int i = 0; i < 3; ++i) {
        joiners.emplace_back([&, thread] {
            thread.Join();
            EXPECT_TRUE(ended);
        });
    }
    go.set_value();
    for (std::thread& joiner : joiners) joiner.join();
}

TEST(Thread, RunsOnWhenItsHandlesAreGone) {
    std::promise<void> go, ended;
    Runs runs([&](const Thread_t&) { go.get_future().wait(); }, [&](bool) { ended.set_value(); });
    { Thread_t("left alone").Start(runs); }
    go.set_value();
    ended.get_future().wait();
}

TEST(Thread, AnExceptionThatLeavesTheRunIsLoggedAndEndsOnlyTheThread) {
    const TempRoot root;
    const CapturedError captured(root.Native());
    const struct {
        std::function<void()> raise;
        const char* said;
    } rows[] = {
        {[] { throw LumPalMsg::RuntimeException_t(LumPalMsg::CreateError_t("the reason")); }, "  the reason\n"},
        {[] { throw std::out_of_range("a standard reason"); }, "  a standard reason\n"},
        {[] { throw 7; }, "  It is of a type that says nothing.\n"},
    };
    for (const auto& row : rows) {
        bool success = true;
        Runs runs([&](const Thread_t&) { row.raise(); }, [&](bool s) { success = s; });
        Thread_t thread("failing");
        thread.Start(runs);
        thread.Join();
        EXPECT_FALSE(success) << row.said;
        EXPECT_NE(captured.Text().find(row.said), std::string::npos) << captured.Text();
    }
    EXPECT_NE(captured.Text().find("ERROR An exception ended the thread 'failing'.\n"), std::string::npos);
}

TEST(Thread, AnExceptionThatLeavesDoneIsLoggedToo) {
    const TempRoot root;
    const CapturedError captured(root.Native());
    Runs runs([](const Thread_t&) {}, [](bool) { throw std::runtime_error("from Done"); });
    Thread_t thread("failing");
    thread.Start(runs);
    thread.Join();
    EXPECT_NE(captured.Text().find("from Done"), std::string::npos);
}

TEST(Thread, LeavesTheSignalsOfTheProcessToTheMainThread) {
    sigset_t inside, before, after;
    Runs runs([&](const Thread_t&) { pthread_sigmask(SIG_BLOCK, nullptr, &inside); });
    pthread_sigmask(SIG_BLOCK, nullptr, &before);
    Thread_t thread("no signals");
    thread.Start(runs);
    thread.Join();
    pthread_sigmask(SIG_BLOCK, nullptr, &after);
    for (const int blocked : {SIGTERM, SIGINT, SIGHUP, SIGCHLD, SIGPIPE}) {
        EXPECT_EQ(sigismember(&inside, blocked), 1) << blocked;
    }
    EXPECT_EQ(sigismember(&inside, SIGSEGV), 0);
    for (int signal = 1; signal < 32; ++signal) {
        EXPECT_EQ(sigismember(&before, signal), sigismember(&after, signal)) << signal;
    }
}

}  // namespace
