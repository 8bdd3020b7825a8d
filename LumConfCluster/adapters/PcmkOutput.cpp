#include "PcmkOutput.h"

#include <algorithm>
#include <map>
#include <set>
#include <string>

#include "ClusterNodeImpl.h"
#include "Exceptions.h"
#include "Messages.h"
#include "StateWords.h"
#include "Trace.h"
#include "XmlSearch.h"

namespace LumConfCluster {

using namespace LumConf;
using LumPalStr::String_t;

namespace {

constexpr int kUsageError = 64;
constexpr const char* kMinusInfinity = "-1000000";

bool Is(const XmlDataNode& node, const char* attribute) {
    return AttributeOf(node, attribute) == "true";
}

bool IsWord(const String_t& value, const char* word) {
    return LumPalStr::Compare(value, String_t(word), true) == 0;
}

template <class Visit>
void ForEach(const XmlDataNode& parent, const char* name, Visit&& visit) {
    for (int i = 0; i < parent.ChildrenCount(); ++i) {
        if (parent[i].GetName() == name) visit(parent[i]);
    }
}

template <class Visit>
void ForEach(const XmlDataNode& parent, const char* outer, const char* name, Visit&& visit) {
    ForEach(parent, outer, [&](const XmlDataNode& node) { ForEach(node, name, visit); });
}

bool Has(const XmlDataNode& parent, const char* name) {
    bool has = false;
    ForEach(parent, name, [&](const XmlDataNode&) { has = true; });
    return has;
}

struct RoleWord {
    const char* word;
    PcmkRole role;
};
// A member that starts does not run yet, and one that stops does not serve any more. One that migrates serves.
constexpr RoleWord kRoles[]{{"Started", PcmkRole::Started},      {"Promoted", PcmkRole::Promoted},
                            {"Master", PcmkRole::Promoted},      {"Unpromoted", PcmkRole::Unpromoted},
                            {"Slave", PcmkRole::Unpromoted},     {"Migrating", PcmkRole::Started},
                            {"Promoting", PcmkRole::Unpromoted}, {"Demoting", PcmkRole::Unpromoted}};
constexpr const char* kChanges[]{"Starting", "Stopping", "Promoting", "Demoting"};

/// What is under way is told as the role, or apart from it.
PcmkRole RoleOf(const XmlDataNode& node) {
    const String_t pending = AttributeOf(node, "pending");
    const bool isChanging =
        std::any_of(std::begin(kChanges), std::end(kChanges), [&](const char* change) { return pending == change; });
    const String_t word = isChanging ? pending : AttributeOf(node, "role");
    const auto* const found =
        std::find_if(std::begin(kRoles), std::end(kRoles), [&](const RoleWord& row) { return word == row.word; });
    return found == std::end(kRoles) ? PcmkRole::Stopped : found->role;
}

PcmkMember MemberOf(const XmlDataNode& node) {
    PcmkMember member;
    member.id = AttributeOf(node, "id");
    member.agent = AttributeOf(node, "resource_agent");
    member.role = RoleOf(node);
    member.isWanted = !IsWord(AttributeOf(node, "target_role"), "Stopped");
    member.isFailed = Is(node, "failed") && !Is(node, "failure_ignored");
    member.isBlocked = Is(node, "blocked");
    member.isManaged = AttributeOf(node, "managed") != "false";
    ForEach(node, "node", [&](const XmlDataNode& place) { member.nodes.push_back(AttributeOf(place, "name")); });
    if (!member.IsActive()) member.role = PcmkRole::Stopped;
    return member;
}

PcmkCopy MembersOf(const XmlDataNode& parent) {
    PcmkCopy copy;
    ForEach(parent, "resource", [&](const XmlDataNode& node) { copy.push_back(MemberOf(node)); });
    return copy;
}

/// What runs inside a container is told to be on a node of the container's own: it is where the connection to that is.
PcmkCopy ReplicaOf(const XmlDataNode& node) {
    PcmkCopy copy = MembersOf(node);
    std::map<String_t, std::vector<String_t>> hosts;
    for (const PcmkMember& member : copy) {
        if (member.IsConnection()) hosts.emplace(member.id, member.nodes);
    }
    for (PcmkMember& member : copy) {
        const auto host = member.nodes.size() == 1 ? hosts.find(member.nodes.front()) : hosts.end();
        if (host != hosts.end()) member.nodes = host->second;
    }
    return copy;
}

PcmkResource PrimitiveOf(const XmlDataNode& node) {
    return {AttributeOf(node, "id"), false, false, false, {{MemberOf(node)}}, {}};
}

PcmkResource GroupOf(const XmlDataNode& node) {
    return {AttributeOf(node, "id"), false, false, false, {MembersOf(node)}, {}};
}

PcmkResource CloneOf(const XmlDataNode& node) {
    PcmkResource clone{AttributeOf(node, "id"), true, Is(node, "multi_state") || Is(node, "promotable"), false, {}, {}};
    for (const PcmkMember& member : MembersOf(node)) clone.copies.push_back({member});
    ForEach(node, "group", [&](const XmlDataNode& group) {
        clone.copies.push_back(MembersOf(group));
        clone.inner.push_back(PcmkWithoutNumber(AttributeOf(group, "id")));
    });
    return clone;
}

PcmkResource BundleOf(const XmlDataNode& node) {
    PcmkResource bundle{AttributeOf(node, "id"), false, false, true, {}, {}};
    ForEach(node, "replica", [&](const XmlDataNode& replica) { bundle.copies.push_back(ReplicaOf(replica)); });
    bundle.isCloned = bundle.copies.size() > 1;
    const auto hasRole = [](const PcmkMember& member) { return member.role > PcmkRole::Started; };
    bundle.isPromotable = std::any_of(bundle.copies.begin(), bundle.copies.end(), [&](const PcmkCopy& copy) {
        return std::any_of(copy.begin(), copy.end(), hasRole);
    });
    return bundle;
}

struct Kind {
    const char* element;
    PcmkResource (*read)(const XmlDataNode& node);
};
constexpr Kind kKinds[]{{"resource", PrimitiveOf}, {"group", GroupOf}, {"clone", CloneOf}, {"bundle", BundleOf}};

/// Each once. What is no longer configured is told for each node where it runs.
class Resources {
public:
    void Take(const XmlDataNode& node) {
        const auto* const kind = std::find_if(std::begin(kKinds), std::end(kKinds),
                                              [&](const Kind& row) { return node.GetName() == row.element; });
        if (kind != std::end(kKinds)) Add(kind->read(node));
    }
    std::vector<PcmkResource> list;

private:
    void Add(PcmkResource resource) {
        const auto [place, isNew] = places.try_emplace(resource.name, list.size());
        if (!isNew) return Merge(list[place->second], resource);
        for (const PcmkCopy& copy : resource.copies) {
            for (const PcmkMember& member : copy) resource.inner.push_back(member.id);
        }
        list.push_back(std::move(resource));
    }
    static void Merge(PcmkResource& known, const PcmkResource& more) {
        if (known.copies.empty()) known.copies.emplace_back();
        for (const PcmkCopy& copy : more.copies)
            known.copies.front().insert(known.copies.front().end(), copy.begin(), copy.end());
    }

