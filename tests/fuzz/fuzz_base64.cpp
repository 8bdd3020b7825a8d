// Any bytes: the decoder ends with bytes or with IOException_t, and what it takes is, but for white space, the
// very text that the encoder makes of its bytes: no two texts stand for the same bytes.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "LumPalIo.h"

namespace {

using LumPalArray::CharArray_t;

CharArray_t Decoded(const CharArray_t& text) {
    LumPalIo::Base64InputStream_t in(LumPalIo::CharArrayInputStream_t::Over(text));
    LumPalIo::CharArrayOutputStream_t out;
    CharArray_t block(61);
    for (std::int64_t got = in.Read(block); got >= 0; got = in.Read(block)) {
        out.Write(block, 0, static_cast<std::size_t>(got));
    }
    return out.TakeCharArray();
}

CharArray_t Encoded(const CharArray_t& bytes) {
    LumPalIo::CharArrayOutputStream_t text;
    LumPalIo::Base64OutputStream_t out(text);
    out.Write(bytes);
    out.Close();
    return text.TakeCharArray();
}

std::string WithoutSpace(const CharArray_t& text) {
    std::string kept;
    for (const char character : text.View()) {
        if (std::string_view(" \t\r\n\v\f").find(character) == std::string_view::npos) kept += character;
    }
    return kept;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const CharArray_t input(reinterpret_cast<const char*>(data), size);
    if (!(Decoded(Encoded(input)) == input)) std::abort();
    try {
        if (Encoded(Decoded(input)).View() != WithoutSpace(input)) std::abort();
    } catch (const LumPalIo::IOException_t&) {
    }
    return 0;
}
