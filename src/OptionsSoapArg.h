/// @file
/// The options of a policy operation on the wire.
#pragma once

#include "FlatSoapArg.h"
#include "LumVoxRpc.h"
#include "PolicyForwarder.h"

namespace LumConf {

/// Carries the notify option; target id and close-connection flag do not travel.
class OptionsSoapArg : public FlatSoapArg {
public:
    explicit OptionsSoapArg(const LumPalStr::String_t& name) : FlatSoapArg(name) {}
    void SetOptions(const PolicyForwarder::Options& value) { options = value; }
    const PolicyForwarder::Options& GetOptions() const noexcept { return options; }
    /// The argument as it is described to clients.
    static LumVoxRpc::Description::Type Describe();
    void WriteContent(LumPalXml::XmlWriter_t& writer) const override;

protected:
    int StateOfChild(const LumPalStr::String_t& localName) const override;
    void StoreChild(int state, const LumPalStr::String_t& text) override;

private:
    PolicyForwarder::Options options;
};

}  // namespace LumConf
