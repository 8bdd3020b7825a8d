/// @file
/// Base of the communication layer's handles.
#pragma once

#include "LumPalExport.h"
#include "LumPalPtr.h"
#include "LumPalRef.h"

namespace LumVoxCore {

/// A handle on a counted implementation; null when default-constructed. Copies share.
class LUMPAL_API Object {
public:
    Object() = default;
    virtual ~Object();
    Object(const Object&) = default;
    Object& operator=(const Object&) = default;
    bool IsNull() const noexcept { return !implementation; }

protected:
    explicit Object(LumPalRef::RefCounted_t* impl) : implementation(impl) {}
    LumPalPtr::RefPtr_t<LumPalRef::RefCounted_t> implementation;
};

}  // namespace LumVoxCore
