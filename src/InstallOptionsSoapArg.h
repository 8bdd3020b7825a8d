/// @file
/// Install options on the wire.
#pragma once

#include <vector>

#include "FlatSoapArg.h"
#include "InstallOptions.h"
#include "LumVoxRpc.h"

namespace LumConf {

/// Carries every install option but target id and close-connection flag.
class InstallOptionsSoapArg : public FlatSoapArg {
public:
    explicit InstallOptionsSoapArg(const LumPalStr::String_t& name) : FlatSoapArg(name) {}
    void SetOptions(const InstallOptions& value);
    /// @throws LumPalMsg::IllegalArgumentError_t AttributeEmpty, AttributeWithBadText for a bad attribute that was
    ///         read: it is well-formed all the same, and whoever may not install hears nothing of it
    InstallOptions GetOptions() const;
    /// As GetOptions, but gives the attributes up as it parts them, so that none is held twice: to be called once.
    InstallOptions TakeOptions();
    /// The argument as it is described to clients.
    static LumVoxRpc::Description::Type Describe();
    void WriteContent(LumPalXml::XmlWriter_t& writer) const override;

protected:
    int StateOfChild(const LumPalStr::String_t& localName) const override;
    void StoreChild(int state, const LumPalStr::String_t& text) override;

private:
    InstallOptions options;                                            ///< but for the attributes that were read
    std::vector<LumPalStr::String_t> addAttributes, removeAttributes;  ///< as they were read
};

}  // namespace LumConf
