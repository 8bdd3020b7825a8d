// What a node tells of the files of its policies.
#include "StoredFilesPack.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "Exceptions.h"
#include "LumSecDigest.h"
#include "PolicyNode.h"
#include "TransferBytes.h"

namespace LumConf {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
namespace fs = std::filesystem;

TestPolicy Policy(const char* id, std::vector<std::pair<std::string, std::string>> data) {
    TestPolicy policy;
    policy.id = id;
    policy.name = std::string("Name of ") + id;
    policy.data = std::move(data);
    return policy;
}

std::string DigestOf(const std::string& text) {
    return LumSecCore::Sha256(LumPalIo::CharArrayInputStream_t(LumPalArray::CharArray_t(text.data(), text.size())));
}

class StoredFilesPackTest : public testing::Test {
protected:
    std::vector<StoredPolicy> Told(StoredFiles what, const Selection& selection = Selection()) {
        return StoredPolicy::Unpack(node->PackStored("tester", selection, what));
    }
    /// The data files of the one policy, each as "name=bytes".
    std::vector<std::string> Data(StoredFiles what) {
        std::vector<std::string> data;
        const std::vector<StoredPolicy> policies = Told(what);
        for (const auto& file : policies.at(0).dataFiles) {
            data.push_back(file.name.ToUtf8() + "=" + std::string(file.bytes.View()));
        }
        return data;
    }
    std::string Path(const std::string& file) const { return node.InstallFolder() + "/files/" + file; }
    void Write(const std::string& file, const std::string& text) const { std::ofstream(Path(file)) << text; }

