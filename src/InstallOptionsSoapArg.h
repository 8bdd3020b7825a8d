/// @file
/// Install options on the wire.
#pragma once

#include "FlatSoapArg.h"
#include "InstallOptions.h"

namespace LumConf {

/// Carries every install option but target id and close-connection flag.
class InstallOptionsSoapArg : public FlatSoapArg {
public:
    explicit InstallOptionsSoapArg(const LumPalStr::String_t& name) : FlatSoapArg(name) {}
    void SetOptions(const InstallOptions& value) { options = value; }
    const InstallOptions& GetOptions() const noexcept { return options; }
    void WriteContent(LumPalXml::XmlWriter_t& writer) const override;

protected:
    int StateOfChild(const LumPalStr::String_t& localName) const override;
    void StoreChild(int state, const LumPalStr::String_t& text) override;

private:
    InstallOptions options;
};

}  // namespace LumConf
