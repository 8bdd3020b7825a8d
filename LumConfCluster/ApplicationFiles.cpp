#include "LumConfCluster/ApplicationFiles.h"

#include "Names.h"
#include "PlainName.h"
#include "StorePaths.h"

namespace LumConfCluster {

using namespace LumConf;
using LumPalIo::File_t;
using LumPalStr::String_t;

bool CanHaveApplicationFile(const String_t& application) {
    static const std::uint32_t suffixBytes = String_t(names::ApplicationFileSuffix).GetLength();
    return application.IsEmpty() || IsPlainName(application, suffixBytes);
}

File_t FindApplicationFile(const String_t& application) {
    if (!CanHaveApplicationFile(application)) return File_t();
    for (const File_t& file : {paths::ApplicationFile(application), paths::OtherApplicationFile(application)}) {
        if (file.Exists()) return file;
    }
    return File_t();
}

}  // namespace LumConfCluster
