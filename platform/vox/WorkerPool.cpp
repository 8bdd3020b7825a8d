#include "WorkerPool.h"

#include "../pal/ThreadName.h"

namespace LumVoxMsg {

bool WorkerPool::Submit(std::function<void()> task) {
    const std::lock_guard lock(mutex);
    if (refusing) return false;
    waiting.push_back(std::move(task));
    if (waiting.size() > idle && threads.size() < mostThreads) threads.emplace_back([this] { Run(); });
    changed.notify_one();
    return true;
}

void WorkerPool::Refuse() {
    std::deque<std::function<void()>> dropped;
    {
        const std::lock_guard lock(mutex);
        refusing = true;
        dropped.swap(waiting);
    }
    changed.notify_all();
}

void WorkerPool::Stop() {
    Refuse();
    std::vector<std::thread> ending;
    {
        const std::lock_guard lock(mutex);
        ending.swap(threads);
    }
    for (std::thread& thread : ending) thread.join();
}

void WorkerPool::Run() {
    LumPalThread::NameThisThread("LumVox:Worker");
    std::function<void()> task;
    while (Take(task)) {
        task();
        task = nullptr;
    }
}

bool WorkerPool::Take(std::function<void()>& task) {
    std::unique_lock lock(mutex);
    ++idle;
    changed.wait(lock, [this] { return refusing || !waiting.empty(); });
    --idle;
    if (refusing) return false;
    task = std::move(waiting.front());
    waiting.pop_front();
    return true;
}

}  // namespace LumVoxMsg
