// An install over the wire.
#include <filesystem>
#include <fstream>
#include <iterator>

#include "Benchmarks.h"
#include "Documents.h"
#include "FileWork.h"
#include "InstallOptions.h"
#include "Node.h"

namespace bench {
namespace {

constexpr std::size_t kDataBytes = 8192;

/// A policy of 10 KB on the client's disk.
struct Files {
    std::string header, data;
};

/// The next policies, with numbers that never come back.
std::vector<Files> MakePolicies(const std::string& folder, int count) {
    static int number = 0;
    std::filesystem::create_directories(folder);
    std::vector<Files> all;
    for (int i = 0; i < count; ++i, ++number) {
        all.push_back({folder + "/" + PolicyId(number) + "_header.xml", folder + "/" + DataFileName(number, 0)});
        WriteFile(all.back().header, Document(number, kSmall));
        WriteFile(all.back().data, std::string(kDataBytes, 'd'));
    }
    return all;
}

void Install(const Node& node, const Files& files) {
    const LumPalIo::File_t header(LumPalStr::String_t::FromUtf8(files.header));
    node.Client().Install("localhost", header, LumConf::InstallOptions().SetNotify(false));
}

std::string ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void EchoFiles(const Node& node, const Files& files) {
    const std::string bytes = ReadFile(files.header) + ReadFile(files.data);
    node.Echo(LumPalArray::CharArray_t(bytes.data(), bytes.size()));
}

/// Seconds for one policy.
double Each(const Node& node, int count, void (*send)(const Node&, const Files&)) {
    const std::vector<Files> policies = MakePolicies(node.Folder("client"), count);
    const double seconds = Seconds([&] {
        for (const Files& files : policies) send(node, files);
    });
    std::filesystem::remove_all(node.Folder("client"));
    return seconds / count;
}

}  // namespace

void MeasureInstall(Session& session) {
    Node& node = Node::Get();
    FileWork files(node.Folder("reference"));
    node.SetWork([&files](const Node::Bytes& bytes) { files.Run(bytes, bytes.GetLength() - kDataBytes); });
    const int batch = session.Choose(50, 2);
    const Pairs pairs = RunPairs(
        session.Choose(31, 1), [&] { return Each(node, batch, Install); },
        [&] { return Each(node, batch, EchoFiles); });
    node.SetWork(nullptr);
    session.Add({"install of a policy of 10 KB", pairs.Ratios(), 1.5, Times(pairs)});
}

}  // namespace bench
