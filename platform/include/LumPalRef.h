/// @file
/// Reference counts.
#pragma once

#include <atomic>

#include "LumPalExport.h"

namespace LumPalRef {

/// An atomic counter.
class MTRef_t {
public:
    explicit MTRef_t(int start = 0) noexcept : count(start) {}
    /// @return the new value
    int Increment() noexcept { return count.fetch_add(1, std::memory_order_relaxed) + 1; }
    /// @return the new value
    int Decrement() noexcept { return count.fetch_sub(1, std::memory_order_acq_rel) - 1; }
    int Get() const noexcept { return count.load(std::memory_order_acquire); }

private:
    std::atomic<int> count;
};

/// Base of shared implementation objects. A new object has no reference;
/// the release that brings the count to 0 deletes it.
class LUMPAL_API RefCounted_t {
public:
    RefCounted_t() noexcept = default;
    RefCounted_t(const RefCounted_t&) = delete;
    RefCounted_t& operator=(const RefCounted_t&) = delete;
    virtual ~RefCounted_t();
    void AddRef() const noexcept { references.Increment(); }
    virtual void Release() const noexcept;
    int GetRefCount() const noexcept { return references.Get(); }

private:
    mutable MTRef_t references;
};

}  // namespace LumPalRef
