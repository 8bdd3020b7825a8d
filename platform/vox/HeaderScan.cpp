#include "HeaderScan.h"

#include <cctype>

namespace LumVoxMsg {
namespace {

bool IsToken(unsigned char byte) {
    return std::isalnum(byte) != 0 ||
           std::string_view("!#$%&'*+-.^_`|~").find(static_cast<char>(byte)) != std::string_view::npos;
}

/// Printable ASCII and blank: what a request line may hold.
bool IsPrintable(unsigned char byte) {
    return byte >= 0x20 && byte < 0x7F;
}

bool IsValueByte(unsigned char byte) {
    return byte == '\t' || (byte >= 0x20 && byte != 0x7F);
}

}  // namespace

HeaderScan::State HeaderScan::Next(State state, unsigned char byte) {
    switch (state) {
        case State::Start:
            return byte >= 'A' && byte <= 'Z' ? State::RequestLine : State::Refused;
        case State::RequestLine:
            if (byte == '\r') return State::RequestEnd;
            return IsPrintable(byte) ? State::RequestLine : State::Refused;
        case State::RequestEnd:
            return byte == '\n' ? State::LineStart : State::Refused;
        case State::LineStart:
            if (byte == '\r') return State::EmptyLineEnd;
            return IsToken(byte) ? State::Name : State::Refused;
        case State::Name:
            if (byte == ':') return State::Value;
            return IsToken(byte) ? State::Name : State::Refused;
        case State::Value:
            if (byte == '\r') return State::ValueEnd;
            return IsValueByte(byte) ? State::Value : State::Refused;
        case State::ValueEnd:
            return byte == '\n' ? State::LineStart : State::Refused;
        case State::EmptyLineEnd:
            return byte == '\n' ? State::Done : State::Refused;
        case State::Done:
        case State::Refused:
            return state;
    }
    return State::Refused;
}

HeaderScan::Result HeaderScan::Feed(std::string_view bytes, std::size_t& used) {
    used = 0;
    while (used < bytes.size() && state != State::Done && state != State::Refused) {
        const State before = state;
        state = Next(state, static_cast<unsigned char>(bytes[used++]));
        fields += before == State::LineStart && state == State::Name;
    }
    if (state == State::Refused) return Result::Bad;
    return state == State::Done ? Result::Complete : Result::NeedMore;
}

}  // namespace LumVoxMsg
