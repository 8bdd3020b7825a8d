// Each file operation and each step of the crypto library fails while a policy is signed.
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <openssl/core_names.h>
#include <openssl/param_build.h>

#include <memory>

#include "Exceptions.h"
#include "Faults.h"
#include "PolicyDocs.h"
#include "SignedPolicy.h"

namespace {
bool encodingFails = false;
int signaturesLeft = -1;  // until one fails; none does below 0
}  // namespace

// These stand before those of the crypto library, which fail only without memory.
extern "C" __attribute__((visibility("default"))) int EVP_DigestSignFinal(EVP_MD_CTX* context, unsigned char* signature,
                                                                          size_t* length) {
    if (signature && signaturesLeft >= 0 && signaturesLeft-- == 0) return 0;
    static const auto real =
        reinterpret_cast<int (*)(EVP_MD_CTX*, unsigned char*, size_t*)>(dlsym(RTLD_NEXT, "EVP_DigestSignFinal"));
    return real(context, signature, length);
}

extern "C" __attribute__((visibility("default"))) int i2d_X509(const X509* certificate, unsigned char** bytes) {
    if (encodingFails) return -1;
    static const auto real = reinterpret_cast<int (*)(const X509*, unsigned char**)>(dlsym(RTLD_NEXT, "i2d_X509"));
    return real(certificate, bytes);
}

namespace LumConf {
namespace {

using LumPalArray::CharArray_t;
using LumPalIo::IOException_t;
using LumPalMsg::MessageList_t;
using LumPalMsg::RuntimeException_t;
using testing::ElementsAre;
using testing::HasSubstr;
namespace fs = std::filesystem;

class SigningFault : public SignedPolicy {
protected:
    void SetUp() override {
        SignedPolicy::SetUp();
        policy.WriteFiles(Folder().string());
        Own(authority.Issue("signer", ""));
        before = Document();
    }
    void SignIt() const { PolicyHeader::SignData(HeaderFile(), CharArray_t("signer")); }
    fs::path TemporaryFolder() const { return root.Native() + "/tmp/conf_tmp"; }
    int TemporaryFiles() const {
        if (!fs::exists(TemporaryFolder())) return 0;
        return static_cast<int>(std::distance(fs::directory_iterator(TemporaryFolder()), fs::directory_iterator()));
    }
    /// All of the document's data files are proven.
    void ExpectSigned() {
        const PolicyHeader header = Loaded();
        for (int i = 0; i < 2; ++i) {
            header.GetData(i, data);
            EXPECT_EQ(data.View(), policy.data[static_cast<std::size_t>(i)].second);
        }
    }

