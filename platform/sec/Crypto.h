/// @file
/// What keys and certificates refer to.
#pragma once

#include <memory>

#include "LumPalMsg.h"
#include "LumSecCore.h"

// The crypto library's own names, so that none of its headers shows here.
struct evp_pkey_st;
struct x509_st;
struct evp_md_st;
struct evp_md_ctx_st;
struct bio_st;

namespace LumSecCore {

struct FreeCrypto {
    void operator()(evp_pkey_st* object) const noexcept;
    void operator()(x509_st* object) const noexcept;
    void operator()(evp_md_ctx_st* object) const noexcept;
    void operator()(bio_st* object) const noexcept;
};
template <class Object>
using CryptoPtr = std::unique_ptr<Object, FreeCrypto>;

struct Key::Impl {
    CryptoPtr<evp_pkey_st> key;
};

struct X509Certificate::Impl {
    CryptoPtr<x509_st> certificate;
};

Key MakeKey(CryptoPtr<evp_pkey_st> key);
X509Certificate MakeCertificate(CryptoPtr<x509_st> certificate);

/// What the library says of its last failure on this thread, which it then forgets.
LumPalMsg::MessageList_t LastFailure();

}  // namespace LumSecCore
