// LumSecDigest.h: the SHA-256 of bytes.
#include <openssl/evp.h>

#include "Crypto.h"
#include "LumSecDigest.h"

namespace LumSecCore {
namespace {

void Require(bool done) {
    if (!done) throw SecCoreException(LumPalMsg::CreateError_t("A digest cannot be made.").AddDetails(LastFailure()));
}

}  // namespace

std::string Sha256(const LumPalIo::InputStream_t& stream, std::uint64_t limit) {
    const CryptoPtr<EVP_MD_CTX> context(EVP_MD_CTX_new());
    Require(context && EVP_DigestInit_ex(context.get(), EVP_sha256(), nullptr) == 1);
    const std::uint64_t most = limit == LumPalIo::kNoLimit ? limit : limit + 1;
    const std::uint64_t length =
        LumPalIo::ForEachBlock(stream, most, [&](const LumPalArray::CharArray_t& block, std::size_t count) {
            Require(EVP_DigestUpdate(context.get(), block.GetData(), count) == 1);
        });
    if (length > limit) return {};
    std::string digest(kSha256Bytes, '\0');
    Require(EVP_DigestFinal_ex(context.get(), reinterpret_cast<unsigned char*>(digest.data()), nullptr) == 1);
    return digest;
}

}  // namespace LumSecCore
