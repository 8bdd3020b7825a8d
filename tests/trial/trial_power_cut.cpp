// The power goes at every flush of every change, and right after its answer: a real file system without a battery.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/ioctl.h>
#include <sys/ioctl.h>

#include "ForkedProcess.h"
#include "LumSecCore.h"
#include "Mounts.h"
#include "StoreChanges.h"
#include "TracedProgram.h"

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
    int cuts = 0;
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
        cuts += code == kCutCode;
        SCOPED_TRACE(code == 0 ? "after the answer" : "at flush " + std::to_string(nth));
        const int tree = FoundTree();
        EXPECT_GE(tree, 0);
        if (code == 0) {
            EXPECT_EQ(tree, LastTree()) << "what was answered is there";
        }
    }
    EXPECT_GT(cuts, 0);
}

using Words = std::vector<std::string>;

/// Runs a tool of the build for the node on the disk, stopped at each of its flushes.
/// @return its exit code; -1 when it was ended
int RunTool(Words words, const std::function<bool(int)>& atFlush) {
    TracedProgram tool([&] {
        const std::string program = std::string(std::getenv("LUM_BUILD")) + "/tools/" + words[0];
        std::vector<char*> arguments;
        for (std::string& word : words) arguments.push_back(word.data());
        arguments.push_back(nullptr);
        setenv("LUM_ROOT", TheDisk().Root().c_str(), 1);
        const int output = chdir(TheDisk().Folder().c_str()) == 0 ? open("output", O_CREAT | O_WRONLY, 0600) : -1;
        if (dup2(output, STDOUT_FILENO) < 0) _exit(2);
        execv(program.c_str(), arguments.data());
    });
    return tool.Run(atFlush);
}

int RunTool(const Words& words) {
    return RunTool(words, [](int) { return true; });
}

/// The changes of trust that an operator makes of an empty node, one after another.
const std::vector<Words>& TrustChanges() {
    static const std::vector<Words> changes{
        {"lumtrust", "trust", "authority/demonstration-authority.pem"},
        {"lumtrust", "request", "--core-id", "node-1", "--host", "localhost", "-o", "node-1.csr"},
        {"lumtrust", "issue", "authority", "node-1.csr", "-o", "node-1.pem"},
        {"lumtrust", "install", "node-1.pem"},
        {"lumtrust", "request", "--core-id", "node-1", "--host", "localhost", "-o", "again.csr"},
        {"lumtrust", "issue", "authority", "again.csr", "-o", "again.pem"},
        {"lumtrust", "install", "again.pem"},
        {"lumtrust", "request", "--core-id", "node-2", "-o", "node-2.csr"},
        {"lumtrust", "withdraw", "--core-id", "node-2"},
        {"lumtrust", "grant", "operator", "install", "list"},
        {"lumtrust", "revoke", "operator", "install"},
        {"lumtrust", "revoke", "operator"},
        {"lumtrust", "untrust", "demonstration-authority", "--force"}};
    return changes;
}

std::string TextOf(const Words& words) {
    std::string text;
    for (const std::string& word : words) text += word + " ";
    return text;
}

class PowerCutOfTrust : public testing::Test {
protected:
    PowerCutOfTrust() {
        if (!std::getenv("LUM_BUILD")) throw std::runtime_error("LUM_BUILD names the build whose programs are tried");
        disk.Insert("empty");
        fs::create_directory(disk.Root());
        fs::remove_all(disk.Folder() + "/authority");
        EXPECT_EQ(RunTool({"lumtrust", "init", "authority"}), 0);
    }

    Disk& disk = TheDisk();
};

TEST_F(PowerCutOfTrust, RightAfterAChangeTakesNothingOfItBack) {
    for (const Words& change : TrustChanges()) {
        SCOPED_TRACE(TextOf(change));
        EXPECT_EQ(RunTool(change), 0);
        const NodeTree answered = TreeOf(disk.Root());
        disk.Cut();
        disk.Restart();
        EXPECT_EQ(Difference(answered, TreeOf(disk.Root())), "");
    }
}

/// Whether the node on the disk finds a key for its certificate, wherever the change of both was interrupted.
bool HasUsablePair() {
    return InProcess([] {
               LumPalRuntime::Dir_t::SetRoot(LumPalStr::String_t::FromUtf8(TheDisk().Root()));
               LumSecCore::OwnPair::Load("node-1");
           }) == 0;
}

/// What the node on the disk trusts, and as whom it is known: its files. What a run left aside the next one removes, or
/// the daemon's start; a key is another one in each run, and may wait elsewhere as long as it is found.
NodeTree Trust() {
    NodeTree tree = TreeOf(TheDisk().Root());
    const bool hasIdentity = tree.count("etc/keystore/own/node-1.pem") > 0;
    std::erase_if(tree, [&](const auto& entry) {
        const auto& [path, what] = entry;
        return what.ends_with(" folder") || path.find("/.lumtrust") != std::string::npos ||
               path.ends_with(".ini.tmp") || (hasIdentity && path.ends_with(".key"));
    });
    for (auto& [path, what] : tree)
        if (path.ends_with(".key") && what.ends_with("-----END PRIVATE KEY-----\n")) what = "a whole key";
    if (hasIdentity) tree["the key"] = HasUsablePair() ? "found" : "lost";
    return tree;
}

/// The settings name an identity when all of it is there: until then they are the old ones.
NodeTree BeforeSettings(const NodeTree& before, NodeTree after) {
    const std::string settings = "etc/pal/config/local_settings.ini";
    after.erase(settings);
    if (before.count(settings)) after[settings] = before.at(settings);
    return after;
}

/// Cuts the power at the n-th flush of a change. @return whether it had so many
bool CutAtFlush(const Words& change, int nth) {
    TheDisk().Insert("before");
    const int code = RunTool(change, [nth](int flush) {
        if (flush == nth) TheDisk().Cut();
        return flush != nth;
    });
    EXPECT_TRUE(code == 0 || code == -1) << code;
    if (code != 0) TheDisk().Restart();
    return code != 0;
}

TEST_F(PowerCutOfTrust, AtAnyFlushOfAChangeLeavesTheOldTrustOrTheNewOneWithAKeyThatIsFoundAndTheChangeCanBeRepeated) {
    std::size_t cuts = 0;
    for (const Words& change : TrustChanges()) {
        disk.SaveAs("before");
        disk.Insert("before");
        const NodeTree before = Trust();
        EXPECT_EQ(RunTool(change), 0);
        const NodeTree after = Trust();
        for (int nth = 1; CutAtFlush(change, nth) && !HasFailure(); ++nth) {
            SCOPED_TRACE(TextOf(change) + "at flush " + std::to_string(nth));
            const NodeTree found = Trust();
            EXPECT_TRUE(found == before || found == after || found == BeforeSettings(before, after))
                << Difference(after, found);
            ++cuts;
            RunTool(change);
            EXPECT_EQ(Difference(after, Trust()), "") << "repeated";
        }
        // A request that was made again asks for another key: the next changes go on from the last one.
        disk.Insert("before");
        EXPECT_EQ(RunTool(change), 0);
    }
    EXPECT_GT(cuts, TrustChanges().size());
}

INSTANTIATE_TEST_SUITE_P(Every, PowerCut, testing::ValuesIn(AllStoreChanges()), NameOfChange);

}  // namespace
