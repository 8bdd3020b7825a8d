// Passes over a cache and selections from it.
#include <memory>
#include <stdexcept>

#include "Benchmarks.h"
#include "Documents.h"
#include "PolicyContainer.h"
#include "PolicyHeader.h"
#include "PolicyNode.h"
#include "Selection.h"
#include "SelectionContainer.h"
#include "Store.h"

namespace bench {
namespace {

using LumConf::PolicyContainer;
using LumConf::Selection;
using LumPalStr::String_t;

PolicyContainer Loaded(const Store& store) {
    store.Use();
    PolicyContainer container;
    container.CheckPolicy();
    return container;
}

double PassByIndex(const PolicyContainer& container) {
    std::size_t units = 0;
    const double seconds = ProcessorSeconds([&] {
        for (int i = 0; i < container.GetCount(); ++i) {
            units += container.GetPolicyHeader(i).GetContainerId().GetLength();
        }
    });
    if (units != PolicyId(0).size() * static_cast<std::size_t>(container.GetCount())) {
        throw std::runtime_error("a pass did not see every policy");
    }
    return seconds;
}

double Select(const PolicyContainer& container, const Selection& selection) {
    LumConf::SelectionContainer selected;  // what it holds is freed when the time is taken
    return ProcessorSeconds([&] { selected.Init(container, selection); });
}

String_t Ids(const PolicyContainer& container) {
    String_t ids = "";
    for (int i = 0; i < container.GetCount(); ++i) ids += container.GetPolicyHeader(i).GetContainerId() + " ";
    return ids;
}

/// Each policy by its id in one text.
double ChangeIds(const PolicyContainer& container, const String_t& ids) {
    return ProcessorSeconds([&] {
        container.Disable(ids);
        container.Enable(ids);
    });
}

/// A node that has loaded a store.
class Loader {
public:
    explicit Loader(const Store& store) {
        store.Use();
        operation = std::make_unique<LumConf::PolicyOperation>(LumConf::SurroundingsOf(worker, auditLog));
    }
    ~Loader() { worker.Stop(); }

    double ListAll() {
        PolicyContainer listed;  // freed when the time is taken
        return ProcessorSeconds([&] { listed = operation->GetPolicyContainer("bench", Selection()); });
    }

private:
    LumConfPar::PolicyWorker worker{LumConfPar::MakePolicySettings()};
    LumConf::AuditLog auditLog;
    std::unique_ptr<LumConf::PolicyOperation> operation;
};

struct Kind {
    const char* name;
    Selection selection;
};

std::vector<Kind> Kinds() {
    return {{"select all", Selection().SetAll()},
            {"select by id", Selection().SetPolicyId(LumPalStr::String_t::FromUtf8(PolicyId(7)))},
            {"select by name", Selection().SetPolicyName("disk-usage-of-server-7")},
            {"select by type", Selection().SetPolicyTypeName("type7")},
            {"select by name and type", Selection().SetPolicyNameAndTypeName("disk-usage-of-server-7", "type7")},
            {"select by category", Selection().SetPolicyCategory("production-1")},
            {"select by owner", Selection().SetPolicyOwner("storage-team-7")},
            {"select by owner and name", Selection().SetPolicyOwnerAndName("storage-team-7", "disk-usage-of-server-7")},
            {"select by attribute's name", Selection().SetPolicyAttribute("schedule-0")},
            {"select by attribute", Selection().SetPolicyAttribute("schedule-0", "3")}};
}

void Add(Session& session, const std::string& name, const Pairs& pairs) {
    session.Add({name + ", tenfold", pairs.Ratios(), 12.0, Times(pairs)});
}

}  // namespace

void MeasureSelect(Session& session) {
    const PolicyContainer small = Loaded(Store::Small(session));
    const PolicyContainer large = Loaded(Store::Large(session));
    const int pairs = session.Choose(31, 1);
    Add(session, "pass by index",
        RunPairs(
            pairs, [&] { return PassByIndex(large); }, [&] { return PassByIndex(small); }));
    for (const Kind& kind : Kinds()) {
        Add(session, kind.name,
            RunPairs(
                pairs, [&] { return Select(large, kind.selection); }, [&] { return Select(small, kind.selection); }));
    }
    const String_t smallIds = Ids(small), largeIds = Ids(large);
    Add(session, "change by ids",
        RunPairs(
            pairs, [&] { return ChangeIds(large, largeIds); }, [&] { return ChangeIds(small, smallIds); }));
    Loader smallNode(Store::Small(session)), largeNode(Store::Large(session));
    Add(session, "list by ids",
        RunPairs(
            pairs, [&] { return largeNode.ListAll(); }, [&] { return smallNode.ListAll(); }));
}

}  // namespace bench
