/// @file
/// Names of data files on the wire.
#pragma once

#include <vector>

#include "FlatSoapArg.h"
#include "Names.h"

namespace LumConf {

/// Carries the data files that a list is narrowed to; a request may come without.
class DataFilesSoapArg : public FlatSoapArg {
public:
    using Files = std::vector<LumPalStr::String_t>;

    DataFilesSoapArg() : FlatSoapArg(names::PolicyDataFiles) { SetOptional(); }
    explicit DataFilesSoapArg(const Files& files) : DataFilesSoapArg() { this->files = files; }
    const Files& GetFiles() const noexcept { return files; }
    void WriteContent(LumPalXml::XmlWriter_t& writer) const override;

protected:
    int StateOfChild(const LumPalStr::String_t& localName) const override;
    void StoreChild(int state, const LumPalStr::String_t& text) override;

private:
    Files files;
};

}  // namespace LumConf
