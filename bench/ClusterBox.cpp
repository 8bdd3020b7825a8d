#include "ClusterBox.h"

#include <stdlib.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <iterator>
#include <sstream>
#include <stdexcept>

#include "BareTools.h"
#include "LumConfCluster/Cluster.h"
#include "MonitoredRoot.h"
#include "TempRoot.h"
#include "ToolCalls.h"

namespace bench {
namespace {

namespace fs = std::filesystem;

fs::path Self() {
    return fs::read_symlink("/proc/self/exe");
}

std::string BuildFolder() {
    return Self().parent_path().parent_path();
}

std::string CallsFile() {
    return std::string(std::getenv("LUM_ROOT")) + "/calls";
}

long CountCalls() {
    std::ifstream file(CallsFile());
    return std::count(std::istreambuf_iterator<char>(file), {}, '\n');
}

/// Both sides must have run as many tools, else the ratio says nothing.
void CompareCalls(const std::function<void()>& measured, const std::function<void()>& reference) {
    const long before = CountCalls();
    measured();
    const long between = CountCalls();
    reference();
    if (between - before != CountCalls() - between) {
        throw std::runtime_error("the reference does not run as many tools as what is measured");
    }
}

Pairs Compare(int count, const std::function<void()>& measured, const std::function<void()>& reference) {
    CompareCalls(measured, reference);
    return RunPairs(
        count, [&] { return Seconds(measured); }, [&] { return Seconds(reference); });
}

Pairs CompareGroups(int systems, int groups, int count) {
    const LumConfCluster::Cluster cluster;
    return Compare(
        count, [&] { cluster.GetGroups(); }, [&] { RunBareGroups(systems, groups); });
}

/// The tools that this runs, in their order.
std::vector<std::vector<std::string>> ToolsOf(const std::function<void()>& work) {
    const long before = CountCalls();
    work();
    return ReadToolCalls(CallsFile(), before);
}

/// For any product: the reference runs what was run for the groups once.
Pairs CompareReplay(int count) {
    const LumConfCluster::Cluster cluster;
    const auto groups = [&] { cluster.GetGroups(); };
    const auto tools = ToolsOf(groups);
    return Compare(count, groups, [&] { std::for_each(tools.begin(), tools.end(), RunBare); });
}

/// Takes minutes: the tools of all pairs, and of the look before them, are counted in the end.
Pairs CompareCycle(const ClusterTask& task) {
    const auto reference = [&] { RunBareCycle(task.cluster.systems, task.cluster.groups); };
    const long before = CountCalls();
    const Pairs pairs = MeasureCycles(task.pairs, [&] { return Seconds(reference); });
    const long all = CountCalls() - before, runs = 1 + 2 * (task.pairs + 1);
    if (all != runs * CountBareCycle(task.cluster.systems, task.cluster.groups)) {
        throw std::runtime_error("a cycle does not run as many tools as the reference");
    }
    return pairs;
}

std::string Program() {
    return BuildFolder() + "/tools/lumclusterinfo";
}

void AskForName() {
    RunBare({Program(), "-cluster", "-name"});
}

void RunToolsOfName() {
    RunBare({"/bin/uname", "-n"});
    RunBare({"/opt/VRTSvcs/bin/haclus", "-value", "ClusterName"});
}

/// The reference starts the program too, which asks nothing then.
Pairs CompareName(int count) {
    return Compare(count, AskForName, [] {
        RunBare({Program(), "-version"});
        RunToolsOfName();
    });
}

Pairs Run(const ClusterTask& task) {
    const std::string name = task.name;
    if (name == "cycle") return CompareCycle(task);
    if (name == "groups") return CompareGroups(task.cluster.systems, task.cluster.groups, task.pairs);
    if (name == "replay") return CompareReplay(task.pairs);
    return name == "name" ? CompareName(task.pairs) : Compare(task.pairs, AskForName, RunToolsOfName);
}

}  // namespace

std::string ClusterSimulator() {
    return BuildFolder() + "/tests/lumclustersim";
}

Pairs MeasureInCluster(const ClusterTask& task) {
    std::string folder = "/tmp/lumbench-XXXXXX";
    if (!mkdtemp(folder.data())) throw std::runtime_error("cannot make a folder");
    DescribeCluster(folder + "/cluster.json", task.cluster);
    if (task.name == std::string("cycle")) FillMonitoredRoot(folder, task.cluster.groups);
    std::ostringstream command;
    command << "LUM_ROOT='" << folder << "' LANG=C LC_ALL=C '" << ClusterSimulator() << "' '" << folder << "' '"
            << Self().string() << "' --in-cluster " << task.name << " " << task.cluster.systems << " "
            << task.cluster.groups << " " << task.pairs << " >'" << folder << "/pairs'";
    const int status = std::system(command.str().c_str());
    Pairs pairs;
    std::ifstream file(folder + "/pairs");
    for (double measured, reference; file >> measured >> reference;) {
        pairs.measured.push_back(measured);
        pairs.reference.push_back(reference);
    }
    fs::remove_all(folder);
    if (status != 0 || pairs.measured.empty()) throw std::runtime_error("nothing was measured in the cluster");
    return pairs;
}

int RunInCluster(char** arguments) {
    const Pairs pairs =
        Run({arguments[0], {std::stoi(arguments[1]), std::stoi(arguments[2])}, std::stoi(arguments[3])});
    for (std::size_t i = 0; i < pairs.measured.size(); ++i) {
        std::cout << pairs.measured[i] << " " << pairs.reference[i] << "\n";
    }
    return 0;
}

}  // namespace bench
