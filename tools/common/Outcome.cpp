#include "common/Outcome.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <new>
#include <ostream>
#include <sstream>

#include "Exceptions.h"
#include "LumCtrl.h"
#include "LumPalConsole.h"
#include "LumPalMsg.h"
#include "LumPalNet.h"
#include "LumSecAuth.h"
#include "MessageNumbers.h"
#include "Utils.h"
#include "common/Advice.h"
#include "common/Arguments.h"
#include "common/NodeAccess.h"
#include "common/ProgramName.h"
#include "common/Table.h"

namespace lumtools {

namespace {

using LumConf::Utils;
using LumPalConsole::Priority;
using LumPalMsg::MessageList_t;
using LumPalStr::String_t;

constexpr const char* kWarning = "warning: ";

/// A detail may itself hold lines: the words of a node, already indented there.
void AddLines(const std::string& text, int level, std::vector<MessageLine>& lines) {
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        const std::size_t blanks = std::min(line.find_first_not_of(' '), line.size());
        if (blanks < line.size()) lines.push_back({level + static_cast<int>(blanks / 2), line.substr(blanks)});
    }
}

void Collect(const MessageList_t& messages, int level, std::vector<MessageLine>& lines) {
    for (int i = 0; i < messages.GetMessageCount(); ++i) {
        const LumPalMsg::Message_t message = messages.GetMessage(i);
        AddLines(message.Format(LumPalMsg::BareText).ToUtf8(), level, lines);
        Collect(message.GetDetails(), level + 1, lines);
    }
}

/// The library calls an answer without its list "not found" too, but it tells nothing about the node's policies.
bool IsListMissing(const LumConf::PolicyNotFoundError& e) {
    const MessageList_t& messages = e.GetMessageList();
    return messages.GetMessageCount() > 0 && messages.GetMessage(0).GetId() == LumConf::kNoListInAnswer;
}

Outcome From(ExitCode code, const LumPalMsg::Exception_t& e) {
    const MessageList_t& messages = e.GetMessageList();
    Outcome outcome{code, LinesOf(messages)};
    if (messages.GetMessageCount() > 0) outcome.message = messages.GetMessage(0).GetId();
    const std::string advice = AdviceOn(outcome.message);
    if (!advice.empty()) outcome.messages.push_back({1, advice});
    return outcome;
}

/// What goes to no terminal is not wrapped: scripts search in it.
int Width() {
    const int columns = LumPalConsole::Columns(LumPalConsole::Stream::Error);
    return columns > 0 ? columns : 1000000;
}

/// All that is said begins alike, whatever went wrong.
String_t Prefix() {
    const String_t name(ProgramName());
    return name.IsEmpty() ? name : name + ": ";
}

const char* KindOf(ExitCode code) {
    if (code == kNothingToDo) return "note: ";
    return code == kUntold ? kWarning : "";
}

Priority PriorityOf(ExitCode code) {
    if (code == kNothingToDo) return Priority::Info;
    return code == kUntold ? Priority::Warning : Priority::Error;
}

/// Where standard error is the journal a text is one line: it is not wrapped there.
std::string_view MarkFor(const std::ostream& out, Priority priority) {
    return &out == &std::cerr ? LumPalConsole::JournalMark(priority) : std::string_view();
}

void PrintOuter(std::ostream& out, Priority priority, const std::string& text) {
    const int indent = static_cast<int>(Prefix().GetLength());
    out << MarkFor(out, priority)
        << Utils::FormatOutput(Prefix().Left(indent > 0 ? indent - 1 : 0), Text(Printable(text)), indent, Width())
               .ToUtf8()
        << "\n";
}

/// It stands below what it belongs to: two columns to the right of it.
void PrintDetail(std::ostream& out, Priority priority, const MessageLine& line) {
    const int indent = static_cast<int>(Prefix().GetLength()) + 2 * std::max(line.level, 1);
    out << MarkFor(out, priority)
        << Utils::FormatStdOutput(Text(Printable(line.text)), indent, Width(), Utils::Bullet).ToUtf8() << "\n";
}

Outcome Failed(const LumPalMsg::Exception_t& e) {
    Outcome outcome = From(kFailed, e);
    if (!HasFailedForAccess(e.what())) return outcome;
    for (MessageLine& line : outcome.messages) ++line.level;
    outcome.messages.insert(outcome.messages.begin(), {0, ClosedNodeText()});
    outcome.code = kRefused;
    return outcome;
}

}  // namespace

