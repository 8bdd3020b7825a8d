// The buffered streams of LumPalIo.h.
#include <algorithm>
#include <cstring>
#include <string_view>
#include <utility>
#include <vector>

#include "LostBytes.h"
#include "LumPalIo.h"
#include "PeekableStream.h"
#include "StreamCheck.h"

namespace LumPalIo {
namespace {

constexpr std::size_t BufferSize = 8192;

template <class Impl>
const std::shared_ptr<Impl>& Checked(const std::shared_ptr<Impl>& below) {
    CheckOpen(below != nullptr);
    return below;
}

class BufferedOutput : public OutputStream_t::Impl {
public:
    explicit BufferedOutput(std::shared_ptr<OutputStream_t::Impl> below) : below(std::move(below)) {
        buffer.reserve(BufferSize);
    }
    ~BufferedOutput() override {
        if (!closed) LogWhatIsLost("buffered bytes", [this] { WriteOut(); });
    }

    void Write(const char* bytes, std::size_t length) override {
        CheckOpen(!closed);
        if (length > BufferSize - buffer.size()) WriteOut();
        if (length >= BufferSize) return below->Write(bytes, length);
        buffer.insert(buffer.end(), bytes, bytes + length);
    }

    void Flush() override {
        CheckOpen(!closed);
        WriteOut();
        below->Flush();
    }

    void Close() override {
        if (std::exchange(closed, true)) return;
        try {
            WriteOut();
        } catch (...) {
            below->Close();
            throw;
        }
        below->Close();
    }

private:
    void WriteOut() {
        // Emptied first: what failed once must not be written twice.
        std::vector<char> pending;
        pending.swap(buffer);
        if (!pending.empty()) below->Write(pending.data(), pending.size());
        pending.clear();
        buffer.swap(pending);
    }

    std::shared_ptr<OutputStream_t::Impl> below;
    std::vector<char> buffer;
    bool closed = false;
};

}  // namespace

std::int64_t BufferedInput::Read(char* target, std::size_t length) {
    CheckOpen(!closed);
    if (start == end && length >= BufferSize) return below->Read(target, length);
    const std::string_view ready = Peek();
    if (ready.empty()) return -1;
    const std::size_t count = std::min(length, ready.size());
    std::memcpy(target, ready.data(), count);
    Skip(count);
    return static_cast<std::int64_t>(count);
}

std::string_view BufferedInput::Peek() {
    CheckOpen(!closed);
    if (start == end) {
        buffer.resize(BufferSize);
        start = end = 0;
        const std::int64_t got = below->Read(buffer.data(), buffer.size());
        if (got > 0) end = static_cast<std::size_t>(got);
    }
    return {buffer.data() + start, end - start};
}

std::size_t BufferedInput::Available() {
    CheckOpen(!closed);
    return end - start + below->Available();
}

void BufferedInput::Close() {
    if (std::exchange(closed, true)) return;
    below->Close();
}

std::shared_ptr<PeekableInput> Peekable(const InputStream_t& stream) {
    if (auto peekable = std::dynamic_pointer_cast<PeekableInput>(Checked(stream.GetImpl()))) return peekable;
    return std::make_shared<BufferedInput>(stream.GetImpl());
}

BufferedInputStream_t::BufferedInputStream_t(const InputStream_t& stream)
    : InputStream_t(std::make_shared<BufferedInput>(Checked(stream.GetImpl()))) {}

BufferedOutputStream_t::BufferedOutputStream_t(const OutputStream_t& stream)
    : OutputStream_t(std::make_shared<BufferedOutput>(Checked(stream.GetImpl()))) {}

}  // namespace LumPalIo
