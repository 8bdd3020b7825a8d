/// @file
/// A Microsoft cluster in memory, and the little of Windows that its adapter needs.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "LumPalMscs.h"

/// Behaves as the system's own API is documented. Whatever is opened, taken or loaded is counted until it is given
/// back.
class MscsMemory : public LumPalMscs::System_i {
public:
    using Handle = LumPalMscs::Handle_t;
    struct Node {
        std::u16string name, id;
        std::int32_t state;
    };
    struct Resource {
        std::u16string name, type, address;
        std::vector<std::u16string> nodes;
        bool canBeOpened = true;
    };
    struct Group {
        std::u16string name, owner;
        std::int32_t state;
        std::vector<Resource> resources;
    };

    std::u16string name = u"harbour";
    std::vector<Node> nodes{{u"NORTH", u"1", 0}, {u"South", u"2", 0}, {u"east", u"3", 1}};
    std::vector<Group> groups{{u"Web",
                               u"South",
                               0,
                               {{u"disk", u"Physical Disk", u"", {u"NORTH", u"South"}},
                                {u"ip", u"IP Address", u"10.0.0.7", {u"South", u"NORTH", u"east"}}}},
                              {u"db", u"NORTH", 1, {}}};
    std::string computerName = "NORTH";
    std::string missingLibrary, missingFunction;
    bool isRunning = true;
    bool countsNul = false;     ///< lengths come out with the NUL
    bool nullSucceeds = false;  ///< asking for a length alone is no error
    int failAt = 0;             ///< the n-th call that can fail does, with the error 5
    int calls = 0;
    std::vector<std::string> bound;

    /// What is still open, taken or loaded.
    std::size_t Held() const { return things.size() + memory.size(); }

    Handle LoadLibraryA(const char* library) override {
        return Fails() || library == missingLibrary ? nullptr : Open(library, nullptr);
    }
    void FreeLibrary(Handle library) override { things.erase(library); }
    LumPalMscs::Function_t GetProcAddress(Handle library, const char* function) override {
        if (Fails() || !library || function == missingFunction) return nullptr;
        bound.push_back(things.at(library).kind + ":" + function);
        return [] {};
    }
    std::uint32_t GetLastError() override { return 5; }
    Handle LocalAlloc(std::uint32_t flags, std::size_t bytes) override {
        EXPECT_EQ(flags, 64u);
        return Fails() ? nullptr : Take(bytes);
    }
    void* LocalLock(Handle bytes) override { return Fails() ? nullptr : bytes; }
    void LocalUnlock(Handle) override {}
    void LocalFree(Handle bytes) override { Free(bytes); }
    void* Calloc(std::size_t count, std::size_t size) override { return Fails() ? nullptr : Take(count * size); }
    void Free(void* bytes) override { EXPECT_EQ(memory.erase(bytes), 1u); }
    bool GetComputerNameA(char* text, std::uint32_t& length) override {
        EXPECT_EQ(length, 16u);
        if (Fails()) return false;
        std::strncpy(text, computerName.c_str(), length);
        return true;
    }
    std::unique_ptr<LumPalMscs::Api_i> MakeApi(const std::vector<LumPalMscs::Function_t>& functions) override {
        EXPECT_EQ(functions.size(), 23u);
        return std::make_unique<Api>(*this);
    }

    /// A list of properties as the system lays it out: everything at multiples of four bytes, and more than one value
    /// of some names.
    static std::string Properties(const std::vector<std::pair<std::u16string, std::u16string>>& texts) {
        std::string list;
        AddNumber(list, static_cast<std::uint32_t>(texts.size() + 2));
        AddEntry(list, 0x00040003, Bytes(u"Flags"));
        AddEntry(list, 0x00010002, std::string("\1\0\0\0", 4));
        AddNumber(list, 0);
        AddEntry(list, 0x00040003, Bytes(u"Odd"));
        AddEntry(list, 0x00010001, "abc");
        AddEntry(list, 0x00010008, Bytes(u"second value"));
        AddNumber(list, 0);
        for (const auto& [property, value] : texts) {
            AddEntry(list, 0x00040003, Bytes(property));
            AddEntry(list, 0x00010003, Bytes(value));
            AddNumber(list, 0);
        }
        return list;
    }

private:
    struct Thing {
        std::string kind;
        const void* of;
    };

