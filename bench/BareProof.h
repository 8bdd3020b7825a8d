/// @file
/// The reference for proofs of signed data files: the crypto library alone.
#pragma once

#include <string>

#include "LumPalArray.h"

namespace bench {

/// A signed data file and where what proves it stands.
struct SignedFile {
    std::string path;
    std::string certificate, signature;  ///< base64, as in a document
    std::string issuerPath;              ///< PEM

    /// @param certificate, signature  decoded
    SignedFile(std::string path, const LumPalArray::CharArray_t& certificate, const LumPalArray::CharArray_t& signature,
               std::string issuerPath);
};

/// Reads the file; decodes and parses the certificate and looks at its times; reads and parses the issuer's; verifies
/// the certificate with the issuer's key, and the signature of the content with the certificate's. Nobody is asked
/// whether the signer may sign. @throws std::runtime_error when anything of it fails
void BareProve(const SignedFile& file);

}  // namespace bench
