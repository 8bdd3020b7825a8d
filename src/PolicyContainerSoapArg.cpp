#include "PolicyContainerSoapArg.h"

#include "Exceptions.h"
#include "FlatSoapArg.h"
#include "MessageNumbers.h"
#include "Messages.h"
#include "Names.h"
#include "Trace.h"

namespace LumConf {

using LumPalStr::String_t;
using LumVoxRpc::Description;
using LumVoxSoap::SOAPElement;

static_assert(msg::SoapNoPolicyObject.id == kNoListInAnswer);

/// One child element: the state that its name leads to, and the only state in which the name is known
/// (Outside: any state inside a header or deeper).
struct PolicyContainerSoapArg::Child {
    const char* name;
    State state;
    State knownIn;
    State parent;
    bool hasText;
    void (PolicyHeaderImpl::*store)(const String_t&);
    String_t PolicyRecord::*text = nullptr;  ///< what is written; null where it is not one text
};

// In the order in which they are written.
const PolicyContainerSoapArg::Child PolicyContainerSoapArg::children[] = {
    {names::FieldContainerId, InContainerId, Outside, InHeader, true, &PolicyHeaderImpl::SetContainerId,
     &PolicyRecord::containerId},
    {names::FieldStatus, InStatus, InHeader, InHeader, true, &PolicyHeaderImpl::SetStatus, &PolicyRecord::status},
    {names::FieldName, InName, InHeader, InHeader, true, &PolicyHeaderImpl::SetName, &PolicyRecord::name},
    {names::FieldVersion, InVersion, InHeader, InHeader, true, &PolicyHeaderImpl::SetVersion, &PolicyRecord::version},
    {names::FieldDescription, InDescription, InHeader, InHeader, true, &PolicyHeaderImpl::SetDescription,
     &PolicyRecord::description},
    {names::FieldOwner, InOwner, InHeader, InHeader, true, &PolicyHeaderImpl::SetOwner, &PolicyRecord::owner},
    {names::FieldTypeName, InTypeName, InHeader, InHeader, true, &PolicyHeaderImpl::SetTypeName,
     &PolicyRecord::typeName},
    {names::FieldTypeVersion, InTypeVersion, InHeader, InHeader, true, &PolicyHeaderImpl::SetTypeVersion,
     &PolicyRecord::typeVersion},
    {names::FieldTypeId, InTypeId, InHeader, InHeader, true, &PolicyHeaderImpl::SetTypeId, &PolicyRecord::typeId},
    {names::FieldCategories, InCategories, InHeader, InHeader, false, nullptr},
    {names::FieldCategory, InCategory, InCategories, InCategories, true, nullptr},
    {names::FieldAttribute, InAttributes, InHeader, InHeader, false, nullptr},
    {names::FieldAttributeName, InAttributeName, InAttributes, InAttributes, true, nullptr},
    {names::FieldAttributeValue, InAttributeValue, InAttributes, InAttributes, true, nullptr},
    {names::FieldDataFile, InDataFile, InHeader, InHeader, true, &PolicyHeaderImpl::SetDataFile},
    {names::FieldMissingDataFile, InMissingDataFile, InHeader, InHeader, true, &PolicyHeaderImpl::AddMissingDataFile},
};

namespace {

void WriteCategories(LumPalXml::XmlWriter_t& writer, const PolicyRecord& header) {
    if (header.categories.empty()) return;
    writer.OpenTag(names::FieldCategories);
    for (const String_t& category : header.categories) WriteChild(writer, names::FieldCategory, category);
    writer.CloseTag();
}

void WriteAttributes(LumPalXml::XmlWriter_t& writer, const PolicyRecord& header) {
    if (header.attributes.empty()) return;
    writer.OpenTag(names::FieldAttribute);
    for (const auto& attribute : header.attributes) {
        WriteChild(writer, names::FieldAttributeName, attribute->GetName());
        WriteChild(writer, names::FieldAttributeValue, attribute->GetValue());
    }
    writer.CloseTag();
}

void WriteDataFiles(LumPalXml::XmlWriter_t& writer, const PolicyRecord& header, const std::set<String_t>& asked) {
    for (const PolicyDataFile& file : header.dataFiles) {
        if (asked.count(file.name) > 0) WriteChild(writer, names::FieldDataFile, file.name);
    }
    for (const String_t& file : header.missingDataFiles) WriteChild(writer, names::FieldMissingDataFile, file);
}

std::string Own(const char* type) {
    return std::string("m:") + type;
}

}  // namespace

std::vector<Description::Type> PolicyContainerSoapArg::Describe() {
    constexpr auto once = Description::AtMostOnce;
    constexpr auto many = Description::AnyNumber;
    Description::Type header{names::FieldPolicyHeader, {}};
    for (const Child& child : children)
        if (child.text) header.children.push_back({child.name, wire::Text});
    header.children.push_back({names::FieldCategories, Own(names::FieldCategories), once});
    header.children.push_back({names::FieldAttribute, Own(names::FieldAttribute), once});
    header.children.push_back({names::FieldDataFile, wire::Text, many});
    header.children.push_back({names::FieldMissingDataFile, wire::Text, many});
    return {{names::FieldCategories, {{names::FieldCategory, wire::Text, many}}},
            {names::FieldAttribute,
             {{names::FieldAttributeName, wire::Text}, {names::FieldAttributeValue, wire::Text}},
             true},
            header,
            {names::PolicyContainer, {{names::FieldPolicyHeader, Own(names::FieldPolicyHeader), many}}}};
}

void PolicyContainerSoapArg::WriteHeader(LumPalXml::XmlWriter_t& writer, const PolicyRecord& policy) const {
    writer.OpenTag(names::FieldPolicyHeader);
    for (const Child& child : children)
        if (child.text) WriteChild(writer, child.name, policy.*child.text);
    WriteCategories(writer, policy);
    WriteAttributes(writer, policy);
    WriteDataFiles(writer, policy, dataFiles);
    writer.CloseTag();
}

void PolicyContainerSoapArg::SetContainer(const PolicyContainer& value) {
    container = LumPalPtr::RefPtr_t<PolicyContainerImpl>(value.GetImpl());
}

PolicyContainer PolicyContainerSoapArg::GetContainer() const {
    if (!container) Raise<PolicyNotFoundError>(msg::SoapNoPolicyObject);
    return PolicyContainer(container.Get());
}

void PolicyContainerSoapArg::WriteContent(LumPalXml::XmlWriter_t& writer) const {
    if (!container) return;
    const int count = container->GetCount();
    for (int i = 0; i < count; ++i) WriteHeader(writer, container->GetPolicyHeader(i)->Snapshot());
}

const PolicyContainerSoapArg::Child* PolicyContainerSoapArg::FindChild(const String_t& localName) const {
    for (const Child& child : children) {
        if (localName == child.name) return child.knownIn == Outside || child.knownIn == parseState ? &child : nullptr;
    }
    return nullptr;
}

SOAPElement* PolicyContainerSoapArg::StartElement(const String_t& prefix, const String_t& localName,
                                                  const String_t& namespaceUri) {
    if (parseState == Outside) {
        if (localName != GetName()) return nullptr;
        container = LumPalPtr::RefPtr_t<PolicyContainerImpl>(new PolicyContainerImpl);
        parseState = InArgument;
        return SOAPArg::StartElement(prefix, localName, namespaceUri);
    }
    if (parseState == InArgument) {
        if (localName != names::FieldPolicyHeader) return nullptr;
        parseState = InHeader;
        return SOAPArg::StartElement(GetPrefix(), GetName(), GetNamespaceUri());
    }
    EnterChild(localName);
    // The base stays on this element, so that the events of the child come back here.
    const String_t ownPrefix = GetPrefix(), ownNamespace = GetNamespaceUri();
    SOAPArg::EndElement(ownPrefix, GetName(), ownNamespace);
    SOAPArg::StartElement(ownPrefix, GetName(), ownNamespace);
    return this;
}

void PolicyContainerSoapArg::EnterChild(const String_t& localName) {
    collected.Clear();
    collecting = false;
    if (const Child* child = FindChild(localName)) {
        parseState = child->state;
        collecting = child->hasText;
    } else {
        ++unknownDepth;
        LUMCONF_TRACE(trace::Message, String_t("unknown element '") + localName + "' in a policy list is ignored");
    }
}

void PolicyContainerSoapArg::Characters(const char16_t* text, std::uint32_t start, std::uint32_t length) {
    if (collecting) collected.Append(text + start, length);
}

void PolicyContainerSoapArg::EndElement(const String_t& prefix, const String_t& localName,
                                        const String_t& namespaceUri) {
    collecting = false;
    if (unknownDepth > 0) {
        --unknownDepth;
    } else if (parseState <= InArgument) {
        SOAPArg::EndElement(prefix, localName, namespaceUri);
        parseState = Outside;
    } else if (parseState == InHeader) {
        FinishHeader();
    } else {
        StoreChild();
    }
}

void PolicyContainerSoapArg::StoreChild() {
    for (const Child& child : children) {
        if (child.state != parseState) continue;
        // The id creates the header; fields of a header that brought no id first have no place to go.
        if (parseState == InContainerId) header = LumPalPtr::RefPtr_t<PolicyHeaderImpl>(new PolicyHeaderImpl);
        if (header && child.store) (header.Get()->*child.store)(collected);
        if (header && parseState == InCategory) header->SetCategory(collected);
        if (parseState == InAttributeName) attributeName = collected;
        if (header && parseState == InAttributeValue) header->SetAttribute(attributeName, collected);
        parseState = child.parent;
        return;
    }
}

void PolicyContainerSoapArg::FinishHeader() {
    if (header) {
        header->Compact();
        container->Insert(header.Get());
    }
    header = {};
    parseState = InArgument;
}

}  // namespace LumConf
