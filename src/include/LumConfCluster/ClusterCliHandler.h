/// @file
/// The command lines of the cluster tools.
#pragma once

#include <cstdint>
#include <vector>

#include "Applications.h"
#include "Export.h"
#include "LumPalStr.h"

namespace LumConfCluster {

/// What the cluster tools do with their arguments, which LumPalRuntime::App_t holds. Prints to standard output: a bare
/// value for one question, lines of labels and values for a listing. One thread.
class LUMCONF_API ClusterCliHandler {
public:
    /// The tools.
    enum class eCli : std::int32_t { ClusterInfo, AppInstance };
    /// What the first option asks for.
    enum class eArg : std::int32_t {
        Help,
        Version,
        All,
        Cluster,
        Node,
        Group,
        Instance,
        Instances,
        ActiveInstances,
        VerifyConfig
    };
    /// What Process returns.
    enum Exit : std::int32_t {
        Done = 0,
        UsagePrinted = 2,
        VersionWanted = 3,  ///< nothing was printed: the tool's main function prints its version
        DuplicatesFound = 4
    };

    /// Takes the name of the tool and the number of its arguments from LumPalRuntime::App_t.
    ClusterCliHandler();
    /// Does what the arguments ask for. @return one of Exit
    /// @throws LumPalMsg::IllegalArgumentError_t 357 (an unknown option), 358 (another tool), 359 (another option than
    ///         the one before a namespace), 360 (no namespace behind it), 361 (arguments behind an option that takes
    ///         none); LumConf::ClusterException as Cluster; ClusterNoNodeException, ClusterNoGroupException and
    ///         ClusterApplicationException for a name that is not there; ClusterInstanceException 365 and 366;
    ///         AmbiguousInstanceNamesException 668 and 669; as Applications::LoadConfig. Nothing is printed then
    std::int32_t Process();
    /// Raises where an application has more than one instance in the resource group of this name.
    /// @throws LumConf::ClusterInstanceException 362
    static void CheckInstanceDuplicates(const Applications& applications, const LumPalStr::String_t& instance);
    /// Each option of the tool, wherever it may stand, in its long form.
    static std::vector<LumPalStr::String_t> GetOptions(eCli cli);
    /// Prints how the tool is called.
    static void Usage(eCli cli);

private:
    eCli Tool() const;
    eArg FirstOption(eCli cli) const;
    std::int32_t CheckOptions(eCli cli, eArg arg) const;
    std::int32_t TellGeneral(eCli cli, eArg arg) const;
    std::int32_t TellCluster(eArg arg) const;
    std::int32_t TellInstances(eArg arg) const;
    std::int32_t TellInstance() const;
    std::int32_t ListInstances(bool activeOnly) const;
    std::int32_t VerifyConfig() const;
    void ExpectNamespaceOption(std::int32_t place) const;
    std::int32_t ShowUsage(eCli cli) const;
    void ExpectNoMore() const;
    LumPalStr::String_t Argument(std::int32_t place) const;
    LumPalStr::String_t ClusterValue() const;
    LumPalStr::String_t NodeValue() const;
    LumPalStr::String_t GroupValue() const;

    std::int32_t argCount;
    std::int32_t argIndex = 1;  ///< of the first option
    LumPalStr::String_t toolName;
};

}  // namespace LumConfCluster
