/// @file
/// Certificates that this node accepts no longer, whoever issued them.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "LumPalExport.h"
#include "LumPalIo.h"
#include "LumPalStr.h"
#include "LumSecCore.h"

namespace LumSecCore {

/// What names one certificate among all: no issuer gives a serial number twice (RFC 5280, 4.1.2.2). Both stand in what
/// the issuer has signed. A fingerprint covers the signature too, and whoever holds a certificate can often make
/// another signature of the same bytes from the one that he has; so it would not do.
struct LUMPAL_API CertificateId {
    std::string serial;  ///< hexadecimal in small letters without leading zeros; "-" in front of a negative one
    /// As NameOf writes it.
    std::string issuer;

    /// @throws SecCoreException for no certificate
    static CertificateId Of(const X509Certificate& certificate);
    /// The certificate's own name as it stands in what it issues: "CN=name,O=organization" (RFC 2253), in ASCII.
    /// "#" and the SHA-256 of its encoding for one that is empty, cannot be written so, or is longer than 1,024 bytes.
    /// @throws SecCoreException for no certificate
    static std::string NameOf(const X509Certificate& certificate);
    /// A number as people write it ("0A:1B", "0x0a1b") in the form above; empty for what is none.
    static std::string SerialFrom(std::string_view text);
};

/// The list in the file "revoked.list" of the key store: a line for each certificate (serial number, issuer, the time
/// of its revocation, its subject's common name; tabs between them), and behind all of them "end" and their number, so
/// that one that was cut off is known. Names are compared without regard to case and runs of blanks. Reading it again
/// and again costs nothing while the file is left alone. A look-up costs the same, however many there are. Constant but
/// for Add and Remove, which are of one thread.
class LUMPAL_API RevocationList {
public:
    struct Entry {
        CertificateId id;
        std::string since;    ///< "2026-11-21T10:00:00Z"
        std::string subject;  ///< common name for people; may be empty
    };
    /// Most bytes of the file.
    static constexpr std::size_t kLargest = 16u << 20;

    static LumPalIo::File_t Path();
    /// That of the current root; empty when there is no such file. Any thread.
    /// @throws KeyStoreException naming the file, and the line that is broken: then nobody can tell who is revoked
    static std::shared_ptr<const RevocationList> Load();
    /// @param source  what the text is called. Throws as Load
    static RevocationList Read(std::string_view text, const LumPalStr::String_t& source);

    const std::vector<Entry>& Get() const noexcept { return entries; }
    bool Holds(const CertificateId& id) const;
    /// @throws SecCoreException naming a certificate that is in the list
    void Refuse(const X509Certificate& certificate) const;
    /// Differs between lists that differ; empty for one without a file.
    const std::string& GetDigest() const noexcept { return digest; }

    /// @return false when it was there. @throws LumPalMsg::IllegalArgumentError_t for an entry that could not be read
    /// back, and when the file would become too large
    bool Add(Entry entry);
    /// @return false when it was not there
    bool Remove(const CertificateId& id);
    std::string ToText() const;

private:
    bool Take(Entry entry);

    std::vector<Entry> entries;
    std::unordered_set<std::string> known;  ///< serial numbers and names, folded
    std::string digest;
};

}  // namespace LumSecCore
