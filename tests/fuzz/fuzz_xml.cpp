// Any bytes: the parser ends with a whole document or with SAXParseException_t. What it tells is written
// again and must read as the same document. One that refuses skipped entities reads none in which one is skipped.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "LumPalXml.h"

namespace {

using LumPalStr::String_t;
using LumPalXml::XmlWriter_t;
using namespace LumPalXml::SAX;

/// Writes a document without its namespaces, and lists its names and texts.
class Rewriter : public DefaultHandler_t {
public:
    explicit Rewriter(const LumPalIo::OutputStream_t& stream) : writer(stream, XmlWriter_t::Options_t().Indent(0)) {}
    void StartElement(const String_t&, const String_t& local, const String_t&, const Attributes_i& a) override {
        writer.OpenTag("e");
        writer.Attribute("name", local);
        for (int i = 0; i < a.GetCount(); ++i) writer.Attribute("a" + LumPalStr::NumToStr(i), a.GetValue(i));
    }
    void EndElement(const String_t&, const String_t&, const String_t&) override { writer.CloseTag(); }
    void Characters(const char16_t* text, std::uint32_t start, std::uint32_t length) override {
        writer.Data(text + start, length);
        units += length;
    }
    void EndDocument() override { writer.Close(); }
    void SkippedEntity(const String_t&) override { ++skipped; }
    std::uint64_t units = 0, skipped = 0;

private:
    XmlWriter_t writer;
};

class Count : public DefaultHandler_t {
public:
    void Characters(const char16_t*, std::uint32_t, std::uint32_t length) override { units += length; }
    std::uint64_t units = 0;
};

bool IsWhole(const LumPalArray::CharArray_t& input) {
    LumPalXml::SAXParser_t parser;
    parser.SetRefuseSkippedEntities(true);
    try {
        parser.Parse(InputSource_t(LumPalIo::CharArrayInputStream_t::Over(input)));
    } catch (const SAXParseException_t&) {
        return false;
    }
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const LumPalArray::CharArray_t input(reinterpret_cast<const char*>(data), size);
    LumPalIo::CharArrayOutputStream_t output;
    Rewriter rewriter(output);
    LumPalXml::SAXParser_t parser;
    parser.SetContentHandler(&rewriter);
    try {
        parser.Parse(InputSource_t(LumPalIo::CharArrayInputStream_t::Over(input)));
    } catch (const SAXParseException_t& e) {
        if (e.GetLineNumber() < 1 || e.GetColumnNumber() < 1 || IsWhole(input)) std::abort();
        return 0;
    }
    if (rewriter.skipped != 0 && IsWhole(input)) std::abort();
    Count count;
    LumPalXml::SAXParser_t again;
    again.SetContentHandler(&count);
    again.Parse(InputSource_t(LumPalIo::CharArrayInputStream_t(output.ToCharArray())));
    if (count.units != rewriter.units) std::abort();
    return 0;
}
