/// @file
/// What a request of a caller who is not allowed anything yet is held against.
#pragma once

#include "DataFilesSoapArg.h"
#include "InstallOptionsSoapArg.h"
#include "LumVoxSoap.h"

namespace LumConf {

/// Stand for the arguments of a method where all that matters is whether the request is well-formed: each refuses what
/// the argument refuses, and keeps nothing, or one text of many. Used by one thread.

/// A text of any length.
class CheckedText final : public LumVoxSoap::SOAPArg {
public:
    using SOAPArg::SOAPArg;
    void WriteContent(LumPalXml::XmlWriter_t&) const override {}
    LumVoxSoap::SOAPElement* StartElement(const LumPalStr::String_t& prefix, const LumPalStr::String_t& localName,
                                          const LumPalStr::String_t& namespaceUri) override {
        RefuseWhenOpen(localName);
        return SOAPArg::StartElement(prefix, localName, namespaceUri);
    }
    void Characters(const char16_t*, std::uint32_t, std::uint32_t) override {}
};

/// Bytes in base64.
class CheckedBytes final : public LumVoxSoap::SOAPArgByteArray {
public:
    using SOAPArgByteArray::SOAPArgByteArray;
    void Characters(const char16_t* text, std::uint32_t start, std::uint32_t length) override {
        SOAPArgByteArray::Characters(text, start, length);
        TakeValue();
    }
};

class CheckedInstallOptions final : public InstallOptionsSoapArg {
public:
    using InstallOptionsSoapArg::InstallOptionsSoapArg;

protected:
    void StoreChild(int state, const LumPalStr::String_t& text) override {
        InstallOptionsSoapArg::StoreChild(state, text);
        SetOptions(InstallOptions());
    }
};

class CheckedDataFiles final : public DataFilesSoapArg {
protected:
    void StoreChild(int, const LumPalStr::String_t&) override {}
};

}  // namespace LumConf
