// LumPalRegistry.h by the registry of the system.
#include <windows.h>

#include "LumPalPtr.h"
#include "LumPalRegistry.h"

namespace LumPalRegistry {

namespace {

class Key : public Key_i {
public:
    Error_t Open(const char* path) {
        return static_cast<Error_t>(
            RegOpenKeyExA(HKEY_LOCAL_MACHINE, path, 0, KEY_QUERY_VALUE, reinterpret_cast<HKEY*>(handle.Receive())));
    }
    Error_t Query(const char* name, char* bytes, std::size_t& size) override {
        DWORD count = static_cast<DWORD>(size);
        const LSTATUS result = RegQueryValueExA(static_cast<HKEY>(handle.Get()), name, nullptr, nullptr,
                                                reinterpret_cast<BYTE*>(bytes), &count);
        size = count;
        return static_cast<Error_t>(result);
    }

private:
    LumPalPtr::AutoWin32RegKeyHandle_t handle;
};

class Machine : public Registry_i {
public:
    std::unique_ptr<Key_i> Open(const char* path, Error_t& error) override {
        auto key = std::make_unique<Key>();
        error = key->Open(path);
        if (error != Success) return nullptr;
        return key;
    }
};

}  // namespace

Registry_i& LocalMachine() {
    static Machine machine;
    return machine;
}

}  // namespace LumPalRegistry
