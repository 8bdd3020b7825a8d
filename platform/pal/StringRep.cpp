#include "StringRep.h"

#include <cstdlib>
#include <new>

#include "LumPalMsg.h"

namespace LumPalStr {
namespace {

struct StaticRep {
    String_t::Rep rep;
    char16_t terminator;
};

constinit StaticRep nullRep{{{1}, 0, 0}, 0};
constinit StaticRep emptyRep{{{1}, 0, 0}, 0};

std::size_t BlockSize(std::uint32_t capacity) {
    return sizeof(String_t::Rep) + (static_cast<std::size_t>(capacity) + 1) * sizeof(char16_t);
}

}  // namespace

static_assert(sizeof(String_t::Rep) == 12 && alignof(String_t::Rep) >= alignof(char16_t));

String_t::Rep* String_t::Rep::Null() noexcept {
    return &nullRep.rep;
}
String_t::Rep* String_t::Rep::Empty() noexcept {
    return &emptyRep.rep;
}

String_t::Rep* String_t::Rep::New(std::uint64_t length) {
    if (length == 0) return Empty();
    CheckLength(length);
    const auto units = static_cast<std::uint32_t>(length);
    void* block = std::malloc(BlockSize(units));
    if (!block) throw std::bad_alloc();
    auto* rep = new (block) Rep{{1}, 0, units};
    rep->SetLength(units);
    return rep;
}

String_t::Rep* String_t::Rep::Resize(Rep* unique, std::uint32_t capacity) {
    CheckLength(capacity);
    // realloc moves large blocks by remapping pages, so that a growing text is never held twice.
    void* block = std::realloc(static_cast<void*>(unique), BlockSize(capacity));
    if (!block) throw std::bad_alloc();
    auto* rep = static_cast<Rep*>(block);
    rep->capacity = capacity;
    return rep;
}

void String_t::Rep::Release() noexcept {
    if (!IsStatic() && refs.fetch_sub(1, std::memory_order_acq_rel) == 1) std::free(this);
}

void CheckLength(std::uint64_t length) {
    if (length > MaxLength) {
        throw LumPalMsg::IllegalArgumentError_t(LumPalMsg::CreateError_t("A text of %1 characters is too long.")
                                                << NumToStr(static_cast<unsigned long long>(length)));
    }
}

void ThrowBadPosition(std::uint32_t position, std::uint32_t length) {
    throw LumPalMsg::IllegalArgumentError_t(
        LumPalMsg::CreateError_t("Position %1 lies outside of a text of %2 characters.") << position << length);
}

}  // namespace LumPalStr
