/// @file
/// How a message becomes lines of a log.
#pragma once

#include <chrono>
#include <string>

#include "LumPalMsg.h"
#include "LumPalStr.h"

namespace LumPalLog {

/// UTF-8 on one line, in which every character can be seen: controls, marks without a sign of their own (zero-width
/// ones, bidirectional controls) and every blank but the ordinary one stand as \xNN, \uNNNN or \UNNNNNNNN. A backslash
/// that begins what looks like one of these stands as \x5c, so that different texts have different lines.
std::string OneLine(const LumPalStr::String_t& text);

/// Where the details of a message stand.
enum class DetailStyle { SameLine, LineEach };

/// The lines of a message, each with its line end: time, severity, text and details.
std::string LogLines(const LumPalMsg::Message_t& message, DetailStyle style,
                     std::chrono::system_clock::time_point moment);
/// Those of one message after another.
std::string LogLines(const LumPalMsg::MessageList_t& messages, DetailStyle style,
                     std::chrono::system_clock::time_point moment);
/// Where standard error is the journal, which keeps time and priority itself: each line behind its mark
/// (LumPalConsole::JournalMark). Elsewhere empty.
std::string JournalLines(const LumPalMsg::MessageList_t& messages, DetailStyle style);

}  // namespace LumPalLog
