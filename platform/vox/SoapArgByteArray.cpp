// SOAPArgByteArray of LumVoxSoap.h.
#include <algorithm>
#include <array>
#include <utility>

#include "LumVoxSoap.h"

namespace LumVoxSoap {
namespace {

using LumPalArray::CharArray_t;
using LumPalStr::String_t;

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr signed char kRefused = -1, kSkipped = -2, kPadding = -3;

constexpr std::array<signed char, 128> MakeValues() {
    std::array<signed char, 128> values{};
    values.fill(kRefused);
    for (int i = 0; i < 64; ++i) values[static_cast<unsigned char>(kAlphabet[i])] = static_cast<signed char>(i);
    for (char space : {' ', '\t', '\r', '\n'}) values[static_cast<unsigned char>(space)] = kSkipped;
    values['='] = kPadding;
    return values;
}
constexpr std::array<signed char, 128> kValues = MakeValues();

/// Three bytes to four units; a rest of one or two bytes is padded.
void EncodeGroup(const unsigned char* bytes, std::size_t count, char16_t* target) {
    const std::uint32_t group = std::uint32_t{bytes[0]} << 16 | (count > 1 ? std::uint32_t{bytes[1]} << 8 : 0u) |
                                (count > 2 ? std::uint32_t{bytes[2]} : 0u);
    target[0] = kAlphabet[group >> 18];
    target[1] = kAlphabet[group >> 12 & 63];
    target[2] = count > 1 ? kAlphabet[group >> 6 & 63] : u'=';
    target[3] = count > 2 ? kAlphabet[group & 63] : u'=';
}

}  // namespace

/// Decodes as the text arrives, so that the text itself is never kept.
struct SOAPArgByteArray::Decoder {
    Decoder(const String_t& name, CharArray_t& target) : name(name), target(target) {}

    void Take(const char16_t* text, std::size_t length) {
        const std::size_t before = target.GetLength();
        target.Resize(before + (length / 4 + 1) * 3);
        out = target.GetData() + before;
        const char16_t* const end = text + length;
        while (text != end) {
            if (pending == 0 && padding == 0) text = TakeWholeGroups(text, end);
            if (text != end) TakeUnit(*text++);
        }
        target.Resize(static_cast<std::size_t>(out - target.GetData()));
    }
    void End() const {
        if (pending != 0) Refuse();
    }

private:
    [[noreturn]] void Refuse() const {
        throw SOAPFormatException(LumPalMsg::CreateError_t("The bytes of the argument '%1' are no base64.") << name);
    }
    static int Value(char16_t unit) { return unit < 128 ? kValues[unit] : kRefused; }

    const char16_t* TakeWholeGroups(const char16_t* text, const char16_t* end) {
        for (; end - text >= 4; text += 4) {
            const int a = Value(text[0]), b = Value(text[1]), c = Value(text[2]), d = Value(text[3]);
            if ((a | b | c | d) < 0) break;
            PutBytes(static_cast<std::uint32_t>(a << 18 | b << 12 | c << 6 | d), 3);
        }
        return text;
    }
    void TakeUnit(char16_t unit) {
        const int value = Value(unit);
        if (value == kSkipped) return;
        if (value == kRefused || ended) Refuse();
        if (value == kPadding) return TakePadding();
        if (padding != 0) Refuse();
        group = group << 6 | static_cast<std::uint32_t>(value);
        if (++pending == 4) Finish(3);
    }
    void TakePadding() {
        if (pending < 2) Refuse();
        group <<= 6;
        ++padding;
        if (++pending < 4) return;
        const std::uint32_t unused = padding == 1 ? 0xFFu : 0xFFFFu;
        if ((group & unused) != 0) Refuse();
        ended = true;
        Finish(3 - padding);
    }
    void Finish(int count) {
        PutBytes(group, count);
        group = 0;
        pending = 0;
    }
    void PutBytes(std::uint32_t value, int count) {
        for (int i = 0; i < count; ++i) *out++ = static_cast<char>(value >> (16 - 8 * i));
    }

    const String_t& name;
    CharArray_t& target;
    char* out = nullptr;
    std::uint32_t group = 0;
    int pending = 0;  ///< units of the group that are there
    int padding = 0;
    bool ended = false;
};

SOAPArgByteArray::SOAPArgByteArray(const String_t& name) : SOAPArg(name) {}
SOAPArgByteArray::SOAPArgByteArray(const String_t& name, CharArray_t array) : SOAPArg(name), value(std::move(array)) {}
SOAPArgByteArray::~SOAPArgByteArray() = default;

CharArray_t SOAPArgByteArray::TakeValue() {
    return std::exchange(value, CharArray_t());
}

void SOAPArgByteArray::WriteContent(LumPalXml::XmlWriter_t& writer) const {
    constexpr std::size_t kGroups = 2048;
    std::array<char16_t, kGroups * 4> piece;
    const auto* bytes = reinterpret_cast<const unsigned char*>(value.GetData());
    for (std::size_t left = value.GetLength(); left > 0;) {
        std::uint32_t used = 0;
        for (; left > 0 && used < piece.size(); used += 4) {
            const std::size_t count = std::min<std::size_t>(left, 3);
            EncodeGroup(bytes, count, piece.data() + used);
            bytes += count;
            left -= count;
        }
        writer.Data(piece.data(), used);
    }
}

String_t SOAPArgByteArray::GetTypeName() const {
    return "xsd:base64Binary";
}

SOAPElement* SOAPArgByteArray::StartElement(const String_t& prefix, const String_t& localName,
                                            const String_t& namespaceUri) {
    RefuseWhenOpen(localName);
    value = CharArray_t();
    decoder = std::make_unique<Decoder>(GetName(), value);
    return SOAPArg::StartElement(prefix, localName, namespaceUri);
}

void SOAPArgByteArray::Characters(const char16_t* text, std::uint32_t start, std::uint32_t length) {
    if (decoder) decoder->Take(text + start, length);
}

void SOAPArgByteArray::EndElement(const String_t& prefix, const String_t& localName, const String_t& namespaceUri) {
    SOAPArg::EndElement(prefix, localName, namespaceUri);
    if (decoder) decoder->End();
    decoder.reset();
}

}  // namespace LumVoxSoap
