#include "Directory.h"

#include "DirectoryImpl.h"

namespace LumConf {

Directory::Directory() : impl(new DirectoryImpl) {}

Directory::Directory(const Directory& other) = default;

Directory& Directory::operator=(const Directory& other) = default;

Directory::~Directory() = default;

void Directory::ExtractPolicyFilenames(const LumPalIo::File_t& file) const {
    impl->ExtractPolicyFilenames(file);
}

int Directory::GetPolicyFilenameCount() const {
    return impl->GetPolicyFilenameCount();
}

LumPalIo::File_t Directory::GetPolicyFilename(int index) const {
    return impl->GetPolicyFilename(index);
}

}  // namespace LumConf
