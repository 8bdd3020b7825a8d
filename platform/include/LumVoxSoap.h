/// @file
/// SOAP 1.1 arguments and envelopes (http://www.w3.org/TR/2000/NOTE-SOAP-20000508/).
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "LumPalArray.h"
#include "LumPalExport.h"
#include "LumPalIo.h"
#include "LumPalMsg.h"
#include "LumPalStr.h"
#include "LumPalXml.h"

namespace LumVoxSoap {

/// A SOAP fault from the peer; the text holds fault code and fault string.
LUMPAL_DECLARE_EXCEPTION(LUMPAL_API, SOAPFaultException, LumPalMsg::RuntimeException_t);
/// A message that is no SOAP envelope, or lacks what is demanded of it.
LUMPAL_DECLARE_EXCEPTION(LUMPAL_API, SOAPFormatException, LumPalMsg::RuntimeException_t);

/// An element that takes parse events. The reader keeps a stack: the element that StartElement
/// returns takes the events up to and including the matching EndElement; a null result drops them
/// (the whole subtree), unless the element says that it refuses what it does not know.
class LUMPAL_API SOAPElement {
public:
    explicit SOAPElement(const LumPalStr::String_t& name);
    virtual ~SOAPElement();
    SOAPElement(const SOAPElement&) = delete;
    SOAPElement& operator=(const SOAPElement&) = delete;

    const LumPalStr::String_t& GetName() const noexcept { return name; }
    const LumPalStr::String_t& GetPrefix() const noexcept { return prefix; }
    const LumPalStr::String_t& GetNamespaceUri() const noexcept { return namespaceUri; }
    /// The text since the last StartElement of the base.
    const LumPalStr::String_t& GetCharacters() const noexcept { return characters; }

