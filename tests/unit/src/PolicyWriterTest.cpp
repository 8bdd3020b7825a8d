// Writing policy documents: new ones, and changed ones to their place in the store.
#include "PolicyWriter.h"

#include <gtest/gtest.h>

#include "DirectoryImpl.h"
#include "Exceptions.h"
#include "LumPalFault.h"
#include "PolicyDocs.h"
#include "TempRoot.h"

namespace {

using LumConf::PolicyHeader;
using LumConf::PolicyWriter;
using LumPalIo::File_t;
using LumPalMsg::IllegalArgumentError_t;
using LumPalMsg::IllegalStateError_t;
using LumPalStr::String_t;
using policydocs::Doc;
using policydocs::IdRaised;
using policydocs::Parse;
namespace fs = std::filesystem;

TEST(PolicyHeaderWrite, WhatIsWrittenIsReadBack) {
    const TempRoot root;
    const File_t file(root.Path("new_header.xml"));
    const PolicyHeader header = Parse(policydocs::TestDocument("complete_header.xml"));
    header.SetDescription(String_t::FromUtf8(" <blanks> & \"quotes\"\nline\r\n 😀 "));
    header.SetAttribute("empty", "");
    PolicyHeader::Write(file, header);
    const PolicyHeader back = PolicyHeader::Read(file);
    EXPECT_EQ(back.GetContainerId(), header.GetContainerId());
    EXPECT_EQ(back.GetVersionId(), header.GetVersionId());
    EXPECT_EQ(back.GetName(), header.GetName());
    EXPECT_EQ(back.GetVersion(), header.GetVersion());
    EXPECT_EQ(back.GetDescription(), header.GetDescription());
    EXPECT_EQ(back.GetStatus(), header.GetStatus());
    EXPECT_EQ(back.GetOwner(), header.GetOwner());
    EXPECT_EQ(back.GetTypeId(), header.GetTypeId());
    EXPECT_EQ(back.GetTypeVersion(), header.GetTypeVersion());
    EXPECT_EQ(back.GetTypeName(), header.GetTypeName());
    EXPECT_EQ(back.GetImpl()->Snapshot().categories, header.GetImpl()->Snapshot().categories);
    ASSERT_EQ(back.GetAttributesCount(), 3);
    EXPECT_EQ(back.GetAttribute(1).GetValue(), "aix");
    EXPECT_EQ(back.GetAttribute(2).GetValue(), "");
    ASSERT_EQ(back.GetDataFileCount(), 2);
    EXPECT_EQ(back.GetDataFileEncoding(1), "application/octet-stream");
}

TEST(PolicyHeaderWrite, ANewDocumentIsUnsigned) {
    const TempRoot root;
    const File_t file(root.Path("new_header.xml"));
    PolicyHeader::Write(file, Parse(policydocs::TestDocument("complete_header.xml")));
    const PolicyHeader back = PolicyHeader::Read(file);
    EXPECT_TRUE(back.GetCertificate().IsEmpty());
    EXPECT_EQ(back.GetImpl()->GetSignatureCount(), 2);
    EXPECT_TRUE(back.GetSignature(0).IsEmpty());
    EXPECT_TRUE(back.GetSignature(1).IsEmpty());
}

TEST(PolicyHeaderWrite, ElementsStandInTheOrderOfTheDocument) {
    const TempRoot root;
    PolicyHeader::Write(File_t(root.Path("new_header.xml")), Parse(policydocs::TestDocument("complete_header.xml")));
    const std::string text = policydocs::ReadFile(root.Native() + "/new_header.xml");
    std::size_t at = 0;
    for (const char* part : {"<?xml",
                             "UTF-8",
                             "<header xmlns=\"http://lum.tessel.com/xmlns/conf/2003/04\">",
                             "<policy>",
                             "<ids>",
                             "<container_id>",
                             "<version_id>",
                             "</ids>",
                             "<name>",
                             "<version>",
                             "<description>",
                             "<status>",
                             "<owner>",
                             "<files>",
                             "<data>",
                             "<file_name>sizes.cfg<",
                             "<encoding>",
                             "<checksum>",
                             "<signature></signature>",
                             "<file_name>swap.bin<",
                             "<encoding>",
                             "<checksum>",
                             "<signature></signature>",
                             "</data>",
                             "</files>",
                             "<categories>",
                             "<category>storage<",
                             "<category>memory<",
                             "</categories>",
                             "<attributes>",
                             "<attribute>",
                             "<name>",
                             "<value>linux<",
                             "</attribute>",
                             "<attribute>",
                             "<value>aix<",
                             "</attributes>",
                             "</policy>",
                             "<policytype>",
                             "<container_id>",
                             "<version>",
                             "<name>",
                             "</policytype>",
                             "<certificate></certificate>",
                             "</header>"}) {
        const std::size_t found = text.find(part, at);
        ASSERT_NE(found, std::string::npos) << part;
        at = found;
    }
}

TEST(PolicyHeaderWrite, AnEmptyHeaderMakesACompleteDocument) {
    const TempRoot root;
    const File_t file(root.Path("new_header.xml"));
    PolicyHeader::Write(file, PolicyHeader());
    const PolicyHeader back = PolicyHeader::Read(file);
    EXPECT_EQ(back.GetContainerId(), "");
    EXPECT_TRUE(back.IsEnabled());
}

TEST(PolicyHeaderWrite, AnExistingFileStaysAsItWas) {
    const TempRoot root;
    const std::string path = root.Native() + "/old_header.xml";
    policydocs::WriteFile(path, "old");
    const auto failure = policydocs::Raised<LumPalIo::IOException_t>(
        [&] { PolicyHeader::Write(File_t(String_t::FromUtf8(path)), PolicyHeader()); });
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->Id(), 54u);
    EXPECT_TRUE(failure->Says(path));
    EXPECT_EQ(policydocs::ReadFile(path), "old");
}

