// Any bytes as what the tools of Kestrel print: a bad record is refused with its one exception, and what is read was
// printed.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "FuzzedLines.h"
#include "LumPalMsg.h"
#include "adapters/KesOutput.h"

using namespace LumConfCluster;
using LumPalStr::NotFound;
using LumPalStr::String_t;

namespace {

void Expect(bool holds) {
    if (!holds) std::abort();
}

void CheckMembers(const FuzzedLines& output) {
    try {
        for (const KesMember& member : KesMembers(output.lines)) {
            output.ExpectPrinted(member.name);
            output.ExpectPrinted(member.word);
            Expect(member.name.FindOneOf(".:") == NotFound && member.word.Find(":") == NotFound && member.id != 65535);
        }
    } catch (const LumPalMsg::RuntimeException_t&) {
    }
}

void CheckApplications(const FuzzedLines& output) {
    for (const KesResource& resource : KesApplications(output.lines)) {
        Expect(resource.name.IsNotEmpty());
        for (const String_t& text : {resource.name, resource.word, resource.host}) output.ExpectPrinted(text);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const FuzzedLines output(data, size);
    for (const String_t& line : output.lines) output.ExpectPrinted(KesClusterName(line));
    CheckMembers(output);
    CheckApplications(output);
    if (KesIsRestricted(output.lines)) output.ExpectPrinted("PLACEMENT=restricted");
    for (const String_t& member : KesHostingMembers(output.lines)) {
        output.ExpectPrinted(member);
        Expect(member.IsNotEmpty() && member.FindOneOf(" \t") == NotFound);
    }
    return 0;
}
