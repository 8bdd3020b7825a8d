/// @file
/// A selection on the wire.
#pragma once

#include "FlatSoapArg.h"
#include "LumVoxRpc.h"
#include "Selection.h"

namespace LumConf {

/// Carries a selection's kind and value; its version field does not travel.
class SelectionSoapArg : public FlatSoapArg {
public:
    explicit SelectionSoapArg(const LumPalStr::String_t& name) : FlatSoapArg(name) {}
    /// @param host  the target; nodes of old versions number the kinds differently, so that any other node than
    ///              this one is asked for its version, once
    void SetSelection(const Selection& value, const LumPalStr::String_t& host);
    const Selection& GetSelection() const noexcept { return selection; }
    /// The argument as it is described to clients.
    static LumVoxRpc::Description::Type Describe();
    void WriteContent(LumPalXml::XmlWriter_t& writer) const override;

    /// The number of a kind for a target of this version; an empty version means the current numbering.
    static int KindOnTheWire(int kind, const LumPalStr::String_t& targetVersion);

protected:
    int StateOfChild(const LumPalStr::String_t& localName) const override;
    void StoreChild(int state, const LumPalStr::String_t& text) override;

private:
    Selection selection;
    LumPalStr::String_t targetVersion;
};

}  // namespace LumConf