TEST(PolicyHeaderWrite, ALinkThatLeadsNowhereIsNotFollowed) {
    const TempRoot root;
    fs::create_symlink("elsewhere", root.Native() + "/link_header.xml");
    const File_t file(root.Path("link_header.xml"));
    EXPECT_EQ(IdRaised<LumPalIo::IOException_t>([&] { PolicyHeader::Write(file, PolicyHeader()); }), 54u);
    EXPECT_FALSE(fs::exists(root.Native() + "/elsewhere"));
}

TEST(PolicyHeaderWrite, ANullFileAndAMissingFolderAreRefused) {
    const TempRoot root;
    EXPECT_EQ(IdRaised<IllegalArgumentError_t>([] { PolicyHeader::Write(File_t(), PolicyHeader()); }), 53u);
    const auto failure = policydocs::Raised<LumPalIo::FileNotFoundException_t>(
        [&] { PolicyHeader::Write(File_t(root.Path("none/new_header.xml")), PolicyHeader()); });
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->Id(), 55u);
    EXPECT_TRUE(failure->Says("'new_header.xml'"));
    EXPECT_TRUE(failure->Says(root.Native() + "/none"));
}

/// A policy in the store, and a writer for it.
class PolicyWriterTest : public testing::Test {
protected:
    PolicyWriterTest() { Put(Doc()); }

    void Put(const Doc& doc) {
        oldPath = policydocs::PutInStore(doc);
        fs::permissions(oldPath, fs::perms::owner_read | fs::perms::group_read);
        source = Parse(doc.Text());
    }
    static File_t FileOf(const fs::path& path) { return File_t(String_t::FromUtf8(path.string())); }
    void Write(const String_t& oldId) {
        const File_t temp = LumConf::DirectoryImpl::CreateTemporaryFile();
        PolicyWriter writer(temp, FileOf(oldPath), LumPalIo::FileInputStream_t(FileOf(oldPath)),
                            LumConf::paths::PolicyInstallDirectory(), source.GetImpl());
        writer.Write(oldId);
    }
    static std::vector<std::string> StoreFiles() {
        std::vector<std::string> files;
        for (const auto& entry : fs::recursive_directory_iterator(policydocs::StorePath())) {
            if (!entry.is_directory()) files.push_back(fs::relative(entry.path(), policydocs::StorePath()).string());
        }
        std::sort(files.begin(), files.end());
        return files;
    }

