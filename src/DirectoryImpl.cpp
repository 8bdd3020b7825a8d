#include "DirectoryImpl.h"

#include <algorithm>
#include <utility>

#include "Exceptions.h"
#include "FilePermission.h"
#include "Messages.h"
#include "Names.h"
#include "StorePaths.h"
#include "Trace.h"

namespace LumConf {

using LumPalIo::File_t;
using LumPalMsg::Exception_t;
using LumPalStr::String_t;

namespace {

using Files = std::vector<File_t>;

void TraceMessage(const LumPalMsg::Message_t& message) {
    LUMCONF_TRACE(trace::Policy, message.Format(LumPalMsg::Text | LumPalMsg::Details));
}

void AddUnlessLink(const File_t& file, Files& files) {
    if (file.IsSymbolicLink()) {
        LUMCONF_TRACE(trace::Policy, "passed over, a symbolic link: " + file.ToString());
    } else {
        files.push_back(file);
    }
}

Files ListHeaderFiles(const File_t& directory) {
    Files files;
    LumPalIo::DirLister_t lister(directory, LumPalIo::DirLister_t::Filter_t::Suffix(names::HeaderFileSuffix));
    while (lister.Next()) AddUnlessLink(lister.GetCurrentFile(), files);
    return files;
}

Files CollectHeaderFiles(const File_t& file) {
    if (!file.Exists()) Raise<LumPalIo::FileNotFoundException_t>(msg::PathDoesNotExist, file.ToString());
    if (file.IsDirectory()) return ListHeaderFiles(file);
    if (!DirectoryImpl::IsHeaderFileName(file.GetName())) {
        Raise<LumPalIo::IOException_t>(msg::PathWithoutExtension, file.ToString(), names::HeaderFileSuffix);
    }
    Files files;
    AddUnlessLink(file, files);
    return files;
}

void SortByName(Files& files) {
    std::vector<std::pair<String_t, File_t>> named;
    named.reserve(files.size());
    for (const File_t& file : files) named.emplace_back(file.GetName(), file);
    std::stable_sort(named.begin(), named.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    std::transform(named.begin(), named.end(), files.begin(), [](const auto& entry) { return entry.second; });
}

}  // namespace

void DirectoryImpl::ExtractPolicyFilenames(const File_t& file) {
    filenames.clear();
    try {
        Files files = CollectHeaderFiles(file);
        SortByName(files);
        filenames = std::move(files);
    } catch (const Exception_t& e) {
        TraceMessage(Make(msg::PolicyFilesNotExtracted, file.ToString(), e));
    }
}

File_t DirectoryImpl::GetPolicyFilename(int index) const {
    if (index < 0 || static_cast<std::size_t>(index) >= filenames.size()) {
        Raise<PolicyNotFoundError>(msg::PolicyFilenameIndex, index);
    }
    return filenames[static_cast<std::size_t>(index)];
}

namespace {

void DeleteFilesIn(const File_t& directory) {
    const LumPalIo::Folder_t folder(directory);
    for (LumPalIo::DirLister_t lister(directory); lister.Next();) {
        const String_t name = lister.GetCurrentFile().GetName();
        if (!folder.Delete(name)) LUMCONF_TRACE(trace::Policy, "could not delete " + folder.Path(name).ToString());
    }
}

}  // namespace

void DirectoryImpl::DeleteDirectory(const File_t& directory) {
    if (!directory.Exists() && !directory.IsSymbolicLink()) return;
    try {
        if (!directory.IsSymbolicLink()) DeleteFilesIn(directory);
    } catch (const Exception_t& e) {
        LUMCONF_TRACE(trace::Policy, e.GetMessageList().Format(LumPalMsg::Text | LumPalMsg::Details));
    }
    if (!directory.Delete()) LUMCONF_TRACE(trace::Policy, "could not delete " + directory.ToString());
}

bool DirectoryImpl::MakeDirectory(const File_t& directory) {
    if (directory.Exists()) return true;
    if (directory.Mkdirs()) return true;
    TraceMessage(Make(msg::DirectoryNotCreated, directory.GetAbsolutePath()));
    return false;
}

File_t DirectoryImpl::CreateTemporaryFile() {
    File_t directory = paths::TemporaryDirectory();
    MakeDirectory(directory);
    File_t file = File_t::CreateTempFile(names::TemporaryFilePrefix, directory);
    FilePermission::Apply(file, FilePermissionSet::Writable());
    return file;
}

LumPalIo::FileOutputStream_t DirectoryImpl::OpenTemporaryFile(const File_t& file) {
    const LumPalIo::Folder_t folder(FolderOf(file));
    folder.Delete(file.GetName());
    return folder.Create(file.GetName());
}

bool DirectoryImpl::IsHeaderFileName(const String_t& name) {
    return name.ReverseFind(names::HeaderFileSuffix) != LumPalStr::NotFound;
}

}  // namespace LumConf
