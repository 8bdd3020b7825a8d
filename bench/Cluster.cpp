// What asking a cluster costs beside the tools of its product.
#include "Benchmarks.h"
#include "ClusterBox.h"

namespace bench {

void MeasureCluster(Session& session) {
    const int systems = session.Choose(8, 2), groups = session.Choose(50, 2);
    const Pairs all = MeasureInCluster({"groups", systems, groups, session.Choose(7, 1)});
    session.Add({"50 groups on 8 systems", all.Ratios(), 1.1, Times(all)});
    const int starts = session.Choose(101, 1);
    const Pairs name = MeasureInCluster({"name", systems, groups, starts});
    session.Add({"lumclusterinfo -cluster -name", name.Ratios(), 1.3, Times(name)});
    const Pairs tools = MeasureInCluster({"tools", systems, groups, starts});
    session.Add({"the same to its tools alone", tools.Ratios(), {}, Times(tools)});
}

}  // namespace bench
