#include "PolicyUtil.h"

#include <gtest/gtest.h>

#include "Exceptions.h"
#include "PolicyArrayReader.h"
#include "TempRoot.h"
#include "TestPolicy.h"

namespace LumConf {
namespace {

using LumPalArray::CharArray_t;
using LumPalIo::CharArrayOutputStream_t;
using LumPalIo::DataOutputStream_t;
using LumPalIo::File_t;
using LumPalStr::String_t;

class PolicyUtilTest : public testing::Test {
protected:
    CharArray_t Read(const File_t& file) {
        LumPalIo::FileInputStream_t input(file);
        CharArrayOutputStream_t target;
        PolicyUtil::ReadPolicy(input, file, target);
        return target.ToCharArray();
    }
    CharArray_t ReadWritten(const TestPolicy& policy) { return Read(policy.WriteFiles(Folder())); }
    std::string Folder() const { return root.Native() + "/policy"; }

    /// Number of the message with which reading fails; its detail goes to `detail`.
    unsigned FailureOf(const File_t& file) {
        try {
            Read(file);
        } catch (const ConfException& e) {
            detail = e.GetMessageList().Format(36);
            return e.GetMessageList().GetMessage(0).GetId();
        }
        return 0;
    }
    bool DetailShows(const String_t& text) const { return detail.Find(text) != LumPalStr::NotFound; }

