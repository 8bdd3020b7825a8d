/// @file
/// What is made when it is first needed.
#pragma once

#include <optional>

#include "LumPalPlainMutex.h"

namespace lumtools {

/// An object that is made by its first use: who only asks for help needs no node, nor settings that can be read.
/// Any thread. A use throws what the making throws; then the next use tries again.
template <class T>
class Lazy {
public:
    const T& operator*() const { return Get(); }
    T& operator*() { return Get(); }
    const T* operator->() const { return &**this; }

private:
    T& Get() const {
        const LumPalThread::PlainLock_t lock(mutex);
        if (!object) object.emplace();
        return *object;
    }

    mutable LumPalThread::PlainMutex_t mutex;
    mutable std::optional<T> object LUMPAL_GUARDED_BY(mutex);  // made once
};

}  // namespace lumtools
