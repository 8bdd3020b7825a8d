// DirLister_t of LumPalIo.h.
#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <utility>
#include <vector>

#include "LumPalIo.h"
#include "NativePath_posix.h"
#include "SystemError.h"

namespace LumPalIo {
namespace {

using LumPalStr::String_t;

struct CloseDirectory {
    void operator()(DIR* directory) const { closedir(directory); }
};
using Directory = std::unique_ptr<DIR, CloseDirectory>;

Directory Open(const String_t& path) {
    const NativePath native(path);
    if (!native.IsUsable()) ThrowSystemError("Cannot list directory", path, native.GetError());
    Directory directory(opendir(native.CStr()));
    if (!directory) ThrowSystemError("Cannot list directory", path, errno);
    return directory;
}

bool IsSelfOrParent(std::string_view name) {
    return name == "." || name == "..";
}

std::vector<String_t> List(const String_t& path, const DirLister_t::Filter_t* filter) {
    const Directory directory = Open(path);
    std::vector<String_t> names;
    errno = 0;
    while (const dirent* entry = readdir(directory.get())) {
        const String_t name = PathFromNative(entry->d_name);
        if (!IsSelfOrParent(entry->d_name) && (!filter || filter->Accept(name))) names.push_back(name);
        errno = 0;
    }
    if (errno != 0) ThrowSystemError("Cannot list directory", path, errno);
    return names;
}

class SuffixFilter : public DirLister_t::Filter_t {
public:
    explicit SuffixFilter(const String_t& suffix) : suffix(suffix) {}
    bool Accept(const String_t& name) const override { return name.View().ends_with(suffix.View()); }

private:
    String_t suffix;
};

}  // namespace

struct DirLister_t::Impl {
    File_t directory;
    std::vector<String_t> names;
    /// Number of calls of Next so far, but no further than one beyond the last name.
    std::size_t steps = 0;
};

DirLister_t::Filter_t::~Filter_t() = default;

std::shared_ptr<DirLister_t::Filter_t> DirLister_t::Filter_t::Suffix(const String_t& text) {
    return std::make_shared<SuffixFilter>(text);
}

DirLister_t::DirLister_t(const File_t& directory) : DirLister_t(directory, nullptr) {}

DirLister_t::DirLister_t(const File_t& directory, std::shared_ptr<Filter_t> filter)
    : impl(std::make_shared<Impl>(Impl{directory, List(directory.ToString(), filter.get())})) {}

bool DirLister_t::Next() {
    if (impl->steps <= impl->names.size()) ++impl->steps;
    return !IsAtEnd();
}

bool DirLister_t::IsAtEnd() const {
    return impl->names.empty() || impl->steps > impl->names.size();
}

File_t DirLister_t::GetCurrentFile() const {
    if (impl->steps == 0 || IsAtEnd()) {
        throw LumPalMsg::IllegalStateError_t(LumPalMsg::CreateError_t("The listing of '%1' stands at no file.")
                                             << impl->directory.ToString());
    }
    return File_t(impl->directory, impl->names[impl->steps - 1]);
}

}  // namespace LumPalIo
