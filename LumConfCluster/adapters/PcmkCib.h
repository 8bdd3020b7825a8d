/// @file
/// The configuration of a Pacemaker cluster: what crm_mon does not tell.
#pragma once

#include <map>
#include <optional>
#include <set>
#include <vector>

#include "LumConfCluster/XmlDataTree.h"
#include "LumPalStr.h"
#include "PcmkOutput.h"

namespace LumConfCluster {

/// Finds things in the tree that cibadmin printed. Any document is taken: what is not there is not found. One thread.
class PcmkCib {
public:
    /// @param tree  lives longer
    explicit PcmkCib(const XmlDataTree& tree);
    /// The property cluster-name; empty without it.
    LumPalStr::String_t ClusterName() const;
    /// The parameter "ip" of the first IPaddr2 or IPaddr in a resource that stands in no other one; its own, or its
    /// template's; of a bundle the first address of its range. Empty without one.
    LumPalStr::String_t AddressOf(const LumPalStr::String_t& resource) const;
    /// The same of one as it runs: of a bundle with promoted replicas the address of the one that is promoted on the
    /// node. The first of the range where there is none, and of one of IPv6.
    LumPalStr::String_t AddressOf(const PcmkResource& resource, const LumPalStr::String_t& node) const;
    /// Puts what was told of by its node alone into the group where it belongs, or beside the others, and marks bundles
    /// of which copies are to be promoted, and what may have several that are.
    void PutTogether(PcmkSight& sight) const;
    /// The part of the configuration with this name; null without it.
    const XmlDataNode* Section(const char* name) const;
    /// What the cluster remembers; null without it.
    const XmlDataNode* Status() const { return status; }
    /// What the node refers to by its id-ref; the node itself where it refers to nothing.
    const XmlDataNode& Referred(const XmlDataNode& node) const;
    /// The ids by which location constraints speak of the resource: its own, and those of what it holds. What crm_mon
    /// tells of it counts too, also of one that is no longer configured. Of what stands in a bundle they do not speak.
    std::set<LumPalStr::String_t> IdsOf(const PcmkResource& resource) const;
    /// The ids of what runs in a container, so that the nodes themselves are not looked at for it: the primitives of
    /// bundles, and those with the meta attribute "container".
    std::set<LumPalStr::String_t> Contained() const;
    /// Whether a text in a constraint means the resource with this id: as the id, the id of its template, or a tag of
    /// it.
    bool Means(const LumPalStr::String_t& text, const LumPalStr::String_t& id) const;

private:
    /// A resource and those in which it stands, the innermost first: what one does not say the next one does.
    using Owners = std::vector<const XmlDataNode*>;
    struct Scored {
        LumPalStr::String_t value;
        int score = 0;
    };

    void Index(const XmlDataNode& node);
    void IndexTag(const XmlDataNode& tag);
    int PromotedMax(const PcmkResource& resource) const;
    const XmlDataNode* OutermostOf(const LumPalStr::String_t& member) const;
    const XmlDataNode* FindResource(const LumPalStr::String_t& id) const;
    const XmlDataNode* TemplateOf(const XmlDataNode& primitive) const;
    void TakeBest(const XmlDataNode& holder, const char* sets, const char* name, bool isByRule,
                  std::optional<Scored>& best) const;
    LumPalStr::String_t ParameterOf(const Owners& owners, const char* sets, const char* name) const;
    bool IsAddress(const XmlDataNode& primitive) const;
    LumPalStr::String_t AddressIn(const XmlDataNode& resource) const;

    const XmlDataNode* configuration = nullptr;
    const XmlDataNode* status = nullptr;
    std::map<LumPalStr::String_t, const XmlDataNode*> byId;        ///< what may be referred to
    std::map<LumPalStr::String_t, const XmlDataNode*> resources;   ///< those that stand in no other one
    std::map<LumPalStr::String_t, LumPalStr::String_t> templates;  ///< the ids of those of primitives
    std::map<LumPalStr::String_t, const XmlDataNode*> holders;     ///< the one of these that holds a resource, or is it
    std::map<LumPalStr::String_t, std::set<LumPalStr::String_t>> tags;  ///< what each of them is on
};

/// Visits the children of this name.
template <class Visit>
void PcmkForEach(const XmlDataNode& parent, const char* name, Visit&& visit) {
    for (int i = 0; i < parent.ChildrenCount(); ++i) {
        if (parent[i].GetName() == name) visit(parent[i]);
    }
}

}  // namespace LumConfCluster