    TempRoot root;
    fs::path oldPath;
    PolicyHeader source;
};

TEST_F(PolicyWriterTest, AChangedPolicyKeepsItsPlaceAndEndsReadOnly) {
    source.SetDisabled();
    source.SetOwner("another");
    Write("p1");
    EXPECT_EQ(StoreFiles(), std::vector<std::string>{"cron/p1_header.xml"});
    const PolicyHeader back = PolicyHeader::Read(FileOf(oldPath));
    EXPECT_TRUE(back.IsDisabled());
    EXPECT_EQ(back.GetOwner(), "another");
    EXPECT_EQ(fs::status(oldPath).permissions() & fs::perms::all, fs::perms::owner_read | fs::perms::group_read);
    EXPECT_TRUE(fs::is_empty(LumConf::paths::TemporaryDirectory().GetAbsolutePath().ToUtf8()));
}

TEST_F(PolicyWriterTest, UnknownElementsAndTheNamespaceAreKept) {
    Doc doc;
    doc.nameSpace = "http://lum.tessel.com/xmlns/conf/2019/11";
    doc.inPolicy = "<vendor><a>1</a></vendor>";
    fs::remove(oldPath);
    Put(doc);
    Write("p1");
    const std::string text = policydocs::ReadFile(oldPath);
    EXPECT_NE(text.find("<a>1</a>"), std::string::npos);
    EXPECT_NE(text.find(doc.nameSpace), std::string::npos);
}

TEST_F(PolicyWriterTest, AChangeOfTheIdMovesThePolicyToItsNewName) {
    source.SetContainerId("P2");
    Write("P1");
    EXPECT_EQ(StoreFiles(), std::vector<std::string>{"cron/p2_header.xml"});
    EXPECT_EQ(PolicyHeader::Read(FileOf(policydocs::StorePath() / "cron/p2_header.xml")).GetContainerId(), "p2");
}

TEST_F(PolicyWriterTest, ADocumentOfTheOldIdGoesEvenWhenAnotherFileWasReplaced) {
    const fs::path incoming = root.Native() + "/incoming_header.xml";
    policydocs::WriteFile(incoming, Doc().Text());
    policydocs::PutInStore("cron", "former", Doc().Text());
    oldPath = incoming;
    Write("FORMER");
    EXPECT_EQ(StoreFiles(), std::vector<std::string>{"cron/p1_header.xml"});
    EXPECT_FALSE(fs::exists(incoming));
}

TEST_F(PolicyWriterTest, TheFolderOfANewTypeIsMade) {
    source.SetTypeName("other");
    Write("p1");
    EXPECT_EQ(StoreFiles(), std::vector<std::string>{"other/p1_header.xml"});
}

TEST_F(PolicyWriterTest, OtherCountsOfSignaturesAndDataFilesFailAndTheOldDocumentStays) {
    const std::string before = policydocs::ReadFile(oldPath);
    source.SetDataFile("unsigned.dat");
    EXPECT_EQ(IdRaised<LumConf::PolicyHeaderException>([&] { Write("p1"); }), 84u);
    EXPECT_EQ(policydocs::ReadFile(oldPath), before);
}

TEST_F(PolicyWriterTest, AMalformedOldDocumentPassesItsFailureUnchanged) {
    fs::remove(oldPath);
    policydocs::WriteFile(oldPath, "<a>");
    EXPECT_THROW(Write("p1"), LumPalXml::SAX::SAXParseException_t);
    EXPECT_TRUE(fs::exists(oldPath));
}

