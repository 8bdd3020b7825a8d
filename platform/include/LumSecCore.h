/// @file
/// Certificates, keys and the node's key store.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "LumPalArray.h"
#include "LumPalExport.h"
#include "LumPalMsg.h"
#include "LumPalStr.h"

namespace LumSecCore {

LUMPAL_DECLARE_EXCEPTION(LUMPAL_API, SecCoreException, LumPalMsg::RuntimeException_t);
LUMPAL_DECLARE_EXCEPTION(LUMPAL_API, KeyStoreException, SecCoreException);
LUMPAL_DECLARE_EXCEPTION(LUMPAL_API, EntryNotFoundException, SecCoreException);
LUMPAL_DECLARE_EXCEPTION(LUMPAL_API, InvalidKeyException, SecCoreException);
LUMPAL_DECLARE_EXCEPTION(LUMPAL_API, SignatureException, SecCoreException);

/// Whether a name may stand for an entry of the key store: a plain file name (not empty, not "." or "..",
/// no separator, no control character, at most 200 bytes in UTF-8).
LUMPAL_API bool IsAlias(const LumPalStr::String_t& name);

/// Where the node's identity lies: the key store folder with own/<CORE_ID>.pem, own/<CORE_ID>.key
/// and trusted/*.pem. Read by the transport when CERT_INSTALLED is true.
struct LUMPAL_API NodeIdentity {
    LumPalStr::String_t coreId;
    bool certificateInstalled = false;
    LumPalStr::String_t certificatePath, keyPath;
    std::vector<LumPalStr::String_t> trustedPaths;
    /// Reads CORE_ID ("sec.core") and CERT_INSTALLED ("sec.cm.certificates"). The node's own paths are filled only
    /// when a certificate is installed, the trusted ones always (a client needs them), in order of their names.
    /// @throws KeyStoreException when a certificate counts as installed and the core id is no alias
    ///         or a file of it is missing
    static NodeIdentity Load();
    /// The trusted paths alone, also where the rest cannot be loaded.
    static std::vector<LumPalStr::String_t> FindTrusted();
    /// @throws KeyStoreException naming a file that a server would not take: broken, of another key, or too weak; also
    ///         the list of revoked certificates
    void RequireUsable() const;
};

/// The node's certificate, with the chain behind it, and its private key: PEM texts that belong together.
struct LUMPAL_API OwnPair {
    std::string certificate, key;

    /// Reads own/<alias>.pem and its key: own/<alias>.key, or requested/<alias>.key if that one belongs to the
    /// certificate, because its installation was interrupted. A pair that is replaced meanwhile is read again.
    /// @param known  a pair that was read before: it costs no further proof when it is still there
    /// @throws KeyStoreException naming the file that is missing or broken, or a key that is another's
    static OwnPair Load(const LumPalStr::String_t& alias, const OwnPair& known = {});
    /// @param source  what it is called. @throws KeyStoreException when a server would not take it
    void RequireUsable(const LumPalStr::String_t& source) const;
    bool operator==(const OwnPair& other) const = default;
};

/// Folder of the key store, ending in the separator.
LUMPAL_API LumPalStr::String_t KeyStoreDirectory();

/// A public or a private key, or none. A handle: copies share. Any thread may use it.
class LUMPAL_API Key {
public:
    Key() = default;
    bool IsNull() const noexcept { return !impl; }

    struct Impl;
    /// The library's own.
    explicit Key(std::shared_ptr<const Impl> impl) : impl(std::move(impl)) {}
    const std::shared_ptr<const Impl>& GetImpl() const noexcept { return impl; }

private:
    std::shared_ptr<const Impl> impl;
};

/// An X.509 certificate (RFC 5280), or none. A handle: copies share. Any thread may use it.
class LUMPAL_API X509Certificate {
public:
    X509Certificate() = default;
    /// @param der  the encoded bytes, nothing behind them. @throws SecCoreException
    explicit X509Certificate(const LumPalArray::CharArray_t& der);

