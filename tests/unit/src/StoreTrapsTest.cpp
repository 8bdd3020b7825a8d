// Files and folders that somebody has exchanged behind the node's back: what lies elsewhere stays as it is.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string_view>
#include <utility>

#include "Exceptions.h"
#include "Files.h"
#include "LumPalFault.h"
#include "PolicyNode.h"

namespace LumConf {
namespace {

namespace fs = std::filesystem;

TestPolicy Policy(const std::string& version) {
    TestPolicy policy;
    policy.version = version;
    policy.data = {{"one", "one of " + version}, {"two", "two of " + version}};
    return policy;
}

class StoreTraps : public testing::Test {
protected:
    StoreTraps() { node.Install(Policy("1")); }
    fs::path Type() const { return node.InstallFolder() + "/files"; }
    fs::path Outside() const { return node.Root().Native() + "/outside"; }

    PolicyNode node;
};

/// Exchanges a folder for a link to another one at the first operation of a kind on it or on a file in it.
class Exchange {
public:
    Exchange(const fs::path& folder, const fs::path& target, const std::string& when) {
        from = folder;
        to = target;
        operation = when;
        LumPalIo::SetFaultHookForTest(Hook);
    }
    ~Exchange() { LumPalIo::SetFaultHookForTest(nullptr); }
    Exchange(const Exchange&) = delete;
    Exchange& operator=(const Exchange&) = delete;

private:
    static bool Hook(const char* asked, const char* path) {
        const bool concerned = path == from || fs::path(path).parent_path() == from;
        if (asked != operation || !concerned || fs::is_symlink(from)) return false;
        fs::rename(from, from.native() + ".moved");
        fs::create_directory_symlink(to, from);
        return false;
    }

    inline static fs::path from, to;
    inline static std::string operation;
};

TEST_F(StoreTraps, ATypeFolderThatBecomesALinkDuringAnInstallLeadsNowhere) {
    for (const char* operation : {"unlink", "chmod", "fsync"}) {
        SCOPED_TRACE(operation);
        fs::create_directories(Outside());
        for (const char* name : {"one", "two", "p1_header.xml"}) WriteText(Outside() / name, "not the store's");
        {
            const Exchange exchange(Type(), Outside(), operation);
            try {
                node.Install(Policy("2"));
            } catch (const LumPalMsg::Exception_t&) {
                // That it fails is right; where it cannot tell it may succeed in the folder that it had.
            }
        }
        for (const char* name : {"one", "two", "p1_header.xml"}) {
            EXPECT_EQ(ReadText(Outside() / name), "not the store's") << name;
            EXPECT_EQ(ModeOf(Outside() / name) & 0200, 0200u) << name;
        }
        ASSERT_TRUE(fs::is_symlink(Type())) << "it was exchanged";
        fs::remove(Type());
        fs::rename(Type().native() + ".moved", Type());
        node.Restart();
    }
}

TEST_F(StoreTraps, ATypeFolderThatBecomesALinkDuringARemovalLeadsNowhere) {
    fs::create_directories(Outside());
    WriteText(Outside() / "two", "not the store's");
    WriteText(Outside() / "p1_header.xml", "not the store's");
    {
        const Exchange exchange(Type(), Outside(), "unlink");
        EXPECT_THROW(node.Remove(Selection()), PolicyException);
    }
    EXPECT_EQ(ReadText(Outside() / "two"), "not the store's");
    EXPECT_EQ(ReadText(Outside() / "p1_header.xml"), "not the store's");
    fs::remove(Type());
}

TEST_F(StoreTraps, AHardLinkedHeaderOrDataFileKeepsItsModeElsewhereAndIsReplacedHere) {
    fs::create_directories(Outside());
    for (const char* name : {"one", "p1_header.xml"}) {
        fs::create_hard_link(Type() / name, Outside() / name);
        fs::permissions(Outside() / name, fs::perms(0644));
    }
    const std::string header = ReadText(Outside() / "p1_header.xml");
    node->SetStatus("tester", Selection(), PolicyOperation::Disable, PolicyForwarder::Options().SetNotify(false));
    node.Install(Policy("2"));
    EXPECT_EQ(ModeOf(Outside() / "one"), 0644u);
    EXPECT_EQ(ModeOf(Outside() / "p1_header.xml"), 0644u);
    EXPECT_EQ(ReadText(Outside() / "one"), "one of 1");
    EXPECT_EQ(ReadText(Outside() / "p1_header.xml"), header);
    EXPECT_EQ(node.InstalledContent("files/one"), "one of 2");
    EXPECT_EQ(ModeOf(Type() / "one"), 0440u);
    fs::remove_all(Outside());
    fs::create_directories(Outside());
    fs::create_hard_link(Type() / "one", Outside() / "one");
    node.Remove(Selection());
    EXPECT_EQ(ModeOf(Outside() / "one"), 0440u);
    EXPECT_EQ(ReadText(Outside() / "one"), "one of 2");
}

TEST_F(StoreTraps, AFileThatIsPutIntoTheIncomingFolderUnderASecondNameIsNotInstalled) {
    // A stranger's file under the name of one that the request brings: the request's own takes its place.
    WriteText(Outside() / "secret", "secret");
    fs::create_hard_link(Outside() / "secret", node.IncomingFolder() + "/one");
    node.Install(Policy("2"));
    EXPECT_EQ(node.InstalledContent("files/one"), "one of 2");
    EXPECT_EQ(ReadText(Outside() / "secret"), "secret");
    EXPECT_EQ(ModeOf(Outside() / "secret") & 0600, 0600u);
}

/// Does something once, at the first operation of a kind on a file whose path holds a text.
class Meanwhile {
public:
    Meanwhile(const std::string& operation, const std::string& text, std::function<void(const std::string&)> step) {
        when = operation;
        part = text;
        act = std::move(step);
        LumPalIo::SetFaultHookForTest(Hook);
    }
    ~Meanwhile() { LumPalIo::SetFaultHookForTest(nullptr); }
    Meanwhile(const Meanwhile&) = delete;
    Meanwhile& operator=(const Meanwhile&) = delete;
    static bool HasHappened() { return !act; }

private:
    static bool Hook(const char* asked, const char* path) {
        if (act && asked == when && std::string_view(path).find(part) != std::string_view::npos)
            std::exchange(act, nullptr)(path);
        return false;
    }

