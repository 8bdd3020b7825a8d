#include "common/Hosts.h"

#include <algorithm>
#include <fstream>
#include <iostream>
#include <set>

#include "LumPalColumns.h"
#include "LumPalNet.h"
#include "common/Arguments.h"
#include "common/Table.h"

namespace lumtools {

namespace {

constexpr int kMostParallel = 256;
constexpr int kLongestTimeout = 86400;
constexpr char kGroup[] = "Which nodes";

/// Whether the text stays the host when it becomes part of an address.
bool IsHost(const std::string& text) {
    const auto isControl = [](char c) { return static_cast<unsigned char>(c) <= 0x20 || c == 0x7F; };
    return !text.empty() && text.find_first_of("/?#@\\\"'<>,;") == std::string::npos &&
           std::none_of(text.begin(), text.end(), isControl) && Text(text).ToUtf8() == text;
}

bool HasAddress(const std::string& host) try {
    LumPalNet::URI_t(Text("https://" + host + "/"));
    return true;
} catch (const LumPalMsg::IllegalArgumentError_t&) {
    return false;
}

void CheckHost(const std::string& host, const std::string& where) {
    if (!IsHost(host) || !HasAddress(host)) {
        throw CLI::ValidationError(where + ": '" + Printable(Text(host).ToUtf8()) +
                                   "' is no host: give HOST or HOST:PORT, an IPv6 address in brackets");
    }
}

/// Some editors put a byte order mark before a text; within a text it comes from files that were put together.
std::string WithoutMark(const std::string& line) {
    const std::string mark = "\xEF\xBB\xBF";
    return line.starts_with(mark) ? line.substr(mark.size()) : line;
}

/// One host a line; what stands behind a "#" is a comment.
std::vector<std::string> ReadHosts(std::istream& in, const std::string& name) {
    std::vector<std::string> hosts;
    int number = 0;
    for (std::string line; std::getline(in, line);) {
        ++number;
        const std::string text = WithoutMark(line.substr(0, line.find('#')));
        const std::string host(LumPalStr::Trimmed(std::string_view(text), " \t\r"));
        if (host.empty()) continue;
        CheckHost(host, name + ", line " + std::to_string(number));
        hosts.push_back(host);
    }
    if (in.bad()) throw CLI::ValidationError(name + " cannot be read");
    if (hosts.empty()) throw CLI::ValidationError(name + " names no host");
    return hosts;
}

std::vector<std::string> ReadHostsFile(const std::string& path) {
    if (path == "-") return ReadHosts(std::cin, "standard input");
    std::ifstream in(path);
    if (!in) throw CLI::ValidationError("the file of hosts '" + path + "' cannot be read");
    return ReadHosts(in, "'" + path + "'");
}

}  // namespace

void HostOptions::AddTo(CLI::App& command) {
    command
        .add_option("--host", hosts,
                    "A node: a name or an address, with a port when it is not the usual one; may be given often "
                    "[localhost]")
        ->group(kGroup)
        ->type_name("HOST[:PORT]")
        ->allow_extra_args(false);
    command.add_option("--hosts-file", file, "A file with one node a line; '-' is standard input")
        ->group(kGroup)
        ->type_name("FILE");
    command.add_option("--parallel", parallel, "How many nodes are asked at the same time")
        ->group(kGroup)
        ->type_name("N")
        ->capture_default_str()
        ->check(CLI::Range(1, kMostParallel));
    AddTimeoutTo(command);
    command.get_option("--timeout")->group(kGroup);
}

void HostOptions::AddTimeoutTo(CLI::App& command) {
    command.add_option("--timeout", timeoutSeconds, "The longest time for all the work with one node")
        ->type_name("SECONDS")
        ->check(CLI::Range(1, kLongestTimeout));
}

std::vector<std::string> HostOptions::Make() const {
    for (const std::string& host : hosts) CheckHost(host, "--host");
    std::vector<std::string> named = hosts;
    if (!file.empty()) {
        const std::vector<std::string> more = ReadHostsFile(file);
        named.insert(named.end(), more.begin(), more.end());
    }
    if (named.empty()) return {"localhost"};
    std::set<std::string> seen;
    std::vector<std::string> once;
    std::copy_if(named.begin(), named.end(), std::back_inserter(once),
                 [&seen](const std::string& host) { return seen.insert(host).second; });
    return once;
}

}  // namespace lumtools
