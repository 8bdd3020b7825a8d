// What an operator wants, and how it differs from what a node has.
#include "lumpolicy/DesiredState.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <functional>

#include "Raised.h"
#include "StoredPolicies.h"

namespace lumpolicy {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
namespace fs = std::filesystem;

TestPolicy Policy(const std::string& id = "a") {
    TestPolicy policy;
    policy.id = id;
    policy.name = "name of " + id;
    policy.categories = {"one", "two"};
    policy.attributes = {{"os", "linux"}, {"stage", "test"}};
    policy.data = {{id + ".txt", "content"}};
    return policy;
}

class DesiredStateTest : public testing::Test {
protected:
    ~DesiredStateTest() override { fs::remove_all(folder); }
    std::vector<std::string> Differing(const TestPolicy& has, const TestPolicy& wanted) {
        std::vector<std::string> fields;
        for (const Difference& one : Compare(Stored(has), Desired(wanted, folder))) fields.push_back(one.field);
        return fields;
    }
    std::string Write(const TestPolicy& policy, const std::string& below = "") {
        return policy.WriteFiles(folder + below).ToString().ToUtf8();
    }
    template <class E>
    std::string RefusalOf(const std::vector<std::string>& given) {
        return MessagesOf<E>([&] { ReadDesired(given); }).Format(LumPalMsg::BareText).ToUtf8();
    }

