// A node on a disk that is full: what fails leaves the room that it took, and nobody is told what is not so.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Exceptions.h"
#include "Mounts.h"
#include "PolicyNode.h"

namespace LumConf {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::IsEmpty;

class FullDisk : public testing::Test {
protected:
    static void SetUpTestSuite() { MakeMountsPrivate(); }

    static TestPolicy Policy(std::size_t bytes, const std::string& id = "p1") {
        TestPolicy policy;
        policy.id = id;
        policy.name = "name of " + id;
        policy.data = {{id + ".data", std::string(bytes, 'x')}};
        return policy;
    }
    /// Leaves no room at all.
    void Fill() const {
        std::ofstream file(Filler(), std::ios::binary);
        const std::string block(4096, 'f');
        while (file.write(block.data(), static_cast<std::streamsize>(block.size())) && file.flush()) {
        }
    }
    void MakeRoom() const { fs::remove(Filler()); }
    std::string Filler() const { return disk.Path() + "/filler"; }
    void Disable() {
        node->SetStatus("tester", Selection(), PolicyOperation::Disable, PolicyForwarder::Options().SetNotify(false));
    }

    SmallDisk disk{"size=2m"};
    PolicyNode node{disk.Path().c_str()};
};

TEST_F(FullDisk, AnInstallThatFindsNoRoomFailsAndGivesBackWhatItTook) {
    node.Install(Policy(100));
    const auto failure = FailureOf<ConfException>([&] { node.Install(Policy(4 << 20, "big")); });
    EXPECT_EQ(failure.id, 605u);
    EXPECT_THAT(failure.text, HasSubstr("No space left on device"));
    EXPECT_THAT(node.Incoming(), IsEmpty());
    EXPECT_THAT(node.Temporary(), IsEmpty());
    EXPECT_EQ(node.Ids(), "p1");
    // What others do meanwhile is done.
    Configure("demo", "key", "value");
    node.Install(Policy(1000, "small"));
    EXPECT_EQ(node.Ids(), "p1 small");
}

TEST_F(FullDisk, AnUpdateThatFindsNoRoomForItsDocumentLeavesTheOldPolicyWhole) {
    TestPolicy policy = Policy(10);
    node.Install(policy);
    policy.version = "2";
    // The document and the data just find room, the rewritten document does not.
    policy.description = std::string(700 << 10, 'd');
    policy.data[0].second = std::string(900 << 10, 'y');
    EXPECT_THROW(node.Install(policy), LumPalIo::NoSpaceException_t);
    EXPECT_THAT(node.Incoming(), IsEmpty());
    EXPECT_THAT(node.Temporary(), IsEmpty());
    EXPECT_EQ(node.Get("p1").GetVersion(), "1");
    EXPECT_EQ(node.InstalledContent("files/p1.data"), std::string(10, 'x'));
    policy.description = "short";
    node.Install(policy);
    EXPECT_EQ(node.Get("p1").GetVersion(), "2");
}

TEST_F(FullDisk, ARetryOfAChangeThatFoundNoRoomWritesItBeforeItSaysThatItAlreadyIsSo) {
    node.Install(Policy(10));
    const auto header = [this] { return node.InstalledContent("files/p1_header.xml"); };
    Fill();
    EXPECT_THROW(Disable(), LumPalIo::NoSpaceException_t);
    EXPECT_THAT(header(), HasSubstr("<status>enabled</status>"));
    EXPECT_THROW(Disable(), LumPalIo::NoSpaceException_t) << "still no room: it is not so";
    MakeRoom();
    EXPECT_EQ(FailureOf<NoPolicyOperation>([&] { Disable(); }).id, 116u);
    EXPECT_THAT(header(), HasSubstr("<status>disabled</status>"));
    node.Restart();
    EXPECT_TRUE(node.Get("p1").IsDisabled());
}

TEST_F(FullDisk, OfTwoPoliciesTheOneThatWasChangedInMemoryAloneIsWrittenWithTheNextChangeOfAnyKind) {
    node.Install(Policy(10, "a"));
    node.Install(Policy(10, "b"));
    Fill();
    EXPECT_THROW(Disable(), LumPalIo::NoSpaceException_t);
    MakeRoom();
    node->SetOwner("tester", "new", Selection(), PolicyForwarder::Options().SetNotify(false));
    node.Restart();
    EXPECT_TRUE(node.Get("a").IsDisabled());
    EXPECT_TRUE(node.Get("b").IsEnabled());
    EXPECT_EQ(node.Get("b").GetOwner(), "new");
}

TEST_F(FullDisk, CategoriesAndAttributesThatFoundNoRoomAreWrittenByTheRetry) {
    node.Install(Policy(10));
    const auto quiet = PolicyForwarder::Options().SetNotify(false);
    const auto categories = [&] {
        node->ModifyCategory("tester", "one two", Selection(), quiet, PolicyOperation::AddCategory);
    };
    const auto attribute = [&] {
        node->ModifyAttributes("tester", "n=v", Selection(), quiet, PolicyOperation::AddAttribute);
    };
    const std::pair<std::function<void()>, const char*> rows[] = {{categories, "<category>two</category>"},
                                                                  {attribute, "<value>v</value>"}};
    for (const auto& [change, text] : rows) {
        Fill();
        EXPECT_THROW(change(), LumPalIo::NoSpaceException_t);
        MakeRoom();
        EXPECT_THROW(change(), PolicyNotFoundError) << "nothing is left to change";
        EXPECT_THAT(node.InstalledContent("files/p1_header.xml"), HasSubstr(text));
    }
}

TEST_F(FullDisk, ADocumentThatIsGoneIsLeftGoneByARetry) {
    node.Install(Policy(10));
    Fill();
    EXPECT_THROW(Disable(), LumPalIo::NoSpaceException_t);
    MakeRoom();
    fs::remove(node.InstallFolder() + "/files/p1_header.xml");
    EXPECT_EQ(FailureOf<NoPolicyOperation>([&] { Disable(); }).id, 116u);
    EXPECT_FALSE(fs::exists(node.InstallFolder() + "/files/p1_header.xml"));
}

TEST_F(FullDisk, ARemovalNeedsNoRoomAndMakesSome) {
    node.Install(Policy(10, "a"));
    node.Install(Policy(600 << 10, "large"));
    Fill();
    EXPECT_THROW(node.Install(Policy(100 << 10, "more")), ConfException);
    node.Remove(Selection().SetPolicyId("large"));
    EXPECT_EQ(node.Ids(), "a");
    node.Install(Policy(100 << 10, "more"));
    EXPECT_EQ(node.Ids(), "a more");
    node.Restart();
    EXPECT_EQ(node.Ids(), "a more");
}

TEST_F(FullDisk, WithoutInodesAnInstallFailsAndLeavesNothingEither) {
    const SmallDisk few("size=2m,nr_inodes=60");
    PolicyNode crowded(few.Path().c_str());
    crowded.Install(Policy(10));
    TestPolicy many = Policy(10, "many");
    for (int i = 0; i < 60; ++i) many.data.emplace_back("f" + std::to_string(i), "");
    EXPECT_THROW(crowded.Install(many), ConfException);
    EXPECT_THAT(crowded.Incoming(), IsEmpty());
    crowded.Install(Policy(10, "other"));
    EXPECT_EQ(crowded.Ids(), "other p1");
}

}  // namespace
}  // namespace LumConf
