// What a mutex, its lock and a condition variable promise to several threads.
#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <vector>

#include "Asleep.h"
#include "LumPalMsg.h"
#include "LumPalThread.h"
#include "RunsForTest.h"

namespace {

using namespace LumPalThread;
using LumPalMsg::IllegalStateError_t;

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

TEST(Mutex, GoesToWhoWaitsBeforeItsHolderHasItAgain) {
    Mutex_t mutex;
    for (int round = 0; round < 20; ++round) {
        std::atomic<pid_t> waiting{0};
        std::atomic<bool> taken{false};
        Runs runs([&](const Thread_t&) {
            waiting = gettid();
            const MutexLock_t lock(mutex);
            taken = true;
        });
        mutex.Lock();
        Thread_t waiter("waiter");
        waiter.Start(runs);
        EXPECT_TRUE(FallsAsleep(waiting));
        mutex.Unlock();
        mutex.Lock();
        EXPECT_TRUE(taken);
        mutex.Unlock();
        waiter.Join();
    }
}

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
