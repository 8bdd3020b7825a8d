// Proofs of signed data files: one by one, and a store of them by the tool.
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#include "BareParser.h"
#include "BareProof.h"
#include "Benchmarks.h"
#include "Documents.h"
#include "PolicyContainer.h"
#include "TempRoot.h"
#include "TestPki.h"

namespace bench {
namespace {

using LumConf::PolicyContainer;
using LumConf::PolicyHeader;
using LumPalArray::CharArray_t;
using LumPalStr::String_t;
namespace fs = std::filesystem;

/// A root that trusts an authority, which let "signer" sign; the store of so many policies is signed.
class SignedStore {
public:
    SignedStore(const std::string& kind, int policies, std::size_t dataBytes)
        : root(fs::exists("/dev/shm") ? "/dev/shm" : "/tmp") {
        const TestAuthority authority("authority", kind);
        const TestIdentity identity = authority.IssueFor(kind, "signer");
        InstallTrust("authority", authority.Certificate());
        WriteKeyStore("own/signer.pem", identity.certificate);
        WriteKeyStore("own/signer.key", identity.key);
        WriteFile(root.Native() + "/etc/authorization.ini", "[conf]\nsigner=sign\n");
        FillStore(root.Native(), policies);
        SignAll(std::string(dataBytes, 'd'));
        container.CheckPolicy();
    }
    const std::string& Root() const { return root.Native(); }
    const PolicyContainer& Policies() const { return container; }
    SignedFile FileOf(const PolicyHeader& header) const {
        const std::string path = root.Native() + "/policies/" + header.GetTypeName().ToUtf8() + "/";
        return {path + header.GetDataFile(0).ToUtf8(), header.GetCertificate(), header.GetSignature(0),
                root.Native() + "/etc/keystore/trusted/authority.pem"};
    }

private:
    void SignAll(const std::string& content) const {
        std::vector<fs::path> documents;
        for (const auto& entry : fs::recursive_directory_iterator(root.Native() + "/policies")) {
            if (entry.is_regular_file()) documents.push_back(entry.path());
        }
        for (const fs::path& document : documents) {
            const LumPalIo::File_t file(String_t::FromUtf8(document.string()));
            const std::string name = PolicyHeader::Read(file).GetDataFile(0).ToUtf8();
            WriteFile((document.parent_path() / name).string(), content);
            PolicyHeader::SignData(file, CharArray_t("signer"));
        }
    }

    TempRoot root;
    PolicyContainer container;
};

void MeasureOne(Session& session, const std::string& name, const std::string& kind, std::size_t bytes) {
    const SignedStore store(kind, 1, bytes);
    const PolicyHeader header = store.Policies().GetPolicyHeader(0);
    const SignedFile file = store.FileOf(header);
    const int rounds = session.Choose(bytes > 100000 ? 20 : 200, 2);
    const auto repeat = [rounds](const auto& call) {
        return ProcessorSeconds([&] {
                   for (int i = 0; i < rounds; ++i) call();
               }) /
               rounds;
    };
    CharArray_t data;
    const Pairs pairs = RunPairs(
        session.Choose(41, 1), [&] { return repeat([&] { header.GetData(0, data); }); },
        [&] { return repeat([&] { BareProve(file); }); });
    session.Add({name, pairs.Ratios(), 1.25, Times(pairs)});
}

/// The tool itself, as an operator runs it.
double VerifyByTool(const SignedStore& store) {
    const fs::path tool = fs::read_symlink("/proc/self/exe").parent_path() / "../tools/lumpolicy";
    const std::string command =
        "LUM_ROOT='" + store.Root() + "' '" + tool.string() + "' verify --installed > '" + store.Root() + "/verified'";
    return Seconds([&] {
        if (std::system(command.c_str()) != 0) throw std::runtime_error("the store is not proven");
    });
}

void MeasureStore(Session& session) {
    const SignedStore store("EC:P-256", session.Choose(1000, 20), 10000);
    std::vector<SignedFile> files;
    for (int i = 0; i < store.Policies().GetCount(); ++i) {
        files.push_back(store.FileOf(store.Policies().GetPolicyHeader(i)));
    }
    const std::string documents = store.Root() + "/documents";
    fs::create_directories(documents);
    for (const auto& entry : fs::recursive_directory_iterator(store.Root() + "/policies")) {
        if (!entry.path().string().ends_with("_header.xml")) continue;
        fs::create_directories(documents / entry.path().parent_path().filename());
        fs::copy(entry.path(), documents / entry.path().parent_path().filename());
    }
    const auto bare = [&] {
        BareParseTree(documents);
        for (const SignedFile& file : files) BareProve(file);
    };
    const Pairs pairs = RunPairs(
        session.Choose(11, 1), [&] { return VerifyByTool(store); }, [&] { return Seconds(bare); });
    session.Add({"verify 1,000 installed policies", pairs.Ratios(), {}, Times(pairs)});
}

}  // namespace

void MeasureProof(Session& session) {
    MeasureOne(session, "proof of 10 KB, P-256", "EC:P-256", 10000);
    MeasureOne(session, "proof of 10 KB, RSA 2048", "RSA:2048", 10000);
    MeasureOne(session, "proof of 10 KB, RSA 4096", "RSA:4096", 10000);
    MeasureOne(session, "proof of 10 KB, Ed25519", "ED25519", 10000);
    MeasureOne(session, "proof of 1 MB, P-256", "EC:P-256", 1000000);
    MeasureOne(session, "proof of 1 MB, Ed25519", "ED25519", 1000000);
    MeasureStore(session);
}

}  // namespace bench
