// File_t of LumPalIo.h: what looks at the path alone.
#include "LumPalIo.h"

// What can be told from the text of a path alone.
namespace LumPalIo {
namespace {

using LumPalStr::NotFound;
using LumPalStr::String_t;

bool IsSeparator(char16_t unit) {
#if defined(_WIN32)
    return unit == u'/' || unit == u'\\';
#else
    return unit == u'/';
#endif
}

/// The path up to the end of its last name: without separators at its end, but for the root's own.
std::uint32_t EndOfName(std::u16string_view path) {
    auto end = static_cast<std::uint32_t>(path.size());
    while (end > 1 && IsSeparator(path[end - 1])) --end;
    return end;
}

/// Where the last name begins; 0 when the path is one name.
std::uint32_t StartOfName(std::u16string_view path) {
    std::uint32_t start = EndOfName(path);
    while (start > 0 && !IsSeparator(path[start - 1])) --start;
    return start;
}

String_t Join(const String_t& directory, const String_t& name) {
    if (directory.IsEmpty()) return name;
    if (name.IsEmpty()) return directory;
    const bool ends = IsSeparator(directory.LastChar());
    const bool begins = IsSeparator(name.GetAt(0));
    if (ends && begins) return directory + name.Mid(1);
    String_t path;
    path.Reserve(directory.GetLength() + name.GetLength() + 1);
    path.Append(directory);
    if (!ends && !begins) path.Append(File_t::Separator());
    return path.Append(name);
}

}  // namespace

File_t::File_t(const String_t& path) : path(path) {}
File_t::File_t(const char* path) : path(path) {}
File_t::File_t(const String_t& directory, const String_t& name) : path(Join(directory, name)) {}
File_t::File_t(const File_t& directory, const String_t& name) : path(Join(directory.path, name)) {}

String_t File_t::GetName() const {
    return path.Mid(StartOfName(path.View()), EndOfName(path.View()));
}

String_t File_t::GetParent() const {
    const std::uint32_t start = StartOfName(path.View());
    if (start == 0 || start == EndOfName(path.View())) return String_t::Null();
    const String_t directory = path.Left(start);
    return directory.Left(EndOfName(directory.View()));
}

File_t File_t::GetParentFile() const {
    return File_t(GetParent());
}
String_t File_t::ToString() const {
    return path;
}
bool File_t::IsNull() const noexcept {
    return path.IsNull();
}
bool File_t::IsNotNull() const noexcept {
    return path.IsNotNull();
}

const String_t& File_t::Separator() {
#if defined(_WIN32)
    constexpr const char* character = "\\";
#else
    constexpr const char* character = "/";
#endif
    static const String_t& separator = *new String_t(character);  // never destroyed: threads may outlive it
    return separator;
}

}  // namespace LumPalIo
