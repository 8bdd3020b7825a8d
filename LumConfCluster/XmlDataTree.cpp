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
// What tools tell of a large cluster goes beyond what a person writes.
constexpr std::uint64_t kMostBytesOfText = 32 * 1024 * 1024;

void CheckSize(std::uint64_t size, std::uint64_t most) {
    if (size > most) Raise<LumPalIo::IOException_t>(msg::XmlTreeFileTooLarge, LumPalStr::NumToStr(most));
}

void Parse(const LumPalIo::InputStream_t& stream, XmlDataTree* tree) {
    const InputSource_t source(stream);
    if (source.IsNull()) return;
    XmlHandler handler(tree);
    LumPalXml::SAXParser_t parser;
    parser.SetRefuseSkippedEntities(true);
    parser.SetDepthLimit(kMostOpenElements);
    parser.SetContentHandler(&handler);
    parser.Parse(source);
}

template <class E>
[[noreturn]] void TraceAndThrow(const LumPalMsg::Message_t& message) {
    LUMCONF_TRACE(trace::Cluster, message.Format(LumPalMsg::Text | LumPalMsg::Details));
    throw E(message);
}

template <class Reading>
void Guarded(const String_t& path, Reading&& reading) {
    try {
        reading();
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

}  // namespace

void XmlDataTree::Load(const File_t& file) {
    const String_t path = file.GetAbsolutePath();
    Guarded(path, [&] {
        CheckSize(file.GetSize(), kMostBytes);
        LumPalIo::BufferedInputStream_t stream{LumPalIo::FileInputStream_t(path)};
        Parse(stream, this);
        stream.Close();
    });
}

void XmlDataTree::LoadText(const String_t& name, const LumPalArray::CharArray_t& text) {
    Guarded(name, [&] {
        CheckSize(text.GetLength(), kMostBytesOfText);
        Parse(LumPalIo::CharArrayInputStream_t::Over(text), this);
    });
}

}  // namespace LumConfCluster
