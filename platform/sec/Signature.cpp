// Signature of LumSecCore.h.
#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/ec.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/x509.h>

#include <string>
#include <string_view>
#include <utility>

#include "Crypto.h"

namespace LumSecCore {

using LumPalArray::CharArray_t;
using LumPalMsg::CreateError_t;
using LumPalStr::String_t;

namespace {

constexpr int kLeastRsaBits = 2048, kMostRsaBits = 16384;
constexpr std::size_t kEd25519Bytes = 64;

[[noreturn]] void RefuseKey(const char* text) {
    CreateError_t message{String_t(text)};
    message.AddDetails(LastFailure());
    throw InvalidKeyException(message);
}

/// The library has no part in it: whatever it said last is of something else.
[[noreturn]] void RefuseKind(const char* text) {
    ERR_clear_error();
    throw InvalidKeyException(
        CreateError_t(String_t(text) + " Keys that sign are RSA (2048 to 16384 bits), EC (P-256, P-384) and Ed25519."));
}

[[noreturn]] void RefuseSignature(const char* text) {
    CreateError_t message{String_t(text)};
    message.AddDetails(LastFailure());
    throw SignatureException(message);
}

bool IsUsableCurve(EVP_PKEY* key) {
    char group[64] = "";
    const bool isNamed = EVP_PKEY_get_group_name(key, group, sizeof group, nullptr) == 1;
    ERR_clear_error();
    if (!isNamed) return false;
    const std::string name(group);
    return name == "prime256v1" || name == "P-256" || name == "secp384r1" || name == "P-384";
}

/// With the exponent 1 a signature is its own proof: anybody can make one.
bool HasUsableExponent(EVP_PKEY* key) {
    BIGNUM* exponent = nullptr;
    const bool usable = EVP_PKEY_get_bn_param(key, OSSL_PKEY_PARAM_RSA_E, &exponent) == 1 && BN_is_odd(exponent) &&
                        !BN_is_one(exponent);
    BN_free(exponent);
    ERR_clear_error();
    return usable;
}

void CheckRsaKey(EVP_PKEY* key) {
    const int bits = EVP_PKEY_get_bits(key);
    if (bits < kLeastRsaBits || bits > kMostRsaBits) RefuseKind("The RSA key has not 2048 to 16384 bits.");
    if (!HasUsableExponent(key)) RefuseKind("The exponent of the RSA key is not an odd number above 1.");
}

void CheckKey(const Key& key) {
    if (key.IsNull()) RefuseKind("There is no key.");
    EVP_PKEY* const pkey = key.GetImpl()->key.get();
    switch (EVP_PKEY_get_base_id(pkey)) {
        case EVP_PKEY_RSA:
            return CheckRsaKey(pkey);
        case EVP_PKEY_EC:
            if (!IsUsableCurve(pkey)) RefuseKind("The curve of the key is neither P-256 nor P-384.");
            return;
        case EVP_PKEY_ED25519:
            return;
        default:
            RefuseKind("Keys of this kind neither sign nor verify.");
    }
}

const unsigned char* Bytes(const CharArray_t& data, std::size_t start = 0) {
    return reinterpret_cast<const unsigned char*>(data.GetData()) + start;
}

bool IsEcdsaSignature(const CharArray_t& signature) {
    const unsigned char* at = Bytes(signature);
    ECDSA_SIG* parsed = d2i_ECDSA_SIG(nullptr, &at, static_cast<long>(signature.GetLength()));
    const bool whole = parsed && at == Bytes(signature) + signature.GetLength();
    ECDSA_SIG_free(parsed);
    ERR_clear_error();
    return whole;
}

/// Whether a key of this kind can have made the bytes.
bool HasForm(EVP_PKEY* key, const CharArray_t& signature) {
    switch (EVP_PKEY_get_base_id(key)) {
        case EVP_PKEY_EC:
            return IsEcdsaSignature(signature);
        case EVP_PKEY_ED25519:
            return signature.GetLength() == kEd25519Bytes;
        default:
            return signature.GetLength() == static_cast<std::size_t>(EVP_PKEY_get_size(key));
    }
}

}  // namespace

struct Signature::Impl {
    enum class State { New, Verifying, Signing };
    State state = State::New;
    Key key;
    CryptoPtr<EVP_MD_CTX> context;
    std::string message;        ///< Ed25519 takes it in one piece
    std::string_view borrowed;  ///< the whole message in its place, while nothing is added to it

