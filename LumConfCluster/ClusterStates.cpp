#include "LumConfCluster/ClusterStates.h"

#include <array>

namespace LumConfCluster {

namespace {

using Texts = std::array<const char*, 3>;

constexpr Texts kClusterStates{"Unknown", "Up", "Down"};
constexpr Texts kOtherStates{"Unknown", "Online", "Offline"};

template <class State>
const char* TextOf(State state, const Texts& texts) noexcept {
    const auto index = static_cast<std::size_t>(state);
    return index < texts.size() ? texts[index] : texts[0];
}

}  // namespace

const char* DisplayText(ClusterState state) noexcept {
    return TextOf(state, kClusterStates);
}

const char* DisplayText(NodeState state) noexcept {
    return TextOf(state, kOtherStates);
}

const char* DisplayText(RGState state) noexcept {
    return TextOf(state, kOtherStates);
}

const char* DisplayText(InstanceState state) noexcept {
    return TextOf(state, kOtherStates);
}

}  // namespace LumConfCluster
