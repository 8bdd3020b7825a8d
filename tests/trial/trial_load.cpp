// Many clients at once against one node: the real server, the real clients and the control service in one process.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <set>
#include <sstream>
#include <thread>

#include "ConfigServer.h"
#include "Configure.h"
#include "Consumer.h"
#include "Files.h"
#include "LoadClient.h"
#include "LumCtrl.h"
#include "PolicyOperation.h"
#include "TempRoot.h"

namespace {

namespace fs = std::filesystem;
using load::Shown;
using LumPalStr::String_t;

constexpr int kClients = 8;

int Operations() {
    const char* longTrial = std::getenv("LUM_LONG");
    return longTrial && *longTrial ? 2000 : 200;
}

/// A node that serves the policies of a fresh root.
class Node {
public:
    Node() {
        Configure("conf.server", "AUDIT_LOGGING", "true");
        Configure("vox.http.ext.conf", "SERVER_PORT", "0");
        control.Start();
        server = std::make_unique<LumConf::ConfigServer>();
        server->Start();
        Configure("vox.http.ext.conf", "TARGET_PORT", std::to_string(server->GetPort()).c_str());
    }
    void Stop() {
        server->Stop();
        server.reset();
        control.Stop();
    }
    bool IsServing() const { return server->IsServing(); }
    const std::string& Folder() const { return root.Native(); }
    fs::path Store() const { return root.Native() + "/policies"; }

private:
    TempRoot root;
    LumCtrl::Service control;
    std::unique_ptr<LumConf::ConfigServer> server;
};

/// What a consumer that only listens believes to be installed, and what it heard that cannot be.
class Follower {
public:
    /// @param heard  events with "=" and their value, separated by "; "
    void Follow(const std::string& heard) {
        std::size_t begin = 0;
        while (begin < heard.size()) {
            const std::size_t end = std::min(heard.find("; ", begin), heard.size());
            Take(heard.substr(begin, end - begin));
            begin = end + 2;
        }
    }
    std::map<std::string, std::set<std::string>> known;  ///< ids by type
    std::string wrong;
    int events = 0;

private:
    void Take(const std::string& line) {
        ++events;
        const std::size_t colon = line.find(':'), equals = line.find('=');
        const std::string kind = line.substr(0, colon), type = line.substr(colon + 1, equals - colon - 1);
        std::set<std::string>& ids = known[type];
        std::istringstream words(line.substr(equals + 1));
        for (std::string id; words >> id;) {
            if (kind == "CHECK_POLICY") ids.insert(id);
            if (kind == "REMOVE_POLICY" && ids.erase(id) == 0) wrong += line + "\n";
        }
        if ((kind == "FIRST_POLICY" || kind == "LAST_POLICY") && !ids.empty()) wrong += line + "\n";
        if (ids.empty()) known.erase(type);
    }
};

/// The headers of the store as its files say, and the types with their ids. Every data file must be its policy's own.
struct Disk {
    explicit Disk(const fs::path& store) {
        std::set<fs::path> expected;
        for (const auto& entry : fs::recursive_directory_iterator(store)) {
            if (entry.is_directory()) continue;
            files.insert(entry.path());
            if (entry.path().string().ends_with("_header.xml")) Read(entry.path(), expected);
        }
        EXPECT_EQ(files, expected) << "the store holds the files of its policies and no others";
    }
    Shown headers;
    std::set<fs::path> files;
    std::map<std::string, std::set<std::string>> types;

private:
    void Read(const fs::path& path, std::set<fs::path>& expected) {
        const LumConf::PolicyHeader header = LumConf::PolicyHeader::Read(LumPalIo::File_t(ToString(path)));
        const std::string id = header.GetContainerId().ToUtf8(), type = header.GetTypeName().ToUtf8();
        EXPECT_EQ(path.filename(), id + "_header.xml");
        EXPECT_EQ(path.parent_path().filename(), type);
        headers[id] = load::Show(header);
        types[type].insert(id);
        expected.insert(path);
        EXPECT_EQ(header.GetDataFileCount(), 2) << id;
        for (int i = 0; i < header.GetDataFileCount(); ++i) {
            const std::string file = header.GetDataFile(i).ToUtf8();
            expected.insert(path.parent_path() / file);
            EXPECT_TRUE(ReadText(path.parent_path() / file) == load::Content(id, header.GetVersion().ToUtf8(), file))
                << file << " is not of the version of its header";
        }
    }
};

Shown ListEverything() {
    try {
        return load::ShowAll(LumConf::PolicyForwarder().List("localhost", LumConf::Selection()));
    } catch (const LumConf::NoPoliciesInstalledError&) {
        return {};
    }
}

/// Asks the node without pause, as consumers do, whether there is work for them: an answer waits for nobody.
class Asker {
public:
    Asker() : thread([this] { Ask(); }) {}
    ~Asker() {
        stop = true;
        thread.join();
    }

private:
    void Ask() {
        const LumConf::PolicyOperation& operation = *LumConf::PolicyOperation::GetInstance();
        while (!stop) {
            if (operation.IsPolicyTypeNameInstalled("type0")) operation.IsPolicyInstalled();
            std::this_thread::sleep_for(std::chrono::microseconds(50));
        }
    }
    std::atomic<bool> stop{false};
    std::thread thread;
};

void RunAll(std::vector<std::unique_ptr<load::Client>>& clients) {
    const Asker asker;
    std::vector<std::thread> threads;
    for (auto& client : clients) threads.emplace_back([&client] { client->Run(Operations()); });
    for (std::thread& thread : threads) thread.join();
}

void ExpectEmpty(const fs::path& folder) {
    EXPECT_TRUE(!fs::exists(folder) || fs::is_empty(folder)) << folder;
}

}  // namespace

TEST(Load, ManyClientsLeaveAStoreAListAndAConsumerThatAgree) {
    Node node;
    ASSERT_TRUE(node.IsServing());
    auto consumer = std::make_unique<Consumer>(
        "consumer",
        std::initializer_list<const char*>{"CHECK_POLICY:*", "REMOVE_POLICY:*", "FIRST_POLICY:*", "LAST_POLICY:*"});
    std::vector<std::unique_ptr<load::Client>> clients;
    for (int i = 0; i < kClients; ++i) clients.push_back(std::make_unique<load::Client>(i, node.Folder() + "/source"));
    RunAll(clients);

    const Shown listed = ListEverything();
    Shown known;
    for (const auto& client : clients) {
        EXPECT_EQ(client->Failures(), "");
        known.merge(client->Known());
    }
    for (const auto& [id, shown] : listed) {
        if (id.starts_with("shared")) known[id] = shown;
    }
    EXPECT_GT(listed.size(), static_cast<std::size_t>(kClients)) << "something must be left to compare";
    EXPECT_EQ(listed, known) << "each client finds its own policies as it left them";

    const Disk disk(node.Store());
    EXPECT_EQ(listed, disk.headers);
    ExpectEmpty(node.Folder() + "/spool/incoming/files/conf_tmp");
    ExpectEmpty(node.Folder() + "/tmp/conf_tmp");

    Follower follower;
    follower.Follow(consumer->Heard());
    EXPECT_EQ(follower.wrong, "");
    EXPECT_EQ(follower.known, disk.types) << "who only listens knows what is installed";
    EXPECT_GT(follower.events, kClients * Operations() / 4);

    // A node that reads its store anew finds what it had.
    LumConf::PolicyOperation::GetInstance()->ReinitCache("trial");
    EXPECT_EQ(ListEverything(), listed);
    consumer.reset();
    node.Stop();
}
