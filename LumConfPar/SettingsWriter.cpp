#include "SettingsWriter.h"

#include <cstdint>
#include <optional>

#include "DirectoryImpl.h"
#include "FilePermission.h"
#include "LumPalCfgFile.h"
#include "LumPalDurable.h"
#include "LumPalIo.h"
#include "LumPalWhole.h"
#include "Messages.h"
#include "Names.h"
#include "SettingsPackage.h"
#include "StorePaths.h"
#include "Trace.h"

namespace LumConfPar {

using namespace LumConf;
using LumPalArray::CharArray_t;
using LumPalConfig::ConfigGroup_t;
using LumPalConfig::ConfigUpdate_t;
using LumPalIo::File_t;
using LumPalIo::FileOutputStream_t;
using LumPalIo::IOException_t;
using LumPalStr::String_t;

namespace {

/// Where the update process looks for the settings files of a database.
File_t FolderOf(const String_t& package) {
    const File_t settings = paths::SettingsDirectory();
    return package.IsEmpty() ? settings : File_t(settings, package);
}

void MakeFolder(const File_t& folder) {
    if (DirectoryImpl::MakeDirectory(folder) && folder.IsDirectory()) return;
    Raise<IOException_t>(msg::SettingsFolderNotCreated, folder.GetAbsolutePath());
}

/// What was left in its place goes first, and so does a link, which is never written through.
FileOutputStream_t Open(const File_t& file) {
    using Entry = LumPalIo::Folder_t::Entry;
    try {
        const LumPalIo::Folder_t folder(file.GetParent() + File_t::Separator());
        const Entry there = folder.Look(file.GetName());
        if (there == Entry::File || there == Entry::Linked || there == Entry::SymbolicLink)
            folder.Delete(file.GetName());
        return folder.Create(file.GetName());
    } catch (const IOException_t& e) {
        throw Because<IOException_t>(msg::SettingsFileNotOpened, file.GetAbsolutePath(), e);
    }
}

/// What cannot be deleted must not rest read-only: the next settings are written to the same place.
void Delete(const File_t& file) {
    if (DirectoryImpl::DeleteFile(file)) return;
    FilePermission::Apply(file, FilePermissionSet::Writable());
    LUMCONF_TRACE(trace::Config, "could not delete " + file.GetAbsolutePath());
}

void Write(FileOutputStream_t stream, const File_t& file, const ConfigGroup_t& group) {
    try {
        LumPalCfgFile::ConfigWriter_t::Write(stream, group);
        stream.Close();
    } catch (...) {
        // Half a file must never be taken over.
        Delete(file);
        throw;
    }
}

/// More is not read from any of them.
constexpr std::uint64_t kLargestFile = 64u << 20;

std::optional<CharArray_t> BytesOf(const File_t& file) {
    return LumPalIo::ReadWhole(LumPalIo::FileInputStream_t(file), kLargestFile);
}

bool HaveEqualBytes(const File_t& oldFile, const File_t& newFile) {
    const std::optional<CharArray_t> before = BytesOf(oldFile), after = BytesOf(newFile);
    return before && after && before->View() == after->View();
}

bool AreEqual(const File_t& oldFile, const File_t& newFile) {
    if (!oldFile.Exists()) return false;
    try {
        return HaveEqualBytes(oldFile, newFile);
    } catch (const LumPalMsg::RuntimeException_t& e) {
        LUMCONF_TRACE(trace::Config, Make(msg::SettingsCompareError, oldFile.GetName(), newFile.GetName(), e)
                                         .Format(LumPalMsg::Text | LumPalMsg::Details));
        return false;
    }
}

/// Brings a written file into force, unless it says what is in force already. That is on the disk too, even when the
/// last step that put it there failed.
void Merge(ConfigUpdate_t& update, const File_t& oldFile, const File_t& newFile) {
    if (!AreEqual(oldFile, newFile)) return update.Apply();
    LUMCONF_TRACE(trace::Config,
                  "Policy settings file does not need to be merged (no update trigger neccessary). "
                  "Both policy files are equal.");
    Delete(newFile);
    LumPalIo::Flush(oldFile);
    LumPalIo::Flush(oldFile.GetParentFile());
}

}  // namespace

SettingsWriter::SettingsWriter(const String_t& package, const ConfigGroup_t& group) : package(package), group(group) {}

void SettingsWriter::TestUnused() const {
    if (!initialized) Raise<LumPalMsg::IllegalStateError_t>(msg::SettingsWriterUsed);
}

void SettingsWriter::WriteLocalSettings() {
    TestUnused();
    ConfigUpdate_t update(NotNull(package));
    for (int i = 0; i < group.GetConfigCount(); ++i) update.SetConfig(group.GetConfig(i));
    // An update without changes would take over new policy settings that may be half written.
    if (group.GetConfigCount() > 0) update.Apply();
    initialized = false;
}

void SettingsWriter::WritePolicySettings() {
    TestUnused();
    ConfigUpdate_t update(NotNull(package));
    const File_t folder = FolderOf(package);
    MakeFolder(folder);
    const File_t newFile(folder, names::NewSettingsFile);
    const FileOutputStream_t stream = Open(newFile);
    try {
        Write(stream, newFile, group);
        Merge(update, File_t(folder, names::SettingsFile), newFile);
    } catch (const IOException_t& e) {
        Raise<IOException_t>(msg::SettingsFileNotWritten, newFile.GetAbsolutePath(), e);
    }
    initialized = false;
}

}  // namespace LumConfPar