const char* Outcome::Word() const {
    switch (code) {
        case kDone:
            return "done";
        case kFailed:
            return wasBegun ? "failed" : "not tried";
        case kWrongUsage:
            return "wrong usage";
        case kNothingToDo:
            return "nothing to do";
        case kNotFound:
            return "not found";
        case kRefused:
            return "refused";
        case kUnreachable:
            return "unreachable";
        case kUntold:
            return "done, nobody told";
        case kSomeFailed:
            return "some failed";
        case kInterrupted:
        case kTerminated:
            return wasBegun ? "unknown" : "not asked";
    }
    return "";
}

Outcome Attempt(const std::function<void()>& request) {
    try {
        request();
        return {};
    } catch (const LumConf::NoPoliciesInstalledError& e) {
        return From(kNotFound, e);
    } catch (const LumConf::PolicyNotFoundError& e) {
        return From(IsListMissing(e) ? kFailed : kNotFound, e);
    } catch (const LumConf::NoPolicyOperation& e) {
        return From(kNothingToDo, e);
    } catch (const LumConf::PolicyOwnerError& e) {
        return From(kRefused, e);
    } catch (const LumConf::PolicyVersionError& e) {
        return From(kRefused, e);
    } catch (const LumSecAuth::NotAuthorizedException& e) {
        return From(kRefused, e);
    } catch (const LumCtrl::ControlException& e) {
        return From(kUntold, e);
    } catch (const LumConf::TransferException& e) {
        // The node answered: that is a failure, though the class stands below the next one.
        return From(kFailed, e);
    } catch (const LumPalNet::UnansweredException_t& e) {
        Outcome outcome = From(kUnreachable, e);
        outcome.isUnanswered = true;
        return outcome;
    } catch (const LumPalNet::ConnectException_t& e) {
        return From(kUnreachable, e);
    } catch (const LumPalMsg::IllegalArgumentError_t& e) {
        return From(kWrongUsage, e);
    } catch (const LumPalMsg::Exception_t& e) {
        return Failed(e);
    } catch (const CLI::Error&) {
        throw;  // the program says it together with its usage
    } catch (const std::bad_alloc&) {
        return {kFailed, {{0, "There is not enough memory for this."}}};
    } catch (const std::exception& e) {
        return {kFailed, {{0, e.what()}}};
    }
}

std::vector<MessageLine> LinesOf(const MessageList_t& messages) {
    std::vector<MessageLine> lines;
    Collect(messages, 0, lines);
    return lines;
}

void PrintFailure(std::ostream& out, const std::string& where, const Outcome& outcome) {
    const Priority priority = PriorityOf(outcome.code);
    for (std::size_t i = 0; i < outcome.messages.size(); ++i) {
        const MessageLine& line = outcome.messages[i];
        if (i == 0 || line.level == 0) {
            PrintOuter(out, priority, KindOf(outcome.code) + (where.empty() ? "" : where + ": ") + line.text);
        } else {
            PrintDetail(out, priority, line);
        }
    }
}

void PrintWarnings(std::ostream& out, const MessageList_t& messages) {
    for (const MessageLine& line : LinesOf(messages)) {
        line.level == 0 ? PrintOuter(out, Priority::Warning, kWarning + line.text)
                        : PrintDetail(out, Priority::Warning, line);
    }
}

}  // namespace lumtools