    PolicyNode node;
};

TEST_F(StoredFilesPackTest, ADocumentComesByteByByteWithTheDigestsOrTheContents) {
    node.Install(Policy("a", {{"x", "one"}, {"empty", ""}}));
    const std::vector<StoredPolicy> policies = Told(StoredFiles::Contents);
    ASSERT_EQ(policies.size(), 1u);
    EXPECT_EQ(policies[0].id, "a");
    EXPECT_EQ(policies[0].header.GetName(), "Name of a");
    EXPECT_EQ(policies[0].document.View(), node.InstalledContent("files/a_header.xml"));
    EXPECT_THAT(Data(StoredFiles::Contents), ElementsAre("x=one", "empty="));
    EXPECT_THAT(Data(StoredFiles::Digests), ElementsAre("x=" + DigestOf("one"), "empty=" + DigestOf("")));
}

TEST_F(StoredFilesPackTest, WhatSomebodyHasWrittenIntoAFileIsTold) {
    node.Install(Policy("a", {{"x", "one"}}));
    Write("x", "by hand");
    EXPECT_THAT(Data(StoredFiles::Digests), ElementsAre("x=" + DigestOf("by hand")));
}

TEST_F(StoredFilesPackTest, OnlyWhatIsSelectedIsTold) {
    node.Install(Policy("a", {}));
    node.Install(Policy("b", {}));
    EXPECT_EQ(Told(StoredFiles::Digests, Selection().SetPolicyId("b")).at(0).id, "b");
    EXPECT_THROW(Told(StoredFiles::Digests, Selection().SetPolicyName("nobody")), PolicyNotFoundError);
    node.Remove(Selection());
    EXPECT_THROW(Told(StoredFiles::Digests), NoPoliciesInstalledError);
}

TEST_F(StoredFilesPackTest, AFileThatIsNoPlainOneIsLeftOut) {
    std::ofstream(node.Root().Native() + "/elsewhere") << "of somebody else";
    node.Install(Policy("a", {{"missing", "1"}, {"link", "2"}, {"pipe", "3"}, {"folder", "4"}, {"plain", "5"}}));
    for (const char* file : {"missing", "link", "pipe", "folder"}) ASSERT_TRUE(fs::remove(Path(file)));
    fs::create_symlink(node.Root().Native() + "/elsewhere", Path("link"));
    ASSERT_EQ(mkfifo(Path("pipe").c_str(), 0600), 0);
    fs::create_directory(Path("folder"));
    EXPECT_THAT(Data(StoredFiles::Contents), ElementsAre("plain=5"));
    EXPECT_THAT(Data(StoredFiles::Digests), ElementsAre("plain=" + DigestOf("5")));
}

TEST_F(StoredFilesPackTest, ADocumentThatIsGoneOrALinkIsLeftOutAndTheOthersAreTold) {
    std::ofstream(node.Root().Native() + "/elsewhere") << "of somebody else";
    for (const char* id : {"a", "b", "c"}) node.Install(Policy(id, {}));
    fs::remove(Path("a_header.xml"));
    fs::remove(Path("c_header.xml"));
    fs::create_symlink(node.Root().Native() + "/elsewhere", Path("c_header.xml"));
    const std::vector<StoredPolicy> policies = Told(StoredFiles::Digests);
    ASSERT_EQ(policies.size(), 1u);
    EXPECT_EQ(policies[0].id, "b");
}

TEST_F(StoredFilesPackTest, ADocumentOfTheStoreLeadsNowhereElse) {
    std::ofstream(node.Root().Native() + "/outside") << "secret";
    fs::create_directories(node.InstallFolder() + "/files");
    Write("a_header.xml", Policy("a", {{"../../outside", ""}, {"..", ""}, {"b_header.xml", ""}}).Document());
    TestPolicy elsewhere = Policy("b", {{"outside", ""}});
    elsewhere.type = "../..";
    Write("b_header.xml", elsewhere.Document());
    node.Restart();
    const std::vector<StoredPolicy> policies = Told(StoredFiles::Contents);
    ASSERT_EQ(policies.size(), 1u);
    EXPECT_EQ(policies[0].id, "a");
    EXPECT_THAT(policies[0].dataFiles, IsEmpty());
}

TEST_F(StoredFilesPackTest, AFolderThatIsALinkIsNotFollowed) {
    node.Install(Policy("a", {{"x", "one"}}));
    fs::rename(node.InstallFolder() + "/files", node.InstallFolder() + "/moved");
    fs::create_directory_symlink(node.InstallFolder() + "/moved", node.InstallFolder() + "/files");
    EXPECT_THROW(Told(StoredFiles::Contents), LumPalIo::IOException_t);
}

TEST_F(StoredFilesPackTest, AFileThatADocumentNamesTwiceIsToldOnce) {
    fs::create_directories(node.InstallFolder() + "/files");
    Write("a_header.xml", Policy("a", {{"x", ""}, {"x", ""}}).Document());
    Write("x", "one");
    node.Restart();
    EXPECT_THAT(Data(StoredFiles::Contents), ElementsAre("x=one"));
}

TEST_F(StoredFilesPackTest, OfADocumentThatNobodyCanReadTheIdIsTold) {
    node.Install(Policy("a", {{"x", "one"}}));
    Write("a_header.xml", "no document");
    const StoredPolicy policy = Told(StoredFiles::Digests).at(0);
    EXPECT_EQ(policy.id, "a");
    EXPECT_EQ(policy.header.GetContainerId(), "a");
    EXPECT_EQ(policy.header.GetName(), "");
    EXPECT_EQ(policy.document.View(), "no document");
}

TEST_F(StoredFilesPackTest, WhatDoesNotFitIsRefusedAndItsDigestIsTold) {
    node.Install(Policy("a", {{"x", "one"}}));
    fs::resize_file(Path("x"), StoredFilesPack::kMostBytes);  // takes no room
    const auto failure = FailureOf<PolicyFileException>([&] { Told(StoredFiles::Contents); });
    EXPECT_EQ(failure.text,
              "The files of the selected policies are more than '67108864' bytes in all. Select "
              "fewer policies.");
    EXPECT_EQ(Told(StoredFiles::Digests).at(0).dataFiles.at(0).bytes.GetLength(), LumSecCore::kSha256Bytes);
}

TEST_F(StoredFilesPackTest, AFileThatIsLargerThanAnyThatTravelsHasAnEmptyDigest) {
    node.Install(Policy("a", {{"x", "one"}, {"y", "two"}}));
    fs::resize_file(Path("x"), std::uint64_t(1) << 40);  // takes no room, and would take an hour
    EXPECT_THAT(Data(StoredFiles::Digests), ElementsAre("x=", "y=" + DigestOf("two")));
}

TEST_F(StoredFilesPackTest, APolicyThatIsInstalledAnewIsToldAsItIsNow) {
    node.Install(Policy("a", {{"x", "one"}}));
    node.Install(Policy("a", {{"y", "two"}}));
    EXPECT_THAT(Data(StoredFiles::Contents), ElementsAre("y=two"));
}

TEST_F(StoredFilesPackTest, TenThousandPoliciesAreToldInOneAnswer) {
    constexpr int kPolicies = 10000;
    fs::create_directories(node.InstallFolder() + "/files");
    for (int i = 0; i < kPolicies; ++i) {
        const std::string id = "p" + std::to_string(i);
        Write(id + "_header.xml", Policy(id.c_str(), {{id + ".txt", ""}}).Document());
        Write(id + ".txt", id);
    }
    node.Restart();
    const std::vector<StoredPolicy> policies = Told(StoredFiles::Digests);
    ASSERT_EQ(policies.size(), static_cast<std::size_t>(kPolicies));
    for (const StoredPolicy& policy : policies) {
        ASSERT_EQ(policy.dataFiles.at(0).bytes.View(), DigestOf(policy.id.ToUtf8())) << policy.id.ToUtf8();
    }
}

std::vector<StoredPolicy> Unpacked(const std::string& bytes) {
    return StoredPolicy::Unpack(LumPalArray::CharArray_t(bytes.data(), bytes.size()));
}

TEST(StoredPolicy, APackageFromAnywhereIsCheckedBeforeItIsBelieved) {
    const std::string good = transfer::Package({Policy("a", {{"x", "one"}})});
    EXPECT_EQ(Unpacked(good).at(0).dataFiles.at(0).bytes.View(), "one");
    EXPECT_THAT(Unpacked(transfer::Int(0)), IsEmpty());
    const std::string hostile[] = {
        "",
        "abc",
        good.substr(0, good.size() - 1),
        transfer::Int(0x7FFFFFFF),
        transfer::Int(1) + transfer::Int(0),
        transfer::Int(1) + transfer::Int(1) + transfer::Entry(u"../a_header.xml", "x"),
        transfer::Int(1) + transfer::Int(1) + transfer::Entry(u"a.xml", "x"),
        transfer::Int(1) + transfer::Int(2) + transfer::Entry(u"a_header.xml", "x") + transfer::Entry(u"../x", "y"),
        transfer::Int(1) + transfer::Int(2) + transfer::Entry(u"a_header.xml", "x") + transfer::Entry(u"a\nb", "y"),
        transfer::Int(1) + transfer::Int(3) + transfer::Entry(u"a_header.xml", "x") + transfer::Entry(u"x", "y") +
            transfer::Entry(u"x", "z"),
    };
    for (const std::string& bytes : hostile) EXPECT_THROW(Unpacked(bytes), LumPalMsg::Exception_t) << bytes;
}

}  // namespace
}  // namespace LumConf
