// Any bytes as what the tools of HACMP print: reading ends, throws nothing, and what is read was printed.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "FuzzedLines.h"
#include "adapters/HacmpOutput.h"

using namespace LumConfCluster;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const FuzzedLines output(data, size);
    output.ExpectPrinted(HacmpClusterName(output.lines));
    output.ExpectPrinted(HacmpStateWord(output.lines));
    for (const auto& [node, word] : HacmpNodes(output.lines)) {
        output.ExpectPrinted(node);
        output.ExpectPrinted(word);
    }
    for (const auto& line : output.lines) {
        const auto [group, word, node] = ReadHacmpGroupLine(line);
        for (const auto& text : {group, word, node}) output.ExpectPrinted(text);
    }
    return 0;
}
