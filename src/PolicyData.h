/// @file
/// The signed data files of a policy.
#pragma once

#include "LumPalArray.h"
#include "LumPalIo.h"
#include "LumPalStr.h"
#include "PolicyHeaderImpl.h"

namespace LumConf {

/// Reads data files of installed policies and proves their signatures; signs them. Any thread.
class PolicyData {
public:
    /// As PolicyHeader::GetData.
    static void Get(const PolicyHeaderImpl& header, int index, LumPalArray::CharArray_t& data);
    /// As PolicyProof::Prove.
    static void Prove(const PolicyHeaderImpl& header, int index, const LumPalIo::File_t& folder);
    /// A data file of a policy that is not installed, without a proof. @throws as PolicyProof::Prove, but no
    /// DataKeyStoreNotAccessible, DataSignatureNotValidated
    static LumPalArray::CharArray_t Read(const PolicyHeaderImpl& header, int index, const LumPalIo::File_t& folder);
    /// Whether a certificate's holder may sign policies for this node.
    static bool MaySign(const LumPalStr::String_t& alias);
    /// Whether a signer must pass X509Certificate::RequireVouchedBy too (STRICT_SIGNERS), by the configuration as it is
    /// now. @throws what ConfigNamespace_t::Open throws
    static bool IsStrict();
    /// As PolicyHeader::SignData.
    static void Sign(const LumPalIo::File_t& headerFile);
    static void Sign(const LumPalIo::File_t& headerFile, const LumPalArray::CharArray_t& alias);
};

}  // namespace LumConf
