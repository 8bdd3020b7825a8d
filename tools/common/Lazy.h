/// @file
/// What is made when it is first needed.
#pragma once

#include <mutex>
#include <optional>

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
        const std::lock_guard lock(mutex);
        if (!object) object.emplace();
        return *object;
    }

    mutable std::mutex mutex;
    mutable std::optional<T> object;  // guarded by mutex; made once
};

}  // namespace lumtools
