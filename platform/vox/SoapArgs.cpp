// The plain arguments of LumVoxSoap.h: numbers, truth values, texts.
#include <limits>

#include "LumPalColumns.h"
#include "LumVoxSoap.h"

namespace LumVoxSoap {
namespace {

using LumPalStr::String_t;

constexpr std::u16string_view kWhiteSpace = u" \t\r\n";

/// xsd types but strings collapse white space.
std::u16string_view Collapsed(const String_t& text) {
    return LumPalStr::Trimmed(text.View(), kWhiteSpace);
}

/// For an error text: a hostile value may be megabytes long.
String_t Shortened(const String_t& text) {
    constexpr std::uint32_t kMost = 40;
    return text.GetLength() > kMost ? text.Left(kMost) + "..." : text;
}

[[noreturn]] void Refuse(const char* text, const String_t& value) {
    throw SOAPFormatException(LumPalMsg::CreateError_t(text) << Shortened(value));
}

}  // namespace

SOAPArgInt::SOAPArgInt(const String_t& name, int value) : SOAPArg(name), value(value) {}
SOAPArgInt::SOAPArgInt(const String_t& name, int* result) : SOAPArg(name), result(result) {}

String_t SOAPArgInt::IntToUnicode(int value) {
    return LumPalStr::NumToStr(value);
}

int SOAPArgInt::UnicodeToInt(const String_t& text) {
    constexpr const char* kNoInteger = "'%1' is no 32-bit integer.";
    std::u16string_view digits = Collapsed(text);
    const bool negative = !digits.empty() && digits[0] == u'-';
    if (negative || (!digits.empty() && digits[0] == u'+')) digits.remove_prefix(1);
    if (digits.empty()) Refuse(kNoInteger, text);
    std::int64_t value = 0;
    const std::int64_t bound = std::int64_t{std::numeric_limits<std::int32_t>::max()} + (negative ? 1 : 0);
    for (char16_t digit : digits) {
        if (digit < u'0' || digit > u'9') Refuse(kNoInteger, text);
        value = value * 10 + (digit - u'0');
        if (value > bound) Refuse(kNoInteger, text);
    }
    return static_cast<int>(negative ? -value : value);
}

void SOAPArgInt::WriteContent(LumPalXml::XmlWriter_t& writer) const {
    writer.Data(IntToUnicode(value));
}

String_t SOAPArgInt::GetTypeName() const {
    return "xsd:int";
}

SOAPElement* SOAPArgInt::StartElement(const String_t& prefix, const String_t& localName, const String_t& namespaceUri) {
    RefuseWhenOpen(localName);
    return SOAPArg::StartElement(prefix, localName, namespaceUri);
}

void SOAPArgInt::EndElement(const String_t& prefix, const String_t& localName, const String_t& namespaceUri) {
    SOAPArg::EndElement(prefix, localName, namespaceUri);
    value = UnicodeToInt(characters);
    if (result) *result = value;
}

String_t SOAPArgBool::BoolToUnicode(bool value) {
    return value ? "true" : "false";
}

bool SOAPArgBool::UnicodeToBool(const String_t& text) {
    const std::u16string_view word = Collapsed(text);
    if (word == u"true" || word == u"1") return true;
    if (word == u"false" || word == u"0") return false;
    Refuse("'%1' is no boolean.", text);
}

LumPalArray::CharArray_t SOAPArgString::UnicodeToString(const String_t& text) {
    return LumPalArray::CharArray_t(text);
}

SOAPArgUnicodeString::SOAPArgUnicodeString(const String_t& name, const String_t& text) : SOAPArg(name), value(text) {}
SOAPArgUnicodeString::SOAPArgUnicodeString(const String_t& name, String_t* result) : SOAPArg(name), result(result) {}

void SOAPArgUnicodeString::WriteContent(LumPalXml::XmlWriter_t& writer) const {
    writer.Data(value);
}

String_t SOAPArgUnicodeString::GetTypeName() const {
    return "xsd:string";
}

SOAPElement* SOAPArgUnicodeString::StartElement(const String_t& prefix, const String_t& localName,
                                                const String_t& namespaceUri) {
    RefuseWhenOpen(localName);
    return SOAPArg::StartElement(prefix, localName, namespaceUri);
}

void SOAPArgUnicodeString::EndElement(const String_t& prefix, const String_t& localName, const String_t& namespaceUri) {
    SOAPArg::EndElement(prefix, localName, namespaceUri);
    value = characters;
    characters = String_t();
    if (result) *result = value;
}

}  // namespace LumVoxSoap
