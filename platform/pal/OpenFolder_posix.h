/// @file
/// An open folder as the system has it.
#pragma once

#include <memory>
#include <string>

#include "Descriptor_posix.h"
#include "LumPalIo.h"

namespace LumPalIo {

/// The descriptor of a folder and the path under which it was opened. Constant after construction.
class OpenFolder {
public:
    /// Does not follow a link in the place of the last name. @throws as Folder_t
    explicit OpenFolder(const LumPalStr::String_t& path);
    int Get() const noexcept { return descriptor.Get(); }
    const LumPalStr::String_t& Path() const noexcept { return path; }
    /// The path of an entry. @param name  native
    LumPalStr::String_t PathOf(const char* name) const;

private:
    LumPalStr::String_t path;
    LumPal::Descriptor descriptor;
};

/// The streams of Folder_t::Open and Create. @param name  native, a single one
std::shared_ptr<InputStream_t::Impl> OpenToRead(const OpenFolder& folder, const char* name);
std::shared_ptr<OutputStream_t::Impl> CreateToWrite(const OpenFolder& folder, const char* name);

}  // namespace LumPalIo
