#include "FreedMemory.h"

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <exception>
#include <thread>
#ifdef __GLIBC__
#include <malloc.h>
#endif

#include "../pal/ThreadName.h"
#include "LumPalPlainMutex.h"

namespace LumVoxRpc {
namespace {

/// From so many bytes of messages on a pass over the heap is worth its time.
constexpr std::size_t kWorthAPass = 1u << 20;
/// Between two passes: they hold up every thread that asks for memory.
constexpr std::chrono::milliseconds kRest{100};
/// A small message may have let go of much: settings that it cleared, policies that it removed.
constexpr std::chrono::seconds kLongest{10};
/// When to look again: what a message was about goes on behind its answer (settings are read anew, consumers told).
constexpr std::chrono::milliseconds kLooks[] = {kRest, std::chrono::seconds(1), std::chrono::seconds(5)};

#ifdef __GLIBC__
// Above it a block is a mapping of its own: the blocks of a message go back one by one, while it is read.
constexpr int kLeastMapping = 64 << 10;
// What each thread's heap may keep at its end.
constexpr int kMostKept = 256 << 10;
#endif

/// Waits for freed bytes and gives them back.
class Returner {
public:
    static Returner& Get() {
        static Returner& returner = *new Returner;  // never destroyed: threads free memory to the end
        return returner;
    }

    void Note(std::size_t bytes) {
        const LumPalThread::PlainLock_t lock(mutex);
        const bool isFirst = freed == 0;
        freed += bytes;
        if (!running) std::thread([this] { Run(); }).detach();
        running = true;
        if (isFirst || freed >= kWorthAPass) some.notify_one();
    }

private:
    void Run() {
        LumPalThread::NameThisThread("LumVox:Memory");
        LumPalThread::PlainLock_t lock(mutex);
        for (;;) {
            while (freed == 0) some.wait(lock.ForWait());
            AwaitEnoughLocked(lock, kLongest);
            for (const std::chrono::milliseconds next : kLooks) {
                GiveBackLocked(lock);
                if (AwaitEnoughLocked(lock, next)) break;
            }
        }
    }
    /// @return whether enough was freed before the time was over
    bool AwaitEnoughLocked(LumPalThread::PlainLock_t& lock, std::chrono::milliseconds time) LUMPAL_REQUIRES(mutex) {
        const auto end = std::chrono::steady_clock::now() + time;
        while (freed < kWorthAPass) {
            if (some.wait_until(lock.ForWait(), end) == std::cv_status::timeout) return freed >= kWorthAPass;
        }
        return true;
    }
    /// Frees the mutex meanwhile, which the analysis cannot see through the lock.
    void GiveBackLocked(LumPalThread::PlainLock_t& lock) LUMPAL_REQUIRES(mutex) LUMPAL_UNCHECKED_LOCKS {
        freed = 0;
        lock.Unlock();
        ReturnFreedMemory();
        std::this_thread::sleep_for(kRest);
        lock.Lock();
    }

    LumPalThread::PlainMutex_t mutex;
    std::condition_variable some;
    std::size_t freed LUMPAL_GUARDED_BY(mutex) = 0;
    bool running LUMPAL_GUARDED_BY(mutex) = false;
};

}  // namespace

void KeepFreedMemorySmall() noexcept {
#ifdef __GLIBC__
    static const bool once = [] {
        // Each of the two also keeps the allocator from raising both by itself after the first large block.
        mallopt(M_MMAP_THRESHOLD, kLeastMapping);
        mallopt(M_TRIM_THRESHOLD, kMostKept);
        // Small blocks join their neighbours when they are freed. Joined by a pass alone, those at the end of a
        // thread's heap would stay: a pass gives back only what lies in between.
        mallopt(M_MXFAST, 0);
        return true;
    }();
    static_cast<void>(once);
#endif
}

void ReturnFreedMemory() noexcept {
#ifdef __GLIBC__
    malloc_trim(0);
#endif
}

void NoteFreed(std::size_t bytes) noexcept {
    if (bytes == 0) return;
    try {
        Returner::Get().Note(bytes);
    } catch (const std::exception&) {
        // Without a thread now: the next message tries again.
    }
}

}  // namespace LumVoxRpc
