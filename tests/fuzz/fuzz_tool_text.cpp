// Any bytes as what a cluster's tool prints: cutting and wrapping end, names are parts of their line, and no name that
// is let into a tool's line is more than one word of it.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "CommandLine.h"
#include "Exceptions.h"
#include "LumConfCluster/ClusterUtil.h"
#include "ToolLine.h"
#include "ToolText.h"

namespace {

using LumConfCluster::ClusterUtil;
using LumPalStr::NotFound;
using LumPalStr::String_t;

void Expect(bool holds) {
    if (!holds) std::abort();
}

void Cut(const String_t& line) {
    Expect(line.Find(LumConfCluster::FirstColumn(line)) == 0);
    Expect(line.Find(LumConfCluster::BehindColon(line)) != NotFound);
    if (LumConfCluster::NumberIn(line, 1) != LumConfCluster::NumberIn(line, 2))
        Expect(LumConfCluster::NumberIn(line, 7) == 7);
    for (std::size_t number = 0; number < 4; ++number)
        Expect(line.Find(LumConfCluster::Field(line, ":", number)) != NotFound);
    Expect(line.Find(LumConfCluster::Between(line, "State: ", "Nodes")) != NotFound);
    for (const String_t& name : LumConfCluster::NamesOfPairs(line)) {
        Expect(line.Find(name) != NotFound);
        Expect(name.FindOneOf(" \t") == NotFound);
    }
}

void Name(const String_t& name) {
    LumConfCluster::ToolLine line("\"/opt/tool\"");
    try {
        line.Words("-state").Name(name).Words("-sys x");
    } catch (const LumConf::ClusterException&) {
        return;
    }
    const std::vector<std::string> words = LumPalCmd::SplitWords(line.Text());
    Expect(words.size() == 5 && words[2] == name.ToUtf8() && words[4] == "x");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const String_t text = String_t::FromUtf8(std::string_view(reinterpret_cast<const char*>(data), size));
    for (std::uint32_t start = 0; start < text.GetLength();) {
        const std::uint32_t end = text.Find("\n", start);
        const String_t line = text.Mid(start, end);
        Cut(line);
        Name(line);
        Name(LumConfCluster::FirstColumn(line));
        if (end == NotFound) break;
        start = end + 1;
    }
    const auto measure = static_cast<std::int32_t>(size % 90);
    ClusterUtil::FormatOutputString(text, measure % 12, measure, ClusterUtil::MsgType::Note);
    return 0;
}
