// Making and verifying signatures: how data is fed, and what is refused.
#include <gtest/gtest.h>
#include <openssl/err.h>

#include "LumSecCore.h"
#include "LumSecPki.h"
#include "TestPki.h"

namespace LumSecCore {
namespace {

using LumPalArray::CharArray_t;
using LumPalMsg::IllegalArgumentError_t;
using LumPalMsg::IllegalStateError_t;

CharArray_t Bytes(const std::string& text) {
    return CharArray_t(text.data(), text.size());
}

class SignatureOf : public testing::TestWithParam<const char*> {
protected:
    const TestIdentity identity = TestAuthority("authority").IssueFor(GetParam(), "signer");
    const Key key = LumSecPki::ReadPrivateKey(Bytes(identity.key));
    const Key publicKey = LumSecPki::ReadCertificate(Bytes(identity.certificate)).GetPublicKey();

    CharArray_t Sign(const std::string& text) const {
        Signature signature(0);
        signature.InitSign(key);
        signature.Update(Bytes(text));
        CharArray_t made;
        const std::size_t length = signature.Sign(made);
        EXPECT_EQ(made.GetLength(), length);
        return made;
    }
};

TEST_P(SignatureOf, IsTheSameHoweverTheDataIsFed) {
    const CharArray_t made = Sign("one two three"), one = Bytes("one "), rest = Bytes("--two three--");
    const auto verify = [&](const auto& feed) {
        Signature signature(0);
        signature.InitVerify(publicKey);
        feed(signature);
        return signature.Verify(made);
    };
    const CharArray_t all = Bytes("one two three"), none;
    EXPECT_TRUE(verify([&](Signature& s) { s.Update(all); }));
    EXPECT_TRUE(verify([&](Signature& s) { s.UpdateOver(all); }));
    EXPECT_TRUE(verify([&](Signature& s) { s.Update(one), s.Update(rest, 2, 9); }));
    EXPECT_TRUE(verify([&](Signature& s) { s.UpdateOver(one), s.Update(rest, 2, 9); }));
    EXPECT_TRUE(
        verify([&](Signature& s) { s.Update(one), s.UpdateOver(Bytes("two ")), s.UpdateOver(Bytes("three")); }));
    EXPECT_TRUE(verify([&](Signature& s) { s.UpdateOver(none), s.UpdateOver(all), s.Update(none); }));
    EXPECT_FALSE(verify([&](Signature& s) { s.UpdateOver(one); }));
    EXPECT_FALSE(verify([&](Signature& s) { s.UpdateOver(all), s.Update(one); }));
    EXPECT_FALSE(verify([](Signature&) {}));
}

TEST_P(SignatureOf, BeginsAnewWithEachInit) {
    const CharArray_t made = Sign("text"), text = Bytes("text"), other = Bytes("other");
    Signature signature(0);
    for (int i = 0; i < 2; ++i) {
        signature.InitVerify(publicKey);
        signature.UpdateOver(other);
        signature.InitVerify(publicKey);
        signature.UpdateOver(text);
        EXPECT_TRUE(signature.Verify(made));
        EXPECT_THROW(signature.Verify(made), IllegalStateError_t);
    }
}

TEST_P(SignatureOf, NeedsAnInitOfItsKindFirst) {
    CharArray_t made;
    Signature signature(0);
    EXPECT_THROW(signature.Update(made), IllegalStateError_t);
    EXPECT_THROW(signature.UpdateOver(made), IllegalStateError_t);
    EXPECT_THROW(signature.Sign(made), IllegalStateError_t);
    EXPECT_THROW(signature.Verify(made), IllegalStateError_t);
    signature.InitVerify(publicKey);
    EXPECT_THROW(signature.Sign(made), IllegalStateError_t);
    signature.InitSign(key);
    EXPECT_THROW(signature.Verify(made), IllegalStateError_t);
    EXPECT_THROW(signature.InitSign(Key()), InvalidKeyException);
    EXPECT_THROW(signature.Sign(made), IllegalStateError_t);
}

TEST_P(SignatureOf, TakesNoRangeOutsideTheArray) {
    const CharArray_t data = Bytes("text");
    Signature signature(0);
    signature.InitSign(key);
    EXPECT_THROW(signature.Update(data, 5, 0), IllegalArgumentError_t);
    EXPECT_THROW(signature.Update(data, 1, 4), IllegalArgumentError_t);
    EXPECT_THROW(signature.Update(data, 1, static_cast<std::size_t>(-1)), IllegalArgumentError_t);
    EXPECT_NO_THROW(signature.Update(data, 4, 0));
}

TEST_P(SignatureOf, OfAnotherFormIsMalformed) {
    const CharArray_t made = Sign("text");
    for (const std::size_t length : {std::size_t{0}, std::size_t{1}, made.GetLength() - 1, made.GetLength() + 1}) {
        Signature signature(0);
        signature.InitVerify(publicKey);
        CharArray_t changed = made;
        changed.Resize(length);
        EXPECT_THROW(signature.Verify(changed), SignatureException) << length;
    }
}

INSTANTIATE_TEST_SUITE_P(EachKind, SignatureOf, testing::Values("RSA:2048", "EC:P-256", "EC:P-384", "ED25519"));

TEST(Signatures, KnowOneAlgorithm) {
    for (const int algorithm : {-1, 1, 5}) EXPECT_THROW(Signature{algorithm}, IllegalArgumentError_t);
}

TEST(Signatures, AreNotMadeWithKeysThatAreWeakOrOfAnotherKind) {
    EXPECT_THROW(Signature(0).InitVerify(Key()), InvalidKeyException);
    for (const char* kind : {"RSA:1024", "EC:P-521", "EC:secp256k1"}) {
        const TestIdentity identity = TestAuthority("authority").IssueFor(kind, "signer");
        EXPECT_THROW(Signature(0).InitSign(LumSecPki::ReadPrivateKey(Bytes(identity.key))), InvalidKeyException)
            << kind;
        EXPECT_THROW(Signature(0).InitVerify(LumSecPki::ReadCertificate(Bytes(identity.certificate)).GetPublicKey()),
                     InvalidKeyException)
            << kind;
    }
}

TEST(Signatures, ARefusedKeyNamesTheKindsThatSignAndNothingElse) {
    for (const char* kind : {"RSA:1024", "EC:P-521", "EC:secp256k1", "ED448", "none"}) {
        Key key;
        if (std::string(kind) != "none") {
            key = LumSecPki::ReadPrivateKey(Bytes(TestAuthority("authority").IssueFor(kind, "signer").key));
        }
        ERR_raise(ERR_LIB_USER, 1);  // something else has failed before
        try {
            Signature(0).InitSign(key);
            ADD_FAILURE() << kind;
        } catch (const InvalidKeyException& e) {
            const LumPalMsg::Message_t message = e.GetMessageList().GetMessage(0);
            const std::string text = message.GetMessageText().ToUtf8();
            for (const char* word : {"RSA", "2048", "P-256", "P-384", "Ed25519"})
                EXPECT_NE(text.find(word), std::string::npos) << kind << ": " << text;
            EXPECT_EQ(message.GetDetails().GetMessageCount(), 0)
                << kind << ": " << message.GetDetails().Format(0xFF).ToUtf8();
        }
    }
}

}  // namespace
}  // namespace LumSecCore
