// SOAPEnvelope of LumVoxSoap.h.
#include "LumVoxSoap.h"
#include "SoapFault.h"
#include "SoapNames.h"
#include "SoapReader.h"

namespace LumVoxSoap {
namespace {

using LumPalStr::String_t;
using LumPalXml::XmlWriter_t;

XmlWriter_t OpenBody(LumPalIo::OutputStream_t& stream, bool cleaned) {
    XmlWriter_t::Options_t options;
    XmlWriter_t writer(stream, options.Encoding(LumPalCodeset::Codeset_t("UTF-8")).Indent(0).CleanTexts(cleaned));
    writer.OpenTag("soap:Envelope");
    writer.Namespace("soap", kEnvelopeNamespace);
    writer.Namespace("xsi", kSchemaInstanceNamespace);
    writer.Namespace("xsd", kSchemaNamespace);
    writer.OpenTag("soap:Body");
    return writer;
}

void WriteArgument(XmlWriter_t& writer, const SOAPArg& argument) {
    writer.OpenTag(argument.GetName());
    const String_t type = argument.GetTypeName();
    if (argument.HasTypeAttribute() && type.IsNotNull()) writer.Attribute("xsi:type", type);
    argument.WriteContent(writer);
    writer.CloseTag();
}

void WriteText(XmlWriter_t& writer, const char* tag, const String_t& text) {
    writer.OpenTag(tag);
    writer.Data(text);
    writer.CloseTag();
}

}  // namespace

SOAPEnvelope::SOAPEnvelope() = default;
SOAPEnvelope::~SOAPEnvelope() = default;

void SOAPEnvelope::SetMethod(const String_t& name) {
    method = name;
}

void SOAPEnvelope::SetArgs(int count, SOAPArg* const* newArguments) {
    arguments.assign(newArguments, newArguments + count);
}

void SOAPEnvelope::Write(LumPalIo::OutputStream_t& stream) const {
    WriteWith(stream, false);
}

void SOAPEnvelope::WriteCleaned(LumPalIo::OutputStream_t& stream) const {
    WriteWith(stream, true);
}

void SOAPEnvelope::WriteWith(LumPalIo::OutputStream_t& stream, bool cleaned) const {
    XmlWriter_t writer = OpenBody(stream, cleaned);
    writer.OpenTag("m:" + method);
    writer.Namespace("m", kMethodNamespace);
    for (const SOAPArg* argument : arguments) WriteArgument(writer, *argument);
    writer.Close();
}

void SOAPEnvelope::Read(LumPalIo::InputStream_t stream, int count, SOAPArg* const* results) {
    NamedArguments named(count, results);
    method = ReadEnvelope(stream, named);
}

void WriteFault(LumPalIo::OutputStream_t& stream, const char* code, const String_t& text) {
    XmlWriter_t writer = OpenBody(stream, true);
    writer.OpenTag("soap:Fault");
    WriteText(writer, "faultcode", String_t("soap:") + code);
    WriteText(writer, "faultstring", text);
    writer.Close();
}

}  // namespace LumVoxSoap
