/// @file
/// Lets each tool that a question to the cluster takes fail in its turn.
#pragma once

#include <vector>

#include "Exceptions.h"
#include "LumConfCluster/Cluster.h"
#include "LumConfCluster/ClusterNodes.h"
#include "LumConfCluster/ClusterResourceGroups.h"
#include "ToolScripts.h"

/// Asks a cluster for all that it tells; "web" is one of its groups. @return the number of groups
inline int AskAll() {
    const LumConfCluster::Cluster cluster;
    cluster.GetState();
    cluster.GetNodes();
    cluster.GetGroupNodes("web");
    cluster.GetVirtualIP("web");
    return cluster.GetGroups().Count();
}

/// @param ask  is called once with all tools well, and once more for each tool that ran then, which fails alone
/// @return for each of those tools the number of the first message of what it raised, or 0 for nothing
template <class Ask>
std::vector<unsigned> ErrorsOfEachTool(ToolScripts& tools, Ask ask) {
    tools.ForgetCalls();
    tools.FailAt(0);
    ask();
    std::vector<unsigned> errors(tools.Calls().size(), 0);
    for (std::size_t i = 0; i < errors.size(); ++i) {
        tools.ForgetCalls();
        tools.FailAt(i + 1);
        try {
            ask();
        } catch (const LumConf::ClusterException& e) {
            errors[i] = e.GetMessageList().GetMessage(0).GetId();
        }
    }
    tools.FailAt(0);
    return errors;
}
