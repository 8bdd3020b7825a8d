// What asking a cluster and following it costs beside the tools of its product.
#include <optional>
#include <sstream>
#include <vector>

#include "Benchmarks.h"
#include "ClusterBox.h"
#include "IdleDaemon.h"

namespace bench {
namespace {

constexpr double kMostOfACore = 0.001;

constexpr double kMostOfTools = 1.15;

/// The fewer tools a product's groups cost, the more pairs there are.
struct ProductRow {
    const char* product;
    const char* name;
    int pairs;
    std::optional<double> goal = kMostOfTools;
};

// Pacemaker tells all of its groups in one document of each tool. The simulated tools print theirs in a few ms, the
// true ones in a hundred.
constexpr ProductRow kProducts[]{{"vcs", "100 groups of VERITAS", 5},
                                 {"sc", "100 groups of Sun", 5},
                                 {"plsd", "100 groups of Palisade", 15},
                                 {"hacmp", "100 groups of AIX", 101},
                                 {"kes", "100 groups of Kestrel", 101},
                                 {"rhas", "100 groups of Red Hat", 101},
                                 {"pcmk", "100 groups of Pacemaker", 101, std::nullopt}};

void MeasureProducts(Session& session) {
    for (const auto& [product, name, pairs, goal] : kProducts) {
        const MeasuredCluster cluster{session.Choose(3, 2), session.Choose(100, 2), product, true};
        const Pairs groups = MeasureInCluster({"replay", cluster, session.Choose(pairs, 1)});
        session.Add({name, groups.Ratios(), goal, Times(groups)});
    }
}

}  // namespace

void MeasureCluster(Session& session) {
    const int systems = session.Choose(8, 2), groups = session.Choose(50, 2);
    const Pairs all = MeasureInCluster({"groups", {systems, groups}, session.Choose(7, 1)});
    session.Add({"50 groups on 8 systems", all.Ratios(), 1.1, Times(all)});
    const int starts = session.Choose(101, 1);
    const Pairs name = MeasureInCluster({"name", {systems, groups}, starts});
    session.Add({"lumclusterinfo -cluster -name", name.Ratios(), 1.3, Times(name)});
    const Pairs tools = MeasureInCluster({"tools", {systems, groups}, starts});
    session.Add({"the same to its tools alone", tools.Ratios(), {}, Times(tools)});
    MeasureProducts(session);
}

void MeasureMonitor(Session& session) {
    const Pairs cycles =
        MeasureInCluster({"cycle", {session.Choose(8, 2), session.Choose(500, 2)}, session.Choose(2, 1)});
    session.Add({"cycle of 500 groups on 8 systems", cycles.Ratios(), 1.1, Times(cycles)});
    const std::vector<double> shares = SharesBetweenCycles(session.Choose(10, 1), session.Choose(2000, 50));
    std::ostringstream note;
    note << "of a core: " << 100 * Median(shares) << " %";
    std::vector<double> ratios;
    for (const double share : shares) ratios.push_back(share / kMostOfACore);
    session.Add({"daemon between cycles to 0.1 %", ratios, 1.0, note.str()});
}

}  // namespace bench
