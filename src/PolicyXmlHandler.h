/// @file
/// Reads a policy document, or rewrites it with the values of a header.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "LumPalPtr.h"
#include "LumPalStr.h"
#include "LumPalXml.h"
#include "PolicyHeaderImpl.h"

namespace LumConf {

/// The SAX handler of policy documents. The table of the document stands in PolicyDocument.h.
///
/// Reading builds a header. Rewriting streams the document to a writer, with the values of a source header in place
/// of the document's, and keeps elements that it does not know (their attributes and comments are dropped).
/// Used by one thread, for one document after another.
class PolicyXmlHandler final : public LumPalXml::SAX::DefaultHandler_t {
public:
    PolicyXmlHandler();
    ~PolicyXmlHandler() override;
    PolicyXmlHandler(const PolicyXmlHandler&) = delete;
    PolicyXmlHandler& operator=(const PolicyXmlHandler&) = delete;

    /// @param tolerance  as PolicyHeader::Read
    void StartReading(unsigned long tolerance = 0);
    /// @param source  not owned; its values are taken now. @throws LumPalMsg::IllegalStateError_t 87 for null
    void StartRewriting(const LumPalXml::XmlWriter_t& writer, const PolicyHeaderImpl* source);
    bool IsInitialized() const noexcept { return mode != Mode::NotInitialized; }
    /// Hands over the header that was built; the handler is then not initialized.
    /// @throws LumPalMsg::IllegalStateError_t 87 when there is none
    LumPalPtr::RefPtr_t<PolicyHeaderImpl> TakeHeader();

    void StartDocument() override;
    void EndDocument() override;
    void StartElement(const LumPalStr::String_t& uri, const LumPalStr::String_t& localName,
                      const LumPalStr::String_t& qName, const LumPalXml::SAX::Attributes_i& attributes) override;
    void EndElement(const LumPalStr::String_t& uri, const LumPalStr::String_t& localName,
                    const LumPalStr::String_t& qName) override;
    void Characters(const char16_t* text, std::uint32_t start, std::uint32_t length) override;

private:
    enum class Mode { NotInitialized = 0, Reading = 1, Rewriting = 2 };

    Mode mode = Mode::NotInitialized;
};

}  // namespace LumConf
