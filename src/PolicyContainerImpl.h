/// @file
/// What a PolicyContainer handle refers to.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "DataFileIndex.h"
#include "LumPalIo.h"
#include "LumPalPlainMutex.h"
#include "LumPalPtr.h"
#include "LumPalRef.h"
#include "LumPalStr.h"
#include "PolicyContainer.h"
#include "PolicyHeaderImpl.h"
#include "TextHash.h"

namespace LumConf {

/// The cache behind PolicyContainer. Every call is safe from any thread: the maps have a mutex of their own, held
/// only for look-ups and changes of the maps, never for file work, and only a
/// header's own leaf mutex is taken inside it.
class PolicyContainerImpl final : public LumPalRef::RefCounted_t {
public:
    using HeaderPtr = LumPalPtr::RefPtr_t<PolicyHeaderImpl>;

    int CheckPolicy(const PolicyContainer::Options& options);
    int CheckPolicy(const LumPalStr::String_t& ids);

    int GetCount() const;
    HeaderPtr GetPolicyHeader(int index) const;
    HeaderPtr GetPolicyHeader(const LumPalStr::String_t& id) const;
    HeaderPtr GetPolicyHeader(const LumPalStr::String_t& name, const LumPalStr::String_t& type) const;
    /// As GetPolicyHeader, but null for none.
    HeaderPtr Find(const LumPalStr::String_t& id) const;
    HeaderPtr Find(const LumPalStr::String_t& name, const LumPalStr::String_t& type) const;
    /// The headers of many ids, as they stand, in their order; null for each that is not there. Ids that follow each
    /// other in the container are found without a search.
    std::vector<HeaderPtr> FindAll(const std::vector<LumPalStr::String_t>& ids) const;

    void Enable(const LumPalStr::String_t& ids);
    void Disable(const LumPalStr::String_t& ids);
    void Remove(const LumPalStr::String_t& ids);
    void Enable(const LumPalStr::String_t& name, const LumPalStr::String_t& type);
    void Disable(const LumPalStr::String_t& name, const LumPalStr::String_t& type);
    void Remove(const LumPalStr::String_t& name, const LumPalStr::String_t& type);

    /// Takes out one policy; unlike Remove it takes the text as one id, as it stands. @return whether it was there
    bool Erase(const LumPalStr::String_t& id);

    bool IsEmpty() const;
    /// How many there are of each status. A walk over all of them, without the mutex for most of it.
    struct Counts {
        std::uint32_t all = 0, enabled = 0, disabled = 0, missingFiles = 0;
    };
    Counts CountByStatus() const;
    bool HasTypeName(const LumPalStr::String_t& typeName) const;
    /// The id of the one policy of a type, found without a walk over all policies; empty when the type has none or
    /// several, and sometimes when it had several.
    LumPalStr::String_t OnlyIdOfType(const LumPalStr::String_t& typeName) const;
    void Insert(PolicyHeaderImpl* header);
    /// Takes memory for so many policies ahead.
    void Reserve(std::size_t policyCount);

    /// The header, of another id, that an insert of the newcomer would push out for its name and type; null for none.
    HeaderPtr FindDisplacedBy(const PolicyHeaderImpl& newcomer) const;

    using Accept = std::function<bool(const PolicyHeaderImpl&)>;
    /// The first header, by its id, that is of exactly this type, names the data file, and is accepted; null for none.
    /// The first question makes an index of all data files, which is kept from then on: what a header named when it
    /// came in (or when the index was made) counts until it is out.
    /// @param accept  called under the mutex: it looks at the header, at nothing else
    HeaderPtr FindNaming(const LumPalStr::String_t& typeName, const LumPalStr::String_t& file, const Accept& accept);
    /// A new container of the headers of any type that name one of the data files.
    LumPalPtr::RefPtr_t<PolicyContainerImpl> Naming(const std::vector<LumPalStr::String_t>& files);

    /// Writes the merged list: every header document of the store, or of one type, one after another.
    /// @param out       overwritten
    /// @param typeName  in any case; null or empty means all types
    /// @throws LumPalIo::FileNotFoundException_t DumpFileNotFound when `out` cannot be opened;
    ///         NoPoliciesInstalledError when no header was found (the file then holds only the title)
    static void Dump(const LumPalIo::File_t& out, const LumPalStr::String_t& typeName);

private:
    struct Entry {
        HeaderPtr header;
        LumPalStr::String_t typeName;  ///< as it was at the insert: what `types` counts
        DataFileIndex::Places files;   ///< in the index of data files, when it is there
    };
    struct Type {
        std::size_t count = 0;
        LumPalStr::String_t newestId;  ///< may be gone
    };
    using Policies = std::map<LumPalStr::String_t, Entry>;
    template <class Value>
    using ByName = std::unordered_map<LumPalStr::String_t, Value, TextHash>;

    template <class Map>
    static auto FindFrom(Map& map, decltype(map.end()) guess, std::u16string_view id);
    template <class Ids>
    std::vector<HeaderPtr> FindEach(const Ids& ids) const;
    HeaderPtr ForgetLocked(Policies::iterator position) LUMPAL_REQUIRES(mutex);
    std::optional<LumPalStr::String_t> FindId(const LumPalStr::String_t& name, const LumPalStr::String_t& type) const;
    LumPalStr::String_t IdOf(const LumPalStr::String_t& name, const LumPalStr::String_t& type) const;
    HeaderPtr EraseLocked(Policies::iterator position) LUMPAL_REQUIRES(mutex);
    LumPalStr::String_t CountTypeLocked(const PolicyKeys& keys) LUMPAL_REQUIRES(mutex);
    void RefreshIndexLocked() const LUMPAL_REQUIRES(mutex);
    std::vector<HeaderPtr> AllNaming(const std::vector<LumPalStr::String_t>& files);
    void IndexFilesLocked() LUMPAL_REQUIRES(mutex);
    void SetStatus(const LumPalStr::String_t& ids, bool enabled);

    mutable LumPalThread::PlainMutex_t mutex;
    Policies policies LUMPAL_GUARDED_BY(mutex);                             ///< by id
    ByName<LumPalStr::String_t> nameToId LUMPAL_GUARDED_BY(mutex);          ///< name=type to id
    ByName<Type> types LUMPAL_GUARDED_BY(mutex);                            ///< those with headers
    mutable std::vector<PolicyHeaderImpl*> index LUMPAL_GUARDED_BY(mutex);  ///< policies in order
    mutable bool indexValid LUMPAL_GUARDED_BY(mutex) = false;
    DataFileIndex files LUMPAL_GUARDED_BY(mutex);        ///< what the policies name
    bool filesIndexed LUMPAL_GUARDED_BY(mutex) = false;  ///< most containers are never asked
};

}  // namespace LumConf
