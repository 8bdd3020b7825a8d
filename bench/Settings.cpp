// Settings policies: the merge, one changed policy, many at once.
#include <memory>
#include <stdexcept>
#include <vector>

#include "BareSettings.h"
#include "Benchmarks.h"
#include "Documents.h"
#include "PolicySettings.h"
#include "SettingsRoot.h"

namespace bench {
namespace {

using LumConf::PolicyContainer;
using LumConf::PolicyHeader;
using LumConfPar::PolicySettings;
using LumConfPar::SettingsData;
using LumConfPar::SettingsMemory;
using LumPalConfig::ConfigGroup_t;
using LumPalStr::String_t;

PolicyContainer LoadHeaders(const SettingsRoot& root) {
    root.Use();
    PolicyContainer headers;
    if (headers.CheckPolicy() != root.GetCount()) throw std::runtime_error("a store was not read as a whole");
    return headers;
}

/// The policies of a root in memory, as the node holds them between two changes.
class Memory {
public:
    explicit Memory(const SettingsRoot& root) : headers(LoadHeaders(root)) {
        for (int i = 0; i < root.GetCount(); ++i) Insert(headers.GetPolicyHeader(i));
        for (int i = 0; i < root.GetCount(); ++i) texts.push_back(root.Text(i));
    }

    double Merge() const {
        ConfigGroup_t group;  // freed when the time is taken
        return ProcessorSeconds([&] {
            memory.Merge(headers, [&group](const PolicyHeader& header, const SettingsData& data) {
                LoadSettingsData(header, data, group);
            });
        });
    }

    /// Each text into containers of its own, which are freed when the time is taken.
    double BarePass() const {
        std::vector<BareSettings> all(texts.size());
        return ProcessorSeconds([&] {
            for (std::size_t i = 0; i < texts.size(); ++i) all[i] = BareReadSettings(texts[i]);
        });
    }

private:
    void Insert(const PolicyHeader& header) {
        const auto read = [](const PolicyHeader& from, int index, auto& data) { from.GetData(index, data); };
        memory.Insert(header.GetName(), header.GetContainerId());
        memory.InsertData(header.GetContainerId(), LumConfPar::ReadSettingsData(read, header, 0));
    }

    const PolicyContainer headers;
    mutable SettingsMemory memory;  ///< a merge forgets what is not there
    std::vector<std::string> texts;
};

void MeasureMerge(Session& session, const char* name, const Memory& memory) {
    const Pairs pairs = RunPairs(
        session.Choose(41, 1), [&] { return memory.Merge(); }, [&] { return memory.BarePass(); });
    session.Add({name, pairs.Ratios(), 2.0, Times(pairs)});
}

/// The settings of a node whose cache is on, and one policy of its store that changes over and over.
class Changing {
public:
    explicit Changing(const SettingsRoot& root) : root(root) {
        root.Use();
        settings.Start();
    }

    double Install() {
        root.Change(0, ++round);
        return ProcessorSeconds([&] { settings.Install(String_t::FromUtf8(PolicyId(0))); });
    }
    double Toggle() {
        const String_t id = String_t::FromUtf8(PolicyId(0));
        return ProcessorSeconds([&] {
                   settings.Disable(id);
                   settings.Enable(id);
               }) /
               2;
    }
    /// With another value too: a rebuild of what is in force already would not write it.
    double Rebuild() {
        root.Change(0, ++round);
        auto fresh = std::make_unique<PolicySettings>();
        const double seconds = ProcessorSeconds([&] { fresh->Start(); });
        settings = *fresh;
        return seconds;
    }
    double ChangeNothing() {
        return ProcessorSeconds([&] { settings.Enable(String_t::FromUtf8(PolicyId(0))); });
    }

private:
    const SettingsRoot& root;
    PolicySettings settings;
    int round = 0;
};

/// One changed policy with the cache on against a rebuild, which the node makes with the cache off.
void MeasureOne(Session& session, Changing& changing, const std::string& kind) {
    const auto rebuild = [&] { return changing.Rebuild(); };
    const Pairs install = RunPairs(
        session.Choose(15, 1), [&] { return changing.Install(); }, rebuild);
    session.Add({"install of one to a rebuild" + kind, install.Ratios(), {}, Times(install)});
    const Pairs disable = RunPairs(
        session.Choose(15, 1), [&] { return changing.Toggle(); }, rebuild);
    session.Add({"disable of one to a rebuild" + kind, disable.Ratios(), {}, Times(disable)});
}

void MeasureNoChange(Session& session, Changing& changing, const Memory& memory) {
    const Pairs pairs = RunPairs(
        session.Choose(41, 1), [&] { return changing.ChangeNothing(); }, [&] { return memory.BarePass(); });
    session.Add({"merge that changes nothing", pairs.Ratios(), {}, Times(pairs)});
}

/// All policies of a store with one job, into a memory that has them already.
double InstallAll(const SettingsRoot& root) {
    root.Use();
    PolicySettings settings;
    settings.Start();
    const String_t ids = root.Ids();
    return ProcessorSeconds([&] { settings.Install(ids); });
}

double Rebuild(const SettingsRoot& root) {
    root.Use();
    PolicySettings settings;
    return ProcessorSeconds([&] { settings.Start(); });
}

void MeasureTenfold(Session& session, const SettingsRoot& small) {
    const SettingsRoot large(session.Choose(10000, 20), Settings::Apart);
    const Memory largeMemory(large), smallMemory(small);
    const auto add = [&](const char* name, const Pairs& pairs) {
        session.Add({name, pairs.Ratios(), 12.0, Times(pairs)});
    };
    MeasureMerge(session, "merge of 10,000 settings policies", largeMemory);
    // As much work as the other side: what a large merge leaves of the heap is not the first small one's fault.
    const auto ten = [&] {
        double seconds = 0;
        for (int i = 0; i < 10; ++i) seconds += smallMemory.Merge();
        return seconds / 10;
    };
    add("merge, tenfold", RunPairs(
                              session.Choose(15, 1), [&] { return largeMemory.Merge(); }, ten));
    add("rebuild, tenfold", RunPairs(
                                session.Choose(5, 1), [&] { return Rebuild(large); }, [&] { return Rebuild(small); }));
    add("install of all at once, tenfold",
        RunPairs(
            session.Choose(5, 1), [&] { return InstallAll(large); }, [&] { return InstallAll(small); }));
}

}  // namespace

void MeasureSettings(Session& session) {
    const int policies = session.Choose(1000, 5);
    SettingsRoot apart(policies, Settings::Apart);
    const Memory memory(apart);
    MeasureMerge(session, "merge of 1,000 settings policies", memory);
    MeasureMerge(session, "merge of 1,000 that disagree", Memory(SettingsRoot(policies, Settings::Disagree)));
    MeasureTenfold(session, apart);
    Changing changing(apart);
    MeasureNoChange(session, changing, memory);
    MeasureOne(session, changing, "");
    apart.Sign();
    Changing changingSigned(apart);
    MeasureOne(session, changingSigned, ", signed");
}

}  // namespace bench
