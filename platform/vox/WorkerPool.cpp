#include "WorkerPool.h"

#include "../pal/ThreadName.h"
#include "../pal/ThreadShare.h"
#include "LumPalLog.h"

namespace LumVoxMsg {

bool WorkerPool::HasRoom() {
    const LumPalThread::PlainLock_t lock(mutex);
    return waiting.size() < mostWaiting;
}

bool WorkerPool::Submit(std::function<void()> task) {
    const LumPalThread::PlainLock_t lock(mutex);
    if (refusing) return false;
    waiting.push_back(std::move(task));
    if (waiting.size() > idle && threads.size() < mostThreads) AddThreadLocked();
    changed.notify_one();
    return true;
}

/// Without room for one more the others must do.
void WorkerPool::AddThreadLocked() {
    try {
        threads.emplace_back([this] { Run(); });
    } catch (...) {
        if (!threads.empty()) return;
        waiting.pop_back();
        throw;
    }
}

void WorkerPool::Refuse() {
    const LumPalThread::PlainLock_t lock(mutex);
    refusing = true;
    waiting.clear();
    changed.notify_all();
}

void WorkerPool::Stop() {
    Refuse();
    std::vector<std::thread> ending;
    {
        const LumPalThread::PlainLock_t lock(mutex);
        ending.swap(threads);
    }
    for (std::thread& thread : ending) thread.join();
}

void WorkerPool::Run() {
    LumPalThread::NameThisThread(share == Share::Full ? "LumVox:Worker" : "LumVox:Stranger");
    if (share == Share::Small) LumPalThread::TakeSmallShare();
    std::function<void()> task;
    while (Take(task)) {
        try {
            task();
        } catch (const std::exception& e) {
            LumPalLog::LogGuarded([&] {
                return LumPalMsg::CreateError_t("A request was given up: %1")
                       << LumPalStr::String_t::FromUtf8(e.what());
            });
        } catch (...) {
            LumPalLog::LogGuarded([] { return LumPalMsg::CreateError_t("A request was given up."); });
        }
        task = nullptr;
    }
}

bool WorkerPool::Take(std::function<void()>& task) {
    LumPalThread::PlainLock_t lock(mutex);
    ++idle;
    while (!refusing && waiting.empty()) changed.wait(lock.ForWait());
    --idle;
    if (refusing) return false;
    task = std::move(waiting.front());
    waiting.pop_front();
    return true;
}

}  // namespace LumVoxMsg
