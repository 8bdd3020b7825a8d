#include "LumConfCluster/XmlDataTree.h"

#include "Exceptions.h"
#include "LumPalXml.h"
#include "Messages.h"
#include "Trace.h"
#include "XmlHandler.h"

namespace LumConfCluster {

using namespace LumConf;
using LumPalIo::File_t;
using LumPalIo::FileNotFoundException_t;
using LumPalMsg::RuntimeException_t;
using LumPalStr::String_t;
using LumPalXml::SAX::InputSource_t;
using LumPalXml::SAX::SAXParseException_t;

namespace {

// Far above what a person writes, and few enough for the stack when the tree goes.
constexpr std::uint32_t kMostOpenElements = 1000;
constexpr std::uint64_t kMostBytes = 4 * 1024 * 1024;

void CheckSize(const File_t& file) {
    if (file.GetSize() > kMostBytes)
        Raise<LumPalIo::IOException_t>(msg::XmlTreeFileTooLarge, LumPalStr::NumToStr(kMostBytes));
}

void Parse(const String_t& path, XmlHandler& handler) {
    LumPalIo::BufferedInputStream_t stream{LumPalIo::FileInputStream_t(path)};
    const InputSource_t source(stream);
    if (source.IsNull()) return;
    LumPalXml::SAXParser_t parser;
    parser.SetRefuseSkippedEntities(true);
    parser.SetDepthLimit(kMostOpenElements);
    parser.SetContentHandler(&handler);
    parser.Parse(source);
    stream.Close();
}

template <class E>
[[noreturn]] void TraceAndThrow(const LumPalMsg::Message_t& message) {
    LUMCONF_TRACE(trace::Cluster, message.Format(LumPalMsg::Text | LumPalMsg::Details));
    throw E(message);
}

}  // namespace

void XmlDataTree::Load(const File_t& file) {
    const String_t path = file.GetAbsolutePath();
    try {
        CheckSize(file);
        XmlHandler handler(this);
        Parse(path, handler);
    } catch (const SAXParseException_t& e) {
        TraceAndThrow<ClusterXmlDataTreeException>(Make(msg::XmlTreeNotParsed, path, e.GetLineNumber(),
                                                        e.GetColumnNumber(), e.GetPublicId(), e.GetSystemId(), e));
    } catch (const FileNotFoundException_t& e) {
        TraceAndThrow<FileNotFoundException_t>(Make(msg::XmlTreeFileNotFound, path, e));
    } catch (const ClusterXmlDataTreeException&) {
        throw;
    } catch (const RuntimeException_t& e) {
        // kept: of all classes this one; whoever catches what is wrong with a tree does not catch it
        TraceAndThrow<PolicyHeaderException>(Make(msg::XmlTreeNotRead, path, e));
    }
}

}  // namespace LumConfCluster
