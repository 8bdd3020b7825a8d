#include "OptionsSoapArg.h"

namespace LumConf {

using LumPalStr::String_t;
using LumVoxSoap::SOAPArgBool;

namespace {
constexpr int kInNotify = 2;
}

void OptionsSoapArg::WriteContent(LumPalXml::XmlWriter_t& writer) const {
    WriteChild(writer, "notify", SOAPArgBool::BoolToUnicode(options.GetNotify()));
}

int OptionsSoapArg::StateOfChild(const String_t& localName) const {
    return localName == "notify" ? kInNotify : 0;
}

void OptionsSoapArg::StoreChild(int, const String_t& text) {
    options.SetNotify(SOAPArgBool::UnicodeToBool(text));
}

}  // namespace LumConf
