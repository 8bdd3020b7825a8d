#include "Box.h"

#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <stdexcept>

#include "Mounts.h"
#include "Product.h"
#include "ToolCall.h"

namespace sim {
namespace {

namespace fs = std::filesystem;

void Check(bool done, const std::string& what) {
    if (!done) throw std::runtime_error(what + ": " + std::strerror(errno));
}

void WriteFile(const std::string& path, const std::string& text) {
    std::ofstream file(path);
    file << text;
    Check(static_cast<bool>(file.flush()), path);
}

// Namespaces.

/// This program. Asked first before the mounts change: afterwards the system may know no path to it.
const fs::path& OwnProgram() {
    static const fs::path path = fs::read_symlink("/proc/self/exe");
    return path;
}

/// Whoever is not root becomes himself in a namespace of users, where he may mount.
void MakeNamespaces() {
    OwnProgram();
    const uid_t user = geteuid();
    const gid_t group = getegid();
    const int users = user == 0 ? 0 : CLONE_NEWUSER;
    Check(unshare(users | CLONE_NEWNS | CLONE_NEWPID | CLONE_NEWUTS) == 0, "no namespaces");
    if (users) {
        WriteFile("/proc/self/setgroups", "deny");
        WriteFile("/proc/self/uid_map", std::to_string(user) + " " + std::to_string(user) + " 1");
        WriteFile("/proc/self/gid_map", std::to_string(group) + " " + std::to_string(group) + " 1");
    }
    Check(KeepMountsToOurselves(), "no mounts of our own");
}

// Tools.

/// Where a tool really stands: folders such as /sbin may be links.
fs::path TrueFolder(const fs::path& path) {
    return fs::weakly_canonical(path.parent_path());
}

/// The first folder of an absolute path, as /opt.
fs::path TopFolder(const fs::path& path) {
    return "/" / *path.relative_path().begin();
}

/// A file system in memory that holds, below "layer", what comes to lie over the system's own folders.
class Layer {
public:
    explicit Layer(const fs::path& folder) : base(folder / "box") {
        fs::create_directory(base);
        Check(mount("lumclustersim", base.c_str(), "tmpfs", MS_NOSUID | MS_NODEV, "mode=755") == 0, base.string());
        WriteFile(Simulator(), "");
        const fs::path& self = OwnProgram();
        Check(mount(self.c_str(), Simulator().c_str(), nullptr, MS_BIND, nullptr) == 0, self.string());
    }
    /// A tool is a link to this program, which finds the cluster's folder by its own path.
    void AddTool(const fs::path& path) { fs::create_symlink(Simulator(), Place(path)); }
    void AddFile(const File& file) {
        const fs::path place = Place(file.path);
        WriteFile(place, file.text);
        fs::permissions(place, fs::perms(0755));
    }
    /// The names of hosts, beside which none is known but localhost.
    void AddHosts(const std::map<std::string, std::string>& hosts) {
        std::string text = "127.0.0.1 localhost\n";
        for (const auto& [name, address] : hosts) text += address + " " + name + "\n";
        WriteFile(Place("/etc/hosts"), text);
    }
    void Mount() const {
        for (const fs::path& top : tops) {
            const std::string options = "lowerdir=" + (base / "layer").string() + top.string() + ":" + top.string();
            Check(mount("lumclustersim", top.c_str(), "overlay", MS_RDONLY, options.c_str()) == 0, top.string());
        }
    }

private:
    std::string Simulator() const { return base / "simulator"; }
    fs::path Place(const fs::path& path) {
        const fs::path folder = TrueFolder(path), place = base / "layer" / folder.relative_path();
        fs::create_directories(place);
        tops.insert(TopFolder(folder));
        return place / path.filename();
    }

