/// @file
/// One handle of the HTTP library with the connection inside it.
#pragma once

#include <curl/curl.h>

#include <string>

#include "HttpClient.h"

// The library's own name, so that its header shows only where it is used.
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

private:
    void SetUp(const HttpTarget& target, const ClientLimits& limits);
    void SetUpTls(const HttpTarget& target, const ClientIdentity& identity);
    void SetBody(const LumPalArray::CharArray_t& body);
    [[noreturn]] void Fail(CURLcode code, const HttpTarget& target, const ClientLimits& limits) const;
    std::string Reason(CURLcode code, const ClientLimits& limits) const;
    static std::size_t Collect(char* bytes, std::size_t size, std::size_t count, void* self);
    static int VerifyPeer(x509_store_ctx_st* context, void* self);
    static CURLcode SetContext(CURL* curl, void* context, void* self);

    const std::string key;  ///< where the kept connection leads, and by whose identity
    CURL* const curl;
    std::string targetId;  ///< whom the kept connection leads to; lives as long as the connection
    std::string wrongPeer;
    HttpAnswer answer;
    std::uint64_t mostBytes = 0;
    bool tooLong = false;
    char error[CURL_ERROR_SIZE] = "";
};

}  // namespace LumVoxRpc