    /// Base: remembers prefix and namespace, empties the characters, returns this.
    virtual SOAPElement* StartElement(const LumPalStr::String_t& prefix, const LumPalStr::String_t& localName,
                                      const LumPalStr::String_t& namespaceUri);
    /// Base: appends to the characters.
    virtual void Characters(const char16_t* text, std::uint32_t start, std::uint32_t length);
    /// Base: does nothing.
    virtual void EndElement(const LumPalStr::String_t& prefix, const LumPalStr::String_t& localName,
                            const LumPalStr::String_t& namespaceUri);
    /// Whether a null result of StartElement makes the whole message malformed. Base: false.
    virtual bool RefusesUnknown() const { return false; }

protected:
    LumPalStr::String_t characters;

private:
    LumPalStr::String_t name, prefix, namespaceUri;
};

/// One argument of a call or of a response. A request's texts must be what XML can carry
/// (else writing throws LumPalMsg::IllegalArgumentError_t); a response's are cleaned.
class LUMPAL_API SOAPArg : public SOAPElement {
public:
    explicit SOAPArg(const LumPalStr::String_t& name);
    /// Writes what stands between the argument's tags.
    virtual void WriteContent(LumPalXml::XmlWriter_t& writer) const = 0;
    /// The argument's tag is written with xsi:type.
    void SetTypeAttribute() { typeAttribute = true; }
    bool HasTypeAttribute() const noexcept { return typeAttribute; }
    /// A request may come without the argument.
    void SetOptional() { optional = true; }
    bool IsOptional() const noexcept { return optional; }
    /// Type for xsi:type, as "xsd:int"; null for a structure.
    virtual LumPalStr::String_t GetTypeName() const;
    /// Whether the argument's element has arrived.
    bool HasArrived() const noexcept { return arrived; }
    SOAPElement* StartElement(const LumPalStr::String_t& prefix, const LumPalStr::String_t& localName,
                              const LumPalStr::String_t& namespaceUri) override;
    /// As the base; the argument is closed until the next StartElement.
    void EndElement(const LumPalStr::String_t& prefix, const LumPalStr::String_t& localName,
                    const LumPalStr::String_t& namespaceUri) override;

protected:
    /// For an argument without elements inside: throws SOAPFormatException when it is open.
    void RefuseWhenOpen(const LumPalStr::String_t& localName) const;

private:
    bool typeAttribute = false;
    bool optional = false;
    bool arrived = false;
    bool open = false;
};

/// An integer. As a result argument it stores into the given int when the element ends;
/// the int is left alone when the element never comes.
class LUMPAL_API SOAPArgInt : public SOAPArg {
public:
    SOAPArgInt(const LumPalStr::String_t& name, int value);
    SOAPArgInt(const LumPalStr::String_t& name, int* result);
    int GetValue() const noexcept { return value; }
    static LumPalStr::String_t IntToUnicode(int value);
    /// @throws SOAPFormatException for a text that is no decimal 32-bit integer (xsd:int)
    static int UnicodeToInt(const LumPalStr::String_t& text);
    void WriteContent(LumPalXml::XmlWriter_t& writer) const override;
    LumPalStr::String_t GetTypeName() const override;
    /// @throws SOAPFormatException for an element inside
    SOAPElement* StartElement(const LumPalStr::String_t& prefix, const LumPalStr::String_t& localName,
                              const LumPalStr::String_t& namespaceUri) override;
    void EndElement(const LumPalStr::String_t& prefix, const LumPalStr::String_t& localName,
                    const LumPalStr::String_t& namespaceUri) override;

private:
    int value = 0;
    int* result = nullptr;
};

/// Converters of booleans: "true" and "false" are written; "true", "1", "false", "0" are read (xsd:boolean).
class LUMPAL_API SOAPArgBool {
public:
    static LumPalStr::String_t BoolToUnicode(bool value);
    /// @throws SOAPFormatException for any other text
    static bool UnicodeToBool(const LumPalStr::String_t& text);
};

/// Converters of strings.
class LUMPAL_API SOAPArgString {
public:
    /// UTF-8.
    static LumPalArray::CharArray_t UnicodeToString(const LumPalStr::String_t& text);
};

/// A UTF-16 string; taken as it comes.
class LUMPAL_API SOAPArgUnicodeString : public SOAPArg {
public:
    SOAPArgUnicodeString(const LumPalStr::String_t& name, const LumPalStr::String_t& text);
    SOAPArgUnicodeString(const LumPalStr::String_t& name, LumPalStr::String_t* result);
    const LumPalStr::String_t& GetValue() const noexcept { return value; }
    void WriteContent(LumPalXml::XmlWriter_t& writer) const override;
    LumPalStr::String_t GetTypeName() const override;
    /// @throws SOAPFormatException for an element inside
    SOAPElement* StartElement(const LumPalStr::String_t& prefix, const LumPalStr::String_t& localName,
                              const LumPalStr::String_t& namespaceUri) override;
    void EndElement(const LumPalStr::String_t& prefix, const LumPalStr::String_t& localName,
                    const LumPalStr::String_t& namespaceUri) override;

private:
    LumPalStr::String_t value;
    LumPalStr::String_t* result = nullptr;
};

/// Bytes, as base64 on the wire; decoded while they arrive.
class LUMPAL_API SOAPArgByteArray : public SOAPArg {
public:
    explicit SOAPArgByteArray(const LumPalStr::String_t& name);
    SOAPArgByteArray(const LumPalStr::String_t& name, LumPalArray::CharArray_t array);
    ~SOAPArgByteArray() override;
    const LumPalArray::CharArray_t& GetValue() const noexcept { return value; }
    LumPalArray::CharArray_t TakeValue();
    void WriteContent(LumPalXml::XmlWriter_t& writer) const override;
    LumPalStr::String_t GetTypeName() const override;
    SOAPElement* StartElement(const LumPalStr::String_t& prefix, const LumPalStr::String_t& localName,
                              const LumPalStr::String_t& namespaceUri) override;
    void Characters(const char16_t* text, std::uint32_t start, std::uint32_t length) override;
    /// @throws SOAPFormatException for text that is no base64
    void EndElement(const LumPalStr::String_t& prefix, const LumPalStr::String_t& localName,
                    const LumPalStr::String_t& namespaceUri) override;

private:
    struct Decoder;
    std::unique_ptr<Decoder> decoder;
    LumPalArray::CharArray_t value;
};

/// One message: a method and its arguments, in this order on the wire. Arguments are not owned.
class LUMPAL_API SOAPEnvelope {
public:
    SOAPEnvelope();
    virtual ~SOAPEnvelope();
    void SetMethod(const LumPalStr::String_t& name);
    const LumPalStr::String_t& GetMethod() const noexcept { return method; }
    void SetArgs(int count, SOAPArg* const* arguments);
    /// Writes the envelope in UTF-8.
    /// @throws LumPalMsg::IllegalArgumentError_t for a method or argument name that is no XML name,
    ///         and for a text that XML cannot carry
    void Write(LumPalIo::OutputStream_t& stream) const;
    /// As Write, but replaces in texts what XML cannot carry: for answers, which must always arrive.
    void WriteCleaned(LumPalIo::OutputStream_t& stream) const;
    /// Reads an envelope: refuses a DOCTYPE, a processing instruction, a body with other than one child,
    /// depth over 1000, a header entry that must be understood, an argument that comes twice.
    /// Each child of the method element goes to the argument of that name (an unknown one is skipped).
    /// Prefixes do not matter, nor the namespaces of method and arguments. Sets the method.
    /// @throws SOAPFaultException, SOAPFormatException, LumPalXml::SAX::SAXParseException_t
    void Read(LumPalIo::InputStream_t stream, int count, SOAPArg* const* arguments);

private:
    void WriteWith(LumPalIo::OutputStream_t& stream, bool cleaned) const;
    LumPalStr::String_t method;
    std::vector<SOAPArg*> arguments;
};

}  // namespace LumVoxSoap
