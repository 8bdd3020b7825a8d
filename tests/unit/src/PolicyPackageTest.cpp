#include "PolicyPackage.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "AnswerRows.h"
#include "PolicyArrayReader.h"
#include "Raised.h"
#include "SimulatedNode.h"
#include "SoapText.h"
#include "TransferBytes.h"

namespace LumConf {
namespace {

using LumPalArray::CharArray_t;
using LumPalIo::File_t;
using LumPalMsg::IllegalArgumentError_t;
using LumPalMsg::IllegalStateError_t;
using LumPalNet::ConnectException_t;
using LumPalStr::String_t;

const char* const kHost = "localhost";

struct PolicyPackageTest : testing::Test {
    SimulatedNode node;
    PolicyPackage package;

    static TestPolicy PolicyOf(const char* id) {
        TestPolicy policy;
        policy.id = id;
        policy.name = std::string("name of ") + id;
        policy.data = {{std::string(id) + ".txt", std::string("data of ") + id}, {std::string(id) + ".empty", ""}};
        return policy;
    }
    File_t Write(const TestPolicy& policy) { return policy.WriteFiles(node.Root().Native() + "/files"); }
    void Add(const char* id) { package.AddPolicy(Write(PolicyOf(id))); }
    void ExpectGrowthIsRefused() {
        const auto messages = MessagesOf<IllegalStateError_t>([&] { Add("late"); });
        EXPECT_EQ(messages.GetMessage(0).GetId(), 612u);
        EXPECT_EQ(messages.GetMessage(0).GetMessageText(), "No more policy can be added to the policy package.");
    }
    void ExpectEmpty() {
        EXPECT_FALSE(package.IsInit());
        const std::size_t before = node.ReceivedCount();
        const auto messages = MessagesOf<IllegalStateError_t>([&] { package.Install(kHost); });
        EXPECT_EQ(messages.GetMessage(0).GetId(), 613u);
        EXPECT_EQ(messages.GetMessage(0).GetMessageText(), "The policy package is empty.");
        EXPECT_RAISES(package.Install(kHost, InstallOptions()), IllegalStateError_t, 613);
        EXPECT_RAISES(package.Install(""), IllegalStateError_t, 613);
        EXPECT_EQ(node.ReceivedCount(), before);
    }
    void ExpectLast(const std::vector<TestPolicy>& policies) {
        EXPECT_EQ(node.Last().data.View(), transfer::Package(policies));
    }
    /// Each way to fill the package with "a", and to leave it in another state.
    std::vector<std::function<void()>> States() {
        return {
            [] {},
            [this] { Add("a"); },
            [this] {
                Add("a");
                package.Install(kHost);
            },
            [this] {
                Add("a");
                node.Answer(7);
                EXPECT_THROW(package.Install(kHost), PolicyRemoteException);
                node.Answer(1);
            },
            [this] {
                Add("a");
                EXPECT_THROW(package.Install(" "), IllegalArgumentError_t);
            },
            [this] { EXPECT_THROW(package.AddPolicy(File_t("gone_header.xml")), LumPalIo::IOException_t); },
        };
    }
};

TEST_F(PolicyPackageTest, ANewPackageIsEmpty) {
    ExpectEmpty();
}

TEST_F(PolicyPackageTest, APackageWithAPolicyIsNotEmpty) {
    Add("a");
    EXPECT_TRUE(package.IsInit());
    Add("b");
    EXPECT_TRUE(package.IsInit());
}

TEST_F(PolicyPackageTest, APackageOfOnePolicyHasTheCountOneAndTheMethodOfPackages) {
    Add("a");
    package.Install(kHost);
    const ReceivedRequest request = node.Last();
    EXPECT_EQ(request.method, "install");
    EXPECT_EQ(request.installMethod, 2);
    EXPECT_EQ(request.text, "");
    ExpectLast({PolicyOf("a")});
    EXPECT_EQ(request.data.View().substr(0, 8), std::string("\0\0\0\1\0\0\0\3", 8));
}

TEST_F(PolicyPackageTest, PoliciesTravelInTheOrderInWhichTheyWereAdded) {
    Add("c");
    Add("a");
    package.AddPolicy(Write(TestPolicy()));
    Add("b");
    Add("a");
    package.Install(kHost);
    ExpectLast({PolicyOf("c"), PolicyOf("a"), TestPolicy(), PolicyOf("b"), PolicyOf("a")});
}

TEST_F(PolicyPackageTest, OptionsTravelWithThePackage) {
    Add("a");
    const InstallOptions options = InstallOptions().SetOwner("Owner").SetForceAll(true).SetNotify(false);
    InstallOptionsSoapArg received("o"), expected("o");
    package.Install(kHost);
    received.SetOptions(node.Last().installOptions);
    EXPECT_EQ(Written(received), Written(expected));
    package.Install(kHost, options);
    received.SetOptions(node.Last().installOptions);
    expected.SetOptions(options);
    EXPECT_EQ(Written(received), Written(expected));
}

TEST_F(PolicyPackageTest, ThePackageGoesToTheTargetOfItsOptions) {
    Configure("sec.core", "CORE_ID", "node-1");
    Add("a");
    EXPECT_NO_THROW(package.Install(kHost, InstallOptions().SetTargetID("node-1")));
    EXPECT_THROW(package.Install(kHost, InstallOptions().SetTargetID("node-2")), ConnectException_t);
    EXPECT_EQ(node.ReceivedCount(), 1u);
}

TEST_F(PolicyPackageTest, AClosedPackageIsSentAgainAsItIs) {
    Add("a");
    Add("b");
    for (const char* host : {"localhost", " localhost ", "localhost\t"}) package.Install(host);
    ASSERT_EQ(node.ReceivedCount(), 3u);
    for (const ReceivedRequest& request : node.Received())
        EXPECT_EQ(request.data.View(), transfer::Package({PolicyOf("a"), PolicyOf("b")}));
    EXPECT_TRUE(package.IsInit());
}

TEST_F(PolicyPackageTest, AClosedPackageCannotGrow) {
    Add("a");
    package.Install(kHost);
    ExpectGrowthIsRefused();
    package.Install(kHost);
    ExpectLast({PolicyOf("a")});
}

TEST_F(PolicyPackageTest, AClosedPackageDoesNotLookAtTheFile) {
    Add("a");
    package.Install(kHost);
    EXPECT_RAISES(package.AddPolicy(File_t("gone_header.xml")), IllegalStateError_t, 612);
    EXPECT_RAISES(package.AddPolicy(File_t()), IllegalStateError_t, 612);
}

TEST_F(PolicyPackageTest, AnInstallThatTheNodeRefusedClosesThePackageToo) {
    Add("a");
    node.Answer(8);
    EXPECT_THROW(package.Install(kHost), LumSecAuth::NotAuthorizedException);
    ExpectGrowthIsRefused();
    node.Answer(1);
    EXPECT_NO_THROW(package.Install(kHost));
    ASSERT_EQ(node.ReceivedCount(), 2u);
    EXPECT_EQ(node.Received()[0].data, node.Received()[1].data);
}

TEST_F(PolicyPackageTest, AnInstallThatDidNotLeaveClosesThePackageToo) {
    Add("a");
    EXPECT_RAISES(package.Install(" "), IllegalArgumentError_t, 129);
    ExpectGrowthIsRefused();
    EXPECT_NO_THROW(package.Install(kHost));
    ExpectLast({PolicyOf("a")});
}

TEST_F(PolicyPackageTest, ANodeThatIsNotThereClosesThePackageToo) {
    Add("a");
    node.Close();
    EXPECT_THROW(package.Install(kHost), ConnectException_t);
    ExpectGrowthIsRefused();
    EXPECT_THROW(package.Install(kHost), ConnectException_t);
    EXPECT_TRUE(package.IsInit());
}

TEST_F(PolicyPackageTest, EveryReturnValueOfTheNode) {
    Add("a");
    for (const AnswerRow& row : answers::installPackage) {
        node.Answer(row.value, "no");
        ExpectAnswerRow(row, kHost, "", "no", [&] { package.Install(kHost); });
    }
    node.Answer(1);
    EXPECT_NO_THROW(package.Install(kHost));
}

TEST_F(PolicyPackageTest, ClearEmptiesThePackageInEveryState) {
    for (const auto& reach : States()) {
        reach();
        package.Clear();
        ExpectEmpty();
        package.Clear();
        ExpectEmpty();
    }
}

TEST_F(PolicyPackageTest, AClearedPackageIsFilledAndSentAnew) {
    for (const auto& reach : States()) {
        reach();
        package.Clear();
        Add("n");
        EXPECT_TRUE(package.IsInit());
        package.Install(kHost);
        ExpectLast({PolicyOf("n")});
        ExpectGrowthIsRefused();
        package.Clear();
    }
}

struct UnreadableRow {
    const char* what;
    File_t (*make)(const std::string& folder);
};

const UnreadableRow kUnreadable[] = {
    {"no file", [](const std::string&) { return File_t(); }},
    {"a missing file", [](const std::string& folder) { return File_t(String_t::FromUtf8(folder + "/x_header.xml")); }},
    {"a folder",
     [](const std::string& folder) {
         std::filesystem::create_directories(folder);
         return File_t(String_t::FromUtf8(folder));
     }},
    {"a document that is none",
     [](const std::string& folder) {
         TestPolicy policy;
         policy.document = "<header>";
         return policy.WriteFiles(folder);
     }},
    {"an empty document",
     [](const std::string& folder) {
         const File_t file = TestPolicy().WriteFiles(folder);
         std::ofstream(folder + "/p1_header.xml", std::ios::trunc);
         return file;
     }},
    {"a missing data file",
     [](const std::string& folder) {
         TestPolicy policy;
         policy.data = {{"one", "1"}, {"two", "2"}};
         const File_t file = policy.WriteFiles(folder);
         std::filesystem::remove(folder + "/two");
         return file;
     }},
    {"a data file elsewhere",
     [](const std::string& folder) {
         TestPolicy policy;
         policy.document = policy.Document();
         policy.document.insert(policy.document.find("<categories>"),
                                "<files><data><file_name>../p1_header.xml</file_name></data></files>");
         return policy.WriteFiles(folder);
     }},
};

TEST_F(PolicyPackageTest, APolicyThatCannotBeReadLeavesThePackageAsItWas) {
    int number = 0;
    for (const UnreadableRow& row : kUnreadable) {
        const File_t file = row.make(node.Root().Native() + "/unreadable" + std::to_string(++number));
        package.Clear();
        EXPECT_THROW(package.AddPolicy(file), LumPalMsg::RuntimeException_t) << row.what;
        ExpectEmpty();
        Add("a");
        EXPECT_THROW(package.AddPolicy(file), LumPalMsg::RuntimeException_t) << row.what;
        EXPECT_TRUE(package.IsInit());
        Add("b");
        package.Install(kHost);
        ExpectLast({PolicyOf("a"), PolicyOf("b")});
    }
}

TEST_F(PolicyPackageTest, AMissingFileIsNamed) {
    const auto messages = MessagesOf<LumPalIo::FileNotFoundException_t>(
        [&] { package.AddPolicy(File_t("/tmp/no such folder/x_header.xml")); });
    EXPECT_NE(messages.Format(36).Find("/tmp/no such folder/x_header.xml"), LumPalStr::NotFound);
}

TEST_F(PolicyPackageTest, ABadPolicyIsNamedWithItsCauseBelow) {
    const File_t file = kUnreadable[5].make(node.Root().Native() + "/unreadable");
    const auto messages = MessagesOf<ConfException>([&] { package.AddPolicy(file); });
    EXPECT_EQ(messages.GetMessage(0).GetId(), 610u);
    EXPECT_EQ(messages.GetMessage(0).GetMessageText(),
              "Creating policy package failed for policy file '" + file.GetAbsolutePath() + "'.");
    EXPECT_NE(messages.Format(36).Find("/two'"), LumPalStr::NotFound);
}

TEST_F(PolicyPackageTest, TheNameOfTheFileIsNotChecked) {
    TestPolicy policy = PolicyOf("a");
    policy.headerName = "policy.xml";
    package.AddPolicy(Write(policy));
    package.Install(kHost);
    ExpectLast({policy});
}

TEST_F(PolicyPackageTest, ThePackageHoldsTheBytesThatStoodThereWhenThePolicyWasAdded) {
    const TestPolicy before = PolicyOf("a");
    TestPolicy after = before;
    after.description = "changed later";
    package.AddPolicy(Write(before));
    package.AddPolicy(Write(after));
    std::filesystem::remove_all(node.Root().Native() + "/files");
    package.Install(kHost);
    ExpectLast({before, after});
}

TEST_F(PolicyPackageTest, APackageCutAtAnyByteIsRefusedByItsReader) {
    Add("a");
    package.AddPolicy(Write(TestPolicy()));
    package.Install(kHost);
    const CharArray_t whole = node.Last().data;
    const auto walk = [](const CharArray_t& array) {
        TransferCursor cursor(array);
        for (int left = cursor.ReadCount(0, PolicyArrayReader::kLeastPolicyBytes); left > 0; --left) {
            PolicyArrayReader files(cursor);
            while (files.Next()) cursor.Skip(files.GetLength());
        }
    };
    for (std::size_t length = 0; length < whole.GetLength(); ++length) {
        EXPECT_THROW(walk(CharArray_t(whole.GetData(), length)), LumPalMsg::RuntimeException_t) << length;
    }
    EXPECT_NO_THROW(walk(whole));
}

TEST_F(PolicyPackageTest, ManyThreadsSendOnePackage) {
    Add("a");
    Add("b");
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            try {
                for (int round = 0; round < 5; ++round) package.Install(kHost);
            } catch (const LumPalMsg::Exception_t&) {
                ++failures;
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(failures, 0);
    ASSERT_EQ(node.ReceivedCount(), 20u);
    for (const ReceivedRequest& request : node.Received())
        EXPECT_EQ(request.data.View(), transfer::Package({PolicyOf("a"), PolicyOf("b")}));
}

TEST_F(PolicyPackageTest, CopiesShareThePackage) {
    PolicyPackage copy(package), assigned;
    assigned = package;
    assigned = *&assigned;
    Add("a");
    EXPECT_TRUE(copy.IsInit());
    copy.Install(kHost);
    ExpectLast({PolicyOf("a")});
    EXPECT_RAISES(assigned.AddPolicy(Write(PolicyOf("b"))), IllegalStateError_t, 612);
    assigned.Clear();
    ExpectEmpty();
    EXPECT_EQ(&copy.GetVoxMessenger(), &package.GetVoxMessenger());
}

TEST_F(PolicyPackageTest, UsesTheMessengerThatItIsGivenAndNeverClosesIt) {
    EXPECT_NE(PolicyPackage().GetVoxMessenger().GetImpl(), package.GetVoxMessenger().GetImpl());
    {
        PolicyPackage shared(node.GetMessenger());
        EXPECT_EQ(shared.GetVoxMessenger().GetImpl(), node.GetMessenger().GetImpl());
        shared.AddPolicy(Write(PolicyOf("a")));
        shared.Install(kHost, InstallOptions().SetCloseConnection(true));
    }
    EXPECT_TRUE(node.GetMessenger().IsServing());
    Add("b");
    package.Install(kHost);
    EXPECT_EQ(node.ReceivedCount(), 2u);
}

}  // namespace
}  // namespace LumConf
