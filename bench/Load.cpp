// Loading a store.
#include <malloc.h>

#include <stdexcept>

#include "BareParser.h"
#include "Benchmarks.h"
#include "PolicyContainer.h"
#include "Store.h"

namespace bench {
namespace {

void Demand(int found, const Store& store) {
    if (found != store.GetCount()) throw std::runtime_error("a store was not read as a whole");
}

double Load(const Store& store) {
    store.Use();
    const LumConf::PolicyContainer container;
    return ProcessorSeconds([&] { Demand(container.CheckPolicy(), store); });
}

double BarePass(const Store& store) {
    return ProcessorSeconds([&] { Demand(BareParseTree(store.Folder()), store); });
}

std::size_t MemoryInUse() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

/// Bytes of memory that the loaded policies hold.
std::size_t MemoryOf(const Store& store) {
    store.Use();
    const std::size_t before = MemoryInUse();
    const LumConf::PolicyContainer container;
    Demand(container.CheckPolicy(), store);
    return MemoryInUse() - before;
}

}  // namespace

void MeasureLoad(Session& session) {
    const Store& small = Store::Small(session);
    const Pairs once = RunPairs(
        session.Choose(11, 1), [&] { return Load(small); }, [&] { return BarePass(small); });
    session.Add({"load 10,000 policies", once.Ratios(), 2.0, Times(once)});

    std::vector<double> ratios;
    for (int i = session.Choose(3, 1); i > 0; --i) {
        ratios.push_back(static_cast<double>(MemoryOf(small)) / static_cast<double>(small.GetBytes()));
    }
    session.Add(
        {"memory of a policy to its document", ratios, 1.5,
         "a document has " + std::to_string(small.GetBytes() / static_cast<std::size_t>(small.GetCount())) + " bytes"});

    const Store& large = Store::Large(session);
    const Pairs tenfold = RunPairs(
        session.Choose(5, 1), [&] { return Load(large); }, [&] { return Load(small); });
    session.Add({"load 100,000 policies to 10,000", tenfold.Ratios(), 12.0, Times(tenfold)});
}

}  // namespace bench
