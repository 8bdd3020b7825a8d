#include "HttpClient.h"

#include <algorithm>

#include "CurlHandle.h"
#include "LumPalIo.h"
#include "LumPalKeys.h"
#include "LumPalWhole.h"
#include "LumSecPki.h"
#include "SigpipeGuard.h"

namespace LumVoxRpc {
namespace {

using LumPalConfig::Configuration_t;

constexpr std::size_t kMostIdle = 16;

unsigned PositiveOr(const Configuration_t& configuration, const char* name, unsigned otherwise) {
    const int value = configuration.GetInt(name);
    return value > 0 ? static_cast<unsigned>(value) : otherwise;
}

std::string Content(const LumPalStr::String_t& path) {
    return std::string(LumPalIo::ReadAtMost(LumPalIo::FileInputStream_t(path), LumSecPki::kLargestPemFile).View());
}

/// What was taken away since the folder was looked at is trusted no longer.
std::string ContentIfThere(const LumPalStr::String_t& path) try {
    return Content(path);
} catch (const LumPalIo::FileNotFoundException_t&) {
    return {};
}

std::string KeyOf(const HttpTarget& target, const ClientIdentity& identity) {
    const char separator = '\n';
    std::string key = (target.tls ? "tls " : "plain ") + target.host + separator + std::to_string(target.port);
    if (target.tls)
        key += separator + target.targetId + separator + identity.own.certificate + separator + identity.trusted +
               separator + identity.revoked->GetDigest();
    else
        key += separator + target.secret;
    return key;
}

}  // namespace

ClientLimits ClientLimits::Load(const Configuration_t& configuration) {
    ClientLimits limits;
    const unsigned port = PositiveOr(configuration, LumPalKeys::TargetPortKey, limits.targetPort);
    if (port <= 65535) limits.targetPort = port;
    limits.connectSeconds = PositiveOr(configuration, LumPalKeys::ConnectTimeoutKey, limits.connectSeconds);
    limits.idleSeconds = PositiveOr(configuration, LumPalKeys::RequestTimeoutKey, limits.idleSeconds);
    limits.callSeconds = PositiveOr(configuration, LumPalKeys::CallTimeoutKey, limits.callSeconds);
    limits.callTime = std::chrono::seconds(limits.callSeconds);
    limits.responseBytes =
        PositiveOr(configuration, LumPalKeys::ResponseLimitKey, static_cast<unsigned>(limits.responseBytes));
    return limits;
}

ClientIdentity ClientIdentity::Load(const LumSecCore::OwnPair& known) {
    const LumSecCore::NodeIdentity node = LumSecCore::NodeIdentity::Load();
    ClientIdentity identity;
    identity.revoked = LumSecCore::RevocationList::Load();
    for (const LumPalStr::String_t& path : node.trustedPaths) identity.trusted += ContentIfThere(path) + '\n';
    if (!node.certificateInstalled) return identity;
    identity.own = LumSecCore::OwnPair::Load(node.coreId, known);
    return identity;
}

HttpClient::HttpClient() = default;

HttpClient::~HttpClient() {
    const LumPal::SigpipeGuard guard;
    idle.clear();
}

HttpAnswer HttpClient::Post(const HttpTarget& target, const LumPalArray::CharArray_t& body,
                            const ClientLimits& limits) {
    const ClientIdentity identity = target.tls ? Identify() : ClientIdentity();
    const LumPal::SigpipeGuard guard;
    std::unique_ptr<Handle> handle = Take(KeyOf(target, identity));
    HttpAnswer answer = handle->Post(target, identity, body, limits);
    Give(std::move(handle));
    return answer;
}

ClientIdentity HttpClient::Identify() {
    LumSecCore::OwnPair known;
    {
        const LumPalThread::PlainLock_t lock(mutex);
        known = own;
    }
    ClientIdentity identity = ClientIdentity::Load(known);
    const LumPalThread::PlainLock_t lock(mutex);
    own = identity.own;
    return identity;
}

std::unique_ptr<HttpClient::Handle> HttpClient::Take(const std::string& key) {
    {
        const LumPalThread::PlainLock_t lock(mutex);
        const auto found =
            std::find_if(idle.rbegin(), idle.rend(), [&](const auto& handle) { return handle->GetKey() == key; });
        if (found != idle.rend()) {
            std::unique_ptr<Handle> handle = std::move(*found);
            idle.erase(std::next(found).base());
            return handle;
        }
    }
    return std::make_unique<Handle>(key);
}

void HttpClient::Give(std::unique_ptr<Handle> handle) {
    std::unique_ptr<Handle> oldest;
    const LumPalThread::PlainLock_t lock(mutex);
    idle.push_back(std::move(handle));
    if (idle.size() <= kMostIdle) return;
    oldest = std::move(idle.front());
    idle.erase(idle.begin());
}

}  // namespace LumVoxRpc
