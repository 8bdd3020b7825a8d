/// @file
/// The frames that go over the control service's socket.
///
/// A frame is a length (4 bytes, big endian, of what follows), the kind (1 byte), a number (4 bytes,
/// big endian) and texts, each a length (4 bytes, big endian) and so many bytes of UTF-8, up to the end.
///
/// | Kind | From, to             | Number                        | Texts                      |
/// |------|----------------------|-------------------------------|----------------------------|
/// | R    | component to service | 0                             | name, one for each event   |
/// | T    | program to service   | milliseconds to wait; 0: none | event, value, target       |
/// | D    | service to component | the delivery                  | event, value               |
/// | A    | component to service | the delivery                  | none                       |
/// | K    | service, answers R,T | ReplyCode                     | what it is about, or empty |
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace LumCtrl {

enum class FrameKind : char { Register = 'R', Trigger = 'T', Delivery = 'D', Acknowledge = 'A', Reply = 'K' };

enum class ReplyCode : std::uint32_t {
    Done = 0,
    NoTarget = 1,        ///< no component of that name
    NoEvent = 2,         ///< no component for that event
    Unacknowledged = 3,  ///< the text names the components and says why
    Refused = 4,         ///< the text says why
};

/// A value.
struct Frame {
    FrameKind kind = FrameKind::Reply;
    std::uint32_t number = 0;
    std::vector<std::string> texts;

    std::string Encode() const;
};

/// What a peer sent is no frame. Never leaves this folder.
struct FrameError {
    const char* reason;
};

/// Cuts the stream of bytes into frames. Takes memory only for bytes that are there.
class FrameBuffer {
public:
    static constexpr std::size_t kLongestFrame = 16u << 20;
    static constexpr std::size_t kMostTexts = 1000;

    void Append(const char* bytes, std::size_t count);
    /// The next whole frame. @throws FrameError
    std::optional<Frame> Next();

private:
    std::string buffer;
    std::size_t used = 0;
};

}  // namespace LumCtrl
