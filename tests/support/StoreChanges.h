/// @file
/// Everything that changes the store of a node, as a list: tests cut each change short somewhere.
#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cctype>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "AuditLog.h"
#include "Configure.h"
#include "Files.h"
#include "InstallOptions.h"
#include "LumPalConfig.h"
#include "LumPalIo.h"
#include "LumPalRuntime.h"
#include "NodeAssembly.h"
#include "PolicyOperation.h"
#include "PolicySettings.h"
#include "PolicyWorker.h"
#include "Selection.h"
#include "SettingsPolicies.h"
#include "TestPolicy.h"

/// The node in a folder that somebody else made and keeps. One at a time.
class NodeAt {
public:
    /// Brings the node up.
    explicit NodeAt(const std::string& root) : NodeAt(LumPalStr::String_t::FromUtf8(root)) {}
    /// Ends it when what it does to the configuration is done.
    ~NodeAt() {
        Settle();
        worker->Stop();
    }
    NodeAt(const NodeAt&) = delete;
    NodeAt& operator=(const NodeAt&) = delete;
    LumConf::PolicyOperation* operator->() { return &operation; }

    void Install(const TestPolicy& policy, const std::function<void(LumConf::InstallOptions&)>& set = {}) {
        LumConf::InstallOptions options;
        options.SetNotify(false);
        if (set) set(options);
        operation.Install("tester", policy.Array(), options);
    }
    void InstallPackage(const std::vector<TestPolicy>& policies,
                        const std::function<void(LumConf::InstallOptions&)>& set = {}) {
        LumConf::InstallOptions options;
        options.SetNotify(false);
        if (set) set(options);
        operation.InstallPackage("tester", PackageOf(policies), options);
    }
    static LumConf::PolicyForwarder::Options Quiet() { return LumConf::PolicyForwarder::Options().SetNotify(false); }
    /// Tells the node's own consumer, who writes the configuration.
    void Notify() {
        try {
            operation.Notify("tester");
        } catch (const LumPalMsg::Exception_t&) {
            // Other consumers are not there.
        }
        Settle();
    }

private:
    explicit NodeAt(const LumPalStr::String_t& root)
        : worker(MakeWorker(root)),
          audit(std::make_unique<LumConf::AuditLog>()),
          operation(LumConf::SurroundingsOf(*worker, *audit)) {
        Settle();
    }
    static std::unique_ptr<LumConfPar::PolicyWorker> MakeWorker(const LumPalStr::String_t& root) {
        LumPalRuntime::Dir_t::SetRoot(root);
        return std::make_unique<LumConfPar::PolicyWorker>(LumConfPar::MakePolicySettings());
    }
    void Settle() {
        Eventually([this] { return !worker->IsBusyForTest(); });
    }

    const std::unique_ptr<LumConfPar::PolicyWorker> worker;
    const std::unique_ptr<LumConf::AuditLog> audit;
    LumConf::PolicyOperation operation;
};

/// Every file and folder below a root with mode and content, but for logs and locks: what a restart depends on.
using NodeTree = std::map<std::string, std::string>;

inline NodeTree TreeOf(const std::string& root) {
    NodeTree tree;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
        const std::string path = std::filesystem::relative(entry.path(), root).string();
        if (path.starts_with("log") || path.ends_with(".lock") || path == "lost+found") continue;
        const std::string mode = std::to_string(ModeOf(entry.path()));
        tree[path] = mode + (entry.is_directory() ? " folder" : " " + ReadText(entry.path()));
    }
    return tree;
}

/// The difference of two trees, for messages.
inline std::string Difference(const NodeTree& expected, const NodeTree& found) {
    std::string text;
    for (const auto& [path, what] : expected) {
        if (!found.count(path)) text += "missing: " + path + "\n";
        if (found.count(path) && found.at(path) != what) text += "other: " + path + ": " + found.at(path) + "\n";
    }
    for (const auto& [path, what] : found) {
        if (!expected.count(path)) text += "left over: " + path + "\n";
    }
    return text;
}

/// One operation of a node.
struct StoreChangeCase {
    using Step = std::function<void(NodeAt&)>;

    const char* what;
    Step prepare;
    Step action;
    /// The changes that the action consists of: each is a step of its own for whoever looks after a restart. Empty for
    /// an action that is one change.
    std::vector<Step> steps = {};
    const char* local = "";  ///< settings that the node was told directly; null for none, and no folder for them
};

inline void PrintTo(const StoreChangeCase& change, std::ostream* out) {
    *out << change.what;
}

