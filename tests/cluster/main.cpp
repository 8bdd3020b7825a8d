// Called by the name of a product's tool it answers as that tool; by its own name it runs a program on a node of the
// cluster. See README.md.
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <iostream>

#include "Box.h"
#include "ToolCall.h"

namespace {

constexpr char kOwnName[] = "lumclustersim";

int Usage() {
    std::cerr
        << "usage: lumclustersim [--host NAME] [--user UID] FOLDER PROGRAM [ARGUMENT...]\n"
           "Runs a program on a node of the cluster that FOLDER/cluster.json describes; what its tools were asked\n"
           "stands in FOLDER/calls. Ends with the program's code, or with 125 when no namespaces can be made.\n";
    return 2;
}

/// What stands behind an option that comes first, which is taken away; empty where it does not.
std::string TakeOption(sim::Words& words, const char* option) {
    if (words.size() <= 2 || words[0] != option) return "";
    const std::string value = words[1];
    words.erase(words.begin(), words.begin() + 2);
    return value;
}

int RunBox(sim::Words words) {
    sim::BoxOptions options;
    if (const std::string name = TakeOption(words, "--host"); !name.empty()) options.host = name;
    if (const std::string user = TakeOption(words, "--user"); !user.empty()) {
        options.user = static_cast<uid_t>(std::stoul(user));
    }
    if (words.size() < 2 || words[0].empty() || words[0][0] == '-') return Usage();
    options.folder = std::filesystem::canonical(words[0]);
    options.command.assign(words.begin() + 1, words.end());
    return sim::RunInBox(options);
}

/// The folder of the cluster: this program lies one below it when it is a tool.
std::string ClusterFolder() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path().parent_path();
}

}  // namespace

int main(int argc, char** argv) try {
    const std::string name = std::filesystem::path(argv[0]).filename();
    const sim::Words words(argv + 1, argv + argc);
    if (name == kOwnName) return RunBox(words);
    sim::Words call{name};
    call.insert(call.end(), words.begin(), words.end());
    return sim::AnswerCall(ClusterFolder(), call);
} catch (const std::exception& e) {
    std::cerr << "lumclustersim: " << e.what() << "\n";
    return sim::kNoBox;
}
