#include "ToolCalls.h"

#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace bench {
namespace {

constexpr const char* kFolders[]{"/opt/VRTSvcs/bin/",
                                 "/usr/cluster/bin/",
                                 "/usr/es/sbin/cluster/",
                                 "/usr/es/sbin/cluster/utilities/",
                                 "/usr/sbin/",
                                 "/usr/bin/",
                                 "/sbin/"};

/// The log has the name alone.
std::string PathOf(const std::string& tool) {
    for (const std::string folder : kFolders) {
        if (std::filesystem::exists(folder + tool)) return folder + tool;
    }
    throw std::runtime_error("the tool " + tool + " stands nowhere");
}

/// The texts of a list in a line of the log. Nothing that is measured has a name that JSON would escape.
std::vector<std::string> WordsIn(const std::string& line) {
    const std::string key = "\"words\":[";
    const std::size_t list = line.find(key);
    if (list == line.npos) throw std::runtime_error("a line of the log is none of a call: " + line);
    std::vector<std::string> words;
    for (std::size_t at = list + key.size(); line.at(at) == '"';) {
        const std::size_t end = line.find('"', at + 1);
        words.push_back(line.substr(at + 1, end - at - 1));
        at = end + (line.at(end + 1) == ',' ? 2 : 1);
    }
    return words;
}

}  // namespace

std::vector<std::vector<std::string>> ReadToolCalls(const std::string& path, long first) {
    std::vector<std::vector<std::string>> calls;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        if (first-- > 0) continue;
        calls.push_back(WordsIn(line));
        calls.back().at(0) = PathOf(calls.back().at(0));
    }
    return calls;
}

}  // namespace bench
