#include "XmlHandler.h"

#include <memory>

#include "Exceptions.h"
#include "Messages.h"
#include "Trace.h"
#include "XmlDataNodes.h"

namespace LumConfCluster {

using namespace LumConf;
using LumPalStr::String_t;
using LumPalXml::SAX::Attributes_i;

namespace {

template <class E, unsigned Holes>
[[noreturn]] void TraceAndRaise(const MessageOf<Holes>& row) {
    const LumPalMsg::Message_t message = Make(row);
    LUMCONF_TRACE(trace::Cluster, message);
    throw E(message);
}

void CopyAttributes(XmlDataNode& node, const Attributes_i& attributes) {
    const int count = attributes.GetCount();
    if (count == 0) return;
    auto array = std::make_unique<String_t[]>(2 * static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        array[2 * i] = attributes.GetLocalName(i);
        array[2 * i + 1] = attributes.GetValue(i);
    }
    node.SetAttributes(array.release(), count);
}

/// The text without blanks at its end.
String_t TrimmedBehind(const String_t& text) {
    String_t guarded = "|" + text;
    return guarded.Trim().Mid(1);
}

}  // namespace

void XmlHandler::StartDocument() {
    if (!root) TraceAndRaise<LumPalMsg::IllegalStateError_t>(msg::XmlTreeMissing);
    current = root;
}

void XmlHandler::EndDocument() {}

void XmlHandler::StartElement(const String_t&, const String_t& localName, const String_t&,
                              const Attributes_i& attributes) {
    XmlDataNode node;
    node.SetName(localName);
    CopyAttributes(node, attributes);
    node.parent = current;
    current->AddChildNode(node);
    current = &(*current)[current->ChildrenCount() - 1];
}

// kept: the value is trimmed after each piece. It is trimmed already, so that only the new piece has to be looked at;
// a text of many pieces would otherwise be copied once for each of them.
void XmlHandler::Characters(const char16_t* text, std::uint32_t start, std::uint32_t length) {
    String_t piece(text + start, length);
    String_t& value = current->value;
    value += value.IsEmpty() ? piece.Trim() : TrimmedBehind(piece);
}

void XmlHandler::EndElement(const String_t&, const String_t& localName, const String_t&) {
    if (current->GetName() != localName) TraceAndRaise<ClusterXmlDataTreeException>(msg::XmlTreeClosingTagDiffers);
    current = current->parent;
}

}  // namespace LumConfCluster