namespace store_changes {

inline TestPolicy Policy(const std::string& id, const std::string& type, const std::string& version,
                         const std::vector<std::pair<std::string, std::string>>& data) {
    TestPolicy policy;
    policy.id = id;
    policy.name = "name of " + id;
    policy.type = type;
    policy.version = version;
    policy.data = data;
    return policy;
}

inline TestPolicy Old(const std::string& type = "files") {
    return Policy("a", type, "1", {{"a.same", "old same"}, {"a.gone", "old gone"}});
}

/// Keeps one data file's name, drops one and brings one.
inline TestPolicy Fresh(const std::string& type = "files") {
    return Policy("a", type, "2", {{"a.same", "new same"}, {"a.new", "new new"}});
}

inline TestPolicy FreshUnder(const std::string& id) {
    TestPolicy policy = Fresh();
    policy.name = "name of a";
    policy.id = id;
    return policy;
}

inline TestPolicy FreshNamed(const std::string& name) {
    TestPolicy policy = Fresh();
    policy.name = name;
    return policy;
}

inline TestPolicy Beside() {
    return Policy("s", "files", "1", {{"s.data", "beside"}});
}

inline TestPolicy Settings(const std::string& id, const std::string& value) {
    return SettingsPolicy(id, "name of " + id, "[demo]\nkey=" + value + "\n");
}

inline LumConf::Selection Id(const char* id) {
    return LumConf::Selection().SetPolicyId(id);
}

inline StoreChangeCase Modification(const char* what, const StoreChangeCase::Step& action) {
    TestPolicy policy = Old();
    policy.categories = {"one", "two"};
    policy.attributes = {{"n", "v"}};
    return {what, [policy](NodeAt& node) { node.Install(policy); }, action};
}

}  // namespace store_changes

