#include "SelectionSoapArg.h"

#include <exception>

#include "Names.h"
#include "SelectionImpl.h"
#include "Trace.h"
#include "Utils.h"

namespace LumConf {

using LumPalStr::String_t;
using LumVoxSoap::SOAPArgInt;

namespace {
constexpr const char* kKind = "selection";
constexpr const char* kValue = "name";
constexpr int kInKind = 2;
constexpr int kInValue = 3;
constexpr int kOldestShifted = 3;
constexpr int kNewestShifted = 9;
}  // namespace

LumVoxRpc::Description::Type SelectionSoapArg::Describe() {
    constexpr auto once = LumVoxRpc::Description::AtMostOnce;
    return {names::PolicySelection, {{kKind, wire::Number, once}, {kValue, wire::Text, once}}};
}

void SelectionSoapArg::SetSelection(const Selection& value, const String_t& host) {
    selection = value;
    targetVersion.Clear();
    if (host.IsEmpty() || host == names::LocalHost) return;
    try {
        targetVersion = Utils::GetVersion(host);
    } catch (const std::exception& e) {
        // A node that does not tell its version, for whatever reason, is taken to have the current numbering.
        LUMCONF_TRACE(trace::Policy,
                      "The version of node '" + host + "' is not known: " + String_t::FromUtf8(e.what()));
    }
}

int SelectionSoapArg::KindOnTheWire(int kind, const String_t& version) {
    // Nodes of these versions have the category, which is kind 3 here, behind all others. The bounds compare as text.
    const bool shifted = version.IsNotEmpty() && version >= "03.00.010" && version <= "06.00.055";
    if (!shifted || kind < kOldestShifted || kind > kNewestShifted) return kind;
    return kind == kNewestShifted ? kOldestShifted : kind + 1;
}

void SelectionSoapArg::WriteContent(LumPalXml::XmlWriter_t& writer) const {
    const int kind = KindOnTheWire(static_cast<int>(selection.GetImpl().GetKind()), targetVersion);
    WriteChild(writer, kKind, SOAPArgInt::IntToUnicode(kind));
    WriteChild(writer, kValue, selection.GetImpl().GetValue());
}

int SelectionSoapArg::StateOfChild(const String_t& localName) const {
    if (localName == kKind) return kInKind;
    return localName == kValue ? kInValue : 0;
}

void SelectionSoapArg::StoreChild(int state, const String_t& text) {
    if (state == kInKind) {
        selection.GetImpl().SetKind(SOAPArgInt::UnicodeToInt(text));
    } else {
        selection.GetImpl().SetValue(text);
    }
}

}  // namespace LumConf
