#include "PolicyOperation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "Exceptions.h"
#include "LumPalLog.h"
#include "PolicyOperationTest.h"
#include "Raised.h"
#include "StorePaths.h"

namespace LumConf {
namespace {

using LumPalStr::String_t;
using testing::ElementsAre;
using testing::IsEmpty;
namespace fs = std::filesystem;

// Creation

TEST_F(PolicyOperationTest, CreationMakesTheFourDirectories) {
    EXPECT_TRUE(fs::is_directory(node.IncomingFolder()));
    EXPECT_TRUE(fs::is_directory(node.TemporaryFolder()));
    EXPECT_TRUE(fs::is_directory(node.InstallFolder()));
    EXPECT_TRUE(fs::is_directory(node.Root().Native() + "/conf/conf"));
    EXPECT_FALSE(node->IsPolicyInstalled());
}

TEST_F(PolicyOperationTest, CreationRemovesWhatAnEarlierRunLeftAndNoMore) {
    node.Install(Policy("a"));
    std::ofstream(node.IncomingFolder() + "/left") << "x";
    std::ofstream(node.TemporaryFolder() + "/left") << "x";
    std::ofstream(node.Root().Native() + "/outside") << "keep";
    fs::create_symlink(node.Root().Native() + "/outside", node.IncomingFolder() + "/link");
    fs::create_directory(node.IncomingFolder() + "/folder");
    std::ofstream(node.IncomingFolder() + "/folder/foreign") << "keep";
    node.Restart();
    EXPECT_THAT(node.Incoming(), ElementsAre("folder/foreign"));
    EXPECT_THAT(node.Temporary(), IsEmpty());
    EXPECT_EQ(PolicyNode::Content(node.Root().Native() + "/outside"), "keep");
    EXPECT_EQ(node.Ids(), "a");
}

TEST_F(PolicyOperationTest, ALinkInThePlaceOfTheIncomingDirectoryIsRemovedAndNotFollowed) {
    fs::remove_all(node.IncomingFolder());
    fs::create_directory(node.Root().Native() + "/elsewhere");
    std::ofstream(node.Root().Native() + "/elsewhere/file") << "keep";
    fs::create_directory_symlink(node.Root().Native() + "/elsewhere", node.IncomingFolder());
    node.Restart();
    EXPECT_EQ(PolicyNode::Content(node.Root().Native() + "/elsewhere/file"), "keep");
    EXPECT_FALSE(fs::is_symlink(node.IncomingFolder()));
}

TEST_F(PolicyOperationTest, CreationNamesADirectoryThatCannotBeMadeAndTriesTheOthers) {
    node.Stop();
    for (const char* folder : {"/policies", "/spool", "/tmp", "/conf"}) fs::remove_all(node.Root().Native() + folder);
    fs::create_symlink("/nowhere/at/all", node.InstallFolder());
    const CaughtFailure failure = FailureOf<LumPalIo::IOException_t>([this] { node.Restart(); });
    EXPECT_EQ(failure.id, 100u);
    EXPECT_NE(failure.text.find(node.InstallFolder()), std::string::npos);
    EXPECT_EQ(failure.text.find(node.IncomingFolder()), std::string::npos);
    EXPECT_TRUE(fs::is_directory(node.IncomingFolder()));
    EXPECT_TRUE(fs::is_directory(node.TemporaryFolder()));
    EXPECT_TRUE(fs::is_directory(node.Root().Native() + "/conf/conf"));
}

TEST_F(PolicyOperationTest, CreationNamesEveryDirectoryThatCannotBeMade) {
    node.Stop();
    for (const char* folder : {"policies", "spool", "tmp", "conf"}) {
        fs::remove_all(node.Root().Native() + "/" + folder);
        fs::create_symlink("/nowhere/at/all", node.Root().Native() + "/" + folder);
    }
    const LumPalMsg::MessageList_t messages = MessagesOf<LumPalIo::IOException_t>([this] { node.Restart(); });
    const std::pair<unsigned, std::string> rows[] = {{99, node.IncomingFolder()},
                                                     {624, node.TemporaryFolder()},
                                                     {100, node.InstallFolder()},
                                                     {101, node.Root().Native() + "/conf/conf"}};
    ASSERT_EQ(messages.GetMessageCount(), static_cast<int>(std::size(rows)));
    for (int i = 0; i < messages.GetMessageCount(); ++i) {
        EXPECT_EQ(messages.GetMessage(i).GetId(), rows[i].first);
        EXPECT_NE(messages.GetMessage(i).Format(LumPalMsg::Text).ToUtf8().find("'" + rows[i].second),
                  std::string::npos);
    }
}

TEST_F(PolicyOperationTest, ACorruptHeaderAtTheStartIsSaidInTheLogAndTheOthersServe) {
    node.Install(Policy("a"));
    node.Install(Policy("c"));
    std::ofstream(node.InstallFolder() + "/files/b_header.xml") << "<header>";
    const std::string log = node.Root().Native() + "/application.log";
    LumPalLog::SetApplicationLogFile(String_t::FromUtf8(log));
    node.Restart();
    LumPalLog::SetApplicationLogFile("");
    EXPECT_EQ(node.Ids(), "a c");
    const std::string text = PolicyNode::Content(log);
    EXPECT_NE(text.find("Could not initializing the policy cache"), std::string::npos);
    EXPECT_NE(text.find("b_header.xml"), std::string::npos);
    EXPECT_EQ(text.find("Could not initializing", text.find("Could not initializing") + 1), std::string::npos);
}

TEST_F(PolicyOperationTest, AnObjectCannotStartAWorkerASecondTime) {
    LumConfPar::PolicyWorker worker(LumConfPar::MakePolicySettings());
    AuditLog audit;
    {
        const PolicyOperation first(SurroundingsOf(worker, audit));
        EXPECT_EQ(FailureOf<LumPalMsg::IllegalStateError_t>([&] {
                      PolicyOperation second(SurroundingsOf(worker, audit));
                  }).id,
                  195u);
    }
    worker.Stop();
    EXPECT_EQ(
        FailureOf<LumPalMsg::IllegalStateError_t>([&] { PolicyOperation third(SurroundingsOf(worker, audit)); }).id,
        195u);
}

// In a process of its own: there is one instance in a process, and one start of its worker.
void UseTheInstance() {
    TempRoot root;
    fs::create_symlink("/nowhere/at/all", root.Native() + "/policies");
    const unsigned first = FailureOf<LumPalIo::IOException_t>([] { PolicyOperation::GetInstance(); }).id;
    fs::remove(root.Native() + "/policies");
    PolicyOperation* const second = PolicyOperation::GetInstance();
    const unsigned other = FailureOf<LumPalMsg::IllegalStateError_t>([] { PolicyOperation{ProcessSurroundings()}; }).id;
    LumConfPar::PolicyWorker::GetInstance().Stop();
    const bool good = first == 100 && second && second == PolicyOperation::GetInstance() && other == 195;
    fs::remove_all(root.Native());
    std::exit(good ? 0 : 1);
}

TEST(PolicyOperationInstanceTest, AFailedCreationIsTriedAgainAndASuccessfulOneIsKept) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(UseTheInstance(), testing::ExitedWithCode(0), "");
}

// List

TEST_F(PolicyOperationTest, AListOfAnEmptyStoreFailsAndCountsAsASuccessInTheAudit) {
    EXPECT_EQ(FailureOf<NoPoliciesInstalledError>([this] { node.List(); }).id, 109u);
    EXPECT_EQ(node.Audited("Success Audit: LIST"), 1);
    EXPECT_EQ(node.Audited("Failure Audit"), 0);
}

TEST_F(PolicyOperationTest, AListThatFindsNothingFailsAndCountsAsASuccessInTheAudit) {
    node.Install(Policy("a"));
    EXPECT_EQ(FailureOf<PolicyNotFoundError>([this] { node.List(Selection().SetPolicyName("other")); }).id, 117u);
    EXPECT_EQ(node.Audited("Success Audit: LIST: Policy list operation was successfully. Calling system: 'tester'"), 1);
    EXPECT_EQ(node.Audited("Failure Audit"), 0);
}

TEST_F(PolicyOperationTest, AListHasTheOrderOfTheCache) {
    for (const char* id : {"c", "a", "d", "b"}) node.Install(Policy(id));
    const PolicyContainer all = node.List(Selection().SetPolicyTypeName("files"));
    std::string ids;
    for (int i = 0; i < all.GetCount(); ++i) ids += all.GetPolicyHeader(i).GetContainerId().ToUtf8();
    EXPECT_EQ(ids, "abcd");
}

TEST_F(PolicyOperationTest, AListSharesItsHeadersWithTheCache) {
    node.Install(Policy("a"));
    EXPECT_EQ(node.Get("a").GetImpl(), node.Get("a").GetImpl());
}

TEST_F(PolicyOperationTest, APolicyWithAnAttributeTwiceIsListedOnce) {
    TestPolicy policy = Policy("a");
    policy.attributes = {{"group", "1"}, {"group", "2"}};
    node.Install(policy);
    EXPECT_EQ(node.List(Selection().SetPolicyAttribute("group")).GetCount(), 1);
}

TEST_F(PolicyOperationTest, AListOfAnUnknownIdIsEmpty) {
    node.Install(Policy("a"));
    EXPECT_EQ(node.List(Selection().SetPolicyId("nobody")).GetCount(), 0);
}

TEST_F(PolicyOperationTest, AListStaysValidAfterTheCacheWasLoadedAnewAndEmptied) {
    node.Install(Policy("a"));
    const PolicyContainer before = node.List();
    node->ReinitCache("tester");
    node.Remove(Selection());
    node->ReinitCache("tester");
    EXPECT_EQ(before.GetPolicyHeader("a").GetName(), "name of a");
}

// Is anything installed?

TEST_F(PolicyOperationTest, TellsWhetherATypeIsInstalledByItsExactName) {
    EXPECT_FALSE(node->IsPolicyTypeNameInstalled("files"));
    node.Install(Policy("a", "Files"));
    EXPECT_TRUE(node->IsPolicyInstalled());
    EXPECT_TRUE(node->IsPolicyTypeNameInstalled("files"));
    EXPECT_FALSE(node->IsPolicyTypeNameInstalled("Files"));
    EXPECT_FALSE(node->IsPolicyTypeNameInstalled("file"));
    EXPECT_FALSE(node->IsPolicyTypeNameInstalled(""));
}

// Reload

TEST_F(PolicyOperationTest, AReloadTakesInWhatTheStoreHoldsNow) {
    node.Install(Policy("a"));
    node.Install(Policy("b"));
    fs::remove(node.InstallFolder() + "/files/a_header.xml");
    node->ReinitCache("tester");
    EXPECT_EQ(node.Ids(), "b");
    EXPECT_EQ(node.Audited("Success Audit: REINIT"), 1);
}

TEST_F(PolicyOperationTest, AReloadWithACorruptHeaderKeepsTheOthersAndAuditsAFailure) {
    node.Install(Policy("a"));
    std::ofstream(node.InstallFolder() + "/files/b_header.xml") << "<header>";
    const std::string log = node.Root().Native() + "/application.log";
    LumPalLog::SetApplicationLogFile(String_t::FromUtf8(log));
    EXPECT_NO_THROW(node->ReinitCache("tester"));
    LumPalLog::SetApplicationLogFile("");
    EXPECT_EQ(node.Ids(), "a");
    EXPECT_EQ(node.Audited("Failure Audit: REINIT"), 1);
    EXPECT_EQ(node.Audited("Success Audit: REINIT"), 0);
    EXPECT_NE(PolicyNode::Content(log).find("Could not initialize the policy cache."), std::string::npos);
    EXPECT_NE(PolicyNode::Content(log).find("b_header.xml"), std::string::npos);
}

TEST_F(PolicyOperationTest, AReloadOfAStoreThatCannotBeListedFailsAndTheCacheStaysAsItWas) {
    node.Install(Policy("a"));
    fs::rename(node.InstallFolder(), node.Root().Native() + "/moved");
    EXPECT_EQ(FailureOf<LumPalMsg::RuntimeException_t>([this] { node->ReinitCache("tester"); }).id, 58u);
    EXPECT_EQ(node.Ids(), "a");
    EXPECT_EQ(node.Audited("REINIT"), 0);
    fs::rename(node.Root().Native() + "/moved", node.InstallFolder());
    node->ReinitCache("tester");
    EXPECT_EQ(node.Ids(), "a");
}

TEST_F(PolicyOperationTest, AReaderWithoutLockNeverSeesAnEmptyCacheWhileItIsLoadedAnew) {
    node.Install(Policy("a"));
    std::atomic<bool> stop{false};
    std::atomic<int> wrong{0};
    std::thread reader([&] {
        while (!stop) wrong += !node->IsPolicyInstalled() + !node->IsPolicyTypeNameInstalled("files");
    });
    for (int i = 0; i < 50; ++i) node->ReinitCache("tester");
    stop = true;
    reader.join();
    EXPECT_EQ(wrong, 0);
}

TEST_F(PolicyOperationTest, OperationsOfSeveralThreadsLeaveCacheAndStoreOfOneMind) {
    node.Install(Policy("kept"));
    std::atomic<int> wrong{0};
    const auto work = [&](const std::string& id) {
        for (int i = 0; i < 15; ++i) {
            node.Install(Policy(id));
            wrong += node.Get(id.c_str()).GetName() != String_t::FromUtf8("name of " + id);
            wrong += node.List().GetCount() < 2;
            if (i % 5 == 0) node->ReinitCache("tester");
            if (i % 2 == 0) node.Remove(Selection().SetPolicyId(String_t::FromUtf8(id)));
        }
    };
    std::vector<std::thread> threads;
    for (const char* id : {"a", "b", "c"}) threads.emplace_back(work, id);
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(node.Ids(), "kept");
    EXPECT_THAT(node.Installed(), ElementsAre("files/kept.one", "files/kept.two", "files/kept_header.xml"));
    EXPECT_THAT(node.Incoming(), IsEmpty());
    EXPECT_THAT(node.Temporary(), IsEmpty());
}

// Files of an install

TEST_F(PolicyOperationTest, AFileIsMadeFromTheNextBytesOfTheStreamAndReplacesAnother) {
    const LumPalArray::CharArray_t bytes("abcdefg");
    auto stream = LumPalIo::CharArrayInputStream_t::Over(bytes);
    std::ofstream(node.IncomingFolder() + "/x") << "a longer text than the new one";
    node->CreateFile(paths::IncomingDirectory(), "x", stream, 3, false);
    node->CreateFile(paths::IncomingDirectory(), "y", stream, 0, true);
    node->CreateFile(paths::IncomingDirectory(), "z", stream, 4, true);
    EXPECT_EQ(PolicyNode::Content(node.IncomingFolder() + "/x"), "abc");
    EXPECT_EQ(PolicyNode::Content(node.IncomingFolder() + "/y"), "");
    EXPECT_EQ(PolicyNode::Content(node.IncomingFolder() + "/z"), "defg");
}

TEST_F(PolicyOperationTest, AFileIsNotMadeFromAStreamThatEndsTooEarly) {
    const LumPalArray::CharArray_t bytes("abc");
    for (const bool keep : {false, true}) {
        auto stream = LumPalIo::CharArrayInputStream_t::Over(bytes);
        EXPECT_THROW(node->CreateFile(paths::IncomingDirectory(), "x", stream, 4, keep), LumPalIo::EOFException_t);
    }
}

TEST_F(PolicyOperationTest, AFileReplacesALinkAndIsNeverWrittenThroughIt) {
    const LumPalArray::CharArray_t bytes("new");
    std::ofstream(node.Root().Native() + "/victim") << "keep";
    fs::create_symlink(node.Root().Native() + "/victim", node.IncomingFolder() + "/x");
    fs::create_symlink(node.Root().Native() + "/not there", node.IncomingFolder() + "/y");
    for (const char* name : {"x", "y"}) {
        auto stream = LumPalIo::CharArrayInputStream_t::Over(bytes);
        node->CreateFile(paths::IncomingDirectory(), name, stream, 3, false);
        EXPECT_FALSE(fs::is_symlink(node.IncomingFolder() + "/" + name));
    }
    EXPECT_EQ(PolicyNode::Content(node.Root().Native() + "/victim"), "keep");
    EXPECT_FALSE(fs::exists(node.Root().Native() + "/not there"));
}

TEST_F(PolicyOperationTest, AFileIsNotMadeWhereAFullFolderStandsOrUnderANameThatIsNotPlain) {
    const LumPalArray::CharArray_t bytes("new");
    auto stream = LumPalIo::CharArrayInputStream_t::Over(bytes);
    fs::create_directories(node.IncomingFolder() + "/x/full");
    for (const char* name : {"x", "../x", "/tmp/x", "", "."}) {
        EXPECT_THROW(node->CreateFile(paths::IncomingDirectory(), name, stream, 3, false), PolicyFileException) << name;
    }
}

}  // namespace
}  // namespace LumConf
