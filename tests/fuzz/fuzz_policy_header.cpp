// Reads a policy document from memory, and what can be read must survive a rewrite.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "LumPalXml.h"
#include "PolicyXmlHandler.h"
#include "PolicyXmlParser.h"

namespace {

using LumConf::PolicyXmlHandler;
using LumPalArray::CharArray_t;
using LumPalIo::CharArrayInputStream_t;
using Header = LumPalPtr::RefPtr_t<LumConf::PolicyHeaderImpl>;

Header Read(const CharArray_t& document) {
    PolicyXmlHandler handler;
    handler.StartReading(~0ul);
    LumConf::PolicyXmlParser::Parse(CharArrayInputStream_t::Over(document), handler);
    return handler.TakeHeader();
}

CharArray_t Rewrite(const CharArray_t& document, const Header& source) {
    LumPalIo::CharArrayOutputStream_t out;
    PolicyXmlHandler handler;
    handler.StartRewriting(LumPalXml::XmlWriter_t(out, LumPalXml::XmlWriter_t::Options_t().Indent(0)), source.Get());
    LumConf::PolicyXmlParser::Parse(CharArrayInputStream_t::Over(document), handler);
    return out.TakeCharArray();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const CharArray_t document(reinterpret_cast<const char*>(data), size);
    Header header;
    CharArray_t rewritten;
    try {
        header = Read(document);
        rewritten = Rewrite(document, header);
    } catch (const LumPalMsg::Exception_t&) {
        return 0;
    }
    const Header back = Read(rewritten);
    if (back->GetContainerId() != header->GetContainerId() || back->GetStatus() != header->GetStatus()) std::abort();
    if (back->GetDataFileCount() != back->GetSignatureCount()) std::abort();
    // Each "data" element has all files, within the limit on the files of a policy.
    const int files = header->GetDataFileCount(), written = back->GetDataFileCount();
    if (files == 0 ? written != 0 : written < files || written % files != 0 || written > 9999) std::abort();
    return 0;
}