    TempRoot root;
    String_t detail;
};

template <class E>
unsigned CheckFailure(const File_t& file) {
    try {
        PolicyUtil::CheckPolicyFile(file);
    } catch (const E& e) {
        return e.GetMessageList().GetMessage(0).GetId();
    }
    return 0;
}

TEST_F(PolicyUtilTest, ANullFileCannotBeSent) {
    EXPECT_EQ(CheckFailure<PolicyFileException>(File_t()), 148u);
}

TEST_F(PolicyUtilTest, ADirectoryCannotBeSentWhateverItsName) {
    std::filesystem::create_directories(root.Native() + "/a_header.xml");
    EXPECT_EQ(CheckFailure<PolicyFileException>(File_t(root.Path("a_header.xml"))), 150u);
    EXPECT_EQ(CheckFailure<PolicyFileException>(File_t(root.Path())), 150u);
}

TEST_F(PolicyUtilTest, ANameWithoutTheSuffixCannotBeSentEvenIfThereIsNoSuchFile) {
    for (const char* name : {"a.xml", "a_HEADER.xml", "a_header.xml.old", "a_header.xml "}) {
        EXPECT_EQ(CheckFailure<PolicyFileException>(File_t(root.Path(name))), 149u) << name;
    }
}

TEST_F(PolicyUtilTest, AFileThatIsNotThereCannotBeSent) {
    EXPECT_EQ(CheckFailure<LumPalIo::FileNotFoundException_t>(File_t(root.Path("a_header.xml"))), 611u);
}

TEST_F(PolicyUtilTest, AHeaderFileCanBeSent) {
    EXPECT_NO_THROW(PolicyUtil::CheckPolicyFile(TestPolicy().WriteFiles(Folder())));
}

TEST_F(PolicyUtilTest, APolicyWithoutDataFilesIsOneFile) {
    const CharArray_t array = ReadWritten(TestPolicy());
    TransferCursor cursor(array);
    EXPECT_EQ(cursor.ReadCount(0, 1), 1);
    EXPECT_EQ(array, TestPolicy().Array());
}

TEST_F(PolicyUtilTest, DataFilesFollowInTheOrderOfTheHeaderAlsoEmptyAndForeignOnes) {
    TestPolicy policy;
    policy.data = {{"z.txt", "last letter first"},
                   {"empty", ""},
                   {"Gr\xC3\xBC\xC3\x9F"
                    "e",
                    std::string(20000, 'x') + '\0' + "y"}};
    EXPECT_EQ(ReadWritten(policy), policy.Array());
}

TEST_F(PolicyUtilTest, AnEmptyDataFileIsAnEntryOfLengthZeroWithNothingBehind) {
    std::filesystem::create_directories(Folder());
    std::ofstream(Folder() + "/empty");
    CharArrayOutputStream_t bytes, expected;
    DataOutputStream_t out(bytes), expectedOut(expected);
    PolicyUtil::AddPolicyData(File_t(root.Path("policy")), "empty", out);
    expectedOut.WriteUTF16String("empty");
    expectedOut.WriteInt32(0);
    EXPECT_EQ(bytes.ToCharArray(), expected.ToCharArray());
}

TEST_F(PolicyUtilTest, ADataFileIsAddedFromItsDirectoryAlone) {
    std::ofstream(root.Native() + "/secret") << "s";
    std::filesystem::create_directories(Folder());
    CharArrayOutputStream_t bytes;
    DataOutputStream_t out(bytes);
    for (const char* name : {"../secret", "/etc/passwd", "..", "", "p1_header.xml"}) {
        EXPECT_THROW(PolicyUtil::AddPolicyData(File_t(root.Path("policy")), name, out), PolicyFileException) << name;
    }
    EXPECT_EQ(bytes.Size(), 0u);
}

TEST_F(PolicyUtilTest, TheDocumentTravelsAsItStandsWithByteOrderMarkAndLineEnds) {
    TestPolicy policy;
    policy.document = "\xEF\xBB\xBF" + policy.Document() + "<!-- end -->\r\n\r\n";
    EXPECT_EQ(ReadWritten(policy), policy.Array());
}

TEST_F(PolicyUtilTest, ADocumentLargerThanABlockTravelsWhole) {
    TestPolicy policy;
    policy.description = std::string(50000, 'd');
    EXPECT_EQ(ReadWritten(policy), policy.Array());
}

TEST_F(PolicyUtilTest, ARelativePathFindsTheDataFilesBesideTheHeader) {
    TestPolicy policy;
    policy.data = {{"one", "1"}};
    policy.WriteFiles(Folder());
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(Folder());
    const CharArray_t array = Read(File_t("p1_header.xml"));
    std::filesystem::current_path(before);
    EXPECT_EQ(array, policy.Array());
}

TEST_F(PolicyUtilTest, TheTargetIsClosedAndKeepsItsBytes) {
    const File_t file = TestPolicy().WriteFiles(Folder());
    LumPalIo::FileInputStream_t input(file);
    CharArrayOutputStream_t target;
    PolicyUtil::ReadPolicy(input, file, target);
    EXPECT_EQ(target.ToCharArray(), TestPolicy().Array());
    CharArray_t one(1);
    EXPECT_THROW(input.Read(one), LumPalIo::IOException_t);
}

TEST_F(PolicyUtilTest, AMissingDataFileFailsThePolicyWithItsPathInTheDetails) {
    TestPolicy policy;
    policy.data = {{"gone.txt", "x"}};
    const File_t file = policy.WriteFiles(Folder());
    std::filesystem::remove(Folder() + "/gone.txt");
    EXPECT_EQ(FailureOf(file), 610u);
    EXPECT_TRUE(DetailShows("gone.txt"));
}

TEST_F(PolicyUtilTest, AMalformedDocumentFailsThePolicy) {
    TestPolicy policy;
    policy.document = "<header>";
    EXPECT_EQ(FailureOf(policy.WriteFiles(Folder())), 610u);
    policy.document = "<header xmlns=\"http://lum.tessel.com/xmlns/conf/2003/04\"/>";
    EXPECT_EQ(FailureOf(policy.WriteFiles(Folder())), 610u);
    EXPECT_TRUE(DetailShows("'<policy>' not found"));
}

TEST_F(PolicyUtilTest, AHeaderCannotMakeTheClientSendFilesFromElsewhere) {
    std::ofstream(root.Native() + "/secret") << "s";
    for (const std::string name : {"../secret", "/etc/passwd", ".", "..", "", "x_header.xml", "a&#10;b"}) {
        TestPolicy policy;
        policy.document = policy.Document();
        const std::string files = "<files><data><file_name>" + name + "</file_name></data></files>";
        policy.document.insert(policy.document.find("<categories>"), files);
        EXPECT_EQ(FailureOf(policy.WriteFiles(Folder())), 610u) << name;
        EXPECT_TRUE(DetailShows("is refused")) << name;
    }
}

TEST_F(PolicyUtilTest, AHeaderCannotNameAFileTwice) {
    TestPolicy policy;
    policy.data = {{"one", "1"}, {"one", "1"}};
    EXPECT_EQ(FailureOf(policy.WriteFiles(Folder())), 610u);
    EXPECT_TRUE(DetailShows("'one' is refused"));
}

TEST_F(PolicyUtilTest, ADataFileThatIsADirectoryFailsThePolicy) {
    TestPolicy policy;
    policy.data = {{"folder", "x"}};
    const File_t file = policy.WriteFiles(Folder());
    std::filesystem::remove(Folder() + "/folder");
    std::filesystem::create_directories(Folder() + "/folder");
    EXPECT_EQ(FailureOf(file), 610u);
}

}  // namespace
}  // namespace LumConf
