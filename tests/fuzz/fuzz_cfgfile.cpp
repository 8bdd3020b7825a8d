// Any bytes: the reader ends with a group or with SyntaxException_t; a group that was written reads as the
// same group and is written as the same bytes.
#include <cstdint>
#include <cstdlib>

#include "LumPalCfgFile.h"

namespace {

LumPalArray::CharArray_t Written(const LumPalConfig::ConfigGroup_t& group) {
    LumPalIo::CharArrayOutputStream_t stream;
    LumPalCfgFile::ConfigWriter_t::Write(stream, group);
    return stream.ToCharArray();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const LumPalArray::CharArray_t input(reinterpret_cast<const char*>(data), size);
    LumPalConfig::ConfigGroup_t group, back;
    try {
        LumPalCfgFile::ConfigReader_t::Load(LumPalIo::CharArrayInputStream_t::Over(input), group);
    } catch (const LumPalCfgFile::SyntaxException_t&) {
        return 0;
    }
    const LumPalArray::CharArray_t first = Written(group);
    LumPalCfgFile::ConfigReader_t::Load(LumPalIo::CharArrayInputStream_t::Over(first), back);
    if (!(Written(back) == first) || back.GetConfigCount() != group.GetConfigCount()) std::abort();
    return 0;
}
