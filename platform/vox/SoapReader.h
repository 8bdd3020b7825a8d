/// @file
/// The reader of envelopes: structure, limits and the hand-out of parse events to arguments.
#pragma once

#include <vector>

#include "LumPalIo.h"
#include "LumPalStr.h"
#include "LumVoxSoap.h"

namespace LumVoxSoap {

/// A refused envelope, with the code of the fault that answers it.
class SoapRefusal : public SOAPFormatException {
public:
    SoapRefusal(const char* faultCode, const LumPalMsg::Message_t& message)
        : SOAPFormatException(message), faultCode(faultCode) {}
    /// "Client", "VersionMismatch" or "MustUnderstand"; a literal.
    const char* GetFaultCode() const noexcept { return faultCode; }

private:
    const char* faultCode;
};

/// Says which element takes an argument.
class ArgumentSource {
public:
    virtual ~ArgumentSource() = default;
    /// Called at the start of each child of the method element, in order.
    /// @return the element that takes it (it gets StartElement first); null skips the child whole
    virtual SOAPElement* Argument(const LumPalStr::String_t& name) = 0;
};

/// Arguments by name; each may come once.
class NamedArguments : public ArgumentSource {
public:
    NamedArguments(int count, SOAPArg* const* arguments) : arguments(arguments, arguments + count) {}
    /// @throws SoapRefusal for an argument that comes a second time
    SOAPElement* Argument(const LumPalStr::String_t& name) override;

private:
    std::vector<SOAPArg*> arguments, taken;
};

/// Reads one envelope whole.
/// @return the local name of the method element
/// @throws SOAPFaultException when the body is a fault; SoapRefusal; LumPalXml::SAX::SAXParseException_t
LumPalStr::String_t ReadEnvelope(const LumPalIo::InputStream_t& stream, ArgumentSource& arguments);

}  // namespace LumVoxSoap
