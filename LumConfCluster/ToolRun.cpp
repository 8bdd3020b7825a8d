#include "ToolRun.h"

#include <algorithm>
#include <limits>
#include <string_view>

#include "ConfBase.h"
#include "LimitedStream.h"
#include "LumPalCmd.h"
#include "LumPalIo.h"
#include "Messages.h"
#include "Names.h"
#include "Trace.h"

namespace LumConfCluster {

using namespace LumConf;
using LumPalArray::CharArray_t;
using LumPalMsg::RuntimeException_t;
using LumPalStr::String_t;

namespace {

constexpr std::uint32_t kMsPerSecond = 1000;
/// The process is to be gone within five seconds, with all that else it does.
constexpr std::uint32_t kTimeToEndMs = 1000;

String_t TextOf(const CharArray_t& line) {
    return String_t::FromUtf8(std::string_view(line.GetData(), line.GetLength()));
}

/// One run of a tool.
class Run {
public:
    Run(const String_t& cmd, const ToolLimits& limits) : cmd(cmd), limits(limits) {
        LUMCONF_TRACE(trace::ClusterCliOutputs, String_t("run: ") + cmd);
        LumPalCmd::Command_t command(cmd, true);
        command.RedirectError(LumPalCmd::Null).RedirectInput(LumPalCmd::Null).RedirectOutput(LumPalCmd::Pipe);
        process = command.PutEnv("LANG", "C").LimitTime(limits.timeMs).EndOnStop().Execute();
        lines = LumPalIo::DataInputStream_t(LimitedStream::Over(process.GetStandardOutput(), limits.bytes));
    }

    /// Reads what the run is for; a tool that goes beyond a limit is ended.
    template <class Reading>
    auto Guarded(Reading&& reading) {
        try {
            return reading();
        } catch (const LumPalCmd::TimeLimitException_t&) {
            process.End();
            Raise<RuntimeException_t>(msg::ToolTooSlow, limits.timeMs / kMsPerSecond, limits.timeKey, cmd);
        } catch (const LumPalCmd::StoppingException_t&) {
            process.Terminate(kTimeToEndMs);
            throw;
        } catch (const TooMuch&) {
            process.End();
            Raise<RuntimeException_t>(msg::ToolOutputTooLarge, LumPalStr::NumToStr(limits.bytes),
                                      LumPalStr::NumToStr(limits.lines), cmd);
        }
    }

    /// False at the end.
    bool ReadLine(String_t& line) {
        try {
            line = TextOf(lines.ReadLine());
        } catch (const LumPalIo::EOFException_t&) {
            return false;
        }
        LUMCONF_TRACE(trace::ClusterCliOutputs, line);
        return true;
    }
    void DropTheRest() { lines.Close(); }
    int WaitFor() const {
        const int code = process.WaitFor();
        if (code != 0) LUMCONF_TRACE(trace::ClusterCliOutputs, String_t("returned ") + LumPalStr::NumToStr(code));
        return code;
    }
    void ExpectSuccess() const {
        if (const int code = WaitFor()) Raise<RuntimeException_t>(msg::ToolReturned, code, Make(msg::ToolLineWas, cmd));
    }
    void ExpectRoom(std::size_t count) const {
        if (count >= limits.lines) throw TooMuch();
    }

private:
    const String_t cmd;
    const ToolLimits limits;
    LumPalCmd::Process_t process;
    LumPalIo::DataInputStream_t lines;
};

ToolLimits LimitsOf(const char* key) {
    const int seconds = std::max(ConfBase::Get_NS_ConfCluster().Open().GetInt(key), 0);
    constexpr std::uint32_t most = std::numeric_limits<std::uint32_t>::max() / kMsPerSecond;
    ToolLimits limits;
    limits.timeMs = std::min(static_cast<std::uint32_t>(seconds), most) * kMsPerSecond;
    limits.timeKey = key;
    return limits;
}

}  // namespace

ToolLimits ConfiguredToolLimits() {
    return LimitsOf(names::ToolTimeoutKey);
}

ToolLimits ConfiguredCommandLimits() {
    return LimitsOf(names::CommandTimeoutKey);
}

String_t FirstLineOf(const String_t& cmd, const ToolLimits& limits) {
    Run run(cmd, limits);
    return run.Guarded([&] {
        String_t line;
        const bool printed = run.ReadLine(line);
        run.DropTheRest();
        if (!printed) Raise<RuntimeException_t>(msg::ToolPrintedNothing, run.WaitFor(), cmd);
        run.ExpectSuccess();
        return line;
    });
}

std::vector<String_t> AllLinesOf(const String_t& cmd, const ToolLimits& limits) {
    Run run(cmd, limits);
    return run.Guarded([&] {
        std::vector<String_t> lines;
        for (String_t line; run.ReadLine(line); lines.push_back(line)) run.ExpectRoom(lines.size());
        run.ExpectSuccess();
        return lines;
    });
}

int ExitCodeOf(const String_t& cmd, const ToolLimits& limits) {
    Run run(cmd, limits);
    return run.Guarded([&] {
        run.DropTheRest();
        return run.WaitFor();
    });
}

}  // namespace LumConfCluster
