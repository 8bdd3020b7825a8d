/// @file
/// Reading from somebody who may give without end.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "LumPalIo.h"

namespace LumConfCluster {

/// More came than is taken.
class TooMuch {};

/// A stream that gives no more than so many bytes: reading beyond them throws TooMuch.
class LimitedStream : public LumPalIo::InputStream_t::Impl {
public:
    LimitedStream(const LumPalIo::InputStream_t& source, std::size_t limit) : source(source.GetImpl()), left(limit) {}
    static LumPalIo::InputStream_t Over(const LumPalIo::InputStream_t& source, std::size_t limit) {
        return LumPalIo::InputStream_t(std::make_shared<LimitedStream>(source, limit));
    }
    std::int64_t Read(char* target, std::size_t length) override {
        const std::int64_t count = source->Read(target, length);
        if (count > 0 && static_cast<std::size_t>(count) > left) throw TooMuch();
        if (count > 0) left -= static_cast<std::size_t>(count);
        return count;
    }
    void Close() override { source->Close(); }

private:
    const std::shared_ptr<Impl> source;
    std::size_t left;
};

}  // namespace LumConfCluster
