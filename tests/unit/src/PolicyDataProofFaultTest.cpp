// What comes of the proof of a signed data file when files, the key store or the authorizer fail, and of odd input.
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "Exceptions.h"
#include "Faults.h"
#include "LumSecAuth.h"
#include "SignedPolicy.h"

namespace {
/// What the authorizer throws; nothing for none.
std::function<void()> authorizerFailure;
}  // namespace

// Stands before the one of the platform layer, which never throws.
bool LumSecAuth::Authorizer::IsAllowed(const LumPalStr::String_t& sender, const LumPalStr::String_t& domain,
                                       unsigned right, int mode) {
    if (authorizerFailure) authorizerFailure();
    using Real = bool (*)(Authorizer*, const LumPalStr::String_t&, const LumPalStr::String_t&, unsigned, int);
    static const auto real =
        reinterpret_cast<Real>(dlsym(RTLD_NEXT, "_ZN10LumSecAuth10Authorizer9IsAllowedERKN9LumPalStr8String_tES4_ji"));
    return real(this, sender, domain, right, mode);
}

namespace LumConf {
namespace {

using LumPalArray::CharArray_t;
using LumPalIo::FileNotFoundException_t;
using LumPalStr::String_t;
using LumSecCore::KeyStoreException;
using LumSecCore::SecCoreException;
using testing::ElementsAre;
using testing::HasSubstr;

TEST_F(SignedPolicy, AFileThatGoesWhileItIsOpenedIsToldAsMissingWithTheCause) {
    Sign(authority.Issue("signer", ""));
    const PolicyHeader header = Loaded();
    const GoneWhenOpened gone("/one");
    const auto list = MessagesOf<FileNotFoundException_t>([&] { header.GetData(0, data); });
    EXPECT_THAT(Chain(list), ElementsAre(18, 0));
    EXPECT_EQ(data.View(), "untouched");
}

TEST_F(SignedPolicy, ATrustedCertificateThatGoesWhileItIsOpenedIsToldAsMissing) {
    Sign(authority.Issue("signer", ""));
    const PolicyHeader header = Loaded();
    const GoneWhenOpened gone("/trusted/authority.pem");
    EXPECT_THAT(Chain(MessagesOf<SecCoreException>([&] { header.GetData(0, data); })), ElementsAre(33, 25, 0, 0));
}

TEST_F(SignedPolicy, ATrustedCertificateThatCannotBeReadIsAFailureOfTheKeyStore) {
    Sign(authority.Issue("signer", ""));
    const PolicyHeader header = Loaded();
    const FailingFile file("read", "/trusted/authority.pem");
    EXPECT_THAT(Chain(MessagesOf<SecCoreException>([&] { header.GetData(0, data); })), ElementsAre(32, 0, 0));
    EXPECT_EQ(data.View(), "the first content");
}

TEST_F(SignedPolicy, WhatTheAuthorizerThrowsLeavesAtOnceAndTheDataStaysUntouched) {
    Sign(authority.Issue("signer", ""));
    Replace("signature", "!!!!");
    const PolicyHeader header = Loaded();
    authorizerFailure = [] {
        throw LumSecAuth::NotAuthorizedException(LumPalMsg::CreateError_t("the authorizer is out of order"));
    };
    const auto list = MessagesOf<LumSecAuth::NotAuthorizedException>([&] { header.GetData(0, data); });
    authorizerFailure = nullptr;
    EXPECT_THAT(list.Format(LumPalMsg::Text).ToUtf8(), HasSubstr("the authorizer is out of order"));
    EXPECT_EQ(data.View(), "untouched");
    EXPECT_THAT(Failure(), ElementsAre(33, 29, 0));
}

TEST_F(SignedPolicy, AKeyStoreFailureOfTheAuthorizerIsOneOfTheCheck) {
    Sign(authority.Issue("signer", ""));
    const PolicyHeader header = Loaded();
    const auto failAs = [&](std::function<void()> failure) {
        authorizerFailure = std::move(failure);
        const auto ids = Chain(MessagesOf<SecCoreException>([&] { header.GetData(0, data); }));
        authorizerFailure = nullptr;
        return ids;
    };
    const LumPalMsg::CreateError_t why("why");
    EXPECT_THAT(failAs([&] { throw KeyStoreException(why); }), ElementsAre(32, 0));
    EXPECT_THAT(failAs([&] { throw SecCoreException(why); }), ElementsAre(33, 0));
    EXPECT_THAT(failAs([&] { throw LumSecCore::EntryNotFoundException(why); }), ElementsAre(33, 0));
    EXPECT_THAT(failAs([&] { throw LumSecCore::InvalidKeyException(why); }), ElementsAre(33, 0));
    EXPECT_THAT(failAs([&] { throw LumSecCore::SignatureException(why); }), ElementsAre(33, 0));
    EXPECT_EQ(data.View(), "the first content");
}

TEST_F(SignedPolicy, ASignatureThatIsNotThereIsOneThatCannotBeDecoded) {
    Sign(authority.Issue("signer", ""));
    std::string text = Document();
    for (std::size_t at; (at = text.find("<signature>")) != text.npos;)
        text.erase(at, text.find("</signature>", at) + 12 - at);
    WriteText(HeaderPath(), text);
    EXPECT_THAT(Failure(), ElementsAre(33, 29, 35));
}

TEST_F(SignedPolicy, AllThatWasSignedIsReadInBlocksOfAnyLength) {
    policy.data = {
        {"one", std::string(8192, 'a')}, {"two", std::string(8193, 'b')}, {"three", std::string(100001, 'c')}};
    Sign(authority.Issue("signer", ""));
    const PolicyHeader header = Loaded();
    for (int i = 0; i < 3; ++i) {
        header.GetData(i, data);
        EXPECT_EQ(data.View(), policy.data[static_cast<std::size_t>(i)].second);
    }
}

TEST_F(SignedPolicy, ACertificateWithBytesBehindItIsNone) {
    Sign(authority.Issue("signer", ""));
    CharArray_t der = Loaded().GetCertificate();
    der.Resize(der.GetLength() + 1);
    EXPECT_THROW(LumSecCore::X509Certificate{der}, SecCoreException);
    der.Resize(der.GetLength() - 2);
    EXPECT_THROW(LumSecCore::X509Certificate{der}, SecCoreException);
}

TEST_F(SignedPolicy, ManyThreadsProveTheSameHeaderBesideChangesOfRights) {
    Sign(authority.Issue("signer", ""));
    const PolicyHeader header = Loaded();
    std::atomic<int> proven{0};
    std::vector<std::thread> readers;
    for (int i = 0; i < 4; ++i) {
        readers.emplace_back([&] {
            for (int n = 0; n < 20; ++n) {
                CharArray_t content;
                header.GetData(0, content);
                proven += content.View() == "the first content";
            }
        });
    }
    for (int n = 0; n < 20; ++n) Authorization::GetInstance().Update();
    for (std::thread& reader : readers) reader.join();
    EXPECT_EQ(proven, 80);
}

}  // namespace
}  // namespace LumConf
