// Running a command: LumPalCmd.h.
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <sstream>

#include "CommandLine.h"
#include "Deadline.h"
#include "LumPalCmd.h"
#include "LumPalDaemon.h"
#include "ProcessImpl_posix.h"
#include "Spawn_posix.h"
#include "SystemError.h"

namespace LumPalCmd {

LUMPAL_DEFINE_EXCEPTION(TimeLimitException_t);
LUMPAL_DEFINE_EXCEPTION(StoppingException_t);

using LumPalStr::String_t;

namespace {

/// Sets what the starting of programs has no attribute for.
const std::vector<std::string> kEndsWithParent{"/usr/bin/setpriv", "--pdeathsig", "TERM", "--"};

/// The number of the system's error, 0 for a program that may be started.
int WhyNotStarted(const std::string& path) {
    if (path.find('/') == path.npos) return ENOENT;
    struct stat status;
    if (stat(path.c_str(), &status) != 0) return errno;
    if (!S_ISREG(status.st_mode)) return EACCES;
    return access(path.c_str(), X_OK) == 0 ? 0 : errno;
}

/// Likewise; what may not be started does not hide what may, further behind.
int WhyNotInPath(const std::string& program) {
    const char* const path = std::getenv("PATH");
    std::istringstream folders(path ? path : "/bin:/usr/bin");
    int worst = ENOENT;
    for (std::string folder; std::getline(folders, folder, ':');) {
        const int error = WhyNotStarted((folder.empty() ? "." : folder) + "/" + program);
        if (error == 0) return 0;
        if (error != ENOENT && error != ENOTDIR) worst = error;
    }
    return worst;
}

}  // namespace

struct Command_t::Impl {
    String_t line;
    SpawnPlan plan;
};

Command_t::Command_t(const String_t& line, bool searchPath) : impl(std::make_shared<Impl>()) {
    impl->line = line;
    impl->plan.searchPath = searchPath;
}

Command_t& Command_t::RedirectInput(Mode_e mode) {
    impl->plan.modes[STDIN_FILENO] = mode;
    return *this;
}

Command_t& Command_t::RedirectOutput(Mode_e mode) {
    impl->plan.modes[STDOUT_FILENO] = mode;
    return *this;
}

Command_t& Command_t::RedirectError(Mode_e mode) {
    impl->plan.modes[STDERR_FILENO] = mode;
    return *this;
}

Command_t& Command_t::PutEnv(const String_t& name, const String_t& value) {
    const std::string nameBytes = name.ToUtf8(), valueBytes = value.ToUtf8();
    const std::string_view forbidden("=\0", 2);
    if (nameBytes.empty() || nameBytes.find_first_of(forbidden) != nameBytes.npos ||
        valueBytes.find('\0') != valueBytes.npos) {
        using namespace LumPalMsg;
        throw IllegalArgumentError_t(CreateError_t("The environment can not hold a variable named '%1'.") << name);
    }
    impl->plan.environment[nameBytes] = valueBytes;
    return *this;
}

Command_t& Command_t::LimitTime(std::uint32_t milliseconds) {
    impl->plan.limitMs = milliseconds;
    return *this;
}

Command_t& Command_t::EndOnStop() {
    impl->plan.endsOnStop = true;
    return *this;
}

Command_t& Command_t::EndWithParent() {
    impl->plan.endsWithParent = true;
    return *this;
}

void Command_t::RequireProgram() const {
    const std::string program = SplitWords(impl->line).front();
    const int error =
        impl->plan.searchPath && program.find('/') == program.npos ? WhyNotInPath(program) : WhyNotStarted(program);
    if (error != 0) LumPalIo::ThrowSystemError("Cannot start program", String_t::FromUtf8(program), error);
}

Process_t Command_t::Execute() {
    SpawnPlan plan = impl->plan;
    if (plan.endsOnStop && LumPalRuntime::IsStopping()) ThrowStopping();
    plan.leadsGroup = plan.limitMs > 0 || (plan.endsOnStop && LumPalRuntime::TakesSignals());
    plan.words = SplitWords(impl->line);
    if (plan.endsWithParent && WhyNotStarted(kEndsWithParent.front()) == 0)
        plan.words.insert(plan.words.begin(), kEndsWithParent.begin(), kEndsWithParent.end());
    return Process_t(std::make_shared<Process_t::Impl>(Spawn(plan), plan));
}

}  // namespace LumPalCmd