    std::map<String_t, std::size_t> places;
};

/// Some have a text there, which may begin with a digit.
std::uint16_t IdOf(const String_t& text) {
    const std::u16string_view units = text.View();
    const bool isNumber = std::all_of(units.begin(), units.end(), [](char16_t u) { return u >= u'0' && u <= u'9'; });
    return isNumber ? NumberIn(text, ClusterNodeImpl::kUnknownId) : ClusterNodeImpl::kUnknownId;
}

PcmkNode NodeOf(const XmlDataNode& node) {
    PcmkNode told;
    told.name = AttributeOf(node, "name");
    told.id = IdOf(AttributeOf(node, "id"));
    told.isOnline = Is(node, "online");
    told.isPending = Is(node, "pending");
    // One that still joins is told to be in standby too.
    told.isStandby = !told.isPending && (Is(node, "standby") || Is(node, "standby_onfail"));
    told.isMaintained = Is(node, "maintenance");
    told.isUnclean = Is(node, "unclean");
    told.isRemote = AttributeOf(node, "type") == "remote";
    told.host = AttributeOf(node, "id_as_resource");
    return told;
}

void MarkContainers(PcmkSight& sight) {
    std::set<String_t> names;
    for (const PcmkResource& resource : sight.resources) {
        for (const PcmkCopy& copy : resource.isBundle ? resource.copies : std::vector<PcmkCopy>()) {
            for (const PcmkMember& member : copy) names.insert(member.IsConnection() ? member.id : String_t(""));
        }
    }
    for (PcmkNode& node : sight.nodes) node.isInContainer = names.contains(node.name);
}

/// Nobody has configured the connection to a guest: it is a part of that.
bool IsImplied(const PcmkMember& member, const PcmkSight& sight) {
    return member.IsConnection() && std::any_of(sight.nodes.begin(), sight.nodes.end(), [&](const PcmkNode& node) {
               return node.name == member.id && node.host.IsNotEmpty();
           });
}

void LeaveOutImplied(PcmkSight& sight) {
    std::erase_if(sight.resources, [&](const PcmkResource& resource) {
        return resource.copies.size() == 1 && resource.copies[0].size() == 1 &&
               resource.copies[0][0].id == resource.name && IsImplied(resource.copies[0][0], sight);
    });
}

/// Those that are a guest, a connection, or a bundle with containers that are nodes.
void FindRemoteHosts(PcmkSight& sight) {
    for (const PcmkNode& node : sight.nodes) {
        if (node.isRemote) sight.remoteHosts.insert(node.host.IsEmpty() ? node.name : node.host);
    }
    const auto isConnection = [](const PcmkMember& member) { return member.IsConnection(); };
    for (const PcmkResource& resource : sight.resources) {
        const bool hasNodes = std::any_of(resource.copies.begin(), resource.copies.end(), [&](const PcmkCopy& copy) {
            return std::any_of(copy.begin(), copy.end(), isConnection);
        });
        if (resource.isBundle && hasNodes) sight.remoteHosts.insert(resource.name);
    }
}

/// With some options crm_mon tells what runs on a node there.
void TakeLoose(const XmlDataNode& root, PcmkSight& sight) {
    std::set<String_t> known;
    for (const PcmkResource& resource : sight.resources) known.insert(resource.inner.begin(), resource.inner.end());
    ForEach(root, "nodes", "node", [&](const XmlDataNode& node) {
        ForEach(node, "resource", [&](const XmlDataNode& told) {
            const PcmkMember member = MemberOf(told);
            if (!known.contains(member.id) && !IsImplied(member, sight)) sight.loose.push_back(member);
        });
    });
}

String_t ErrorsIn(const XmlDataNode& status) {
    String_t text;
    ForEach(status, "errors", "error", [&](const XmlDataNode& error) {
        text += text.IsEmpty() ? "" : " ";
        text += error.GetValue();
    });
    return text;
}

void ExpectResult(const String_t& tool, const XmlDataNode& root) {
    if (root.GetName() == "crm_mon") Raise<ClusterException>(msg::PcmkTooOld, tool);
    if (root.GetName() != "pacemaker-result") Raise<ClusterException>(msg::PcmkNoResult, root.GetName(), tool);
    String_t errors;
    bool isTold = false;
    ForEach(root, "status", [&](const XmlDataNode& status) {
        const String_t code = AttributeOf(status, "code"), errorsHere = ErrorsIn(status);
        isTold = true;
        if (code != "0") {
            const String_t reason = AttributeOf(status, "message") + (errorsHere.IsEmpty() ? "" : ": ") + errorsHere;
            Raise<ClusterException>(msg::PcmkToolFailed, code, reason, tool);
        }
        errors += errorsHere;
    });
    // It may tell of success, and of the failure among the errors alone.
    const bool hasData = isTold && Has(root, "summary") && Has(root, "nodes");
    if (!hasData && errors.IsNotEmpty()) Raise<ClusterException>(msg::PcmkToolFailed, "0", errors, tool);
    if (!hasData) Raise<ClusterException>(msg::PcmkNothingTold, tool);
    if (errors.IsNotEmpty()) LUMCONF_TRACE(trace::Cluster, errors);
}

[[noreturn]] void RaiseFailure(const String_t& tool, const ToolEnd& end) {
    const String_t code = LumPalStr::NumToStr(end.code);
    if (end.said.IsNotEmpty()) Raise<ClusterException>(msg::PcmkToolFailed, code, end.said, tool);
    Raise<ClusterException>(msg::ToolFailed, Make(msg::ToolReturned, code, Make(msg::ToolLineWas, tool)));
}

/// A release that does not know the option for XML says so, with a code that differs among them.
bool IsOfUsage(const ToolEnd& end) {
    return end.code == kUsageError || end.said.Find("unrecognized option") != LumPalStr::NotFound ||
           end.said.Find("Unknown option") != LumPalStr::NotFound;
}

void ExpectDocument(const String_t& tool, const ToolEnd& end) {
    const auto isBegun = [](const String_t& line) { return line.Find("<") != LumPalStr::NotFound; };
    if (std::any_of(end.lines.begin(), end.lines.end(), isBegun)) return;
    if (end.code != 0 && !IsOfUsage(end)) RaiseFailure(tool, end);
    const String_t said = end.said.IsEmpty() ? String_t("it said nothing") : end.said;
    Raise<ClusterException>(msg::PcmkNoDocument, LumPalStr::NumToStr(end.code), said, tool);
}

}  // namespace

String_t PcmkWithoutNumber(const String_t& id) {
    return id.Left(id.ReverseFind(":"));
}

bool PcmkMember::IsConnection() const {
    return agent == "ocf:pacemaker:remote" || agent == "ocf::pacemaker:remote";
}

String_t PcmkNode::Detail() const {
    String_t detail;
    for (const auto& [isSo, word] :
         {std::pair(isUnclean, "unclean"), std::pair(isPending, "pending"), std::pair(isStandby, "standby"),
          std::pair(isMaintained, "maintenance"), std::pair(isRemote, "remote")}) {
        if (isSo) detail += (detail.IsEmpty() ? String_t() : String_t(", ")) + word;
    }
    return detail;
}

bool PcmkResource::IsPromotedTwice() const {
    const auto isPromoted = [](const PcmkMember& member) { return member.role == PcmkRole::Promoted; };
    return std::count_if(copies.begin(), copies.end(),
                         [&](const PcmkCopy& copy) { return std::any_of(copy.begin(), copy.end(), isPromoted); }) > 1;
}

/// Bundles without a running copy do not tell whether one of them is to be promoted, and nothing whether several are.
bool PcmkSight::NeedsConfiguration() const {
    const auto isUntold = [](const PcmkResource& resource) {
        return (resource.isBundle && resource.isCloned && !resource.isPromotable) || resource.IsPromotedTwice();
    };
    return !loose.empty() || std::any_of(resources.begin(), resources.end(), isUntold);
}

XmlDataTree PcmkTree(const String_t& tool, const ToolLines& lines) {
    LumPalArray::CharArray_t text;
    for (const String_t& line : lines) {
        const std::string bytes = line.ToUtf8() + "\n";
        text.Append(bytes.data(), bytes.size());
    }
    XmlDataTree tree;
    tree.LoadText(tool, text);
    return tree;
}

XmlDataTree PcmkTree(const String_t& tool, const ToolEnd& end) {
    if (end.code != 0) RaiseFailure(tool, end);
    return PcmkTree(tool, end.lines);
}

PcmkSight PcmkSightOf(const String_t& tool, const XmlDataTree& tree) {
    const XmlDataNode& root = tree[0];
    ExpectResult(tool, root);
    PcmkSight sight;
    ForEach(root, "summary", "current_dc", [&](const XmlDataNode& node) {
        sight.hasController = Is(node, "present");
        sight.hasQuorum = Is(node, "with_quorum");
    });
    ForEach(root, "summary", "cluster_options",
            [&](const XmlDataNode& node) { sight.isOptIn = AttributeOf(node, "symmetric-cluster") == "false"; });
    ForEach(root, "nodes", "node", [&](const XmlDataNode& node) { sight.nodes.push_back(NodeOf(node)); });
    Resources resources;
    ForEach(root, "resources", [&](const XmlDataNode& list) {
        for (int i = 0; i < list.ChildrenCount(); ++i) resources.Take(list[i]);
    });
    sight.resources = std::move(resources.list);
    MarkContainers(sight);
    LeaveOutImplied(sight);
    TakeLoose(root, sight);
    FindRemoteHosts(sight);
    ForEach(root, "bans", "ban", [&](const XmlDataNode& ban) {
        if (AttributeOf(ban, "weight") != kMinusInfinity) return;
        const bool isOfPromotedOnly = Is(ban, "promoted-only") || Is(ban, "master_only");
        sight.bans.push_back({AttributeOf(ban, "resource"), AttributeOf(ban, "node"), isOfPromotedOnly});
    });
    return sight;
}

PcmkSight PcmkSightOf(const String_t& tool, const ToolEnd& end) {
    ExpectDocument(tool, end);
    PcmkSight sight = PcmkSightOf(tool, PcmkTree(tool, end.lines));
    if (end.code != 0) RaiseFailure(tool, end);
    return sight;
}

}  // namespace LumConfCluster
