// Loading the store into a container.
#include <gtest/gtest.h>

#include <mutex>

#include "Exceptions.h"
#include "LumPalTrc.h"
#include "PolicyContainer.h"
#include "PolicyDocs.h"
#include "TempRoot.h"

namespace {

using LumConf::PolicyContainer;
using LumConf::PolicyFileException;
using LumPalMsg::RuntimeException_t;
using LumPalStr::String_t;
using policydocs::Doc;
using policydocs::IdRaised;
namespace fs = std::filesystem;
using Options = PolicyContainer::Options;

class PolicyLoad : public testing::Test {
protected:
    PolicyLoad() { fs::create_directories(policydocs::StorePath()); }

    static fs::path Put(const std::string& type, const std::string& id, const std::string& name) {
        Doc doc;
        doc.typeName = type, doc.id = id, doc.name = name;
        return policydocs::PutInStore(doc);
    }
    std::string Ids() const {
        std::string ids;
        for (int i = 0; i < container.GetCount(); ++i)
            ids += container.GetPolicyHeader(i).GetContainerId().ToUtf8() + " ";
        return ids;
    }

    TempRoot root;
    PolicyContainer container;
};

/// What is traced while it lives.
class TraceText {
public:
    bool Holds(const std::string& part) {
        const std::lock_guard lock(mutex);
        return text.find(part) != std::string::npos;
    }

private:
    std::mutex mutex;
    std::string text;
    LumPalTrc::ScopedListener_t listener{[this](const char*, int, const String_t& line) {
        const std::lock_guard lock(mutex);
        text += line.ToUtf8() + "\n";
    }};
};

TEST_F(PolicyLoad, AStoreWithoutFoldersGivesNothingAndSaysSoInTheTrace) {
    TraceText trace;
    EXPECT_EQ(container.CheckPolicy(), 0);
    EXPECT_TRUE(container.IsEmpty());
    EXPECT_TRUE(trace.Holds("No installed policy files found."));
}

TEST_F(PolicyLoad, EmptyFoldersGiveNothing) {
    fs::create_directories(policydocs::StorePath() / "cron");
    EXPECT_EQ(container.CheckPolicy(), 0);
}

TEST_F(PolicyLoad, AStoreThatIsNotThereCannotBeRead) {
    fs::remove(policydocs::StorePath());
    const auto failure = policydocs::Raised<RuntimeException_t>([&] { container.CheckPolicy(); });
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->Id(), 58u);
    EXPECT_TRUE(failure->Says(policydocs::StorePath().string()));
}

TEST_F(PolicyLoad, EveryPolicyOfEveryTypeIsRead) {
    Put("cron", "b", "x");
    Put("cron", "a", "y");
    Put("disk", "c", "x");
    EXPECT_EQ(container.CheckPolicy(), 3);
    EXPECT_EQ(Ids(), "a b c ");
    EXPECT_EQ(container.CheckPolicy(), 3);
    EXPECT_EQ(container.GetCount(), 3);
    EXPECT_TRUE(container.HasTypeName("disk"));
}

TEST_F(PolicyLoad, DataFilesAndOtherFilesAreNotRead) {
    Put("cron", "a", "x");
    policydocs::WriteFile(policydocs::StorePath() / "cron" / "a.dat", "data");
    policydocs::WriteFile(policydocs::StorePath() / "cron" / "a_header.xml.bak", "old");
    EXPECT_EQ(container.CheckPolicy(), 1);
}

TEST_F(PolicyLoad, AStrayFileInTheStoreIsPassedOver) {
    Put("cron", "a", "x");
    policydocs::WriteFile(policydocs::StorePath() / "stray.txt", "stray");
    TraceText trace;
    EXPECT_EQ(container.CheckPolicy(), 1);
    EXPECT_TRUE(trace.Holds("stray.txt"));
}

