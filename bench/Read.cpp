// Reading one header.
#include "BareParser.h"
#include "Benchmarks.h"
#include "Documents.h"
#include "LumPalIo.h"
#include "PolicyHeader.h"
#include "TempRoot.h"

namespace bench {
namespace {

void Measure(Session& session, const TempRoot& root, const char* name, const DocumentSize& size) {
    const std::string path = root.Native() + "/" + PolicyId(1) + "_header.xml";
    WriteFile(path, Document(1, size));
    const LumPalIo::File_t file(LumPalStr::String_t::FromUtf8(path));
    const int rounds = session.Choose(500, 2);
    const auto repeat = [rounds](const auto& call) {
        return ProcessorSeconds([&] {
                   for (int i = 0; i < rounds; ++i) call();
               }) /
               rounds;
    };
    const Pairs pairs = RunPairs(
        session.Choose(41, 1), [&] { return repeat([&] { LumConf::PolicyHeader::Read(file); }); },
        [&] { return repeat([&] { BareParse(path); }); });
    session.Add({name, pairs.Ratios(), 2.0, Times(pairs) + ", " + std::to_string(file.GetSize()) + " bytes"});
}

}  // namespace

void MeasureRead(Session& session) {
    const TempRoot root;
    Measure(session, root, "read a header of 2 KB", kSmall);
    Measure(session, root, "read a header of 18 KB", kLarge);
}

}  // namespace bench
