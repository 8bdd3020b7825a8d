#include "DigestCaller.h"

#include <openssl/evp.h>

#include <array>
#include <cstdio>
#include <stdexcept>

namespace bench {
namespace {

std::string Hash(const std::string& text) {
    std::array<unsigned char, EVP_MAX_MD_SIZE> hash;
    unsigned length = 0;
    if (EVP_Digest(text.data(), text.size(), hash.data(), &length, EVP_sha256(), nullptr) != 1)
        throw std::runtime_error("no hash");
    std::string digits;
    for (unsigned i = 0; i < length; ++i) {
        digits += "0123456789abcdef"[hash[i] >> 4];
        digits += "0123456789abcdef"[hash[i] & 15];
    }
    return digits;
}

std::string NonceOf(const RawAnswer& answer) {
    const std::string before = "nonce=\"";
    const std::size_t at = answer.head.find(before);
    if (answer.status != 401 || at == answer.head.npos) throw std::runtime_error("the node asks for no proof");
    const std::size_t begin = at + before.size();
    return answer.head.substr(begin, answer.head.find('"', begin) - begin);
}

}  // namespace

DigestCaller::DigestCaller(unsigned port, const std::string& path, const std::string& secret)
    : connection(port),
      user("local-" + std::to_string(port)),
      path(path),
      nonce(NonceOf(connection.Exchange(PostOf(path, "", "")))),
      hashedUser(Hash(user + ":lum:" + secret)),
      hashedTarget(Hash("POST:" + path)) {}

std::string DigestCaller::NextField() {
    char digits[9];
    std::snprintf(digits, sizeof digits, "%08x", ++count);
    const std::string response = Hash(hashedUser + ":" + nonce + ":" + digits + ":c:auth:" + hashedTarget);
    return "Authorization: Digest username=\"" + user + "\", realm=\"lum\", nonce=\"" + nonce + "\", uri=\"" + path +
           "\", cnonce=\"c\", nc=" + digits + ", qop=auth, algorithm=SHA-256, response=\"" + response + "\"\r\n";
}

}  // namespace bench
