#include "XmlMemory.h"

#include <cstdlib>
#include <limits>

namespace LumPalXml::SAX {
namespace {

/// Stands before each block and keeps its alignment.
struct alignas(std::max_align_t) Head {
    std::size_t size;
};

constexpr std::size_t kLargest = std::numeric_limits<std::size_t>::max() - sizeof(Head);

Head* HeadOf(void* block) {
    return static_cast<Head*>(block) - 1;
}

}  // namespace

thread_local MemoryBudget* MemoryBudget::current = nullptr;

bool MemoryBudget::Charge(std::size_t bytes) noexcept {
    if (!current) return true;
    current->exceeded = current->exceeded || bytes > current->limit || current->held > current->limit - bytes;
    if (current->exceeded) return false;
    current->held += bytes;
    return true;
}

void MemoryBudget::Refund(std::size_t bytes) noexcept {
    if (current) current->held -= bytes;
}

void* MemoryBudget::Allocate(std::size_t size) noexcept {
    return Reallocate(nullptr, size);
}

void* MemoryBudget::Reallocate(void* block, std::size_t size) noexcept {
    if (size > kLargest || !Charge(size + sizeof(Head))) return nullptr;
    Head* const old = block ? HeadOf(block) : nullptr;
    const std::size_t before = old ? old->size + sizeof(Head) : 0;
    Head* const made = static_cast<Head*>(std::realloc(old, size + sizeof(Head)));
    Refund(made ? before : size + sizeof(Head));
    if (!made) return nullptr;
    made->size = size;
    return made + 1;
}

void MemoryBudget::Free(void* block) noexcept {
    if (!block) return;
    Refund(HeadOf(block)->size + sizeof(Head));
    std::free(HeadOf(block));
}

}  // namespace LumPalXml::SAX
