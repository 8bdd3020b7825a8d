/// @file
/// Streams that behave as badly as a stream may.
#pragma once

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>

#include "LumPalIo.h"

/// Gives its text in pieces of a few bytes, and remembers what it was asked.
class TrickleInput : public LumPalIo::InputStream_t::Impl {
public:
    explicit TrickleInput(std::string text, std::size_t piece = 1) : text(std::move(text)), piece(piece) {}
    std::int64_t Read(char* target, std::size_t length) override {
        ++reads;
        const std::size_t count = std::min({piece, length, text.size() - position});
        if (count == 0) return -1;
        std::memcpy(target, text.data() + position, count);
        position += count;
        return static_cast<std::int64_t>(count);
    }
    std::size_t Available() override { return text.size() - position; }
    void Close() override { ++closes; }

    std::string text;
    std::size_t piece;
    std::size_t position = 0;
    int reads = 0;
    int closes = 0;
};

/// Collects what it gets; fails on demand.
class RecordingOutput : public LumPalIo::OutputStream_t::Impl {
public:
    void Write(const char* bytes, std::size_t length) override {
        ++writes;
        if (fails) throw LumPalIo::IOException_t(LumPalMsg::CreateError_t("No space."));
        text.append(bytes, length);
    }
    void Flush() override { ++flushes; }
    void Close() override { ++closes; }

    std::string text;
    bool fails = false;
    int writes = 0;
    int flushes = 0;
    int closes = 0;
};

/// Everything that a stream still gives.
inline std::string ReadAll(LumPalIo::InputStream_t stream, std::size_t block = 7) {
    std::string all;
    LumPalArray::CharArray_t buffer(block);
    for (std::int64_t got = stream.Read(buffer); got >= 0; got = stream.Read(buffer)) {
        all.append(buffer.GetData(), static_cast<std::size_t>(got));
    }
    return all;
}
