#include "OptionsSoapArg.h"

#include "Names.h"

namespace LumConf {

using LumPalStr::String_t;
using LumVoxSoap::SOAPArgBool;

namespace {
constexpr int kInNotify = 2;
constexpr const char* kNotify = "notify";
}  // namespace

LumVoxRpc::Description::Type OptionsSoapArg::Describe() {
    return {names::PolicyOptions, {{kNotify, wire::Truth, LumVoxRpc::Description::AtMostOnce}}};
}

void OptionsSoapArg::WriteContent(LumPalXml::XmlWriter_t& writer) const {
    WriteChild(writer, kNotify, SOAPArgBool::BoolToUnicode(options.GetNotify()));
}

int OptionsSoapArg::StateOfChild(const String_t& localName) const {
    return localName == kNotify ? kInNotify : 0;
}

void OptionsSoapArg::StoreChild(int, const String_t& text) {
    options.SetNotify(SOAPArgBool::UnicodeToBool(text));
}

}  // namespace LumConf
