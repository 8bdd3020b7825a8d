/// @file
/// A client of a bare HTTP server over TLS.
#pragma once

#include <gtest/gtest.h>
#include <openssl/err.h>
#include <openssl/ssl.h>

#include <memory>
#include <string>

#include "RawHttp.h"
#include "TestPki.h"

template <class Object>
using CryptoPtr = std::unique_ptr<Object, void (*)(Object*)>;

inline CryptoPtr<BIO> Input(const std::string& text) {
    return {BIO_new_mem_buf(text.data(), static_cast<int>(text.size())), BIO_free_all};
}

/// A client that would do everything that the crypto library can still do, and that trusts every server.
class TlsClient {
public:
    explicit TlsClient(unsigned port) : socket(port) {
        SSL_CTX_set_security_level(context.get(), 0);
        SSL_CTX_set_cipher_list(context.get(), "ALL:COMPLEMENTOFALL");
        SSL_CTX_set_options(context.get(), SSL_OP_ALLOW_UNSAFE_LEGACY_RENEGOTIATION);
        SSL_CTX_clear_options(context.get(), SSL_OP_NO_COMPRESSION);
    }
    TlsClient& Show(const TestIdentity& identity) {
        const CryptoPtr<BIO> chain = Input(identity.certificate);
        const CryptoPtr<X509> certificate(PEM_read_bio_X509(chain.get(), nullptr, nullptr, nullptr), X509_free);
        const CryptoPtr<EVP_PKEY> key(PEM_read_bio_PrivateKey(Input(identity.key).get(), nullptr, nullptr, nullptr),
                                      EVP_PKEY_free);
        EXPECT_EQ(SSL_CTX_use_certificate(context.get(), certificate.get()), 1);
        EXPECT_EQ(SSL_CTX_use_PrivateKey(context.get(), key.get()), 1);
        while (X509* next = PEM_read_bio_X509(chain.get(), nullptr, nullptr, nullptr))
            SSL_CTX_add0_chain_cert(context.get(), next);
        return *this;
    }
    TlsClient& Versions(int least, int most) {
        SSL_CTX_set_min_proto_version(context.get(), least);
        SSL_CTX_set_max_proto_version(context.get(), most);
        return *this;
    }
    TlsClient& Ciphers(const std::string& list) {
        EXPECT_EQ(SSL_CTX_set_cipher_list(context.get(), list.c_str()), 1) << list;
        return *this;
    }
    bool Connect() {
        ssl.reset(SSL_new(context.get()));
        SSL_set_fd(ssl.get(), socket.GetDescriptor());
        ERR_clear_error();
        return SSL_connect(ssl.get()) == 1;
    }
    /// The alert by which the server ends it, during the handshake or, as newer protocols do, with the first reading;
    /// what it sends otherwise.
    std::string Exchange() { return Connect() ? ExchangeAgain() : Reason(); }
    /// Likewise over the connection that stands.
    std::string ExchangeAgain() {
        ERR_clear_error();
        const std::string request = PostOf("/echo", "");
        char answer[65536];
        SSL_write(ssl.get(), request.data(), static_cast<int>(request.size()));
        const int count = SSL_read(ssl.get(), answer, sizeof answer);
        return count > 0 ? std::string(answer, static_cast<std::size_t>(count)) : Reason();
    }
    static std::string Reason() {
        const unsigned long code = ERR_peek_last_error();
        const char* text = ERR_reason_error_string(code);
        return text ? text : "closed";
    }
    SSL* Get() const { return ssl.get(); }

private:
    RawSocket socket;
    CryptoPtr<SSL_CTX> context{SSL_CTX_new(TLS_client_method()), SSL_CTX_free};
    CryptoPtr<SSL> ssl{nullptr, SSL_free};
};
