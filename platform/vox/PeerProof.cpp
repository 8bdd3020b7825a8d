#include "PeerProof.h"

#include <algorithm>
#include <cstdlib>

#include "HttpHead.h"
#include "LumPalColumns.h"

namespace LumVoxRpc {
namespace {

using LumVoxMsg::LocalDigest;
using LumVoxMsg::SharedMicroseconds;

constexpr std::string_view kChallenge = "WWW-Authenticate:";
/// A challenge that may end on the way costs the body twice.
constexpr std::uint64_t kUsableFor = LocalDigest::kNonceLife / 4 * 3;

std::string_view Trimmed(std::string_view text) {
    return LumPalStr::Trimmed(text, " \t\r\n");
}

/// These may come from a node that has too much to do to ask for a proof. Nobody can tell it from a stranger.
bool IsOfABusyNode(int status) {
    return status == 413 || status == 431 || status == 503;
}

}  // namespace

void PeerProof::Begin(const std::string& secret, unsigned port) {
    if (!digest) digest.emplace(secret, port);
    status = 0;
    startOver = false;
}

bool PeerProof::Take(std::string_view line) {
    if (line.starts_with("HTTP/")) {
        status = std::atoi(std::string(line.substr(std::min(line.find(' '), line.size()))).c_str());
        return true;
    }
    if (Trimmed(line).empty()) return EndHeader();
    if (!LumVoxMsg::SameWord(line.substr(0, kChallenge.size()), kChallenge)) return true;
    const std::uint64_t now = SharedMicroseconds();
    provenSince = digest->IsOwn(Trimmed(line.substr(kChallenge.size())), now) ? now : 0;
    return provenSince != 0;
}

bool PeerProof::EndHeader() const {
    const bool isInterim = status >= 100 && status < 200;
    return provenSince != 0 || isInterim || IsOfABusyNode(status);
}

bool PeerProof::TakeConnection() {
    startOver = provenSince != 0;
    return !startOver;
}

bool PeerProof::IsUsable() const {
    return provenSince != 0 && SharedMicroseconds() - provenSince < kUsableFor;
}

void PeerProof::Forget() {
    provenSince = 0;
}

}  // namespace LumVoxRpc
