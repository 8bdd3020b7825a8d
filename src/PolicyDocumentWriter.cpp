#include "PolicyDocumentWriter.h"

#include "LumPalCodeset.h"
#include "Messages.h"
#include "Names.h"

namespace LumConf {

using LumPalIo::File_t;
using LumPalStr::String_t;
using LumPalXml::XmlWriter_t;

namespace {

void WriteText(XmlWriter_t& writer, const char* tag, const String_t& text) {
    writer.OpenTag(tag);
    writer.Data(text);
    writer.CloseTag();
}

void WriteIds(XmlWriter_t& writer, const PolicyRecord& record) {
    writer.OpenTag(names::TagIds);
    WriteText(writer, names::TagContainerId, record.containerId);
    WriteText(writer, names::TagVersionId, record.versionId);
    writer.CloseTag();
}

void WriteFiles(XmlWriter_t& writer, const PolicyRecord& record) {
    writer.OpenTag(names::TagFiles);
    writer.OpenTag(names::TagData);
    for (const PolicyDataFile& file : record.dataFiles) {
        WriteText(writer, names::TagFileName, file.name);
        WriteText(writer, names::TagEncoding, file.encoding);
        WriteText(writer, names::TagChecksum, file.checksum);
        WriteText(writer, names::TagSignature, String_t());
    }
    writer.CloseTag();
    writer.CloseTag();
}

void WriteCategories(XmlWriter_t& writer, const PolicyRecord& record) {
    writer.OpenTag(names::TagCategories);
    for (const String_t& category : record.categories) WriteText(writer, names::TagCategory, category);
    writer.CloseTag();
}

void WriteAttributes(XmlWriter_t& writer, const PolicyRecord& record) {
    writer.OpenTag(names::TagAttributes);
    for (const auto& attribute : record.attributes) {
        writer.OpenTag(names::TagAttribute);
        WriteText(writer, names::TagName, attribute->GetName());
        WriteText(writer, names::TagValue, attribute->GetValue());
        writer.CloseTag();
    }
    writer.CloseTag();
}

void WritePolicy(XmlWriter_t& writer, const PolicyRecord& record) {
    writer.OpenTag(names::TagPolicy);
    WriteIds(writer, record);
    WriteText(writer, names::TagName, record.name);
    WriteText(writer, names::TagVersion, record.version);
    WriteText(writer, names::TagDescription, record.description);
    WriteText(writer, names::TagStatus, record.status);
    WriteText(writer, names::TagOwner, record.owner);
    WriteFiles(writer, record);
    WriteCategories(writer, record);
    WriteAttributes(writer, record);
    writer.CloseTag();
}

void WriteType(XmlWriter_t& writer, const PolicyRecord& record) {
    writer.OpenTag(names::TagPolicyType);
    WriteText(writer, names::TagContainerId, record.typeId);
    WriteText(writer, names::TagVersion, record.typeVersion);
    WriteText(writer, names::TagName, record.typeName);
    writer.CloseTag();
}

void CheckTarget(const File_t& file) {
    if (file.IsNull()) Raise<LumPalMsg::IllegalArgumentError_t>(msg::WriteFileNull);
    // A link that leads nowhere does not "exist", yet writing would follow it.
    if (file.Exists() || file.IsSymbolicLink())
        Raise<LumPalIo::IOException_t>(msg::WriteFileExists, file.GetAbsolutePath());
}

LumPalIo::FileOutputStream_t OpenNew(const File_t& file) {
    try {
        return LumPalIo::FileOutputStream_t(file);
    } catch (const LumPalIo::FileNotFoundException_t& e) {
        throw Because<LumPalIo::FileNotFoundException_t>(msg::WriteFileNotCreated, file.GetName(), file.GetParent(), e);
    }
}

}  // namespace

void PolicyDocumentWriter::WriteDocument(const LumPalIo::OutputStream_t& stream, const PolicyRecord& record) {
    XmlWriter_t writer(stream, XmlWriter_t::Options_t().Encoding(LumPalCodeset::Codeset_t(names::Utf8)));
    writer.OpenTag(names::TagHeader);
    writer.Namespace(names::PolicyNamespace);
    WritePolicy(writer, record);
    WriteType(writer, record);
    WriteText(writer, names::TagCertificate, String_t());
    writer.Close();
}

void PolicyDocumentWriter::WriteNew(const File_t& file, const PolicyRecord& record) {
    CheckTarget(file);
    LumPalIo::BufferedOutputStream_t stream(OpenNew(file));
    try {
        WriteDocument(stream, record);
        stream.Close();
    } catch (...) {
        file.Delete();
        throw;
    }
}

}  // namespace LumConf
