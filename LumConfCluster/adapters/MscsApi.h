/// @file
/// What the adapter for Microsoft Cluster Server asks of Windows. Elsewhere only tests implement it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace LumConfCluster {

/// Of a library, of memory, or of something of a cluster; null is none.
using MscsHandle_t = void*;
using MscsFunction_t = void (*)();

inline constexpr std::uint32_t kMscsSuccess = 0;
inline constexpr std::uint32_t kMscsMoreData = 234;
inline constexpr std::uint32_t kMscsNoMoreItems = 259;

/// Indexes of the operations in the order of binding.
enum class MscsOperation : std::size_t {
#define LUM_MSCS_OPERATION(name, library) name,
#include "MscsOperations.def"
#undef LUM_MSCS_OPERATION
};

/// The cluster API, a function for each operation; they do what its own documentation says. Lengths of texts count
/// UTF-16 units: the room with the NUL when they go in, the text without it when they come out. Results are the
/// system's error numbers, kMscsMoreData where the room is too small. One thread at a time.
class MscsApi_i {
public:
    virtual ~MscsApi_i() = default;
    virtual MscsHandle_t OpenCluster(const char16_t* name) = 0;
    virtual bool CloseCluster(MscsHandle_t cluster) = 0;
    virtual std::uint32_t GetClusterInformation(MscsHandle_t cluster, char16_t* name, std::uint32_t& length) = 0;
    virtual MscsHandle_t ClusterOpenEnum(MscsHandle_t cluster, std::uint32_t type) = 0;
    virtual std::uint32_t ClusterEnum(MscsHandle_t list, std::uint32_t index, std::uint32_t& type, char16_t* name,
                                      std::uint32_t& length) = 0;
    virtual std::uint32_t ClusterCloseEnum(MscsHandle_t list) = 0;
    virtual MscsHandle_t OpenClusterNode(MscsHandle_t cluster, const char16_t* name) = 0;
    virtual std::uint32_t GetClusterNodeId(MscsHandle_t node, char16_t* id, std::uint32_t& length) = 0;
    virtual std::int32_t GetClusterNodeState(MscsHandle_t node) = 0;
    virtual bool CloseClusterNode(MscsHandle_t node) = 0;
    virtual MscsHandle_t OpenClusterGroup(MscsHandle_t cluster, const char16_t* name) = 0;
    virtual std::int32_t GetClusterGroupState(MscsHandle_t group, char16_t* owner, std::uint32_t& length) = 0;
    virtual MscsHandle_t ClusterGroupOpenEnum(MscsHandle_t group, std::uint32_t type) = 0;
    virtual std::uint32_t ClusterGroupEnum(MscsHandle_t list, std::uint32_t index, std::uint32_t& type, char16_t* name,
                                           std::uint32_t& length) = 0;
    virtual std::uint32_t ClusterGroupCloseEnum(MscsHandle_t list) = 0;
    virtual bool CloseClusterGroup(MscsHandle_t group) = 0;
    virtual MscsHandle_t OpenClusterResource(MscsHandle_t cluster, const char16_t* name) = 0;
    /// @param size      bytes of room
    /// @param returned  bytes of the answer, or that it needs
    virtual std::uint32_t ClusterResourceControl(MscsHandle_t resource, std::uint32_t code, void* answer,
                                                 std::uint32_t size, std::uint32_t& returned) = 0;
    /// @param value  on success a copy that LocalFree frees
    virtual std::uint32_t ResUtilFindSzProperty(const void* list, std::uint32_t size, const char16_t* name,
                                                char16_t*& value) = 0;
    virtual bool CloseClusterResource(MscsHandle_t resource) = 0;
    virtual MscsHandle_t ClusterResourceOpenEnum(MscsHandle_t resource, std::uint32_t type) = 0;
    virtual std::uint32_t ClusterResourceEnum(MscsHandle_t list, std::uint32_t index, std::uint32_t& type,
                                              char16_t* name, std::uint32_t& length) = 0;
    virtual std::uint32_t ClusterResourceCloseEnum(MscsHandle_t list) = 0;
};

/// The rest of Windows that the adapter needs, under the names that it has there.
class MscsSystem_i {
public:
    virtual ~MscsSystem_i() = default;
    virtual MscsHandle_t LoadLibraryA(const char* name) = 0;
    virtual void FreeLibrary(MscsHandle_t library) = 0;
    virtual MscsFunction_t GetProcAddress(MscsHandle_t library, const char* name) = 0;
    virtual std::uint32_t GetLastError() = 0;
    virtual MscsHandle_t LocalAlloc(std::uint32_t flags, std::size_t bytes) = 0;
    virtual void* LocalLock(MscsHandle_t memory) = 0;
    virtual void LocalUnlock(MscsHandle_t memory) = 0;
    virtual void LocalFree(MscsHandle_t memory) = 0;
    virtual void* Calloc(std::size_t count, std::size_t size) = 0;
    virtual void Free(void* memory) = 0;
    /// @param length  the room, with the NUL
    virtual bool GetComputerNameA(char* name, std::uint32_t& length) = 0;
    /// The API of the functions, which stand in the order of MscsOperation.
    virtual std::unique_ptr<MscsApi_i> MakeApi(const std::vector<MscsFunction_t>& functions) = 0;
};

}  // namespace LumConfCluster
