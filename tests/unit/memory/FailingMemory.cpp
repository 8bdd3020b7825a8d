#include "FailingMemory.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <stdlib.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

std::atomic<const char*> disturbedThread{nullptr};
std::atomic<int> left{0};
std::atomic<bool> endless{false}, fired{false};

bool IsDisturbed(const char* thread) {
    char name[16] = "";
    return pthread_getname_np(pthread_self(), name, sizeof name) == 0 && std::strncmp(name, thread, 15) == 0;
}

bool Fails() {
    const char* const thread = disturbedThread.load();
    if (!thread || !IsDisturbed(thread)) return false;
    const int before = left.fetch_sub(1);
    const bool fails = endless ? before <= 1 : before == 1;
    if (fails) fired = true;
    return fails;
}

void* AllocateAligned(std::size_t size, std::size_t alignment) noexcept {
    void* memory = nullptr;
    if (Fails() || posix_memalign(&memory, std::max(alignment, sizeof(void*)), size) != 0) return nullptr;
    return memory;
}

void* Required(void* memory) {
    if (!memory) throw std::bad_alloc();
    return memory;
}

}  // namespace

// The replaceable forms; those for arrays, without exceptions and with sizes come down to these by the standard.
void* operator new(std::size_t size) {
    return Required(FailingMemory::Allocate(size));
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return Required(AllocateAligned(size, static_cast<std::size_t>(alignment)));
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::align_val_t) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
    std::free(memory);
}

// What the network library takes its memory with.
extern "C" void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
    return AllocateAligned(size, alignment);
}

FailingMemory::FailingMemory(const char* thread, int nth, MemoryFault fault) {
    left = nth;
    endless = fault == MemoryFault::FromThenOn;
    fired = false;
    disturbedThread = thread;
}

FailingMemory::~FailingMemory() {
    disturbedThread = nullptr;
}

bool FailingMemory::Fired() const {
    return fired;
}

void* FailingMemory::Allocate(std::size_t size) noexcept {
    return Fails() ? nullptr : std::malloc(size ? size : 1);
}

void* FailingMemory::Reallocate(void* memory, std::size_t size) noexcept {
    return Fails() ? nullptr : std::realloc(memory, size);
}

const char* FailingMemory::ThisThread() {
    // A name of its own: threads that it has made bear the one that it had.
    static const char name[] = "test";
    pthread_setname_np(pthread_self(), name);
    return name;
}

void ForEachAllocation(const char* thread, const std::function<void()>& disturbed, const std::function<void()>& after,
                       int every) {
    for (const MemoryFault fault : {MemoryFault::Once, MemoryFault::FromThenOn}) {
        bool fires = true;
        for (int nth = 1; fires; nth += every > 0 ? 1 + nth / every : 1) {
            SCOPED_TRACE("allocation " + std::to_string(nth) +
                         (fault == MemoryFault::Once ? "" : " and all behind it"));
            {
                const FailingMemory memory(thread, nth, fault);
                disturbed();
                fires = memory.Fired();
            }
            after();
            if (testing::Test::HasFailure()) return;
            ASSERT_LT(nth, 10000);
        }
    }
}
