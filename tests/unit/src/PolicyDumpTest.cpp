// The merged list of the installed policies.
#include <gtest/gtest.h>

#include "CapturedLog.h"
#include "Exceptions.h"
#include "PolicyContainerImpl.h"
#include "PolicyDocs.h"
#include "TempRoot.h"

namespace {

using LumConf::NoPoliciesInstalledError;
using LumPalIo::File_t;
using LumPalStr::String_t;
using policydocs::IdRaised;
namespace fs = std::filesystem;

const std::string kTitle = "Installed policies:\n-------------------------------\n\n";
const std::string kSeparator = "\n-------------------------------\n\n";

class PolicyDump : public testing::Test {
protected:
    PolicyDump() { fs::create_directories(policydocs::StorePath()); }

    std::string Dump(const String_t& type = String_t::Null()) {
        LumConf::PolicyContainerImpl::Dump(Out(), type);
        return Text();
    }
    File_t Out() const { return File_t(root.Path("list.txt")); }
    std::string Text() const { return policydocs::ReadFile(root.Native() + "/list.txt"); }
    static std::string Section(const fs::path& path) {
        return "Policy header file '" + path.string() + "' \n\n" + policydocs::ReadFile(path) + kSeparator;
    }

    TempRoot root;
};

TEST_F(PolicyDump, EveryDocumentStandsInItsSection) {
    const fs::path b = policydocs::PutInStore("cron", "b", "second");
    const fs::path a = policydocs::PutInStore("cron", "a", "first \xC3\xA9");
    const fs::path c = policydocs::PutInStore("disk", "c", std::string(20000, 'x'));
    policydocs::WriteFile(policydocs::StorePath() / "cron" / "a.dat", "not listed");
    EXPECT_EQ(Dump(), kTitle + Section(a) + Section(b) + Section(c));
    EXPECT_EQ(Dump(""), kTitle + Section(a) + Section(b) + Section(c));
}

TEST_F(PolicyDump, OneTypeIsFoundInAnyCase) {
    policydocs::PutInStore("cron", "a", "first");
    const fs::path c = policydocs::PutInStore("disk", "c", "third");
    EXPECT_EQ(Dump("DISK"), kTitle + Section(c));
}

TEST_F(PolicyDump, AnUnknownTypeLeavesTheTitleAlone) {
    policydocs::PutInStore("cron", "a", "first");
    EXPECT_THROW(Dump("none"), NoPoliciesInstalledError);
    EXPECT_EQ(Text(), kTitle);
    EXPECT_THROW(Dump("../policies/cron"), NoPoliciesInstalledError);
    EXPECT_EQ(Text(), kTitle);
}

TEST_F(PolicyDump, AnEmptyStoreLeavesTheTitleAlone) {
    EXPECT_THROW(Dump(), NoPoliciesInstalledError);
    EXPECT_EQ(Text(), kTitle);
    fs::remove(policydocs::StorePath());
    EXPECT_THROW(Dump(), NoPoliciesInstalledError);
    EXPECT_EQ(Text(), kTitle);
}

TEST_F(PolicyDump, AnExistingFileIsOverwritten) {
    policydocs::WriteFile(root.Native() + "/list.txt", std::string(100000, 'o'));
    const fs::path a = policydocs::PutInStore("cron", "a", "first");
    EXPECT_EQ(Dump(), kTitle + Section(a));
}

TEST_F(PolicyDump, AFileThatCannotBeMadeIsNamed) {
    const auto failure = policydocs::Raised<LumPalIo::FileNotFoundException_t>(
        [&] { LumConf::PolicyContainerImpl::Dump(File_t(root.Path("none/list.txt")), ""); });
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->Id(), 64u);
    EXPECT_TRUE(failure->Says("none/list.txt"));
}

TEST_F(PolicyDump, ADocumentThatCannotBeOpenedLeavesAShortSection) {
    const fs::path bad = policydocs::StorePath() / "cron" / "a_header.xml";
    fs::create_directories(bad);
    const fs::path b = policydocs::PutInStore("cron", "b", "second");
    const std::string shortSection = "Policy header file '" + bad.string() + "' \n\n" + kSeparator;
    const CapturedLog log(root.Native());
    EXPECT_EQ(Dump(), kTitle + shortSection + Section(b));
    EXPECT_TRUE(
        log.Holds("Unable to open file '" + bad.string() + "' for policy summary operation. File will be ignored."));
}

TEST_F(PolicyDump, LinksAreNotFollowed) {
    policydocs::WriteFile(root.Native() + "/secret", "secret");
    const fs::path a = policydocs::PutInStore("cron", "a", "first");
    fs::create_symlink(root.Native() + "/secret", policydocs::StorePath() / "cron" / "s_header.xml");
    fs::create_directory_symlink("cron", policydocs::StorePath() / "linked");
    EXPECT_EQ(Dump(), kTitle + Section(a));
}

}  // namespace
