#include "Frame.h"

#include <gtest/gtest.h>

using namespace LumCtrl;

namespace {

Frame Sample() {
    return Frame{FrameKind::Trigger, 0x01020304, {"CHECK_POLICY:a", "", std::string("\0\xFF", 2)}};
}

void Expect(const Frame& a, const Frame& b) {
    EXPECT_EQ(a.kind, b.kind);
    EXPECT_EQ(a.number, b.number);
    EXPECT_EQ(a.texts, b.texts);
}

void Feed(FrameBuffer& buffer, const std::string& bytes) {
    buffer.Append(bytes.data(), bytes.size());
}

std::string Number(std::uint32_t number) {
    return {static_cast<char>(number >> 24), static_cast<char>(number >> 16), static_cast<char>(number >> 8),
            static_cast<char>(number)};
}

std::string Raw(const std::string& rest) {
    return Number(static_cast<std::uint32_t>(rest.size())) + rest;
}

struct BadRow {
    const char* what;
    std::string bytes;
};
struct BadFrame : testing::TestWithParam<BadRow> {};

}  // namespace

TEST(Frame, IsLengthKindNumberAndTexts) {
    EXPECT_EQ((Frame{FrameKind::Reply, 2, {"ab"}}.Encode()), std::string("\0\0\0\x0BK\0\0\0\2\0\0\0\2ab", 15));
}

TEST(Frame, SurvivesTheWayInOnePieceAndByteByByte) {
    const std::string bytes = Sample().Encode();
    FrameBuffer buffer;
    Feed(buffer, bytes);
    Expect(buffer.Next().value(), Sample());
    EXPECT_FALSE(buffer.Next());
    for (std::size_t i = 0; i + 1 < bytes.size(); ++i) {
        Feed(buffer, bytes.substr(i, 1));
        EXPECT_FALSE(buffer.Next()) << i;
    }
    Feed(buffer, bytes.substr(bytes.size() - 1));
    Expect(buffer.Next().value(), Sample());
}

TEST(Frame, ManyInOneBufferComeOneByOneWhateverTheCuts) {
    std::string bytes;
    for (int i = 0; i < 500; ++i)
        bytes += Frame{FrameKind::Delivery, static_cast<std::uint32_t>(i), {"e", "v"}}.Encode();
    FrameBuffer buffer;
    std::uint32_t next = 0;
    for (std::size_t at = 0; at < bytes.size(); at += 7) {
        Feed(buffer, bytes.substr(at, 7));
        while (const auto frame = buffer.Next()) EXPECT_EQ(frame->number, next++);
    }
    EXPECT_EQ(next, 500u);
}

TEST_P(BadFrame, IsRefused) {
    FrameBuffer buffer;
    Feed(buffer, GetParam().bytes);
    EXPECT_THROW(buffer.Next(), FrameError) << GetParam().what;
}
INSTANTIATE_TEST_SUITE_P(
    Frame, BadFrame,
    testing::Values(BadRow{"no kind", Number(0)}, BadRow{"no number", Raw("K")},
                    BadRow{"longer than allowed", Number((16u << 20) + 1)}, BadRow{"the longest length", Number(~0u)},
                    BadRow{"an unknown kind", Raw("X" + Number(0))},
                    BadRow{"a text length that is cut", Raw("K" + Number(0) + "\x01\x02\x03")},
                    BadRow{"a text longer than the frame", Raw("K" + Number(0) + Number(2) + "a")},
                    BadRow{"a text as long as can be", Raw("K" + Number(0) + Number(~0u) + "a")},
                    BadRow{"a reply without text", Raw("K" + Number(0))},
                    BadRow{"a trigger without target", Raw("T" + Number(0) + Number(0) + Number(0))},
                    BadRow{"a registration without events", Raw("R" + Number(0) + Number(1) + "n")},
                    BadRow{"an acknowledgement with a text", Raw("A" + Number(0) + Number(0))},
                    BadRow{"more texts than allowed", Raw("R" + Number(0) + std::string(4004, '\0'))}));
