#include "CallLog.h"

#include <fcntl.h>
#include <fnmatch.h>
#include <sys/file.h>
#include <time.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace sim {
namespace {

using nlohmann::json;

/// Seconds of the clock that every process of this machine shares, and that nobody sets.
double Now() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

json Variable(const char* name) {
    const char* value = std::getenv(name);
    return value ? json(value) : json();
}

}  // namespace

CallLog::CallLog(const std::string& path) : path(path), file(open(path.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC)) {
    if (file < 0 || flock(file, LOCK_EX) != 0) throw std::runtime_error(path + ": cannot be written");
}

CallLog::~CallLog() {
    close(file);
}

void CallLog::Write(const Words& call) {
    const json line{
        {"words", call}, {"at", Now()}, {"user", getuid()}, {"LANG", Variable("LANG")}, {"LC_ALL", Variable("LC_ALL")}};
    WriteLine(line.dump(-1, ' ', true, json::error_handler_t::replace) + "\n");
}

void CallLog::WriteWaiting(const Words& call) {
    WriteLine(json{{"waits", call}}.dump(-1, ' ', true, json::error_handler_t::replace) + "\n");
}

void CallLog::WriteLine(const std::string& text) {
    if (write(file, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
        throw std::runtime_error(path + ": cannot be written");
    }
}

long CallLog::Count(const std::string& pattern) const {
    std::ifstream in(path);
    long count = 0;
    for (std::string line; std::getline(in, line);) {
        const json record = json::parse(line);
        count += record.contains("words") && Matches(pattern, record["words"].get<Words>());
    }
    return count;
}

bool Matches(const std::string& pattern, const Words& call) {
    std::string text;
    for (const std::string& word : call) text += (text.empty() ? "" : " ") + word;
    return fnmatch(pattern.c_str(), text.c_str(), 0) == 0;
}

}  // namespace sim
