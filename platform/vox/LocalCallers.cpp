#include "LocalCallers.h"

#include <boost/asio/ip/address.hpp>
#include <boost/asio/ip/host_name.hpp>

#include "DigestText.h"
#include "HttpHead.h"
#include "LumSecAuth.h"

namespace LumVoxMsg {
namespace {

using Answer = LocalCallers::Found::Answer;

bool IsLoopbackAddress(std::string_view name) {
    boost::system::error_code error;
    return boost::asio::ip::make_address(name, error).is_loopback() && !error;
}

bool IsLoopbackName(std::string_view name) {
    constexpr std::string_view kName = "localhost", kBelow = ".localhost";
    return SameWord(name, kName) ||
           (name.size() > kBelow.size() && SameWord(name.substr(name.size() - kBelow.size()), kBelow));
}

}  // namespace

void LocalCallers::Open(unsigned port) {
    const LumPalThread::PlainLock_t lock(mutex);
    secret.Create();
    digest = std::make_shared<LocalDigestGuard>(LocalDigest(secret.GetDigits(), port));
}

void LocalCallers::Close() {
    const LumPalThread::PlainLock_t lock(mutex);
    secret.Remove();
    digest = nullptr;
}

std::shared_ptr<LocalDigestGuard> LocalCallers::GetGuard() {
    const LumPalThread::PlainLock_t lock(mutex);
    return digest;
}

/// A call without a body is none: who sends one that way asks for a challenge.
LocalCallers::Found LocalCallers::Identify(const HttpRequest& head) {
    {
        const LumPalThread::PlainLock_t lock(mutex);
        if (!digest) return {};
        if (takeHeader && secret.Matches(head.authorization)) return {LumSecAuth::LocalAdministrator(), Answer::Serve};
    }
    if (head.authorization.empty() && !head.hasBody) return {{}, Answer::Challenge};
    if (!IsDigest(head.authorization)) return {};
    const auto guard = GetGuard();
    const std::string target = head.query.empty() ? head.path : head.path + '?' + head.query;
    const auto verdict =
        guard ? guard->Check(head.authorization, head.method, target) : LocalDigestGuard::Verdict::Refused;
    if (verdict == LocalDigestGuard::Verdict::Proven) return {LumSecAuth::LocalAdministrator(), Answer::Serve};
    return {{}, verdict == LocalDigestGuard::Verdict::Stale ? Answer::StaleChallenge : Answer::Challenge};
}

std::string LocalCallers::Challenge(Found::Answer kind) {
    const auto guard = GetGuard();
    return guard ? guard->Challenge(kind == Answer::StaleChallenge) : std::string();
}

bool IsLocalHost(std::string_view host, std::string_view coreId) {
    std::string_view name = HostName(host);
    if (name.ends_with('.')) name.remove_suffix(1);
    if (IsLoopbackName(name) || IsLoopbackAddress(name)) return true;
    if (!coreId.empty() && SameWord(name, coreId)) return true;
    boost::system::error_code error;
    const std::string own = boost::asio::ip::host_name(error);
    return !error && !own.empty() && SameWord(name, own);
}

}  // namespace LumVoxMsg
