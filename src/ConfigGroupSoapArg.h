/// @file
/// A group of configurations on the wire.
#pragma once

#include "LumPalConfig.h"
#include "LumVoxSoap.h"

namespace LumConf {

/// Carries namespaces with their attributes, side by side: "ns", and behind it for each of its attributes "attrname"
/// and "attrvalue". What stands in no such place is refused with the whole message, so that nothing is set or cleared
/// that was not meant: an unknown element, an element inside another, a name without a value, a value or a name before
/// the first namespace, too many namespaces. Used by one thread.
class ConfigGroupSoapArg final : public LumVoxSoap::SOAPArg {
public:
    /// A namespace takes many times the memory of its element in a message, and requests come from anybody.
    static constexpr int kMostOfARequest = 100000;
    /// What many requests have brought must be readable again; so many take no more than the attributes of an answer
    /// of the same size may.
    static constexpr int kMostOfAnAnswer = 10000000;

    /// @param mostNamespaces  that are read; more refuse the message
    explicit ConfigGroupSoapArg(const LumPalStr::String_t& name, int mostNamespaces = kMostOfARequest)
        : SOAPArg(name), mostNamespaces(mostNamespaces) {}
    /// Shares the group.
    void SetGroup(const LumPalConfig::ConfigGroup_t& value) { group = value; }
    const LumPalConfig::ConfigGroup_t& GetGroup() const noexcept { return group; }
    void WriteContent(LumPalXml::XmlWriter_t& writer) const override;

    LumVoxSoap::SOAPElement* StartElement(const LumPalStr::String_t& prefix, const LumPalStr::String_t& localName,
                                          const LumPalStr::String_t& namespaceUri) override;
    /// @throws LumVoxSoap::SOAPFormatException for an attribute that is not whole or in no namespace
    void EndElement(const LumPalStr::String_t& prefix, const LumPalStr::String_t& localName,
                    const LumPalStr::String_t& namespaceUri) override;
    bool RefusesUnknown() const override { return true; }

private:
    enum State { Outside = 0, Inside = 1, InNamespace = 2, InName = 3, InValue = 4 };
    State StateOfChild(const LumPalStr::String_t& localName) const;
    void StoreChild(State child);
    void DemandNoPendingName() const;

    const int mostNamespaces;
    LumPalConfig::ConfigGroup_t group;
    LumPalConfig::Configuration_t current;
    bool haveNamespace = false;  ///< whether current is of the group
    LumPalStr::String_t attributeName;
    bool namePending = false;  ///< an attribute's name has come, its value has not
    State parseState = Outside;
};

}  // namespace LumConf
