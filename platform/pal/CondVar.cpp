// CondVar_t of LumPalThread.h.
#include <chrono>
#include <condition_variable>
#include <mutex>

#include "LumPalThread.h"

namespace LumPalThread {

// The inner mutex is taken before the caller's is freed: a Signal can not fall in between and be lost.
struct CondVar_t::Impl {
    std::mutex mutex;
    std::condition_variable wake;
    std::uint64_t signals = 0;
};

CondVar_t::CondVar_t() : impl(std::make_unique<Impl>()) {}

CondVar_t::~CondVar_t() = default;

void CondVar_t::Signal() {
    // Notified under the lock: a waiter may destroy this object as soon as it has seen the count.
    const std::lock_guard lock(impl->mutex);
    ++impl->signals;
    impl->wake.notify_all();
}

void CondVar_t::Wait(Mutex_t& mutex) {
    std::unique_lock lock(impl->mutex);
    const unsigned depth = mutex.ReleaseWholly();
    const std::uint64_t before = impl->signals;
    impl->wake.wait(lock, [&] { return impl->signals != before; });
    lock.unlock();
    mutex.Restore(depth);
}

bool CondVar_t::Wait(Mutex_t& mutex, std::uint32_t milliseconds) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    std::unique_lock lock(impl->mutex);
    const unsigned depth = mutex.ReleaseWholly();
    const std::uint64_t before = impl->signals;
    const bool signalled = impl->wake.wait_until(lock, end, [&] { return impl->signals != before; });
    lock.unlock();
    mutex.Restore(depth);
    return signalled;
}

}  // namespace LumPalThread
