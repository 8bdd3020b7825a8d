/// @file
/// Certificates, keys and the node's key store.
#pragma once

#include <memory>
#include <vector>

#include "LumPalArray.h"
#include "LumPalExport.h"
#include "LumPalMsg.h"
#include "LumPalStr.h"

namespace LumSecCore {

LUMPAL_DECLARE_EXCEPTION(LUMPAL_API, SecCoreException, LumPalMsg::RuntimeException_t);
LUMPAL_DECLARE_EXCEPTION(LUMPAL_API, KeyStoreException, SecCoreException);
LUMPAL_DECLARE_EXCEPTION(LUMPAL_API, EntryNotFoundException, SecCoreException);
LUMPAL_DECLARE_EXCEPTION(LUMPAL_API, InvalidKeyException, SecCoreException);
LUMPAL_DECLARE_EXCEPTION(LUMPAL_API, SignatureException, SecCoreException);

/// Whether a name may stand for an entry of the key store: a plain file name (not empty, not "." or "..",
/// no separator, no control character, at most 200 bytes in UTF-8).
LUMPAL_API bool IsAlias(const LumPalStr::String_t& name);

/// Where the node's identity lies: the key store folder with own/<CORE_ID>.pem, own/<CORE_ID>.key
/// and trusted/*.pem. Read by the transport when CERT_INSTALLED is true.
struct LUMPAL_API NodeIdentity {
    LumPalStr::String_t coreId;
    bool certificateInstalled = false;
    LumPalStr::String_t certificatePath, keyPath;
    std::vector<LumPalStr::String_t> trustedPaths;
    /// Reads CORE_ID ("sec.core") and CERT_INSTALLED ("sec.cm.certificates"). The node's own paths are filled only
    /// when a certificate is installed, the trusted ones always (a client needs them), in order of their names.
    /// @throws KeyStoreException when a certificate is said to be installed and the core id is no alias
    ///         or a file of it is missing
    static NodeIdentity Load();
};

/// Folder of the key store, ending in the separator.
LUMPAL_API LumPalStr::String_t KeyStoreDirectory();

}  // namespace LumSecCore
