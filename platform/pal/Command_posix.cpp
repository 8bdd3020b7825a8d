// Running a command: LumPalCmd.h.
#include "CommandLine.h"
#include "Deadline.h"
#include "LumPalCmd.h"
#include "LumPalDaemon.h"
#include "ProcessImpl_posix.h"
#include "Spawn_posix.h"

namespace LumPalCmd {

LUMPAL_DEFINE_EXCEPTION(TimeLimitException_t);
LUMPAL_DEFINE_EXCEPTION(StoppingException_t);

using LumPalStr::String_t;

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

Process_t Command_t::Execute() {
    SpawnPlan plan = impl->plan;
    if (plan.endsOnStop && LumPalRuntime::IsStopping()) ThrowStopping();
    plan.leadsGroup = plan.limitMs > 0 || (plan.endsOnStop && LumPalRuntime::TakesSignals());
    plan.words = SplitWords(impl->line);
    return Process_t(std::make_shared<Process_t::Impl>(Spawn(plan), plan));
}

}  // namespace LumPalCmd
