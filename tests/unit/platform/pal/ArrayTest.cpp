#include <gtest/gtest.h>

#include <string>

#include "LumPalArray.h"
#include "LumPalCodeset.h"
#include "LumPalMsg.h"
#include "LumPalPtr.h"
#include "LumPalRef.h"

using LumPalArray::CharArray_t;
using LumPalArray::UTF16CharArray_t;
using LumPalCodeset::Codeset_t;
using LumPalStr::String_t;

TEST(CharArray, ADefaultArrayIsEmpty) {
    const CharArray_t array;
    EXPECT_TRUE(array.IsEmpty());
    EXPECT_EQ(array.GetLength(), 0u);
    EXPECT_EQ(array.View(), "");
}

TEST(CharArray, AGivenSizeIsFilledWithZeroOrTheGivenByte) {
    EXPECT_EQ(CharArray_t(3).View(), std::string_view("\0\0\0", 3));
    EXPECT_EQ(CharArray_t(3, 'x').View(), "xxx");
    EXPECT_TRUE(CharArray_t(std::size_t{0}).IsEmpty());
}

TEST(CharArray, CopiesTextsWithoutTheirTerminator) {
    EXPECT_EQ(CharArray_t("abc").View(), "abc");
    EXPECT_EQ(CharArray_t(u"\u00E9").View(), "\xC3\xA9");
    EXPECT_EQ(CharArray_t(String_t(u"a\U0001F600")).View(), "a\xF0\x9F\x98\x80");
    EXPECT_EQ(CharArray_t("a\0b", 3).View(), std::string_view("a\0b", 3));
}

TEST(CharArray, NullPointersGiveAnEmptyArray) {
    EXPECT_TRUE(CharArray_t(static_cast<const char*>(nullptr)).IsEmpty());
    EXPECT_TRUE(CharArray_t(static_cast<const char16_t*>(nullptr)).IsEmpty());
    EXPECT_TRUE(CharArray_t(nullptr, 7).IsEmpty());
    EXPECT_TRUE(CharArray_t(String_t::Null()).IsEmpty());
}

TEST(CharArray, CopiesAreIndependent) {
    CharArray_t first("abc");
    CharArray_t second(first);
    second[0] = 'X';
    EXPECT_EQ(first.View(), "abc");
    EXPECT_EQ(second.View(), "Xbc");
    first = second;
    EXPECT_EQ(first, second);
    first.GetData()[1] = 'Y';
    EXPECT_NE(first, second);
}

TEST(CharArray, ResizeCutsOrFillsWithZeros) {
    CharArray_t array("abc");
    array.Resize(2);
    EXPECT_EQ(array.View(), "ab");
    array.Resize(4);
    EXPECT_EQ(array.View(), std::string_view("ab\0\0", 4));
    array.Resize(0);
    EXPECT_TRUE(array.IsEmpty());
}

TEST(CharArray, ReserveKeepsTheLengthAndAppendAddsBytes) {
    CharArray_t array("ab");
    array.Reserve(100);
    EXPECT_EQ(array.GetLength(), 2u);
    array.Append("cde", 2);
    EXPECT_EQ(array.View(), "abcd");
}

TEST(UTF16CharArray, HoldsATerminatedText) {
    const UTF16CharArray_t fromAscii("abc");
    const UTF16CharArray_t fromUnits(u"a\u00E9");
    EXPECT_EQ(std::u16string_view(static_cast<const char16_t*>(fromAscii)), u"abc");
    EXPECT_EQ(std::u16string_view(static_cast<const char16_t*>(fromUnits)), u"a\u00E9");
    EXPECT_EQ(fromUnits.GetLength(), 2u);
}

TEST(UTF16CharArray, NullPointersGiveAnEmptyTerminatedText) {
    const UTF16CharArray_t array(static_cast<const char*>(nullptr));
    EXPECT_EQ(array.GetLength(), 0u);
    EXPECT_EQ(*static_cast<const char16_t*>(array), 0);
}

