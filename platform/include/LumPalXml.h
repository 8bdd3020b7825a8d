/// @file
/// SAX parsing and XML writing.
#pragma once

#include <cstdint>
#include <memory>

#include "LumPalCodeset.h"
#include "LumPalExport.h"
#include "LumPalIo.h"
#include "LumPalMsg.h"
#include "LumPalStr.h"

namespace LumPalXml {
namespace SAX {

LUMPAL_DECLARE_EXCEPTION(LUMPAL_API, SAXException_t, LumPalMsg::RuntimeException_t);

/// A document that is not well-formed or that the parser refuses. Lines and columns count from 1.
class LUMPAL_API SAXParseException_t : public SAXException_t {
public:
    SAXParseException_t(const LumPalMsg::Message_t& message, int line, int column, const LumPalStr::String_t& publicId,
                        const LumPalStr::String_t& systemId);
    ~SAXParseException_t() override;
    int GetLineNumber() const noexcept { return line; }
    int GetColumnNumber() const noexcept { return column; }
    const LumPalStr::String_t& GetPublicId() const noexcept { return publicId; }
    const LumPalStr::String_t& GetSystemId() const noexcept { return systemId; }

private:
    int line, column;
    LumPalStr::String_t publicId, systemId;
};

/// The attributes of one element, valid during StartElement. Namespace declarations are not among them.
class LUMPAL_API Attributes_i {
public:
    virtual ~Attributes_i();
    virtual int GetCount() const = 0;
    virtual LumPalStr::String_t GetUri(int index) const = 0;
    virtual LumPalStr::String_t GetLocalName(int index) const = 0;
    virtual LumPalStr::String_t GetQName(int index) const = 0;
    virtual LumPalStr::String_t GetValue(int index) const = 0;
    /// Null when there is no such attribute.
    LumPalStr::String_t GetValue(const LumPalStr::String_t& uri, const LumPalStr::String_t& localName) const;
};

/// Where the parser stands; valid only while Parse runs. Lines and columns count from 1.
class LUMPAL_API Locator_i {
public:
    virtual ~Locator_i();
    virtual int GetLineNumber() const = 0;
    virtual int GetColumnNumber() const = 0;
    virtual LumPalStr::String_t GetPublicId() const = 0;
    virtual LumPalStr::String_t GetSystemId() const = 0;
};

class InputSource_t;

class LUMPAL_API ContentHandler_i {
public:
    virtual ~ContentHandler_i();
    virtual void SetDocumentLocator(const Locator_i* locator) = 0;
    virtual void StartDocument() = 0;
    virtual void EndDocument() = 0;
    virtual void StartPrefixMapping(const LumPalStr::String_t& prefix, const LumPalStr::String_t& uri) = 0;
    virtual void EndPrefixMapping(const LumPalStr::String_t& prefix) = 0;
    virtual void StartElement(const LumPalStr::String_t& uri, const LumPalStr::String_t& localName,
                              const LumPalStr::String_t& qName, const Attributes_i& attributes) = 0;
    virtual void EndElement(const LumPalStr::String_t& uri, const LumPalStr::String_t& localName,
                            const LumPalStr::String_t& qName) = 0;
    /// The text is at text + start, length units; one text may arrive in several calls. The document alone says where
    /// it is parted, not how it was read: before and behind a reference and a line end, and at markup, comments and the
    /// ends of CDATA sections. A text without any of these that has more than 65,536 units is parted behind one that
    /// is no blank, unless so many blanks follow each other. The locator may stand behind the text already.
    virtual void Characters(const char16_t* text, std::uint32_t start, std::uint32_t length) = 0;
    virtual void IgnorableWhitespace(const char16_t* text, std::uint32_t start, std::uint32_t length) = 0;
    virtual void ProcessingInstruction(const LumPalStr::String_t& target, const LumPalStr::String_t& data) = 0;
    /// Told of each reference in a text to an entity that is not read or not known, so that something is missing there:
    /// an external entity, or one that may be declared in what is not read; of each reference to a parameter entity of
    /// that kind ("%" before its name), and of the external subset ("[dtd]"). In the value of an attribute an entity
    /// that is not known is left out without a call: see XMLReader_t::SetRefuseSkippedEntities.
    virtual void SkippedEntity(const LumPalStr::String_t& name) = 0;
};
class LUMPAL_API DTDHandler_i {
public:
    virtual ~DTDHandler_i();
    virtual void NotationDecl(const LumPalStr::String_t& name, const LumPalStr::String_t& publicId,
                              const LumPalStr::String_t& systemId) = 0;
    virtual void UnparsedEntityDecl(const LumPalStr::String_t& name, const LumPalStr::String_t& publicId,
                                    const LumPalStr::String_t& systemId, const LumPalStr::String_t& notation) = 0;
};
class LUMPAL_API EntityResolver_i {
public:
    virtual ~EntityResolver_i();
    /// Told of the external subset and of each reference to an external entity. Nothing external is ever read:
    /// the result is not used, and the content handler gets SkippedEntity.
    virtual InputSource_t ResolveEntity(const LumPalStr::String_t& publicId, const LumPalStr::String_t& systemId) = 0;
};
class LUMPAL_API ErrorHandler_i {
public:
    virtual ~ErrorHandler_i();
    virtual void Warning(const SAXParseException_t& exception) = 0;
    virtual void Error(const SAXParseException_t& exception) = 0;
    virtual void FatalError(const SAXParseException_t& exception) = 0;
};

/// Source of one parse. A handle; null when default-constructed.
class LUMPAL_API InputSource_t {
public:
    InputSource_t() = default;
    explicit InputSource_t(const LumPalIo::InputStream_t& stream);
    void SetPublicId(const LumPalStr::String_t& id) { publicId = id; }
    void SetSystemId(const LumPalStr::String_t& id) { systemId = id; }
    const LumPalStr::String_t& GetPublicId() const noexcept { return publicId; }
    const LumPalStr::String_t& GetSystemId() const noexcept { return systemId; }
    const LumPalIo::InputStream_t& GetStream() const noexcept { return stream; }
    bool IsNull() const noexcept { return stream.IsNull(); }
    bool IsNotNull() const noexcept { return stream.IsNotNull(); }

private:
    LumPalIo::InputStream_t stream;
    LumPalStr::String_t publicId, systemId;
};

/// Empty handlers to override. FatalError throws its exception; Warning and Error do nothing.
class LUMPAL_API DefaultHandler_t : public EntityResolver_i,
                                    public DTDHandler_i,
                                    public ContentHandler_i,
                                    public ErrorHandler_i {
public:
    ~DefaultHandler_t() override;
    InputSource_t ResolveEntity(const LumPalStr::String_t& publicId, const LumPalStr::String_t& systemId) override;
    void NotationDecl(const LumPalStr::String_t& name, const LumPalStr::String_t& publicId,
                      const LumPalStr::String_t& systemId) override;
    void UnparsedEntityDecl(const LumPalStr::String_t& name, const LumPalStr::String_t& publicId,
                            const LumPalStr::String_t& systemId, const LumPalStr::String_t& notation) override;
    void SetDocumentLocator(const Locator_i* locator) override;
    void StartDocument() override;
    void EndDocument() override;
    void StartPrefixMapping(const LumPalStr::String_t& prefix, const LumPalStr::String_t& uri) override;
    void EndPrefixMapping(const LumPalStr::String_t& prefix) override;
    void StartElement(const LumPalStr::String_t& uri, const LumPalStr::String_t& localName,
                      const LumPalStr::String_t& qName, const Attributes_i& attributes) override;
    void EndElement(const LumPalStr::String_t& uri, const LumPalStr::String_t& localName,
                    const LumPalStr::String_t& qName) override;
    void Characters(const char16_t* text, std::uint32_t start, std::uint32_t length) override;
    void IgnorableWhitespace(const char16_t* text, std::uint32_t start, std::uint32_t length) override;
    void ProcessingInstruction(const LumPalStr::String_t& target, const LumPalStr::String_t& data) override;
    void SkippedEntity(const LumPalStr::String_t& name) override;
    void Warning(const SAXParseException_t& exception) override;
    void Error(const SAXParseException_t& exception) override;
    void FatalError(const SAXParseException_t& exception) override;
};

/// A namespace-aware, non-validating SAX2 reader. Handlers are not owned and may be null.
/// Names and texts reach the handler as UTF-16. One thread; one document at a time.
class LUMPAL_API XMLReader_t {
public:
    XMLReader_t();
    XMLReader_t(const XMLReader_t&) = delete;
    XMLReader_t& operator=(const XMLReader_t&) = delete;
    virtual ~XMLReader_t();
    void SetContentHandler(ContentHandler_i* handler);
    void SetDTDHandler(DTDHandler_i* handler);
    void SetEntityResolver(EntityResolver_i* resolver);
    void SetErrorHandler(ErrorHandler_i* handler);
    /// Refuse a document that brings a document type declaration (default: false).
    void SetRefuseDoctype(bool refuse);
    /// Refuse a document of which something would be missing (default: false): in place of SkippedEntity Parse ends
    /// with the error. A document that declares a parameter entity is refused too. So texts and values of attributes
    /// are always whole. Whoever gives the texts of a document to anybody sets this, or SetRefuseDoctype, which
    /// leaves no entity to skip.
    void SetRefuseSkippedEntities(bool refuse);
    /// Most open elements allowed (default 100,000); more is a SAXParseException_t.
    void SetDepthLimit(std::uint32_t limit);
    /// Parses the whole source. Nothing external is read. A byte order mark that is not that of the declared encoding
    /// is an error. A document is refused when its entities and attribute
    /// defaults bring more than its own size again and 1 MiB, when it declares more than 1,000 entities, when one
    /// tag, comment or declaration is longer than 8 MiB, or the name of a namespace longer than 4,096 bytes.
    /// Texts between tags may have any length.
    /// Errors go to the error handler (FatalError, after which Parse returns if the handler did);
    /// without one Parse throws SAXParseException_t. What a handler throws leaves Parse unchanged.
    void Parse(const InputSource_t& source);

private:
    struct Impl;
    std::unique_ptr<Impl> impl;
};

}  // namespace SAX

/// The parser that programs make.
class LUMPAL_API SAXParser_t : public SAX::XMLReader_t {};

/// Writes one well-formed document. A handle; null when default-constructed. One thread at a time.
///
/// UTF-8 is the only encoding. The declaration with the encoding is written before the first tag. An element without
/// content is written as <name></name>. Data escapes & < > and CR; a character that XML 1.0 cannot carry is refused
/// with LumPalMsg::IllegalArgumentError_t, and so are a name that is no XML name, a prefix that is not declared when
/// its tag ends, and an attribute that comes twice; a call that has no place (text outside the root, a second root, any
/// call on a null or closed writer) with LumPalMsg::IllegalStateError_t. Nothing of a refused call is written. A writer
/// that goes without Close leaves the document unfinished.
class LUMPAL_API XmlWriter_t {
public:
    /// A value with chaining setters.
    class LUMPAL_API Options_t {
    public:
        Options_t& Encoding(const LumPalCodeset::Codeset_t& codeset) {
            encoding = codeset;
            return *this;
        }
        /// Blanks for each level when the writer breaks lines itself; 0 writes no line breaks. Default 2.
        Options_t& Indent(int blanks) {
            indent = blanks;
            return *this;
        }
        /// true: Data replaces what XML cannot carry as Clean does, instead of refusing it (for answers,
        /// which must always arrive). Default false.
        Options_t& CleanTexts(bool value) {
            cleanTexts = value;
            return *this;
        }
        LumPalCodeset::Codeset_t encoding;
        int indent = 2;
        bool declaration = true;
        bool cleanTexts = false;
    };
    XmlWriter_t() = default;
    explicit XmlWriter_t(const LumPalIo::OutputStream_t& stream);
    XmlWriter_t(const LumPalIo::OutputStream_t& stream, const Options_t& options);
    /// Opens a tag; its attributes and namespaces may follow until the next call of another kind.
    void OpenTag(const LumPalStr::String_t& name);
    /// Default namespace of the tag just opened.
    void Namespace(const LumPalStr::String_t& uri);
    /// Declares a prefix on the tag just opened.
    void Namespace(const LumPalStr::String_t& prefix, const LumPalStr::String_t& uri);
    void Attribute(const LumPalStr::String_t& name, const LumPalStr::String_t& value);
    /// Text, escaped.
    void Data(const LumPalStr::String_t& text);
    void Data(const char16_t* text, std::uint32_t length);
    /// Closes the innermost open tag.
    void CloseTag();
    /// Closes all open tags and flushes; the stream stays open.
    void Close();
    bool IsNull() const noexcept { return !impl; }
    /// The text with every character that XML 1.0 cannot carry replaced by U+FFFD.
    static LumPalStr::String_t Clean(const LumPalStr::String_t& text);

private:
    struct Impl;
    Impl& Get() const;
    std::shared_ptr<Impl> impl;
};

}  // namespace LumPalXml
