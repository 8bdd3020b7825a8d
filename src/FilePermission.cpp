#include "FilePermission.h"

#include "Messages.h"

namespace LumConf {

using LumPalIo::File_t;

namespace {

File_t FolderOf(const File_t& file) {
    return File_t(file.GetAbsolutePath()).GetParentFile();
}

}  // namespace

unsigned FilePermissionSet::GetMode() const {
    if (!isSet) Raise<LumPalMsg::IllegalStateError_t>(msg::PermissionsNotSet);
    return mode;
}

void FilePermission::SetFile(const File_t& newFile) {
    if (newFile.IsNull()) Raise<LumPalMsg::IllegalStateError_t>(msg::PermissionFileEmpty);
    file = newFile;
    hasFile = true;
}

bool FilePermission::Apply(const FilePermissionSet& permissions) {
    if (!hasFile) return false;
    hasFile = false;
    if (!permissions.IsSet()) return false;
    try {
        // By the open folder: a link put into the store must not open up a file outside of it, nor must a second name.
        LumPalIo::Folder_t(FolderOf(file)).SetMode(file.GetName(), permissions.GetMode());
    } catch (const LumPalIo::IOException_t&) {
    }
    return true;
}

void FilePermission::Apply(const File_t& file, const FilePermissionSet& permissions) {
    FilePermission permission;
    permission.SetFile(file);
    permission.Apply(permissions);
}

}  // namespace LumConf