TEST_F(PolicyLoad, ACorruptHeaderCostsOnlyItself) {
    Put("cron", "a", "x");
    Put("disk", "z", "x");
    policydocs::PutInStore("cron", "bad1", "<unclosed>");
    policydocs::PutInStore("disk", "bad2", "<other/>");
    const auto failure = policydocs::Raised<PolicyFileException>([&] { container.CheckPolicy(); });
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->ids, (std::vector<unsigned>{57, 57}));
    EXPECT_TRUE(failure->HasDetail(88));
    EXPECT_TRUE(failure->HasDetail(90));
    EXPECT_TRUE(failure->HasDetail(73));
    EXPECT_TRUE(failure->Says("bad1_header.xml"));
    EXPECT_TRUE(failure->Says("bad2_header.xml"));
    EXPECT_EQ(Ids(), "a z ");
}

TEST_F(PolicyLoad, AFolderWithTheNameOfAHeaderCostsOnlyItself) {
    Put("cron", "b", "x");
    fs::create_directories(policydocs::StorePath() / "cron" / "a_header.xml");
    const auto failure = policydocs::Raised<PolicyFileException>([&] { container.CheckPolicy(); });
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->ids, (std::vector<unsigned>{57}));
    EXPECT_EQ(Ids(), "b ");
}

TEST_F(PolicyLoad, OfTwoIdsWithOneNameAndTypeTheLaterFileStands) {
    Put("cron", "b", "x");
    Put("cron", "a", "x");
    EXPECT_EQ(container.CheckPolicy(), 2);
    EXPECT_EQ(Ids(), "b ");
}

TEST_F(PolicyLoad, ACorruptHeaderBeforeTheWantedOneIsToldAndTheWantedOneIsRead) {
    Put("cron", "b", "x");
    policydocs::PutInStore("cron", "a", "<unclosed>");
    const auto failure = policydocs::Raised<PolicyFileException>(
        [&] { container.CheckPolicy(Options().SetPolicyNameAndTypeName("x=cron")); });
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->ids, (std::vector<unsigned>{57}));
    EXPECT_EQ(Ids(), "b ");
    EXPECT_NO_THROW(container.CheckPolicy(Options().SetPolicyId("b")));
}

TEST_F(PolicyLoad, AnIncompleteHeaderIsNotExcused) {
    Doc doc;
    doc.without = {"certificate"};
    policydocs::PutInStore(doc);
    EXPECT_EQ(IdRaised<PolicyFileException>([&] { container.CheckPolicy(); }), 57u);
}

TEST_F(PolicyLoad, LinksAreNotFollowed) {
    const fs::path outside = root.Native() + "/outside";
    Doc doc;
    doc.id = "evil", doc.name = "evil";
    policydocs::WriteFile(outside / "evil_header.xml", doc.Text());
    Put("cron", "a", "x");
    fs::create_directory_symlink(outside, policydocs::StorePath() / "linked");
    fs::create_symlink(outside / "evil_header.xml", policydocs::StorePath() / "cron" / "evil_header.xml");
    fs::create_symlink("nowhere", policydocs::StorePath() / "cron" / "gone_header.xml");
    TraceText trace;
    EXPECT_EQ(container.CheckPolicy(), 1);
    EXPECT_EQ(container.CheckPolicy(Options().SetPolicyTypeName("linked")), 0);
    EXPECT_EQ(container.CheckPolicy(Options().SetPolicyId("evil")), 0);
    EXPECT_EQ(container.CheckPolicy(Options().SetPolicyNameAndTypeName("evil=linked")), 0);
    EXPECT_EQ(container.CheckPolicy(Options().SetPolicyNameAndTypeName("evil=cron")), 0);
    EXPECT_EQ(Ids(), "a ");
    EXPECT_TRUE(trace.Holds("symbolic link"));
}

TEST_F(PolicyLoad, OneIdIsReadByItsFileName) {
    Put("cron", "a", "x");
    Put("cron", "ab", "y");
    EXPECT_EQ(container.CheckPolicy(Options().SetPolicyId("A")), 1);
    EXPECT_EQ(Ids(), "a ");
    EXPECT_EQ(container.CheckPolicy(Options().SetPolicyId("none")), 0);
    EXPECT_EQ(container.CheckPolicy(Options().SetPolicyId("")), 0);
    EXPECT_EQ(container.CheckPolicy(Options().SetPolicyId("../cron/ab")), 0);
    EXPECT_EQ(Ids(), "a ");
}

