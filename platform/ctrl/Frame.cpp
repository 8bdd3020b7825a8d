#include "Frame.h"

#include <string_view>

namespace LumCtrl {
namespace {

constexpr std::size_t kNumberBytes = 4;
constexpr std::size_t kHeadBytes = 1 + kNumberBytes;

void PutNumber(std::string& target, std::uint32_t number) {
    for (int shift = 24; shift >= 0; shift -= 8) target += static_cast<char>(number >> shift);
}

std::uint32_t GetNumber(std::string_view bytes) {
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < kNumberBytes; ++i) number = number << 8 | static_cast<unsigned char>(bytes[i]);
    return number;
}

std::string_view TakeText(std::string_view& rest) {
    if (rest.size() < kNumberBytes) throw FrameError{"a text is cut"};
    const std::uint32_t length = GetNumber(rest);
    rest.remove_prefix(kNumberBytes);
    if (length > rest.size()) throw FrameError{"a text is longer than its frame"};
    const std::string_view text = rest.substr(0, length);
    rest.remove_prefix(length);
    return text;
}

bool IsKind(char byte) {
    switch (static_cast<FrameKind>(byte)) {
        case FrameKind::Register:
        case FrameKind::Trigger:
        case FrameKind::Delivery:
        case FrameKind::Acknowledge:
        case FrameKind::Reply:
            return true;
    }
    return false;
}

/// Whether a frame of the kind may have so many texts.
bool HasRightCount(const Frame& frame) {
    const std::size_t count = frame.texts.size();
    switch (frame.kind) {
        case FrameKind::Register:
            return count >= 2;
        case FrameKind::Trigger:
            return count == 3;
        case FrameKind::Delivery:
            return count == 2;
        case FrameKind::Acknowledge:
            return count == 0;
        case FrameKind::Reply:
            return count == 1;
    }
    return false;
}

Frame Decode(std::string_view bytes) {
    if (!IsKind(bytes[0])) throw FrameError{"a frame of an unknown kind"};
    Frame frame;
    frame.kind = static_cast<FrameKind>(bytes[0]);
    frame.number = GetNumber(bytes.substr(1));
    for (std::string_view rest = bytes.substr(kHeadBytes); !rest.empty();) {
        if (frame.texts.size() == FrameBuffer::kMostTexts) throw FrameError{"a frame with too many texts"};
        frame.texts.emplace_back(TakeText(rest));
    }
    if (!HasRightCount(frame)) throw FrameError{"a frame with the wrong count of texts"};
    return frame;
}

}  // namespace

std::string Frame::Encode() const {
    std::size_t length = kHeadBytes;
    for (const std::string& text : texts) length += kNumberBytes + text.size();
    std::string bytes;
    bytes.reserve(kNumberBytes + length);
    PutNumber(bytes, static_cast<std::uint32_t>(length));
    bytes += static_cast<char>(kind);
    PutNumber(bytes, number);
    for (const std::string& text : texts) {
        PutNumber(bytes, static_cast<std::uint32_t>(text.size()));
        bytes += text;
    }
    return bytes;
}

void FrameBuffer::Append(const char* bytes, std::size_t count) {
    if (used > buffer.size() / 2) {
        buffer.erase(0, used);
        used = 0;
    }
    buffer.append(bytes, count);
}

std::optional<Frame> FrameBuffer::Next() {
    const std::string_view rest = std::string_view(buffer).substr(used);
    if (rest.size() < kNumberBytes) return std::nullopt;
    const std::size_t length = GetNumber(rest);
    if (length < kHeadBytes) throw FrameError{"a frame that is too short"};
    if (length > kLongestFrame) throw FrameError{"a frame that is too long"};
    if (rest.size() < kNumberBytes + length) return std::nullopt;
    Frame frame = Decode(rest.substr(kNumberBytes, length));
    used += kNumberBytes + length;
    if (used == buffer.size()) {
        buffer = std::string();
        used = 0;
    }
    return frame;
}

}  // namespace LumCtrl
