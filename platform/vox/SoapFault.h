/// @file
/// SOAP 1.1 faults, as a server writes them.
#pragma once

#include "LumPalIo.h"
#include "LumPalStr.h"

namespace LumVoxSoap {

/// Writes a whole envelope with a fault.
/// @param code  "Client", "Server", "VersionMismatch" or "MustUnderstand" (SOAP 1.1, 4.4.1)
/// @param text  the fault string; what XML cannot carry is replaced
void WriteFault(LumPalIo::OutputStream_t& stream, const char* code, const LumPalStr::String_t& text);

}  // namespace LumVoxSoap
