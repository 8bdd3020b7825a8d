#include "MonitoredRoot.h"

#include <filesystem>
#include <stdexcept>

#include "Documents.h"
#include "PolicyOperation.h"
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

MonitoredRoot::MonitoredRoot()
    : cycle(running, {clusterType, pollingInterval, monitorMode},
            {[this] { running = false; }, &LumConf::PolicyOperation::GetInstance, [](std::uint32_t) {},
             [](const Applications&) {}}) {
    cycle.Begin();
}

void MonitoredRoot::RunCycle() {
    cycle.Step();
    if (!running) throw std::runtime_error("the monitor has ended");
}

}  // namespace bench
