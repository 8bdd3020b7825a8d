#include "SoapReader.h"

#include <algorithm>

#include "SoapHandler.h"
#include "SoapNames.h"
#include "SoapPeek.h"

namespace LumVoxSoap {
namespace {

using LumPalStr::String_t;

void Parse(const LumPalIo::InputStream_t& stream, EnvelopeHandler& handler) {
    LumPalXml::SAXParser_t parser;
    parser.SetRefuseDoctype(true);
    parser.SetDepthLimit(kDepthLimit);
    parser.SetContentHandler(&handler);
    parser.Parse(LumPalXml::SAX::InputSource_t(stream));
}

/// Leaves the parse at the body's child.
class PeekHandler : public EnvelopeHandler {
public:
    struct Found {
        String_t name;
    };
    using EnvelopeHandler::EnvelopeHandler;

protected:
    void BodyChild(const String_t& localName) override { throw Found{localName}; }
};

}  // namespace

SOAPElement* NamedArguments::Argument(const String_t& name) {
    const auto found = std::find_if(arguments.begin(), arguments.end(),
                                    [&](const SOAPArg* argument) { return argument && argument->GetName() == name; });
    if (found == arguments.end()) return nullptr;
    if (std::find(taken.begin(), taken.end(), *found) != taken.end())
        throw SoapRefusal("Client", LumPalMsg::CreateError_t("The argument '%1' comes twice.") << name);
    taken.push_back(*found);
    return *found;
}

String_t ReadEnvelope(const LumPalIo::InputStream_t& stream, ArgumentSource& arguments) {
    EnvelopeHandler handler(arguments);
    Parse(stream, handler);
    handler.ThrowFault();
    return handler.GetMethod();
}

String_t PeekMethod(const LumPalIo::InputStream_t& stream) {
    NamedArguments none(0, nullptr);
    PeekHandler handler(none);
    try {
        Parse(stream, handler);
    } catch (const PeekHandler::Found& found) {
        return found.name;
    }
    return handler.GetMethod();
}

}  // namespace LumVoxSoap
