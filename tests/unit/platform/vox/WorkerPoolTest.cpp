#include "WorkerPool.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>

using LumVoxMsg::WorkerPool;

TEST(WorkerPool, RunsAsManyTasksAtOnceAsItHasThreads) {
    WorkerPool pool(3);
    std::promise<void> open;
    const std::shared_future<void> gate = open.get_future().share();
    std::atomic<int> begun{0};
    std::promise<void> three;
    for (int i = 0; i < 5; ++i)
        pool.Submit([&, gate] {
            if (++begun == 3) three.set_value();
            gate.wait();
        });
    three.get_future().wait();
    EXPECT_EQ(begun, 3);
    open.set_value();
}

TEST(WorkerPool, OneThreadKeepsTheOrder) {
    WorkerPool pool(1);
    std::string order;
    std::promise<void> done;
    for (char c = 'a'; c <= 'e'; ++c) pool.Submit([&order, c] { order += c; });
    pool.Submit([&done] { done.set_value(); });
    done.get_future().wait();
    EXPECT_EQ(order, "abcde");
}

TEST(WorkerPool, StopWaitsForWhatRunsAndDropsWhatWaits) {
    WorkerPool pool(1);
    std::promise<void> begun, open;
    std::atomic<bool> ended{false}, second{false};
    pool.Submit([&] {
        begun.set_value();
        open.get_future().wait();
        ended = true;
    });
    begun.get_future().wait();
    auto token = std::make_shared<int>(0);
    pool.Submit([&second, token] { second = true; });
    EXPECT_EQ(token.use_count(), 2);
    std::thread stopper([&] { pool.Stop(); });
    while (token.use_count() > 1) std::this_thread::yield();
    open.set_value();
    stopper.join();
    EXPECT_TRUE(ended);
    EXPECT_FALSE(second);
    EXPECT_FALSE(pool.Submit([] {}));
    pool.Stop();
}

TEST(WorkerPool, RefusingDropsWhatWaitsAndLeavesAloneWhatRuns) {
    WorkerPool pool(1);
    std::promise<void> begun, open;
    std::atomic<bool> ended{false};
    pool.Submit([&] {
        begun.set_value();
        open.get_future().wait();
        ended = true;
    });
    begun.get_future().wait();
    auto token = std::make_shared<int>(0);
    pool.Submit([token] { FAIL() << "it was dropped"; });
    pool.Refuse();
    EXPECT_EQ(token.use_count(), 1);
    EXPECT_FALSE(ended);
    EXPECT_FALSE(pool.Submit([] {}));
    pool.Refuse();
    open.set_value();
    pool.Stop();
    EXPECT_TRUE(ended);
}

TEST(WorkerPool, HasRoomForAsManyAsMayWait) {
    LumVoxMsg::WorkerPool pool(1, LumVoxMsg::WorkerPool::Share::Small, 2);
    std::promise<void> begun, gate;
    EXPECT_TRUE(pool.HasRoom());
    pool.Submit([&begun, open = gate.get_future().share()] {
        begun.set_value();
        open.wait();
    });
    begun.get_future().wait();
    std::promise<void> last;
    pool.Submit([] {});
    EXPECT_TRUE(pool.HasRoom());
    pool.Submit([&last] { last.set_value(); });
    EXPECT_FALSE(pool.HasRoom());
    gate.set_value();
    last.get_future().wait();
    EXPECT_TRUE(pool.HasRoom());
}
