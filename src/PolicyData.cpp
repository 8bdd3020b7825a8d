#include "PolicyData.h"

#include "LumSecCore.h"
#include "Messages.h"
#include "PlainName.h"
#include "StorePaths.h"

namespace LumConf {

using LumPalArray::CharArray_t;
using LumPalIo::File_t;

namespace {

/// The file of an installed policy. A name that would leave the type's folder, and a link, name no data file.
File_t DataFileOf(const PolicyHeaderImpl& header, int index) {
    const LumPalStr::String_t typeName = header.GetTypeName();
    const LumPalStr::String_t name = header.GetDataFile(index);
    const File_t file(File_t(paths::PolicyInstallDirectory(), typeName), name);
    const bool plain = IsPlainName(typeName) && IsPlainName(name);
    if (!plain || !file.Exists() || file.IsSymbolicLink())
        Raise<LumPalIo::FileNotFoundException_t>(msg::DataFileDoesNotExist, file.GetAbsolutePath());
    return file;
}

CharArray_t ReadWhole(const File_t& file) {
    constexpr std::size_t blockSize = 8192;
    LumPalIo::BufferedInputStream_t input{LumPalIo::FileInputStream_t(file)};
    LumPalIo::CharArrayOutputStream_t content(static_cast<std::size_t>(file.GetSize()));
    CharArray_t block(blockSize);
    for (std::int64_t count = input.Read(block, 0, blockSize); count != -1; count = input.Read(block, 0, blockSize))
        content.Write(block, 0, static_cast<std::size_t>(count));
    input.Close();
    return content.TakeCharArray();
}

CharArray_t ReadDataFile(const File_t& file) {
    try {
        return ReadWhole(file);
    } catch (const LumPalIo::FileNotFoundException_t& e) {
        throw Because<LumPalIo::FileNotFoundException_t>(msg::DataFileDoesNotExist, file.GetAbsolutePath(), e);
    } catch (const LumPalIo::IOException_t& e) {
        throw Because<LumPalIo::IOException_t>(msg::DataFileNotRead, file.GetAbsolutePath(), e);
    }
}

}  // namespace

void PolicyData::Get(const PolicyHeaderImpl& header, int index, CharArray_t&) {
    if (!header.IsDataReadAllowed()) Raise<LumPalMsg::IllegalStateError_t>(msg::ReadingDataNotAllowed);
    const File_t file = DataFileOf(header, index);
    const CharArray_t content = ReadDataFile(file);
    // What was not verified is never handed out.
    Raise<LumSecCore::SecCoreException>(msg::DataNotVerifiable, file.GetAbsolutePath());
}

void PolicyData::Sign(const File_t& headerFile) {
    Raise<LumSecCore::SecCoreException>(msg::DataNotSignable, headerFile.ToString());
}

void PolicyData::Sign(const File_t& headerFile, const CharArray_t&) {
    Raise<LumSecCore::SecCoreException>(msg::DataNotSignable, headerFile.ToString());
}

}  // namespace LumConf
