// Data files that lie beside their header, proven as installed ones are.
#include "PolicyProof.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "SignedPolicy.h"

namespace LumConf {
namespace {

using LumPalArray::CharArray_t;
using LumPalIo::File_t;
using LumPalStr::String_t;
using LumSecCore::SecCoreException;
using testing::ElementsAre;
namespace fs = std::filesystem;

/// A signed policy that lies in a folder of its own, outside the store.
class PolicyBesideItsHeader : public TrustingNode {
protected:
    const fs::path folder = fs::path(root.Native()) / "source";

    File_t Folder() const { return File_t(String_t::FromUtf8(folder.string())); }
    PolicyHeader SignedHere(const TestIdentity& identity) {
        Own(identity);
        const File_t file = policy.WriteFiles(folder.string());
        PolicyHeader::SignData(file, CharArray_t("signer"));
        return PolicyHeader::Read(file);
    }
    std::vector<unsigned> FailureOf(const PolicyHeader& header, int index) const {
        return Chain(MessagesOf<SecCoreException>([&] { PolicyProof::Prove(header, index, Folder()); }));
    }
};

TEST_F(PolicyBesideItsHeader, IsProvenByTheSameSteps) {
    const PolicyHeader header = SignedHere(authority.Issue("signer", ""));
    PolicyProof::Prove(header, 0, Folder());
    PolicyProof::Prove(header, 1, Folder());
    EXPECT_RAISES(PolicyProof::Prove(header, 2, Folder()), LumPalMsg::IllegalArgumentError_t, 16);
    EXPECT_RAISES(PolicyProof::Prove(header, -1, Folder()), LumPalMsg::IllegalArgumentError_t, 16);
    std::ofstream(folder / "two") << "no longer empty";
    PolicyProof::Prove(header, 0, Folder());
    EXPECT_THAT(FailureOf(header, 1), ElementsAre(33, 30));
    fs::remove(folder / "two");
    EXPECT_RAISES(PolicyProof::Prove(header, 1, Folder()), LumPalIo::FileNotFoundException_t, 18);
    Grant("");
    EXPECT_THAT(FailureOf(header, 0), ElementsAre(33, 23));
    Grant(kGranted);
    fs::remove(KeyStoreFolder() / "trusted/authority.pem");
    EXPECT_THAT(FailureOf(header, 0), ElementsAre(33, 24));
    fs::remove_all(KeyStoreFolder());
    EXPECT_THAT(FailureOf(header, 0), ElementsAre(32, 0));
}

TEST_F(PolicyBesideItsHeader, GivesItsDataToNobody) {
    const PolicyHeader header = SignedHere(authority.Issue("signer", ""));
    CharArray_t data("untouched");
    EXPECT_RAISES(header.GetData(0, data), LumPalMsg::IllegalStateError_t, 17);
    PolicyProof::Prove(header, 0, Folder());
    EXPECT_RAISES(header.GetData(0, data), LumPalMsg::IllegalStateError_t, 17);
    EXPECT_EQ(data.View(), "untouched");
}

TEST_F(PolicyBesideItsHeader, HasNoDataFileOutsideItsFolder) {
    const PolicyHeader header = SignedHere(authority.Issue("signer", ""));
    std::ofstream(root.Native() + "/outside") << "the first content";
    for (const char* name : {"../outside", "..", ".", "", "a/b"}) {
        header.SetDataFile(name);
        const int last = header.GetDataFileCount() - 1;
        EXPECT_RAISES(PolicyProof::Prove(header, last, Folder()), LumPalIo::FileNotFoundException_t, 18);
    }
}

TEST_F(PolicyBesideItsHeader, NamesItsSignerAlsoWhenNothingIsProven) {
    const PolicyHeader header = SignedHere(authority.Issue("signer", "", -1));
    const PolicySigner signer = PolicySigner::Of(header);
    EXPECT_TRUE(signer.found);
    EXPECT_TRUE(signer.maySign);
    EXPECT_EQ(signer.subject, "signer");
    EXPECT_EQ(signer.issuer, "authority");
    EXPECT_EQ(signer.notAfter.ToUtf8().size(), std::string("2026-11-21T10:00:00Z").size());
    EXPECT_THAT(FailureOf(header, 0), ElementsAre(33, 22, 0));
    Grant("[conf]\nsigner=install\n");
    EXPECT_FALSE(PolicySigner::Of(header).maySign);
}

TEST_F(PolicyBesideItsHeader, NamesNoSignerWithoutACertificateThatCanBeRead) {
    for (const char* certificate : {"", "Y2VydA==", "!!!", "Y2Vyd"}) {
        std::string text = policy.Document();
        text.replace(text.find("<certificate>") + 13, 0, certificate);
        TestPolicy changed = policy;
        changed.document = text;
        const PolicySigner signer = PolicySigner::Of(PolicyHeader::Read(changed.WriteFiles(folder.string())));
        EXPECT_FALSE(signer.found) << certificate;
        EXPECT_FALSE(signer.maySign) << certificate;
        EXPECT_TRUE(signer.subject.IsEmpty() && signer.issuer.IsEmpty() && signer.notAfter.IsEmpty()) << certificate;
    }
}

}  // namespace
}  // namespace LumConf
