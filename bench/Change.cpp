// Changes of installed policies, lists and dry runs over the wire: ten times the policies, and the bare file work.
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <vector>

#include "Benchmarks.h"
#include "Documents.h"
#include "FileWork.h"
#include "Node.h"
#include "PolicyContainer.h"
#include "Selection.h"

namespace bench {
namespace {

using LumConf::Selection;
namespace fs = std::filesystem;

Selection OneType() {
    return Selection().SetPolicyTypeName("type0");
}

/// Seconds of one change of each selected policy: half of there and back.
double Toggle(const Node& node, const Selection& selection) {
    const auto quiet = LumConf::PolicyForwarder::Options().SetNotify(false);
    return Seconds([&] {
               node.Client().Disable("localhost", selection, quiet);
               node.Client().Enable("localhost", selection, quiet);
           }) /
           2;
}

double List(const Node& node, const Selection& selection) {
    return Seconds([&] { node.Client().List("localhost", selection); });
}

/// The tool itself, as an operator runs it.
double DryRun(const Node& node, const char* selection) {
    const fs::path tool = fs::read_symlink("/proc/self/exe").parent_path() / "../tools/lumpolicy";
    const std::string command =
        "LUM_ROOT='" + node.Folder("") + "' '" + tool.string() + "' disable " + selection + " --dry-run --quiet";
    return Seconds([&] {
        if (std::system(command.c_str()) != 0) throw std::runtime_error("the dry run failed");
    });
}

/// The documents of one type, in a folder that no node looks at.
std::vector<std::string> CopyOneType(const Node& node) {
    const std::string target = node.Folder("reference/type0");
    fs::create_directories(node.Folder("reference"));
    fs::copy(node.Folder("policies/type0"), target);
    std::vector<std::string> documents;
    for (const auto& entry : fs::directory_iterator(target)) documents.push_back(entry.path().string());
    return documents;
}

void MeasureCost(Session& session, const Node& node) {
    const std::vector<std::string> documents = CopyOneType(node);
    FileWork files(node.Folder("reference"));
    const auto rewrite = [&] {
        for (const std::string& path : documents) files.Rewrite(path);
    };
    const Pairs pairs = RunPairs(
        session.Choose(11, 1), [&] { return Toggle(node, OneType()); }, [&] { return Seconds(rewrite); });
    session.Add({"enable of 1,000 policies", pairs.Ratios(), 2.0, Times(pairs)});
    fs::remove_all(node.Folder("reference"));
}

void MeasureTenfold(Session& session, const char* name, int count, const std::function<double()>& all,
                    const std::function<double()>& tenth) {
    const Pairs pairs = RunPairs(session.Choose(count, 1), all, tenth);
    session.Add({name, pairs.Ratios(), 12.0, Times(pairs)});
}

}  // namespace

void MeasureChange(Session& session) {
    const Node& node = Node::Get();
    node.Fill(session.Choose(10000, 20));
    MeasureCost(session, node);
    MeasureTenfold(
        session, "enable, tenfold", 3, [&] { return Toggle(node, Selection()); },
        [&] { return Toggle(node, OneType()); });
    MeasureTenfold(
        session, "list, tenfold", 15, [&] { return List(node, Selection()); }, [&] { return List(node, OneType()); });
    MeasureTenfold(
        session, "dry run, tenfold", 11, [&] { return DryRun(node, "--all"); },
        [&] { return DryRun(node, "--type type0"); });
}

}  // namespace bench
