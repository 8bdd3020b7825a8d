/// @file
/// The messages of the library by word, and the one-line ways to make and to raise one.
///
///     throw Because<PolicyFileException>(msg::PackFileIsDirectory, path);
///     catch (const LumPalIo::IOException_t& e) { Raise<ConfException>(msg::PackError, path, e); }
///
/// Arguments fill %1, %2 and so on; the compiler refuses a call with too few or too many. An exception, a message
/// or a message list among them fills no hole: it becomes a detail of the new message.
#pragma once

#include <type_traits>

#include "Catalog.h"
#include "LumPalMsg.h"

namespace LumConf {

/// One row of the message table.
struct MessageRow {
    unsigned id;  ///< catalogue number; 0 for a text that stands in no catalogue
    LumPalMsg::Severity_e severity;
    const char* text;  ///< default text, ASCII
};

/// A row whose text has the holes %1 to %Holes.
template <unsigned Holes>
struct MessageOf : MessageRow {};

/// The highest hole of a text; holes have one digit or two, and none begins with 0.
constexpr unsigned CountHoles(const char* text) {
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    unsigned highest = 0;
    for (; *text; ++text) {
        if (text[0] != '%' || text[1] == '0' || !isDigit(text[1])) continue;
        unsigned hole = static_cast<unsigned>(text[1] - '0');
        if (isDigit(text[2])) hole = hole * 10 + static_cast<unsigned>(text[2] - '0');
        highest = hole > highest ? hole : highest;
    }
    return highest;
}

namespace msg {
#define LUM_MESSAGE(word, id, severity, text) \
    inline constexpr MessageOf<CountHoles(text)> word{{id, LumPalMsg::Severity_e::severity, text}};
#include "Messages.def"
#undef LUM_MESSAGE
}  // namespace msg

/// Whether an argument becomes a detail instead of filling a hole.
template <class T>
inline constexpr bool IsDetail =
    std::is_base_of_v<LumPalMsg::Exception_t, T> || std::is_base_of_v<LumPalMsg::MessageList_t, T> ||
    std::is_base_of_v<LumPalMsg::Message_t, T>;

namespace detail {
inline void Attach(LumPalMsg::CreateMessage_t& message, const LumPalMsg::Exception_t& cause) {
    message.AddDetails(cause.GetMessageList());
}
inline void Attach(LumPalMsg::CreateMessage_t& message, const LumPalMsg::MessageList_t& cause) {
    message.AddDetails(cause);
}
inline void Attach(LumPalMsg::CreateMessage_t& message, const LumPalMsg::Message_t& cause) {
    message.AddDetails(cause);
}
template <class T>
void Attach(LumPalMsg::CreateMessage_t& message, const T& argument) requires(!IsDetail<T>) {
    message << argument;
}
}  // namespace detail

/// The message of a row that is known only at run time, without arguments: stream them.
inline LumPalMsg::CreateMessage_t MakeUnchecked(const MessageRow& row) {
    if (row.id == 0) return LumPalMsg::CreateMessage_t(row.text, row.severity);
    return LumPalMsg::CreateMessage_t(Catalog::GetCatalog(), row.id, row.text, row.severity);
}

/// The message of a row with its arguments and details.
template <unsigned Holes, class... Args>
LumPalMsg::CreateMessage_t Make(const MessageOf<Holes>& row, const Args&... args) {
    static_assert((0u + ... + (IsDetail<Args> ? 0u : 1u)) == Holes, "one argument for each hole of the text");
    LumPalMsg::CreateMessage_t message = MakeUnchecked(row);
    (detail::Attach(message, args), ...);
    return message;
}

/// The exception with the message of the row: to be thrown where the compiler must see the throw.
template <class E, unsigned Holes, class... Args>
[[nodiscard]] E Because(const MessageOf<Holes>& row, const Args&... args) {
    return E(Make(row, args...));
}

/// Throws the exception with the message of the row.
template <class E, unsigned Holes, class... Args>
[[noreturn]] void Raise(const MessageOf<Holes>& row, const Args&... args) {
    throw Because<E>(row, args...);
}

}  // namespace LumConf
