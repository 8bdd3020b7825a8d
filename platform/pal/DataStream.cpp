// DataInputStream_t and DataOutputStream_t of LumPalIo.h.
#include <algorithm>
#include <array>
#include <cstring>
#include <limits>

#include "LumPalIo.h"
#include "PeekableStream.h"
#include "StreamCheck.h"

namespace LumPalIo {
namespace {

using LumPalArray::CharArray_t;
using LumPalStr::String_t;

/// Text goes in pieces of so many units, so that a length that lies takes no memory.
constexpr std::uint32_t PieceUnits = 4096;

PeekableInput& Source(const std::shared_ptr<InputStream_t::Impl>& impl) {
    CheckOpen(impl != nullptr);
    return static_cast<PeekableInput&>(*impl);
}

void ReadFully(PeekableInput& source, char* target, std::size_t length) {
    while (length > 0) {
        const std::int64_t got = source.Read(target, length);
        if (got < 0) throw EOFException_t(LumPalMsg::CreateError_t("The stream ends inside of a value."));
        target += got;
        length -= static_cast<std::size_t>(got);
    }
}

char16_t UnitAt(const char* bytes) {
    return static_cast<char16_t>(static_cast<unsigned char>(bytes[0]) << 8 | static_cast<unsigned char>(bytes[1]));
}

void AppendPiece(String_t& text, const char* bytes, std::uint32_t units) {
    std::array<char16_t, PieceUnits> piece;
    for (std::uint32_t i = 0; i < units; ++i) piece[i] = UnitAt(bytes + 2 * i);
    text.Append(piece.data(), units);
}

void PutUnit(char* bytes, char16_t unit) {
    bytes[0] = static_cast<char>(unit >> 8);
    bytes[1] = static_cast<char>(unit & 0xFF);
}

void RemoveLast(CharArray_t& line, char byte) {
    if (!line.IsEmpty() && line[line.GetLength() - 1] == byte) line.Resize(line.GetLength() - 1);
}

}  // namespace

DataOutputStream_t::DataOutputStream_t(const OutputStream_t& stream) : OutputStream_t(stream.GetImpl()) {
    CheckOpen(!stream.IsNull());
}

void DataOutputStream_t::WriteInt32(std::int32_t value) {
    char bytes[4];
    const auto bits = static_cast<std::uint32_t>(value);
    PutUnit(bytes, static_cast<char16_t>(bits >> 16));
    PutUnit(bytes + 2, static_cast<char16_t>(bits));
    Write(bytes, sizeof bytes);
}

void DataOutputStream_t::WriteUTF16String(const String_t& text) {
    if (text.GetLength() > static_cast<std::uint32_t>(std::numeric_limits<std::int32_t>::max())) {
        throw LumPalMsg::IllegalArgumentError_t(
            LumPalMsg::CreateError_t("A text of %1 characters is too long to be written.") << text.GetLength());
    }
    WriteInt32(static_cast<std::int32_t>(text.GetLength()));
    std::array<char, 2 * PieceUnits> bytes;
    for (std::uint32_t done = 0; done < text.GetLength();) {
        const std::uint32_t units = std::min(PieceUnits, text.GetLength() - done);
        for (std::uint32_t i = 0; i < units; ++i) PutUnit(bytes.data() + 2 * i, text.GetBuffer()[done + i]);
        Write(bytes.data(), 2 * units);
        done += units;
    }
}

DataInputStream_t::DataInputStream_t(const InputStream_t& stream) : InputStream_t(Peekable(stream)) {}

std::int32_t DataInputStream_t::ReadInt32() {
    char bytes[4];
    ReadFully(Source(impl), bytes, sizeof bytes);
    return static_cast<std::int32_t>(std::uint32_t{UnitAt(bytes)} << 16 | UnitAt(bytes + 2));
}

String_t DataInputStream_t::ReadUTF16String() {
    const std::int32_t length = ReadInt32();
    if (length < 0) {
        throw IOException_t(LumPalMsg::CreateError_t("The stream holds a text of the length %1.") << length);
    }
    String_t text;
    std::array<char, 2 * PieceUnits> bytes;
    for (auto left = static_cast<std::uint32_t>(length); left > 0;) {
        const std::uint32_t units = std::min(PieceUnits, left);
        ReadFully(Source(impl), bytes.data(), 2 * units);
        AppendPiece(text, bytes.data(), units);
        left -= units;
    }
    return text;
}

CharArray_t DataInputStream_t::ReadLine() {
    PeekableInput& source = Source(impl);
    std::string_view ready = source.Peek();
    if (ready.empty()) throw EOFException_t(LumPalMsg::CreateError_t("The stream has no more lines."));
    CharArray_t line;
    for (; !ready.empty(); ready = source.Peek()) {
        const std::size_t end = ready.find('\n');
        const std::size_t taken = end == std::string_view::npos ? ready.size() : end;
        line.Append(ready.data(), taken);
        source.Skip(end == std::string_view::npos ? taken : taken + 1);
        if (end == std::string_view::npos) continue;
        RemoveLast(line, '\r');
        break;
    }
    return line;
}

}  // namespace LumPalIo
