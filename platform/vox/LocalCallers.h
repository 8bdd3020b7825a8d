/// @file
/// Who calls on the plain road, where no certificate tells.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "HttpServer.h"
#include "LocalDigest.h"
#include "LocalSecret.h"
#include "LumPalPlainMutex.h"

namespace LumVoxMsg {

/// Knows the callers who prove the node's local secret, while it is open. Any thread.
class LocalCallers {
public:
    /// What a request says of its sender.
    struct Found {
        std::string sender;  ///< empty: nobody in particular
        enum class Answer { Serve, Challenge, StaleChallenge } answer = Answer::Serve;
    };
    /// @param takeHeader  whether the secret may come as it stands
    explicit LocalCallers(bool takeHeader) : takeHeader(takeHeader) {}
    ~LocalCallers() { Close(); }
    /// Draws the secret. @param port  that is served @throws LumPalIo::IOException_t naming the file
    void Open(unsigned port);
    /// Forgets it; nobody proves anything any more. Never throws.
    void Close();
    Found Identify(const HttpRequest& head);
    /// The field value that asks for a proof (WWW-Authenticate); empty when it is closed.
    std::string Challenge(Found::Answer kind);

private:
    std::shared_ptr<LocalDigestGuard> GetGuard();

    const bool takeHeader;
    LumPalThread::PlainMutex_t mutex;
    LocalSecret secret LUMPAL_GUARDED_BY(mutex);
    std::shared_ptr<LocalDigestGuard> digest LUMPAL_GUARDED_BY(mutex);
};

/// Whether a Host field's value, with a port or without, is a loopback name or address, or one of the node's own
/// names. A page of another site, whose name somebody has led to this host, bears that site's name.
bool IsLocalHost(std::string_view host, std::string_view coreId);

}  // namespace LumVoxMsg
