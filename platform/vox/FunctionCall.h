/// @file
/// Plain functions as methods.
#pragma once

#include "LumVoxRpc.h"
#include "RpcServerCallImpl.h"

namespace LumVoxRpc {

/// Most parameters of one call.
inline constexpr std::size_t kMostParameters = 1000;

/// Reads the request's parameters, calls the function and sends its result.
/// @throws LumVoxSoap::SOAPFormatException, LumPalXml::SAX::SAXParseException_t for a malformed request;
///         what the function throws
void CallFunction(Function function, RpcServerCall::Impl& call);

}  // namespace LumVoxRpc