TEST_F(PolicyWriterTest, OnAFullDiskTheOldDocumentStays) {
    const std::string before = policydocs::ReadFile(oldPath);
    for (const char* operation : {"write", "fsync"}) {
        SCOPED_TRACE(operation);
        static std::string failing;
        failing = operation;
        LumPalIo::SetFaultHookForTest([](const char* asked, const char*) { return failing == asked; });
        const unsigned raised = policydocs::Raised<LumPalIo::IOException_t>([&] { Write("p1"); }).has_value();
        LumPalIo::SetFaultHookForTest(nullptr);
        EXPECT_TRUE(raised);
        EXPECT_EQ(policydocs::ReadFile(oldPath), before);
        EXPECT_EQ(StoreFiles(), std::vector<std::string>{"cron/p1_header.xml"});
    }
}

TEST_F(PolicyWriterTest, AnIdOrTypeThatIsNoFileNameChangesNothing) {
    const std::string before = policydocs::ReadFile(oldPath);
    for (const char* bad : {"../p1", "a/b", "..", ""}) {
        SCOPED_TRACE(bad);
        source.SetContainerId(bad);
        EXPECT_THROW(Write("p1"), LumConf::PolicyFileException);
        source.SetContainerId("p1");
        source.SetTypeName(bad);
        EXPECT_THROW(Write("p1"), LumConf::PolicyFileException);
        source.SetTypeName("cron");
    }
    EXPECT_EQ(StoreFiles(), std::vector<std::string>{"cron/p1_header.xml"});
    EXPECT_EQ(policydocs::ReadFile(oldPath), before);
}

TEST_F(PolicyWriterTest, AnOldIdThatIsNoFileNameDeletesNothing) {
    policydocs::WriteFile(policydocs::StorePath() / "victim_header.xml", "v");
    Write("../victim");
    EXPECT_TRUE(fs::exists(policydocs::StorePath() / "victim_header.xml"));
}

TEST_F(PolicyWriterTest, MissingArgumentsAreRefused) {
    const File_t temp(root.Path("temp")), old(FileOf(oldPath)), base(root.Path());
    const LumPalIo::InputStream_t input = policydocs::StreamOf("");
    EXPECT_EQ(IdRaised<IllegalArgumentError_t>([&] { PolicyWriter(File_t(), old, input, base, source.GetImpl()); }),
              96u);
    EXPECT_EQ(IdRaised<IllegalArgumentError_t>([&] { PolicyWriter(temp, File_t(), input, base, source.GetImpl()); }),
              96u);
    EXPECT_EQ(IdRaised<IllegalArgumentError_t>([&] { PolicyWriter(temp, old, input, base, nullptr); }), 96u);
    const LumPalIo::InputStream_t none;
    EXPECT_EQ(IdRaised<IllegalArgumentError_t>([&] { PolicyWriter(temp, old, none, base, source.GetImpl()); }), 96u);
    EXPECT_FALSE(temp.Exists());
}

TEST_F(PolicyWriterTest, ATemporaryFileThatCannotBeOpenedIsNamed) {
    const File_t temp(root.Path("none/temp"));
    const auto failure = policydocs::Raised<LumPalIo::FileNotFoundException_t>(
        [&] { PolicyWriter(temp, FileOf(oldPath), policydocs::StreamOf(""), File_t(root.Path()), source.GetImpl()); });
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->Id(), 97u);
    EXPECT_TRUE(failure->Says("none/temp"));
}

TEST_F(PolicyWriterTest, AWriterIsUsedOnce) {
    PolicyWriter writer(LumConf::DirectoryImpl::CreateTemporaryFile(), FileOf(oldPath),
                        LumPalIo::FileInputStream_t(FileOf(oldPath)), LumConf::paths::PolicyInstallDirectory(),
                        source.GetImpl());
    writer.Write("p1");
    EXPECT_EQ(IdRaised<IllegalStateError_t>([&] { writer.Write("p1"); }), 98u);
    EXPECT_EQ(StoreFiles(), std::vector<std::string>{"cron/p1_header.xml"});
}

}  // namespace
