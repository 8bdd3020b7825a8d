/// @file
/// Threads that serve one handler's requests, so that no other handler's work can occupy them.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <thread>
#include <vector>

#include "LumPalPlainMutex.h"

namespace LumVoxMsg {

/// Runs tasks in order of their arrival, on at most a given number of threads that start when they are needed.
/// Any thread may submit.
class WorkerPool {
public:
    /// What the threads get of the processors while others have work, too.
    enum class Share { Full, Small };
    static constexpr std::size_t kAnyNumber = static_cast<std::size_t>(-1);
    /// @param mostWaiting  see HasRoom
    explicit WorkerPool(unsigned mostThreads, Share share = Share::Full, std::size_t mostWaiting = kAnyNumber)
        : mostThreads(mostThreads), share(share), mostWaiting(mostWaiting) {}
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;
    ~WorkerPool() { Stop(); }
    /// Whether fewer tasks wait than may. Those of several threads that ask at once may come to a few more.
    bool HasRoom();
    /// @param task  its destructor must not come back to the pool; what it throws ends it alone, and is logged in the
    /// application log
    /// @return false, and the task dropped, after Refuse and Stop
    /// @throws when there is no room for the task, or for the first thread; the task is dropped then
    bool Submit(std::function<void()> task);
    /// Drops what has not begun, and from now on takes nothing. Returns at once, takes no memory. A second call does
    /// nothing.
    void Refuse();
    /// Refuses, and waits for what has begun. Not from a task. A second call does nothing.
    void Stop() LUMPAL_EXCLUDES(mutex);

private:
    void AddThreadLocked() LUMPAL_REQUIRES(mutex);
    void Run();
    /// False when there is nothing to come.
    bool Take(std::function<void()>& task);

    const unsigned mostThreads;
    const Share share;
    const std::size_t mostWaiting;
    LumPalThread::PlainMutex_t mutex;
    std::condition_variable changed;
    std::deque<std::function<void()>> waiting LUMPAL_GUARDED_BY(mutex);
    std::vector<std::thread> threads LUMPAL_GUARDED_BY(mutex);
    unsigned idle LUMPAL_GUARDED_BY(mutex) = 0;
    bool refusing LUMPAL_GUARDED_BY(mutex) = false;
};

}  // namespace LumVoxMsg
