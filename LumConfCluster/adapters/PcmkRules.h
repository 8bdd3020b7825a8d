/// @file
/// What the rules in the configuration of a Pacemaker cluster say of its nodes.
#pragma once

#include <map>
#include <set>

#include "LumPalStr.h"
#include "PcmkCib.h"
#include "PcmkOutput.h"

namespace LumConfCluster {

enum class PcmkTruth { No, Yes, Untold };

PcmkTruth PcmkTruthOf(bool is);
PcmkTruth PcmkBoth(PcmkTruth one, PcmkTruth other);

/// An attribute of a node.
struct PcmkFact {
    PcmkTruth isThere = PcmkTruth::No;
    LumPalStr::String_t value;
};

/// Knows the attributes of nodes, those that last and those that end with a start. Of times, and of what is compared as
/// a number, it tells nothing. One thread.
class PcmkRules {
public:
    /// @param cib  lives longer
    explicit PcmkRules(const PcmkCib& cib);
    PcmkTruth Hold(const XmlDataNode& rule, const PcmkNode& node) const;
    /// "#uname", "#id" and "#kind" are known too.
    PcmkFact Attribute(const LumPalStr::String_t& name, const PcmkNode& node) const;

private:
    using Facts = std::map<LumPalStr::String_t, PcmkFact>;
    struct Known {
        LumPalStr::String_t id;
        Facts lasting, transient;
    };
    void ReadNodes(const XmlDataNode& nodes);
    void ReadStatus(const XmlDataNode& status);
    void ReadSets(const XmlDataNode& owner, Facts& facts) const;
    void FindGuests(const XmlDataNode& node);
    PcmkFact Special(const LumPalStr::String_t& name, const PcmkNode& node) const;
    PcmkTruth Compared(const XmlDataNode& expression, const PcmkNode& node) const;

    const PcmkCib& cib;
    std::map<LumPalStr::String_t, Known> known;  ///< by the name of the node, in small letters
    std::set<LumPalStr::String_t> guests;        ///< nodes inside a resource
};

}  // namespace LumConfCluster
