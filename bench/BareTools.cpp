#include "BareTools.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>

extern char** environ;

namespace bench {
namespace {

constexpr int kLargestPipe = 1 << 20;
const std::string kFolder = "/opt/VRTSvcs/bin/";

std::string ReadAll(int file) {
    std::string text;
    char block[4096];
    for (ssize_t count; (count = read(file, block, sizeof block)) > 0;) text.append(block, static_cast<size_t>(count));
    return text;
}

pid_t Spawn(const std::vector<std::string>& words, int output) {
    std::vector<char*> arguments;
    for (const std::string& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t child = -1;
    const int failure = posix_spawn(&child, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (failure != 0) throw std::runtime_error("cannot run " + words[0]);
    return child;
}

void Tool(const char* name, std::vector<std::string> words) {
    words.insert(words.begin(), kFolder + name);
    RunBare(words);
}

void RunSystems(int systems) {
    Tool("hasys", {"-list"});
    for (int i = 0; i < systems; ++i) {
        const std::string system = "system" + std::to_string(i);
        Tool("hasys", {"-value", system, "NodeId"});
        Tool("hasys", {"-state", system});
    }
}

}  // namespace

std::string RunBare(const std::vector<std::string>& words) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    fcntl(ends[1], F_SETPIPE_SZ, kLargestPipe);
    const pid_t child = Spawn(words, ends[1]);
    close(ends[1]);
    int status = 0;
    waitpid(child, &status, 0);  // nothing is quicker than to be woken once, at the end
    std::string text = ReadAll(ends[0]);
    close(ends[0]);
    return text;
}

void RunBareGroups(int systems, int groups) {
    Tool("hagrp", {"-display", "-attribute", "SystemList"});
    for (int i = 0; i < groups; ++i) {
        const std::string group = "group" + std::to_string(i);
        Tool("hagrp", {"-state", group, "-sys", "system0"});
        RunSystems(systems);
        Tool("hagrp", {"-value", group, "SystemList"});
        for (int k = 0; k < systems; ++k) Tool("hasys", {"-value", "system" + std::to_string(k), "NodeId"});
        for (int k = 0; k < systems; ++k) Tool("hagrp", {"-state", group, "-sys", "system" + std::to_string(k)});
    }
}

void RunBareCycle(int systems, int groups) {
    Tool("haclus", {"-value", "ClusterName"});
    RunBareGroups(systems, groups);
    RunSystems(systems);
}

long CountBareCycle(int systems, int groups) {
    const long ofSystems = 1 + 2 * systems, ofGroup = 2 + ofSystems + 2 * systems;
    return 2 + groups * ofGroup + ofSystems;
}

}  // namespace bench