    inline static std::string when, part;
    inline static std::function<void(const std::string&)> act;
};

TEST_F(StoreTraps, AWaitingFileThatIsGivenASecondNameIsRefusedWhileWhatIsInstalledIsWhole) {
    fs::create_directories(Outside());
    CaughtFailure failure;
    {
        const Meanwhile linked("open", "/conf_tmp/two", [this](const std::string&) {
            fs::create_hard_link(node.IncomingFolder() + "/one", Outside() / "mine");
        });
        failure = FailureOf<PolicyFileException>([this] { node.Install(Policy("2")); });
        ASSERT_TRUE(linked.HasHappened());
    }
    EXPECT_EQ(failure.id, 107u) << failure.text;
    EXPECT_THAT(failure.text, testing::HasSubstr(node.IncomingFolder() + "/one"));
    EXPECT_EQ(node.Get("p1").GetVersion(), "1");
    for (const char* name : {"one", "two"}) {
        EXPECT_EQ(node.InstalledContent(std::string("files/") + name), std::string(name) + " of 1");
    }
    node.Restart();
    EXPECT_EQ(node.Get("p1").GetVersion(), "1");
}

TEST_F(StoreTraps, ATemporaryDocumentWhoseNameBecomesALinkLeadsNowhereAndCostsNothing) {
    fs::create_directories(Outside());
    WriteText(Outside() / "victim", "not the store's");
    const fs::perms mode = fs::status(Outside() / "victim").permissions();
    // Behind the making of the file, and behind the whole new document.
    const std::pair<const char*, const char*> rows[] = {{"chmod", "2"}, {"fsync", "3"}};
    for (const auto& [operation, brought] : rows) {
        SCOPED_TRACE(operation);
        {
            const Meanwhile exchanged(operation, "/tmp/conf_tmp/POL", [this](const std::string& path) {
                fs::remove(path);
                fs::create_symlink(Outside() / "victim", path);
            });
            try {
                node.Install(Policy(brought));
            } catch (const LumPalMsg::Exception_t&) {
            }
            ASSERT_TRUE(exchanged.HasHappened());
        }
        EXPECT_EQ(ReadText(Outside() / "victim"), "not the store's");
        EXPECT_EQ(fs::status(Outside() / "victim").permissions(), mode);
        node.Restart();
        const std::string version = node.Get("p1").GetVersion().ToUtf8();
        EXPECT_EQ(node.InstalledContent("files/one"), "one of " + version);
        EXPECT_EQ(node.InstalledContent("files/two"), "two of " + version);
    }
}

TEST_F(StoreTraps, WorkFoldersThatAreRemovedWhileTheNodeRunsAreMadeAnew) {
    for (const std::string& folder : {node.IncomingFolder(), node.TemporaryFolder()}) {
        SCOPED_TRACE(folder);
        fs::remove_all(folder);
        node.Install(Policy("2"));
        EXPECT_TRUE(fs::is_directory(folder));
    }
    fs::remove_all(node.Root().Native() + "/spool");
    node.Install(Policy("3"));
    EXPECT_EQ(node.Get("p1").GetVersion(), "3");
    fs::remove_all(node.Root().Native() + "/spool");
    node.Remove(Selection());
    EXPECT_EQ(node.Ids(), "");
}

}  // namespace
}  // namespace LumConf
