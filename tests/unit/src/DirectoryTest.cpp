#include "Directory.h"

#include <gtest/gtest.h>

#include <limits>

#include "DirectoryImpl.h"
#include "Exceptions.h"
#include "Files.h"
#include "Raised.h"
#include "TempRoot.h"
#include "TraceLines.h"

namespace {

using namespace LumConf;
using LumPalIo::File_t;
namespace fs = std::filesystem;

class DirectoryTest : public testing::Test {
protected:
    fs::path At(const std::string& name) const { return fs::path(root.Native()) / name; }
    File_t FileAt(const std::string& name) const { return File_t(ToString(At(name))); }
    std::string NamesAt(const std::string& name) const {
        directory.ExtractPolicyFilenames(FileAt(name));
        std::string names;
        for (int i = 0; i < directory.GetPolicyFilenameCount(); ++i) {
            names += directory.GetPolicyFilename(i).GetName().ToUtf8() + " ";
        }
        return names;
    }

    TempRoot root;
    Directory directory;
};

TEST_F(DirectoryTest, ANewListIsEmpty) {
    EXPECT_EQ(directory.GetPolicyFilenameCount(), 0);
}

TEST_F(DirectoryTest, HeaderFilesComeInTheOrderOfTheirNames) {
    for (const char* name :
         {"b_header.xml", "a_header.xml", "B_header.xml", "data.txt", "c_header.xmlx", "_header.xml"}) {
        WriteText(At(std::string("d/") + name));
    }
    EXPECT_EQ(NamesAt("d"), "B_header.xml _header.xml a_header.xml b_header.xml ");
    EXPECT_EQ(directory.GetPolicyFilename(0).GetAbsolutePath(), ToString(At("d/B_header.xml")));
}

TEST_F(DirectoryTest, DirectoriesBelowAreNotEntered) {
    WriteText(At("d/below/a_header.xml"));
    EXPECT_EQ(NamesAt("d"), "");
}

TEST_F(DirectoryTest, AnEntryCountsByItsNameAlone) {
    // What it is shows when it is read.
    WriteText(At("d/b_header.xml/inside_header.xml"));
    WriteText(At("d/a_header.xml"), "");
    EXPECT_EQ(NamesAt("d"), "a_header.xml b_header.xml ");
}

TEST_F(DirectoryTest, AnEmptyDirectoryGivesNothing) {
    fs::create_directory(At("d"));
    EXPECT_EQ(NamesAt("d"), "");
}

TEST_F(DirectoryTest, AMissingPathGivesAnEmptyListAndIsTraced) {
    WriteText(At("d/a_header.xml"));
    EXPECT_EQ(NamesAt("d"), "a_header.xml ");
    TraceLines traced;
    EXPECT_EQ(NamesAt("nothing"), "");
    std::string path = At("nothing").native();
    EXPECT_TRUE(traced.Contains("Could not extract policy files from '" + path + "'."));
    EXPECT_TRUE(traced.Contains("  File/Directory '" + path + "' does not exist."));
}

TEST_F(DirectoryTest, AFileWithoutTheSuffixGivesAnEmptyListAndIsTraced) {
    WriteText(At("a.xml"));
    TraceLines traced;
    EXPECT_EQ(NamesAt("a.xml"), "");
    std::string path = At("a.xml").native();
    EXPECT_TRUE(traced.Contains("Could not extract policy files from '" + path + "'."));
    EXPECT_TRUE(traced.Contains("  File/Directory '" + path + "' does not have '_header.xml' extension."));
}

TEST_F(DirectoryTest, ANullPathGivesAnEmptyList) {
    directory.ExtractPolicyFilenames(File_t());
    EXPECT_EQ(directory.GetPolicyFilenameCount(), 0);
}

TEST_F(DirectoryTest, OneHeaderFileIsTakenAsItIs) {
    WriteText(At("a_header.xml"));
    EXPECT_EQ(NamesAt("a_header.xml"), "a_header.xml ");
}

TEST_F(DirectoryTest, AFileWithTheSuffixInsideItsNameCountsWhenItIsGiven) {
    WriteText(At("a_header.xml.old"));
    EXPECT_EQ(NamesAt("a_header.xml.old"), "a_header.xml.old ");
}

TEST_F(DirectoryTest, SymbolicLinksAreNotTakenAndAreTraced) {
    WriteText(At("outside_header.xml"));
    WriteText(At("d/a_header.xml"));
    fs::create_symlink(At("outside_header.xml"), At("d/b_header.xml"));
    fs::create_symlink(At("nowhere"), At("d/c_header.xml"));
    TraceLines traced;
    EXPECT_EQ(NamesAt("d"), "a_header.xml ");
    EXPECT_EQ(NamesAt("d/b_header.xml"), "");
    EXPECT_TRUE(traced.Contains("a symbolic link: " + At("d/b_header.xml").native()));
}

TEST_F(DirectoryTest, ABadIndexIsRefused) {
    EXPECT_RAISES(directory.GetPolicyFilename(0), PolicyNotFoundError, 13);
    WriteText(At("d/a_header.xml"));
    NamesAt("d");
    EXPECT_RAISES(directory.GetPolicyFilename(-1), PolicyNotFoundError, 13);
    EXPECT_RAISES(directory.GetPolicyFilename(std::numeric_limits<int>::min()), PolicyNotFoundError, 13);
    EXPECT_RAISES(directory.GetPolicyFilename(std::numeric_limits<int>::max()), PolicyNotFoundError, 13);
    auto raised = MessagesOf<PolicyNotFoundError>([this] { directory.GetPolicyFilename(-1); });
    EXPECT_EQ(raised.GetMessage(0).GetMessageText(),
              "Index count '-1' is out of range for get policy file name operation.");
    EXPECT_RAISES(directory.GetPolicyFilename(1), PolicyNotFoundError, 13);
    EXPECT_NO_THROW(directory.GetPolicyFilename(0));
}

TEST_F(DirectoryTest, CopiesShareTheList) {
    WriteText(At("d/a_header.xml"));
    Directory copy(directory), assigned;
    assigned = directory;
    NamesAt("d");
    EXPECT_EQ(copy.GetPolicyFilenameCount(), 1);
    EXPECT_EQ(assigned.GetPolicyFilenameCount(), 1);
}

TEST(IsHeaderFileName, TheSuffixMayStandAnywhereButMustBeExact) {
    for (const char* name : {"a_header.xml", "_header.xml", "a_header.xml.bak", "a_header.xmlx"}) {
        EXPECT_TRUE(DirectoryImpl::IsHeaderFileName(name)) << name;
    }
    for (const char* name : {"", "a", "header.xml", "a_Header.xml", "a_header.XML", "a_header.xm", "_header_xml"}) {
        EXPECT_FALSE(DirectoryImpl::IsHeaderFileName(name)) << name;
    }
}

}  // namespace
