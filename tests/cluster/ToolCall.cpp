#include "ToolCall.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include "CallLog.h"
#include "Product.h"

namespace sim {
namespace {

/// What a call does otherwise than usual; the log holds it already.
const Conduct* ConductOf(const Description& cluster, const CallLog& log, const Words& call) {
    for (const Conduct& conduct : cluster.conducts) {
        if (!Matches(conduct.call, call)) continue;
        if (!conduct.number || *conduct.number == log.Count(conduct.call)) return &conduct;
    }
    return nullptr;
}

/// False when nobody reads any more.
bool Print(int stream, const std::string& text) {
    for (std::size_t done = 0; done < text.size();) {
        const ssize_t written = write(stream, text.data() + done, text.size() - done);
        if (written <= 0) return false;
        done += static_cast<std::size_t>(written);
    }
    return true;
}

void WaitFor(const std::string& path) {
    while (!path.empty() && access(path.c_str(), F_OK) != 0) usleep(1000);
}

void Stay() {
    for (;;) pause();
}

void PrintRepeatedly(const Conduct& conduct, const std::string& text) {
    std::string block = text;
    long repeats = conduct.repeat;
    // A million small writes would measure the pipe.
    while (conduct.forever && block.size() < 65536 && !text.empty()) block += text;
    for (; repeats > 1 && repeats % 2 == 0 && block.size() < 65536; repeats /= 2) block += block;
    while ((conduct.forever || repeats-- > 0) && Print(STDOUT_FILENO, block)) {
    }
}

void End(const Conduct& conduct) {
    if (conduct.child && fork() == 0) Stay();
    if (conduct.close) close(STDOUT_FILENO);
    if (conduct.hang) Stay();
    if (conduct.signal) {
        signal(conduct.signal, SIG_DFL);
        raise(conduct.signal);
    }
}

int Perform(const Conduct& conduct, const Answer& answer) {
    PrintRepeatedly(conduct, conduct.print.value_or(answer.out));
    Print(STDERR_FILENO, answer.error + conduct.error);
    End(conduct);
    return conduct.code.value_or(answer.code);
}

}  // namespace

int AnswerCall(const std::string& folder, const Words& call) {
    Description cluster;
    Conduct conduct;
    {
        CallLog log(folder + "/" + kCallsFile);
        log.Write(call);  // what is described from here on counts for it
        cluster = ReadDescription(folder + "/" + kDescriptionFile);
        if (const Conduct* found = ConductOf(cluster, log, call)) conduct = *found;
        if (!conduct.waitFor.empty()) log.WriteWaiting(call);
    }
    if (!conduct.waitFor.empty()) {
        WaitFor(conduct.waitFor);
        cluster = ReadDescription(folder + "/" + kDescriptionFile);
    }
    const Tool tool = Product::Named(cluster.product).ToolNamed(call.front());
    return Perform(conduct, tool(cluster, {call.begin() + 1, call.end()}));
}

}  // namespace sim
