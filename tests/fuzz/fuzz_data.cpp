// Any bytes: texts, numbers and lines are read until the stream ends, and what was read as a text is written as
// the same bytes. UTF-8 text that was decoded encodes and decodes as the same text.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "LumPalIo.h"

namespace {

using LumPalArray::CharArray_t;
using LumPalIo::CharArrayInputStream_t;
using LumPalStr::String_t;

void ReadTexts(const CharArray_t& input) {
    LumPalIo::CharArrayOutputStream_t copy;
    LumPalIo::DataOutputStream_t out(copy);
    try {
        LumPalIo::DataInputStream_t in(CharArrayInputStream_t::Over(input));
        while (true) out.WriteUTF16String(in.ReadUTF16String());
    } catch (const LumPalIo::IOException_t&) {
    }
    if (!input.View().starts_with(copy.ToCharArray().View())) std::abort();
}

std::size_t CountLines(const CharArray_t& input) {
    LumPalIo::DataInputStream_t in(CharArrayInputStream_t::Over(input));
    std::size_t lines = 0;
    try {
        for (;; ++lines) in.ReadLine();
    } catch (const LumPalIo::EOFException_t&) {
    }
    return lines;
}

void ReadAsUtf8(const CharArray_t& input) {
    const String_t text = String_t::FromUtf8(input.View());
    if (text != String_t::FromUtf8(text.ToUtf8())) std::abort();
    if (LumPalStr::Compare(text, text, true) != 0 || text.Find(text, 0, LumPalStr::NotFound, true) != 0) std::abort();
    text.ToLower();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const CharArray_t input(reinterpret_cast<const char*>(data), size);
    ReadTexts(input);
    std::size_t feeds = 0;
    for (const char byte : input.View()) feeds += byte == '\n';
    const bool open = !input.IsEmpty() && input[size - 1] != '\n';
    if (CountLines(input) != feeds + open) std::abort();
    ReadAsUtf8(input);
    return 0;
}
