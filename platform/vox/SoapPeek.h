/// @file
/// A first look at a request, to find its handler.
#pragma once

#include "LumPalIo.h"
#include "LumPalStr.h"

namespace LumVoxSoap {

/// Local name of the body's child. Reads the stream only as far as needed (in blocks).
/// @throws SoapRefusal (a SOAPFormatException, see SoapReader.h), LumPalXml::SAX::SAXParseException_t
///         for what is no envelope up to there
LumPalStr::String_t PeekMethod(const LumPalIo::InputStream_t& stream);

}  // namespace LumVoxSoap
