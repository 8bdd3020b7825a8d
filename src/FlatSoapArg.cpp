#include "FlatSoapArg.h"

#include "Trace.h"

namespace LumConf {

using LumPalStr::String_t;

LumVoxSoap::SOAPElement* FlatSoapArg::StartElement(const String_t& prefix, const String_t& localName,
                                                   const String_t& namespaceUri) {
    if (parseState == Outside) {
        if (localName == GetName()) {
            SOAPArg::StartElement(prefix, localName, namespaceUri);
            parseState = Inside;
        }
        return this;
    }
    collected.Clear();
    collecting = false;
    if (const int state = StateOfChild(localName); state != 0) {
        parseState = state;
        collecting = true;
    } else {
        ++unknownDepth;
        LUMCONF_TRACE(trace::Message,
                      String_t("unknown element '") + localName + "' in '" + GetName() + "' is ignored");
    }
    // The base stays on this element, so that the events of the child come back here.
    const String_t ownPrefix = GetPrefix(), ownNamespace = GetNamespaceUri();
    SOAPArg::EndElement(ownPrefix, GetName(), ownNamespace);
    SOAPArg::StartElement(ownPrefix, GetName(), ownNamespace);
    return this;
}

void FlatSoapArg::Characters(const char16_t* text, std::uint32_t start, std::uint32_t length) {
    if (collecting) collected.Append(text + start, length);
}

void FlatSoapArg::EndElement(const String_t& prefix, const String_t& localName, const String_t& namespaceUri) {
    collecting = false;
    if (unknownDepth > 0) {
        --unknownDepth;
    } else if (parseState <= Inside) {
        SOAPArg::EndElement(prefix, localName, namespaceUri);
        parseState = Outside;
    } else {
        const int state = parseState;
        parseState = Inside;
        StoreChild(state, collected);
        collected.Clear();  // who has stored it holds it alone
    }
}

void WriteChild(LumPalXml::XmlWriter_t& writer, const char* name, const String_t& text) {
    writer.OpenTag(name);
    writer.Data(text);
    writer.CloseTag();
}

}  // namespace LumConf
