/// @file
/// How an install treats the policy that arrives and the one that may stand there.
#pragma once

#include <memory>

#include "Export.h"
#include "LumPalStr.h"

namespace LumConf {

class InstallOptionsImpl;

/// The choices of an install. A value: a copy is independent. All members return the object, for chaining.
/// One thread at a time.
class LUMCONF_API InstallOptions {
public:
    /// Consumers are notified, everything else stays as the policy and the node say.
    InstallOptions();
    InstallOptions(const InstallOptions& other);
    InstallOptions& operator=(const InstallOptions& other);
    ~InstallOptions();

    /// Whether the node's consumers are notified of the install.
    InstallOptions& SetNotify(bool value);
    /// Id of the target of the request.
    InstallOptions& SetTargetID(const LumPalStr::String_t& id);
    /// The status that the policy gets; the last call wins.
    InstallOptions& SetEnabled();
    InstallOptions& SetDisabled();
    /// The status wins over that of the installed policy. It cannot be taken back.
    InstallOptions& ForceState();
    /// Refuse a version that is not above the installed one.
    InstallOptions& SetCheckVersion(bool value);
    /// One more category to add; not checked, repeats are kept.
    InstallOptions& SetAddCategory(const LumPalStr::String_t& category);
    /// One more category to remove; not checked.
    InstallOptions& SetRemoveCategory(const LumPalStr::String_t& category);
    /// Drop the policy's own categories first; categories to remove are not read then.
    InstallOptions& SetRemoveAllCategories(bool value);
    /// One more attribute to add; the value is not checked.
    /// @throws LumPalMsg::IllegalArgumentError_t 70, 71 for a bad name
    InstallOptions& SetAddAttribute(const LumPalStr::String_t& name, const LumPalStr::String_t& value);
    /// One more attribute to remove.
    /// @throws LumPalMsg::IllegalArgumentError_t 70, 71 for a bad name or a bad value
    InstallOptions& SetRemoveAttribute(const LumPalStr::String_t& name, const LumPalStr::String_t& value);
    /// Drop the policy's own attributes first; attributes to remove are not read then.
    InstallOptions& SetRemoveAllAttributes(bool value);
    /// The owner to set; an empty text sets none.
    InstallOptions& SetOwner(const LumPalStr::String_t& owner);
    /// Clear the owner; wins over an owner to set.
    InstallOptions& RemoveOwner();
    /// Skip every comparison with the installed policy.
    InstallOptions& SetForceAll(bool value);
    /// Skip the comparison of the owners.
    InstallOptions& SetForceOwner(bool value);
    /// Keep the arriving categories instead of the installed ones.
    InstallOptions& SetForceCat(bool value);
    /// Keep the arriving attributes instead of the installed ones.
    InstallOptions& SetForceAttr(bool value);
    /// Kept for callers; a request never closes the connection.
    InstallOptions& SetCloseConnection(bool value);

    /// The library's own.
    InstallOptionsImpl& GetImpl() noexcept { return *impl; }
    const InstallOptionsImpl& GetImpl() const noexcept { return *impl; }

private:
    std::unique_ptr<InstallOptionsImpl> impl;
};

}  // namespace LumConf
