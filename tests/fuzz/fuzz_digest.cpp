// Any bytes as the value of Authorization or WWW-Authenticate: what is read holds each name once; nobody is proven by
// what he could make up, whatever stands around the right parts; a challenge is only taken for the node's own when it
// is.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "DigestText.h"
#include "HttpHead.h"
#include "LocalDigest.h"

namespace {

using namespace LumVoxMsg;

constexpr std::uint64_t kNow = 1'000'000'000;
const std::string kSecret(64, 'a');

void CheckParameters(std::string_view value) {
    const std::optional<DigestParameters> parameters = DigestParameters::Read(value);
    if (!parameters) return;
    if (!IsDigest(value)) std::abort();
    for (const std::string_view name : {"username", "realm", "nonce", "uri", "response", "nc", "cnonce", "qop"}) {
        std::string other(name);
        std::transform(other.begin(), other.end(), other.begin(), [](char c) { return static_cast<char>(c - 32); });
        if (parameters->Get(name) != parameters->Get(other)) std::abort();
        // A name that can be read stands in the value as it came.
        const std::string_view read = parameters->Get(name);
        if (read.size() > value.size()) std::abort();
    }
}

/// The node's side knows a secret that no input holds.
void CheckGuard(std::string_view value) {
    LocalDigestGuard guard(LocalDigest(kSecret, 7443), [] { return kNow; });
    if (guard.Check(value, "POST", "/a") != LocalDigestGuard::Verdict::Refused) std::abort();
    if (LocalDigest(kSecret, 7443).IsOwn(value, kNow)) std::abort();
}

/// With a true proof before it or behind it, the value is refused or is good once.
void CheckBesideAProof(std::string_view value) {
    const LocalDigest digest(kSecret, 7443);
    LocalDigestGuard guard(digest, [] { return kNow; });
    const std::string challenge = guard.Challenge(false);
    const std::string nonce(DigestParameters::Read(challenge).value().Get("nonce"));
    const std::string proof = "Digest username=\"" + digest.GetUser() + "\", realm=\"" +
                              std::string(DigestParameters::Read(challenge)->Get("realm")) + "\", nonce=\"" + nonce +
                              "\", uri=\"/a\", algorithm=SHA-256, qop=auth, nc=00000001, cnonce=\"c\", response=\"" +
                              digest.Response(nonce, "00000001", "c", "POST", "/a") + "\"";
    const std::string beside = proof + ", " + std::string(value);
    guard.Check(beside, "POST", "/a");
    if (guard.Check(beside, "POST", "/a") == LocalDigestGuard::Verdict::Proven) std::abort();
    LocalDigestGuard fresh(digest, [] { return kNow; });
    if (fresh.Check(proof, "POST", "/a") != LocalDigestGuard::Verdict::Proven) std::abort();
    if (fresh.Check(proof, "POST", "/b") == LocalDigestGuard::Verdict::Proven) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view value(reinterpret_cast<const char*>(data), size);
    CheckParameters(value);
    CheckGuard(value);
    CheckBesideAProof(value);
    return 0;
}
