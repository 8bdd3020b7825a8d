#include "DigestText.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/rand.h>

#include <algorithm>
#include <array>
#include <new>

#include "HttpHead.h"
#include "LumPalIo.h"

namespace LumVoxMsg {
namespace {

constexpr std::string_view kScheme = "Digest";
constexpr std::size_t kMostParameters = 32;

bool IsBlank(char c) {
    return c == ' ' || c == '\t';
}

bool IsTokenEnd(char c) {
    return IsBlank(c) || c == ',' || c == '=' || c == '"';
}

/// Reads "name=value" pairs with commas between them.
class Reader {
public:
    explicit Reader(std::string_view text) : text(text) {}
    bool AtEnd() {
        while (!text.empty() && (IsBlank(text.front()) || text.front() == ',')) text.remove_prefix(1);
        return text.empty();
    }
    /// @return false when there is no pair, or something else behind it
    bool Next(std::string& name, std::string& value) {
        name = Token();
        SkipBlanks();
        if (name.empty() || !Take('=')) return false;
        SkipBlanks();
        const bool quoted = Take('"');
        if (quoted ? !Quoted(value) : (value = Token()).empty()) return false;
        SkipBlanks();
        return text.empty() || text.front() == ',';
    }

private:
    void SkipBlanks() {
        while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
    }
    bool Take(char wanted) {
        if (text.empty() || text.front() != wanted) return false;
        text.remove_prefix(1);
        return true;
    }
    std::string Token() {
        const auto end = std::find_if(text.begin(), text.end(), IsTokenEnd);
        const std::string token(text.begin(), end);
        text.remove_prefix(token.size());
        return token;
    }
    bool Quoted(std::string& value) {
        value.clear();
        while (!text.empty() && text.front() != '"') {
            if (Take('\\') && text.empty()) return false;
            value += text.front();
            text.remove_prefix(1);
        }
        return Take('"');
    }

    std::string_view text;
};

std::string Hexadecimal(const unsigned char* bytes, std::size_t count) {
    std::string digits;
    digits.reserve(2 * count);
    for (std::size_t i = 0; i < count; ++i) {
        digits += "0123456789abcdef"[bytes[i] >> 4];
        digits += "0123456789abcdef"[bytes[i] & 15];
    }
    return digits;
}

/// Looked up once: that costs more than a hash. @throws std::bad_alloc
const EVP_MD* Sha256() {
    static EVP_MD* const found = EVP_MD_fetch(nullptr, "SHA256", nullptr);
    if (!found) throw std::bad_alloc();
    return found;
}

const unsigned char* Bytes(std::string_view text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

}  // namespace

bool IsDigest(std::string_view value) {
    return SameWord(value.substr(0, kScheme.size()), kScheme) &&
           (value.size() == kScheme.size() || IsBlank(value[kScheme.size()]));
}

std::optional<DigestParameters> DigestParameters::Read(std::string_view value) {
    if (!IsDigest(value)) return std::nullopt;
    DigestParameters read;
    std::string name, text;
    for (Reader reader(value.substr(kScheme.size())); !reader.AtEnd();) {
        if (!reader.Next(name, text) || read.parameters.size() == kMostParameters) return std::nullopt;
        const auto same = [&name](const auto& parameter) { return SameWord(parameter.first, name); };
        if (std::any_of(read.parameters.begin(), read.parameters.end(), same)) return std::nullopt;
        read.parameters.emplace_back(name, text);
    }
    return read;
}

std::string_view DigestParameters::Get(std::string_view name) const {
    for (const auto& [known, value] : parameters)
        if (SameWord(known, name)) return value;
    return {};
}

std::string HashText(std::string_view text) {
    std::array<unsigned char, EVP_MAX_MD_SIZE> hash;
    unsigned length = 0;
    if (EVP_Digest(text.data(), text.size(), hash.data(), &length, Sha256(), nullptr) != 1) throw std::bad_alloc();
    return Hexadecimal(hash.data(), length);
}

std::string KeyedHashText(std::string_view key, std::string_view text) {
    std::array<unsigned char, EVP_MAX_MD_SIZE> hash;
    unsigned length = 0;
    if (!HMAC(Sha256(), key.data(), static_cast<int>(key.size()), Bytes(text), text.size(), hash.data(), &length))
        throw std::bad_alloc();
    return Hexadecimal(hash.data(), length);
}

std::string RandomDigits(std::size_t bytes) {
    std::string random(bytes, '\0');
    auto* const target = reinterpret_cast<unsigned char*>(random.data());
    if (RAND_bytes(target, static_cast<int>(bytes)) != 1)
        throw LumPalIo::IOException_t(LumPalMsg::CreateError_t("The system gives no random numbers."));
    std::string digits = Hexadecimal(target, bytes);
    OPENSSL_cleanse(random.data(), random.size());
    return digits;
}

bool AreEqualSecrets(std::string_view a, std::string_view b) {
    return a.size() == b.size() && CRYPTO_memcmp(a.data(), b.data(), a.size()) == 0;
}

}  // namespace LumVoxMsg
