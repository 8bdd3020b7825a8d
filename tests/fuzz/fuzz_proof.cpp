// Changes of a certificate, of a signature and of the file that it is of: each proof ends with the step that failed, or
// the file is the very one that was signed, and its signer the very one that may sign. An input is a list of changes of
// five bytes: what is changed, how, where (two bytes), and the new byte.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <string>

#include "Authorization.h"
#include "Faults.h"
#include "LumSecCore.h"
#include "LumSecPki.h"
#include "PolicyData.h"
#include "TempRoot.h"
#include "TestPki.h"

namespace {

using LumPalArray::CharArray_t;
using LumPalStr::String_t;

struct Parts {
    std::string certificate, signature;  ///< encoded bytes
    std::string certificateText, signatureText;
    std::string content;
};

std::string Base64(const std::string& bytes) {
    LumPalIo::CharArrayOutputStream_t text;
    LumPalIo::Base64OutputStream_t encoder(text);
    encoder.Write(bytes.data(), bytes.size());
    encoder.Close();
    return std::string(text.TakeCharArray().View());
}

CharArray_t Array(const std::string& bytes) {
    return CharArray_t(bytes.data(), bytes.size());
}

/// A node that trusts an authority and lets "signer" sign; made once.
class Node {
public:
    Node() {
        InstallTrust("authority", authority.Certificate());
        std::ofstream(root.Native() + "/etc/authorization.ini") << "[conf]\nsigner=sign\n";
        LumConf::Authorization::GetInstance().Update();
        const TestIdentity identity = authority.Issue("signer", "");
        CharArray_t bytes;
        LumSecPki::ReadCertificate(Array(identity.certificate)).GetEncoded(bytes);
        good.certificate = std::string(bytes.View());
        good.content = "what was signed";
        LumSecCore::Signature signature(0);
        signature.InitSign(LumSecPki::ReadPrivateKey(Array(identity.key)));
        signature.Update(Array(good.content));
        signature.Sign(bytes);
        good.signature = std::string(bytes.View());
    }
    /// Whether the parts are proven; otherwise they failed in a step of the check.
    bool IsProven(const Parts& parts) const {
        LumConf::PolicyHeaderImpl header;
        header.SetDataFile("data");
        header.SetCertificate(Array(parts.certificateText));
        header.AddSignature(Array(parts.signatureText));
        std::ofstream(root.Native() + "/data", std::ios::binary) << parts.content;
        try {
            LumConf::PolicyData::Prove(header, 0, LumPalIo::File_t(root.Path()));
            return true;
        } catch (const LumSecCore::SecCoreException& e) {
            if (e.GetMessageList().GetMessage(0).GetId() != 33) std::abort();
            const unsigned step = e.GetMessageList().GetMessage(0).GetDetails().GetMessage(0).GetId();
            if (step < 20 || step > 31) std::abort();
            return false;
        }
    }

    Parts good;

private:
    TempRoot root{std::filesystem::exists(kFastFolder) ? kFastFolder : "/tmp"};
    TestAuthority authority{"authority"};
};

void Change(std::string& text, unsigned how, std::size_t at, char byte) {
    if (how % 3 == 0 && at < text.size()) text[at] = byte;
    if (how % 3 == 1 && at <= text.size()) text.insert(at, 1, byte);
    if (how % 3 == 2 && at < text.size()) text.erase(at, 1);
}

/// The changes of one kind of texts: 0 and 1 stand for encoded bytes, 2 and 3 for their texts, 4 for the content.
void Apply(const CharArray_t& input, Parts& parts, unsigned from, unsigned to) {
    std::string* const targets[] = {&parts.certificate, &parts.signature, &parts.certificateText, &parts.signatureText,
                                    &parts.content};
    const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(input.GetData()[at]); };
    for (std::size_t at = 0; at + 5 <= input.GetLength(); at += 5) {
        const unsigned target = byte(at) % 5;
        if (target < from || target > to) continue;
        std::string& text = *targets[target];
        const std::size_t place = (byte(at + 2) * 256u + byte(at + 3)) % (text.size() + 1);
        Change(text, byte(at + 1), place, static_cast<char>(byte(at + 4)));
    }
}

bool NamesTheSigner(const LumConf::PolicyHeaderImpl& header) {
    return LumSecCore::X509Certificate(header.GetCertificate()).GetSubjectCN() == "signer";
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Node node;
    const CharArray_t input(reinterpret_cast<const char*>(data), size);
    Parts parts = node.good;
    Apply(input, parts, 0, 1);
    parts.certificateText = Base64(parts.certificate);
    parts.signatureText = Base64(parts.signature);
    Apply(input, parts, 2, 4);
    const bool proven = node.IsProven(parts);
    const bool same = parts.content == node.good.content && parts.certificateText == Base64(node.good.certificate) &&
                      parts.signatureText == Base64(node.good.signature);
    if (same && !proven) std::abort();
    if (!proven) return 0;
    LumConf::PolicyHeaderImpl header;
    header.SetCertificate(Array(parts.certificateText));
    if (parts.content != node.good.content || !NamesTheSigner(header)) std::abort();
    return 0;
}
