// Any bytes as what the tools of Red Hat clusters print: reading ends, throws nothing, and what is read was printed.
#include <cstddef>
#include <cstdint>

#include "FuzzedLines.h"
#include "adapters/RhasOutput.h"

using namespace LumConfCluster;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const FuzzedLines output(data, size);
    RhasReleaseIn(output.whole, 0);
    RhasKnowsNothing(output.lines);
    for (const RhasGeneration generation : {RhasGeneration::Below3, RhasGeneration::Exactly3, RhasGeneration::Above3}) {
        output.ExpectPrinted(RhasClusterName(output.lines, generation));
        output.ExpectPrinted(RhasAddress(output.lines, generation));
        for (const RhasMember& member : RhasMembers(output.lines, generation)) output.ExpectPrinted(member.name);
        for (const RhasService& service : RhasServices(output.lines, generation, 4 + static_cast<int>(size % 2))) {
            output.ExpectPrinted(service.name);
            output.ExpectPrinted(service.word);
            if (service.owner) output.ExpectPrinted(*service.owner);
        }
    }
    for (const RhasService& service : RhasServicesOf(output.lines, output.lines)) output.ExpectPrinted(service.word);
    return 0;
}
