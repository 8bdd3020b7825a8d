#include "LumConfCluster/ClusterUtil.h"

#include <cstdio>

#include "ConfBase.h"
#include "LumPalConsole.h"
#include "Names.h"
#include "ToolFailure.h"

namespace LumConfCluster {

using namespace LumConf;
using LumPalStr::String_t;

namespace {

/// A terminal obeys control characters: no name is to give it orders.
String_t Tamed(String_t text) {
    for (std::uint32_t i = 0; i < text.GetLength(); ++i) {
        const char16_t unit = text.GetAt(i);
        if ((unit < 0x20 && unit != u'\n') || (unit >= 0x7F && unit < 0xA0)) text.SetAt(i, '?');
    }
    return text;
}

}  // namespace

String_t ClusterUtil::GetOut(const String_t& cmd) {
    return AsToolFailure([&](const ToolLimits& limits) { return FirstLineOf(cmd, limits); });
}

std::vector<String_t> ClusterUtil::GetOutColl(const String_t& cmd) {
    return AsToolFailure([&](const ToolLimits& limits) { return AllLinesOf(cmd, limits); });
}

void ClusterUtil::I18N_CreateMessage(const LumPalMsg::CreateMessage_t& message, bool toStdErr) {
    String_t text = message.GetMessageText();
    if (text.IsEmpty()) return;
    if (!(text.LastChar() == '\n')) text += "\n";
    if (LumPalConsole::IsTerminal(toStdErr ? LumPalConsole::Stream::Error : LumPalConsole::Stream::Output))
        text = Tamed(text);
    const LumPalStr::MBS_t bytes(text);
    std::fwrite(bytes, 1, bytes.GetLength(), toStdErr ? stderr : stdout);
}

void ClusterUtil::SetToolTimeout(std::int32_t seconds, const char* name) {
    LumConfCluster::SetToolTimeout(seconds, name);
}

bool ClusterUtil::IsMonitorMode() {
    return ConfBase::Get_NS_ConfCluster().Open().GetBool(names::MonitorModeKey);
}

}  // namespace LumConfCluster
