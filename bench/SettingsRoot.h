/// @file
/// A node's root with settings policies in its store.
#pragma once

#include <string>

#include "LumPalStr.h"
#include "TempRoot.h"

namespace bench {

/// What the policies say.
enum class Settings {
    Apart,    ///< each 20 attributes of a namespace of its own
    Disagree  ///< each the same 20 attributes of one namespace, with values of its own
};

/// The data file of the policy with this number: 20 attributes, about 1 KB. Other rounds have other values of the same
/// length.
std::string SettingsText(int number, Settings kind, int round);
/// Writes the policy with this number, without a signature, into the store below a root. @return its header file
std::string WriteSettingsPolicy(const std::string& root, int number, const std::string& text);

/// So many settings policies, without signatures, below a root of their own in memory; it goes with the object.
class SettingsRoot {
public:
    SettingsRoot(int policies, Settings kind);

    /// Makes it the root of this process.
    void Use() const;
    /// Signs every policy with a key that the root trusts, a P-256 one as `lumconf-pki` makes.
    void Sign();
    /// Gives a policy other values; signed again if it was.
    void Change(int number, int round) const;
    std::string Text(int number) const { return SettingsText(number, kind, 0); }
    int GetCount() const noexcept { return count; }
    /// The ids of all policies, separated by blanks.
    LumPalStr::String_t Ids() const;

private:
    void SignOne(int number) const;

    const TempRoot root;
    const int count;
    const Settings kind;
    bool isSigned = false;
};

}  // namespace bench
