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

/// One run of PolicyContainer::CheckPolicy. Used once, by one thread.
class PolicyLoader {
public:
    /// @param target  takes the headers; not owned
    PolicyLoader(PolicyContainerImpl& target, const PolicyContainer::Options& options);
    /// @return the number of headers read
    /// @throws as PolicyContainer::CheckPolicy
    int Load();

private:
    using Kind = PolicyContainer::Options::Kind;

    void LoadEntries();
    std::vector<LumPalIo::File_t> ChooseEntries();
    void LoadEntry(const LumPalIo::File_t& entry);
    bool LoadFile(const LumPalIo::File_t& file);
    std::vector<LumPalIo::File_t> ChooseFiles(const LumPalIo::File_t& entry) const;

    PolicyContainerImpl& target;
    const PolicyContainer::Options options;
    LumPalStr::String_t wantedName;  ///< by name and type: the name
    LumPalMsg::MessageList_t failures;
    int count = 0;
};

}  // namespace LumConf
