/// @file
/// The states of Pacemaker's resources, by words. Pure functions; any thread.
#pragma once

#include <map>
#include <vector>

#include "PcmkOutput.h"

namespace LumConfCluster {

/// The words.
namespace pcmkWords {
inline constexpr char kStarted[] = "Started", kStopped[] = "Stopped", kPromoted[] = "Promoted",
                      kUnpromoted[] = "Unpromoted", kFailed[] = "Failed", kPartial[] = "Partial",
                      kUnmanaged[] = "Unmanaged", kBlocked[] = "Blocked", kUnprobed[] = "Unprobed";
}  // namespace pcmkWords

/// How a resource stands, and where.
struct PcmkState {
    const char* word = pcmkWords::kStopped;
    LumPalStr::String_t node;  ///< the one where it is; empty for none or several, and for copies without a first one
    /// Where a member of it is that is on several at once, or where it is promoted beyond what it may, without a
    /// failure. That passes: a node that comes back brings its old history along, and what really is so Pacemaker ends.
    std::vector<LumPalStr::String_t> several = {};
};

/// Tells the states in one sight of the cluster.
class PcmkStates {
public:
    explicit PcmkStates(const std::vector<PcmkNode>& nodes);
    /// Started (or Promoted) where all members that should run do so on one node. Failed, too, on a node that is
    /// unclean or not on line. Of clones the best copy counts, and a promotable one is what its promoted copy is.
    PcmkState Whole(const PcmkResource& resource) const;
    /// Of what of it is on the node: Stopped for nothing.
    const char* WordOn(const PcmkResource& resource, const LumPalStr::String_t& node) const;

private:
    PcmkState StateOf(const PcmkCopy& copy) const;
    bool IsLost(const PcmkMember& member) const;
    const char* TroubleOf(const PcmkCopy& copy) const;
    PcmkState PromotedOf(const PcmkResource& resource) const;
    PcmkState BestOf(const PcmkResource& resource) const;

    std::map<LumPalStr::String_t, bool> sound;
};

}  // namespace LumConfCluster
