#include <gtest/gtest.h>

#include "PolicyArrayReader.h"
#include "PolicyUtil.h"
#include "TempRoot.h"
#include "TransferBytes.h"

namespace LumConf {
namespace {

using LumPalArray::CharArray_t;
using LumPalIo::File_t;
using LumPalStr::String_t;

struct PolicyTransferFormat : testing::Test {
    TempRoot root;

    CharArray_t Packed(const TestPolicy& policy) {
        return PolicyUtil::PackPolicyFile(policy.WriteFiles(root.Native() + "/policy"));
    }
};

/// Reads a whole array; raises when something is missing.
void Walk(const CharArray_t& array) {
    TransferCursor cursor(array);
    PolicyArrayReader files(cursor);
    while (files.Next()) cursor.Skip(files.GetLength());
    EXPECT_EQ(cursor.GetPosition(), array.GetLength());
}

TEST_F(PolicyTransferFormat, APolicyWithoutDataFilesIsCountNameLengthAndBytes) {
    TestPolicy policy;
    policy.id = "a";
    const std::string document = policy.Document();
    ASSERT_LT(document.size(), 0x10000u);
    std::string expected("\0\0\0\1", 4);
    expected += std::string(
        "\0\0\0\x0C"
        "\0a\0_\0h\0e\0a\0d\0e\0r\0.\0x\0m\0l",
        4 + 24);
    expected += std::string("\0\0", 2) + static_cast<char>(document.size() >> 8) +
                static_cast<char>(document.size() & 0xFF) + document;
    EXPECT_EQ(Packed(policy).View(), expected);
}

TEST_F(PolicyTransferFormat, DataFilesFollowInTheOrderOfTheHeader) {
    TestPolicy policy;
    policy.data = {{"z.bin", std::string("\0\xFF\r\n", 4)}, {"empty", ""}, {"a.txt", "text"}};
    EXPECT_EQ(Packed(policy).View(), transfer::Int(4) + transfer::Entry(u"p1_header.xml", policy.Document()) +
                                         transfer::Entry(u"z.bin", std::string("\0\xFF\r\n", 4)) +
                                         transfer::Entry(u"empty", "") + transfer::Entry(u"a.txt", "text"));
}

TEST_F(PolicyTransferFormat, NamesTravelInUtf16AlsoBeyondItsFirstPlane) {
    TestPolicy policy;
    policy.headerName = "\xC3\x84_header.xml";
    policy.data = {{"\xE2\x82\xAC", "1"}, {"\xF0\x9F\x94\x92", "2"}};
    EXPECT_EQ(Packed(policy).View(), transfer::Int(3) + transfer::Entry(u"\u00C4_header.xml", policy.Document()) +
                                         transfer::Entry(u"\u20AC", "1") + transfer::Entry(u"\U0001F512", "2"));
    const CharArray_t array = Packed(policy);
    TransferCursor cursor(array);
    PolicyArrayReader files(cursor);
    ASSERT_TRUE(files.Next());
    EXPECT_EQ(files.GetName(), String_t(u"\u00C4_header.xml"));
}

TEST_F(PolicyTransferFormat, NoDirectoryTravels) {
    TestPolicy policy;
    policy.data = {{"one", "1"}};
    const std::string array(Packed(policy).View());
    std::string folder = root.Native(), wide;
    for (const char unit : folder) wide += std::string(1, '\0') + unit;
    EXPECT_EQ(array.find(folder), std::string::npos);
    EXPECT_EQ(array.find(wide), std::string::npos);
}

TEST_F(PolicyTransferFormat, TheDocumentIsSentAsItStandsInTheFile) {
    TestPolicy policy;
    policy.document = "\xEF\xBB\xBF" + policy.Document() + "\r\n<!-- \xC3\xA4 -->\r\n\n";
    EXPECT_EQ(Packed(policy).View(), transfer::Int(1) + transfer::Entry(u"p1_header.xml", policy.document));
}

TEST_F(PolicyTransferFormat, FilesAroundTheSizeOfABlockTravelWhole) {
    for (const std::size_t size : {1u, 8191u, 8192u, 8193u, 16384u, 16385u}) {
        TestPolicy policy;
        policy.data = {{"one", std::string(size, 'x')}};
        EXPECT_EQ(Packed(policy).View(), transfer::Policy(policy)) << size;
    }
}

TEST_F(PolicyTransferFormat, AnArrayCutAtAnyByteIsRefusedByItsReader) {
    TestPolicy policy;
    policy.data = {{"one", "first"}, {"empty", ""}, {"\xE2\x82\xAC", "third"}};
    const CharArray_t array = Packed(policy);
    for (std::size_t length = 0; length < array.GetLength(); ++length) {
        EXPECT_THROW(Walk(CharArray_t(array.GetData(), length)), LumPalMsg::RuntimeException_t) << length;
    }
    Walk(array);
}

}  // namespace
}  // namespace LumConf
