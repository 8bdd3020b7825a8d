// Data files that an installed policy names and that are not there.
#include "MissingDataFiles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "CapturedLog.h"
#include "Exceptions.h"
#include "PolicyNode.h"
#include "Raised.h"

namespace LumConf {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
namespace fs = std::filesystem;

TestPolicy Policy(const char* id, const std::vector<std::string>& files) {
    TestPolicy policy;
    policy.id = id;
    policy.name = std::string("Name of ") + id;
    for (const std::string& file : files) policy.data.emplace_back(file, "content");
    return policy;
}

std::vector<std::string> Missing(const PolicyHeader& header) {
    std::vector<std::string> names;
    for (int i = 0; i < header.GetMissingDataFileCount(); ++i) names.push_back(header.GetMissingDataFile(i).ToUtf8());
    return names;
}

class MissingDataFilesTest : public testing::Test {
protected:
    std::string Path(const std::string& file) const { return node.InstallFolder() + "/files/" + file; }
    void TakeAway(const std::string& file) const { ASSERT_TRUE(fs::remove(Path(file))); }
    /// Lines of the log that warn of missing files.
    int Warnings() const {
        const std::string lines = log.Text();
        int count = 0;
        for (auto at = lines.find("WARNING The data file"); at != std::string::npos;
             at = lines.find("WARNING The data file", at + 1)) {
            ++count;
        }
        return count;
    }