    fs::path base;
    std::set<fs::path> tops;
};

void PlaceTools(const fs::path& folder, const Description& cluster) {
    const Product& product = Product::Named(cluster.product);
    const auto isThere = [&](const fs::path& path) {
        return std::count(cluster.missing.begin(), cluster.missing.end(), path.filename()) == 0;
    };
    Layer layer(folder);
    if (isThere(product.DaemonFile())) layer.AddFile({product.DaemonFile(), "#!/bin/sh\n"});
    for (const File& file : cluster.files) layer.AddFile(file);
    for (const ProductTool& tool : product.Tools()) {
        if (isThere(tool.path)) layer.AddTool(tool.path);
    }
    if (!cluster.hosts.empty()) layer.AddHosts(cluster.hosts);
    layer.Mount();
}

// Processes.

void BecomeUser(uid_t user) {
    Check(setgroups(0, nullptr) == 0 && setgid(user) == 0 && setuid(user) == 0, "no such user");
}

[[noreturn]] void RunProgram(const BoxOptions& options) {
    try {
        if (options.user) BecomeUser(*options.user);
        std::vector<char*> words;
        for (const std::string& word : options.command) words.push_back(const_cast<char*>(word.c_str()));
        words.push_back(nullptr);
        execvp(words[0], words.data());
        Check(false, options.command[0]);
    } catch (const std::exception& e) {
        dprintf(STDERR_FILENO, "lumclustersim: %s\n", e.what());
    }
    _exit(kNoBox);
}

int ExitCode(int status) {
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

/// Whoever was told to end may take a moment for it: half a second for all of them.
bool IsAnybodyLeft() {
    for (int i = 0; i < 500; ++i) {
        pid_t ended;
        while ((ended = waitpid(-1, nullptr, WNOHANG)) > 0) {
        }
        if (ended < 0) return false;
        usleep(1000);
    }
    return true;
}

void TellOfThoseLeft(const std::string& folder) {
    if (IsAnybodyLeft()) std::ofstream(folder + "/" + kCallsFile, std::ios::app) << "{\"left\":true}\n";
}

/// The first process of the box: the others end with it, and those that lose their parent become its children.
[[noreturn]] void BeFirst(const BoxOptions& options) {
    signal(SIGTERM, SIG_IGN);
    mount("proc", "/proc", "proc", MS_NOSUID | MS_NODEV | MS_NOEXEC, nullptr);
    const pid_t program = fork();
    if (program == 0) {
        signal(SIGTERM, SIG_DFL);
        RunProgram(options);
    }
    if (program < 0) _exit(kNoBox);
    int status = 0;
    for (pid_t ended = 0; ended != program;) {
        ended = wait(&status);
        if (ended < 0 && errno != EINTR) _exit(kNoBox);
    }
    TellOfThoseLeft(options.folder);
    _exit(ExitCode(status));
}

/// The first process ends with this one, also when that happened before it could ask for it.
void EndWithParent(int aliveAsLongAsOpen) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    pollfd alive{aliveAsLongAsOpen, POLLIN, 0};
    if (poll(&alive, 1, 0) != 0) _exit(kNoBox);
}

int RunFirst(const BoxOptions& options) {
    int alive[2];
    Check(pipe2(alive, O_CLOEXEC) == 0, "no pipe");
    const pid_t first = fork();
    Check(first >= 0, "no process");
    if (first == 0) {
        close(alive[1]);
        EndWithParent(alive[0]);
        BeFirst(options);
    }
    int status = 0;
    while (waitpid(first, &status, 0) < 0 && errno == EINTR) {
    }
    return ExitCode(status);
}

/// Any user of the box may write to it.
void MakeLog(const std::string& path) {
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
    Check(file >= 0, path);
    fchmod(file, 0666);
    close(file);
}

}  // namespace

int RunInBox(const BoxOptions& options) {
    const Description cluster = ReadDescription(options.folder + "/" + kDescriptionFile);
    Product::Named(cluster.product);  // one that is not there is told before anything is made
    MakeLog(options.folder + "/" + kCallsFile);
    MakeNamespaces();
    PlaceTools(options.folder, cluster);
    const std::string& host = options.host.empty() ? cluster.host : options.host;
    if (!host.empty()) Check(sethostname(host.data(), host.size()) == 0, "the name of the host");
    return RunFirst(options);
}

}  // namespace sim
