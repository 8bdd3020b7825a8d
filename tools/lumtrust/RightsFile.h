/// @file
/// The file of rights as an administrator edits it.
#pragma once

#include <map>
#include <set>
#include <string>

#include "LumPalArray.h"
#include "LumPalIo.h"
#include "LumPalStr.h"

namespace lumtrust {

/// The section of policies in "authorization.ini". Comments, other sections and lines of other senders stay as they
/// are when a sender's rights are changed.
class RightsFile {
public:
    /// Of the current root.
    static LumPalIo::File_t Path();
    /// Reads the file; one that is not there is empty. A word that is no right grants nothing.
    /// @throws LumPalCfgFile::SyntaxException_t, LumPalIo::IOException_t
    RightsFile();
    /// The bits of each sender that the file names.
    const std::map<std::string, unsigned>& Get() const noexcept { return bits; }
    /// Sets a sender's rights, takes it out for none, and writes the file, which is on the disk then.
    /// @throws LumPalIo::IOException_t; LumPalMsg::RuntimeException_t for a sender who keeps some while his line holds
    /// a word that is no right
    void Set(const std::string& sender, unsigned rights);
    /// The file as it stands is on the disk then. @throws LumPalIo::IOException_t
    static void Flush();

private:
    std::string text;
    std::map<std::string, unsigned> bits;
    std::set<std::string> unclear;  ///< senders whose lines hold a word that is no right
};

}  // namespace lumtrust
