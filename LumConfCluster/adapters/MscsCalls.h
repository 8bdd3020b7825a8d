/// @file
/// Calling the cluster API: handles and memory that are given back on every road, and texts of any length.
#pragma once

#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "LumPalMscs.h"
#include "LumPalStr.h"
#include "Messages.h"

namespace LumConfCluster {

/// What goes wrong with a question: the memory for the answer, and the answer.
struct MscsFailures {
    const LumConf::MessageOf<0>& noRoom;
    const LumConf::MessageOf<1>& failed;  ///< with the system's number
};

/// Calls a function when it goes.
class MscsHandle {
public:
    MscsHandle(LumPalMscs::Handle_t handle, std::function<void(LumPalMscs::Handle_t)> close)
        : handle(handle), close(std::move(close)) {}
    MscsHandle(const MscsHandle&) = delete;
    MscsHandle& operator=(const MscsHandle&) = delete;
    ~MscsHandle() {
        if (handle) close(handle);
    }
    LumPalMscs::Handle_t Get() const noexcept { return handle; }
    /// The caller closes it.
    LumPalMscs::Handle_t Release() noexcept { return std::exchange(handle, nullptr); }

private:
    LumPalMscs::Handle_t handle;
    const std::function<void(LumPalMscs::Handle_t)> close;
};

/// Zeroed memory of the system.
class MscsBuffer {
public:
    /// @throws LumConf::ClusterException MscsNotAllocated, MscsNotLocked, with the caller's message inside
    MscsBuffer(LumPalMscs::System_i& system, std::size_t bytes, const LumConf::MessageOf<0>& noRoom);
    MscsBuffer(const MscsBuffer&) = delete;
    MscsBuffer& operator=(const MscsBuffer&) = delete;
    ~MscsBuffer();
    void* Get() const noexcept { return bytes; }
    char16_t* Text() const noexcept { return static_cast<char16_t*>(bytes); }

private:
    LumPalMscs::System_i& system;
    LumPalMscs::Handle_t memory;
    void* bytes;
};

/// A buffer of the system and how many bytes of it are an answer.
struct MscsProperties {
    std::unique_ptr<MscsBuffer> buffer;
    std::uint32_t size;
};

/// How one kind of list is gone through.
struct MscsList {
    LumPalMscs::Handle_t (LumPalMscs::Api_i::*open)(LumPalMscs::Handle_t, std::uint32_t);
    std::uint32_t (LumPalMscs::Api_i::*entry)(LumPalMscs::Handle_t, std::uint32_t, std::uint32_t&, char16_t*,
                                              std::uint32_t&);
    std::uint32_t (LumPalMscs::Api_i::*close)(LumPalMscs::Handle_t);
    std::uint32_t type;
    MscsFailures failures;
};

extern const MscsList kMscsNodes, kMscsGroups, kMscsResourcesOfGroup, kMscsNodesOfResource;

/// Questions whose answer may have any length. What they throw is LumConf::ClusterException.
class MscsCalls {
public:
    /// Asks for a text: for its length first. Returns the system's number.
    using Question = std::function<std::uint32_t(char16_t* text, std::uint32_t& length)>;

    MscsCalls(LumPalMscs::System_i& system, LumPalMscs::Api_i& api) : system(system), api(api) {}
    /// False when there is no such item.
    bool Ask(const Question& question, LumPalStr::String_t& text, const MscsFailures& failures) const;
    /// The names of a list of `owner`, which is a cluster, a group or a resource.
    std::vector<LumPalStr::String_t> Names(LumPalMscs::Handle_t owner, const MscsList& list) const;
    MscsProperties Properties(LumPalMscs::Handle_t resource, std::uint32_t code,
                              const LumConf::MessageOf<1>& failed) const;
    LumPalStr::String_t Property(const MscsProperties& list, const char16_t* name,
                                 const LumConf::MessageOf<1>& failed) const;

private:
    LumPalMscs::System_i& system;
    LumPalMscs::Api_i& api;
};

/// The text of a buffer: so many units, or up to its NUL.
LumPalStr::String_t MscsText(const char16_t* text, std::uint32_t length);

}  // namespace LumConfCluster
