// ClusterUtil: a policy's status by the groups that run here.
#include "Exceptions.h"
#include "LocalNode.h"
#include "LumConfCluster/Cluster.h"
#include "LumConfCluster/ClusterBase.h"
#include "LumConfCluster/ClusterUtil.h"
#include "LumPalNet.h"
#include "PolicyHeaderImpl.h"
#include "Trace.h"

namespace LumConfCluster {

using namespace LumConf;
using LumPalNet::InetAddress_t;
using LumPalStr::String_t;

namespace {

constexpr const char* kGroupPrefix = "HARG:";
constexpr std::uint32_t kGroupPrefixLength = 5;
constexpr const char* kNoGroup = "noHARG";

bool IsLocal(const ClusterNode& node, const Cluster& cluster) {
    const LocalName local = LocalName::Read().OrToldBy(cluster);
    return local.name == (local.isExact ? node.GetName() : InetAddress_t(node.GetName()).GetHostName());
}

/// Walks the attributes of one header.
class StatusRule {
public:
    explicit StatusRule(PolicyHeaderImpl& header) : header(header) {}
    void Apply() {
        for (int i = 0; i < header.GetAttributesCount(); ++i) {
            if (IsKept(header.GetAttribute(i)->GetName())) return;
            if (hasGroup) header.SetDisabled();  // kept: attributes of every kind repeat it
        }
    }

private:
    /// Whether the attribute lets the status stand as it is by now, and ends the walk.
    bool IsKept(const String_t& attribute) {
        if (attribute.Left(kGroupPrefixLength) != kGroupPrefix) return false;
        try {
            // kept: the cluster is asked first, for the word of no group too
            const Cluster cluster;
            const ClusterResourceGroups groups = cluster.GetGroups();
            hasGroup = true;
            const String_t group = attribute.Mid(kGroupPrefixLength);
            return group == kNoGroup || IsOnlineHere(groups[group], cluster);
        } catch (const ClusterNoGroupException& e) {
            LUMCONF_TRACE(trace::Cluster, e.GetMessageList());
            return false;
        }
    }
    static bool IsOnlineHere(const ClusterResourceGroup& group, const Cluster& cluster) {
        return group.GetState() == RGState::Online && IsLocal(group.GetActiveNode(), cluster);
    }

    PolicyHeaderImpl& header;
    bool hasGroup = false;
};

}  // namespace

void ClusterUtil::ChangeHeader(PolicyHeaderImpl* header) {
    if (!ClusterBase::GetClusterEnvDetected()) return;
    try {
        StatusRule(*header).Apply();
    } catch (const ClusterException& e) {
        LUMCONF_TRACE(trace::Cluster, e.GetMessageList());
    }
}

}  // namespace LumConfCluster
