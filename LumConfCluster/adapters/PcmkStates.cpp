#include "PcmkStates.h"

#include <algorithm>
#include <array>
#include <set>
#include <string_view>

namespace LumConfCluster {

using namespace pcmkWords;
using LumPalStr::String_t;

namespace {

/// Of several copies the first of these that one of them has.
constexpr std::array kBestFirst{kPromoted, kStarted, kUnpromoted, kFailed, kBlocked, kUnmanaged, kPartial, kStopped};

bool Runs(const PcmkMember& member) {
    return member.role != PcmkRole::Stopped && member.nodes.size() == 1;
}

bool IsOf(const PcmkCopy& copy, PcmkRole role) {
    return std::any_of(copy.begin(), copy.end(), [role](const PcmkMember& member) { return member.role == role; });
}

std::set<String_t> NodesOf(const PcmkCopy& copy) {
    std::set<String_t> nodes;
    for (const PcmkMember& member : copy) nodes.insert(member.nodes.begin(), member.nodes.end());
    return nodes;
}

std::vector<String_t> SeveralOf(const PcmkCopy& copy) {
    std::set<String_t> several;
    for (const PcmkMember& member : copy) {
        if (member.nodes.size() > 1) several.insert(member.nodes.begin(), member.nodes.end());
    }
    return {several.begin(), several.end()};
}

/// What should not run and does not says nothing.
PcmkCopy ThatCount(const PcmkCopy& copy) {
    PcmkCopy members;
    std::copy_if(copy.begin(), copy.end(), std::back_inserter(members),
                 [](const PcmkMember& member) { return member.isWanted || member.IsActive(); });
    return members;
}

/// All that should run does, and there is such a member.
bool IsWhole(const PcmkCopy& copy) {
    const auto isWanted = [](const PcmkMember& member) { return member.isWanted; };
    return std::any_of(copy.begin(), copy.end(), isWanted) &&
           std::all_of(copy.begin(), copy.end(),
                       [](const PcmkMember& member) { return !member.isWanted || Runs(member); });
}

const char* WordOfWhole(const PcmkCopy& copy) {
    const bool isUnpromoted = IsOf(copy, PcmkRole::Unpromoted);
    if (IsOf(copy, PcmkRole::Promoted)) return isUnpromoted ? kPartial : kPromoted;
    return isUnpromoted ? kUnpromoted : kStarted;
}

std::size_t RankOf(std::string_view word) {
    return static_cast<std::size_t>(std::find(kBestFirst.begin(), kBestFirst.end(), word) - kBestFirst.begin());
}

}  // namespace

PcmkStates::PcmkStates(const std::vector<PcmkNode>& nodes) {
    for (const PcmkNode& node : nodes) sound.emplace(node.name, node.isOnline && !node.isUnclean);
}

bool PcmkStates::IsLost(const PcmkMember& member) const {
    return std::any_of(member.nodes.begin(), member.nodes.end(), [this](const String_t& node) {
        const auto found = sound.find(node);
        return found == sound.end() || !found->second;
    });
}

const char* PcmkStates::TroubleOf(const PcmkCopy& copy) const {
    const auto any = [&](auto&& is) { return std::any_of(copy.begin(), copy.end(), is); };
    if (any([this](const PcmkMember& member) { return IsLost(member); })) return kFailed;
    if (any([](const PcmkMember& member) { return member.isBlocked; })) return kBlocked;
    if (any([](const PcmkMember& member) { return member.isFailed; })) return kFailed;
    return any([](const PcmkMember& member) { return !member.isManaged; }) ? kUnmanaged : nullptr;
}

PcmkState PcmkStates::StateOf(const PcmkCopy& all) const {
    const PcmkCopy copy = ThatCount(all);
    const std::set<String_t> nodes = NodesOf(copy);
    const String_t node = nodes.size() == 1 ? *nodes.begin() : String_t("");
    if (const char* const trouble = TroubleOf(copy)) return {trouble, node, {}};
    if (nodes.empty()) return {kStopped, node, {}};
    if (nodes.size() > 1) return {kPartial, node, SeveralOf(copy)};
    return {IsWhole(copy) ? WordOfWhole(copy) : kPartial, node, {}};
}

PcmkState PcmkStates::BestOf(const PcmkResource& resource) const {
    PcmkState best;
    for (const PcmkCopy& copy : resource.copies) {
        const PcmkState state = StateOf(copy);
        if (RankOf(state.word) < RankOf(best.word)) best.word = state.word;
    }
    return best;
}

/// One that is promoted and in trouble comes first: nobody knows what it does. Where one alone may be promoted several
/// are not for long: they are taken for one member on several nodes.
PcmkState PcmkStates::PromotedOf(const PcmkResource& resource) const {
    PcmkState promoted = BestOf(resource);
    if (promoted.word == std::string_view(kStarted)) promoted.word = kUnpromoted;
    std::set<String_t> nodes;
    int count = 0;
    for (const PcmkCopy& copy : resource.copies) {
        if (!IsOf(copy, PcmkRole::Promoted)) continue;
        const PcmkState state = StateOf(copy);
        if (state.word != std::string_view(kPromoted)) return state;
        promoted = ++count == 1 ? state : PcmkState{state.word, "", {}};
        nodes.insert(state.node);
    }
    if (count > 1 && !resource.isOftenPromoted) return {kPartial, "", {nodes.begin(), nodes.end()}};
    return promoted;
}

PcmkState PcmkStates::Whole(const PcmkResource& resource) const {
    if (resource.isPromotable) return PromotedOf(resource);
    if (resource.isCloned) return BestOf(resource);
    return resource.copies.empty() ? PcmkState() : StateOf(resource.copies.front());
}

const char* PcmkStates::WordOn(const PcmkResource& resource, const String_t& node) const {
    const char* best = kStopped;
    for (const PcmkCopy& copy : resource.copies) {
        const std::set<String_t> nodes = NodesOf(copy);
        if (!nodes.contains(node)) continue;
        const char* const word = StateOf(copy).word;
        if (RankOf(word) < RankOf(best)) best = word;
    }
    const bool isPromoted = best == std::string_view(kPromoted);
    return isPromoted && resource.isPromotable && !Whole(resource).several.empty() ? kPartial : best;
}

}  // namespace LumConfCluster
