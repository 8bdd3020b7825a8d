/// @file
/// Memory for an operation that must find its way to an event loop, also when there is no memory.
#pragma once

#include <atomic>
#include <cstddef>
#include <new>

namespace LumVoxMsg {

/// Room for one posted operation at a time; a second one, or one that is too large, takes memory as any does. Lives
/// until the operation has begun or was dropped.
class PostRoom {
public:
    static constexpr std::size_t kBytes = 320;

    PostRoom() = default;
    PostRoom(const PostRoom&) = delete;
    PostRoom& operator=(const PostRoom&) = delete;

    /// @throws std::bad_alloc
    void* Allocate(std::size_t bytes) {
        if (bytes <= kBytes && !taken.exchange(true)) return room;
        return ::operator new(bytes);
    }
    void Free(void* memory) noexcept {
        if (memory == room)
            taken = false;
        else
            ::operator delete(memory);
    }

private:
    alignas(std::max_align_t) std::byte room[kBytes];
    std::atomic<bool> taken{false};
};

/// An allocator (as the standard library knows them) that takes from a room.
template <class Value>
class PostAllocator {
public:
    using value_type = Value;
    explicit PostAllocator(PostRoom& room) noexcept : room(&room) {}
    template <class Other>
    PostAllocator(const PostAllocator<Other>& other) noexcept : room(other.room) {}
    Value* allocate(std::size_t count) { return static_cast<Value*>(room->Allocate(count * sizeof(Value))); }
    void deallocate(Value* memory, std::size_t) noexcept { room->Free(memory); }
    template <class Other>
    bool operator==(const PostAllocator<Other>& other) const noexcept {
        return room == other.room;
    }

private:
    template <class>
    friend class PostAllocator;

    PostRoom* room;
};

}  // namespace LumVoxMsg
