#include "PolicyArrayReader.h"

#include <gtest/gtest.h>

#include "Exceptions.h"
#include "TestPolicy.h"

namespace LumConf {
namespace {

using LumPalArray::CharArray_t;
using LumPalIo::CharArrayOutputStream_t;
using LumPalIo::DataOutputStream_t;
using LumPalStr::String_t;

// Walks one array to its end.
void Walk(TransferCursor& cursor) {
    PolicyArrayReader files(cursor);
    while (files.Next()) cursor.Skip(files.GetLength());
}

void Walk(const CharArray_t& array) {
    TransferCursor cursor(array);
    Walk(cursor);
}

CharArray_t ArrayOf(std::int32_t count, const std::vector<std::pair<std::string, std::string>>& files) {
    CharArrayOutputStream_t bytes;
    DataOutputStream_t out(bytes);
    out.WriteInt32(count);
    for (const auto& [name, content] : files) TestPolicy::WriteEntry(out, name, content);
    return bytes.ToCharArray();
}

TestPolicy PolicyWithData() {
    TestPolicy policy;
    policy.data = {{"one.txt", "first"},
                   {"leer.txt", ""},
                   {"Gr\xC3\xBC\xC3\x9F"
                    "e.txt",
                    "third"}};
    return policy;
}

TEST(PolicyArrayReader, GivesEveryFileWithItsNameAndItsBytesInOrder) {
    const TestPolicy policy = PolicyWithData();
    const CharArray_t array = policy.Array();
    TransferCursor cursor(array);
    PolicyArrayReader files(cursor);
    ASSERT_TRUE(files.Next());
    EXPECT_TRUE(files.IsHeader());
    EXPECT_EQ(files.GetName(), "p1_header.xml");
    EXPECT_EQ(files.GetLength(), policy.Document().size());
    cursor.Skip(files.GetLength());
    for (const auto& [name, content] : policy.data) {
        ASSERT_TRUE(files.Next());
        EXPECT_FALSE(files.IsHeader());
        EXPECT_EQ(files.GetName(), String_t::FromUtf8(name));
        CharArray_t bytes(files.GetLength());
        if (!bytes.IsEmpty()) cursor.Bytes().Read(bytes);
        EXPECT_EQ(bytes.View(), content);
    }
    EXPECT_FALSE(files.Next());
}

TEST(PolicyArrayReader, LeavesTheCursorBehindTheArraySoThatThePolicyBehindItFollows) {
    const CharArray_t package = PackageOf({PolicyWithData(), TestPolicy()});
    TransferCursor cursor(package);
    EXPECT_EQ(cursor.ReadCount(0, PolicyArrayReader::kLeastPolicyBytes), 2);
    Walk(cursor);
    Walk(cursor);
    EXPECT_EQ(cursor.GetPosition(), package.GetLength());
}

TEST(PolicyArrayReader, TellsWhichFilesTheArrayCarried) {
    const CharArray_t array = PolicyWithData().Array();
    TransferCursor cursor(array);
    PolicyArrayReader files(cursor);
    while (files.Next()) cursor.Skip(files.GetLength());
    EXPECT_FALSE(files.Next());
    const CarriedNames carried = files.TakeCarriedNames();
    ASSERT_EQ(carried.GetCount(), 4u);
    for (std::size_t i = 0; i < carried.GetCount(); ++i) EXPECT_TRUE(carried.Has(carried.Get(i)));
    EXPECT_TRUE(carried.Has("p1_header.xml"));
    EXPECT_TRUE(
        carried.Has(String_t::FromUtf8("Gr\xC3\xBC\xC3\x9F"
                                       "e.txt")));
    for (const char* name : {"", "one", "one.txt2", "ONE.TXT", "third"}) EXPECT_FALSE(carried.Has(name)) << name;
    EXPECT_FALSE(CarriedNames().Has("one.txt"));
}

TEST(PolicyArrayReader, RefusesAnArrayCutAtAnyByte) {
    const CharArray_t array = PolicyWithData().Array();
    for (std::size_t length = 0; length < array.GetLength(); ++length) {
        EXPECT_THROW(Walk(CharArray_t(array.GetData(), length)), LumPalMsg::RuntimeException_t) << length;
    }
    EXPECT_NO_THROW(Walk(array));
}

TEST(PolicyArrayReader, RefusesCountsThatCannotBeThere) {
    for (const std::int32_t count : {0, -1, INT32_MIN, 2, 1000, INT32_MAX}) {
        EXPECT_THROW(Walk(ArrayOf(count, {{"a_header.xml", ""}})), LumPalMsg::RuntimeException_t) << count;
    }
}

TEST(PolicyArrayReader, RefusesMoreFilesThanAPolicyMayHave) {
    std::vector<std::pair<std::string, std::string>> files{{"p1_header.xml", "x"}};
    while (files.size() < 10000) files.emplace_back("f" + std::to_string(files.size()), "");
    EXPECT_NO_THROW(Walk(ArrayOf(10000, files)));
    files.emplace_back("one more", "");
    EXPECT_THROW(Walk(ArrayOf(10001, files)), PolicyFileException);
}

TEST(PolicyArrayReader, RefusesLengthsThatAreNotThere) {
    for (const std::int32_t length : {-1, INT32_MIN, 4, INT32_MAX}) {
        CharArrayOutputStream_t bytes;
        DataOutputStream_t out(bytes);
        out.WriteInt32(1);
        out.WriteUTF16String("a_header.xml");
        out.WriteInt32(length);
        out.Write("abc", 3);
        EXPECT_THROW(Walk(bytes.ToCharArray()), PolicyFileException) << length;
    }
}

TEST(PolicyArrayReader, RefusesNamesThatAreNegativeOrLongerThanTheArray) {
    for (const std::int32_t units : {-1, INT32_MIN, 100, INT32_MAX}) {
        CharArrayOutputStream_t bytes;
        DataOutputStream_t out(bytes);
        out.WriteInt32(1);
        out.WriteInt32(units);
        out.Write("0123456789", 10);
        EXPECT_THROW(Walk(bytes.ToCharArray()), LumPalIo::IOException_t) << units;
    }
}

struct NamesRow {
    const char* what;
    std::vector<std::pair<std::string, std::string>> files;
};

const NamesRow kRefusedNames[] = {
    {"the first is no header", {{"a.txt", ""}}},
    {"the header has a folder", {{"x/a_header.xml", ""}}},
    {"the header has a way up", {{"../a_header.xml", ""}}},
    {"a data file has a header's name", {{"a_header.xml", ""}, {"b_header.xml", ""}}},
    {"a data file has the header's own name", {{"a_header.xml", ""}, {"a_header.xml", ""}}},
    {"a data file has no name", {{"a_header.xml", ""}, {"", "x"}}},
    {"a data file has an absolute path", {{"a_header.xml", ""}, {"/tmp/x", "x"}}},
    {"a data file has a way up", {{"a_header.xml", ""}, {"../../x", "x"}}},
    {"a data file is the folder", {{"a_header.xml", ""}, {".", "x"}}},
    {"a data file is the folder above", {{"a_header.xml", ""}, {"..", "x"}}},
    {"a data file has the other separator", {{"a_header.xml", ""}, {"..\\x", "x"}}},
    {"a data file has a line end", {{"a_header.xml", ""}, {"x\ny", "x"}}},
    {"two data files have one name", {{"a_header.xml", ""}, {"x", "1"}, {"y", "2"}, {"x", "3"}}},
};

TEST(PolicyArrayReader, RefusesNamesThatTheStoreCannotTake) {
    for (const NamesRow& row : kRefusedNames) {
        EXPECT_THROW(Walk(ArrayOf(static_cast<std::int32_t>(row.files.size()), row.files)), PolicyFileException)
            << row.what;
    }
}

TEST(PolicyArrayReader, TheRefusalOfATwiceGivenNameShowsIt) {
    try {
        Walk(ArrayOf(3, {{"a_header.xml", ""}, {"twin", "1"}, {"twin", "2"}}));
        FAIL();
    } catch (const PolicyFileException& e) {
        EXPECT_NE(String_t(e.GetMessageList()).Find("'twin'"), LumPalStr::NotFound);
    }
}

}  // namespace
}  // namespace LumConf
