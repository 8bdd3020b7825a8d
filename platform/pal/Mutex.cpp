// Mutex_t of LumPalThread.h.
#include <atomic>
#include <mutex>
#include <thread>

#include "LumPalMsg.h"
#include "LumPalThread.h"

namespace LumPalThread {

struct Mutex_t::Impl {
    bool IsMine() const noexcept { return owner.load(std::memory_order_relaxed) == std::this_thread::get_id(); }
    // Whoever waits is the next one: a holder who frees it and wants it back at once, as one with much to do does so
    // that others come in between, finds him at the door.
    void Take(unsigned newDepth) {
        const std::lock_guard<std::mutex> door(next);
        mutex.lock();
        owner.store(std::this_thread::get_id(), std::memory_order_relaxed);
        depth = newDepth;
    }
    void Free() {
        depth = 0;
        owner.store(std::thread::id(), std::memory_order_relaxed);
        mutex.unlock();
    }
    void NeedMine() const {
        using namespace LumPalMsg;
        if (!IsMine()) throw IllegalStateError_t(CreateError_t("A mutex is used by a thread that does not hold it."));
    }

    std::mutex next;  // held while the mutex is waited for
    std::mutex mutex;
    // Only the holder ever stores its own id, so that a relaxed look is enough to know whether it is us.
    std::atomic<std::thread::id> owner{std::thread::id()};
    unsigned depth = 0;  // the holder's
};

Mutex_t::Mutex_t() : impl(std::make_unique<Impl>()) {}

Mutex_t::~Mutex_t() = default;

void Mutex_t::Lock() LUMPAL_UNCHECKED_LOCKS {
    if (impl->IsMine()) {
        ++impl->depth;
    } else {
        impl->Take(1);
    }
}

void Mutex_t::Unlock() LUMPAL_UNCHECKED_LOCKS {
    impl->NeedMine();
    if (--impl->depth == 0) impl->Free();
}

void Mutex_t::RequireHeld() const {
    impl->NeedMine();
}

unsigned Mutex_t::ReleaseWholly() {
    impl->NeedMine();
    const unsigned depth = impl->depth;
    impl->Free();
    return depth;
}

void Mutex_t::Restore(unsigned depth) {
    impl->Take(depth);
}

}  // namespace LumPalThread
