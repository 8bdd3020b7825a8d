// SOAPElement of LumVoxSoap.h.
#include "LumVoxSoap.h"

namespace LumVoxSoap {

using LumPalStr::String_t;

LUMPAL_DEFINE_EXCEPTION(SOAPFaultException);
LUMPAL_DEFINE_EXCEPTION(SOAPFormatException);

SOAPElement::SOAPElement(const String_t& name) : name(name) {}
SOAPElement::~SOAPElement() = default;

SOAPElement* SOAPElement::StartElement(const String_t& newPrefix, const String_t&, const String_t& newNamespaceUri) {
    prefix = newPrefix;
    namespaceUri = newNamespaceUri;
    characters = String_t();
    return this;
}

void SOAPElement::Characters(const char16_t* text, std::uint32_t start, std::uint32_t length) {
    characters.Append(text + start, length);
}

void SOAPElement::EndElement(const String_t&, const String_t&, const String_t&) {}

SOAPArg::SOAPArg(const String_t& name) : SOAPElement(name) {}

String_t SOAPArg::GetTypeName() const {
    return String_t::Null();
}

SOAPElement* SOAPArg::StartElement(const String_t& prefix, const String_t& localName, const String_t& namespaceUri) {
    arrived = open = true;
    return SOAPElement::StartElement(prefix, localName, namespaceUri);
}

void SOAPArg::EndElement(const String_t& prefix, const String_t& localName, const String_t& namespaceUri) {
    open = false;
    SOAPElement::EndElement(prefix, localName, namespaceUri);
}

void SOAPArg::RefuseWhenOpen(const String_t& localName) const {
    if (!open) return;
    throw SOAPFormatException(LumPalMsg::CreateError_t("The argument '%1' must not hold the element '%2'.")
                              << GetName() << localName);
}

}  // namespace LumVoxSoap
