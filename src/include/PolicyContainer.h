/// @file
/// A cache of policy headers.
#pragma once

#include "Export.h"
#include "LumPalIo.h"
#include "LumPalPtr.h"
#include "LumPalStr.h"
#include "PolicyHeader.h"

namespace LumConf {

class PolicyContainerImpl;

/// Policy headers by index (ascending id), by id, and by name with type. It changes only its own memory, never the
/// store. A handle: copies share. A header that was fetched lives on after its removal.
///
/// Any thread may call any member at any time; an operation that touches several policies is not one step
/// for others, so who changes a container serialises that. Only the handle itself must not be assigned to while another
/// thread uses it; give each thread a copy.
class LUMCONF_API PolicyContainer {
public:
    /// What CheckPolicy reads; all policies at first. A value.
    class LUMCONF_API Options {
    public:
        enum class Kind { All = 0, Id = 1, TypeName = 2, NameAndTypeName = 3 };

        Options& SetAllPolicies();
        Options& SetPolicyId(const LumPalStr::String_t& id);
        Options& SetPolicyTypeName(const LumPalStr::String_t& typeName);
        /// @param text  name, "=", type; the name is folded to lower case too (kept: peers rely on it), so that a
        ///              policy whose name has capitals cannot be found this way
        Options& SetPolicyNameAndTypeName(const LumPalStr::String_t& text);

        Kind GetKind() const noexcept { return kind; }
        /// In lower case; empty for all policies.
        const LumPalStr::String_t& GetValue() const noexcept { return value; }

    private:
        Kind kind = Kind::All;
        LumPalStr::String_t value;
    };

    /// A container of its own, empty.
    PolicyContainer();
    PolicyContainer(const PolicyContainer& other);
    PolicyContainer& operator=(const PolicyContainer& other);
    ~PolicyContainer();

    /// Adds the headers of the store; one with an id, or a name and type, that is there replaces it.
    /// Symbolic links are passed over.
    /// @return the number of headers read
    /// @throws PolicyFileException with a warning 57 for each header that cannot be read (the others are in);
    ///         LumPalMsg::RuntimeException_t 58 when the store cannot be read;
    ///         the argument check's 70 and 71 inside 58 for a bad name or type
    int CheckPolicy() const;
    int CheckPolicy(const Options& options) const;
    /// @param ids  blank-separated ids, in any case; each is read in turn
    int CheckPolicy(const LumPalStr::String_t& ids) const;

    int GetCount() const;
    /// A pass over all indexes costs no more than a walk.
    /// @throws LumPalMsg::IllegalArgumentError_t 62 for a bad index
    PolicyHeader GetPolicyHeader(int index) const;
    /// @param id  in any case
    /// @throws PolicyNotFoundError 63
    PolicyHeader GetPolicyHeader(const LumPalStr::String_t& id) const;
    /// @param type  in any case
    /// @throws PolicyNotFoundError 689, 63; LumPalMsg::IllegalArgumentError_t 70, 71
    PolicyHeader GetPolicyHeader(const LumPalStr::String_t& name, const LumPalStr::String_t& type) const;

    /// @param ids  blank-separated ids, in any case; all that are there change
    /// @throws PolicyNotFoundError with an error 60 (Remove: 61) for each id that is not there
    void Enable(const LumPalStr::String_t& ids) const;
    void Disable(const LumPalStr::String_t& ids) const;
    void Remove(const LumPalStr::String_t& ids) const;
    /// @throws PolicyNotFoundError 689; LumPalMsg::IllegalArgumentError_t 70, 71
    void Enable(const LumPalStr::String_t& name, const LumPalStr::String_t& type) const;
    void Disable(const LumPalStr::String_t& name, const LumPalStr::String_t& type) const;
    void Remove(const LumPalStr::String_t& name, const LumPalStr::String_t& type) const;

    /// Writes the merged list of the node: every header document of the store, one after another.
    /// @param out       overwritten
    /// @param typeName  in any case; null or empty means all types
    /// @throws LumPalIo::FileNotFoundException_t 64 when `out` cannot be opened;
    ///         NoPoliciesInstalledError when no header was found (the file then holds only the title)
    static void Dump(const LumPalIo::File_t& out, const LumPalStr::String_t& typeName);

    /// Safe and cheap beside any change.
    bool IsEmpty() const;
    /// Whether a header came in with exactly this type name.
    bool HasTypeName(const LumPalStr::String_t& typeName) const;

    /// The library's own: takes a reference to the header and allows it to read its data; the newcomer replaces
    /// a header with its id and one with its name and type.
    /// @throws LumPalMsg::IllegalArgumentError_t for null
    void Insert(PolicyHeaderImpl* header) const;
    explicit PolicyContainer(PolicyContainerImpl* impl);
    PolicyContainerImpl* GetImpl() const noexcept { return impl.Get(); }

private:
    LumPalPtr::RefPtr_t<PolicyContainerImpl> impl;
};

}  // namespace LumConf
