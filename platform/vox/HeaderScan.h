/// @file
/// A strict look at the raw bytes of a request's header, before anything interprets them.
#pragma once

#include <cstddef>
#include <string_view>

namespace LumVoxMsg {

/// Finds the end of a header and refuses the forms that two programs may read differently: a line end without CR,
/// a CR without LF, folded lines, blanks before a colon, control characters, a line without a colon, a request line
/// that does not begin with a letter. See RFC 9112, sections 2.2, 3, 5.1, 5.2.
/// One header; one thread.
class HeaderScan {
public:
    enum class Result { NeedMore, Complete, Bad };
    /// Looks at the bytes that follow those of the call before.
    /// @param used  out: how many of them belong to the header, its empty line included (when Complete)
    Result Feed(std::string_view bytes, std::size_t& used);
    /// Of what was seen so far.
    std::size_t GetFieldCount() const noexcept { return fields; }

private:
    enum class State {
        Start,         ///< before the first byte of the request line
        RequestLine,   ///< inside it
        RequestEnd,    ///< behind its CR
        LineStart,     ///< at the first byte of a field line, or of the empty line
        Name,          ///< in a field's name
        Value,         ///< behind its colon
        ValueEnd,      ///< behind a value's CR
        EmptyLineEnd,  ///< behind the empty line's CR
        Done,
        Refused
    };
    static State Next(State state, unsigned char byte);

    State state = State::Start;
    std::size_t fields = 0;
};

}  // namespace LumVoxMsg
