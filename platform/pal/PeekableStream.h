/// @file
/// Streams that can be looked into byte by byte without cost.
#pragma once

#include <memory>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "LumPalIo.h"

namespace LumPalIo {

/// A stream that can show its bytes before they are taken.
class PeekableInput : public InputStream_t::Impl {
public:
    /// The bytes that are at hand, at least one; empty at the end.
    virtual std::string_view Peek() = 0;
    /// Takes bytes that Peek has shown.
    virtual void Skip(std::size_t length) = 0;
    /// Takes all bytes up to the end when they lie in memory, where they stay as long as the stream; else takes
    /// nothing.
    virtual std::optional<std::string_view> TakeRest() { return std::nullopt; }
};

/// Reads ahead in blocks. What it has read ahead is lost to others who read the stream below.
class BufferedInput : public PeekableInput {
public:
    explicit BufferedInput(std::shared_ptr<InputStream_t::Impl> below) : below(std::move(below)) {}
    std::int64_t Read(char* target, std::size_t length) override;
    std::size_t Available() override;
    void Close() override;
    std::string_view Peek() override;
    void Skip(std::size_t length) override { start += length; }

private:
    std::shared_ptr<InputStream_t::Impl> below;
    std::vector<char> buffer;
    std::size_t start = 0;
    std::size_t end = 0;
    bool closed = false;
};

/// The stream's own implementation when it can be peeked into, else a BufferedInput around it.
/// @throws IOException_t for a null stream
std::shared_ptr<PeekableInput> Peekable(const InputStream_t& stream);

}  // namespace LumPalIo
