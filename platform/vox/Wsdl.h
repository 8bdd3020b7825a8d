/// @file
/// The description of a server as a document.
#pragma once

#include "LumPalIo.h"
#include "LumVoxRpc.h"

namespace LumVoxRpc {

/// Writes a WSDL 1.1 document (W3C note of 15 March 2001) with the SOAP 1.1 binding.
///
/// The binding is rpc/literal: the method's element is qualified, arguments are not, and no encodingStyle is on the
/// wire; the xsi:type that some of them carry is allowed there.
/// @param address  where the service is, as an URL
void WriteWsdl(const LumPalIo::OutputStream_t& stream, const Description& description,
               const LumPalStr::String_t& address);

}  // namespace LumVoxRpc
