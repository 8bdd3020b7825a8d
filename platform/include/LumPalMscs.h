/// @file
/// The cluster API of Windows, and what it takes to call it; elsewhere there is none, and only tests implement it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "LumPalExport.h"

namespace LumPalMscs {

/// Of a library, of memory, or of something of a cluster; null is none.
using Handle_t = void*;
using Function_t = void (*)();

inline constexpr std::uint32_t Success = 0;
inline constexpr std::uint32_t MoreData = 234;
inline constexpr std::uint32_t NoMoreItems = 259;

/// The operations in the order in which they are bound: name, library.
#define LUMPAL_MSCS_OPERATIONS(X)       \
    X(OpenCluster, Clusapi)             \
    X(CloseCluster, Clusapi)            \
    X(GetClusterInformation, Clusapi)   \
    X(ClusterOpenEnum, Clusapi)         \
    X(ClusterEnum, Clusapi)             \
    X(ClusterCloseEnum, Clusapi)        \
    X(OpenClusterNode, Clusapi)         \
    X(GetClusterNodeId, Clusapi)        \
    X(GetClusterNodeState, Clusapi)     \
    X(CloseClusterNode, Clusapi)        \
    X(OpenClusterGroup, Clusapi)        \
    X(GetClusterGroupState, Clusapi)    \
    X(ClusterGroupOpenEnum, Clusapi)    \
    X(ClusterGroupEnum, Clusapi)        \
    X(ClusterGroupCloseEnum, Clusapi)   \
    X(CloseClusterGroup, Clusapi)       \
    X(OpenClusterResource, Clusapi)     \
    X(ClusterResourceControl, Clusapi)  \
    X(ResUtilFindSzProperty, Resutils)  \
    X(CloseClusterResource, Clusapi)    \
    X(ClusterResourceOpenEnum, Clusapi) \
    X(ClusterResourceEnum, Clusapi)     \
    X(ClusterResourceCloseEnum, Clusapi)

/// Their indexes.
enum class Operation : std::size_t {
#define LUMPAL_MSCS_INDEX(name, library) name,
    LUMPAL_MSCS_OPERATIONS(LUMPAL_MSCS_INDEX)
#undef LUMPAL_MSCS_INDEX
};

/// The cluster API, a function for each operation; they do what its own documentation says. Lengths of texts count
/// UTF-16 units: the room with the NUL when they go in, the text without it when they come out. Results are the
/// system's error numbers, MoreData where the room is too small. One thread at a time.
class Api_i {
public:
    virtual ~Api_i() = default;
    virtual Handle_t OpenCluster(const char16_t* name) = 0;
    virtual bool CloseCluster(Handle_t cluster) = 0;
    virtual std::uint32_t GetClusterInformation(Handle_t cluster, char16_t* name, std::uint32_t& length) = 0;
    virtual Handle_t ClusterOpenEnum(Handle_t cluster, std::uint32_t type) = 0;
    virtual std::uint32_t ClusterEnum(Handle_t list, std::uint32_t index, std::uint32_t& type, char16_t* name,
                                      std::uint32_t& length) = 0;
    virtual std::uint32_t ClusterCloseEnum(Handle_t list) = 0;
    virtual Handle_t OpenClusterNode(Handle_t cluster, const char16_t* name) = 0;
    virtual std::uint32_t GetClusterNodeId(Handle_t node, char16_t* id, std::uint32_t& length) = 0;
    virtual std::int32_t GetClusterNodeState(Handle_t node) = 0;
    virtual bool CloseClusterNode(Handle_t node) = 0;
    virtual Handle_t OpenClusterGroup(Handle_t cluster, const char16_t* name) = 0;
    virtual std::int32_t GetClusterGroupState(Handle_t group, char16_t* owner, std::uint32_t& length) = 0;
    virtual Handle_t ClusterGroupOpenEnum(Handle_t group, std::uint32_t type) = 0;
    virtual std::uint32_t ClusterGroupEnum(Handle_t list, std::uint32_t index, std::uint32_t& type, char16_t* name,
                                           std::uint32_t& length) = 0;
    virtual std::uint32_t ClusterGroupCloseEnum(Handle_t list) = 0;
    virtual bool CloseClusterGroup(Handle_t group) = 0;
    virtual Handle_t OpenClusterResource(Handle_t cluster, const char16_t* name) = 0;
    /// @param size      bytes of room
    /// @param returned  bytes of the answer, or that it needs
    virtual std::uint32_t ClusterResourceControl(Handle_t resource, std::uint32_t code, void* answer,
                                                 std::uint32_t size, std::uint32_t& returned) = 0;
    /// @param value  on success a copy that LocalFree frees
    virtual std::uint32_t ResUtilFindSzProperty(const void* list, std::uint32_t size, const char16_t* name,
                                                char16_t*& value) = 0;
    virtual bool CloseClusterResource(Handle_t resource) = 0;
    virtual Handle_t ClusterResourceOpenEnum(Handle_t resource, std::uint32_t type) = 0;
    virtual std::uint32_t ClusterResourceEnum(Handle_t list, std::uint32_t index, std::uint32_t& type, char16_t* name,
                                              std::uint32_t& length) = 0;
    virtual std::uint32_t ClusterResourceCloseEnum(Handle_t list) = 0;
};

/// The rest of Windows that a caller of it needs, under the names that it has there.
class System_i {
public:
    virtual ~System_i() = default;
    virtual Handle_t LoadLibraryA(const char* name) = 0;
    virtual void FreeLibrary(Handle_t library) = 0;
    virtual Function_t GetProcAddress(Handle_t library, const char* name) = 0;
    virtual std::uint32_t GetLastError() = 0;
    virtual Handle_t LocalAlloc(std::uint32_t flags, std::size_t bytes) = 0;
    virtual void* LocalLock(Handle_t memory) = 0;
    virtual void LocalUnlock(Handle_t memory) = 0;
    virtual void LocalFree(Handle_t memory) = 0;
    virtual void* Calloc(std::size_t count, std::size_t size) = 0;
    virtual void Free(void* memory) = 0;
    /// @param length  the room, with the NUL
    virtual bool GetComputerNameA(char* name, std::uint32_t& length) = 0;
    /// The API of the functions, which stand in the order of Operation.
    virtual std::unique_ptr<Api_i> MakeApi(const std::vector<Function_t>& functions) = 0;
};

#if defined(_WIN32)
/// This system.
LUMPAL_API System_i& ThisSystem();
#endif

}  // namespace LumPalMscs
