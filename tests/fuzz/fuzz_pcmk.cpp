// Any bytes as what the tools of Pacemaker print: what is no document is refused with an exception of ours; else states
// are told by the known words, and the configuration is searched to its end.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "FuzzedLines.h"
#include "LumPalMsg.h"
#include "adapters/PcmkHistory.h"
#include "adapters/PcmkPlacement.h"
#include "adapters/PcmkStates.h"

using namespace LumConfCluster;

namespace {

void ExpectKnown(std::string_view word) {
    for (const char* known : {pcmkWords::kStarted, pcmkWords::kStopped, pcmkWords::kPromoted, pcmkWords::kUnpromoted,
                              pcmkWords::kFailed, pcmkWords::kPartial, pcmkWords::kUnmanaged, pcmkWords::kBlocked}) {
        if (word == known) return;
    }
    std::abort();
}

void LookAt(const PcmkSight& sight, const PcmkCib& cib, const PcmkHistory& history) {
    const PcmkStates states(sight.nodes);
    for (const PcmkResource& resource : sight.resources) {
        const PcmkState state = states.Whole(resource);
        ExpectKnown(state.word);
        ExpectKnown(states.WordOn(resource, state.node));
        cib.AddressOf(resource.name);
        history.DoubtOf(resource, sight.nodes);
        if (PcmkNodesOf(resource, sight, cib).size() > sight.nodes.size()) std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const FuzzedLines output(data, size);
    try {
        const XmlDataTree tree = PcmkTree("tool", output.lines);
        const PcmkCib cib(tree);
        const PcmkHistory history(tree);
        cib.ClusterName();
        PcmkSight sight = PcmkSightOf("tool", tree);
        LookAt(sight, cib, history);
        cib.PutTogether(sight);
        LookAt(sight, cib, history);
    } catch (const LumPalMsg::Exception_t&) {
    }
    return 0;
}
