/// @file
/// Which policies an operation means.
#pragma once

#include <memory>

#include "Export.h"
#include "LumPalStr.h"

namespace LumConf {

class SelectionImpl;

/// One choice of policies; all of them at first. A value: a copy is independent. The setters return the object, for
/// chaining; each replaces the choice before, except that a policy name and a type name combine to name and type.
/// Texts are compared exactly by who applies the selection; ids and type names are kept in lower case.
/// One thread at a time.
class LUMCONF_API Selection {
public:
    Selection();
    Selection(const Selection& other);
    Selection& operator=(const Selection& other);
    ~Selection();

    /// One policy; the id is not checked.
    Selection& SetPolicyId(const LumPalStr::String_t& id);
    /// All policies of the name; "type:name" means a policy type (in lower case) and a name.
    /// @throws LumPalMsg::IllegalArgumentError_t 70 for a blank text, 71 for one with "="
    Selection& SetPolicyName(const LumPalStr::String_t& name);
    /// @throws LumPalMsg::IllegalArgumentError_t 70, 71
    Selection& SetPolicyTypeName(const LumPalStr::String_t& typeName);
    /// Not checked.
    Selection& SetPolicyCategory(const LumPalStr::String_t& category);
    /// Not checked.
    Selection& SetPolicyOwner(const LumPalStr::String_t& owner);
    /// @throws LumPalMsg::IllegalArgumentError_t 70, 71
    Selection& SetPolicyOwnerAndName(const LumPalStr::String_t& owner, const LumPalStr::String_t& name);
    /// Every policy with an attribute of the name. @throws LumPalMsg::IllegalArgumentError_t 70, 71
    Selection& SetPolicyAttribute(const LumPalStr::String_t& name);
    /// @throws LumPalMsg::IllegalArgumentError_t 70, 71; a value with "=" is refused though a policy may hold one
    Selection& SetPolicyAttribute(const LumPalStr::String_t& name, const LumPalStr::String_t& value);
    /// @throws LumPalMsg::IllegalArgumentError_t 70, 71
    Selection& SetPolicyNameAndTypeName(const LumPalStr::String_t& name, const LumPalStr::String_t& typeName);
    Selection& SetAll();

    /// One sentence for messages, as "Policy selection: 'policy name': 'backup'."
    LumPalStr::String_t Describe() const;

    /// The library's own.
    SelectionImpl& GetImpl() noexcept { return *impl; }
    const SelectionImpl& GetImpl() const noexcept { return *impl; }

private:
    std::unique_ptr<SelectionImpl> impl;
};

}  // namespace LumConf
