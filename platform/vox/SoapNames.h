/// @file
/// The names of the wire, each in this one place.
#pragma once

namespace LumVoxSoap {

inline constexpr const char* kEnvelopeNamespace = "http://schemas.xmlsoap.org/soap/envelope/";
inline constexpr const char* kSchemaNamespace = "http://www.w3.org/2001/XMLSchema";
inline constexpr const char* kSchemaInstanceNamespace = "http://www.w3.org/2001/XMLSchema-instance";
/// Namespace of the method element of a call and of its response; arguments are unqualified.
inline constexpr const char* kMethodNamespace = "urn:lum:conf";
/// Most open elements in an envelope.
inline constexpr unsigned kDepthLimit = 1000;

}  // namespace LumVoxSoap
