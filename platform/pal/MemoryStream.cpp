// The streams of LumPalIo.h over bytes in memory.
#include <algorithm>
#include <cstring>
#include <string_view>
#include <utility>
#include <vector>

#include "LumPalIo.h"
#include "PeekableStream.h"
#include "StreamCheck.h"

namespace LumPalIo {
namespace {

using LumPalArray::CharArray_t;

/// Reads an array: its own, or one that somebody else keeps.
class MemoryInput : public PeekableInput {
public:
    explicit MemoryInput(LumPalArray::CharArray_t array) : own(std::move(array)), bytes(own.View()) {}
    explicit MemoryInput(std::string_view kept) : bytes(kept) {}
    std::int64_t Read(char* target, std::size_t length) override;
    std::size_t Available() override;
    void Close() override { closed = true; }
    std::string_view Peek() override;
    void Skip(std::size_t length) override { bytes.remove_prefix(length); }
    std::optional<std::string_view> TakeRest() override;

private:
    LumPalArray::CharArray_t own;
    /// What was not read yet.
    std::string_view bytes;
    bool closed = false;
};

std::int64_t MemoryInput::Read(char* target, std::size_t length) {
    const std::string_view ready = Peek();
    if (ready.empty()) return -1;
    const std::size_t count = std::min(length, ready.size());
    std::memcpy(target, ready.data(), count);
    Skip(count);
    return static_cast<std::int64_t>(count);
}

std::size_t MemoryInput::Available() {
    return Peek().size();
}

std::string_view MemoryInput::Peek() {
    CheckOpen(!closed);
    return bytes;
}

std::optional<std::string_view> MemoryInput::TakeRest() {
    const std::string_view rest = Peek();
    Skip(rest.size());
    return rest;
}

/// Closing has no effect: who collects the bytes hands the stream to several writers that close it.
class MemoryOutput : public OutputStream_t::Impl {
public:
    explicit MemoryOutput(std::size_t capacity) { bytes.Reserve(capacity); }
    void Write(const char* source, std::size_t length) override { bytes.Append(source, length); }

    CharArray_t bytes;
};

MemoryOutput& Memory(const std::shared_ptr<OutputStream_t::Impl>& impl) {
    CheckOpen(impl != nullptr);
    return static_cast<MemoryOutput&>(*impl);
}

}  // namespace

CharArrayInputStream_t::CharArrayInputStream_t(CharArray_t array)
    : InputStream_t(std::make_shared<MemoryInput>(std::move(array))) {}

CharArrayInputStream_t CharArrayInputStream_t::Over(const CharArray_t& array) {
    CharArrayInputStream_t stream;
    stream.impl = std::make_shared<MemoryInput>(array.View());
    return stream;
}

CharArrayOutputStream_t::CharArrayOutputStream_t(std::size_t initialCapacity)
    : OutputStream_t(std::make_shared<MemoryOutput>(initialCapacity)) {}

std::size_t CharArrayOutputStream_t::Size() const {
    return Memory(impl).bytes.GetLength();
}
CharArray_t CharArrayOutputStream_t::ToCharArray() const {
    return Memory(impl).bytes;
}
CharArray_t CharArrayOutputStream_t::TakeCharArray() {
    return std::exchange(Memory(impl).bytes, CharArray_t());
}

LumPalStr::String_t CharArrayOutputStream_t::ToString() const {
    return LumPalStr::String_t::FromUtf8(Memory(impl).bytes.View());
}

std::size_t CharArrayOutputStream_t::WriteTo(OutputStream_t& stream, std::size_t offset, std::int64_t length) const {
    const CharArray_t& bytes = Memory(impl).bytes;
    if (offset > bytes.GetLength() || length < -1) {
        throw LumPalMsg::IllegalArgumentError_t(LumPalMsg::CreateError_t("Cannot copy %2 bytes from position %1.")
                                                << LumPalStr::NumToStr(static_cast<unsigned long long>(offset))
                                                << LumPalStr::NumToStr(static_cast<long long>(length)));
    }
    const std::size_t rest = bytes.GetLength() - offset;
    const std::size_t count = length < 0 ? rest : std::min(rest, static_cast<std::size_t>(length));
    if (stream.GetImpl() == impl) {
        // Appending to the buffer that is being read would move it.
        stream.Write(CharArray_t(bytes.GetData() + offset, count));
    } else {
        stream.Write(bytes, offset, count);
    }
    return count;
}

}  // namespace LumPalIo
