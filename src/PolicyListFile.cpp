#include "PolicyListFile.h"

#include <string>
#include <vector>

#include "Exceptions.h"
#include "LumPalLog.h"
#include "LumPalWhole.h"
#include "Messages.h"
#include "StorePaths.h"
#include "StoreWalk.h"

namespace LumConf {

using LumPalIo::File_t;
using LumPalIo::OutputStream_t;
using LumPalStr::String_t;

namespace {

constexpr const char* kSeparator = "\n-------------------------------\n\n";

void WriteText(OutputStream_t& out, const String_t& text) {
    const std::string bytes = text.ToUtf8();  // as the documents that follow
    out.Write(bytes.data(), bytes.size());
}

OutputStream_t Open(const File_t& out) {
    try {
        return LumPalIo::BufferedOutputStream_t(LumPalIo::FileOutputStream_t(out.GetAbsolutePath()));
    } catch (const LumPalIo::FileNotFoundException_t& e) {
        throw Because<LumPalIo::FileNotFoundException_t>(msg::DumpFileNotFound, out.GetAbsolutePath(), e);
    }
}

/// Null when the file cannot be opened, which is logged.
LumPalIo::InputStream_t OpenHeader(const File_t& file) {
    try {
        return LumPalIo::FileInputStream_t(file.GetAbsolutePath());
    } catch (const LumPalIo::IOException_t& e) {
        LumPalLog::Log(Make(msg::DumpFileNotOpened, file.GetAbsolutePath(), e));
        return {};
    }
}

void CopyHeader(const File_t& file, OutputStream_t& out) {
    const LumPalIo::InputStream_t input = OpenHeader(file);
    if (input.IsNotNull()) LumPalIo::Copy(input, out);
}

void WriteSection(const File_t& file, OutputStream_t& out) {
    WriteText(out, Make(msg::DumpHeaderFile, file.GetAbsolutePath()).Format(LumPalMsg::BareText));
    CopyHeader(file, out);
    WriteText(out, kSeparator);
}

std::vector<File_t> EntriesFor(const String_t& typeName) {
    if (!paths::PolicyInstallDirectory().Exists()) return {};
    std::vector<File_t> entries = StoreWalk::AllEntries();
    if (typeName.IsEmpty()) return entries;
    const String_t wanted = typeName.ToLower();
    for (const File_t& entry : entries) {
        if (entry.GetName().ToLower() == wanted) return {entry};
    }
    return {};
}

}  // namespace

void PolicyListFile::Write(const File_t& outFile, const String_t& typeName) {
    OutputStream_t out = Open(outFile);
    WriteText(out, Make(msg::DumpTitle).Format(LumPalMsg::BareText));
    bool found = false;
    for (const File_t& entry : EntriesFor(typeName)) {
        for (const File_t& file : StoreWalk::HeaderFiles(entry)) {
            WriteSection(file, out);
            found = true;
        }
    }
    out.Close();
    if (!found) Raise<NoPoliciesInstalledError>(msg::NoPoliciesInstalled);
}

}  // namespace LumConf
