/// @file
/// Data files that policies name and that are not in the store.
#pragma once

namespace LumConf {

class PolicyContainerImpl;

/// Looks for the data files of the policies that were loaded from the store.
class MissingDataFiles {
public:
    /// Marks in each header of the container (PolicyHeaderImpl::AddMissingDataFile) the data files that are not there
    /// as plain files of its type's folder; links are none. For each such policy the application log gets one warning,
    /// with the first file and the count of the others. A look at each file, nothing is opened. The headers bear no
    /// mark yet, and nobody else uses the container.
    static void Mark(const PolicyContainerImpl& loaded);
};

}  // namespace LumConf
