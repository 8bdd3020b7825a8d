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
    struct Bound {
        std::uint64_t free, perByte;
    };
    static constexpr Bound kDocument{24u << 20, 4};
    /// What came from outside: it nests little.
    static constexpr Bound kOutside{8u << 20, 2};
    explicit MemoryBudget(const Bound& bound) noexcept : bound(bound) {}

    /// Allows for so many bytes of the document.
    void AllowFor(std::uint64_t documentBytes) noexcept { limit = bound.free + bound.perByte * documentBytes; }
    /// Whether an allocation was refused because of the bound.
    bool IsExceeded() const noexcept { return exceeded; }

    /// For the library: as malloc, realloc and free, within the bound.
    static void* Allocate(std::size_t size) noexcept;
    static void* Reallocate(void* block, std::size_t size) noexcept;
    static void Free(void* block) noexcept;

private:
    static bool Charge(std::size_t bytes) noexcept;
    static void Refund(std::size_t bytes) noexcept;

    const Bound bound;
    std::uint64_t held = 0, limit = bound.free;
    bool exceeded = false;
    static thread_local MemoryBudget* current;
};

}  // namespace LumPalXml::SAX
