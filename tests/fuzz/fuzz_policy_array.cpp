// Any bytes: the reader of policies that travel walks the files of an array or of a package, or refuses them. Every
// name it hands out may stand in a folder, and what it read, written again, is the very bytes that it read.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "PlainName.h"
#include "PolicyArrayReader.h"

namespace {

using LumConf::PolicyArrayReader;
using LumConf::TransferCursor;
using LumPalArray::CharArray_t;
using LumPalStr::String_t;

void CheckName(const String_t& name) {
    const std::string text = name.ToUtf8();
    if (text.empty() || text == "." || text == ".." || text.find('/') != text.npos) std::abort();
    for (const char character : text) {
        if (static_cast<unsigned char>(character) < 0x20) std::abort();
    }
    if (!LumConf::IsPlainName(name)) std::abort();
}

/// Walks one policy and writes its files as they came.
int CopyFiles(TransferCursor& cursor, LumPalIo::DataOutputStream_t& out) {
    PolicyArrayReader files(cursor);
    int count = 0;
    for (; files.Next(); ++count) {
        CheckName(files.GetName());
        CharArray_t bytes(files.GetLength());
        if (files.GetLength() > 0 && cursor.Bytes().Read(bytes) != static_cast<std::int64_t>(files.GetLength())) {
            std::abort();  // a length that was granted is there
        }
        out.WriteUTF16String(files.GetName());
        out.WriteInt32(static_cast<std::int32_t>(files.GetLength()));
        out.Write(bytes.GetData(), bytes.GetLength());
    }
    return count;
}

void ReadPolicies(const CharArray_t& input, bool isPackage) {
    TransferCursor cursor(input);
    int policies = isPackage ? cursor.ReadCount(0, PolicyArrayReader::kLeastPolicyBytes) : 1;
    for (; policies > 0; --policies) {
        const std::size_t begin = cursor.GetPosition();
        LumPalIo::CharArrayOutputStream_t copy;
        LumPalIo::DataOutputStream_t out(copy);
        const int files = CopyFiles(cursor, out);
        LumPalIo::CharArrayOutputStream_t whole;
        LumPalIo::DataOutputStream_t head(whole);
        head.WriteInt32(files);
        head.Write(copy.ToCharArray());
        if (cursor.View(begin, cursor.GetPosition()) != whole.ToCharArray().View()) std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const CharArray_t input(reinterpret_cast<const char*>(data), size);
    for (const bool isPackage : {false, true}) {
        try {
            ReadPolicies(input, isPackage);
        } catch (const LumPalMsg::RuntimeException_t&) {
            // refused
        }
    }
    return 0;
}
