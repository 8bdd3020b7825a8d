/// @file
/// Owning pointers.
#pragma once

#include <utility>

#if defined(_WIN32)
#include "LumPalExport.h"
#endif

namespace LumPalPtr {

/// A counted reference to a LumPalRef::RefCounted_t. Copies share; may be null.
template <class T>
class RefPtr_t {
public:
    RefPtr_t() noexcept = default;
    RefPtr_t(T* object) noexcept : object(object) {
        if (object) object->AddRef();
    }
    RefPtr_t(const RefPtr_t& other) noexcept : RefPtr_t(other.object) {}
    RefPtr_t(RefPtr_t&& other) noexcept : object(std::exchange(other.object, nullptr)) {}
    RefPtr_t& operator=(RefPtr_t other) noexcept {
        std::swap(object, other.object);
        return *this;
    }
    ~RefPtr_t() {
        if (object) object->Release();
    }
    T* Get() const noexcept { return object; }
    T* operator->() const noexcept { return object; }
    T& operator*() const noexcept { return *object; }
    explicit operator bool() const noexcept { return object != nullptr; }

private:
    T* object = nullptr;
};

#if defined(_WIN32)
/// Closes a registry key (HKEY) at the end of a scope.
class LUMPAL_API AutoWin32RegKeyHandle_t {
public:
    explicit AutoWin32RegKeyHandle_t(void* key = nullptr) noexcept : key(key) {}
    AutoWin32RegKeyHandle_t(const AutoWin32RegKeyHandle_t&) = delete;
    AutoWin32RegKeyHandle_t& operator=(const AutoWin32RegKeyHandle_t&) = delete;
    ~AutoWin32RegKeyHandle_t();
    void** Receive() noexcept { return &key; }
    void* Get() const noexcept { return key; }

private:
    void* key;
};
#endif

}  // namespace LumPalPtr
