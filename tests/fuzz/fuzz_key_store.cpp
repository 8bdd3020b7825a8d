// Any bytes as each file of the key store, and as a request for a certificate: what is asked for comes, or is said to
// be missing or broken; a key that can sign makes signatures that its own certificate proves.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fstream>

#include "Faults.h"
#include "LumSecCore.h"
#include "LumSecPki.h"
#include "TempRoot.h"

namespace {

using LumPalArray::CharArray_t;
using LumSecCore::Key;
using LumSecCore::KeyStore;
using LumSecCore::X509Certificate;

/// Made once: the folder goes with the program.
const TempRoot& Root() {
    static const TempRoot root{std::filesystem::exists(kFastFolder) ? kFastFolder : "/tmp"};
    static const bool made = std::filesystem::create_directories(root.Native() + "/etc/keystore/own") &&
                             std::filesystem::create_directories(root.Native() + "/etc/keystore/trusted");
    if (!made) std::abort();
    return root;
}

void Write(const char* name, const CharArray_t& content) {
    std::ofstream(Root().Native() + "/etc/keystore/" + name, std::ios::binary) << content.View();
}

/// Whether the action ends; false when something is missing or broken.
template <class Action>
bool Done(Action&& action) {
    try {
        action();
        return true;
    } catch (const LumSecCore::SecCoreException&) {
        return false;
    }
}

CharArray_t Sign(const Key& key, const CharArray_t& input) {
    CharArray_t made;
    LumSecCore::Signature signer(0);
    signer.InitSign(key);
    signer.Update(input);
    signer.Sign(made);
    return made;
}

void MustVerify(const Key& key, const CharArray_t& input, const CharArray_t& made) {
    LumSecCore::Signature verifier(0);
    verifier.InitVerify(key);
    verifier.Update(input);
    if (!verifier.Verify(made)) std::abort();
}

void TryKey(const X509Certificate& certificate, const Key& key, const CharArray_t& input) {
    CharArray_t made;
    if (!Done([&] { made = Sign(key, input); }) || !LumSecPki::Match(certificate, key)) return;
    MustVerify(certificate.GetPublicKey(), input, made);
}

void TryRequest(const CharArray_t& input) {
    static const Key key = LumSecPki::NewKey();
    static const X509Certificate authority = LumSecPki::NewAuthority(key, "authority", 1);
    Done([&] {
        const X509Certificate issued = LumSecPki::Issue(authority, key, input, 1);
        if (!issued.Verify(authority.GetPublicKey()) || LumSecPki::IsAuthority(issued)) std::abort();
    });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const CharArray_t input(reinterpret_cast<const char*>(data), size);
    for (const char* name : {"own/node.pem", "own/node.key", "trusted/issuer.pem"}) Write(name, input);
    const KeyStore store;
    X509Certificate own, trusted;
    Key key;
    const bool hasOwn = Done([&] { store.GetOwnCertificate("node", own); });
    if (!store.IsTrustedCertEntry("issuer")) std::abort();
    if (Done([&] { store.GetCertificate("issuer", trusted); }) != hasOwn) std::abort();
    if (Done([&] { store.GetPrivateKey("node", key); }) && hasOwn) TryKey(own, key, input);
    if (hasOwn && !Done([&] { LumSecPki::ToPem(own); })) std::abort();
    TryRequest(input);
    return 0;
}
