#include "IdleDaemon.h"

#include <stdlib.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <thread>

#include "ChildServer.h"
#include "ClusterBox.h"
#include "Documents.h"

namespace bench {
namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;

std::string ReadFile(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// A folder that is the cluster's and the daemon's; it goes with the object.
class Folder {
public:
    Folder() : path("/tmp/lumbench-XXXXXX") {
        if (!mkdtemp(path.data())) throw std::runtime_error("cannot make a folder");
    }
    ~Folder() { fs::remove_all(path); }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    const std::string& Path() const { return path; }

private:
    std::string path;
};

void WriteSettings(const std::string& root, unsigned port) {
    const std::string folder = root + "/etc/pal/config";
    fs::create_directories(folder);
    WriteFile(folder + "/local_settings.ini",
              "[vox.http.ext.conf]\nSERVER_PORT=" + std::to_string(port) +
                  "\n[conf.cluster]\nCLUSTER_LOCAL_NODENAME=system0\nPOLLING_INTERVAL=3600000\n");
}

/// The daemon whose root is this folder; it runs below the program that made its box.
fs::path DaemonOf(const std::string& root) {
    for (const auto& entry : fs::directory_iterator("/proc")) {
        if (ReadFile(entry.path() / "comm") != "lumconfd\n") continue;
        if (ReadFile(entry.path() / "environ").find("LUM_ROOT=" + root) != std::string::npos) return entry.path();
    }
    throw std::runtime_error("the daemon does not run");
}

double ProcessorSecondsOf(const fs::path& process) {
    double seconds = 0;
    for (const auto& thread : fs::directory_iterator(process / "task")) {
        seconds += std::stod("0" + ReadFile(thread.path() / "schedstat")) / 1e9;
    }
    return seconds;
}

/// Its start and its first cycle are over when it runs no tool any more.
void WaitForTheFirstCycle(const std::string& folder) {
    constexpr int kQuiet = 20, kMost = 600;
    std::uintmax_t before = 0;
    for (int i = 0, quiet = 0; i < kMost; ++i) {
        const std::uintmax_t now = fs::file_size(folder + "/calls");
        quiet = now > 0 && now == before ? quiet + 1 : 0;
        if (quiet == kQuiet) return;
        before = now;
        std::this_thread::sleep_for(milliseconds(50));
    }
    throw std::runtime_error("the first cycle does not end");
}

double ShareOf(const fs::path& process, milliseconds time) {
    const double before = ProcessorSecondsOf(process);
    const double passed = Seconds([&] { std::this_thread::sleep_for(time); });
    return (ProcessorSecondsOf(process) - before) / passed;
}

}  // namespace

std::vector<double> SharesBetweenCycles(int times, int time) {
    const Folder folder;
    const unsigned port = FreePort();
    DescribeCluster(folder.Path() + "/cluster.json", {2, 2});
    WriteSettings(folder.Path(), port);
    const std::string daemon = fs::read_symlink("/proc/self/exe").parent_path().parent_path() / "tools/lumconfd";
    const ChildServer server({ClusterSimulator(), folder.Path(), daemon}, {{"LUM_ROOT", folder.Path()}},
                             folder.Path() + "/lumconfd.out", port);
    WaitForTheFirstCycle(folder.Path());
    const fs::path process = DaemonOf(folder.Path());
    std::vector<double> shares;
    for (int i = 0; i < times; ++i) shares.push_back(ShareOf(process, milliseconds(time)));
    return shares;
}

}  // namespace bench
