#include "PolicyUtil.h"

#include <cstdint>
#include <limits>
#include <vector>

#include "Exceptions.h"
#include "LumPalWhole.h"
#include "Messages.h"
#include "Names.h"
#include "PlainName.h"
#include "PolicyHeaderImpl.h"
#include "PolicyXmlHandler.h"
#include "PolicyXmlParser.h"

namespace LumConf::PolicyUtil {
namespace {

using LumPalIo::CharArrayInputStream_t;
using LumPalIo::CharArrayOutputStream_t;
using LumPalIo::DataOutputStream_t;
using LumPalIo::File_t;
using LumPalIo::InputStream_t;
using LumPalStr::String_t;

constexpr std::size_t kMaxLength = std::numeric_limits<std::int32_t>::max();

// Closes the input. The length is looked at on the way: a device or a file that grows must not fill the memory.
void Collect(InputStream_t& input, const String_t& path, CharArrayOutputStream_t& bytes) {
    LumPalIo::Copy(input, bytes, kMaxLength + 1);
    if (bytes.Size() > kMaxLength) Raise<PolicyFileException>(msg::TransferFileTooLarge, path);
    bytes.Close();
    input.Close();
}

void WriteEntry(const String_t& name, const CharArrayOutputStream_t& bytes, DataOutputStream_t& out) {
    out.WriteUTF16String(name);
    out.WriteInt32(static_cast<std::int32_t>(bytes.Size()));
    bytes.WriteTo(out);
}

PolicyHeader ParseHeader(const CharArrayOutputStream_t& bytes) {
    PolicyXmlHandler handler;
    handler.StartReading();
    PolicyXmlParser::Parse(CharArrayInputStream_t(bytes.ToCharArray()), handler);
    return PolicyHeader(handler.TakeHeader().Get());
}

std::vector<String_t> DataFilesOf(const PolicyHeader& header) {
    std::vector<String_t> files;
    for (const PolicyDataFile& file : header.GetImpl()->Snapshot().dataFiles) files.push_back(file.name);
    return files;
}

}  // namespace

void CheckPolicyFile(const File_t& file) {
    if (file.IsNull()) Raise<PolicyFileException>(msg::PackFileNull);
    if (file.IsDirectory()) Raise<PolicyFileException>(msg::PackFileIsDirectory, file.GetAbsolutePath());
    if (!IsHeaderName(file.GetName())) {
        Raise<PolicyFileException>(msg::PackFileWithoutSuffix, names::HeaderFileSuffix);
    }
    if (!file.Exists()) Raise<LumPalIo::FileNotFoundException_t>(msg::PackFileDoesNotExist, file.GetAbsolutePath());
}

void AddPolicyData(const File_t& directory, const String_t& name, DataOutputStream_t& out) {
    CheckDataFileName(name);
    const String_t path = File_t(directory, name).GetAbsolutePath();
    LumPalIo::FileInputStream_t input(path);
    CharArrayOutputStream_t bytes;
    Collect(input, path, bytes);
    WriteEntry(name, bytes, out);
}

void WritePolicyBlock(const PolicyHeader& header, const File_t& file, DataOutputStream_t& out,
                      const CharArrayOutputStream_t& headerBytes) {
    const std::vector<String_t> dataFiles = DataFilesOf(header);
    CheckDataFileNames(dataFiles);
    out.WriteInt32(static_cast<std::int32_t>(dataFiles.size()) + 1);
    WriteEntry(file.GetName(), headerBytes, out);
    const File_t directory = File_t(file.GetAbsolutePath()).GetParentFile();
    for (const String_t& name : dataFiles) AddPolicyData(directory, name, out);
}

void ReadPolicy(InputStream_t& input, const File_t& file, CharArrayOutputStream_t& target) {
    DataOutputStream_t out(target);
    CharArrayOutputStream_t bytes;
    Collect(input, file.GetAbsolutePath(), bytes);
    try {
        WritePolicyBlock(ParseHeader(bytes), file, out, bytes);
        out.Close();
        target.Close();
    } catch (const LumPalMsg::Exception_t& e) {
        Raise<ConfException>(msg::PackError, file.GetAbsolutePath(), e);
    }
}

LumPalArray::CharArray_t PackPolicyFile(const LumPalIo::File_t& file) {
    LumPalIo::BufferedInputStream_t input{LumPalIo::FileInputStream_t(file.GetAbsolutePath())};
    LumPalIo::CharArrayOutputStream_t target;
    ReadPolicy(input, file, target);
    return target.TakeCharArray();
}

}  // namespace LumConf::PolicyUtil