    std::string folder = [] {
        std::string pattern = (fs::temp_directory_path() / "lumdesired.XXXXXX").string();
        return std::string(mkdtemp(pattern.data()));
    }();
};

TEST_F(DesiredStateTest, WhatIsAlikeIsNoDifferenceInWhateverOrder) {
    EXPECT_THAT(Differing(Policy(), Policy()), IsEmpty());
    TestPolicy turned = Policy();
    std::swap(turned.categories[0], turned.categories[1]);
    std::swap(turned.attributes[0], turned.attributes[1]);
    EXPECT_THAT(Differing(turned, Policy()), IsEmpty());
}

TEST_F(DesiredStateTest, EachFieldCounts) {
    const std::pair<const char*, std::function<void(TestPolicy&)>> rows[] = {
        {"name", [](TestPolicy& p) { p.name = "other"; }},
        {"version", [](TestPolicy& p) { p.version = "2"; }},
        {"description", [](TestPolicy& p) { p.description = "other"; }},
        {"status", [](TestPolicy& p) { p.status = "disabled"; }},
        {"owner", [](TestPolicy& p) { p.owner = "other"; }},
        {"categories", [](TestPolicy& p) { p.categories = {"one, two"}; }},
        {"categories", [](TestPolicy& p) { p.categories.clear(); }},
        {"attributes", [](TestPolicy& p) { p.attributes[0].second = "Linux"; }},
        {"data file a.txt", [](TestPolicy& p) { p.data[0].second = "Content"; }},
    };
    for (const auto& [field, change] : rows) {
        TestPolicy changed = Policy();
        change(changed);
        EXPECT_THAT(Differing(changed, Policy()), ElementsAre(field));
    }
}

TEST_F(DesiredStateTest, ADataFileMoreIsADifferenceOfTheListAndOfItsContent) {
    TestPolicy more = Policy();
    more.data.emplace_back("b.txt", "more");
    EXPECT_THAT(Differing(Policy(), more), ElementsAre("data files", "data file b.txt"));
    EXPECT_THAT(Differing(more, Policy()), ElementsAre("data files"));
}

TEST_F(DesiredStateTest, ADataFileThatTheNodeMissesOrCannotReadIsADifference) {
    const DesiredPolicy wanted = Desired(Policy(), folder);
    LumConf::StoredPolicy has = Stored(Policy());
    has.dataFiles[0].bytes = {};
    EXPECT_EQ(Compare(has, wanted).at(0).was, "unreadable");
    has.dataFiles.clear();
    EXPECT_EQ(Compare(has, wanted).at(0).was, "missing");
    EXPECT_EQ(Compare(has, wanted).at(0).wanted, "ed7002b439e9ac845f22357d822bac1444730fbdb6016d3ec9432297b9ec9f73");
}

TEST_F(DesiredStateTest, TheStatusOfAPolicyThatFollowsAClusterIsNoDifference) {
    TestPolicy wanted = Policy(), has = Policy();
    wanted.attributes = has.attributes = {{"HARG:web", "v"}};
    has.status = "disabled";
    EXPECT_THAT(Differing(has, wanted), IsEmpty());
    has.attributes = {{"HARG:db", "v"}};
    EXPECT_THAT(Differing(has, wanted), ElementsAre("attributes"));
}

TEST_F(DesiredStateTest, ADocumentThatNobodyCanReadDiffersInAllThatItSays) {
    TestPolicy broken = Policy();
    broken.document = "no document";
    EXPECT_THAT(Differing(broken, Policy()), testing::Contains("name"));
}

TEST_F(DesiredStateTest, AStatusThatIsNeitherWordIsRefused) {
    TestPolicy policy = Policy();
    policy.status = "Enabled";
    const std::string file = Write(policy);
    EXPECT_EQ(
        RefusalOf<LumPalMsg::RuntimeException_t>({file}),
        "The status 'Enabled' in '" + file + "' is neither 'enabled' nor 'disabled': no state that a node could have.");
    policy.attributes = {{"HARG:web", "v"}};
    Write(policy);
    EXPECT_EQ(ReadDesired({file}).size(), 1u) << "there the cluster decides";
}

TEST_F(DesiredStateTest, ADataFileThatLiesElsewhereIsRefused) {
    std::ofstream(folder + "/outside") << "there";
    for (const char* name : {"../outside", "..", "/etc/hostname", "a\\b"}) {
        TestPolicy policy = Policy();
        policy.data = {{name, ""}};
        const std::string file = folder + "/below/a_header.xml";
        fs::create_directories(folder + "/below");
        std::ofstream(file) << policy.Document();
        EXPECT_THAT(RefusalOf<LumPalMsg::RuntimeException_t>({file}), HasSubstr("does not lie beside it"));
    }
}

TEST_F(DesiredStateTest, ADataFileThatIsMissingOrAPipeIsRefusedAtOnce) {
    const std::string file = Write(Policy());
    fs::remove(folder + "/a.txt");
    EXPECT_THAT(RefusalOf<LumPalIo::FileNotFoundException_t>({file}), HasSubstr("a.txt"));
    ASSERT_EQ(mkfifo((folder + "/a.txt").c_str(), 0600), 0);
    EXPECT_THAT(RefusalOf<LumPalIo::IOException_t>({file}), HasSubstr("a.txt"));
}

TEST_F(DesiredStateTest, TwoThatCannotBothBeThereAreRefused) {
    TestPolicy other = Policy("b");
    const std::string a = Write(Policy()), b = Write(other);
    EXPECT_EQ(RefusalOf<LumPalMsg::IllegalArgumentError_t>({a, a}),
              "'" + a + "' and '" + a + "' are both the policy with the id 'a'.");
    other.name = "name of a";
    Write(other);
    EXPECT_EQ(RefusalOf<LumPalMsg::IllegalArgumentError_t>({a, b}),
              "'" + a + "' and '" + b + "' are both the policy 'name of a' of the type 'files'.");
    other = Policy("b");
    other.data = {{"a.txt", "other content"}};
    const std::string elsewhere = Write(other, "/elsewhere");
    EXPECT_EQ(RefusalOf<LumPalMsg::IllegalArgumentError_t>({a, elsewhere}),
              "'" + a + "' and '" + elsewhere + "' want other contents of the data file 'a.txt' of the type 'files'.");
    other.type = "another";
    Write(other, "/elsewhere");
    EXPECT_EQ(ReadDesired({a, elsewhere}).size(), 2u) << "of another type it is another file";
}

TEST_F(DesiredStateTest, AFolderIsNoHeaderWhateverItsNameIs) {
    const std::string header = Write(Policy(), "/odd_header.xml");
    EXPECT_THAT(FindHeaders({folder}), ElementsAre(header));
}

TEST_F(DesiredStateTest, OfAFolderItsHeadersAreTakenInOrder) {
    for (const char* id : {"b", "c", "a"}) Write(Policy(id));
    std::ofstream(folder + "/notes.xml") << "nothing";
    EXPECT_THAT(FindHeaders({folder}),
                ElementsAre(folder + "/a_header.xml", folder + "/b_header.xml", folder + "/c_header.xml"));
    Write(Policy("d"), "/below");
    Write(Policy("e"), "/below/further");
    EXPECT_EQ(FindHeaders({folder}).back(), folder + "/c_header.xml");
    EXPECT_EQ(FindHeaders({folder}).size(), 4u) << "one folder deep";
    fs::create_directories(folder + "/empty");
    EXPECT_EQ(RefusalOf<LumPalMsg::IllegalArgumentError_t>({folder + "/empty"}),
              "There is no policy in the folder '" + folder + "/empty'.");
    EXPECT_THROW(ReadDesired({folder + "/nowhere"}), LumPalIo::FileNotFoundException_t);
}

}  // namespace
}  // namespace lumpolicy