    /// @return true. @throws SecCoreException when the certificate is not valid yet, or not any more, or none
    bool CheckValidity() const;
    /// The common names; empty where there is not exactly one, or one that holds a control character.
    LumPalStr::String_t GetSubjectCN() const;
    LumPalStr::String_t GetIssuerCN() const;
    /// The end of its validity as "2026-11-21T10:00:00Z"; empty for none.
    LumPalStr::String_t GetNotAfter() const;
    /// A null key for a certificate without a usable one.
    Key GetPublicKey() const;
    /// Whether the certificate was signed with the key, neither of them weaker than RSA of 2048 bits, and its digest
    /// neither MD5 nor SHA-1.
    /// @throws LumPalMsg::IllegalArgumentError_t for a null key and one of another kind than the signature's
    bool Verify(const Key& key) const;
    /// Demands of a signer all that a server demands of a client who shows this certificate: that both are valid now,
    /// the authority may vouch for others, and nothing in either forbids it or is critical and unknown (RFC 5280, 6.1);
    /// neither is revoked (RevocationList); and that its keyUsage, if there is one, lets it sign.
    /// @param authority  trusted, whether it is a root or not
    /// @throws SecCoreException that says what is wrong; KeyStoreException for a list of revoked ones that is broken
    void RequireVouchedBy(const X509Certificate& authority) const;
    /// Whether it may vouch for others: basicConstraints CA:TRUE, with keyCertSign where there is a keyUsage (RFC 5280,
    /// 4.2.1.9 and 4.2.1.3). No for one of version 1, which cannot say so.
    bool MayIssue() const;
    /// The encoded bytes; none for no certificate.
    void GetEncoded(LumPalArray::CharArray_t& der) const;
    bool IsNull() const noexcept { return !impl; }

    struct Impl;
    /// The library's own.
    explicit X509Certificate(std::shared_ptr<const Impl> impl) : impl(std::move(impl)) {}
    const std::shared_ptr<const Impl>& GetImpl() const noexcept { return impl; }

private:
    std::shared_ptr<const Impl> impl;
};

/// The node's key store: own/<alias>.pem with own/<alias>.key, and trusted/<alias>.pem. Each call reads the files.
class LUMPAL_API KeyStore {
public:
    /// @throws KeyStoreException when the folder is not there or cannot be read
    KeyStore();
    /// Whether there is a trusted entry of that name; no for a name that is no alias.
    bool IsTrustedCertEntry(const LumPalStr::String_t& alias) const;
    /// The trusted certificate of that name, else the node's own.
    /// @throws EntryNotFoundException when there is none, also in the file; KeyStoreException for one that is broken
    void GetCertificate(const LumPalStr::String_t& alias, X509Certificate& certificate) const;
    /// The trusted one and no other: for who was told that it is there, and it is taken away meanwhile. Throws as
    /// above.
    void GetTrustedCertificate(const LumPalStr::String_t& alias, X509Certificate& certificate) const;
    /// The node's own certificate of that name. Throws as above.
    void GetOwnCertificate(const LumPalStr::String_t& alias, X509Certificate& certificate) const;
    /// The private key; that of OwnPair, if there is a certificate. Throws as above.
    void GetPrivateKey(const LumPalStr::String_t& alias, Key& key) const;

private:
    bool FindWaitingKey(const LumPalStr::String_t& alias, Key& key) const;

    LumPalStr::String_t folder;
};

/// Makes or verifies one signature. RSA keys (2048 bits and more) sign by PKCS#1 v1.5 and EC keys (P-256, P-384) by
/// ECDSA in DER, both over SHA-256; Ed25519 keys sign the whole message, which is held in memory.
/// Used by one thread.
class LUMPAL_API Signature {
public:
    /// @param algorithm  0: goes by the key. @throws LumPalMsg::IllegalArgumentError_t for another number
    explicit Signature(int algorithm);
    ~Signature();
    Signature(const Signature&) = delete;
    Signature& operator=(const Signature&) = delete;

    /// @throws InvalidKeyException for a null key and one of another kind
    void InitVerify(const Key& publicKey);
    void InitSign(const Key& privateKey);
    /// @throws LumPalMsg::IllegalStateError_t before an Init, LumPalMsg::IllegalArgumentError_t for a range that is
    ///         not in the array
    void Update(const LumPalArray::CharArray_t& data);
    void Update(const LumPalArray::CharArray_t& data, std::size_t start, std::size_t length);
    /// Likewise for bytes that the caller keeps alive and unchanged up to Verify or Sign; no copy.
    void UpdateOver(const LumPalArray::CharArray_t& data);
    /// @return whether it is the signature of what was fed
    /// @throws SignatureException for bytes that no key of this kind can have made; LumPalMsg::IllegalStateError_t
    bool Verify(const LumPalArray::CharArray_t& signature);
    /// @return the length of the signature. @throws SignatureException; LumPalMsg::IllegalStateError_t
    std::size_t Sign(LumPalArray::CharArray_t& signature);

private:
    struct Impl;
    std::unique_ptr<Impl> impl;
};

}  // namespace LumSecCore
