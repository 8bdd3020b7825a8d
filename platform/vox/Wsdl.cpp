#include "Wsdl.h"

#include "LumPalXml.h"
#include "SoapNames.h"

namespace LumVoxRpc {
namespace {

using LumPalStr::String_t;
using LumPalXml::XmlWriter_t;

constexpr const char* kWsdlNamespace = "http://schemas.xmlsoap.org/wsdl/";
constexpr const char* kWsdlSoapNamespace = "http://schemas.xmlsoap.org/wsdl/soap/";
constexpr const char* kSoapOverHttp = "http://schemas.xmlsoap.org/soap/http";

using Attributes = std::initializer_list<std::pair<const char*, String_t>>;

/// An open element; closed at the end of its scope.
class Element {
public:
    Element(XmlWriter_t& writer, const char* name, Attributes attributes = {}) : writer(writer) {
        writer.OpenTag(name);
        for (const auto& [attribute, value] : attributes) writer.Attribute(attribute, value);
    }
    Element(const Element&) = delete;
    Element& operator=(const Element&) = delete;
    ~Element() { writer.CloseTag(); }

private:
    XmlWriter_t& writer;
};

String_t Text(const std::string& utf8) {
    return String_t::FromUtf8(utf8);
}

void WriteChild(XmlWriter_t& writer, const Description::Field& field) {
    const Element element(writer, "xsd:element", {{"name", Text(field.name)}, {"type", Text(field.type)}});
    if (field.times != Description::Once) writer.Attribute("minOccurs", "0");
    if (field.times == Description::AnyNumber) writer.Attribute("maxOccurs", "unbounded");
}

void WriteType(XmlWriter_t& writer, const Description::Type& type) {
    const Element complexType(writer, "xsd:complexType", {{"name", Text(type.name)}});
    const Element sequence(writer, "xsd:sequence");
    if (type.repeated) writer.Attribute("minOccurs", "0");
    if (type.repeated) writer.Attribute("maxOccurs", "unbounded");
    for (const Description::Field& child : type.children) WriteChild(writer, child);
}

void WriteTypes(XmlWriter_t& writer, const Description& description) {
    const Element types(writer, "wsdl:types");
    const Element schema(writer, "xsd:schema", {{"targetNamespace", LumVoxSoap::kMethodNamespace}});
    for (const Description::Type& type : description.types) WriteType(writer, type);
}

/// Some clients take the message's name for that of the element on the wire.
void WriteMessage(XmlWriter_t& writer, const std::string& name, const std::vector<Description::Field>& fields) {
    const Element message(writer, "wsdl:message", {{"name", Text(name)}});
    for (const Description::Field& field : fields)
        const Element part(writer, "wsdl:part", {{"name", Text(field.name)}, {"type", Text(field.type)}});
}

void WritePortType(XmlWriter_t& writer, const Description& description) {
    const Element portType(writer, "wsdl:portType", {{"name", Text(description.name)}});
    for (const Description::Method& method : description.methods) {
        const Element operation(writer, "wsdl:operation", {{"name", Text(method.name)}});
        { const Element input(writer, "wsdl:input", {{"message", Text("m:" + method.name)}}); }
        { const Element output(writer, "wsdl:output", {{"message", Text("m:" + method.name + "Response")}}); }
    }
}

void WriteBody(XmlWriter_t& writer, const char* direction) {
    const Element message(writer, direction);
    const Element body(writer, "soap:body", {{"use", "literal"}, {"namespace", LumVoxSoap::kMethodNamespace}});
}

void WriteBinding(XmlWriter_t& writer, const Description& description) {
    const Element binding(writer, "wsdl:binding",
                          {{"name", Text(description.name)}, {"type", Text("m:" + description.name)}});
    { const Element soap(writer, "soap:binding", {{"style", "rpc"}, {"transport", kSoapOverHttp}}); }
    for (const Description::Method& method : description.methods) {
        const Element operation(writer, "wsdl:operation", {{"name", Text(method.name)}});
        { const Element soap(writer, "soap:operation", {{"soapAction", ""}}); }
        WriteBody(writer, "wsdl:input");
        WriteBody(writer, "wsdl:output");
    }
}

void WriteService(XmlWriter_t& writer, const Description& description, const String_t& location) {
    const Element service(writer, "wsdl:service", {{"name", Text(description.name)}});
    const Element port(writer, "wsdl:port",
                       {{"name", Text(description.name)}, {"binding", Text("m:" + description.name)}});
    const Element address(writer, "soap:address", {{"location", location}});
}

}  // namespace

void WriteWsdl(const LumPalIo::OutputStream_t& stream, const Description& description, const String_t& address) {
    XmlWriter_t::Options_t options;
    XmlWriter_t writer(stream, options.Encoding(LumPalCodeset::Codeset_t("UTF-8")));
    writer.OpenTag("wsdl:definitions");
    writer.Namespace("wsdl", kWsdlNamespace);
    writer.Namespace("soap", kWsdlSoapNamespace);
    writer.Namespace("xsd", LumVoxSoap::kSchemaNamespace);
    writer.Namespace("m", LumVoxSoap::kMethodNamespace);
    writer.Attribute("name", Text(description.name));
    writer.Attribute("targetNamespace", LumVoxSoap::kMethodNamespace);
    WriteTypes(writer, description);
    for (const Description::Method& method : description.methods) {
        WriteMessage(writer, method.name, method.arguments);
        WriteMessage(writer, method.name + "Response", method.results);
    }
    WritePortType(writer, description);
    WriteBinding(writer, description);
    WriteService(writer, description, address);
    writer.Close();
}

}  // namespace LumVoxRpc
