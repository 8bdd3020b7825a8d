/// @file
/// Base of the SOAP arguments whose children stand side by side.
#pragma once

#include "LumVoxSoap.h"

namespace LumConf {

/// What a child holds, in the words of the service's description.
namespace wire {
inline constexpr const char* Number = "xsd:int";
inline constexpr const char* Truth = "xsd:boolean";
inline constexpr const char* Text = "xsd:string";
inline constexpr const char* Bytes = "xsd:base64Binary";
}  // namespace wire

/// Reads an argument with one level of child elements, by a table of them. Unknown children are
/// counted and skipped with their direct text, so that an old reader takes a newer sender's request.
/// Used by one thread.
class FlatSoapArg : public LumVoxSoap::SOAPArg {
public:
    LumVoxSoap::SOAPElement* StartElement(const LumPalStr::String_t& prefix, const LumPalStr::String_t& localName,
                                          const LumPalStr::String_t& namespaceUri) override;
    void Characters(const char16_t* text, std::uint32_t start, std::uint32_t length) override;
    void EndElement(const LumPalStr::String_t& prefix, const LumPalStr::String_t& localName,
                    const LumPalStr::String_t& namespaceUri) override;

protected:
    explicit FlatSoapArg(const LumPalStr::String_t& name) : SOAPArg(name) {}
    /// The parse state inside the child of this name (2 and above), or 0 for an unknown one.
    virtual int StateOfChild(const LumPalStr::String_t& localName) const = 0;
    /// Takes the text of the child that was read in this state.
    virtual void StoreChild(int state, const LumPalStr::String_t& text) = 0;

private:
    enum State { Outside = 0, Inside = 1 };
    int parseState = Outside;
    int unknownDepth = 0;
    bool collecting = false;
    LumPalStr::String_t collected;
};

/// Writes <name>text</name>.
void WriteChild(LumPalXml::XmlWriter_t& writer, const char* name, const LumPalStr::String_t& text);

}  // namespace LumConf
