#include "DataFilesSoapArg.h"

namespace LumConf {

using LumPalStr::String_t;

namespace {
constexpr int kInFile = 2;
}

void DataFilesSoapArg::WriteContent(LumPalXml::XmlWriter_t& writer) const {
    for (const String_t& file : files) WriteChild(writer, names::FieldDataFile, file);
}

int DataFilesSoapArg::StateOfChild(const String_t& localName) const {
    return localName == names::FieldDataFile ? kInFile : 0;
}

void DataFilesSoapArg::StoreChild(int, const String_t& text) {
    files.push_back(text);
}

}  // namespace LumConf
