#include "SelectionSoapArg.h"

#include "SelectionImpl.h"

namespace LumConf {

using LumPalStr::String_t;
using LumVoxSoap::SOAPArgInt;

namespace {
constexpr int kInKind = 2;
constexpr int kInValue = 3;
constexpr int kOldestShifted = 3;
constexpr int kNewestShifted = 9;
}  // namespace

void SelectionSoapArg::SetSelection(const Selection& value, const String_t&) {
    selection = value;
    // No node is asked for its version: every target is taken to have the current numbering.
    targetVersion.Clear();
}

int SelectionSoapArg::KindOnTheWire(int kind, const String_t& version) {
    // Nodes of these versions have the category, which is kind 3 here, behind all others. The bounds compare as text.
    const bool shifted = version.IsNotEmpty() && version >= "03.00.010" && version <= "06.00.055";
    if (!shifted || kind < kOldestShifted || kind > kNewestShifted) return kind;
    return kind == kNewestShifted ? kOldestShifted : kind + 1;
}

void SelectionSoapArg::WriteContent(LumPalXml::XmlWriter_t& writer) const {
    const int kind = KindOnTheWire(static_cast<int>(selection.GetImpl().GetKind()), targetVersion);
    WriteChild(writer, "selection", SOAPArgInt::IntToUnicode(kind));
    WriteChild(writer, "name", selection.GetImpl().GetValue());
}

int SelectionSoapArg::StateOfChild(const String_t& localName) const {
    if (localName == "selection") return kInKind;
    return localName == "name" ? kInValue : 0;
}

void SelectionSoapArg::StoreChild(int state, const String_t& text) {
    if (state == kInKind) {
        selection.GetImpl().SetKind(SOAPArgInt::UnicodeToInt(text));
    } else {
        selection.GetImpl().SetValue(text);
    }
}

}  // namespace LumConf
