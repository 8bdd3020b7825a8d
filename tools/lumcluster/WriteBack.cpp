// Whether a monitor could set keys of its own node, in a request like anybody else's.
#include "LumPalKeys.h"
#include "LumPalNet.h"
#include "LumSecAuth.h"
#include "LumSecCore.h"
#include "LumSecPki.h"
#include "ReturnValue.h"
#include "common/Arguments.h"
#include "lumcluster/Follower.h"

namespace lumcluster {

using LumPalStr::String_t;
using LumSecCore::NodeIdentity;
using LumSecCore::X509Certificate;
using lumtools::Outcome;
using Phase = lumtools::MonitorState::Phase;
using lumtools::Text;

namespace {

/// The host that a request to this name goes to.
std::string HostOf(const std::string& name) {
    std::string host;
    lumtools::Attempt([&] { host = LumPalNet::URI_t("https://" + Text(name)).GetHost().ToUtf8(); });
    return host;
}

bool IsAddressOfThisSystem(const std::string& host) {
    using LumPalNet::InetAddress_t;
    bool isHere = false;
    lumtools::Attempt([&] { isHere = InetAddress_t(Text(host)) == InetAddress_t::GetLocalHost(); });
    return isHere;
}

/// The node itself may do everything; whoever else its certificate is of, what was granted to him.
bool MaySet(const String_t& sender, const NodeIdentity& identity) {
    if (sender == identity.coreId) return true;
    return !LumSecAuth::IsReservedId(sender) &&
           LumSecAuth::Authorizer().IsAllowed(sender, LumPalKeys::NsConf, LumConf::RightConfigSet, 0);
}

std::string ProblemOf(const X509Certificate& certificate, const NodeIdentity& identity, const LocalName& local) {
    const std::string host = HostOf(local.name), sender = certificate.GetSubjectCN().ToUtf8();
    if (!IsAddressOfThisSystem(host)) return "'" + local.name + "' is no address of this system";
    if (!LumSecPki::NamesHost(certificate, Text(host)))
        return "'" + host + "' is none of the hosts that its certificate names";
    if (MaySet(Text(sender), identity)) return "";
    return "its certificate is that of '" + sender + "' and not of '" + identity.coreId.ToUtf8() +
           "', and authorization.ini does not grant that one the right configset (128)";
}

}  // namespace

std::vector<WriteBack> WriteBacks(const Follower& follower, const Keys& keys, const Sight& sight) {
    const std::string word = follower.Word();
    const bool isBegun = word == DisplayText(Phase::Starting) || word == DisplayText(Phase::Watching);
    const std::string product = sight.isClusterSeen || !follower.record ? sight.product : follower.record->product;
    const bool isTypeOdd = sight.isClusterSeen && !keys.type.empty() && keys.type != product;
    std::vector<WriteBack> writeBacks;
    if (isTypeOdd || (isBegun && keys.type.empty())) {
        writeBacks.push_back({LumPalKeys::ClusterTypeKey, keys.type, product});
    }
    if (isBegun && keys.pollingInterval.empty()) writeBacks.push_back({LumPalKeys::PollingIntervalKey, "", ""});
    if (isBegun && keys.monitorMode.empty()) writeBacks.push_back({LumPalKeys::MonitorModeKey, "", ""});
    return writeBacks;
}

std::string TextOf(const std::vector<WriteBack>& writeBacks) {
    std::string text;
    for (const WriteBack& each : writeBacks) {
        text += (text.empty() ? "" : ", and ") + each.key + " is " +
                (each.present.empty() ? "empty" : "'" + each.present + "'");
    }
    return text;
}

std::string AdviceOf(const std::vector<WriteBack>& writeBacks) {
    const std::string command = "lumsettings set conf.cluster";
    std::string known, meant;
    int count = 0;
    for (const WriteBack& each : writeBacks) {
        if (each.wanted.empty()) {
            meant += (meant.empty() ? "" : " and ") + each.key;
            ++count;
        } else {
            known += " '" + each.key + "=" + each.wanted + "'";
        }
    }
    if (!known.empty()) known = command + known;
    if (count == 0) return known;
    return known + (known.empty() ? "" : ", and ") + "set " + meant + " to the value" +
           (count == 1 ? " that is" : "s that are") + " meant again (" + command + ")";
}

std::string WriteBackProblem(const LocalName& local) {
    NodeIdentity identity;
    X509Certificate certificate;
    const Outcome read = lumtools::Attempt([&] {
        identity = NodeIdentity::Load();
        if (!identity.certificateInstalled) return;
        identity.RequireUsable();
        LumSecCore::KeyStore().GetOwnCertificate(identity.coreId, certificate);
    });
    if (read.code != lumtools::kDone) return FirstMessage(read);
    if (!identity.certificateInstalled) return "this node has no certificate, so that it has no right to (128)";
    return ProblemOf(certificate, identity, local);
}

}  // namespace lumcluster