TEST_F(PolicyLoad, AnIdUnderTwoTypesIsReadTwiceAndTheLaterOneStands) {
    Put("cron", "a", "x");
    Put("disk", "a", "y");
    EXPECT_EQ(container.CheckPolicy(Options().SetPolicyId("a")), 2);
    EXPECT_EQ(container.GetCount(), 1);
    EXPECT_EQ(container.GetPolicyHeader("a").GetTypeName(), "disk");
}

TEST_F(PolicyLoad, AListOfIdsIsReadOneAfterTheOther) {
    Put("cron", "a", "x");
    Put("cron", "b", "y");
    Put("cron", "c", "z");
    EXPECT_EQ(container.CheckPolicy(String_t(" A  c none ")), 2);
    EXPECT_EQ(Ids(), "a c ");
    EXPECT_EQ(container.CheckPolicy(String_t("")), 0);
}

TEST_F(PolicyLoad, OneTypeIsReadFromItsFolder) {
    Put("cron", "a", "x");
    Put("disk", "b", "y");
    EXPECT_EQ(container.CheckPolicy(Options().SetPolicyTypeName("DISK")), 1);
    EXPECT_EQ(Ids(), "b ");
}

TEST_F(PolicyLoad, ATypeThatIsNoFolderGivesNothing) {
    policydocs::WriteFile(fs::path(root.Native()) / "out_header.xml", Doc().Text());
    for (const char* type : {"none", "", ".", "..", "../..", "/tmp", "a/b"}) {
        SCOPED_TRACE(type);
        EXPECT_EQ(container.CheckPolicy(Options().SetPolicyTypeName(type)), 0);
    }
    EXPECT_TRUE(container.IsEmpty());
}

TEST_F(PolicyLoad, ANameWithATypeFindsThatPolicyOnly) {
    Put("cron", "a", "x");
    Put("cron", "b", "y");
    Put("disk", "c", "y");
    EXPECT_EQ(container.CheckPolicy(Options().SetPolicyNameAndTypeName("Y=Cron")), 1);
    EXPECT_EQ(Ids(), "b ");
    EXPECT_EQ(container.CheckPolicy(Options().SetPolicyNameAndTypeName("x=disk")), 0);
}

TEST_F(PolicyLoad, OfTwoPoliciesWithTheWantedNameAndTypeTheFirstFileIsReadAlone) {
    Put("cron", "b", "x");
    Put("cron", "a", "x");
    policydocs::PutInStore("cron", "c", "<unclosed>");
    EXPECT_EQ(container.CheckPolicy(Options().SetPolicyNameAndTypeName("x=cron")), 1);
    EXPECT_EQ(Ids(), "a ");
}

TEST_F(PolicyLoad, ANameWithCapitalsCannotBeFoundByNameAndType) {
    Put("cron", "a", "Capital");
    EXPECT_EQ(container.CheckPolicy(Options().SetPolicyNameAndTypeName("Capital=cron")), 0);
}

TEST_F(PolicyLoad, ABadNameOrTypeIsRefused) {
    const struct {
        const char* text;
        unsigned detail;
    } rows[] = {{"", 70}, {"name", 70}, {"=type", 70}, {"name=", 70}, {" = ", 70}, {"name=a=b", 71}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        const auto failure = policydocs::Raised<RuntimeException_t>(
            [&] { container.CheckPolicy(Options().SetPolicyNameAndTypeName(row.text)); });
        ASSERT_TRUE(failure);
        EXPECT_EQ(failure->Id(), 58u);
        EXPECT_TRUE(failure->HasDetail(row.detail));
    }
}

TEST_F(PolicyLoad, OnlyThePoliciesThatWereReadMayReadTheirData) {
    Put("cron", "a", "x");
    container.CheckPolicy();
    EXPECT_TRUE(container.GetPolicyHeader("a").GetImpl()->IsDataReadAllowed());
}

}  // namespace
