/// @file
/// What the parser library may take for one document.
#pragma once

#include <cstddef>
#include <cstdint>

namespace LumPalXml::SAX {

/// Counts what the library holds. It keeps every different name of a document, at ten times the name's size and
/// more, so that a document of names alone would cost many times its own size.
class MemoryBudget {
public:
    /// The library's calls on this thread are charged to the budget until the end of the scope; to none with null.
    class Scope {
    public:
        explicit Scope(MemoryBudget* budget) noexcept : before(current) { current = budget; }
        ~Scope() { current = before; }
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;

    private:
        MemoryBudget* const before;
    };
    /// Allows for so many bytes of the document.
    void AllowFor(std::uint64_t documentBytes) noexcept { limit = kFree + kPerByte * documentBytes; }
    /// Whether an allocation was refused because of the bound.
    bool IsExceeded() const noexcept { return exceeded; }

    /// For the library: as malloc, realloc and free, within the bound.
    static void* Allocate(std::size_t size) noexcept;
    static void* Reallocate(void* block, std::size_t size) noexcept;
    static void Free(void* block) noexcept;

private:
    static constexpr std::uint64_t kFree = 24u << 20, kPerByte = 4;
    static bool Charge(std::size_t bytes) noexcept;
    static void Refund(std::size_t bytes) noexcept;

    std::uint64_t held = 0, limit = kFree;
    bool exceeded = false;
    static thread_local MemoryBudget* current;
};

}  // namespace LumPalXml::SAX
