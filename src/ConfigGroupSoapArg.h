/// @file
/// A group of configurations on the wire.
#pragma once

#include <unordered_set>

#include "LumPalConfig.h"
#include "LumVoxRpc.h"
#include "LumVoxSoap.h"
#include "TextHash.h"

namespace LumConf {

/// Carries namespaces with their attributes, side by side: "ns", and behind it for each of its attributes "attrname"
/// and "attrvalue". What stands in no such place is refused with the whole message, so that nothing is set or cleared
/// that was not meant: an unknown element, an element inside another, a name without a value, a value or a name before
/// the first namespace, too many namespaces. Used by one thread.
class ConfigGroupSoapArg : public LumVoxSoap::SOAPArg {
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
    /// The argument as it is described to clients.
    static LumVoxRpc::Description::Type Describe();
    void WriteContent(LumPalXml::XmlWriter_t& writer) const override;

    LumVoxSoap::SOAPElement* StartElement(const LumPalStr::String_t& prefix, const LumPalStr::String_t& localName,
                                          const LumPalStr::String_t& namespaceUri) override;
    /// @throws LumVoxSoap::SOAPFormatException for an attribute that is not whole or in no namespace
    void EndElement(const LumPalStr::String_t& prefix, const LumPalStr::String_t& localName,
                    const LumPalStr::String_t& namespaceUri) override;
    bool RefusesUnknown() const override { return true; }

protected:
    /// A namespace begins. @return false when it is one too many
    virtual bool TakeNamespace(const LumPalStr::String_t& name);
    /// An attribute of the namespace.
    virtual void TakeAttribute(const LumPalStr::String_t& name, const LumPalStr::String_t& value);

    const int mostNamespaces;

private:
    enum State { Outside = 0, Inside = 1, InNamespace = 2, InName = 3, InValue = 4 };
    State StateOfChild(const LumPalStr::String_t& localName) const;
    void StoreChild(State child);
    void DemandNoPendingName() const;

    LumPalConfig::ConfigGroup_t group;
    LumPalConfig::Configuration_t current;
    bool haveNamespace = false;  ///< whether current is of the group
    LumPalStr::String_t attributeName;
    bool namePending = false;  ///< an attribute's name has come, its value has not
    State parseState = Outside;
};

/// Stands for the argument where all that matters is whether the request is well-formed: of the group it keeps the
/// names of the namespaces, to count them.
class CheckedGroup final : public ConfigGroupSoapArg {
public:
    using ConfigGroupSoapArg::ConfigGroupSoapArg;

protected:
    bool TakeNamespace(const LumPalStr::String_t& name) override {
        nameSpaces.insert(name);
        return nameSpaces.size() <= static_cast<std::size_t>(mostNamespaces);
    }
    void TakeAttribute(const LumPalStr::String_t&, const LumPalStr::String_t&) override {}

private:
    std::unordered_set<LumPalStr::String_t, TextHash> nameSpaces;
};

}  // namespace LumConf
