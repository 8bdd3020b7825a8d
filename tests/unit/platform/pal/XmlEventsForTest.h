/// @file
/// Writes the events of a parse down as one text, so that a test compares a whole document at once.
#pragma once

#include <string>

#include "LumPalIo.h"
#include "LumPalXml.h"

/// Joins texts that arrive in pieces.
class RecordedEvents : public LumPalXml::SAX::DefaultHandler_t {
public:
    using String_t = LumPalStr::String_t;

    void SetDocumentLocator(const LumPalXml::SAX::Locator_i* given) override { locator = given; }
    void StartDocument() override { Add("{"); }
    void EndDocument() override { Add("}"); }
    void StartPrefixMapping(const String_t& prefix, const String_t& uri) override {
        Add("+" + prefix.ToUtf8() + "=" + uri.ToUtf8() + ";");
    }
    void EndPrefixMapping(const String_t& prefix) override { Add("-" + prefix.ToUtf8() + ";"); }
    void StartElement(const String_t& uri, const String_t& local, const String_t& qName,
                      const LumPalXml::SAX::Attributes_i& attributes) override {
        std::string line = "<" + Name(uri, local, qName);
        for (int i = 0; i < attributes.GetCount(); ++i) {
            line += " " + Name(attributes.GetUri(i), attributes.GetLocalName(i), attributes.GetQName(i)) + "='" +
                    attributes.GetValue(i).ToUtf8() + "'";
        }
        Add(line + ">");
    }
    void EndElement(const String_t& uri, const String_t& local, const String_t& qName) override {
        Add("</" + Name(uri, local, qName) + ">");
    }
    void Characters(const char16_t* units, std::uint32_t start, std::uint32_t length) override {
        pending.append(units + start, length);
    }
    void IgnorableWhitespace(const char16_t*, std::uint32_t, std::uint32_t) override { Add("(blank)"); }
    void ProcessingInstruction(const String_t& target, const String_t& data) override {
        Add("?" + target.ToUtf8() + "|" + data.ToUtf8() + "?");
    }
    void SkippedEntity(const String_t& name) override { Add("skip:" + name.ToUtf8() + ";"); }
    void NotationDecl(const String_t& name, const String_t& publicId, const String_t& systemId) override {
        Add("notation:" + name.ToUtf8() + "," + Id(publicId) + "," + Id(systemId) + ";");
    }
    void UnparsedEntityDecl(const String_t& name, const String_t& publicId, const String_t& systemId,
                            const String_t& notation) override {
        Add("unparsed:" + name.ToUtf8() + "," + Id(publicId) + "," + Id(systemId) + "," + notation.ToUtf8() + ";");
    }
    LumPalXml::SAX::InputSource_t ResolveEntity(const String_t& publicId, const String_t& systemId) override {
        Add("resolve:" + Id(publicId) + "," + Id(systemId) + ";");
        return {};
    }

    const std::string& Log() {
        Add("");
        return log;
    }
    const LumPalXml::SAX::Locator_i* locator = nullptr;

private:
    static std::string Id(const String_t& id) { return id.IsNull() ? "null" : id.ToUtf8(); }
    static std::string Name(const String_t& uri, const String_t& local, const String_t& qName) {
        std::string name = uri.IsNull() ? "null:" : "";
        if (uri.IsNotEmpty()) name += "{" + uri.ToUtf8() + "}";
        name += local.ToUtf8();
        return qName == local ? name : name + "(" + qName.ToUtf8() + ")";
    }
    void Add(const std::string& line) {
        if (!pending.empty()) {
            const String_t text(pending.data(), static_cast<std::uint32_t>(pending.size()));
            log += "'" + text.ToUtf8() + "'";
            pending.clear();
        }
        log += line;
    }

    std::string log;
    std::u16string pending;
};

inline LumPalXml::SAX::InputSource_t SourceOf(const std::string& document) {
    return LumPalXml::SAX::InputSource_t(
        LumPalIo::CharArrayInputStream_t(LumPalArray::CharArray_t(document.data(), document.size())));
}

inline std::string Utf16Bytes(const std::u16string& text, bool bigEndian) {
    std::string bytes;
    for (const char16_t unit : text) {
        const char high = static_cast<char>(unit >> 8), low = static_cast<char>(unit & 0xFF);
        bytes += bigEndian ? high : low;
        bytes += bigEndian ? low : high;
    }
    return bytes;
}

/// All four handlers are the recorder.
inline void SetAllHandlers(LumPalXml::SAX::XMLReader_t& reader, RecordedEvents& events) {
    reader.SetContentHandler(&events);
    reader.SetDTDHandler(&events);
    reader.SetEntityResolver(&events);
    reader.SetErrorHandler(&events);
}

inline std::string EventsOf(const std::string& document) {
    RecordedEvents events;
    LumPalXml::SAXParser_t parser;
    SetAllHandlers(parser, events);
    parser.Parse(SourceOf(document));
    return events.Log();
}
