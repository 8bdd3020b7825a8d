#include "ClusterListing.h"

#include "ListingLines.h"

namespace LumConfCluster {

using LumPalStr::NumToStr;
using LumPalStr::String_t;

namespace {

// kept: the labels are 13 wide, and "None" has two blanks here: scripts read the columns
void AddCluster(Lines& lines, const Cluster& cluster, const ClusterNodes& nodes, const ClusterResourceGroups& groups) {
    lines.Add("#Cluster", "")
        .Add("type         ", DisplayText(cluster.GetType()))
        .Add("name         ", cluster.GetName())
        .Add("status       ", DisplayText(cluster.GetState()))
        .Add("nodes        ", JoinedNames(nodes, " "))
        .Add("groups       ", JoinedNames(groups, " "));
}

void AddNode(Lines& lines, const ClusterNode& node) {
    lines.Add("#Node ", node.GetName())
        .Add("state        ", DisplayText(node.GetState()))
        .Add("id           ", NumToStr(int{node.GetId()}));
}

void AddGroup(Lines& lines, const Cluster& cluster, const ClusterResourceGroup& group) {
    const String_t nodes = JoinedNames(cluster.GetGroupNodes(group.GetName()), " ");
    const String_t address = group.GetVirtualIP();
    lines.Add("#Group ", group.GetName())
        .Add("state        ", DisplayText(group.GetState()))
        .Add("nodes        ", nodes)
        .Add("local state  ", DisplayText(group.GetLocalState()))
        .Add("virtual IP   ", address.IsEmpty() ? "None  " : address)
        .Add("active node  ", group.GetActiveNode().GetName());
}

}  // namespace

String_t ClusterListing(const Cluster& cluster) {
    const ClusterNodes nodes = cluster.GetNodes();
    const ClusterResourceGroups groups = cluster.GetGroups();
    Lines lines;
    AddCluster(lines, cluster, nodes, groups);
    for (int i = 0; i < nodes.Count(); ++i) AddNode(lines, nodes[i]);
    for (int i = 0; i < groups.Count(); ++i) AddGroup(lines, cluster, groups[i]);
    return lines.Text();
}

}  // namespace LumConfCluster
