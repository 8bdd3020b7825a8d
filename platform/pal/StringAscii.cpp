#include "StringAscii.h"

namespace LumPalStr::Ascii {
namespace {

// A block is read without a branch, which lets the compiler use vector instructions.
constexpr std::size_t BlockUnits = 64;

template <class Unit>
std::size_t PrefixOf(const Unit* text, std::size_t length) noexcept {
    std::size_t done = 0;
    while (done < length) {
        const std::size_t block = length - done < BlockUnits ? length - done : BlockUnits;
        unsigned seen = 0;
        for (std::size_t i = 0; i < block; ++i) seen |= static_cast<unsigned>(text[done + i]);
        if (seen & ~0x7Fu) return done;
        done += block;
    }
    return done;
}

bool IsUpper(char16_t unit) noexcept {
    return static_cast<char16_t>(unit - u'A') < 26;
}

}  // namespace

std::size_t Prefix(const char16_t* units, std::size_t length) noexcept {
    return PrefixOf(units, length);
}

std::size_t Prefix(const char* bytes, std::size_t length) noexcept {
    return PrefixOf(reinterpret_cast<const unsigned char*>(bytes), length);
}

bool HasUpper(const char16_t* units, std::size_t length) noexcept {
    for (std::size_t done = 0; done < length; done += BlockUnits) {
        const std::size_t end = length - done < BlockUnits ? length : done + BlockUnits;
        bool found = false;
        for (std::size_t i = done; i < end; ++i) found |= IsUpper(units[i]);
        if (found) return true;
    }
    return false;
}

void Lower(char16_t* target, const char16_t* source, std::size_t length) noexcept {
    for (std::size_t i = 0; i < length; ++i) {
        target[i] = static_cast<char16_t>(source[i] | (IsUpper(source[i]) ? 0x20 : 0));
    }
}

void Widen(char16_t* target, const char* source, std::size_t length) noexcept {
    for (std::size_t i = 0; i < length; ++i) target[i] = static_cast<unsigned char>(source[i]);
}

void Narrow(char* target, const char16_t* source, std::size_t length) noexcept {
    for (std::size_t i = 0; i < length; ++i) target[i] = static_cast<char>(source[i]);
}

}  // namespace LumPalStr::Ascii
