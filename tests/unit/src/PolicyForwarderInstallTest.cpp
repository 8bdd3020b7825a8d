#include <gtest/gtest.h>

#include "AnswerRows.h"
#include "PolicyForwarder.h"
#include "Raised.h"
#include "SimulatedNode.h"
#include "SoapText.h"
#include "TransferBytes.h"

namespace LumConf {
namespace {

using LumPalIo::File_t;
using LumPalMsg::IllegalArgumentError_t;
using LumPalNet::ConnectException_t;
using LumPalStr::String_t;

const char* const kHost = "localhost";

TestPolicy PolicyWithData() {
    TestPolicy policy;
    policy.data = {{"one.txt", "first"}, {"empty", ""}};
    return policy;
}

TEST(PolicyForwarderInstall, AnInstallSendsTheFilesBytesAndTheOptions) {
    const SimulatedNode node;
    const TestPolicy policy = PolicyWithData();
    const File_t file = policy.WriteFiles(node.Root().Native() + "/files");
    const PolicyForwarder forwarder;
    forwarder.Install(kHost, file);
    ReceivedRequest request = node.Last();
    EXPECT_EQ(request.method, "install");
    EXPECT_EQ(request.text, "p1_header.xml");
    EXPECT_EQ(request.data.View(), transfer::Policy(policy));
    EXPECT_EQ(request.installMethod, 1);
    InstallOptionsSoapArg received("o"), expected("o");
    received.SetOptions(request.installOptions);
    EXPECT_EQ(Written(received), Written(expected));
    const InstallOptions options = InstallOptions().SetOwner("Owner").SetDisabled().SetNotify(false);
    forwarder.Install(" localhost ", file, options);
    request = node.Last();
    received.SetOptions(request.installOptions);
    expected.SetOptions(options);
    EXPECT_EQ(Written(received), Written(expected));
    EXPECT_EQ(request.data.View(), transfer::Policy(policy));
}

TEST(PolicyForwarderInstall, AnInstallGoesToTheTargetOfItsOptions) {
    const SimulatedNode node;
    Configure("sec.core", "CORE_ID", "node-1");
    const File_t file = TestPolicy().WriteFiles(node.Root().Native() + "/files");
    const PolicyForwarder forwarder;
    forwarder.Install(kHost, file, InstallOptions().SetTargetID("node-1"));
    EXPECT_THROW(forwarder.Install(kHost, file, InstallOptions().SetTargetID("node-2")), ConnectException_t);
    EXPECT_EQ(node.ReceivedCount(), 1u);
}

TEST(PolicyForwarderInstall, AnInstallRaisesWhatTheNodeAnswers) {
    SimulatedNode node;
    const File_t file = TestPolicy().WriteFiles(node.Root().Native() + "/files");
    const PolicyForwarder forwarder;
    for (const AnswerRow& row : answers::installPolicy) {
        node.Answer(row.value, "no");
        ExpectAnswerRow(row, kHost, "p1_header.xml", "no", [&] { forwarder.Install(kHost, file); });
    }
    node.Answer(1);
    EXPECT_NO_THROW(forwarder.Install(kHost, file));
}

TEST(PolicyForwarderInstall, AFileThatCannotBeAHeaderIsNotSent) {
    const SimulatedNode node;
    const std::string folder = node.Root().Native() + "/files";
    std::filesystem::create_directories(folder + "/d_header.xml");
    std::ofstream(folder + "/p.xml") << TestPolicy().Document();
    const auto file = [&](const char* name) { return File_t(String_t::FromUtf8(folder + "/" + name)); };
    const PolicyForwarder forwarder;
    for (const char* host : {kHost, ""}) {
        EXPECT_RAISES(forwarder.Install(host, File_t()), PolicyFileException, 148);
        EXPECT_RAISES(forwarder.Install(host, file("d_header.xml")), PolicyFileException, 150);
        EXPECT_RAISES(forwarder.Install(host, file("")), PolicyFileException, 150);
        EXPECT_RAISES(forwarder.Install(host, file("p.xml")), PolicyFileException, 149);
        EXPECT_RAISES(forwarder.Install(host, file("p_HEADER.XML")), PolicyFileException, 149);
        EXPECT_RAISES(forwarder.Install(host, file("gone_header.xml")), LumPalIo::FileNotFoundException_t, 611);
        EXPECT_RAISES(forwarder.Install(host, File_t("")), PolicyFileException, 149);
    }
    EXPECT_EQ(node.ReceivedCount(), 0u);
}

TEST(PolicyForwarderInstall, APolicyThatCannotBeReadIsNotSent) {
    const SimulatedNode node;
    const PolicyForwarder forwarder;
    TestPolicy broken = PolicyWithData();
    broken.document = "<header>";
    const File_t file = broken.WriteFiles(node.Root().Native() + "/broken");
    EXPECT_RAISES(forwarder.Install(kHost, file), ConfException, 610);
    const File_t alone = PolicyWithData().WriteFiles(node.Root().Native() + "/alone");
    std::filesystem::remove(node.Root().Native() + "/alone/one.txt");
    const auto messages = MessagesOf<ConfException>([&] { forwarder.Install(kHost, alone); });
    EXPECT_EQ(messages.GetMessage(0).GetId(), 610u);
    EXPECT_EQ(messages.GetMessage(0).GetMessageText(),
              "Creating policy package failed for policy file '" + alone.GetAbsolutePath() + "'.");
    EXPECT_NE(messages.Format(36).Find("one.txt"), LumPalStr::NotFound);
    EXPECT_EQ(node.ReceivedCount(), 0u);
}

TEST(PolicyForwarderInstall, AnInstallNeedsAHost) {
    const SimulatedNode node;
    const File_t file = TestPolicy().WriteFiles(node.Root().Native() + "/files");
    EXPECT_RAISES(PolicyForwarder().Install(" ", file), IllegalArgumentError_t, 129);
    EXPECT_EQ(node.ReceivedCount(), 0u);
}

}  // namespace
}  // namespace LumConf
