// The exceptions and base classes of LumPalXml.h's SAX part.
#include "LumPalXml.h"

namespace LumPalXml::SAX {

using LumPalStr::String_t;

LUMPAL_DEFINE_EXCEPTION(SAXException_t);

SAXParseException_t::SAXParseException_t(const LumPalMsg::Message_t& message, int line, int column,
                                         const String_t& publicId, const String_t& systemId)
    : SAXException_t(message), line(line), column(column), publicId(publicId), systemId(systemId) {}
SAXParseException_t::~SAXParseException_t() = default;

Attributes_i::~Attributes_i() = default;
Locator_i::~Locator_i() = default;
ContentHandler_i::~ContentHandler_i() = default;
DTDHandler_i::~DTDHandler_i() = default;
EntityResolver_i::~EntityResolver_i() = default;
ErrorHandler_i::~ErrorHandler_i() = default;

String_t Attributes_i::GetValue(const String_t& uri, const String_t& localName) const {
    for (int i = 0; i < GetCount(); ++i) {
        if (GetLocalName(i) == localName && GetUri(i) == uri) return GetValue(i);
    }
    return String_t::Null();
}

InputSource_t::InputSource_t(const LumPalIo::InputStream_t& stream) : stream(stream) {}

DefaultHandler_t::~DefaultHandler_t() = default;
InputSource_t DefaultHandler_t::ResolveEntity(const String_t&, const String_t&) {
    return {};
}
void DefaultHandler_t::NotationDecl(const String_t&, const String_t&, const String_t&) {}
void DefaultHandler_t::UnparsedEntityDecl(const String_t&, const String_t&, const String_t&, const String_t&) {}
void DefaultHandler_t::SetDocumentLocator(const Locator_i*) {}
void DefaultHandler_t::StartDocument() {}
void DefaultHandler_t::EndDocument() {}
void DefaultHandler_t::StartPrefixMapping(const String_t&, const String_t&) {}
void DefaultHandler_t::EndPrefixMapping(const String_t&) {}
void DefaultHandler_t::StartElement(const String_t&, const String_t&, const String_t&, const Attributes_i&) {}
void DefaultHandler_t::EndElement(const String_t&, const String_t&, const String_t&) {}
void DefaultHandler_t::Characters(const char16_t*, std::uint32_t, std::uint32_t) {}
void DefaultHandler_t::IgnorableWhitespace(const char16_t*, std::uint32_t, std::uint32_t) {}
void DefaultHandler_t::ProcessingInstruction(const String_t&, const String_t&) {}
void DefaultHandler_t::SkippedEntity(const String_t&) {}
void DefaultHandler_t::Warning(const SAXParseException_t&) {}
void DefaultHandler_t::Error(const SAXParseException_t&) {}
void DefaultHandler_t::FatalError(const SAXParseException_t& exception) {
    throw exception;
}

}  // namespace LumPalXml::SAX
