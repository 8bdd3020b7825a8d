// Later parts of the header of the cluster API define again what stands in its earlier ones.
#undef _WIN32_WINNT
#define _WIN32_WINNT 0x0502
#include <windows.h>
// The cluster API's header needs it first.
#include <clusapi.h>

#include <cstdlib>

#include "LumPalMscs.h"

namespace LumPalMscs {

namespace {

static_assert(sizeof(wchar_t) == sizeof(char16_t));

wchar_t* Wide(char16_t* text) {
    return reinterpret_cast<wchar_t*>(text);
}

const wchar_t* Wide(const char16_t* text) {
    return reinterpret_cast<const wchar_t*>(text);
}

/// What the system calls a handle is a pointer to something of its own.
template <class Native>
Native As(Handle_t handle) {
    return static_cast<Native>(handle);
}

/// The header of resutils.dll does not compile with every tool chain.
using ResUtilFindSzProperty_t = DWORD(WINAPI*)(const PVOID, DWORD, LPCWSTR, LPWSTR*);

/// A length goes in and out as the system's own number.
class Length {
public:
    explicit Length(std::uint32_t& length) : length(length), native(length) {}
    ~Length() { length = static_cast<std::uint32_t>(native); }
    operator DWORD*() { return &native; }

private:
    std::uint32_t& length;
    DWORD native;
};

// The function that was bound under a name, with the type that the system's header declares.
#define BOUND_AS(type, name) reinterpret_cast<type>(functions[static_cast<std::size_t>(Operation::name)])
#define BOUND(name) BOUND_AS(decltype(&::name), name)

class BoundApi : public Api_i {
public:
    explicit BoundApi(const std::vector<Function_t>& functions) : functions(functions) {}
    Handle_t OpenCluster(const char16_t* name) override { return BOUND(OpenCluster)(Wide(name)); }
    bool CloseCluster(Handle_t cluster) override { return BOUND(CloseCluster)(As<HCLUSTER>(cluster)) != 0; }
    std::uint32_t GetClusterInformation(Handle_t cluster, char16_t* name, std::uint32_t& length) override {
        return BOUND(GetClusterInformation)(As<HCLUSTER>(cluster), Wide(name), Length(length), nullptr);
    }
    Handle_t ClusterOpenEnum(Handle_t cluster, std::uint32_t type) override {
        return BOUND(ClusterOpenEnum)(As<HCLUSTER>(cluster), type);
    }
    std::uint32_t ClusterEnum(Handle_t list, std::uint32_t index, std::uint32_t& type, char16_t* name,
                              std::uint32_t& length) override {
        return BOUND(ClusterEnum)(As<HCLUSENUM>(list), index, Length(type), Wide(name), Length(length));
    }
    std::uint32_t ClusterCloseEnum(Handle_t list) override { return BOUND(ClusterCloseEnum)(As<HCLUSENUM>(list)); }
    Handle_t OpenClusterNode(Handle_t cluster, const char16_t* name) override {
        return BOUND(OpenClusterNode)(As<HCLUSTER>(cluster), Wide(name));
    }
    std::uint32_t GetClusterNodeId(Handle_t node, char16_t* id, std::uint32_t& length) override {
        return BOUND(GetClusterNodeId)(As<HNODE>(node), Wide(id), Length(length));
    }
    std::int32_t GetClusterNodeState(Handle_t node) override {
        return static_cast<std::int32_t>(BOUND(GetClusterNodeState)(As<HNODE>(node)));
    }
    bool CloseClusterNode(Handle_t node) override { return BOUND(CloseClusterNode)(As<HNODE>(node)) != 0; }
    Handle_t OpenClusterGroup(Handle_t cluster, const char16_t* name) override {
        return BOUND(OpenClusterGroup)(As<HCLUSTER>(cluster), Wide(name));
    }
    std::int32_t GetClusterGroupState(Handle_t group, char16_t* owner, std::uint32_t& length) override {
        return static_cast<std::int32_t>(BOUND(GetClusterGroupState)(As<HGROUP>(group), Wide(owner), Length(length)));
    }
    Handle_t ClusterGroupOpenEnum(Handle_t group, std::uint32_t type) override {
        return BOUND(ClusterGroupOpenEnum)(As<HGROUP>(group), type);
    }
    std::uint32_t ClusterGroupEnum(Handle_t list, std::uint32_t index, std::uint32_t& type, char16_t* name,
                                   std::uint32_t& length) override {
        return BOUND(ClusterGroupEnum)(As<HGROUPENUM>(list), index, Length(type), Wide(name), Length(length));
    }
    std::uint32_t ClusterGroupCloseEnum(Handle_t list) override {
        return BOUND(ClusterGroupCloseEnum)(As<HGROUPENUM>(list));
    }
    bool CloseClusterGroup(Handle_t group) override { return BOUND(CloseClusterGroup)(As<HGROUP>(group)) != 0; }
    Handle_t OpenClusterResource(Handle_t cluster, const char16_t* name) override {
        return BOUND(OpenClusterResource)(As<HCLUSTER>(cluster), Wide(name));
    }
    std::uint32_t ClusterResourceControl(Handle_t resource, std::uint32_t code, void* answer, std::uint32_t size,
                                         std::uint32_t& returned) override {
        return BOUND(ClusterResourceControl)(As<HRESOURCE>(resource), nullptr, code, nullptr, 0, answer, size,
                                             Length(returned));
    }
    std::uint32_t ResUtilFindSzProperty(const void* list, std::uint32_t size, const char16_t* name,
                                        char16_t*& value) override {
        wchar_t* found = nullptr;
        const DWORD result =
            BOUND_AS(ResUtilFindSzProperty_t, ResUtilFindSzProperty)(const_cast<void*>(list), size, Wide(name), &found);
        value = reinterpret_cast<char16_t*>(found);
        return result;
    }
    bool CloseClusterResource(Handle_t resource) override {
        return BOUND(CloseClusterResource)(As<HRESOURCE>(resource)) != 0;
    }
    Handle_t ClusterResourceOpenEnum(Handle_t resource, std::uint32_t type) override {
        return BOUND(ClusterResourceOpenEnum)(As<HRESOURCE>(resource), type);
    }
    std::uint32_t ClusterResourceEnum(Handle_t list, std::uint32_t index, std::uint32_t& type, char16_t* name,
                                      std::uint32_t& length) override {
        return BOUND(ClusterResourceEnum)(As<HRESENUM>(list), index, Length(type), Wide(name), Length(length));
    }
    std::uint32_t ClusterResourceCloseEnum(Handle_t list) override {
        return BOUND(ClusterResourceCloseEnum)(As<HRESENUM>(list));
    }

private:
    const std::vector<Function_t> functions;
};

#undef BOUND
#undef BOUND_AS

class ThisWindows : public System_i {
public:
    Handle_t LoadLibraryA(const char* name) override { return ::LoadLibraryA(name); }
    void FreeLibrary(Handle_t library) override { ::FreeLibrary(As<HMODULE>(library)); }
    Function_t GetProcAddress(Handle_t library, const char* name) override {
        return reinterpret_cast<Function_t>(::GetProcAddress(As<HMODULE>(library), name));
    }
    std::uint32_t GetLastError() override { return ::GetLastError(); }
    Handle_t LocalAlloc(std::uint32_t flags, std::size_t bytes) override { return ::LocalAlloc(flags, bytes); }
    void* LocalLock(Handle_t memory) override { return ::LocalLock(memory); }
    void LocalUnlock(Handle_t memory) override { ::LocalUnlock(memory); }
    void LocalFree(Handle_t memory) override { ::LocalFree(memory); }
    void* Calloc(std::size_t count, std::size_t size) override { return std::calloc(count, size); }
    void Free(void* memory) override { std::free(memory); }
    bool GetComputerNameA(char* name, std::uint32_t& length) override {
        return ::GetComputerNameA(name, Length(length)) != 0;
    }
    std::unique_ptr<Api_i> MakeApi(const std::vector<Function_t>& functions) override {
        return std::make_unique<BoundApi>(functions);
    }
};

}  // namespace

System_i& ThisSystem() {
    static ThisWindows system;
    return system;
}

}  // namespace LumPalMscs