    static std::string Bytes(const std::u16string& text) {
        return {reinterpret_cast<const char*>(text.c_str()), (text.size() + 1) * 2};
    }
    static void AddNumber(std::string& list, std::uint32_t number) {
        list.append(reinterpret_cast<const char*>(&number), sizeof number);
    }
    static void AddEntry(std::string& list, std::uint32_t syntax, const std::string& data) {
        AddNumber(list, syntax);
        AddNumber(list, static_cast<std::uint32_t>(data.size()));
        list += data;
        list.resize((list.size() + 3) / 4 * 4);
    }

    bool Fails() { return ++calls == failAt; }
    Handle Open(const std::string& kind, const void* of) {
        Handle handle = reinterpret_cast<Handle>(++last * 16);
        things[handle] = {kind, of};
        return handle;
    }
    bool Close(const std::string& kind, Handle handle) {
        EXPECT_EQ(things.count(handle), 1u) << kind;
        EXPECT_EQ(things[handle].kind, kind);
        return things.erase(handle) == 1;
    }
    template <class T>
    const T& Of(const std::string& kind, Handle handle) {
        EXPECT_EQ(things[handle].kind, kind);
        return *static_cast<const T*>(things[handle].of);
    }
    void* Take(std::size_t bytes) {
        auto taken = std::make_unique<char[]>(bytes);
        void* const address = taken.get();
        memory[address] = std::move(taken);
        return address;
    }
    std::uint32_t Give(const std::u16string& text, char16_t* room, std::uint32_t& length) {
        const std::uint32_t had = length, needed = static_cast<std::uint32_t>(text.size());
        length = needed + (countsNul ? 1 : 0);
        if (!room) return nullSucceeds ? 0 : 234;
        if (had <= needed) return 234;
        std::memcpy(room, text.c_str(), (text.size() + 1) * 2);
        return 0;
    }

