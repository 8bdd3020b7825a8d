#include "CollectedText.h"

#include <gtest/gtest.h>

using LumConf::CollectedText;
using LumPalStr::String_t;

namespace {

void AppendInPieces(CollectedText& text, const std::u16string& all, std::size_t piece) {
    for (std::size_t at = 0; at < all.size(); at += piece) {
        const std::u16string part = all.substr(at, piece);
        text.Append(part.data(), static_cast<std::uint32_t>(part.size()));
    }
}

std::u16string Numbered(std::size_t length) {
    std::u16string all;
    for (std::size_t i = 0; i < length; ++i) all += static_cast<char16_t>(u'a' + i % 23);
    return all;
}

}  // namespace

TEST(CollectedText, GivesWhatWasAppendedWhateverItsLengthAndPieces) {
    for (const std::size_t length : {0u, 1u, 100u, 32767u, 32768u, 32769u, 70000u, 200000u}) {
        for (const std::size_t piece : {1000u, 32768u, 65536u}) {
            CollectedText text;
            AppendInPieces(text, Numbered(length), piece);
            EXPECT_EQ(std::u16string(text.Get().View()), Numbered(length)) << length << " in " << piece;
            EXPECT_EQ(std::u16string(text.View()), Numbered(length)) << length << " in " << piece;
        }
    }
}

TEST(CollectedText, AnEmptyTextIsEmptyAndNotNull) {
    EXPECT_TRUE(CollectedText().Get().IsEmpty());
    EXPECT_TRUE(CollectedText().Get().IsNotNull());
}

TEST(CollectedText, IsEmptyAfterClearAndCanBeUsedAgain) {
    for (const std::size_t length : {10u, 100000u}) {
        CollectedText text;
        AppendInPieces(text, Numbered(length), 5000);
        text.Clear();
        EXPECT_TRUE(text.View().empty());
        AppendInPieces(text, u"again", 2);
        EXPECT_EQ(text.Get(), "again");
    }
}

TEST(CollectedText, WhatItGaveStaysWhenItGoesOn) {
    for (const std::size_t length : {10u, 100000u}) {
        CollectedText text;
        AppendInPieces(text, Numbered(length), 5000);
        const String_t given = text.Get();
        text.Append(u"more", 4);
        EXPECT_EQ(std::u16string(given.View()), Numbered(length));
        text.Clear();
        EXPECT_EQ(std::u16string(given.View()), Numbered(length));
    }
}

TEST(CollectedText, ALongTextIsHandedOutWithoutACopy) {
    CollectedText text;
    AppendInPieces(text, Numbered(100000), 5000);
    EXPECT_EQ(text.Get().GetBuffer(), text.Get().GetBuffer());
}

TEST(CollectedText, TakesTheTextThatIsSetInPlaceOfItsOwn) {
    for (const std::size_t before : {10u, 100000u}) {
        for (const std::size_t length : {0u, 10u, 100000u}) {
            const std::u16string wanted = Numbered(length);
            CollectedText text;
            AppendInPieces(text, Numbered(before), 5000);
            text.Set(String_t(wanted.data(), static_cast<std::uint32_t>(wanted.size())));
            EXPECT_EQ(std::u16string(text.View()), wanted);
        }
    }
}
