/// @file
/// One handle of the HTTP library with the connection inside it.
#pragma once

#include <chrono>
#include <string>

#include "CallFailure.h"
#include "HttpClient.h"
#include "PeerProof.h"

// The libraries' own names and sizes, so that none of their headers shows here.
struct ssl_st;
struct x509_store_ctx_st;

namespace LumVoxRpc {

/// Used by one thread at a time.
struct HttpClient::Handle {
    explicit Handle(const std::string& key);
    ~Handle();
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    HttpAnswer Post(const HttpTarget& target, const ClientIdentity& identity, const LumPalArray::CharArray_t& body,
                    const ClientLimits& limits);
    const std::string& GetKey() const noexcept { return key; }
    /// Called by the HTTP library for each connection: the rules by which its peer is looked at.
    static int PrepareContext(void* curl, void* context, void* self);
    /// Called by the TLS library: whether the peer's certificate is good and bears the id.
    static int VerifyPeer(x509_store_ctx_st* context, void* self);
    /// Called by the TLS library: what the peer says instead of going on.
    static void SeeTls(const ssl_st* connection, int where, int value);

private:
    void SetUp(const HttpTarget& target, const ClientLimits& limits);
    void WatchBody();
    void SetUpTls(const HttpTarget& target, const ClientIdentity& identity);
    void SetBody(const LumPalArray::CharArray_t& body);
    enum class Reached { Nobody, Connected, Sent };
    Reached HowFar() const;
    [[noreturn]] static void Raise(Reached reached, const HttpTarget& target, const Explanation& why);
    [[noreturn]] void Fail(int code, const HttpTarget& target, const ClientIdentity& identity,
                           const ClientLimits& limits);
    void See(int code, const HttpTarget& target, const ClientIdentity& identity, const ClientLimits& limits);
    void SeeTime(const ClientLimits& limits);
    void SeeCertificates(const ClientIdentity& identity);
    static bool SpeaksTls(const HttpTarget& target);
    int RefusePeer(x509_store_ctx_st* context, const std::string& reason);
    static int Progress(void* self, std::int64_t toReceive, std::int64_t received, std::int64_t toSend,
                        std::int64_t sent);
    static std::size_t Collect(char* bytes, std::size_t size, std::size_t count, void* self);
    static std::size_t SeeHeader(char* bytes, std::size_t size, std::size_t count, void* self);
    static int SeeSocket(void* self, int socket, int purpose);
    int Perform(const HttpTarget& target, const ClientIdentity& identity, const LumPalArray::CharArray_t& body,
                const ClientLimits& limits);
    void SetUpProof(const HttpTarget& target);

    const std::string key;  ///< where the kept connection leads, and by whose identity
    void* const curl;       ///< the library's handle
    std::string targetId;   ///< whom the kept connection leads to; lives as long as the connection
    std::shared_ptr<const LumSecCore::RevocationList> revoked;  ///< whom it may not lead to
    SeenFailure seen;                                           ///< of the last call
    LumSecCore::X509Certificate refused;                        ///< of the peer, or above it
    PeerProof proof;                                            ///< whether the peer knows the secret
    HttpAnswer answer;
    std::uint64_t mostBytes = 0;
    bool tooLong = false;
    bool wasSent = false;  ///< something of the body, over whichever connection of the last call
    std::chrono::steady_clock::duration longestIdle{};
    std::chrono::steady_clock::time_point lastMoved;
    std::int64_t bytesMoved = 0;
    static constexpr std::size_t kErrorBytes = 256;
    char error[kErrorBytes] = "";  ///< the library's words for the last failure
};

}  // namespace LumVoxRpc