TEST(Codeset, TakesTheRegisteredNameOfEveryKnownEncoding) {
    EXPECT_EQ(Codeset_t("UTF-8").GetName(), "UTF-8");
    EXPECT_EQ(Codeset_t("utf8").GetName(), "UTF-8");
    EXPECT_EQ(Codeset_t("latin1").GetName(), "ISO-8859-1");
    EXPECT_FALSE(Codeset_t("UTF-8").IsNull());
}

TEST(Codeset, ADefaultCodesetIsNull) {
    EXPECT_TRUE(Codeset_t().IsNull());
    EXPECT_TRUE(Codeset_t().GetName().IsNull());
}

TEST(Codeset, RefusesNamesOfNoEncoding) {
    for (const char* name : {"no-such-encoding", "", " ", "UTF-8\n\n<"}) {
        EXPECT_THROW(Codeset_t{name}, LumPalMsg::IllegalArgumentError_t) << name;
    }
    EXPECT_THROW(Codeset_t{nullptr}, LumPalMsg::IllegalArgumentError_t);
}

namespace {

class Counted : public LumPalRef::RefCounted_t {
public:
    explicit Counted(int& deletions) : deletions(deletions) {}
    ~Counted() override { ++deletions; }

private:
    int& deletions;
};

using Pointer = LumPalPtr::RefPtr_t<Counted>;

}  // namespace

TEST(Ref, ACounterGivesItsNewValue) {
    LumPalRef::MTRef_t counter(1);
    EXPECT_EQ(counter.Increment(), 2);
    EXPECT_EQ(counter.Get(), 2);
    EXPECT_EQ(counter.Decrement(), 1);
    EXPECT_EQ(counter.Decrement(), 0);
    EXPECT_EQ(LumPalRef::MTRef_t().Get(), 0);
}

TEST(Ref, TheLastReleaseDeletesOnce) {
    int deletions = 0;
    const auto* object = new Counted(deletions);
    EXPECT_EQ(object->GetRefCount(), 0);
    object->AddRef();
    object->AddRef();
    object->Release();
    EXPECT_EQ(deletions, 0);
    object->Release();
    EXPECT_EQ(deletions, 1);
}

TEST(Ref, PointersShareAndTheLastOneDeletes) {
    int deletions = 0;
    {
        Pointer first(new Counted(deletions));
        {
            const Pointer second(first);
            EXPECT_EQ(first->GetRefCount(), 2);
            EXPECT_EQ(second.Get(), first.Get());
        }
        const Pointer moved(std::move(first));
        EXPECT_EQ(moved->GetRefCount(), 1);
        EXPECT_FALSE(first);
        EXPECT_TRUE(moved);
        EXPECT_EQ(deletions, 0);
    }
    EXPECT_EQ(deletions, 1);
}

TEST(Ref, AssignmentRebindsAndLetsTheFormerObjectGo) {
    int firstDeletions = 0;
    int secondDeletions = 0;
    Pointer pointer(new Counted(firstDeletions));
    pointer = Pointer(new Counted(secondDeletions));
    EXPECT_EQ(firstDeletions, 1);
    const Pointer& same = pointer;
    pointer = same;
    EXPECT_EQ(secondDeletions, 0);
    pointer = Pointer();
    EXPECT_EQ(secondDeletions, 1);
}

TEST(CharArray, ALongTextBecomesItsUtf8WhereverPairsOfSurrogatesStand) {
    for (const std::uint32_t before : {65533u, 65534u, 65535u, 65536u, 131071u}) {
        LumPalStr::String_t text;
        for (std::uint32_t i = 0; i < before; ++i) text.Append(u"x", 1);
        for (int i = 0; i < 5; ++i) text.Append(u"\U0001F600", 2);
        text.Append(u"\xD83D", 1);  // a lead without its pair
        EXPECT_EQ(CharArray_t(text).View(), text.ToUtf8()) << before;
    }
}
