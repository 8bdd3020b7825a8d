/// @file
/// Certificates of the node's key store that it accepts no longer itself.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "LumPalMsg.h"
#include "LumSecCore.h"

namespace lumtools {

/// One that is revoked.
struct RevokedHere {
    enum class Kind {
        Shown,   ///< the node's own, or one of the chain behind it
        Needed,  ///< trusted, and nothing else that is trusted vouches for what the node shows
        Trusted  ///< any other that is trusted
    };
    Kind kind;
    LumPalStr::String_t path;
    LumSecCore::X509Certificate certificate;

    /// An error; a warning of one that the node does not live by.
    LumPalMsg::MessageList_t Text() const;
};

/// Those of the identity. Files that cannot be read count for nothing: others tell of them.
/// @throws LumSecCore::KeyStoreException for a list of revoked ones that is broken
std::vector<RevokedHere> FindRevoked(const LumSecCore::NodeIdentity& identity);

/// Says in the application log which are revoked, each once as long as it is. Used by one thread.
class RevokedLog {
public:
    /// Does not throw.
    void Look();

private:
    std::set<std::string> told;
};

}  // namespace lumtools