    std::string before;
};

std::string TextOf(const MessageList_t& list) {
    return list.Format(LumPalMsg::Text | LumPalMsg::Details).ToUtf8();
}

TEST_F(SigningFault, ADataFileThatGoesWhileItIsOpenedIsTold) {
    const GoneWhenOpened gone("/two");
    const auto list = MessagesOf<LumPalIo::FileNotFoundException_t>([&] { SignIt(); });
    EXPECT_THAT(Chain(list), ElementsAre(48, 0));
    EXPECT_THAT(TextOf(list), HasSubstr("Unable to open data file 'two' during a sign data operation."));
    EXPECT_EQ(Document(), before);
}

TEST_F(SigningFault, ADataFileThatCannotBeReadIsToldAsItIs) {
    const FailingFile file("read", "/two");
    EXPECT_THAT(Chain(MessagesOf<IOException_t>([&] { SignIt(); })), ElementsAre(0));
    EXPECT_EQ(Document(), before);
}

struct FreeParts {
    void operator()(BIGNUM* object) const { BN_free(object); }
    void operator()(OSSL_PARAM_BLD* object) const { OSSL_PARAM_BLD_free(object); }
    void operator()(OSSL_PARAM* object) const { OSSL_PARAM_free(object); }
    void operator()(EVP_PKEY_CTX* object) const { EVP_PKEY_CTX_free(object); }
    void operator()(EVP_PKEY* object) const { EVP_PKEY_free(object); }
    void operator()(BIO* object) const { BIO_free(object); }
};
template <class Object>
using Part = std::unique_ptr<Object, FreeParts>;

Part<BIGNUM> Number(const std::string& digits) {
    BIGNUM* number = nullptr;
    BN_hex2bn(&number, digits.c_str());
    return Part<BIGNUM>(number);
}

/// A private key of 2048 bits whose modulus is an even number: it looks like a key and can sign nothing.
std::string EvenKey() {
    const std::string prime(256, '7');
    const std::pair<const char*, std::string> numbers[] = {{OSSL_PKEY_PARAM_RSA_N, "F" + std::string(510, '5') + "4"},
                                                           {OSSL_PKEY_PARAM_RSA_E, "10001"},
                                                           {OSSL_PKEY_PARAM_RSA_D, "1" + std::string(500, '3')},
                                                           {OSSL_PKEY_PARAM_RSA_FACTOR1, prime},
                                                           {OSSL_PKEY_PARAM_RSA_FACTOR2, prime},
                                                           {OSSL_PKEY_PARAM_RSA_EXPONENT1, "33"},
                                                           {OSSL_PKEY_PARAM_RSA_EXPONENT2, "35"},
                                                           {OSSL_PKEY_PARAM_RSA_COEFFICIENT1, "37"}};
    std::vector<Part<BIGNUM>> kept;
    const Part<OSSL_PARAM_BLD> parts(OSSL_PARAM_BLD_new());
    for (const auto& [name, digits] : numbers) {
        kept.push_back(Number(digits));
        OSSL_PARAM_BLD_push_BN(parts.get(), name, kept.back().get());
    }
    const Part<OSSL_PARAM> parameters(OSSL_PARAM_BLD_to_param(parts.get()));
    const Part<EVP_PKEY_CTX> context(EVP_PKEY_CTX_new_from_name(nullptr, "RSA", nullptr));
    EVP_PKEY* key = nullptr;
    EVP_PKEY_fromdata_init(context.get());
    EVP_PKEY_fromdata(context.get(), &key, EVP_PKEY_KEYPAIR, parameters.get());
    const Part<EVP_PKEY> owner(key);
    const Part<BIO> out(BIO_new(BIO_s_mem()));
    PEM_write_bio_PrivateKey(out.get(), key, nullptr, nullptr, 0, nullptr, nullptr);
    char* bytes = nullptr;
    const long length = BIO_get_mem_data(out.get(), &bytes);
    return std::string(bytes, static_cast<std::size_t>(length));
}

TEST_F(SigningFault, AKeyThatMakesNoSignatureIsToldBeforeTheFirstFile) {
    WriteKeyStore("own/signer.key", EvenKey());
    const auto list = MessagesOf<LumSecCore::KeyStoreException>([&] { SignIt(); });
    EXPECT_THAT(Chain(list), ElementsAre(45, 0));
    EXPECT_THAT(TextOf(list), HasSubstr("own/signer.key' cannot be used"));
    EXPECT_EQ(Document(), before);
}

TEST_F(SigningFault, ASignatureThatCannotBeMadeIsToldWithTheFile) {
    signaturesLeft = 1;  // the proof that the key is that of the certificate
    const auto list = MessagesOf<RuntimeException_t>([&] { SignIt(); });
    signaturesLeft = -1;
    EXPECT_EQ(Chain(list).at(0), 49u);
    EXPECT_GE(Chain(list).size(), 2u);
    EXPECT_THAT(TextOf(list), HasSubstr("Could not create the signature for policy data file 'one'."));
    EXPECT_EQ(Document(), before);
}

TEST_F(SigningFault, ACertificateThatCannotBeEncodedIsTold) {
    encodingFails = true;
    const auto list = MessagesOf<RuntimeException_t>([&] { SignIt(); });
    encodingFails = false;
    EXPECT_THAT(Chain(list), ElementsAre(50, 0));
    EXPECT_EQ(Document(), before);
    EXPECT_EQ(TemporaryFiles(), 0);
    SignIt();
    ExpectSigned();
}

TEST_F(SigningFault, ADocumentThatCannotBeWrittenAsideIsToldAndStaysAsItIs) {
    // Each operation on the temporary file; what is made for it is found by its place.
    for (int nth = 1, told = 0; nth < 1000; ++nth) {
        Faults faults(nth);
        MessageList_t list;
        try {
            SignIt();
        } catch (const PolicyFileException& e) {
            list = e.GetMessageList();
        } catch (const LumPalMsg::Exception_t&) {
        }
        faults.Stop();
        if (!faults.Fired()) {
            EXPECT_GE(told, 3);  // open, write, close
            return;
        }
        if (list.GetMessageCount() > 0 && faults.Failed().find(TemporaryFolder().string()) != std::string::npos) {
            ++told;
            EXPECT_EQ(list.GetMessage(0).GetId(), 51u) << faults.Failed();
            const std::string path = faults.Failed().substr(faults.Failed().find(' ') + 1);
            EXPECT_THAT(TextOf(list), HasSubstr("Could not write new policy file '" + path + "'."));
            EXPECT_EQ(Document(), before) << faults.Failed();
            EXPECT_EQ(TemporaryFiles(), 0) << faults.Failed();
        }
        fs::remove_all(TemporaryFolder());
        policy.WriteFiles(Folder().string());
    }
    ADD_FAILURE() << "no end";
}

class SigningFaults : public SigningFault, public testing::WithParamInterface<FaultMode> {
protected:
    /// A failure while the document is overwritten may cost it: the message names the file that has all of it.
    void ExpectWholeDocumentIn(const MessageList_t& list) {
        EXPECT_EQ(list.GetMessage(0).GetId(), 52u);
        const std::string text = TextOf(list);
        EXPECT_THAT(text, HasSubstr("' to '" + HeaderPath() + "'."));
        const std::size_t begin = text.find("from '") + 6;
        const std::string temporary = text.substr(begin, text.find('\'', begin) - begin);
        // Once the document is on the disk, only its going can fail to get there.
        if (fs::exists(temporary)) fs::copy_file(temporary, HeaderPath(), fs::copy_options::overwrite_existing);
        ExpectSigned();
        fs::remove(temporary);
    }
};

TEST_P(SigningFaults, LeaveTheOldDocumentOrTheNewOneAndOnlyTheCopyOverItCanCostIt) {
    int copies = 0, others = 0;
    ForEachFault([&](int nth) {
        policy.WriteFiles(Folder().string());
        Faults faults(nth, GetParam());
        MessageList_t list;
        try {
            SignIt();
        } catch (const LumPalMsg::Exception_t& e) {
            list = e.GetMessageList();
        }
        faults.Stop();
        SCOPED_TRACE("operation " + std::to_string(nth) + ": " + faults.Failed() + " -> " + TextOf(list));
        if (list.GetMessageCount() == 0) {
            ExpectSigned();
        } else if (list.GetMessage(0).GetId() == 52) {
            ExpectWholeDocumentIn(list);
            ++copies;
        } else {
            EXPECT_EQ(Document(), before);
            ++others;
        }
        if (GetParam() == FaultMode::Once && list.GetMessageCount() > 0) {
            EXPECT_EQ(TemporaryFiles(), 0);
        }
        fs::remove_all(TemporaryFolder());
        return faults.Fired();
    });
    EXPECT_GE(copies, 5);  // the temporary folder, open, write, flush, close
    EXPECT_GE(others, GetParam() == FaultMode::DiskFull ? 2 : 6);
}

TEST_F(SigningFault, AFlushThatFailsIsTold) {
    int flushes = 0;
    ForEachFault([&](int nth) {
        policy.WriteFiles(Folder().string());
        Faults faults(nth);
        bool failed = false;
        try {
            SignIt();
        } catch (const LumPalMsg::Exception_t&) {
            failed = true;
        }
        faults.Stop();
        fs::remove_all(TemporaryFolder());
        if (!faults.Failed().starts_with("fsync ")) return faults.Fired();
        ++flushes;
        EXPECT_TRUE(failed) << faults.Failed();
        return true;
    });
    EXPECT_GE(flushes, 4);  // the temporary file, its folder, the document, the folder without the file
}

TEST_F(SigningFault, TheDocumentIsNotTouchedBeforeTheNewOneIsOnTheDiskByItsNameToo) {
    const FailingFile folder("fsync", "conf_tmp");
    const auto list = MessagesOf<IOException_t>([&] { SignIt(); });
    EXPECT_EQ(list.GetMessage(0).GetId(), 52u);
    EXPECT_THAT(TextOf(list), HasSubstr("Cannot flush to the disk '" + TemporaryFolder().string() + "'"));
    EXPECT_EQ(Document(), before);
    EXPECT_EQ(TemporaryFiles(), 1);
}

INSTANTIATE_TEST_SUITE_P(EachMode, SigningFaults,
                         testing::Values(FaultMode::Once, FaultMode::FromThenOn, FaultMode::DiskFull));

}  // namespace
}  // namespace LumConf
