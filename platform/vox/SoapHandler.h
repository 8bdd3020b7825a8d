/// @file
/// The walk through an envelope's structure.
#pragma once

#include <vector>

#include "LumPalXml.h"
#include "SoapReader.h"

namespace LumVoxSoap {

/// An element that only collects its text (fault code and fault string).
class TextElement : public SOAPElement {
public:
    using SOAPElement::SOAPElement;
};

/// Takes the parser's events, holds them against the structure of SOAP 1.1, hands what stands inside
/// the method element to the arguments. Used once.
class EnvelopeHandler : public LumPalXml::SAX::DefaultHandler_t {
public:
    explicit EnvelopeHandler(ArgumentSource& arguments);
    const LumPalStr::String_t& GetMethod() const noexcept { return method; }
    /// @throws SOAPFaultException when the body was a fault
    void ThrowFault() const;

    void StartElement(const LumPalStr::String_t& uri, const LumPalStr::String_t& localName,
                      const LumPalStr::String_t& qName, const LumPalXml::SAX::Attributes_i& attributes) override;
    void EndElement(const LumPalStr::String_t& uri, const LumPalStr::String_t& localName,
                    const LumPalStr::String_t& qName) override;
    void Characters(const char16_t* text, std::uint32_t start, std::uint32_t length) override;
    void ProcessingInstruction(const LumPalStr::String_t& target, const LumPalStr::String_t& data) override;
    void EndDocument() override;

protected:
    /// Called with the local name of the body's child.
    virtual void BodyChild(const LumPalStr::String_t& localName) { method = localName; }

private:
    /// Which element outside the arguments is open, or was closed last.
    enum class Place {
        Root,      ///< waits for the envelope
        Envelope,  ///< waits for header or body
        Header,    ///< waits for header entries
        Body,      ///< waits for the body's one child
        Method,    ///< waits for arguments
        Fault,     ///< waits for the parts of a fault
        Done,      ///< waits for the end of the document
    };
    void Open(const LumPalStr::String_t& uri, const LumPalStr::String_t& localName,
              const LumPalXml::SAX::Attributes_i& attributes);
    void OpenRoot(const LumPalStr::String_t& uri, const LumPalStr::String_t& localName);
    void OpenPart(const LumPalStr::String_t& uri, const LumPalStr::String_t& localName);
    void OpenBodyChild(const LumPalStr::String_t& uri, const LumPalStr::String_t& localName);
    void Close();
    SOAPElement* Taker(const LumPalStr::String_t& localName);
    void Push(SOAPElement* taker, const LumPalStr::String_t& uri, const LumPalStr::String_t& localName,
              const LumPalStr::String_t& qName);

    ArgumentSource& arguments;
    Place place = Place::Root;
    bool headerSeen = false, bodySeen = false, childSeen = false, faultSeen = false;
    LumPalStr::String_t method;
    /// What takes the events of each open element inside the method, a header entry or a fault; null drops them.
    std::vector<SOAPElement*> stack;
    TextElement faultCode{"faultcode"}, faultString{"faultstring"};
};

}  // namespace LumVoxSoap
