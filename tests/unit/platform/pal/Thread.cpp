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
#include "TempRoot.h"

namespace {

using namespace LumPalThread;
using LumPalMsg::IllegalStateError_t;

/// A runnable of two functions.
class Runs : public Runnable_i {
public:
    explicit Runs(std::function<void(const Thread_t&)> run, std::function<void(bool)> done = {})
        : run(std::move(run)), done(std::move(done)) {}
    void Run(const Thread_t& thread) override { run(thread); }
    void Done(bool success) override {
        if (done) done(success);
    }

private:
    std::function<void(const Thread_t&)> run;
    std::function<void(bool)> done;
};

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

TEST(Mutex, AdmitsItsHolderAgain) {
    Mutex_t mutex;
    int count = 0;
    Runs runs([&](const Thread_t&) {
        for (int i = 0; i < 1000; ++i) {
            const MutexLock_t outer(mutex);
            const MutexLock_t inner(mutex);
            ++count;
        }
    });
    std::vector<Thread_t> threads;
    for (int i = 0; i < 4; ++i) threads.emplace_back("counter").Start(runs);
    for (Thread_t& thread : threads) thread.Join();
    EXPECT_EQ(count, 4000);
}

/// Whether another thread could take the mutex within a moment: it says so once it has.
class Contender {
public:
    explicit Contender(Mutex_t& mutex)
        : runs([this, &mutex](const Thread_t&) {
              const MutexLock_t lock(mutex);
              taken = true;
          }) {
        thread.Start(runs);
    }
    Contender(const Contender&) = delete;
    Contender& operator=(const Contender&) = delete;
    ~Contender() { thread.Join(); }
    bool HasTaken() const { return taken; }
    void Join() { thread.Join(); }

private:
    std::atomic<bool> taken{false};
    Runs runs;
    Thread_t thread{"contender"};
};

TEST(Mutex, IsFreeOnlyAfterAsManyUnlocksAsLocks) {
    Mutex_t mutex;
    mutex.Lock();
    mutex.Lock();
    Contender contender(mutex);
    mutex.Unlock();
    Thread_t::Sleep(5);
    EXPECT_FALSE(contender.HasTaken());
    mutex.Unlock();
    contender.Join();
    EXPECT_TRUE(contender.HasTaken());
}

TEST(Mutex, RefusesAnUnlockByAThreadThatDoesNotHoldIt) {
    Mutex_t mutex;
    EXPECT_THROW(mutex.Unlock(), IllegalStateError_t);
    const MutexLock_t lock(mutex);
    bool refused = false;
    Runs runs([&](const Thread_t&) {
        try {
            mutex.Unlock();
        } catch (const LumPalMsg::LogicError_t&) {
            refused = true;
        }
    });
    Thread_t thread("stranger");
    thread.Start(runs);
    thread.Join();
    EXPECT_TRUE(refused);
}

TEST(Mutex, TellsAnybodyButItsHolderThatHeDoesNotHoldIt) {
    Mutex_t mutex;
    EXPECT_THROW(mutex.RequireHeld(), IllegalStateError_t);
    const MutexLock_t lock(mutex);
    EXPECT_NO_THROW(mutex.RequireHeld());
    std::async(std::launch::async, [&] { EXPECT_THROW(mutex.RequireHeld(), IllegalStateError_t); }).get();
}

TEST(MutexLock, CanBeReleasedEarlyAndAgain) {
    Mutex_t mutex;
    MutexLock_t lock(mutex);
    lock.Unlock();
    {
        Contender contender(mutex);
        contender.Join();
        EXPECT_TRUE(contender.HasTaken());
    }
    lock.Unlock();
    EXPECT_THROW(mutex.Unlock(), IllegalStateError_t);
}

TEST(CondVar, WakesEveryWaiter) {
    Mutex_t mutex;
    CondVar_t condition;
    bool go = false;
    int waiting = 0;
    std::atomic<int> woken{0};
    Runs runs([&](const Thread_t&) {
        const MutexLock_t lock(mutex);
        ++waiting;
        while (!go) condition.Wait(mutex);
        ++woken;
    });
    std::vector<Thread_t> threads;
    for (int i = 0; i < 3; ++i) threads.emplace_back("waiter").Start(runs);
    for (bool all = false; !all;) {
        const MutexLock_t lock(mutex);
        all = waiting == 3;
        go = all;
    }
    condition.Signal();
    for (Thread_t& thread : threads) thread.Join();
    EXPECT_EQ(woken, 3);
}

TEST(CondVar, WaitFreesTheMutexAtAnyDepthAndBringsTheDepthBack) {
    Mutex_t mutex;
    CondVar_t condition;
    const MutexLock_t first(mutex), second(mutex), third(mutex);
    bool go = false;
    Runs runs([&](const Thread_t&) {
        const MutexLock_t lock(mutex);
        go = true;
        condition.Signal();
    });
    Thread_t thread("signaller");
    thread.Start(runs);
    while (!go) condition.Wait(mutex);
    Contender contender(mutex);
    mutex.Unlock();
    mutex.Unlock();
    Thread_t::Sleep(5);
    EXPECT_FALSE(contender.HasTaken());
    mutex.Lock();
    mutex.Lock();
    thread.Join();
    mutex.Unlock();
    mutex.Unlock();
    mutex.Unlock();
    contender.Join();
    EXPECT_TRUE(contender.HasTaken());
    mutex.Lock();
    mutex.Lock();
    mutex.Lock();
}

TEST(CondVar, TimedWaitSaysThatTheTimeWasOver) {
    Mutex_t mutex;
    CondVar_t condition;
    const MutexLock_t lock(mutex), again(mutex);
    EXPECT_FALSE(condition.Wait(mutex, 0));
    EXPECT_FALSE(condition.Wait(mutex, 1));
}

TEST(CondVar, TimedWaitSaysThatItWasSignalled) {
    Mutex_t mutex;
    CondVar_t condition;
    bool waiting = false;
    Runs runs([&](const Thread_t&) {
        for (;;) {
            const MutexLock_t lock(mutex);
            if (waiting) break;
        }
        condition.Signal();
    });
    Thread_t thread("signaller");
    thread.Start(runs);
    {
        const MutexLock_t lock(mutex);
        waiting = true;
        EXPECT_TRUE(condition.Wait(mutex, 0xFFFFFFFFu));
    }
    thread.Join();
}

TEST(CondVar, ASignalBeforeTheWaitCountsForNothing) {
    Mutex_t mutex;
    CondVar_t condition;
    condition.Signal();
    const MutexLock_t lock(mutex);
    EXPECT_FALSE(condition.Wait(mutex, 1));
}

TEST(CondVar, RefusesAMutexThatTheCallerDoesNotHold) {
    Mutex_t mutex;
    CondVar_t condition;
    EXPECT_THROW(condition.Wait(mutex), IllegalStateError_t);
    EXPECT_THROW(condition.Wait(mutex, 1), IllegalStateError_t);
    const MutexLock_t lock(mutex);
    EXPECT_FALSE(condition.Wait(mutex, 0));
}

TEST(CondVar, NoSignalIsLostBetweenManyThreads) {
    Mutex_t mutex;
    CondVar_t condition;
    int turn = 0;
    const auto play = [&](int mine) {
        return Runs([&, mine](const Thread_t&) {
            for (int round = 0; round < 500; ++round) {
                const MutexLock_t lock(mutex);
                while (turn != mine) condition.Wait(mutex);
                turn = 1 - mine;
                condition.Signal();
            }
        });
    };
    Runs ping = play(0), pong = play(1);
    Thread_t one("ping"), two("pong");
    one.Start(ping);
    two.Start(pong);
    one.Join();
    two.Join();
    EXPECT_EQ(turn, 0);
}

}  // namespace
