// Any text: an address is refused or taken apart into parts that are free of what a request must not
// carry; a command line is refused or split into words without NUL.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "CommandLine.h"
#include "LumPalMsg.h"
#include "LumPalNet.h"

namespace {

void CheckUri(const LumPalStr::String_t& text) {
    try {
        const LumPalNet::URI_t uri(text);
        if (uri.GetHost().IsEmpty() || uri.GetPort() > 65535) std::abort();
        for (const char16_t unit : uri.ToString().View()) {
            if (unit <= u' ' || unit >= 0x7F) std::abort();
        }
    } catch (const LumPalMsg::IllegalArgumentError_t&) {
    }
}

void CheckWords(const LumPalStr::String_t& text) {
    try {
        for (const std::string& word : LumPalCmd::SplitWords(text)) {
            if (word.find('\0') != word.npos || word.find('"') != word.npos) std::abort();
        }
    } catch (const LumPalMsg::IllegalArgumentError_t&) {
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto text = LumPalStr::String_t::FromUtf8({reinterpret_cast<const char*>(data), size});
    CheckUri(text);
    CheckWords(text);
    return 0;
}
