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

/// A policy on the client's disk.
struct Files {
    std::string header;
    std::vector<std::string> data;
};

/// The next policies of 10 KB, with numbers that never come back.
int NextNumber() {
    static int number = 0;
    return number++;
}

/// @param bytes  of each data file
std::vector<Files> MakePolicies(const std::string& folder, int count, const DocumentSize& size, std::size_t bytes) {
    std::filesystem::create_directories(folder);
    std::vector<Files> all;
    for (int i = 0; i < count; ++i) {
        const int number = NextNumber();
        Files files{folder + "/" + PolicyId(number) + "_header.xml", {}};
        WriteFile(files.header, Document(number, size));
        for (int file = 0; file < size.dataFiles; ++file) {
            files.data.push_back(folder + "/" + DataFileName(number, file));
            WriteFile(files.data.back(), std::string(bytes, 'd'));
        }
        all.push_back(std::move(files));
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
    std::string bytes = ReadFile(files.header);
    for (const std::string& file : files.data) bytes += ReadFile(file);
    node.Echo(LumPalArray::CharArray_t(bytes.data(), bytes.size()));
}

/// What the policies of a row are like.
struct Kind {
    DocumentSize size;
    std::size_t bytes;  ///< of each data file
    int batch, pairs;
};

/// Seconds for one policy.
double Each(const Node& node, const Kind& kind, void (*send)(const Node&, const Files&)) {
    const std::vector<Files> policies = MakePolicies(node.Folder("client"), kind.batch, kind.size, kind.bytes);
    const double seconds = Seconds([&] {
        for (const Files& files : policies) send(node, files);
    });
    std::filesystem::remove_all(node.Folder("client"));
    return seconds / kind.batch;
}

Pairs Measure(Node& node, const Kind& kind) {
    FileWork files(node.Folder("reference"));
    const auto dataFiles = static_cast<std::size_t>(kind.size.dataFiles);
    node.SetWork(
        [&](const Node::Bytes& bytes) { files.Run(bytes, bytes.GetLength() - dataFiles * kind.bytes, dataFiles); });
    const Pairs pairs = RunPairs(
        kind.pairs, [&] { return Each(node, kind, Install); }, [&] { return Each(node, kind, EchoFiles); });
    node.SetWork(nullptr);
    return pairs;
}

}  // namespace

void MeasureInstall(Session& session) {
    Node& node = Node::Get();
    const Kind usual{kSmall, 8192, session.Choose(50, 2), session.Choose(31, 1)};
    const Pairs one = Measure(node, usual);
    session.Add({"install of a policy of 10 KB", one.Ratios(), 1.5, Times(one)});
    const Kind many{{session.Choose(1000, 20), 2, 1, 600}, 100, session.Choose(4, 1), session.Choose(15, 1)};
    const Pairs thousand = Measure(node, many);
    session.Add({"install of 1,000 small data files", thousand.Ratios(), 1.5, Times(thousand)});
}

}  // namespace bench
