/// @file
/// Data files that two installed policies of one type name.
#pragma once

#include <set>

#include "LumPalStr.h"

namespace LumConf {

class InstallOptionsImpl;
class PolicyContainerImpl;
class PolicyHeaderImpl;

/// What becomes of a data file that two policies of one type name. All policies of a type share a folder, so that the
/// file is one and the same: an install of one of them replaces it for both, and a removal takes it from both.
/// The key SHARED_DATA_FILES decides. What is done is logged in the application log with the file and both policies; of
/// one policy the first kMostLines files, and how many more there are. Nothing is read of the configuration, and
/// nothing logged, while no file is shared.
/// Holds no state. The caller serialises the changes of the cache.
class SharedDataFiles {
public:
    using Names = std::set<LumPalStr::String_t>;

    enum class Rule {
        Allow,  ///< the last install wins, and whoever goes takes the file along
        Keep,   ///< a file that another policy names stays, and nobody takes one of another owner
        Refuse  ///< likewise, and no policy is installed beside another one that names its file
    };
    static constexpr int kMostLines = 10;

    /// The rule of this node as it is now. An unknown word counts as Allow and is logged in the application log, once
    /// until the value changes; a configuration that cannot be read counts as Keep, so that nothing is lost by it.
    static Rule GetRule();

    /// Whether a policy may be installed beside the others.
    /// @param policy    as it will be installed
    /// @param replaced  the installed policy whose place it takes, which is none of the others; may be null
    /// @throws PolicyOwnerError for a file of a policy of another owner under Keep, unless the options force the owner;
    ///         PolicyException for any shared file under Refuse. Neither when the options force all
    static void CheckInstall(PolicyContainerImpl& cache, const PolicyHeaderImpl& policy,
                             const PolicyHeaderImpl* replaced, const InstallOptionsImpl& options);

    /// Says which files of others an install is about to replace.
    static void LogReplaced(PolicyContainerImpl& cache, const PolicyHeaderImpl& policy,
                            const PolicyHeaderImpl* replaced);

    /// The data files of an installed policy that stay when it goes or is replaced. None under Allow.
    /// @param successor  the policy that takes its place; may be null
    static Names Spare(PolicyContainerImpl& cache, const PolicyHeaderImpl& policy,
                       const PolicyHeaderImpl* successor = nullptr);

    /// Says which data files are about to stay when the policy goes, and which ones other policies are about to lose.
    /// @param spared  what Spare answered; of the files that the successor brings nothing is logged here
    static void LogLeft(PolicyContainerImpl& cache, const PolicyHeaderImpl& policy, const Names& spared,
                        const PolicyHeaderImpl* successor = nullptr);
};

}  // namespace LumConf
