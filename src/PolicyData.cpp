#include "PolicyData.h"

#include <optional>
#include <utility>

#include "Authorization.h"
#include "LumPalConfig.h"
#include "LumPalWhole.h"
#include "LumSecCore.h"
#include "LumSecRevoked.h"
#include "MessageNumbers.h"
#include "Messages.h"
#include "Names.h"
#include "PlainName.h"
#include "StorePaths.h"
#include "Trace.h"

namespace LumConf {

using LumPalArray::CharArray_t;
using LumPalIo::File_t;
using LumPalStr::String_t;
using LumSecCore::SecCoreException;
using LumSecCore::X509Certificate;

namespace {

constexpr unsigned kRightToSign = 256;
constexpr int kAlgorithm = 0;

static_assert(msg::DataKeyStoreNotAccessible.id == kDataKeyStoreNotAccessible);
static_assert(msg::DataSignatureNotValidated.id == kDataSignatureNotValidated);
/// Far more than one with a long key takes. It is decoded and read again for each data file, of which there may be
/// thousands.
constexpr std::size_t kMostCertificateText = 65536;

/// The file of an installed policy. A name that would leave the type's folder, and a link, name no data file.
File_t DataFileOf(const PolicyHeaderImpl& header, int index) {
    const String_t typeName = header.GetTypeName(), name = header.GetDataFile(index);
    const File_t file(File_t(paths::PolicyInstallDirectory(), typeName), name);
    const bool plain = IsPlainName(typeName) && IsPlainName(name);
    if (!plain || !file.Exists() || file.IsSymbolicLink())
        Raise<LumPalIo::FileNotFoundException_t>(msg::DataFileDoesNotExist, file.GetAbsolutePath());
    return file;
}

/// The file of a policy that is not installed. Its folder is the caller's own, who may keep links there.
File_t DataFileIn(const File_t& folder, const String_t& name) {
    const File_t file(folder, name);
    if (!IsPlainName(name) || !file.Exists())
        Raise<LumPalIo::FileNotFoundException_t>(msg::DataFileDoesNotExist, file.GetAbsolutePath());
    return file;
}

CharArray_t ReadDataFile(const File_t& file) {
    try {
        return LumPalIo::ReadAtMost(LumPalIo::FileInputStream_t(file), LumPalIo::kNoLimit);
    } catch (const LumPalIo::FileNotFoundException_t& e) {
        throw Because<LumPalIo::FileNotFoundException_t>(msg::DataFileDoesNotExist, file.GetAbsolutePath(), e);
    } catch (const LumPalIo::IOException_t& e) {
        throw Because<LumPalIo::IOException_t>(msg::DataFileNotRead, file.GetAbsolutePath(), e);
    }
}

/// Runs one step; a failure of the class becomes a failed check with the row's message.
template <class Failure, class Row, class Step, class... Args>
auto Check(const Row& row, Step&& step, const Args&... args) {
    try {
        return step();
    } catch (const Failure& e) {
        throw Because<SecCoreException>(row, args..., e);
    }
}

CharArray_t DecodedCertificate(const PolicyHeaderImpl& header) {
    const std::size_t length = header.GetRawCertificateLength();
    if (length > kMostCertificateText) {
        Raise<LumPalMsg::IllegalArgumentError_t>(msg::CertificateTooLong, LumPalStr::NumToStr(length),
                                                 static_cast<int>(kMostCertificateText));
    }
    return header.GetCertificate();
}

X509Certificate CertificateOf(const PolicyHeaderImpl& header) {
    const CharArray_t der =
        Check<LumPalMsg::Exception_t>(msg::CertificateNotDecoded, [&] { return DecodedCertificate(header); });
    if (der.GetLength() == 0) throw Because<SecCoreException>(msg::CertificateNotConverted, Make(msg::PolicyNotSigned));
    const X509Certificate certificate =
        Check<LumPalMsg::RuntimeException_t>(msg::CertificateNotConverted, [&] { return X509Certificate(der); });
    // Kept: only the exception counts, not what is returned.
    Check<LumPalMsg::RuntimeException_t>(msg::CertificateNotValid, [&] { certificate.CheckValidity(); });
    return certificate;
}

void CheckSigner(const X509Certificate& certificate) {
    const String_t alias = certificate.GetSubjectCN();
    if (!PolicyData::MaySign(alias)) Raise<SecCoreException>(msg::AliasMayNotSign, alias);
}

/// Whatever STRICT_SIGNERS says. A list that is broken is no failed check: nobody can tell who stands in it.
void CheckNotRevoked(const X509Certificate& certificate, const X509Certificate& issuer) {
    const auto revoked = LumSecCore::RevocationList::Load();
    Check<SecCoreException>(
        msg::CertificateNotValidated,
        [&] {
            revoked->Refuse(certificate);
            revoked->Refuse(issuer);
        },
        issuer.GetSubjectCN());
}

/// The certificate was issued by one that this node trusts, and neither is revoked.
void CheckIssuer(const X509Certificate& certificate) {
    const String_t issuer = certificate.GetIssuerCN();
    const LumSecCore::KeyStore store;
    if (!store.IsTrustedCertEntry(issuer)) Raise<SecCoreException>(msg::IssuerNotTrusted);
    X509Certificate trusted;
    Check<LumSecCore::EntryNotFoundException>(
        msg::IssuerNotInKeyStore, [&] { store.GetTrustedCertificate(issuer, trusted); }, issuer);
    const bool issued = Check<LumPalMsg::IllegalArgumentError_t>(
        msg::CertificateIllegalArgument, [&] { return certificate.Verify(trusted.GetPublicKey()); });
    // Whoever is trusted for himself alone, as a caller is, makes no other signers.
    CharArray_t shown, known;
    certificate.GetEncoded(shown);
    trusted.GetEncoded(known);
    const bool isItself = shown.View() == known.View();
    if (!issued || !(isItself || trusted.MayIssue())) Raise<SecCoreException>(msg::CertificateNotValidated, issuer);
    CheckNotRevoked(certificate, trusted);
    Check<LumPalMsg::Exception_t>(
        msg::CertificateNotValidated,
        [&] {
            if (PolicyData::IsStrict()) certificate.RequireVouchedBy(trusted);
        },
        issuer);
}

void CheckSignature(const PolicyHeaderImpl& header, int index, const X509Certificate& certificate,
                    const CharArray_t& content) {
    LumSecCore::Signature signature(kAlgorithm);
    Check<LumSecCore::InvalidKeyException>(msg::CertificateNotForVerification,
                                           [&] { signature.InitVerify(certificate.GetPublicKey()); });
    signature.UpdateOver(content);
    const CharArray_t bytes =
        Check<LumPalMsg::RuntimeException_t>(msg::SignatureNotDecoded, [&] { return header.GetSignature(index); });
    const bool correct =
        Check<LumSecCore::SignatureException>(msg::SignatureVerifyError, [&] { return signature.Verify(bytes); });
    if (!correct) Raise<SecCoreException>(msg::SignatureNotCorrect);
}

/// @return the message of a failed check; null for none. What is no failed check leaves at once.
std::optional<LumPalMsg::Message_t> FailedCheck(const PolicyHeaderImpl& header, int index, const File_t& file,
                                                const CharArray_t& content) {
    const String_t path = file.GetAbsolutePath(), name = header.GetName(), id = header.GetContainerId();
    try {
        const X509Certificate certificate = CertificateOf(header);
        CheckSigner(certificate);
        CheckIssuer(certificate);
        CheckSignature(header, index, certificate, content);
    } catch (const LumSecCore::KeyStoreException& e) {
        return Make(msg::DataKeyStoreNotAccessible, path, name, id, e);
    } catch (const SecCoreException& e) {
        return Make(msg::DataSignatureNotValidated, path, name, id, e);
    }
    return std::nullopt;
}

/// What Get and Prove have in common; only where the file lies is the caller's matter.
void ReadProven(const PolicyHeaderImpl& header, int index, const File_t& file, CharArray_t& data) {
    CharArray_t content = ReadDataFile(file);
    const std::optional<LumPalMsg::Message_t> failure = FailedCheck(header, index, file, content);
    // Kept: types that may ignore the check go on with the content; every other caller stops at the exception.
    data = std::move(content);
    if (!failure) return;
    LUMCONF_TRACE(trace::Policy, "Warning: Security check did not succeed for the policy data.");
    throw SecCoreException(*failure);
}

}  // namespace

bool PolicyData::MaySign(const String_t& alias) {
    return Authorization::GetInstance().IsAuthorized(alias, kRightToSign);
}

bool PolicyData::IsStrict() {
    return LumPalConfig::ConfigNamespace_t(names::NsConfCore).Open().GetBool(names::StrictSignersKey);
}

void PolicyData::Get(const PolicyHeaderImpl& header, int index, CharArray_t& data) {
    if (!header.IsDataReadAllowed()) Raise<LumPalMsg::IllegalStateError_t>(msg::ReadingDataNotAllowed);
    ReadProven(header, index, DataFileOf(header, index), data);
}

void PolicyData::Prove(const PolicyHeaderImpl& header, int index, const File_t& folder) {
    CharArray_t proven;
    ReadProven(header, index, DataFileIn(folder, header.GetDataFile(index)), proven);
}

CharArray_t PolicyData::Read(const PolicyHeaderImpl& header, int index, const File_t& folder) {
    return ReadDataFile(DataFileIn(folder, header.GetDataFile(index)));
}

}  // namespace LumConf
