/// @file
/// Any bytes as a message with given arguments: read or refused, and what was read is written and reads as the same.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iterator>

#include "LumVoxSoap.h"

/// @tparam Arguments  has an array `all` of pointers to its arguments
template <class Arguments>
class RoundTrip {
public:
    using CharArray = LumPalArray::CharArray_t;

    /// @return whether the message was read; `before` and `after` are what was read of it and of its copy then
    bool Try(const std::uint8_t* data, std::size_t size) {
        try {
            Read(before, CharArray(reinterpret_cast<const char*>(data), size));
        } catch (const LumPalMsg::RuntimeException_t&) {
            return false;  // refused
        }
        const CharArray written = Write(before);
        Read(after, written);
        if (!(Write(after) == written)) std::abort();
        return true;
    }

    Arguments before, after;

private:
    static void Read(Arguments& arguments, const CharArray& message) {
        LumVoxSoap::SOAPEnvelope().Read(LumPalIo::CharArrayInputStream_t::Over(message),
                                        static_cast<int>(std::size(arguments.all)), arguments.all);
    }
    static CharArray Write(Arguments& arguments) {
        LumVoxSoap::SOAPEnvelope envelope;
        envelope.SetMethod("m");
        envelope.SetArgs(static_cast<int>(std::size(arguments.all)), arguments.all);
        LumPalIo::CharArrayOutputStream_t out;
        envelope.Write(out);
        return out.TakeCharArray();
    }
};
