#include "ConfigGroupSoapArg.h"

#include "FlatSoapArg.h"
#include "Names.h"

namespace LumConf {

using LumConf::WriteChild;
using LumPalConfig::Configuration_t;
using LumPalStr::String_t;
using LumVoxSoap::SOAPFormatException;

namespace {

constexpr const char* kNamespace = "ns";
constexpr const char* kAttributeName = "attrname";
constexpr const char* kAttributeValue = "attrvalue";

void WriteConfiguration(LumPalXml::XmlWriter_t& writer, const Configuration_t& configuration) {
    WriteChild(writer, kNamespace, configuration.GetNamespace());
    String_t name, value;
    for (int i = 0; configuration.GetAttr(i, name, value); ++i) {
        WriteChild(writer, kAttributeName, name);
        WriteChild(writer, kAttributeValue, value);
    }
}

}  // namespace

LumVoxRpc::Description::Type ConfigGroupSoapArg::Describe() {
    constexpr auto once = LumVoxRpc::Description::AtMostOnce;
    // A namespace and its attributes stand side by side: rows of which any part may be left out.
    return {names::ConfigGroupName,
            {{kNamespace, wire::Text, once}, {kAttributeName, wire::Text, once}, {kAttributeValue, wire::Text, once}},
            true};
}

void ConfigGroupSoapArg::WriteContent(LumPalXml::XmlWriter_t& writer) const {
    for (int i = 0; i < group.GetConfigCount(); ++i) WriteConfiguration(writer, group.GetConfig(i));
}

ConfigGroupSoapArg::State ConfigGroupSoapArg::StateOfChild(const String_t& localName) const {
    if (parseState == Outside) return localName == GetName() ? Inside : Outside;
    if (parseState != Inside) return Outside;
    if (localName == kNamespace) return InNamespace;
    if (localName == kAttributeName) return InName;
    return localName == kAttributeValue ? InValue : Outside;
}

LumVoxSoap::SOAPElement* ConfigGroupSoapArg::StartElement(const String_t& prefix, const String_t& localName,
                                                          const String_t& namespaceUri) {
    const State next = StateOfChild(localName);
    if (next == Outside) return nullptr;
    parseState = next;
    return SOAPArg::StartElement(prefix, localName, namespaceUri);
}

void ConfigGroupSoapArg::EndElement(const String_t& prefix, const String_t& localName, const String_t& namespaceUri) {
    if (parseState <= Inside) {
        DemandNoPendingName();
        parseState = Outside;
        haveNamespace = false;
        return SOAPArg::EndElement(prefix, localName, namespaceUri);
    }
    const State child = parseState;
    parseState = Inside;
    StoreChild(child);
}

void ConfigGroupSoapArg::StoreChild(State child) {
    if (child != InValue) DemandNoPendingName();
    if (child != InNamespace && !haveNamespace) {
        throw SOAPFormatException(LumPalMsg::CreateError_t("An attribute stands before the first namespace."));
    }
    const String_t& text = GetCharacters();
    if (child == InNamespace) {
        if (!TakeNamespace(text)) {
            throw SOAPFormatException(LumPalMsg::CreateError_t("The argument '%1' holds too many namespaces.")
                                      << GetName());
        }
        haveNamespace = true;
    } else if (child == InName) {
        attributeName = text;
        namePending = true;
    } else {
        if (!namePending) throw SOAPFormatException(LumPalMsg::CreateError_t("An attribute's value has no name."));
        TakeAttribute(attributeName, text);
        namePending = false;
    }
}

bool ConfigGroupSoapArg::TakeNamespace(const String_t& name) {
    if (group.GetConfigCount() >= mostNamespaces && !group.HasConfig(name)) return false;
    current = group.GetConfig(name);
    return true;
}

void ConfigGroupSoapArg::TakeAttribute(const String_t& name, const String_t& value) {
    current.SetAttrValue(name, value);
}

void ConfigGroupSoapArg::DemandNoPendingName() const {
    if (namePending) throw SOAPFormatException(LumPalMsg::CreateError_t("An attribute's name has no value."));
}

}  // namespace LumConf