inline std::vector<StoreChangeCase> AllStoreChanges() {
    using namespace store_changes;
    using Op = LumConf::PolicyOperation;
    const auto quiet = NodeAt::Quiet;
    const auto nothing = [](NodeAt&) {};
    const auto old = [](NodeAt& node) { node.Install(Old()); };
    const auto oldAndBeside = [](NodeAt& node) {
        node.Install(Old());
        node.Install(Beside());
    };
    const auto force = [](LumConf::InstallOptions& options) { options.SetForceAll(true); };
    const std::vector<TestPolicy> package{Policy("p1", "x", "1", {{"p1.data", "one"}}),
                                          Policy("p2", "y", "1", {{"p2.data", "two"}}), Fresh()};
    const std::vector<TestPolicy> moved{Fresh("other"), Policy("s", "files", "2", {{"s.data", "newer"}})};
    std::vector<StoreChangeCase> all{
        {"an install of a new type", nothing, [](NodeAt& node) { node.Install(Old()); }},
        {"an install beside others", [](NodeAt& node) { node.Install(Beside()); },
         [](NodeAt& node) { node.Install(Old()); }},
        {"an install without data files", nothing, [](NodeAt& node) { node.Install(Policy("n", "none", "1", {})); }},
        {"an install of many data files", nothing,
         [](NodeAt& node) {
             TestPolicy many = Old();
             for (int i = 0; i < 12; ++i) many.data.emplace_back("many." + std::to_string(i), std::to_string(i));
             node.Install(many);
         }},
        {"an update", oldAndBeside, [](NodeAt& node) { node.Install(Fresh()); }},
        {"an update under another id", oldAndBeside, [](NodeAt& node) { node.Install(FreshUnder("b")); }},
        {"a forced update", oldAndBeside, [force](NodeAt& node) { node.Install(Fresh(), force); }},
        {"a forced change of the type", old, [force](NodeAt& node) { node.Install(Fresh("other"), force); }},
        {"a forced change of the type of one of two", oldAndBeside,
         [force](NodeAt& node) { node.Install(Fresh("other"), force); }},
        {"a forced install of a type that is limited to one policy",
         old,
         [force](NodeAt& node) {
             node.Install(Policy("z", "files", "1", {{"z.data", "z"}}), force);
         },
         {[](NodeAt& node) { node->Remove("tester", Id("a"), NodeAt::Quiet()); },
          [force](NodeAt& node) {
              node.Install(Policy("z", "files", "1", {{"z.data", "z"}}), force);
          }},
         "NOMULTIPLEPOLICIES=files"},
        {"a package",
         old,
         [package](NodeAt& node) { node.InstallPackage(package); },
         {[package](NodeAt& node) { node.Install(package[0]); }, [package](NodeAt& node) { node.Install(package[1]); },
          [package](NodeAt& node) { node.Install(package[2]); }}},
        {"a forced package that moves a policy to another type",
         oldAndBeside,
         [moved, force](NodeAt& node) { node.InstallPackage(moved, force); },
         {[moved, force](NodeAt& node) { node.Install(moved[0], force); },
          [moved, force](NodeAt& node) { node.Install(moved[1], force); }}},
        {"an update that takes the name of another policy",
         oldAndBeside,
         [](NodeAt& node) { node.Install(FreshNamed("name of s")); },
         {[quiet](NodeAt& node) { node->Remove("tester", Id("s"), quiet()); },
          [](NodeAt& node) { node.Install(FreshNamed("name of s")); }}},
        {"a removal of a type's last policy", old, [quiet](NodeAt& node) { node->Remove("tester", Id("a"), quiet()); }},
        {"a removal of one of two", oldAndBeside, [quiet](NodeAt& node) { node->Remove("tester", Id("a"), quiet()); }},
        {"a removal of all",
         oldAndBeside,
         [quiet](NodeAt& node) { node->Remove("tester", LumConf::Selection(), quiet()); },
         {[quiet](NodeAt& node) { node->Remove("tester", Id("a"), quiet()); },
          [quiet](NodeAt& node) { node->Remove("tester", Id("s"), quiet()); }}},
        Modification("a disable", [quiet](NodeAt& node) { node->SetStatus("tester", Id("a"), Op::Disable, quiet()); }),
        Modification("an owner", [quiet](NodeAt& node) { node->SetOwner("tester", "new", Id("a"), quiet()); }),
        Modification(
            "categories",
            [quiet](NodeAt& node) { node->ModifyCategory("tester", "three four", Id("a"), quiet(), Op::AddCategory); }),
        Modification(
            "fewer categories",
            [quiet](NodeAt& node) { node->ModifyCategory("tester", "one", Id("a"), quiet(), Op::RemoveCategory); }),
        Modification("no categories", [quiet](NodeAt& node) { node->RemoveAllCategories("tester", Id("a"), quiet()); }),
        Modification(
            "an attribute",
            [quiet](NodeAt& node) { node->ModifyAttributes("tester", "m=w", Id("a"), quiet(), Op::AddAttribute); }),
        Modification(
            "fewer attributes",
            [quiet](NodeAt& node) { node->ModifyAttributes("tester", "n=v", Id("a"), quiet(), Op::RemoveAttribute); }),
        Modification("no attributes", [quiet](NodeAt& node) { node->RemoveAllAttributes("tester", Id("a"), quiet()); }),
        {"a disable of two",
         oldAndBeside,
         [quiet](NodeAt& node) { node->SetStatus("tester", LumConf::Selection(), Op::Disable, quiet()); },
         {[quiet](NodeAt& node) { node->SetStatus("tester", Id("a"), Op::Disable, quiet()); },
          [quiet](NodeAt& node) { node->SetStatus("tester", Id("s"), Op::Disable, quiet()); }}},
    };
    // More than wait for a flush one by one.
    StoreChangeCase many{"an owner of many",
                         [](NodeAt& node) {
                             for (char id = 'a'; id < 'l'; ++id) {
                                 node.Install(Policy(std::string(1, id), id < 'f' ? "files" : "more", "1", {}));
                             }
                         },
                         [quiet](NodeAt& node) { node->SetOwner("tester", "new", LumConf::Selection(), quiet()); }};
    for (char id = 'a'; id < 'l'; ++id) {
        many.steps.push_back(
            [quiet, id](NodeAt& node) { node->SetOwner("tester", "new", Id(std::string(1, id).c_str()), quiet()); });
    }
    all.push_back(many);
    const auto sharing = [](NodeAt& node) {
        node.Install(Old());
        node.Install(Policy("s", "files", "1", {{"s.data", "beside"}, {"a.gone", "of both"}}));
    };
    const auto remove = [quiet](const char* id) {
        return [=](NodeAt& node) { node->Remove("tester", Id(id), quiet()); };
    };
    const char* const keep = "SHARED_DATA_FILES=keep";
    all.push_back({"a removal that spares a file", sharing, remove("a"), {}, keep});
    all.push_back({"an update that spares a file", sharing, [](NodeAt& node) { node.Install(Fresh()); }, {}, keep});
    all.push_back({"a removal of two that share a file",
                   sharing,
                   [quiet](NodeAt& node) { node->Remove("tester", LumConf::Selection(), quiet()); },
                   {remove("a"), remove("s")},
                   keep});
    const auto installAndTell = [](const char* id, const char* value) {
        return [=](NodeAt& node) {
            node.Install(Settings(id, value));
            node.Notify();
        };
    };
    all.push_back({"settings", nothing, installAndTell("s1", "one")});
    all.push_back({"changed settings", installAndTell("s1", "one"), installAndTell("s1", "two")});
    all.push_back({"settings under another id", installAndTell("s1", "one"), [](NodeAt& node) {
                       TestPolicy policy = Settings("s2", "two");
                       policy.name = "name of s1";
                       node.Install(policy);
                       node.Notify();
                   }});
    all.push_back({"an enable",
                   [quiet](NodeAt& node) {
                       node.Install(Old());
                       node->SetStatus("tester", Id("a"), Op::Disable, quiet());
                   },
                   [quiet](NodeAt& node) { node->SetStatus("tester", Id("a"), Op::Enable, quiet()); }});
    all.push_back({"removed settings", installAndTell("s1", "one"), [quiet](NodeAt& node) {
                       node->Remove("tester", Id("s1"), quiet());
                       node.Notify();
                   }});
    const auto set = [](const char* package, const char* value) {
        return [=](NodeAt&) {
            LumPalConfig::Configuration_t settings{LumPalStr::String_t("demo")};
            settings.SetAttrValue("key", value);
            LumPalConfig::ConfigUpdate_t update{LumPalStr::String_t(package)};
            update.SetConfig(settings);
            update.Apply();
        };
    };
    all.push_back({"the first settings of a node", nothing, set("", "one"), {}, nullptr});
    all.push_back({"a setting", set("", "one"), set("", "two")});
    // The package's folder comes first, and stays where nothing comes behind it: empty it is as good as none.
    const auto makeFolder = [](NodeAt&) {
        LumPalIo::File_t(LumPalRuntime::Dir_t::Path(LumPalRuntime::Etc, "pal/config/pack")).MakeFolders();
    };
    all.push_back({"the first setting of a package", nothing, set("pack", "one"), {makeFolder, set("pack", "one")}});
    all.push_back({"a setting of a package", set("pack", "one"), set("pack", "two")});
    all.push_back({"no setting", set("", "one"), [](NodeAt&) {
                       LumPalConfig::ConfigUpdate_t update("");
                       update.ClearNamespace("demo");
                       update.Apply();
                   }});
    return all;
}

