// Settings over the wire: setting one, and the time until a process is told what a policy says.
#include <filesystem>

#include "Authorization.h"
#include "Benchmarks.h"
#include "Configure.h"
#include "FileWork.h"
#include "InstallOptions.h"
#include "Node.h"
#include "Selection.h"
#include "SettingsForwarder.h"
#include "SettingsRoot.h"
#include "ToldProcess.h"
#include "WatchedFolder.h"

namespace bench {
namespace {

using LumPalStr::String_t;
namespace fs = std::filesystem;

constexpr int kMarkedPolicy = 99999999;

String_t NextMark() {
    static int mark = 0;
    return "mark " + LumPalStr::NumToStr(++mark);
}

void MeasureSet(Session& session, Node& node) {
    const LumConfPar::SettingsForwarder client(node.Client().GetVoxMessenger());
    const auto set = [&] {
        LumPalConfig::Configuration_t settings{String_t(kMarkNamespace)};
        settings.SetAttrValue("set", NextMark());
        return Seconds([&] { client.Set("localhost", settings); });
    };
    FileWork files(node.Folder("reference"));
    const std::string copy = node.Folder("reference/copy.ini");
    fs::copy_file(node.Folder("etc/pal/config/local_settings.ini"), copy);
    node.SetWork([&](const Node::Bytes&) { files.Rewrite(copy); });
    const Node::Bytes bytes("a namespace, a name and a value of it: 64 bytes all in all .....");
    const auto echo = [&] { return Seconds([&] { node.Echo(bytes); }); };
    const Pairs pairs = RunPairs(session.Choose(301, 1), set, echo);
    node.SetWork(nullptr);
    fs::remove_all(node.Folder("reference"));
    session.Add({"set of a value", pairs.Ratios(), 1.5, Times(pairs)});
}

/// From the call until a registered process has printed the new value.
double InstallUntilTold(const Node& node, ToldProcess& told) {
    const std::string mark = NextMark().ToUtf8();
    const std::string text = std::string("[") + kMarkNamespace + "]\n" + kMarkName + "=" + mark + "\n";
    const std::string header = WriteSettingsPolicy(node.Folder("client"), kMarkedPolicy, text);
    return Seconds([&] {
        node.Client().Install("localhost", LumPalIo::File_t(String_t::FromUtf8(header)), LumConf::InstallOptions());
        told.WaitFor(mark);
    });
}

void MeasureTold(Session& session, const Node& node, ToldProcess& told, const char* name) {
    InstallUntilTold(node, told);  // brings the policy settings into being
    const std::string settings = node.Folder("etc/pal/config/policy_settings.ini");
    WatchedFolder folder(node.Folder("reference"), std::string(fs::file_size(settings), 's'));
    const Pairs pairs = RunPairs(
        session.Choose(101, 1), [&] { return InstallUntilTold(node, told); },
        [&] { return Seconds([&] { folder.ChangeAndWait(); }); });
    session.Add({name, pairs.Ratios(), {}, Times(pairs)});
}

void RemovePolicies(const Node& node) {
    node.Client().Remove("localhost", LumConf::Selection().SetPolicyTypeName("configsettings"));
    fs::remove_all(node.Folder("client"));
    fs::remove_all(node.Folder("reference"));
}

}  // namespace

void MeasureSettingsWire(Session& session) {
    Node& node = Node::Get();
    LumConf::Authorization::GetInstance().Update();
    MeasureSet(session, node);
    ToldProcess told(node.Folder(""));
    MeasureTold(session, node, told, "install until a process is told");
    const int others = session.Choose(1000, 5);
    for (int i = 0; i < others; ++i) WriteSettingsPolicy(node.Folder(""), i, SettingsText(i, Settings::Apart, 0));
    MeasureTold(session, node, told, "the same beside 1,000 policies");
    Configure("conf.core", "CACHE_CONFIGSETTINGS_POLICIES", "true");
    MeasureTold(session, node, told, "the same beside 1,000, cached");
    Configure("conf.core", "CACHE_CONFIGSETTINGS_POLICIES", "false");
    RemovePolicies(node);
}

}  // namespace bench
