#include "ToolRun.h"

#include <algorithm>
#include <atomic>
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
constexpr std::size_t kMostSaidBytes = 1024;

String_t TextOf(const CharArray_t& line) {
    return String_t::FromUtf8(std::string_view(line.GetData(), line.GetLength()));
}

/// As one line; control characters are for nobody's terminal.
String_t AsLine(String_t text) {
    for (std::uint32_t i = 0; i < text.GetLength(); ++i) {
        const char16_t unit = text.GetAt(i);
        if (unit < 0x20 || (unit >= 0x7F && unit < 0xA0)) text.SetAt(i, ' ');
    }
    while (text.IsNotEmpty() && text.LastChar() == u' ') text = text.Left(text.GetLength() - 1);
    return text;
}

/// One run of a tool.
class Run {
public:
    Run(const String_t& cmd, const ToolLimits& limits, LumPalCmd::Mode_e errors = LumPalCmd::Null)
        : cmd(cmd), limits(limits) {
        LUMCONF_TRACE(trace::ClusterCliOutputs, String_t("run: ") + cmd);
        LumPalCmd::Command_t command(cmd, true);
        command.RedirectError(errors).RedirectInput(LumPalCmd::Null).RedirectOutput(LumPalCmd::Pipe);
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
    std::vector<String_t> ReadLines() {
        std::vector<String_t> all;
        for (String_t line; ReadLine(line); all.push_back(line)) ExpectRoom(all.size());
        return all;
    }
    /// The beginning of what it wrote to its error stream, once it has ended.
    String_t ReadSaid() const {
        CharArray_t bytes(kMostSaidBytes);
        const std::int64_t count = process.GetStandardError().Read(bytes);
        const auto length = static_cast<std::size_t>(std::max<std::int64_t>(count, 0));
        const String_t said = AsLine(String_t::FromUtf8(std::string_view(bytes.GetData(), length)));
        LUMCONF_TRACE(trace::ClusterCliOutputs, String_t("said: ") + said);
        return said;
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

struct GivenTimeout {
    std::atomic<std::int32_t> seconds{0};  ///< 0: none
    std::atomic<const char*> name{""};
};

GivenTimeout& Given() {
    static GivenTimeout given;
    return given;
}

ToolLimits LimitsOf(int seconds, const char* key) {
    constexpr std::uint32_t most = std::numeric_limits<std::uint32_t>::max() / kMsPerSecond;
    ToolLimits limits;
    limits.timeMs = std::min(static_cast<std::uint32_t>(std::max(seconds, 0)), most) * kMsPerSecond;
    limits.timeKey = key;
    return limits;
}

ToolLimits LimitsOf(const char* key) {
    return LimitsOf(ConfBase::Get_NS_ConfCluster().Open().GetInt(key), key);
}

}  // namespace

ToolLimits ConfiguredToolLimits() {
    if (const std::int32_t seconds = Given().seconds) return LimitsOf(seconds, Given().name);
    return LimitsOf(names::ToolTimeoutKey);
}

void SetToolTimeout(std::int32_t seconds, const char* name) {
    Given().name = name;
    Given().seconds = seconds;
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
        const std::vector<String_t> lines = run.ReadLines();
        run.ExpectSuccess();
        return lines;
    });
}

ToolEnd EndOf(const String_t& cmd, const ToolLimits& limits) {
    Run run(cmd, limits, LumPalCmd::Pipe);
    return run.Guarded([&] {
        ToolEnd end;
        end.lines = run.ReadLines();
        end.code = run.WaitFor();
        end.said = run.ReadSaid();
        return end;
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
