#include "StorePaths.h"

#include <initializer_list>

#include "LumPalRuntime.h"
#include "Names.h"

namespace LumConf::paths {

namespace {

using LumPalIo::File_t;
using LumPalRuntime::Dir_t;
using LumPalStr::String_t;

String_t Below(std::initializer_list<const char*> folders) {
    String_t path = "";
    for (const char* folder : folders) {
        if (path.IsNotEmpty()) path += File_t::Separator();
        path += folder;
    }
    return path;
}

String_t WithoutLastSeparator(const String_t& path) {
    return path.Left(path.GetLength() - File_t::Separator().GetLength());
}

}  // namespace

File_t PolicyInstallDirectory() {
    return File_t(Dir_t::Path(LumPalRuntime::Policies));
}

File_t BaseDirectory() {
    return File_t(Dir_t::Path(LumPalRuntime::Root, Below({"conf", "conf"})));
}

// Kept: of all directories this one bears no separator at its end.
File_t TemporaryDirectory() {
    return File_t(WithoutLastSeparator(Dir_t::Path(LumPalRuntime::Temp, "conf_tmp")));
}

File_t IncomingDirectory() {
    return File_t(Dir_t::Path(LumPalRuntime::Spool, Below({"incoming", "files", "conf_tmp"})));
}

File_t ChangeRecordFile() {
    return File_t(Dir_t::Path(LumPalRuntime::Spool), names::ChangeRecordFile);
}

File_t SettingsDirectory() {
    return File_t(Dir_t::Path(LumPalRuntime::Etc, Below({"pal", "config"})));
}

File_t SettingsFile() {
    return File_t(SettingsDirectory(), names::SettingsFile);
}

File_t NewSettingsFile() {
    return File_t(SettingsDirectory(), names::NewSettingsFile);
}

File_t ApplicationListFile() {
    return File_t(BaseDirectory(), names::ApplicationListFile);
}

File_t ApplicationFile(const String_t& name) {
    return File_t(Dir_t::Path(LumPalRuntime::Root, Below({"bin", "instrumentation", "conf"})),
                  name + names::ApplicationFileSuffix);
}

File_t OtherApplicationFile(const String_t& name) {
    return File_t(Dir_t::Path(LumPalRuntime::Root, Below({"bin", "instrumentation"})),
                  name + names::ApplicationFileSuffix);
}

String_t AuditLogDirectory() {
    return Dir_t::Path(LumPalRuntime::LogDir);
}

}  // namespace LumConf::paths