    class Api : public LumPalMscs::Api_i {
    public:
        explicit Api(MscsMemory& all) : all(all) {}
        Handle OpenCluster(const char16_t* name) override {
            EXPECT_EQ(name, nullptr);
            return all.Fails() || !all.isRunning ? nullptr : all.Open("cluster", &all);
        }
        bool CloseCluster(Handle cluster) override { return all.Close("cluster", cluster) && !all.Fails(); }
        std::uint32_t GetClusterInformation(Handle cluster, char16_t* text, std::uint32_t& length) override {
            all.Of<MscsMemory>("cluster", cluster);
            return all.Fails() ? 5 : all.Give(all.name, text, length);
        }
        Handle ClusterOpenEnum(Handle cluster, std::uint32_t type) override {
            all.Of<MscsMemory>("cluster", cluster);
            EXPECT_TRUE(type == 1 || type == 8);
            return all.Fails() ? nullptr : all.Open(type == 1 ? "nodes" : "groups", &all);
        }
        std::uint32_t ClusterEnum(Handle list, std::uint32_t index, std::uint32_t&, char16_t* text,
                                  std::uint32_t& length) override {
            return all.things[list].kind == "nodes" ? Entry(all.nodes, index, text, length)
                                                    : Entry(all.groups, index, text, length);
        }
        std::uint32_t ClusterCloseEnum(Handle list) override {
            all.Close(all.things[list].kind, list);
            return 0;
        }
        Handle OpenClusterNode(Handle cluster, const char16_t* name) override {
            all.Of<MscsMemory>("cluster", cluster);
            return OpenNamed("node", all.nodes, name);
        }
        std::uint32_t GetClusterNodeId(Handle node, char16_t* text, std::uint32_t& length) override {
            return all.Fails() ? 5 : all.Give(all.Of<Node>("node", node).id, text, length);
        }
        std::int32_t GetClusterNodeState(Handle node) override {
            return all.Fails() ? -1 : all.Of<Node>("node", node).state;
        }
        bool CloseClusterNode(Handle node) override { return all.Close("node", node); }
        Handle OpenClusterGroup(Handle cluster, const char16_t* name) override {
            all.Of<MscsMemory>("cluster", cluster);
            return OpenNamed("group", all.groups, name);
        }
        std::int32_t GetClusterGroupState(Handle group, char16_t* text, std::uint32_t& length) override {
            const Group& of = all.Of<Group>("group", group);
            if (all.Fails()) return -1;
            return all.Give(of.owner, text, length) == 0 ? of.state : -1;
        }
        Handle ClusterGroupOpenEnum(Handle group, std::uint32_t type) override {
            EXPECT_EQ(type, 1u);
            return all.Fails() ? nullptr : all.Open("resources", &all.Of<Group>("group", group));
        }
        std::uint32_t ClusterGroupEnum(Handle list, std::uint32_t index, std::uint32_t&, char16_t* text,
                                       std::uint32_t& length) override {
            return Entry(all.Of<Group>("resources", list).resources, index, text, length);
        }
        std::uint32_t ClusterGroupCloseEnum(Handle list) override {
            all.Close("resources", list);
            return 0;
        }
        bool CloseClusterGroup(Handle group) override { return all.Close("group", group); }
        Handle OpenClusterResource(Handle cluster, const char16_t* name) override {
            all.Of<MscsMemory>("cluster", cluster);
            if (all.Fails()) return nullptr;
            for (const Group& group : all.groups) {
                for (const Resource& resource : group.resources) {
                    if (resource.name == name) return resource.canBeOpened ? all.Open("resource", &resource) : nullptr;
                }
            }
            return nullptr;
        }
        std::uint32_t ClusterResourceControl(Handle handle, std::uint32_t code, void* answer, std::uint32_t size,
                                             std::uint32_t& returned) override {
            const Resource& resource = all.Of<Resource>("resource", handle);
            EXPECT_TRUE(code == 0x1000059 || code == 0x1000081);
            if (all.Fails()) return 5;
            const std::string list = code == 0x1000059
                                         ? Properties({{u"Name", resource.name}, {u"Type", resource.type}})
                                         : Properties({{u"Network", u"lan"}, {u"Address", resource.address}});
            returned = static_cast<std::uint32_t>(list.size());
            if (size < list.size()) return 234;
            std::memcpy(answer, list.data(), list.size());
            return 0;
        }
        std::uint32_t ResUtilFindSzProperty(const void* list, std::uint32_t size, const char16_t* name,
                                            char16_t*& value) override {
            if (all.Fails()) return 5;
            const std::string bytes(static_cast<const char*>(list), size);
            std::string entry;
            for (std::size_t at = 4; at + 8 <= bytes.size();) {
                const bool isWanted = Read(bytes, at, entry) && entry == Bytes(name);
                if (isWanted && Read(bytes, at, entry)) {
                    value = static_cast<char16_t*>(all.Take(entry.size()));
                    std::memcpy(value, entry.data(), entry.size());
                    return 0;
                }
                while (Read(bytes, at, entry)) {
                }
            }
            return 2;
        }
        bool CloseClusterResource(Handle resource) override { return all.Close("resource", resource); }
        Handle ClusterResourceOpenEnum(Handle resource, std::uint32_t type) override {
            EXPECT_EQ(type, 4u);
            return all.Fails() ? nullptr : all.Open("owners", &all.Of<Resource>("resource", resource));
        }
        std::uint32_t ClusterResourceEnum(Handle list, std::uint32_t index, std::uint32_t&, char16_t* text,
                                          std::uint32_t& length) override {
            const Resource& resource = all.Of<Resource>("owners", list);
            if (all.Fails()) return 5;
            return index < resource.nodes.size() ? all.Give(resource.nodes[index], text, length) : 259;
        }
        std::uint32_t ClusterResourceCloseEnum(Handle list) override {
            all.Close("owners", list);
            return 0;
        }

    private:
        /// The next entry; false at an end mark, which is passed.
        static bool Read(const std::string& bytes, std::size_t& at, std::string& entry) {
            std::uint32_t syntax = 0, length = 0;
            std::memcpy(&syntax, bytes.data() + at, 4);
            at += 4;
            if (syntax == 0) return false;
            std::memcpy(&length, bytes.data() + at, 4);
            entry = bytes.substr(at + 4, length);
            at += 4 + (length + 3) / 4 * 4;
            return true;
        }
        template <class T>
        std::uint32_t Entry(const std::vector<T>& items, std::uint32_t index, char16_t* text, std::uint32_t& length) {
            if (all.Fails()) return 5;
            return index < items.size() ? all.Give(items[index].name, text, length) : 259;
        }
        template <class T>
        Handle OpenNamed(const std::string& kind, const std::vector<T>& items, const char16_t* name) {
            if (all.Fails()) return nullptr;
            for (const T& item : items) {
                if (item.name == name) return all.Open(kind, &item);
            }
            return nullptr;
        }

        MscsMemory& all;
    };

    std::map<Handle, Thing> things;
    std::map<void*, std::unique_ptr<char[]>> memory;
    std::uintptr_t last = 0;
};
