#include "PolicyXmlParser.h"

#include <cstdint>

#include "Exceptions.h"
#include "LumPalXml.h"
#include "Messages.h"
#include "PolicyXmlHandler.h"

namespace LumConf {

using LumPalIo::File_t;

namespace {

// No policy nests deeper; the rewrite indents each level, so that depth would multiply the output.
constexpr std::uint32_t kMostLevels = 1000;

void OpenAndParse(const File_t& file, PolicyXmlHandler& handler) {
    LumPalIo::FileInputStream_t stream(file.GetAbsolutePath());  // the parser reads in blocks itself
    PolicyXmlParser::Parse(stream, handler);
    stream.Close();
}

}  // namespace

void PolicyXmlParser::Parse(const LumPalIo::InputStream_t& stream, PolicyXmlHandler& handler) {
    const LumPalXml::SAX::InputSource_t source(stream);
    if (source.IsNull()) return;
    LumPalXml::SAXParser_t parser;
    parser.SetContentHandler(&handler);
    parser.SetDepthLimit(kMostLevels);
    parser.SetRefuseSkippedEntities(true);
    parser.Parse(source);
}

void PolicyXmlParser::Parse(const File_t& file, PolicyXmlHandler& handler) {
    try {
        OpenAndParse(file, handler);
    } catch (const LumPalXml::SAX::SAXParseException_t& e) {
        throw Because<PolicyHeaderException>(msg::XmlParseError, file.GetAbsolutePath(), e.GetLineNumber(),
                                             e.GetColumnNumber(), e.GetPublicId(), e.GetSystemId(), e);
    } catch (const LumPalIo::FileNotFoundException_t& e) {
        throw Because<LumPalIo::FileNotFoundException_t>(msg::XmlFileNotFound, file.GetAbsolutePath(), e);
    } catch (const LumPalMsg::RuntimeException_t& e) {
        throw Because<PolicyHeaderException>(msg::XmlReadError, file.GetAbsolutePath(), e);
    }
}

}  // namespace LumConf
