// The SHA-256 of bytes, by the examples of FIPS 180-4.
#include "LumSecDigest.h"

#include <gtest/gtest.h>

namespace {

std::string HexOf(const std::string& bytes, std::uint64_t limit = LumPalIo::kNoLimit) {
    const LumPalArray::CharArray_t array(bytes.data(), bytes.size());
    std::string text;
    for (const unsigned char byte : LumSecCore::Sha256(LumPalIo::CharArrayInputStream_t(array), limit)) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", byte);
        text += digits;
    }
    return text;
}

TEST(Digest, TheStandardsExamplesComeOut) {
    EXPECT_EQ(HexOf(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    EXPECT_EQ(HexOf("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(HexOf("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"),
              "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
    EXPECT_EQ(HexOf(std::string(1000000, 'a')), "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

TEST(Digest, OfMoreThanTheLimitThereIsNone) {
    EXPECT_EQ(HexOf("abc", 2), "");
    EXPECT_EQ(HexOf("abc", 3), HexOf("abc"));
    EXPECT_EQ(HexOf("", 0), HexOf(""));
    EXPECT_EQ(HexOf("a", 0), "");
}

}  // namespace
