// How long the cluster's tools may take.
#include "LumConfCluster/ClusterUtil.h"
#include "lumcluster/Command.h"

namespace lumcluster {

namespace {

constexpr int kLongestSeconds = 86400;

void Limit(int seconds) {
    LumConfCluster::ClusterUtil::SetToolTimeout(seconds, "--timeout");
}

}  // namespace

void AddPatience(CLI::App&, Actions& actions) {
    for (const auto& [subcommand, action] : actions) {
        subcommand
            ->add_option_function<int>("--timeout", Limit,
                                       "The longest time for each call of a cluster's tool (default: TOOL_TIMEOUT)")
            ->type_name("SECONDS")
            ->check(CLI::Range(1, kLongestSeconds));
    }
}

}  // namespace lumcluster
