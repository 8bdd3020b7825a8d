#include "MissingDataFiles.h"

#include "LumPalIo.h"
#include "LumPalLog.h"
#include "Messages.h"
#include "PlainName.h"
#include "PolicyContainerImpl.h"
#include "StorePaths.h"
#include "Trace.h"

namespace LumConf {
namespace {

using LumPalIo::File_t;
using LumPalIo::Folder_t;
using LumPalStr::String_t;

File_t FolderOf(const String_t& typeName) {
    return File_t(paths::PolicyInstallDirectory(), typeName);
}

bool IsThere(const Folder_t& folder, const String_t& name) {
    if (!IsPlainName(name)) return false;
    const Folder_t::Entry entry = folder.Look(name);
    return entry == Folder_t::Entry::File || entry == Folder_t::Entry::Linked;
}

std::vector<String_t> NotIn(const Folder_t& folder, const std::vector<String_t>& names) {
    std::vector<String_t> missing;
    for (const String_t& name : names) {
        if (!IsThere(folder, name)) missing.push_back(name);
    }
    return missing;
}

/// A folder that the store never follows holds nothing. Of one that stands there and cannot be looked into nothing is
/// known. One at a time is open: there may be more types than descriptors.
std::vector<String_t> FindMissing(const PolicyHeaderImpl& header) {
    const std::vector<String_t> names = header.GetDataFileNames();
    const String_t typeName = header.GetTypeName();
    if (names.empty()) return {};
    if (!IsPlainName(typeName) || FolderOf(typeName).IsSymbolicLink()) return names;
    try {
        return NotIn(Folder_t(FolderOf(typeName)), names);
    } catch (const LumPalIo::FileNotFoundException_t&) {
        return names;
    } catch (const LumPalIo::IOException_t& e) {
        LUMCONF_TRACE(trace::Policy, String_t(e.GetMessageList()));
        return {};
    }
}

void LogMissing(const PolicyHeaderImpl& header, const std::vector<String_t>& missing) {
    const String_t path = File_t(FolderOf(header.GetTypeName()), Shown(missing.front())).GetAbsolutePath();
    const String_t name = Shown(header.GetName()), id = header.GetContainerId();
    const int others = static_cast<int>(missing.size()) - 1;
    LumPalLog::Log(others == 0 ? Make(msg::DataFileNotThere, path, name, id)
                               : Make(msg::DataFilesNotThere, path, name, id, others));
}

}  // namespace

void MissingDataFiles::Mark(const PolicyContainerImpl& loaded) {
    for (int i = 0; i < loaded.GetCount(); ++i) {
        const PolicyContainerImpl::HeaderPtr header = loaded.GetPolicyHeader(i);
        const std::vector<String_t> missing = FindMissing(*header);
        if (missing.empty()) continue;
        for (const String_t& file : missing) header->AddMissingDataFile(file);
        LogMissing(*header, missing);
    }
}

}  // namespace LumConf
