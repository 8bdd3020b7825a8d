#include "SoapHandler.h"

#include "SoapNames.h"

namespace LumVoxSoap {
namespace {

using LumPalStr::String_t;

String_t Shortened(const String_t& text, std::uint32_t most) {
    return text.GetLength() > most ? text.Left(most) + "..." : text;
}

[[noreturn]] void Refuse(const char* code, const char* text, const String_t& name = String_t()) {
    throw SoapRefusal(code, LumPalMsg::CreateError_t(text) << Shortened(name, 100));
}

String_t PrefixOf(const String_t& qName) {
    const std::uint32_t colon = qName.Find(":");
    return colon == LumPalStr::NotFound ? String_t() : qName.Left(colon);
}

void CheckHeaderEntry(const String_t& localName, const LumPalXml::SAX::Attributes_i& attributes) {
    String_t must = attributes.GetValue(kEnvelopeNamespace, "mustUnderstand");
    must.Trim();
    if (must == "1" || must == "true")
        Refuse("MustUnderstand", "The header entry '%1' must be understood and is not known here.", localName);
}

}  // namespace

EnvelopeHandler::EnvelopeHandler(ArgumentSource& arguments) : arguments(arguments) {}

void EnvelopeHandler::ThrowFault() const {
    if (!faultSeen) return;
    throw SOAPFaultException(LumPalMsg::CreateError_t("The peer answered with the fault '%1': %2")
                             << Shortened(faultCode.GetCharacters(), 100)
                             << Shortened(faultString.GetCharacters(), 4000));
}

void EnvelopeHandler::StartElement(const String_t& uri, const String_t& localName, const String_t& qName,
                                   const LumPalXml::SAX::Attributes_i& attributes) {
    if (!stack.empty()) {
        Push(stack.back(), uri, localName, qName);
    } else if (place == Place::Method || place == Place::Fault) {
        Push(Taker(localName), uri, localName, qName);
    } else {
        Open(uri, localName, attributes);
    }
}

void EnvelopeHandler::Push(SOAPElement* taker, const String_t& uri, const String_t& localName, const String_t& qName) {
    SOAPElement* const next = taker ? taker->StartElement(PrefixOf(qName), localName, uri) : nullptr;
    if (taker && !next && taker->RefusesUnknown())
        Refuse("Client", "The element '%1' has no place where it stands.", localName);
    stack.push_back(next);
}

SOAPElement* EnvelopeHandler::Taker(const String_t& localName) {
    if (place == Place::Method) return arguments.Argument(localName);
    if (localName == faultCode.GetName()) return &faultCode;
    return localName == faultString.GetName() ? &faultString : nullptr;
}

void EnvelopeHandler::Open(const String_t& uri, const String_t& localName,
                           const LumPalXml::SAX::Attributes_i& attributes) {
    switch (place) {
        case Place::Root:
            return OpenRoot(uri, localName);
        case Place::Envelope:
            return OpenPart(uri, localName);
        case Place::Header:
            CheckHeaderEntry(localName, attributes);
            return stack.push_back(nullptr);
        case Place::Body:
            return OpenBodyChild(uri, localName);
        case Place::Method:
        case Place::Fault:
        case Place::Done:
            return;
    }
}

void EnvelopeHandler::OpenRoot(const String_t& uri, const String_t& localName) {
    if (localName != "Envelope") Refuse("Client", "The document '%1' is no SOAP envelope.", localName);
    if (uri != kEnvelopeNamespace)
        Refuse("VersionMismatch", "The envelope's namespace '%1' is not that of SOAP 1.1.", uri);
    place = Place::Envelope;
}

void EnvelopeHandler::OpenPart(const String_t& uri, const String_t& localName) {
    if (uri == kEnvelopeNamespace && !bodySeen) {
        if (localName == "Body") {
            bodySeen = true;
            place = Place::Body;
            return;
        }
        if (localName == "Header" && !headerSeen) {
            headerSeen = true;
            place = Place::Header;
            return;
        }
    }
    Refuse("Client", "The element '%1' has no place in the SOAP envelope.", localName);
}

void EnvelopeHandler::OpenBodyChild(const String_t& uri, const String_t& localName) {
    if (childSeen) Refuse("Client", "The SOAP body holds a second element, '%1'.", localName);
    childSeen = true;
    faultSeen = uri == kEnvelopeNamespace && localName == "Fault";
    BodyChild(localName);
    place = faultSeen ? Place::Fault : Place::Method;
}

void EnvelopeHandler::EndElement(const String_t& uri, const String_t& localName, const String_t& qName) {
    if (stack.empty()) return Close();
    SOAPElement* const taker = stack.back();
    stack.pop_back();
    if (taker) taker->EndElement(PrefixOf(qName), localName, uri);
}

void EnvelopeHandler::Close() {
    switch (place) {
        case Place::Method:
        case Place::Fault:
            place = Place::Body;
            return;
        case Place::Header:
        case Place::Body:
            place = Place::Envelope;
            return;
        case Place::Root:
        case Place::Envelope:
        case Place::Done:
            place = Place::Done;
            return;
    }
}

void EnvelopeHandler::Characters(const char16_t* text, std::uint32_t start, std::uint32_t length) {
    if (!stack.empty()) {
        if (stack.back()) stack.back()->Characters(text, start, length);
        return;
    }
    const std::u16string_view view(text + start, length);
    if (view.find_first_not_of(u" \t\r\n") != std::u16string_view::npos)
        Refuse("Client", "Text stands outside the arguments of the SOAP message.");
}

void EnvelopeHandler::ProcessingInstruction(const String_t& target, const String_t&) {
    Refuse("Client", "The processing instruction '%1' has no place in a SOAP message.", target);
}

void EnvelopeHandler::EndDocument() {
    if (!childSeen) Refuse("Client", "The SOAP message has no body, or an empty one.");
}

}  // namespace LumVoxSoap
