// The parser of LumPalXml.h, in front of XmlRun.h.
#include "LumPalXml.h"
#include "XmlRun.h"

namespace LumPalXml::SAX {

struct XMLReader_t::Impl {
    ReaderSettings settings;
};

XMLReader_t::XMLReader_t() : impl(std::make_unique<Impl>()) {}
XMLReader_t::~XMLReader_t() = default;

void XMLReader_t::SetContentHandler(ContentHandler_i* handler) {
    impl->settings.content = handler;
}
void XMLReader_t::SetDTDHandler(DTDHandler_i* handler) {
    impl->settings.dtd = handler;
}
void XMLReader_t::SetEntityResolver(EntityResolver_i* resolver) {
    impl->settings.resolver = resolver;
}
void XMLReader_t::SetErrorHandler(ErrorHandler_i* handler) {
    impl->settings.error = handler;
}
void XMLReader_t::SetRefuseDoctype(bool refuse) {
    impl->settings.refuseDoctype = refuse;
}
void XMLReader_t::SetRefuseSkippedEntities(bool refuse) {
    impl->settings.refuseSkippedEntities = refuse;
}
void XMLReader_t::SetDepthLimit(std::uint32_t limit) {
    impl->settings.depthLimit = limit;
}

void XMLReader_t::Parse(const InputSource_t& source) {
    if (source.IsNull()) {
        throw LumPalMsg::IllegalArgumentError_t(LumPalMsg::CreateError_t("A null source cannot be parsed."));
    }
    Run(impl->settings, source).Parse();
}

}  // namespace LumPalXml::SAX
