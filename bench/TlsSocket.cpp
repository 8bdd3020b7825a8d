#include "TlsSocket.h"

#include <netinet/tcp.h>
#include <openssl/ssl.h>

#include <stdexcept>

namespace bench {
namespace {

void Demand(bool done, const char* what) {
    if (!done) throw std::runtime_error(std::string("TLS: ") + what);
}

}  // namespace

TlsClient::TlsClient(const std::string& certificate, const std::string& key, const std::string& trusted)
    : context(SSL_CTX_new(TLS_client_method()), SSL_CTX_free) {
    SSL_CTX_set_verify(Get(), SSL_VERIFY_PEER, nullptr);
    SSL_CTX_set_session_cache_mode(Get(), SSL_SESS_CACHE_OFF);
    SSL_CTX_set_options(Get(), SSL_OP_IGNORE_UNEXPECTED_EOF);
    Demand(SSL_CTX_use_certificate_file(Get(), certificate.c_str(), SSL_FILETYPE_PEM) == 1 &&
               SSL_CTX_use_PrivateKey_file(Get(), key.c_str(), SSL_FILETYPE_PEM) == 1 &&
               SSL_CTX_load_verify_file(Get(), trusted.c_str()) == 1,
           "the files of the client");
}

TlsSocket::TlsSocket(const TlsClient& client, unsigned port) : RawSocket(port), tls(SSL_new(client.Get()), SSL_free) {
    const int on = 1;  // else the farewell waits for the server to acknowledge what stood before it
    setsockopt(GetDescriptor(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    Demand(SSL_set_fd(tls.get(), GetDescriptor()) == 1 && SSL_connect(tls.get()) == 1, "the handshake");
}

bool TlsSocket::Send(std::string_view bytes) {
    return SSL_write(tls.get(), bytes.data(), static_cast<int>(bytes.size())) == static_cast<int>(bytes.size());
}

std::string TlsSocket::ReceiveSome() {
    char bytes[16384];
    const int count = SSL_read(tls.get(), bytes, sizeof bytes);
    return std::string(bytes, count > 0 ? static_cast<std::size_t>(count) : 0);
}

void TlsSocket::Leave() {
    SSL_shutdown(tls.get());
    // What the server said first, if anything, and why it closed.
    while (!RawSocket::ReceiveSome().empty()) {
    }
}

}  // namespace bench
