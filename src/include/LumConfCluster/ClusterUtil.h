/// @file
/// Helpers of the cluster side.
#pragma once

#include <cstdint>
#include <vector>

#include "Export.h"
#include "LumPalMsg.h"
#include "LumPalStr.h"

namespace LumConf {
class PolicyHeaderImpl;
}

namespace LumConfCluster {

/// Static members only. Any thread.
class LUMCONF_API ClusterUtil {
public:
    ClusterUtil() = delete;

    /// What FormatOutputString puts first; for any other value nothing.
    enum class MsgType : std::int32_t { Info, Note, Warning, Error };

    /// From now on, and in this process alone, a product's tool may take so long, whatever TOOL_TIMEOUT says.
    /// @param seconds  at least 1. @param name  what the limit is called in messages; it stays as long as the process
    static void SetToolTimeout(std::int32_t seconds, const char* name);

    /// Runs one line of a product's tool, and returns the first line that it prints; the others are dropped.
    /// Blocks until the tool ends, without limit unless TOOL_TIMEOUT of "conf.cluster" (seconds) sets one.
    /// @param cmd  the program and its words, in double quotes where they hold blanks; no shell is involved
    /// @return     without the line's end; bytes that are no UTF-8 become U+FFFD
    /// @throws     LumConf::ClusterException 335, with 334 inside when the exit code is not 0; also for a tool that
    ///             prints nothing, takes longer than its limit (it is ended), or prints more than 64 MiB as one line
    static LumPalStr::String_t GetOut(const LumPalStr::String_t& cmd);
    /// The same for all lines; a tool that prints nothing gives none.
    /// @throws     as GetOut; also for more than 64 MiB or a million lines (the tool is ended)
    static std::vector<LumPalStr::String_t> GetOutColl(const LumPalStr::String_t& cmd);

    /// Wraps words for the console: the word of the type, then the text from column `indent` on, in lines of at most
    /// `maxWidth` columns. Line feeds of the text stay; a word that finds no room in a line of its own is cut.
    static LumPalStr::String_t FormatOutputString(const LumPalStr::String_t& input, std::int32_t indent,
                                                  std::int32_t maxWidth, MsgType type);
    /// Prints the message's text, with a line feed behind it unless it has one; nothing for an empty text.
    /// On a terminal each control character but the line feed is a question mark.
    /// @param toStdErr  to standard error, else to standard output
    static void I18N_CreateMessage(const LumPalMsg::CreateMessage_t& message, bool toStdErr);
    /// Whether failures also go to the application log: MONITOR_MODE of "conf.cluster".
    static bool IsMonitorMode();

    /// Fits the status of a policy that is being installed to the resource groups that its attributes name
    /// ("HARG:<group>", or "HARG:noHARG" for a policy of no group). It is disabled unless an attribute before it says
    /// otherwise: a group that is online on this node, or none. Nothing enables it.
    /// In a process that has detected no cluster the header stays as it came; also when the cluster cannot be asked.
    /// @throws LumPalMsg::Exception_t  what is no failure of the cluster: a name of a node that cannot be resolved
    static void ChangeHeader(LumConf::PolicyHeaderImpl* header);
};

}  // namespace LumConfCluster
