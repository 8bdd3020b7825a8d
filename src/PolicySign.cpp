// Signing the data files of a policy document.
#include <optional>

#include "DirectoryImpl.h"
#include "Exceptions.h"
#include "LumPalCodeset.h"
#include "LumPalConfig.h"
#include "LumPalDurable.h"
#include "LumPalWhole.h"
#include "LumPalXml.h"
#include "LumSecCore.h"
#include "LumSecPki.h"
#include "MessageNumbers.h"
#include "Messages.h"
#include "Names.h"
#include "PlainName.h"
#include "PolicyData.h"
#include "PolicyXmlHandler.h"
#include "PolicyXmlParser.h"
#include "Trace.h"

namespace LumConf {

using LumPalArray::CharArray_t;
using LumPalIo::File_t;
using LumPalMsg::Exception_t;
using LumPalMsg::RuntimeException_t;
using LumPalStr::String_t;
using LumSecCore::Key;
using HeaderPtr = LumPalPtr::RefPtr_t<PolicyHeaderImpl>;

namespace {

constexpr int kAlgorithm = 0;

static_assert(msg::CoreIdEmpty.id == kCoreIdEmpty && msg::SignKeyStoreErrors.id == kSignKeyStoreErrors);

/// Whose key signs.
struct Signer {
    LumSecCore::X509Certificate certificate;
    Key key;
};

void CheckFile(const File_t& file) {
    if (file.IsNull()) Raise<LumPalMsg::IllegalArgumentError_t>(msg::SignFileNull);
    if (!file.Exists()) Raise<LumPalIo::IOException_t>(msg::SignHeaderDoesNotExist, file.GetAbsolutePath());
    if (file.IsDirectory()) Raise<LumPalIo::IOException_t>(msg::SignFileIsDirectory, file.GetAbsolutePath());
}

HeaderPtr ReadHeader(const File_t& file) {
    try {
        PolicyXmlHandler handler;
        handler.StartReading();
        PolicyXmlParser::Parse(file, handler);
        return handler.TakeHeader();
    } catch (const Exception_t& e) {
        throw Because<PolicyFileException>(msg::SignPolicyFileNotRead, file.GetAbsolutePath(), e);
    }
}

void DropFormerSignatures(const File_t& file, PolicyHeaderImpl& header) {
    if (header.GetRawCertificate().GetLength() > 0) {
        LUMCONF_TRACE(trace::Policy, Make(msg::SignOverwritesCertificate, file.GetAbsolutePath()));
    }
    if (header.GetDataFileCount() == 0) Raise<PolicyHeaderException>(msg::SignNoDataFiles, file.GetAbsolutePath());
    if (header.GetSignatureCount() > 0) {
        LUMCONF_TRACE(trace::Policy, Make(msg::SignDeletesSignatures, header.GetSignatureCount()));
        header.RemoveAllSignatures();
    }
}

/// What another key signs, nobody can prove. Only a key whose installation was interrupted lies elsewhere.
Key BelongingKey(const String_t& alias, const Key& key, const LumSecCore::X509Certificate& certificate) {
    if (LumSecPki::Match(certificate, key)) return key;
    const std::string pem = LumSecCore::OwnPair::Load(alias).key;
    return LumSecPki::ReadPrivateKey(CharArray_t(pem.data(), pem.size()));
}

/// The certificate beside the private key: a trusted one of the same name is somebody else's.
Signer FindSigner(const File_t& file, const CharArray_t& alias) {
    try {
        const String_t name = String_t::FromUtf8(alias.View());
        const LumSecCore::KeyStore store;
        Signer signer;
        store.GetOwnCertificate(name, signer.certificate);
        store.GetPrivateKey(name, signer.key);
        signer.key = BelongingKey(name, signer.key, signer.certificate);
        return signer;
    } catch (const Exception_t& e) {
        throw Because<LumSecCore::KeyStoreException>(msg::SignKeyStoreErrors, file.GetAbsolutePath(), e);
    }
}

void Feed(LumSecCore::Signature& signature, const File_t& data) {
    try {
        LumPalIo::ForEachBlock(LumPalIo::FileInputStream_t(data), LumPalIo::kNoLimit,
                               [&](const CharArray_t& block, std::size_t count) { signature.Update(block, 0, count); });
    } catch (const LumPalIo::FileNotFoundException_t& e) {
        throw Because<LumPalIo::FileNotFoundException_t>(msg::SignDataFileNotOpened, data.GetName(), e);
    }
}

CharArray_t ToBase64(const CharArray_t& bytes) {
    LumPalIo::CharArrayOutputStream_t text;
    LumPalIo::Base64OutputStream_t encoder(text);
    encoder.Write(bytes);
    encoder.Close();
    return text.TakeCharArray();
}

CharArray_t SignFile(const File_t& headerFile, const String_t& name, const Signer& signer) {
    const File_t data(headerFile.GetParent(), name);
    // A name that would leave the folder names no data file of the policy.
    if (!IsPlainName(name) || !data.Exists()) {
        Raise<LumPalIo::IOException_t>(msg::SignDataFileDoesNotExist, data.GetAbsolutePath(),
                                       headerFile.GetAbsolutePath());
    }
    LumSecCore::Signature signature(kAlgorithm);
    try {
        signature.InitSign(signer.key);
    } catch (const Exception_t& e) {
        throw Because<RuntimeException_t>(msg::SignNotInitialized, name, e);
    }
    Feed(signature, data);
    try {
        CharArray_t bytes;
        signature.Sign(bytes);
        return ToBase64(bytes);
    } catch (const Exception_t& e) {
        throw Because<RuntimeException_t>(msg::SignatureNotCreated, name, e);
    }
}

CharArray_t EncodeCertificate(const Signer& signer) {
    try {
        CharArray_t der;
        signer.certificate.GetEncoded(der);
        return ToBase64(der);
    } catch (const Exception_t& e) {
        throw Because<RuntimeException_t>(msg::SignCertificateNotEncoded, e);
    }
}

void Rewrite(const File_t& from, const File_t& to, const PolicyHeaderImpl& source) {
    try {
        LumPalIo::FileOutputStream_t file = DirectoryImpl::OpenTemporaryFile(to);
        LumPalIo::BufferedOutputStream_t stream{file};
        const LumPalXml::XmlWriter_t writer(
            stream, LumPalXml::XmlWriter_t::Options_t().Encoding(LumPalCodeset::Codeset_t(names::Utf8)).Indent(0));
        PolicyXmlHandler handler;
        handler.StartRewriting(writer, &source);
        PolicyXmlParser::Parse(from, handler);
        stream.Flush();
        file.Sync();
        stream.Close();
    } catch (const Exception_t& e) {
        throw Because<PolicyFileException>(msg::SignNewFileNotWritten, to.GetAbsolutePath(), e);
    }
}

/// The document keeps its place, its owner and its mode. After a failure, and after a power cut on the way, the
/// temporary file, which is named, holds the whole of it; when that one is gone, the document does.
void CopyOver(const File_t& from, const File_t& to) {
    try {
        LumPalIo::Flush(from.GetParentFile());
        const LumPalIo::Folder_t folder(from.GetParentFile());
        LumPalIo::FileInputStream_t input = folder.Open(from.GetName());
        LumPalIo::FileOutputStream_t output(to);
        LumPalIo::Copy(input, output);
        output.Sync();
        output.Close();
        input.Close();
        if (from.Delete()) LumPalIo::Flush(from.GetParentFile());
    } catch (const RuntimeException_t& e) {
        throw Because<LumPalIo::IOException_t>(msg::SignHeaderNotCopied, from.GetAbsolutePath(), to.GetAbsolutePath(),
                                               e);
    }
}

}  // namespace

void PolicyData::Sign(const File_t& headerFile) {
    if (headerFile.IsNull()) Raise<LumPalMsg::IllegalArgumentError_t>(msg::SignFilenameParameterNull);
    const String_t id = LumPalConfig::ConfigNamespace_t(names::NsSecCore).Open().GetAttrValue(names::CoreIdKey);
    if (id.IsEmpty()) Raise<LumPalMsg::IllegalStateError_t>(msg::CoreIdEmpty, names::CoreIdKey, names::NsSecCore);
    Sign(headerFile, CharArray_t(id));
}

void PolicyData::Sign(const File_t& headerFile, const CharArray_t& alias) {
    LUMCONF_BLOCK(trace::Policy, "PolicyData::Sign");
    CheckFile(headerFile);
    const HeaderPtr header = ReadHeader(headerFile);
    DropFormerSignatures(headerFile, *header);
    const Signer signer = FindSigner(headerFile, alias);
    for (int i = 0; i < header->GetDataFileCount(); ++i) {
        header->AddSignature(SignFile(headerFile, header->GetDataFile(i), signer));
    }
    header->SetCertificate(EncodeCertificate(signer));
    const File_t temporary = DirectoryImpl::CreateTemporaryFile();
    try {
        Rewrite(headerFile, temporary, *header);
    } catch (...) {
        DirectoryImpl::DeleteFile(temporary);
        throw;
    }
    CopyOver(temporary, headerFile);
}

}  // namespace LumConf
