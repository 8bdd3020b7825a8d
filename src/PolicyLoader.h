/// @file
/// Reads headers of the store into a container.
#pragma once

#include <vector>

#include "LumPalIo.h"
#include "LumPalMsg.h"
#include "LumPalStr.h"
#include "PolicyContainer.h"
#include "PolicyContainerImpl.h"

namespace LumConf {

class StoreIndex;

/// One run of PolicyContainer::CheckPolicy. Used once, by one thread.
class PolicyLoader {
public:
    /// @param target  takes the headers; not owned
    PolicyLoader(PolicyContainerImpl& target, const PolicyContainer::Options& options);
    /// @return the number of headers read
    /// @throws as PolicyContainer::CheckPolicy
    int Load();

    /// Reads one id after another, as if each were the only one; ends at the first that cannot be read.
    /// @param ids  in lower case. @return the number of headers read; of an id under two types both count
    /// @throws as Load
    static int LoadIds(PolicyContainerImpl& target, const std::vector<LumPalStr::String_t>& ids);

private:
    using Kind = PolicyContainer::Options::Kind;

    void LoadEntries();
    std::vector<LumPalIo::File_t> ChooseEntries();
    void LoadEntry(const LumPalIo::File_t& entry);
    bool LoadFile(const LumPalIo::File_t& file);
    std::vector<LumPalIo::File_t> ChooseFiles(const LumPalIo::File_t& entry) const;

    PolicyContainerImpl& target;
    const PolicyContainer::Options options;
    const StoreIndex* index = nullptr;  ///< by id: tells where to look; null: everywhere
    LumPalStr::String_t wantedName;     ///< by name and type: the name
    LumPalMsg::MessageList_t failures;
    int count = 0;
};

}  // namespace LumConf
