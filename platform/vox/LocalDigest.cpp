#include "LocalDigest.h"

#include <openssl/crypto.h>

#include <charconv>
#include <chrono>
#include <cstdio>

#include "DigestText.h"
#include "HttpHead.h"

namespace LumVoxMsg {
namespace {

constexpr char kRealm[] = "lum";
constexpr char kAlgorithm[] = "SHA-256";
constexpr char kQop[] = "auth";
constexpr std::size_t kTimeDigits = 16, kRandomBytes = 8, kSealDigits = 64;
constexpr std::size_t kStampDigits = kTimeDigits + 2 * kRandomBytes;
constexpr std::size_t kCountDigits = 8;
/// Threads that look at the clock meet in another order than they looked.
constexpr std::uint64_t kAhead = 1'000'000;

template <class Number>
bool ReadHex(std::string_view digits, Number& value) {
    const char* const end = digits.data() + digits.size();
    const auto result = std::from_chars(digits.data(), end, value, 16);
    return result.ec == std::errc() && result.ptr == end;
}

std::string TimeDigits(std::uint64_t time) {
    char digits[kTimeDigits + 1];
    std::snprintf(digits, sizeof digits, "%016llx", static_cast<unsigned long long>(time));
    return digits;
}

/// What the request names as its target, like that of the request itself.
bool IsSameTarget(std::string_view uri, std::string_view target) {
    std::string_view query, targetQuery;
    const std::string_view path = SplitTarget(uri, query);
    return path == SplitTarget(target, targetQuery) && query == targetQuery;
}

}  // namespace

std::uint64_t SharedMicroseconds() {
    using std::chrono::duration_cast, std::chrono::microseconds, std::chrono::steady_clock;
    return static_cast<std::uint64_t>(duration_cast<microseconds>(steady_clock::now().time_since_epoch()).count());
}

LocalDigest::LocalDigest(std::string_view secret, unsigned port)
    : secret(secret),
      user("local-" + std::to_string(port)),
      hashedUser(HashText(user + ':' + kRealm + ':' + this->secret)),
      port(port) {}

LocalDigest::~LocalDigest() {
    OPENSSL_cleanse(secret.data(), secret.size());
    OPENSSL_cleanse(hashedUser.data(), hashedUser.size());
}

std::string LocalDigest::Sealed(const std::string& stamp) const {
    return stamp + KeyedHashText(secret, "nonce:" + std::to_string(port) + ':' + stamp);
}

std::string LocalDigest::Challenge(std::uint64_t now, bool stale) const {
    return std::string("Digest realm=\"") + kRealm + "\", qop=\"" + kQop + "\", algorithm=" + kAlgorithm +
           ", nonce=\"" + Sealed(TimeDigits(now) + RandomDigits(kRandomBytes)) + '"' + (stale ? ", stale=true" : "");
}

std::string_view LocalDigest::StampOf(std::string_view nonce) {
    return nonce.substr(0, kStampDigits);
}

LocalDigest::Nonce LocalDigest::Judge(std::string_view nonce, std::uint64_t now) const {
    std::uint64_t made = 0;
    if (nonce.size() != kStampDigits + kSealDigits || !ReadHex(nonce.substr(0, kTimeDigits), made) ||
        !AreEqualSecrets(nonce, Sealed(std::string(StampOf(nonce)))) || made > now + kAhead)
        return Nonce::Foreign;
    return now > made && now - made > kNonceLife ? Nonce::Old : Nonce::Fresh;
}

bool LocalDigest::IsOwn(std::string_view challenge, std::uint64_t now) const {
    const auto parameters = DigestParameters::Read(challenge);
    return parameters && parameters->Get("algorithm") == kAlgorithm && parameters->Get("realm") == kRealm &&
           parameters->Get("qop") == kQop && Judge(parameters->Get("nonce"), now) == Nonce::Fresh;
}

std::string LocalDigest::Response(std::string_view nonce, std::string_view count, std::string_view clientNonce,
                                  std::string_view method, std::string_view target) const {
    std::string text = hashedUser;
    for (const std::string_view part : {nonce, count, clientNonce, std::string_view(kQop)}) (text += ':') += part;
    text += ':' + HashText(std::string(method) + ':' + std::string(target));
    std::string response = HashText(text);
    OPENSSL_cleanse(text.data(), text.size());
    return response;
}

LocalDigestGuard::LocalDigestGuard(const LocalDigest& digest, Clock clock, std::size_t most)
    : digest(digest), clock(std::move(clock)), most(most) {}

LocalDigestGuard::Verdict LocalDigestGuard::Check(std::string_view authorization, std::string_view method,
                                                  std::string_view target) {
    const auto sent = DigestParameters::Read(authorization);
    std::uint32_t count = 0;
    if (!sent || sent->Get("username") != digest.GetUser() || sent->Get("realm") != kRealm ||
        !SameWord(sent->Get("algorithm"), kAlgorithm) || sent->Get("qop") != kQop ||
        !IsSameTarget(sent->Get("uri"), target) || sent->Get("cnonce").empty() ||
        sent->Get("nc").size() != kCountDigits || !ReadHex(sent->Get("nc"), count))
        return Verdict::Refused;
    const std::string_view nonce = sent->Get("nonce");
    const std::string wanted = digest.Response(nonce, sent->Get("nc"), sent->Get("cnonce"), method, sent->Get("uri"));
    if (!AreEqualSecrets(sent->Get("response"), wanted)) return Verdict::Refused;
    const std::uint64_t now = clock();
    const bool fresh = digest.Judge(nonce, now) == LocalDigest::Nonce::Fresh;
    return fresh && TakeCount(nonce, count, now) ? Verdict::Proven : Verdict::Stale;
}

/// Each count of a nonce is good once, and only in their order: what was overheard is worth nothing.
bool LocalDigestGuard::TakeCount(std::string_view nonce, std::uint32_t count, std::uint64_t now) {
    const std::string stamp(LocalDigest::StampOf(nonce));
    const std::string oldest = TimeDigits(now > LocalDigest::kNonceLife ? now - LocalDigest::kNonceLife : 0);
    const LumPalThread::PlainLock_t lock(mutex);
    counts.erase(counts.begin(), counts.lower_bound(oldest));
    if (stamp <= forgotten) return false;
    std::uint32_t& last = counts[stamp];
    const bool isNext = count > last;
    if (isNext) last = count;
    if (counts.size() > most) forgotten = counts.extract(counts.begin()).key();
    return isNext;
}

}  // namespace LumVoxMsg
