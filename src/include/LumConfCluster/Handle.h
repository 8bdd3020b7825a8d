/// @file
/// What all handles of the cluster side are.
#pragma once

#include "LumPalPtr.h"
#include "LumPalRef.h"

namespace LumConfCluster {

/// A counted reference to an object of the library, never null: copies share it, the last one to go releases it.
/// Copies may be made and dropped in several threads; a handle itself is not assigned to while another thread uses it.
/// The object is the library's own: only there is its class known, and what this class does with it possible.
template <class Impl>
class Handle {
public:
    /// @param impl  not null
    explicit Handle(Impl* impl) : object(impl) {}
    Handle(const Handle&) = default;  // declared, so that no move leaves a handle without an object
    Handle& operator=(const Handle&) = default;
    ~Handle() = default;
    Impl* GetImpl() const noexcept { return static_cast<Impl*>(object.Get()); }

private:
    LumPalPtr::RefPtr_t<LumPalRef::RefCounted_t> object;
};

}  // namespace LumConfCluster
