// The power goes at every flush of every change, and right after its answer: a real file system without a battery.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/ioctl.h>
#include <sys/ioctl.h>

#include "ForkedProcess.h"
#include "Mounts.h"
#include "StoreChanges.h"

namespace {

namespace fs = std::filesystem;

// ext4's own ioctl stops the file system at once, with what its journal has not yet written: a power cut.
#define LUM_EXT4_SHUTDOWN _IOR('X', 125, __u32)
constexpr __u32 kWithoutFlushingTheJournal = 2;
constexpr int kCutCode = 43;

void Run(const std::string& command) {
    if (std::system((command + " 2>&1").c_str()) != 0) throw std::runtime_error("failed: " + command);
}

/// A disk image with ext4 that is mounted in a mount namespace of this process.
class Disk {
public:
    Disk() : folder("/dev/shm/lumpower-XXXXXX") {
        MakeMountsPrivate();
        if (!mkdtemp(folder.data())) throw std::runtime_error("cannot make a folder");
        fs::create_directory(Mounted());
        Run("truncate -s 16M " + folder + "/empty && mkfs.ext4 -q " + folder + "/empty");
    }
    ~Disk() {
        Unmount();
        fs::remove_all(folder);
    }
    Disk(const Disk&) = delete;
    Disk& operator=(const Disk&) = delete;

    std::string Root() const { return Mounted() + "/node"; }
    const std::string& Folder() const { return folder; }
    /// Puts the image of that name in, or an empty one.
    void Insert(const std::string& image) {
        Unmount();
        Run("cp --sparse=always " + folder + "/" + image + " " + folder + "/disk");
        Mount();
    }
    void SaveAs(const std::string& image) {
        Unmount();
        Run("cp --sparse=always " + folder + "/disk " + folder + "/" + image);
    }
    void Cut() const {
        __u32 how = kWithoutFlushingTheJournal;
        const int descriptor = open(Mounted().c_str(), O_RDONLY | O_CLOEXEC);
        if (descriptor < 0 || ioctl(descriptor, LUM_EXT4_SHUTDOWN, &how) != 0) _exit(3);
        close(descriptor);
    }
    /// Power is back.
    void Restart() {
        Unmount();
        Mount();
    }

private:
    std::string Mounted() const { return folder + "/mounted"; }
    void Mount() {
        // The journal is never written by itself meanwhile.
        Run("mount -o loop,commit=300 " + folder + "/disk " + Mounted());
        mounted = true;
    }
    void Unmount() {
        if (mounted) Run("umount " + Mounted());
        mounted = false;
    }

    std::string folder;
    bool mounted = false;
};

/// Cuts the power of a disk before its n-th flush from now, and with it the process.
class CuttingFlushes {
public:
    static void Start(const Disk& cut, int nth) {
        disk = &cut;
        left = nth;
        LumPalIo::SetFaultHookForTest(Hook);
    }

private:
    static bool Hook(const char* operation, const char*) {
        const std::string_view what = operation;
        if ((what != "fsync" && what != "syncfs") || --left > 0) return false;
        disk->Cut();
        _exit(kCutCode);
    }

    inline static const Disk* disk = nullptr;
    inline static int left = 0;
};

Disk& TheDisk() {
    static Disk disk;
    return disk;
}

/// A node lives in a process of its own.
int InProcess(const std::function<void()>& action) {
    ForkedProcess process(action);
    return process.Wait();
}

class PowerCut : public testing::TestWithParam<StoreChangeCase> {
protected:
    PowerCut() {
        disk.Insert("empty");
        EXPECT_EQ(InProcess([this] { PrepareNode(disk.Root(), GetParam()); }), 0);
        disk.SaveAs("prepared");
    }

    /// @return the number of the tree that a restart finds; -1 for none of those allowed
    int FoundTree() {
        disk.Restart();
        const int code = InProcess([this] {
            const std::vector<NodeTree> allowed = AllowedTrees(disk.Folder(), GetParam());
            const NodeTree found = TreeAfterRestart(disk.Root());
            for (std::size_t i = 0; i < allowed.size(); ++i) {
                if (allowed[i] == found) _exit(static_cast<int>(100 + i));
            }
            throw std::runtime_error("neither old nor new; to the old one:\n" + Difference(allowed.front(), found) +
                                     "to the new one:\n" + Difference(allowed.back(), found));
        });
        return code >= 100 ? code - 100 : -1;
    }
    int LastTree() const { return static_cast<int>(GetParam().steps.empty() ? 1 : GetParam().steps.size()); }

    Disk& disk = TheDisk();
};

TEST_P(PowerCut, AtAnyFlushLeavesTheOldPolicyOrTheNewOneAndNothingElse) {
    for (int nth = 1, code = kCutCode; code == kCutCode && !HasFailure(); ++nth) {
        disk.Insert("prepared");
        code = InProcess([&] {
            NodeAt node(disk.Root());
            CuttingFlushes::Start(disk, nth);
            GetParam().action(node);
            disk.Cut();
            _exit(0);
        });
        EXPECT_TRUE(code == 0 || code == kCutCode) << code;
        SCOPED_TRACE(code == 0 ? "after the answer" : "at flush " + std::to_string(nth));
        const int tree = FoundTree();
        EXPECT_GE(tree, 0);
        if (code == 0) {
            EXPECT_EQ(tree, LastTree()) << "what was answered is there";
        }
    }
}

/// Runs a program of the build for the node on the disk.
void RunTool(const std::string& command) {
    Run("cd " + TheDisk().Folder() + " && LUM_ROOT=" + TheDisk().Root() + " " + std::getenv("LUM_BUILD") + "/tools/" +
        command + " >" + TheDisk().Folder() + "/output");
}

TEST(PowerCut, RightAfterAChangeOfTrustTakesNothingOfItBack) {
    ASSERT_TRUE(std::getenv("LUM_BUILD")) << "names the folder of the build whose programs are tried";
    Disk& disk = TheDisk();
    disk.Insert("empty");
    fs::create_directory(disk.Root());
    RunTool("lumtrust init authority");
    const std::string authority = "authority/demonstration-authority.pem";
    for (const std::string& command :
         {"trust " + authority, std::string("request --core-id node-1 --host localhost -o node-1.csr"),
          std::string("issue authority node-1.csr -o node-1.pem"), std::string("install node-1.pem"),
          std::string("grant operator install list"), std::string("revoke operator install"),
          std::string("revoke operator"), std::string("untrust demonstration-authority")}) {
        SCOPED_TRACE(command);
        RunTool("lumtrust " + command);
        const NodeTree answered = TreeOf(disk.Root());
        disk.Cut();
        disk.Restart();
        EXPECT_EQ(Difference(answered, TreeOf(disk.Root())), "");
    }
}

std::string NameOf(const testing::TestParamInfo<StoreChangeCase>& info) {
    std::string name = info.param.what;
    for (std::size_t i = 0; i < name.size(); ++i) {
        if (name[i] == ' ' && i + 1 < name.size()) name[i + 1] = static_cast<char>(std::toupper(name[i + 1]));
    }
    std::erase_if(name, [](char c) { return !std::isalnum(static_cast<unsigned char>(c)); });
    return name;
}

INSTANTIATE_TEST_SUITE_P(Every, PowerCut, testing::ValuesIn(AllStoreChanges()), NameOf);

}  // namespace
