#include "Spawn_posix.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>

// The header of this library lacks the linkage for C++.
extern "C" {
#include <sys/pidfd.h>
}

#include <cerrno>
#include <cstring>

#include "Fault.h"
#include "SystemError.h"

namespace LumPalCmd {

using LumPal::Descriptor;
using LumPalIo::ThrowSystemError;
using LumPalStr::String_t;

namespace {

/// File actions and attributes, freed when the scope ends.
struct SpawnSettings {
    SpawnSettings() {
        posix_spawn_file_actions_init(&actions);
        posix_spawnattr_init(&attributes);
    }
    SpawnSettings(const SpawnSettings&) = delete;
    SpawnSettings& operator=(const SpawnSettings&) = delete;
    ~SpawnSettings() {
        posix_spawn_file_actions_destroy(&actions);
        posix_spawnattr_destroy(&attributes);
    }
    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
};

void SetAttributes(posix_spawnattr_t& attributes, bool ownGroup) {
    sigset_t set;
    sigfillset(&set);
    posix_spawnattr_setsigdefault(&attributes, &set);
    sigemptyset(&set);
    posix_spawnattr_setsigmask(&attributes, &set);
    posix_spawnattr_setpgroup(&attributes, 0);
    const int group = ownGroup ? POSIX_SPAWN_SETPGROUP : 0;
    posix_spawnattr_setflags(&attributes, static_cast<short>(POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK | group));
}

struct PipeEnds {
    Descriptor read, write;
};

// Above the standard streams, so that no pipe end lies where another one has to go in the child.
Descriptor LiftedFrom(Descriptor low) {
    if (low.Get() > STDERR_FILENO) return low;
    return Descriptor(fcntl(low.Get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

PipeEnds MakePipe(const String_t& program) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) ThrowSystemError("Cannot make a pipe to program", program, errno);
    PipeEnds pipe{Descriptor(ends[0]), Descriptor(ends[1])};
    pipe = {LiftedFrom(std::move(pipe.read)), LiftedFrom(std::move(pipe.write))};
    if (!pipe.read.IsOpen() || !pipe.write.IsOpen()) {
        ThrowSystemError("Cannot make a pipe to program", program, errno);
    }
    return pipe;
}

/// The environment as execve(2) wants it.
class Environment {
public:
    explicit Environment(std::map<std::string, std::string> added) {
        added.emplace("LC_ALL", "C");
        for (char** entry = environ; *entry; ++entry) {
            const char* const equals = std::strchr(*entry, '=');
            if (!equals || !added.contains(std::string(*entry, static_cast<std::size_t>(equals - *entry))))
                pointers.push_back(*entry);
        }
        for (const auto& [name, value] : added) texts.push_back(name + "=" + value);
        for (std::string& text : texts) pointers.push_back(text.data());
        pointers.push_back(nullptr);
    }
    char* const* Get() const { return pointers.data(); }

private:
    std::vector<std::string> texts;
    std::vector<char*> pointers;
};

/// Redirects one standard stream of the child. @return the child's end of a pipe, to be closed after the start
Descriptor Redirect(int stream, Mode_e mode, SpawnSettings& settings, Descriptor& ours, const String_t& program) {
    if (mode == Null) {
        posix_spawn_file_actions_addopen(&settings.actions, stream, "/dev/null",
                                         stream == STDIN_FILENO ? O_RDONLY : O_WRONLY, 0);
    }
    if (mode != Pipe) return Descriptor();
    PipeEnds pipe = MakePipe(program);
    Descriptor theirs = std::move(stream == STDIN_FILENO ? pipe.read : pipe.write);
    ours = std::move(stream == STDIN_FILENO ? pipe.write : pipe.read);
    if (stream != STDIN_FILENO) fcntl(ours.Get(), F_SETFL, O_NONBLOCK);
    posix_spawn_file_actions_adddup2(&settings.actions, theirs.Get(), stream);
    return theirs;
}

std::vector<char*> PointersTo(std::vector<std::string>& words) {
    std::vector<char*> pointers;
    for (std::string& word : words) pointers.push_back(word.data());
    pointers.push_back(nullptr);
    return pointers;
}

pid_t Start(const SpawnPlan& plan, const SpawnSettings& settings, const String_t& program) {
    std::vector<std::string> words = plan.words;
    const std::vector<char*> arguments = PointersTo(words);
    const Environment environment(plan.environment);
    const bool isPath = words.front().find('/') != std::string::npos;
    if (!plan.searchPath && !isPath) ThrowSystemError("Cannot start program", program, ENOENT);
    if (LumPalIo::FaultAt("spawn", words.front().c_str())) ThrowSystemError("Cannot start program", program, errno);
    pid_t pid = 0;
    const auto spawn = isPath ? posix_spawn : posix_spawnp;
    const int error =
        spawn(&pid, arguments[0], &settings.actions, &settings.attributes, arguments.data(), environment.Get());
    if (error != 0) ThrowSystemError("Cannot start program", program, error);
    return pid;
}

Descriptor WatchEnd(pid_t pid, const String_t& program) {
    Descriptor end(pidfd_open(pid, 0));
    if (end.IsOpen()) return end;
    const int error = errno;
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
    ThrowSystemError("Cannot watch program", program, error);
}

}  // namespace

Spawned Spawn(const SpawnPlan& plan) {
    const String_t program = String_t::FromUtf8(plan.words.front());
    SpawnSettings settings;
    SetAttributes(settings.attributes, plan.leadsGroup);
    Spawned spawned;
    std::array<Descriptor, 3> theirs;
    for (int stream = 0; stream < 3; ++stream) {
        theirs[stream] = Redirect(stream, plan.modes[stream], settings, spawned.pipes[stream], program);
    }
    posix_spawn_file_actions_addclosefrom_np(&settings.actions, STDERR_FILENO + 1);
    spawned.pid = Start(plan, settings, program);
    spawned.end = WatchEnd(spawned.pid, program);
    return spawned;
}

}  // namespace LumPalCmd
