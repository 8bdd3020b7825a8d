/// @file
/// The steps that commands are made of, for those that do several.
#pragma once

#include <string>
#include <vector>

#include "lumtrust/Command.h"

namespace lumtrust {

/// The certificate of the authority for demonstrations in a folder. @throws LumPalMsg::Exception_t naming a file
LumSecCore::X509Certificate ReadAuthority(const std::string& folder);
bool HasAuthority(const std::string& folder);
/// The common name of all authorities for demonstrations.
extern const char* const kAuthorityName;
/// Makes one; says what it is. @throws LumPalMsg::Exception_t, also when there is one
void MakeAuthority(const std::string& folder);
/// Lets it issue what a request asks for. Throws as above.
LumSecCore::X509Certificate IssueBy(const std::string& folder, const LumPalArray::CharArray_t& request);

/// How a certificate is to be trusted.
struct Trusting {
    std::string source;  ///< what the certificate is called
    std::string alias;   ///< empty: its common name
    bool replace;        ///< also in the place of another one under that alias
    const char* option;  ///< the one that says so
};
/// Trusts a certificate; says so. @throws LumPalMsg::Exception_t, also for another one under that alias unless it is to
/// be replaced, and for one that has ended or is revoked
void TrustCertificate(const LumSecCore::X509Certificate& certificate, const Trusting& how);
/// @param certificate  null: one that is not there yet
/// @throws LumPalMsg::RuntimeException_t naming the option when another one is trusted under the alias
void RequireNoOtherTrusted(const LumPalStr::String_t& alias, const LumSecCore::X509Certificate& certificate,
                           const char* option);
/// @param source  what the certificate is called. @throws LumPalMsg::RuntimeException_t, with the time, for one that
/// has ended or has not begun
void RequireInTime(const LumSecCore::X509Certificate& certificate, const std::string& source);

/// Whether a daemon has served this root, or it holds what is put there for one.
bool HasWhatNodesHave();

/// An id that a node may bear. @throws LumPalMsg::RuntimeException_t
LumPalStr::String_t CheckedCoreId(const std::string& id);
/// The id that was given, else the configured one. Throws as above; LumPalMsg::IllegalArgumentError_t for neither.
LumPalStr::String_t CoreIdFor(const std::string& given);
/// What a request asks for. @param hosts  as they are. @throws as LumSecPki::NewRequest
LumPalArray::CharArray_t RequestFor(const LumSecCore::Key& key, const LumPalStr::String_t& coreId,
                                    const std::vector<std::string>& hosts);
/// Makes a certificate, the chain behind it and its key those of the node, and sets CORE_ID and CERT_INSTALLED; says
/// so.
/// @param key     null: the one that waits for it, or the one in use
/// @param source  what the certificate is called. @throws LumPalMsg::Exception_t; then nothing has changed
void InstallIdentity(const std::vector<LumSecCore::X509Certificate>& chain, const LumSecCore::Key& key,
                     const std::string& source);

/// The hosts that were given, and the one by which a node's own tools call it.
std::vector<std::string> WithLocalhost(std::vector<std::string> hosts);

/// @throws LumPalMsg::RuntimeException_t when the node's keys and certificates cannot be used as they are now
void RequireUsableKeys();

}  // namespace lumtrust
