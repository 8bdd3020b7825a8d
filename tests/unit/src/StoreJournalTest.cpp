// What a start makes of the record of an interrupted change, and of what a crash left beside it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "CapturedLog.h"
#include "Faults.h"
#include "Files.h"
#include "PolicyNode.h"
#include "StoreSweep.h"

namespace LumConf {
namespace {

namespace fs = std::filesystem;
using testing::Contains;
using testing::Not;

class StoreJournalAtStart : public testing::Test {
protected:
    StoreJournalAtStart() {
        TestPolicy policy;
        policy.data = {{"data", "content"}};
        node.Install(policy);
        node.Stop();
    }
    std::string Record() const { return node.Root().Native() + "/spool/store.change"; }
    void WriteRecord(const std::string& lines) const {
        WriteText(Record(), "lumconf store change 1\npolicy\tfiles\tp1\n" + lines + "end\n");
    }
    std::set<std::string> Store() const { return node.Installed(); }

    PolicyNode node;
};

TEST_F(StoreJournalAtStart, FinishesTheChangeAndSaysSo) {
    WriteRecord("delete\tfiles\tdata\n");
    CapturedLog log(node.Root().Native());
    node.Restart();
    EXPECT_THAT(Store(), Not(Contains("files/data")));
    EXPECT_FALSE(fs::exists(Record()));
    EXPECT_TRUE(log.Holds("A change of policy 'p1' of the type 'files' had been interrupted."));
}

TEST_F(StoreJournalAtStart, PutsARecordAsideThatIsNoneAndChangesNothing) {
    const std::set<std::string> before = Store();
    WriteRecord("delete\tfiles\tdata\nnonsense\n");
    CapturedLog log(node.Root().Native());
    node.Restart();
    EXPECT_EQ(Store(), before);
    EXPECT_FALSE(fs::exists(Record()));
    EXPECT_TRUE(fs::exists(Record() + ".unreadable"));
    EXPECT_TRUE(log.Holds("(line 4)"));
}

TEST_F(StoreJournalAtStart, DeletesARecordThatWasNeverComplete) {
    WriteText(Record() + ".tmp", "lumconf st");
    node.Restart();
    EXPECT_FALSE(fs::exists(Record() + ".tmp"));
    EXPECT_EQ(node.Ids(), "p1");
}

TEST_F(StoreJournalAtStart, DoesNotFollowALinkInPlaceOfTheRecord) {
    WriteText(node.Root().Native() + "/elsewhere", "lumconf store change 1\ndelete\tfiles\tdata\nend\n");
    fs::create_symlink(node.Root().Native() + "/elsewhere", Record());
    EXPECT_THROW(node.Restart(), LumPalIo::IOException_t);
    EXPECT_THAT(Store(), Contains("files/data"));
    fs::remove(Record());
    node.Restart();
    EXPECT_EQ(node.Ids(), "p1");
}

TEST_F(StoreJournalAtStart, DeletesNothingThroughATypeFolderThatIsALink) {
    WriteText(node.Root().Native() + "/outside/data", "not the store's");
    fs::create_directory_symlink(node.Root().Native() + "/outside", node.InstallFolder() + "/linked");
    WriteRecord("delete\tlinked\tdata\n");
    EXPECT_THROW(node.Restart(), LumPalIo::IOException_t);
    EXPECT_TRUE(fs::exists(node.Root().Native() + "/outside/data"));
    fs::remove(node.InstallFolder() + "/linked");
    node.Restart();
}

TEST_F(StoreJournalAtStart, FailsWhenTheChangeCannotBeFinishedAndKeepsWhatTheNextOneNeeds) {
    WriteText(node.TemporaryFolder() + "/POLnew", "new");
    WriteRecord("place\ttemporary\tPOLnew\tfiles\tdata\n");
    {
        Faults gone(1, FaultMode::FromThenOn);
        EXPECT_THROW(node.Restart(), LumPalIo::IOException_t);
    }
    EXPECT_TRUE(fs::exists(Record()));
    node.Restart();
    EXPECT_EQ(node.InstalledContent("files/data"), "new");
}

TEST_F(StoreJournalAtStart, DeletesCopiesThatACrashLeftBesideTheirDestinations) {
    const std::string copy = node.InstallFolder() + "/files/.aside-0123456789abcdef";
    WriteText(copy, "half");
    WriteText(copy + "0", "somebody else's");
    node.Restart();
    EXPECT_FALSE(fs::exists(copy));
    EXPECT_TRUE(fs::exists(copy + "0"));
}

TEST_F(StoreJournalAtStart, KeepsADataFileThatMerelyHasTheNameOfSuchACopy) {
    node.Restart();
    TestPolicy policy;
    policy.id = "q";
    policy.name = "other";
    policy.data = {{".aside-0123456789abcdef", "mine"}};
    node.Install(policy);
    node.Stop();
    node.Restart();
    EXPECT_EQ(node.InstalledContent("files/.aside-0123456789abcdef"), "mine");
}

TEST(StoreSweep, KnowsTheNamesOfCopiesExactly) {
    EXPECT_TRUE(IsAsideName(".aside-0123456789abcdef"));
    for (const char* other : {"", ".aside-", ".aside-0123456789abcde", ".aside-0123456789abcdeg",
                              "aside-0123456789abcdef0", ".aside-0123456789ABCDEF", ".aside-0123456789abcdef0"}) {
        EXPECT_FALSE(IsAsideName(other)) << other;
    }
}

TEST(StoreJournal, NothingIsInstalledWhileTheRecordOfAFormerChangeCannotBeDeleted) {
    PolicyNode node;
    TestPolicy policy;
    policy.data = {{"data", "content"}};
    {
        const FailingFile failing("unlink", "/store.change");
        node.Install(policy);
        policy.version = "2";
        EXPECT_THROW(node.Install(policy), LumPalIo::IOException_t);
    }
    EXPECT_EQ(node.Get("p1").GetVersion(), "1");
    node.Install(policy);
    EXPECT_EQ(node.Get("p1").GetVersion(), "2");
    EXPECT_FALSE(fs::exists(node.Root().Native() + "/spool/store.change"));
}

}  // namespace
}  // namespace LumConf
