/// @file
/// Under which names and addresses a certificate says that its holder is reached.
#pragma once

#include <string>
#include <vector>

// The library's own name, so that none of its headers shows here.
struct x509_st;

namespace LumSecCore {

/// The host names and addresses of its subjectAltName (RFC 5280, 4.2.1.6), in their order; none where it lists none.
/// The common name is none of them. What is not printable ASCII becomes '?': it is made for messages.
/// @throws std::bad_alloc
std::vector<std::string> HostNames(const x509_st* certificate);

}  // namespace LumSecCore
