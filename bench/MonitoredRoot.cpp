#include "MonitoredRoot.h"

#include <chrono>
#include <filesystem>
#include <future>
#include <optional>
#include <stdexcept>
#include <utility>

#include "Documents.h"
#include "LumConfCluster/ClusterMonitor.h"
#include "TestPolicy.h"

namespace bench {
namespace {

using LumConfCluster::Applications;

constexpr const char* kSettings =
    "[conf.cluster]\nCLUSTER_LOCAL_NODENAME=system0\nCLUSTER_TYPE=VERITAS Cluster Server (VCS)\n"
    "POLLING_INTERVAL=1\nMONITOR_MODE=true\n";
constexpr const char* kApplications =
    "<APMClusterConfiguration><Application><Name>shop</Name><Instance><Name>one</Name><Package>group0</Package>"
    "</Instance></Application></APMClusterConfiguration>";

void WriteBelow(const std::string& root, const std::string& name, const std::string& text) {
    const std::string path = root + "/" + name;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    WriteFile(path, text);
}

void WritePolicy(const std::string& root, const std::string& id, const std::string& attribute = "") {
    TestPolicy policy;
    policy.id = policy.name = id;
    policy.status = "disabled";
    if (!attribute.empty()) policy.attributes.emplace_back(attribute, "");
    policy.WriteFiles(root + "/policies/files");
}

/// A cycle lasts from the end of one call of Seen to the beginning of the next one; a millisecond of it is its
/// interval.
class TimedMonitor : public LumConfCluster::ClusterMonitor {
public:
    TimedMonitor(int count, std::function<double()> reference) : left(count + 1), reference(std::move(reference)) {}
    void Done(bool success) override {
        ClusterMonitor::Done(success);
        ended.set_value();
    }
    Pairs Wait() {
        ended.get_future().wait();
        Stop();
        if (left > 0) throw std::runtime_error("the monitor has ended");
        return pairs;
    }

protected:
    void Seen(const Applications&, Look) override {
        if (begun) TakePair(std::chrono::duration<double>(Clock::now() - *begun).count());
        if (left == 0) Stop();
        begun = Clock::now();
    }

private:
    using Clock = std::chrono::steady_clock;

    void TakePair(double cycle) {
        const double beside = reference();
        --left;
        if (!std::exchange(isWarm, true)) return;
        pairs.measured.push_back(cycle);
        pairs.reference.push_back(beside);
    }

    int left;
    const std::function<double()> reference;
    bool isWarm = false;
    std::optional<Clock::time_point> begun;
    Pairs pairs;
    std::promise<void> ended;
};

}  // namespace

void FillMonitoredRoot(const std::string& root, int groups) {
    WriteBelow(root, "etc/pal/config/local_settings.ini", kSettings);
    std::string listed;
    for (int i = 0; i < groups; ++i) {
        const std::string number = std::to_string(i);
        WritePolicy(root, "named" + number, "HARG:group" + number);
        WritePolicy(root, "listed" + number);
        listed += "<Template>listed" + number + "</Template>";
    }
    WriteBelow(root, "conf/conf/apminfo.xml", kApplications);
    WriteBelow(root, "bin/instrumentation/conf/shop.apm.xml",
               "<APMApplicationConfiguration><Application>" + listed + "</Application></APMApplicationConfiguration>");
}

Pairs MeasureCycles(int count, const std::function<double()>& reference) {
    TimedMonitor monitor(count, reference);
    monitor.Start();
    return monitor.Wait();
}

}  // namespace bench
