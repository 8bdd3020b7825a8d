#include "WorkerPool.h"

namespace LumVoxMsg {

bool WorkerPool::Submit(std::function<void()> task) {
    const std::lock_guard lock(mutex);
    if (stopped) return false;
    waiting.push_back(std::move(task));
    if (waiting.size() > idle && threads.size() < mostThreads) threads.emplace_back([this] { Run(); });
    changed.notify_one();
    return true;
}

void WorkerPool::Stop() {
    std::deque<std::function<void()>> dropped;
    std::vector<std::thread> ending;
    {
        const std::lock_guard lock(mutex);
        stopped = true;
        dropped.swap(waiting);
        ending.swap(threads);
    }
    changed.notify_all();
    dropped.clear();
    for (std::thread& thread : ending) thread.join();
}

void WorkerPool::Run() {
    std::function<void()> task;
    while (Take(task)) {
        task();
        task = nullptr;
    }
}

bool WorkerPool::Take(std::function<void()>& task) {
    std::unique_lock lock(mutex);
    ++idle;
    changed.wait(lock, [this] { return stopped || !waiting.empty(); });
    --idle;
    if (stopped) return false;
    task = std::move(waiting.front());
    waiting.pop_front();
    return true;
}

}  // namespace LumVoxMsg