    EVP_PKEY* Pkey() const { return key.GetImpl()->key.get(); }
    bool IsOnePiece() const { return EVP_PKEY_get_base_id(Pkey()) == EVP_PKEY_ED25519; }
    const EVP_MD* Digest() const { return IsOnePiece() ? nullptr : EVP_sha256(); }
    void Collect(std::string_view bytes) {
        message.append(std::exchange(borrowed, {}));
        message.append(bytes);
    }
    std::string_view Whole() const { return borrowed.empty() ? std::string_view(message) : borrowed; }
    const unsigned char* Message() const { return reinterpret_cast<const unsigned char*>(Whole().data()); }
    void Demand(State wanted) const {
        if (state == wanted) return;
        throw LumPalMsg::IllegalStateError_t(CreateError_t("The signature is not initialized for this operation."));
    }
    void Start(State wanted, const Key& with) {
        ERR_clear_error();
        state = State::New;  // also when the key is refused: nothing goes on with the former one
        CheckKey(with);
        key = with;
        message.clear();
        borrowed = {};
        context.reset(EVP_MD_CTX_new());
        const int result = wanted == State::Signing
                               ? EVP_DigestSignInit(context.get(), nullptr, Digest(), nullptr, Pkey())
                               : EVP_DigestVerifyInit(context.get(), nullptr, Digest(), nullptr, Pkey());
        if (result != 1) RefuseKey("The key cannot be used.");
        state = wanted;
    }
};

Signature::Signature(int algorithm) : impl(std::make_unique<Impl>()) {
    if (algorithm == 0) return;
    throw LumPalMsg::IllegalArgumentError_t(CreateError_t("There is no signature algorithm '%1'.") << algorithm);
}

Signature::~Signature() = default;

void Signature::InitVerify(const Key& publicKey) {
    impl->Start(Impl::State::Verifying, publicKey);
}

void Signature::InitSign(const Key& privateKey) {
    impl->Start(Impl::State::Signing, privateKey);
}

void Signature::Update(const CharArray_t& data) {
    Update(data, 0, data.GetLength());
}

void Signature::Update(const CharArray_t& data, std::size_t start, std::size_t length) {
    if (impl->state == Impl::State::New) impl->Demand(Impl::State::Verifying);
    if (start > data.GetLength() || length > data.GetLength() - start) {
        throw LumPalMsg::IllegalArgumentError_t(CreateError_t("The range to sign is not in the array."));
    }
    if (impl->IsOnePiece()) {
        impl->Collect(data.View().substr(start, length));
        return;
    }
    const bool signs = impl->state == Impl::State::Signing;
    const int result = signs ? EVP_DigestSignUpdate(impl->context.get(), Bytes(data, start), length)
                             : EVP_DigestVerifyUpdate(impl->context.get(), Bytes(data, start), length);
    if (result != 1) RefuseSignature("The data cannot be taken.");
}

void Signature::UpdateOver(const CharArray_t& data) {
    const bool isFirst = impl->state != Impl::State::New && impl->IsOnePiece() && impl->Whole().empty();
    if (!isFirst) return Update(data);
    impl->borrowed = data.View();
}

bool Signature::Verify(const CharArray_t& signature) {
    impl->Demand(Impl::State::Verifying);
    impl->state = Impl::State::New;
    if (!HasForm(impl->Pkey(), signature)) RefuseSignature("These bytes are no signature of this kind of key.");
    EVP_MD_CTX* const context = impl->context.get();
    const int result = impl->IsOnePiece() ? EVP_DigestVerify(context, Bytes(signature), signature.GetLength(),
                                                             impl->Message(), impl->Whole().size())
                                          : EVP_DigestVerifyFinal(context, Bytes(signature), signature.GetLength());
    ERR_clear_error();
    return result == 1;
}

std::size_t Signature::Sign(CharArray_t& signature) {
    impl->Demand(Impl::State::Signing);
    impl->state = Impl::State::New;
    EVP_MD_CTX* const context = impl->context.get();
    std::size_t length = static_cast<std::size_t>(EVP_PKEY_get_size(impl->Pkey()));
    signature = CharArray_t(length);
    auto* const target = reinterpret_cast<unsigned char*>(signature.GetData());
    const int result = impl->IsOnePiece()
                           ? EVP_DigestSign(context, target, &length, impl->Message(), impl->Whole().size())
                           : EVP_DigestSignFinal(context, target, &length);
    if (result != 1) RefuseSignature("The signature cannot be made.");
    signature.Resize(length);
    return length;
}

}  // namespace LumSecCore