/// Makes the folder of a node and lets the case prepare it.
inline void PrepareNode(const std::string& root, const StoreChangeCase& change) {
    std::filesystem::create_directories(root);
    if (change.local)
        WriteText(root + "/etc/pal/config/local_settings.ini", std::string("[conf.server]\n") + change.local + "\n");
    NodeAt node(root);
    change.prepare(node);
}

/// What a restart makes of a node. As the daemon, it tidies the configuration first.
inline NodeTree TreeAfterRestart(const std::string& root) {
    LumPalRuntime::Dir_t::SetRoot(LumPalStr::String_t::FromUtf8(root));
    LumPalConfig::ConfigUpdate_t::RemoveLeftAside();
    { const NodeAt node(root); }
    return TreeOf(root);
}

/// The trees that the change may end in, wherever it is cut: the old one first, the new one last.
/// @param base  an existing folder for the nodes that are made for it
inline std::vector<NodeTree> AllowedTrees(const std::string& base, const StoreChangeCase& change) {
    const std::string root = base + "/allowed";
    const auto steps = change.steps.empty() ? std::vector{change.action} : change.steps;
    PrepareNode(root, change);
    std::vector<NodeTree> trees{TreeAfterRestart(root)};
    for (const StoreChangeCase::Step& step : steps) {
        {
            NodeAt node(root);
            step(node);
        }
        trees.push_back(TreeAfterRestart(root));
    }
    std::filesystem::remove_all(root);
    return trees;
}

/// What a change is called in the name of a test: "an update" as "anUpdate".
inline std::string NameOfChange(const testing::TestParamInfo<StoreChangeCase>& info) {
    std::string name = info.param.what;
    for (std::size_t i = 0; i < name.size(); ++i) {
        if (name[i] == ' ' && i + 1 < name.size()) name[i + 1] = static_cast<char>(std::toupper(name[i + 1]));
    }
    std::erase_if(name, [](char c) { return !std::isalnum(static_cast<unsigned char>(c)); });
    return name;
}
