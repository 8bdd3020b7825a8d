/// @file
/// What a rights file grants: the table from domain and sender to right bits, and its reading.
#pragma once

#include <map>
#include <utility>

#include "LumPalConfig.h"
#include "LumPalIo.h"
#include "LumPalMsg.h"
#include "LumPalStr.h"

namespace LumSecAuth {

/// Every right, "sign" included.
inline constexpr unsigned kAllRights = 511;
/// The right to sign policies for a node.
inline constexpr unsigned kSignRight = 256;

/// Constant after Load.
class Rights {
public:
    /// Reads a file with a section for each domain and a line "sender=right right ..." for each sender.
    /// A right is a name (install remove enable disable list modify configget configset sign all) or a number,
    /// decimal or with 0x before it. A word that is neither is a problem, named with file, domain
    /// and sender; the words beside it count. A file that is not there grants nothing.
    /// @throws LumPalIo::IOException_t, LumPalCfgFile::SyntaxException_t
    static Rights Load(const LumPalIo::File_t& file);
    /// The same of its content. @param source  what it is called. @throws as Load
    static Rights Read(LumPalIo::InputStream_t stream, const LumPalStr::String_t& source);
    /// The bits granted to the sender; 0 for one that is not named.
    unsigned Granted(const LumPalStr::String_t& domain, const LumPalStr::String_t& sender) const;

    /// A warning for each word that is no right.
    const LumPalMsg::MessageList_t& GetProblems() const noexcept { return problems; }

private:
    void AddDomain(const LumPalConfig::Configuration_t& section, const LumPalStr::String_t& source);

    std::map<std::pair<LumPalStr::String_t, LumPalStr::String_t>, unsigned> bits;
    LumPalMsg::MessageList_t problems;
};

}  // namespace LumSecAuth
