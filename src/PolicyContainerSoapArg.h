/// @file
/// A list of policies on the wire.
#pragma once

#include <set>
#include <vector>

#include "LumPalPtr.h"
#include "LumVoxRpc.h"
#include "LumVoxSoap.h"
#include "PolicyContainer.h"
#include "PolicyContainerImpl.h"
#include "PolicyHeaderImpl.h"

namespace LumConf {

/// Carries a policy container: one "policyheader" for each policy, without its version id. Of its files it carries
/// those that were asked for, and those that the node misses; a reader of an older version passes over both. Used by
/// one thread; the headers of the container may be changed by others meanwhile.
class PolicyContainerSoapArg : public LumVoxSoap::SOAPArg {
public:
    explicit PolicyContainerSoapArg(const LumPalStr::String_t& name) : SOAPArg(name) {}
    void SetContainer(const PolicyContainer& value);
    /// The data files that are written of each policy that names them; none at first.
    void SetDataFiles(const std::vector<LumPalStr::String_t>& names) { dataFiles = {names.begin(), names.end()}; }
    /// @throws PolicyNotFoundError SoapNoPolicyObject when the argument never came
    PolicyContainer GetContainer() const;
    /// The argument as it is described to clients, and what it consists of.
    static std::vector<LumVoxRpc::Description::Type> Describe();
    void WriteContent(LumPalXml::XmlWriter_t& writer) const override;

    LumVoxSoap::SOAPElement* StartElement(const LumPalStr::String_t& prefix, const LumPalStr::String_t& localName,
                                          const LumPalStr::String_t& namespaceUri) override;
    void Characters(const char16_t* text, std::uint32_t start, std::uint32_t length) override;
    void EndElement(const LumPalStr::String_t& prefix, const LumPalStr::String_t& localName,
                    const LumPalStr::String_t& namespaceUri) override;
    /// Beside the headers stands nothing else; what is unknown inside of one is passed over.
    bool RefusesUnknown() const override { return true; }

private:
    /// What the reader stands in; the numbers are those of the wire's table.
    enum State {
        Outside = 0,
        InArgument = 1,
        InHeader = 2,
        InContainerId = 3,
        InStatus = 4,
        InName = 5,
        InVersion = 6,
        InDescription = 7,
        InOwner = 8,
        InTypeName = 9,
        InTypeVersion = 10,
        InTypeId = 11,
        InCategory = 12,
        InCategories = 13,
        InAttributes = 14,
        InAttributeName = 15,
        InAttributeValue = 16,
        // Of this system's own.
        InDataFile = 17,
        InMissingDataFile = 18
    };
    struct Child;
    static const Child children[];
    const Child* FindChild(const LumPalStr::String_t& localName) const;
    void EnterChild(const LumPalStr::String_t& localName);
    void StoreChild();
    void FinishHeader();
    void WriteHeader(LumPalXml::XmlWriter_t& writer, const PolicyRecord& policy) const;

    LumPalPtr::RefPtr_t<PolicyContainerImpl> container;
    std::set<LumPalStr::String_t> dataFiles;
    LumPalPtr::RefPtr_t<PolicyHeaderImpl> header;
    State parseState = Outside;
    int unknownDepth = 0;
    bool collecting = false;
    LumPalStr::String_t collected;
    LumPalStr::String_t attributeName;
};

}  // namespace LumConf
