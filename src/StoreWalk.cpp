#include "StoreWalk.h"

#include <algorithm>

#include "Directory.h"
#include "Names.h"
#include "PlainName.h"
#include "StorePaths.h"
#include "Trace.h"

namespace LumConf {

using LumPalIo::File_t;
using LumPalStr::String_t;

namespace {

bool IsPassedOver(const File_t& file) {
    if (!file.IsSymbolicLink()) return false;
    LUMCONF_TRACE(trace::Policy, String_t("Passed over, since it is a symbolic link: ") + file.ToString());
    return true;
}

}  // namespace

std::vector<File_t> StoreWalk::AllEntries() {
    std::vector<File_t> entries;
    for (LumPalIo::DirLister_t lister(paths::PolicyInstallDirectory()); lister.Next();) {
        const File_t entry = lister.GetCurrentFile();
        if (!IsPassedOver(entry)) entries.push_back(entry);
    }
    const auto byName = [](const File_t& a, const File_t& b) { return a.GetName() < b.GetName(); };
    std::sort(entries.begin(), entries.end(), byName);
    return entries;
}

std::vector<File_t> StoreWalk::EntryOf(const String_t& typeName) {
    if (!IsPlainName(typeName)) return {};
    const File_t entry(paths::PolicyInstallDirectory(), typeName);
    if (IsPassedOver(entry)) return {};
    return {entry};
}

std::vector<File_t> StoreWalk::HeaderFiles(const File_t& entry) {
    const Directory directory;
    directory.ExtractPolicyFilenames(entry);
    std::vector<File_t> files;  // links are left out by now
    for (int i = 0; i < directory.GetPolicyFilenameCount(); ++i) {
        files.push_back(directory.GetPolicyFilename(i));
    }
    return files;
}

std::vector<File_t> StoreWalk::HeaderFileOf(const File_t& entry, const String_t& id) {
    const String_t name = id + names::HeaderFileSuffix;
    if (!entry.IsDirectory()) {
        if (entry.GetName() != name) return {};
        return HeaderFiles(entry);
    }
    if (!IsPlainName(name)) return {};
    const File_t file(entry, name);
    if (!file.Exists() || IsPassedOver(file)) return {};
    return {file};
}

}  // namespace LumConf
