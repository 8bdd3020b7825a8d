/// @file
/// The counted buffer behind LumPalStr::String_t.
#pragma once

#include <atomic>
#include <cstdint>
#include <string_view>

#include "LumPalStr.h"

namespace LumPalStr {

/// The longest text: 0xFFFFFFFF itself means "nothing found".
inline constexpr std::uint32_t MaxLength = 0xFFFFFFFEu;

/// Header of one malloc'd block; the units and their terminator follow it.
///
/// The two static buffers (null and empty) have the capacity 0 and are never counted nor freed, so that
/// strings may be used while other static objects are made and after they are gone.
struct String_t::Rep {
    std::atomic<std::uint32_t> refs;
    std::uint32_t length;
    std::uint32_t capacity;

    char16_t* Units() noexcept { return reinterpret_cast<char16_t*>(this + 1); }
    bool IsStatic() const noexcept { return capacity == 0; }
    bool IsUnique() const noexcept { return !IsStatic() && refs.load(std::memory_order_acquire) == 1; }
    void AddRef() noexcept {
        if (!IsStatic()) refs.fetch_add(1, std::memory_order_relaxed);
    }
    void Release() noexcept;
    void SetLength(std::uint32_t newLength) noexcept {
        length = newLength;
        Units()[newLength] = 0;
    }

    /// As String_t::View, without a call: for what is done for every step of a search.
    static std::u16string_view ViewOf(const String_t& text) noexcept { return {text.rep->Units(), text.rep->length}; }

    static Rep* Null() noexcept;
    static Rep* Empty() noexcept;
    /// A buffer of the length with one reference and undefined units, terminated; Empty() for the length 0.
    /// @throws LumPalMsg::IllegalArgumentError_t beyond MaxLength, std::bad_alloc
    static Rep* New(std::uint64_t length);
    /// Resizes the block of a unique buffer; its units stay. Throws as New does, and then nothing has changed.
    static Rep* Resize(Rep* unique, std::uint32_t capacity);
};

/// @throws LumPalMsg::IllegalArgumentError_t for a length beyond MaxLength
void CheckLength(std::uint64_t length);
/// @throws LumPalMsg::IllegalArgumentError_t
[[noreturn]] void ThrowBadPosition(std::uint32_t position, std::uint32_t length);

}  // namespace LumPalStr
