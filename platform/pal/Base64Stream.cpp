// The base64 streams of LumPalIo.h.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

#include "LumPalIo.h"
#include "PeekableStream.h"
#include "StreamCheck.h"

namespace LumPalIo {
namespace {

constexpr char Alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

enum : std::uint8_t { Padding = 64, Space = 65, Invalid = 66 };

constexpr std::array<std::uint8_t, 256> MakeValues() {
    std::array<std::uint8_t, 256> values{};
    values.fill(Invalid);
    for (std::uint8_t i = 0; i < 64; ++i) values[static_cast<unsigned char>(Alphabet[i])] = i;
    values['='] = Padding;
    for (const char space : {' ', '\t', '\n', '\v', '\f', '\r'}) values[static_cast<unsigned char>(space)] = Space;
    return values;
}

constexpr auto Values = MakeValues();

class Base64Input : public InputStream_t::Impl {
public:
    explicit Base64Input(std::shared_ptr<PeekableInput> below) : below(std::move(below)) {}

    std::int64_t Read(char* target, std::size_t length) override {
        CheckOpen(!closed);
        while (start == decoded.size()) {
            if (!DecodeBlock()) return -1;
        }
        const std::size_t count = std::min(length, decoded.size() - start);
        std::memcpy(target, decoded.data() + start, count);
        start += count;
        return static_cast<std::int64_t>(count);
    }

    std::size_t Available() override {
        CheckOpen(!closed);
        return decoded.size() - start;
    }

    void Close() override {
        if (!std::exchange(closed, true)) below->Close();
    }

private:
    /// Decodes what is at hand below; false at the end of the text.
    bool DecodeBlock() {
        decoded.clear();
        start = 0;
        if (broken) Fail();
        const std::string_view text = below->Peek();
        if (text.empty()) {
            if (count != 0) Break("The base64 text is cut.");
            return false;
        }
        // Taken before it is looked at: what is wrong is told once and never read as something else.
        const std::vector<char> block(text.begin(), text.end());
        below->Skip(block.size());
        for (const char character : block) Add(character);
        return true;
    }

    void Add(char character) {
        const std::uint8_t value = Values[static_cast<unsigned char>(character)];
        if (value == Space) return;
        if (value == Invalid) Break("The base64 text has a character that does not belong there.");
        if (ended) Break("The base64 text goes on behind its padding.");
        if (value == Padding) return AddPadding();
        if (paddings != 0) Break("The base64 text has wrong padding.");
        bits = bits << 6 | value;
        if (++count == 4) EmitGroup(3);
    }

    void AddPadding() {
        if (count < 2) Break("The base64 text has wrong padding.");
        bits <<= 6;
        ++paddings;
        if (++count < 4) return;
        const std::uint32_t unused = paddings == 1 ? 0xFF : 0xFFFF;
        if ((bits & unused) != 0) Break("The base64 text has wrong padding.");
        EmitGroup(3 - paddings);
        ended = true;
    }

    void EmitGroup(int bytes) {
        for (int i = 0; i < bytes; ++i) decoded.push_back(static_cast<char>(bits >> (16 - 8 * i) & 0xFF));
        bits = 0;
        count = 0;
    }

    [[noreturn]] void Break(const char* reason) {
        broken = reason;
        decoded.clear();
        Fail();
    }
    [[noreturn]] void Fail() const { throw IOException_t(LumPalMsg::CreateError_t(broken)); }

    std::shared_ptr<PeekableInput> below;
    std::vector<char> decoded;
    std::size_t start = 0;
    /// The group of four characters that is being read.
    std::uint32_t bits = 0;
    int count = 0;
    int paddings = 0;
    bool ended = false;
    /// What was wrong, once something was.
    const char* broken = nullptr;
    bool closed = false;
};

class Base64Output : public OutputStream_t::Impl {
public:
    explicit Base64Output(std::shared_ptr<OutputStream_t::Impl> below) : below(std::move(below)) {}

    void Write(const char* bytes, std::size_t length) override {
        CheckOpen(!closed);
        for (std::size_t i = 0; i < length; ++i) {
            bits = bits << 8 | static_cast<unsigned char>(bytes[i]);
            if (++count == 3) EmitGroup();
        }
        WriteOut();
    }

    void Flush() override {
        CheckOpen(!closed);
        below->Flush();
    }

    void Close() override {
        if (std::exchange(closed, true)) return;
        try {
            if (count != 0) EmitGroup();
            WriteOut();
        } catch (...) {
            below->Close();
            throw;
        }
        below->Close();
    }

private:
    /// The bytes collected (one to three) as four characters, with padding for those that miss.
    void EmitGroup() {
        bits <<= 8 * (3 - count);
        for (int i = 0; i < 4; ++i) encoded.push_back(i <= count ? Alphabet[bits >> (18 - 6 * i) & 63] : '=');
        bits = 0;
        count = 0;
        if (encoded.size() >= 8192) WriteOut();
    }

    void WriteOut() {
        std::vector<char> pending;
        pending.swap(encoded);
        if (!pending.empty()) below->Write(pending.data(), pending.size());
    }

    std::shared_ptr<OutputStream_t::Impl> below;
    std::vector<char> encoded;
    std::uint32_t bits = 0;
    int count = 0;
    bool closed = false;
};

const std::shared_ptr<OutputStream_t::Impl>& Checked(const OutputStream_t& stream) {
    CheckOpen(!stream.IsNull());
    return stream.GetImpl();
}

}  // namespace

Base64InputStream_t::Base64InputStream_t(const InputStream_t& stream)
    : InputStream_t(std::make_shared<Base64Input>(Peekable(stream))) {}

Base64OutputStream_t::Base64OutputStream_t(const OutputStream_t& stream)
    : OutputStream_t(std::make_shared<Base64Output>(Checked(stream))) {}

}  // namespace LumPalIo
