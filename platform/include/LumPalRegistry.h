/// @file
/// The registry of Windows, as far as it is asked; elsewhere there is none, and only tests implement it.
#pragma once

#include <cstddef>
#include <memory>

#include "LumPalExport.h"

namespace LumPalRegistry {

/// The system's number of an error.
using Error_t = unsigned;
inline constexpr Error_t Success = 0;
inline constexpr Error_t MoreData = 234;

/// An open key; closed when it goes. One thread at a time.
class LUMPAL_API Key_i {
public:
    virtual ~Key_i();
    /// Reads a value of ASCII text.
    /// @param bytes  null: only the size is asked for
    /// @param size  in: of the buffer, out: of the value, its NUL counted
    virtual Error_t Query(const char* name, char* bytes, std::size_t& size) = 0;
};

/// One tree of keys. Any thread.
class LUMPAL_API Registry_i {
public:
    virtual ~Registry_i();
    /// Opens a key to query its values; null, and the error's number, when it cannot be opened.
    virtual std::unique_ptr<Key_i> Open(const char* path, Error_t& error) = 0;
};

#if defined(_WIN32)
/// HKEY_LOCAL_MACHINE.
LUMPAL_API Registry_i& LocalMachine();
#endif

}  // namespace LumPalRegistry