    PolicyNode node;
    CapturedLog log{node.Root().Native()};
};

TEST_F(MissingDataFilesTest, APolicyWithoutOneOfItsFilesIsMarkedAtTheStartAndNamedInTheLog) {
    node.Install(Policy("a", {"x", "y"}));
    node.Install(Policy("b", {"z"}));
    TakeAway("y");
    EXPECT_THAT(Missing(node.Get("a")), IsEmpty()) << "nobody has looked yet";
    node.Restart();
    EXPECT_THAT(Missing(node.Get("a")), ElementsAre("y"));
    EXPECT_THAT(Missing(node.Get("b")), IsEmpty());
    EXPECT_EQ(Warnings(), 1);
    EXPECT_THAT(log.Text(), HasSubstr("WARNING The data file '" + Path("y") +
                                      "' of the installed policy 'Name of a' with id 'a' is not there. Install the "
                                      "policy again, or remove it."));
}

TEST_F(MissingDataFilesTest, AReloadLooksAnew) {
    node.Install(Policy("a", {"x"}));
    TakeAway("x");
    node->ReinitCache("tester");
    EXPECT_THAT(Missing(node.Get("a")), ElementsAre("x"));
    node->ReinitCache("tester");
    EXPECT_THAT(Missing(node.Get("a")), ElementsAre("x"));
    std::ofstream(Path("x")) << "back";
    node->ReinitCache("tester");
    EXPECT_THAT(Missing(node.Get("a")), IsEmpty());
    EXPECT_EQ(Warnings(), 2);
}

TEST_F(MissingDataFilesTest, AReloadBesideACorruptHeaderLooksToo) {
    node.Install(Policy("a", {"x"}));
    TakeAway("x");
    std::ofstream(Path("corrupt_header.xml")) << "no document";
    node->ReinitCache("tester");
    EXPECT_THAT(Missing(node.Get("a")), ElementsAre("x"));
    node.Restart();
    EXPECT_THAT(Missing(node.Get("a")), ElementsAre("x"));
    EXPECT_EQ(Warnings(), 2);
}

TEST_F(MissingDataFilesTest, AnInstallMendsItAndAChangeOfTheHeaderDoesNot) {
    node.Install(Policy("a", {"x", "y"}));
    TakeAway("x");
    node.Restart();
    node->SetOwner("tester", "new", Selection(), PolicyForwarder::Options().SetNotify(false));
    node->SetStatus("tester", Selection(), PolicyOperation::Disable, PolicyForwarder::Options().SetNotify(false));
    EXPECT_THAT(Missing(node.Get("a")), ElementsAre("x"));
    TestPolicy again = Policy("a", {"x", "y"});
    again.owner = "new";
    node.Install(again);
    EXPECT_THAT(Missing(node.Get("a")), IsEmpty());
    node.Restart();
    EXPECT_THAT(Missing(node.Get("a")), IsEmpty());
}

TEST_F(MissingDataFilesTest, OfManyMissingFilesOfOnePolicyTheLogHasTheFirstAndACount) {
    std::vector<std::string> files;
    for (int i = 0; i < 30; ++i) files.push_back("f" + std::to_string(i));
    node.Install(Policy("a", files));
    for (const std::string& file : files) TakeAway(file);
    node.Restart();
    EXPECT_EQ(node.Get("a").GetMissingDataFileCount(), 30);
    EXPECT_EQ(Warnings(), 1);
    EXPECT_THAT(log.Text(), HasSubstr("'" + Path("f0") +
                                      "' of the installed policy 'Name of a' with id 'a' is not there, nor are '29' "
                                      "more of its data files."));
}

TEST_F(MissingDataFilesTest, AFileOfThatNameThatIsNoPlainOneIsMissing) {
    node.Install(Policy("a", {"folder", "link", "dangling", "plain", "empty"}));
    std::ofstream(node.Root().Native() + "/elsewhere") << "of somebody else";
    for (const char* file : {"folder", "link", "dangling"}) TakeAway(file);
    fs::create_directory(Path("folder"));
    fs::create_symlink(node.Root().Native() + "/elsewhere", Path("link"));
    fs::create_symlink(node.Root().Native() + "/nowhere", Path("dangling"));
    fs::permissions(Path("empty"), fs::perms::owner_all);
    std::ofstream(Path("empty")) << "";
    node.Restart();
    EXPECT_THAT(Missing(node.Get("a")), ElementsAre("folder", "link", "dangling"));
}

TEST_F(MissingDataFilesTest, ADocumentOfTheStoreCannotMakeTheNodeLookElsewhere) {
    fs::create_directories(node.InstallFolder() + "/files");
    std::ofstream(node.Root().Native() + "/outside") << "there";
    TestPolicy policy = Policy("a", {});
    policy.data = {{"../../outside", ""}, {"..", ""}};
    std::ofstream(Path("a_header.xml")) << policy.Document();
    TestPolicy wrongType = Policy("b", {});
    wrongType.type = "../..";
    wrongType.data = {{"outside", ""}};
    std::ofstream(Path("b_header.xml")) << wrongType.Document();
    node.Restart();
    EXPECT_THAT(Missing(node.Get("a")), ElementsAre("../../outside", ".."));
    EXPECT_THAT(Missing(node.Get("b")), ElementsAre("outside"));
}

TEST_F(MissingDataFilesTest, AControlCharacterOfANameReachesNoLogRaw) {
    fs::create_directories(node.InstallFolder() + "/files");
    TestPolicy policy = Policy("a", {});
    policy.data = {
        {"x\xC2\x9B"
         "2J\n2026 forged",
         ""}};
    std::ofstream(Path("a_header.xml")) << policy.Document();
    node.Restart();
    EXPECT_EQ(Warnings(), 1);
    EXPECT_THAT(log.Text(), HasSubstr("x\\x9b2J\\x0a2026 forged"));
    EXPECT_THAT(log.Text(), Not(HasSubstr("\n2026 forged")));
}

TEST(MissingDataFiles, ABadIndexIsToldWithItsNumber) {
    const PolicyHeader header;
    EXPECT_EQ(header.GetMissingDataFileCount(), 0);
    for (const int bad : {-1, 0, 1}) {
        EXPECT_RAISES(header.GetMissingDataFile(bad), LumPalMsg::IllegalArgumentError_t, 16);
    }
}

}  // namespace
}  // namespace LumConf
